// INI section reading: line cleaning, section lists and the profile lookup.
#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

TEST(OsalIniLine, CleansKeyAndValueOrIgnoresTheLine) {
    const struct {
        const char* line;
        const char* cleaned;  // "" when the line is ignored
    } cases[] = {
        {"  Key Name = some value ; note", "KeyName=some value"},
        {"\tREG = 0x3012, 100 // exposure", "REG=0x3012, 100"},
        {"A\t=\t1\r\n", "A=1"},
        {"x = a=b", "x=a=b"},  // only the first '=' splits
        {"; only a comment", ""},
        {"// REG = 1, 2", ""},
        {"   \t ", ""},
        {"DELAY 100", ""},
        {"NAME ; = not a value", ""},
    };
    for (const auto& c : cases) {
        char line[256];
        snprintf(line, sizeof line, "%s", c.line);
        EXPECT_EQ(remove_sec_whitespace(line), strlen(c.cleaned)) << c.line;
        EXPECT_STREQ(line, c.cleaned) << c.line;
    }
    char text[] = " \t[Section]\r\n";
    EXPECT_STREQ(osal_trim(text), "[Section]");
}

class OsalIniFile : public ::testing::Test {
protected:
    ScratchDir dir;
    std::string file = dir.write("presets.ini",
                                 "[First]\n"
                                 "a = 1\n"
                                 "[ Second Preset ]\n"
                                 "  ; comment only\n"
                                 "REG = 0x10, 5   ; set\n"
                                 "junk line\n"
                                 "BITFIELD = R, 0x1, 1\n"
                                 "[Third]\n"
                                 "b = 2\n");
};

TEST_F(OsalIniFile, SectionListsCleanEntriesUpToNextHeader) {
    char buf[256];
    size_t used = osal_getsection("second preset", buf, sizeof buf, file.c_str());
    const char want[] = "REG=0x10, 5\0BITFIELD=R, 0x1, 1\0";
    ASSERT_EQ(used, sizeof want);
    EXPECT_EQ(memcmp(buf, want, sizeof want), 0);

    EXPECT_EQ(osal_getsection("Fourth", buf, sizeof buf, file.c_str()), 0u);
    EXPECT_EQ(osal_getsection("First", buf, sizeof buf, dir.file("none.ini").c_str()), 0u);
    EXPECT_EQ(osal_getsection("First", buf, 0, file.c_str()), 0u);
}

TEST_F(OsalIniFile, SmallBufferCutsEntriesAndNeverOverruns) {
    char buf[32];
    for (size_t size : {1u, 2u, 5u, 14u, 20u}) {
        memset(buf, '#', sizeof buf);
        size_t used = osal_getsection("Second Preset", buf, size, file.c_str());
        EXPECT_LE(used, size) << size;
        EXPECT_EQ(buf[size], '#') << size;
        EXPECT_EQ(buf[used - 1], '\0') << size;
    }
    // Room for size - 2 bytes of text before the list terminator.
    EXPECT_EQ(osal_getsection("Second Preset", buf, 8, file.c_str()), 8u);
    EXPECT_STREQ(buf, "REG=0x");
}

TEST(OsalProfile, OnlyTheFirstEntryIsExaminedByPrefix) {
    ScratchDir dir;
    std::string file = dir.write("plugin.cam",
                                 "[Plugin]\n"
                                 "  // which library\n"
                                 "DLL_NAME = libfake.so\n"
                                 "[Camera]\n"
                                 "Model=Alpha\n"
                                 "Name=Second\n");
    const struct {
        const char* section;
        const char* key;
        size_t max;
        const char* result;
    } cases[] = {
        {"plugin", "DLL", 64, "libfake.so"},  // the comment is dropped; DLL matches by prefix
        {"Camera", "Name", 64, "dflt"},       // present, but not the first entry
        {"Missing", "Model", 64, "dflt"},
        {"Camera", "model", 4, "Alp"},        // bounded by max - 1 characters
    };
    for (const auto& c : cases) {
        char out[64];
        EXPECT_EQ(osal_getprivateprofilestring(c.section, c.key, "dflt", out, c.max, file.c_str()), strlen(c.result))
            << c.key;
        EXPECT_STREQ(out, c.result) << c.key;
    }
}

}  // namespace
