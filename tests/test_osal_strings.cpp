// Wildcard matching and the INI reader's line cleaning and profile lookup.
#include <gtest/gtest.h>

#include <string.h>

#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

TEST(OsalWildcard, StarTakesTheFirstOccurrenceAndTheWholeNameMustMatch) {
    const struct {
        const char* pattern;
        const char* name;
        int expected;
    } cases[] = {
        {"*AB", "xABxAB", 0},  // first "AB" is taken, the rest is left over
        {"*AB*", "xABxAB", 1}, {"a*b*c", "aXXbYYc", 1}, {"*.SDAT", "a.sdat", 1}, {"*.sdat", "a.sdat.bak", 0},
        {"a?c", "aBc", 1},     {"a?c", "ac", 0},        {"abc", "abcd", 0},      {"*", "", 1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(osal_wildcard_match(c.pattern, c.name), c.expected) << c.pattern << " vs " << c.name;
}

TEST(OsalIniLine, CleansKeyAndValueOrIgnoresTheLine) {
    const struct {
        const char* line;
        const char* cleaned;  // "" when the line is ignored
    } cases[] = {
        {"  Key Name = some value ; note", "KeyName=some value"},
        {"\tREG = 0x3012, 100 // exposure", "REG=0x3012, 100"},
        {"A\t=\t1\r\n", "A=1"},
        {"x = a=b", "x=a=b"},  // only the first '=' splits
        {"// REG = 1, 2", ""},
        {"DELAY 100", ""},
        {"NAME ; = not a value", ""},
    };
    for (const auto& c : cases) {
        char line[256];
        snprintf(line, sizeof line, "%s", c.line);
        EXPECT_EQ(remove_sec_whitespace(line), strlen(c.cleaned)) << c.line;
        EXPECT_STREQ(line, c.cleaned) << c.line;
    }
}

TEST(OsalIniSection, SmallBufferCutsEntriesAndNeverOverruns) {
    ScratchDir dir;
    std::string file = dir.write("presets.ini", "[A]\nREG = 0x10, 5\nBITFIELD = R, 0x1, 1\n[B]\n");
    char buf[64];
    for (size_t size : {1u, 2u, 5u, 14u, 20u}) {
        memset(buf, '#', sizeof buf);
        size_t used = osal_getsection("a", buf, size, file.c_str());
        EXPECT_LE(used, size) << size;
        EXPECT_EQ(buf[size], '#') << size;
        EXPECT_EQ(buf[used - 1], '\0') << size;
    }
    const char whole[] = "REG=0x10, 5\0BITFIELD=R, 0x1, 1\0";
    ASSERT_EQ(osal_getsection("A", buf, sizeof buf, file.c_str()), sizeof whole);
    EXPECT_EQ(memcmp(buf, whole, sizeof whole), 0);
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
