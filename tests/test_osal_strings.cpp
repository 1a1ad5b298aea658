// Wildcards, case-insensitive comparison and the bounded string helpers.
#include <gtest/gtest.h>

#include <string.h>

#include "core/camkit_private.h"

namespace {

TEST(OsalWildcard, StarTakesTheFirstOccurrenceAndTheWholeNameMustMatch) {
    const struct {
        const char* pattern;
        const char* name;
        int expected;
    } cases[] = {
        {"*AB", "xABxAB", 0},  // first "AB" is taken, the rest is left over
        {"*AB*", "xABxAB", 1}, {"*ab?", "abxab1", 0}, {"a*b*c", "aXXbYYc", 1}, {"*.SDAT", "a.sdat", 1},
        {"*.sdat", "a.sdat.bak", 0}, {"**x", "abx", 1}, {"a?c", "aBc", 1}, {"a?c", "ac", 0},
        {"?", "", 0}, {"abc", "abcd", 0}, {"abc", "ab", 0}, {"*", "", 1}, {"", "x", 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(osal_wildcard_match(c.pattern, c.name), c.expected) << c.pattern << " vs " << c.name;
    EXPECT_EQ(osal_wildcard_match(NULL, "a"), 0);
}

TEST(OsalCompare, IgnoresCaseAndReportsLoweredDifference) {
    EXPECT_EQ(osal_stricmp("Exposure", "EXPOSURE"), 0);
    EXPECT_LT(osal_stricmp("abc", "ABD"), 0);
    EXPECT_EQ(osal_stricmp("ab", "abc"), -'c');
    // Unequal bytes are compared lower-cased: '[' sorts before 'a' but after 'A'.
    EXPECT_EQ(osal_stricmp("[", "A"), '[' - 'a');
    EXPECT_EQ(osal_strnicmp("DLL_NAME=x", "dll", 3), 0);
    EXPECT_NE(osal_strnicmp("DLL_NAME=x", "dll", 4), 0);
    EXPECT_EQ(osal_strnicmp("ab", "AB", 10), 0);
}

TEST(OsalStrings, BoundedCopiesStayInsideTheirBuffers) {
    char buf[8] = "abc";
    EXPECT_EQ(osal_strncat_s(buf, sizeof buf, "defghij", 2), 0);
    EXPECT_EQ(osal_strncat_s(buf, sizeof buf, "fg", 10), 0);  // exactly fills: 5 + 2 + 1
    EXPECT_STREQ(buf, "abcdefg");
    // One more character would need 9 bytes: emptied, not truncated.
    EXPECT_EQ(osal_strncat_s(buf, sizeof buf, "h", 1), 1);
    EXPECT_STREQ(buf, "");
    char full[4] = {'x', 'y', 'z', 'w'};  // not even terminated
    EXPECT_EQ(osal_strncat_s(full, sizeof full, "", 0), 1);
    EXPECT_EQ(full[0], '\0');

    char cut[6];
    memset(cut, '#', sizeof cut);
    EXPECT_EQ(osal_strcpy_s(cut, 4, "abcdef"), 0);
    EXPECT_STREQ(cut, "abc");
    EXPECT_EQ(cut[4], '#');
    EXPECT_EQ(strcat_s(cut, 6, "XYZ"), 0);
    EXPECT_STREQ(cut, "abcXY");
    EXPECT_EQ(strcat_s(cut, 6, NULL), -1);
}

}  // namespace
