// Register data types: keywords, conversions, text forms and ranges.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "core/camkit_private.h"

namespace {

ci_data_types type(int t) { return static_cast<ci_data_types>(t); }

std::string int2str(ci_data_types t, ci_u32 val, ci_u32 mask) {
    char buf[CI_STRING_LEN];
    const ci_s32 needed = ci_Int2Str(t, val, mask, buf, sizeof buf);
    EXPECT_EQ(needed, static_cast<ci_s32>(std::strlen(buf) + 1));
    return buf;
}

const double kTiny = std::ldexp(1.0, -16);  // 0x8000 in the 16-bit float

}  // namespace

TEST(DataTypeKeywords, KeywordsAndTheirQuirks) {
    for (int t = CI_TYPE_HEX; t <= CI_TYPE_FLOAT16; ++t)
        EXPECT_EQ(ci_DataTypeFromString(ci_GetDataTypeString(type(t))), t);
    EXPECT_STREQ(ci_GetDataTypeString(CI_TYPE_FIXED10), "fixed10");
    const struct {
        const char* text;
        int type;
    } cases[] = {
        {"HeX", CI_TYPE_HEX},           {"FLOAT16", CI_TYPE_FLOAT16},  {"fixed40", CI_TYPE_FIXED32},
        {"Fixed40", CI_TYPE_SIGNED},    {"FIXED8", CI_TYPE_SIGNED},    {"ufixed-3", CI_TYPE_UNSIGNED},
        {"ufixed", CI_TYPE_UNSIGNED},   {"fixed99999999999999999999", CI_TYPE_FIXED32},
        {"float32", CI_UNKNOWN_DATA_TYPE}, {"", CI_UNKNOWN_DATA_TYPE},
    };
    for (const auto& c : cases) EXPECT_EQ(ci_DataTypeFromString(c.text), c.type) << c.text;
    EXPECT_EQ(ci_DataTypeFromString(nullptr), CI_UNKNOWN_DATA_TYPE);
}

TEST(DataTypeKeywordsDeathTest, OutOfRangeTypeIsAProgrammingError) {
    EXPECT_DEATH(ci_GetDataTypeString(type(70)), "data type outside 0..69");
}

TEST(DataTypeText, FormsByType) {
    const struct {
        int type;
        ci_u32 raw, mask;
        const char* text;
    } cases[] = {
        {CI_TYPE_HEX, 5, 0xFF, "0x05"}, {CI_TYPE_HEX, 5, 0x1FF, "0x0005"}, {CI_TYPE_HEX, 5, 0x10000, "0x00000005"},
        {CI_TYPE_UNSIGNED, 0xFFFFFFFF, 0xFFFFFFFF, "4294967295"},
        {CI_TYPE_SIGNED, 0x80000000, 0xFFFFFFFF, "-2147483648"},
        {CI_TYPE_SIGNMAG, 0x85, 0xFF, "-5"}, {CI_TYPE_FIXED8, 0xFF80, 0xFFFF, "-0.500"},
        {CI_TYPE_FLOAT, 0x3F800000, 0xFFFFFFFF, "1.0"}, {CI_TYPE_FLOAT, 0x7FC00000, 0xFFFFFFFF, "NAN.0"},
        {CI_TYPE_FLOAT, 0x501502F9, 0xFFFFFFFF, "1E+10"},
        // The 16-bit float: places by magnitude, then a cut scientific form.
        {CI_TYPE_FLOAT16, 0x0000, 0xFFFF, "0.0000"},
        {CI_TYPE_FLOAT16, 0x0010, 0xFFFF, "1.00000"},  // 1.0 is not above 1
        {CI_TYPE_FLOAT16, 0x4010, 0xFFFF, "1.5000"}, {CI_TYPE_FLOAT16, 0x7FD9, 0xFFFF, "1023.00"},
        {CI_TYPE_FLOAT16, 0x001A, 0xFFFF, "1024.0"}, {CI_TYPE_FLOAT16, 0x000A, 0xFFFF, "0.015625"},
        {CI_TYPE_FLOAT16, 0x0008, 0xFFFF, "3.9062E-"},  // 2^-8: "3.9062E-03" loses its digits
        {CI_TYPE_FLOAT, 0x8008, 0xFFFF, "-3.9062E-"},   // a narrow float register
    };
    for (const auto& c : cases) EXPECT_EQ(int2str(type(c.type), c.raw, c.mask), c.text) << std::hex << c.raw;
    char buf[16];
    EXPECT_EQ(ci_Double2Str(CI_TYPE_FLOAT16, -12.5, 0xFFFF, buf, sizeof buf), 8);
    EXPECT_STREQ(buf, "-12.500");
}

TEST(DataTypeText, FixedPointPlacesGrowWithFractionBits) {
    const int places[32] = {1, 2, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5,
                            6, 6, 6, 6, 7, 7, 7, 8, 8, 8, 8, 9, 9, 9, 9, 9};
    for (int n = 1; n <= 32; ++n) {
        const std::string text = int2str(type(CI_TYPE_UFIXED0 + n), 0, 0xFF);
        EXPECT_EQ(text, "0." + std::string(places[n - 1], '0')) << "ufixed" << n;
        EXPECT_EQ(int2str(type(CI_TYPE_FIXED0 + n), 0, 0xFF), text) << "fixed" << n;
    }
}

TEST(DataTypeText, CopySemanticsAndNeededSize) {
    char buf[8];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(ci_Int2Str(CI_TYPE_HEX, 5, 0xFFFF, nullptr, 100), 7);
    EXPECT_EQ(ci_Int2Str(CI_TYPE_HEX, 5, 0xFFFF, buf, -3), 7);
    EXPECT_EQ(buf[0], '#');
    // Too short: cut without a terminator, nothing beyond touched.
    EXPECT_EQ(ci_Int2Str(CI_TYPE_HEX, 5, 0xFFFF, buf, 4), 7);
    EXPECT_EQ(std::string(buf, 5), "0x00#");
    // Short text: padded with terminators up to the given length.
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(ci_Double2Str(CI_TYPE_SIGNED, -3.0, 0xFF, buf, 5), 3);
    EXPECT_EQ(std::string(buf, 6), std::string("-3\0\0\0#", 6));
    // Unknown type: the empty text.
    EXPECT_EQ(ci_Int2Str(type(70), 5, 0xFF, buf, sizeof buf), 1);
    EXPECT_EQ(buf[0], '\0');
}

TEST(DataTypeConvert, NumberToRaw) {
    const struct {
        int type;
        double d;
        ci_u32 mask, raw;
    } cases[] = {
        // The 16-bit float: saturation, underflow, the 0x8000 asymmetry and
        // rounding half away from zero (with the carry into the exponent).
        {CI_TYPE_FLOAT16, 65520.0, 0xFFFF, 0x7FFF}, {CI_TYPE_FLOAT16, -70000.0, 0xFFFF, 0xFFFF},
        {CI_TYPE_FLOAT16, 1e300, 0xFFFF, 0x7FFF}, {CI_TYPE_FLOAT16, -NAN, 0xFFFF, 0x7FFF},
        {CI_TYPE_FLOAT16, 1e-6, 0xFFFF, 0}, {CI_TYPE_FLOAT16, -1e-6, 0xFFFF, 0x8000},
        {CI_TYPE_FLOAT16, -0.0, 0xFFFF, 0}, {CI_TYPE_FLOAT16, 1.0 + 1.0 / 2048, 0xFFFF, 0x0030},
        {CI_TYPE_FLOAT16, 2.0 - 1.0 / 4096, 0xFFFF, 0x0011},
        // IEEE single for wide float registers; just above FLT_MAX rounds down to it.
        {CI_TYPE_FLOAT, -0.0, 0xFFFFFFFF, 0}, {CI_TYPE_FLOAT, 1e300, 0xFFFFFFFF, 0x7F800000},
        {CI_TYPE_FLOAT, 3.4028235e38, 0xFFFFFFFF, 0x7F7FFFFF},
        // Plain signed truncates; fixed point rounds halves up (-3.5 -> -3, -1.5 -> -1).
        {CI_TYPE_SIGNED, -1.7, 0xFF, 0xFF}, {CI_TYPE_FIXED1, -1.75, 0xFF, 0xFD},
        {CI_TYPE_FIXED1, -0.75, 0xFF, 0xFF}, {CI_TYPE_FIXED1, 0.75, 0xFF, 2}, {CI_TYPE_UFIXED2, 0.125, 0xFF, 1},
        // Beyond 32 bits signed: the indefinite integer; unsigned: low 32 bits of 64.
        {CI_TYPE_SIGNED, 3e9, 0xFFFFFFFF, 0x80000000}, {CI_TYPE_SIGNED, -3e9, 0xFFFF, 0},
        {CI_TYPE_SIGNED, NAN, 0xFFFFFFFF, 0x80000000}, {CI_TYPE_SIGNED, 2147483647.9, 0xFFFFFFFF, 0x7FFFFFFF},
        {CI_TYPE_FIXED8, 1e9, 0xFFFFFFFF, 0x80000000},
        {CI_TYPE_UNSIGNED, -1.0, 0xFF, 0xFF}, {CI_TYPE_UNSIGNED, 5e9, 0xFFFFFFFF, 705032704},
        {CI_TYPE_HEX, 1e30, 0xFFFFFFFF, 0},
        // Sign and magnitude; the magnitude is not limited to its bits.
        {CI_TYPE_SIGNMAG, -5, 0xFF, 0x85}, {CI_TYPE_SIGNMAG, 5.9, 0xFF, 5},
        {CI_TYPE_SIGNMAG, -200, 0xFF, 0xC8}, {70, 5.0, 0xFF, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(ci_Double2Int(type(c.type), c.d, c.mask), c.raw) << c.type << " " << c.d;
}

TEST(DataTypeConvert, RawToNumber) {
    const struct {
        int type;
        ci_u32 raw, mask;
        double d;
    } cases[] = {
        {CI_TYPE_FLOAT16, 0x0000, 0xFFFF, 0.0}, {CI_TYPE_FLOAT16, 0x8000, 0xFFFF, -kTiny},
        {CI_TYPE_FLOAT16, 0x7FFF, 0xFFFF, 65504.0}, {CI_TYPE_FLOAT16, 0x0030, 0xFFFF, 1.0 + 1.0 / 1024},
        {CI_TYPE_FLOAT, 0x0010, 0xFF, 1.0}, {CI_TYPE_SIGNED, 0x80000000, 0xFFFFFFFF, -2147483648.0},
        {CI_TYPE_FIXED32, 0x80000000, 0xFFFFFFFF, -0.5}, {70, 0xFFFFFFFF, 0xFF, 4294967295.0},
    };
    for (const auto& c : cases) EXPECT_EQ(ci_Int2Double(type(c.type), c.raw, c.mask), c.d) << c.type << " " << c.raw;
}

TEST(DataTypeParse, TextToRaw) {
    const struct {
        int type;
        const char* text;
        ci_u32 mask, raw;
    } cases[] = {
        // An 'x' anywhere means hexadecimal, even before the type is checked.
        {CI_TYPE_SIGNED, "0x10", 0xFF, 16}, {CI_TYPE_FLOAT16, "1x", 0xFFFF, 1}, {CI_TYPE_HEX, "0x1FF", 0xFF, 0xFF},
        {CI_TYPE_HEX, "abc", 0xFFFF, 0xABC}, {70, "0x12", 0xFF, 0x12}, {70, "12", 0xFF, 0},
        // Nothing readable reads as 0.
        {CI_TYPE_SIGNED, "", 0xFF, 0}, {CI_TYPE_SIGNED, "abc", 0xFF, 0}, {CI_TYPE_FIXED4, "-", 0xFF, 0},
        {CI_TYPE_UNSIGNED, " 4294967295", 0xFFFFFFFF, 0xFFFFFFFF}, {CI_TYPE_SIGNED, "-1", 0xFFF, 0xFFF},
        {CI_TYPE_FIXED8, "0.3", 0xFFFF, 77}, {CI_TYPE_SIGNMAG, "-2147483648", 0xFFFFFFFF, 0x80000000},
    };
    for (const auto& c : cases) EXPECT_EQ(ci_Str2Int(type(c.type), c.text, c.mask), c.raw) << c.type << " " << c.text;
    EXPECT_EQ(ci_Str2Int(CI_TYPE_SIGNED, nullptr, 0xFF), 0u);
}

TEST(DataTypeParse, TextToNumberIsQuantised) {
    const struct {
        int type;
        const char* text;
        ci_u32 mask;
        double d;
    } cases[] = {
        {CI_TYPE_UNSIGNED, "0x1FF", 0xFF, 511.0},  // hex text is deliberately not masked
        {CI_TYPE_HEX, "10", 0xFF, 16.0}, {CI_TYPE_FIXED8, "0x80", 0xFFFF, 0.5},
        {CI_TYPE_FIXED8, "0.3", 0xFFFF, 77.0 / 256}, {CI_TYPE_SIGNED, "300", 0xFF, 44.0},
        {CI_TYPE_SIGNED, "-1.9", 0xFF, -1.0}, {CI_TYPE_FLOAT16, "-1e-6", 0xFFFF, -kTiny},
    };
    for (const auto& c : cases) EXPECT_EQ(ci_Str2Double(type(c.type), c.text, c.mask), c.d) << c.type << " " << c.text;
    EXPECT_EQ(ci_Str2Double(CI_TYPE_FLOAT, nullptr, 0xFFFFFFFF), 0.0);
}

TEST(DataTypeRange, LimitsAndSteps) {
    const double step32 = std::ldexp(1.0, -32);
    const struct {
        int type;
        ci_u32 mask;
        double minimum, maximum, step;
    } cases[] = {
        {CI_TYPE_HEX, 0xFFFFFFFF, 0, 4294967295.0, 1},
        {CI_TYPE_SIGNED, 0xFFFFFFFF, -2147483648.0, 2147483647.0, 1},
        {CI_TYPE_FIXED8, 0xFFFF, -128, 127.99609375, 1.0 / 256},
        {CI_TYPE_UFIXED32, 0xFFFFFFFF, 0, 4294967295.0 * step32, step32},
        {CI_TYPE_FIXED32, 0xFF, -128 * step32, 127 * step32, step32},
        {CI_TYPE_SIGNMAG, 0xFF, -127, 127, 1}, {CI_TYPE_FLOAT, 0xFFFF, 0, 0, 0}, {70, 0xFFFF, 0, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ci_DataTypeMinimum(type(c.type), c.mask), c.minimum) << c.type;
        EXPECT_EQ(ci_DataTypeMaximum(type(c.type), c.mask), c.maximum) << c.type;
        EXPECT_EQ(ci_DataTypeStep(type(c.type), c.mask), c.step) << c.type;
    }
}
