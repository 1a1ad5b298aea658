// INI section reading: line cleaning, section lists and the profile lookup.
#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

std::string clean(const char* text) {
    char line[256];
    snprintf(line, sizeof line, "%s", text);
    size_t len = remove_sec_whitespace(line);
    EXPECT_EQ(len, len ? strlen(line) : len) << text;
    return len ? std::string(line) : std::string("<ignored>");
}

// The NUL-separated entries of a section list.
std::vector<std::string> entries(const char* buffer, size_t used) {
    std::vector<std::string> out;
    for (size_t pos = 0; pos < used && buffer[pos]; pos += strlen(buffer + pos) + 1) out.push_back(buffer + pos);
    return out;
}

TEST(OsalIniLine, CleansKeyAndValue) {
    EXPECT_EQ(clean("  Key Name = some value ; note"), "KeyName=some value");
    EXPECT_EQ(clean("\tREG = 0x3012, 100 // exposure"), "REG=0x3012, 100");
    EXPECT_EQ(clean("A\t=\t1\r\n"), "A=1");
    EXPECT_EQ(clean("x = a=b"), "x=a=b");  // only the first '=' splits
}

TEST(OsalIniLine, IgnoresCommentsBlankLinesAndLinesWithoutEquals) {
    EXPECT_EQ(clean("; only a comment"), "<ignored>");
    EXPECT_EQ(clean("// REG = 1, 2"), "<ignored>");
    EXPECT_EQ(clean("   \t "), "<ignored>");
    EXPECT_EQ(clean("DELAY 100"), "<ignored>");
    EXPECT_EQ(clean("NAME ; = not a value"), "<ignored>");
}

TEST(OsalTrim, RemovesBlanksAtBothEnds) {
    char text[] = " \t[Section]\r\n";
    EXPECT_STREQ(osal_trim(text), "[Section]");
    EXPECT_EQ(osal_trim(NULL), nullptr);
}

class OsalIniFile : public ::testing::Test {
protected:
    ScratchDir dir;
    std::string file = dir.write("presets.ini",
                                 "; header comment\n"
                                 "[First]\n"
                                 "a = 1\n"
                                 "\n"
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
    std::vector<std::string> want = {"REG=0x10, 5", "BITFIELD=R, 0x1, 1"};
    EXPECT_EQ(entries(buf, used), want);
    // Both entries with terminators plus the final terminator.
    EXPECT_EQ(used, strlen("REG=0x10, 5") + 1 + strlen("BITFIELD=R, 0x1, 1") + 1 + 1);
    EXPECT_EQ(buf[used - 1], '\0');
}

TEST_F(OsalIniFile, MissingSectionFileOrArgumentsGiveZero) {
    char buf[64];
    EXPECT_EQ(osal_getsection("Fourth", buf, sizeof buf, file.c_str()), 0u);
    EXPECT_EQ(osal_getsection("First", buf, sizeof buf, dir.file("none.ini").c_str()), 0u);
    EXPECT_EQ(osal_getsection("First", buf, 0, file.c_str()), 0u);
    EXPECT_EQ(osal_getsection(NULL, buf, sizeof buf, file.c_str()), 0u);
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
    memset(buf, '#', sizeof buf);
    size_t used = osal_getsection("Second Preset", buf, 8, file.c_str());
    // Room for size - 2 bytes of text before the list terminator.
    EXPECT_STREQ(buf, "REG=0x");
    EXPECT_EQ(used, 8u);
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
    char out[64];
    // The comment-only line is dropped, so DLL_NAME is the first entry, and
    // the key DLL matches it by prefix.
    EXPECT_EQ(osal_getprivateprofilestring("plugin", "DLL", "none", out, sizeof out, file.c_str()), 10u);
    EXPECT_STREQ(out, "libfake.so");
    // Name is present but not first: the default comes back.
    EXPECT_EQ(osal_getprivateprofilestring("Camera", "Name", "dflt", out, sizeof out, file.c_str()), 4u);
    EXPECT_STREQ(out, "dflt");
    EXPECT_EQ(osal_getprivateprofilestring("Missing", "Model", "d", out, sizeof out, file.c_str()), 1u);
    EXPECT_STREQ(out, "d");
    // The result is bounded by string_max - 1 characters.
    EXPECT_EQ(osal_getprivateprofilestring("Camera", "model", "", out, 4, file.c_str()), 3u);
    EXPECT_STREQ(out, "Alp");
}

}  // namespace
