// Register data types: the fixed cases the round-trip property cannot state.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "core/camkit_private.h"

namespace {

ci_data_types type(int t) { return static_cast<ci_data_types>(t); }

TEST(DataTypeConvert, FixedCases) {
    // raw -> text
    const struct {
        int type;
        ci_u32 raw, mask;
        const char* text;
    } texts[] = {
        {CI_TYPE_HEX, 5, 0x1FF, "0x0005"},          {CI_TYPE_SIGNED, 0x80000000, 0xFFFFFFFF, "-2147483648"},
        {CI_TYPE_SIGNMAG, 0x85, 0xFF, "-5"},        {CI_TYPE_FIXED8, 0xFF80, 0xFFFF, "-0.500"},
        {CI_TYPE_FLOAT, 0x501502F9, 0xFFFFFFFF, "1E+10"}, {CI_TYPE_FLOAT16, 0x0010, 0xFFFF, "1.00000"},
        {CI_TYPE_FLOAT16, 0x7FD9, 0xFFFF, "1023.00"}, {CI_TYPE_FLOAT16, 0x0008, 0xFFFF, "3.9062E-"},
        {CI_TYPE_FLOAT, 0x8008, 0xFFFF, "-3.9062E-"},  // a narrow float register is a 16-bit float
    };
    for (const auto& c : texts) {
        char buf[CI_STRING_LEN];
        EXPECT_EQ(ci_Int2Str(type(c.type), c.raw, c.mask, buf, sizeof buf), (ci_s32)strlen(c.text) + 1);
        EXPECT_STREQ(buf, c.text) << c.type << " " << std::hex << c.raw;
    }
    // number -> raw: saturation, rounding and out-of-range results.
    const struct {
        int type;
        double d;
        ci_u32 mask, raw;
    } numbers[] = {
        {CI_TYPE_FLOAT16, 65520.0, 0xFFFF, 0x7FFF}, {CI_TYPE_FLOAT16, -NAN, 0xFFFF, 0x7FFF},
        {CI_TYPE_FLOAT16, -1e-6, 0xFFFF, 0x8000},   {CI_TYPE_FLOAT16, 2.0 - 1.0 / 4096, 0xFFFF, 0x0011},
        {CI_TYPE_FLOAT, 1e300, 0xFFFFFFFF, 0x7F800000}, {CI_TYPE_SIGNED, -1.7, 0xFF, 0xFF},
        {CI_TYPE_FIXED1, -1.75, 0xFF, 0xFD},        {CI_TYPE_SIGNED, 3e9, 0xFFFFFFFF, 0x80000000},
        {CI_TYPE_UNSIGNED, 5e9, 0xFFFFFFFF, 705032704}, {CI_TYPE_SIGNMAG, -200, 0xFF, 0xC8},
    };
    for (const auto& c : numbers) EXPECT_EQ(ci_Double2Int(type(c.type), c.d, c.mask), c.raw) << c.type << " " << c.d;
    // text -> raw: an 'x' anywhere means hexadecimal; nothing readable is 0.
    const struct {
        int type;
        const char* text;
        ci_u32 mask, raw;
    } parses[] = {
        {CI_TYPE_SIGNED, "0x10", 0xFF, 16}, {CI_TYPE_FLOAT16, "1x", 0xFFFF, 1}, {CI_TYPE_HEX, "0x1FF", 0xFF, 0xFF},
        {CI_TYPE_SIGNED, "abc", 0xFF, 0},   {CI_TYPE_SIGNED, "-1", 0xFFF, 0xFFF}, {CI_TYPE_FIXED8, "0.3", 0xFFFF, 77},
    };
    for (const auto& c : parses) EXPECT_EQ(ci_Str2Int(type(c.type), c.text, c.mask), c.raw) << c.text;
}

TEST(DataTypeText, TooShortABufferIsCutAndNothingBeyondIsTouched) {
    char buf[8];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(ci_Int2Str(CI_TYPE_HEX, 5, 0xFFFF, buf, 4), 7);
    EXPECT_EQ(std::string(buf, 5), "0x00#");
}

}  // namespace
