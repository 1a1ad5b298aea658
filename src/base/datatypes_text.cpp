// Raw register values <-> text for every data type.
#define CK_SOURCE "datatypes"
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/datatypes_internal.h"
#include "base/base.h"

// ---------------------------------------------------------------------------
// Formatting
// ---------------------------------------------------------------------------

// Decimal places shown for a fixed-point value with N fraction bits.
static int fixed_precision(int fractionBits) {
    static const struct {
        int maxBits;
        int places;
    } table[] = {{1, 1}, {2, 2}, {9, 3}, {13, 4}, {16, 5}, {20, 6}, {23, 7}, {27, 8}};
    for (const auto& row : table)
        if (fractionBits <= row.maxBits) return row.places;
    return 9;
}

static void format_hex(ci_u32 val, ci_u32 mask, char* text) {
    const int digits = mask < 0x100 ? 2 : (mask > 0xFFFF ? 8 : 4);
    std::snprintf(text, CI_STRING_LEN, "0x%0*X", digits, val);
}

static void format_float32(double d, char* text) {
    std::snprintf(text, CI_STRING_LEN, "%.7G", d);
    // Keep the text recognisable as a floating value ("1" reads "1.0").
    if (!std::strchr(text, '.') && !std::strchr(text, 'E')) std::strncat(text, ".0", CI_STRING_LEN - 1 - std::strlen(text));
}

// The short scientific form of the 16-bit float keeps the exponent sign but
// drops the exponent digits: the characters from the first exponent digit on
// are shifted left by two, one at a time, while one follows the cursor.
static void drop_exponent_digits(char* text) {
    char* e = std::strchr(text, 'E');
    if (e == nullptr || e[1] == '\0') return;
    for (char* cursor = e + 2; cursor[0] != '\0' && cursor[1] != '\0'; ++cursor) cursor[0] = cursor[2];
}

static void format_float16(double d, char* text) {
    static const struct {
        double above;
        int places;
    } bands[] = {{1023, 1}, {100, 2}, {10, 3}, {1, 4}, {0.1, 5}, {0.01, 6}};
    if (d == 0) {
        std::snprintf(text, CI_STRING_LEN, "0.0000");
        return;
    }
    for (const auto& band : bands) {
        if (std::fabs(d) > band.above) {
            std::snprintf(text, CI_STRING_LEN, "%.*f", band.places, d);
            return;
        }
    }
    std::snprintf(text, CI_STRING_LEN, "%.4E", d);
    drop_exponent_digits(text);
}

static void format_value(ci_data_types t, ci_u32 val, ci_u32 mask, char* text) {
    const double d = ci_Int2Double(t, val, mask);
    if (!dt_is_known(t)) return;  // the empty text
    if (t == CI_TYPE_HEX)
        format_hex(val, mask, text);
    else if (t == CI_TYPE_UNSIGNED)
        std::snprintf(text, CI_STRING_LEN, "%u", val);
    else if (t == CI_TYPE_SIGNED || t == CI_TYPE_SIGNMAG)
        std::snprintf(text, CI_STRING_LEN, "%d", dt_trunc_s32(d));
    else if (dt_is_ufixed(t) || dt_is_fixed(t))
        std::snprintf(text, CI_STRING_LEN, "%.*f", fixed_precision(dt_fraction_bits(t)), d);
    else if (dt_is_float32(t, mask))
        format_float32(d, text);
    else
        format_float16(d, text);
}

// strncpy semantics; the result is the size the caller needs.
static ci_s32 copy_out(const char* text, char* pszStr, ci_s32 bufferLen) {
    if (pszStr != nullptr && bufferLen > 0) std::strncpy(pszStr, text, static_cast<size_t>(bufferLen));
    return static_cast<ci_s32>(std::strlen(text) + 1);
}

ci_s32 ci_Int2Str(ci_data_types dataType, ci_u32 val, ci_u32 mask, char* pszStr, ci_s32 bufferLen) {
    ci_string text = "";
    format_value(dataType, val, mask, text);
    return copy_out(text, pszStr, bufferLen);
}

ci_s32 ci_Double2Str(ci_data_types dataType, double d, ci_u32 mask, char* pszStr, ci_s32 bufferLen) {
    return ci_Int2Str(dataType, ci_Double2Int(dataType, d, mask), mask, pszStr, bufferLen);
}

// ---------------------------------------------------------------------------
// Reading
// ---------------------------------------------------------------------------

// An 'x' anywhere in a text makes it hexadecimal, whatever the type.
static bool has_hex_marker(const char* text) { return std::strpbrk(text, "xX") != nullptr; }

static ci_u32 parse_raw(ci_data_types t, const char* text, ci_u32 mask) {
    if (t == CI_TYPE_HEX) return HexStr2Int(text);
    if (t == CI_TYPE_UNSIGNED || t == CI_TYPE_SIGNED) return DecStr2Int(text);
    if (dt_is_ufixed(t) || dt_is_fixed(t)) return static_cast<ci_u32>(FixStr2Int(text, dt_fraction_bits(t)));
    if (t == CI_TYPE_SIGNMAG) return SignmStr2Int(text, mask);
    if (dt_is_float32(t, mask)) return FltStr2Int(text);
    return Flt16Str2Int(text);
}

ci_u32 ci_Str2Int(ci_data_types dataType, const char* pszStr, ci_u32 mask) {
    if (pszStr == nullptr || pszStr[0] == '\0') return 0;
    if (has_hex_marker(pszStr)) return HexStr2Int(pszStr) & mask;
    if (!dt_is_known(dataType)) return 0;
    return parse_raw(dataType, pszStr, mask) & mask;
}

double ci_Str2Double(ci_data_types dataType, const char* pszStr, ci_u32 mask) {
    if (pszStr == nullptr || pszStr[0] == '\0') return 0.0;
    if (dataType != CI_TYPE_HEX && !has_hex_marker(pszStr)) {
        // The value the register can actually hold.
        return ci_Int2Double(dataType, ci_Double2Int(dataType, dt_read_double(pszStr), mask), mask);
    }
    // Hexadecimal text is taken as the raw value without applying the mask.
    return ci_Int2Double(dataType, HexStr2Int(pszStr), mask);
}
