// Register data types: keywords and value ranges.
#define CK_SOURCE "datatypes"
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "base/datatypes_internal.h"
#include "base/base.h"

// ---------------------------------------------------------------------------
// Keywords
// ---------------------------------------------------------------------------
namespace {

constexpr int kTypeCount = CI_TYPE_FLOAT16 + 1;
constexpr int kMaxFractionBits = 32;

struct KeywordTable {
    char text[kTypeCount][12];
};

// Writes prefix followed by the decimal number n (omitted when negative).
constexpr void put_keyword(char* dst, const char* prefix, int n) {
    int len = 0;
    while (prefix[len] != '\0') {
        dst[len] = prefix[len];
        ++len;
    }
    if (n >= 10) dst[len++] = static_cast<char>('0' + n / 10);
    if (n >= 0) dst[len++] = static_cast<char>('0' + n % 10);
    dst[len] = '\0';
}

constexpr KeywordTable make_keywords() {
    KeywordTable k{};
    put_keyword(k.text[CI_TYPE_HEX], "hex", -1);
    put_keyword(k.text[CI_TYPE_UNSIGNED], "unsigned", -1);
    put_keyword(k.text[CI_TYPE_SIGNED], "signed", -1);
    for (int n = 1; n <= kMaxFractionBits; ++n) {
        put_keyword(k.text[CI_TYPE_UFIXED0 + n], "ufixed", n);
        put_keyword(k.text[CI_TYPE_FIXED0 + n], "fixed", n);
    }
    put_keyword(k.text[CI_TYPE_SIGNMAG], "signmag", -1);
    put_keyword(k.text[CI_TYPE_FLOAT], "float", -1);
    put_keyword(k.text[CI_TYPE_FLOAT16], "float16", -1);
    return k;
}

constexpr KeywordTable kKeywords = make_keywords();

// Whole-word keywords, compared ignoring case in this order.
constexpr struct {
    const char* keyword;
    ci_data_types type;
} kWholeWords[] = {
    {"hex", CI_TYPE_HEX},         {"unsigned", CI_TYPE_UNSIGNED}, {"signed", CI_TYPE_SIGNED},
    {"signmag", CI_TYPE_SIGNMAG}, {"float", CI_TYPE_FLOAT},       {"float16", CI_TYPE_FLOAT16},
};

// "<prefix><N>": the prefix test ignores case, but the number is only read
// after a prefix spelled exactly in lower case (so "FIXED8" reads no number).
// The number is clamped to 0..32; none read counts as 0.
int fraction_bits_of(const char* text, const char* prefix, size_t prefixLen) {
    long n = 0;
    if (strncmp(text, prefix, prefixLen) == 0) n = std::strtol(text + prefixLen, nullptr, 10);
    if (n < 0) return 0;
    return n > kMaxFractionBits ? kMaxFractionBits : static_cast<int>(n);
}

}  // namespace

const char* ci_GetDataTypeString(ci_data_types dataType) {
    assert(dt_is_known(dataType) && "ci_GetDataTypeString: data type outside 0..69");
    if (!dt_is_known(dataType)) return "";
    return kKeywords.text[dataType];
}

ci_data_types ci_DataTypeFromString(const char* pszStr) {
    if (pszStr == nullptr) return CI_UNKNOWN_DATA_TYPE;
    for (const auto& word : kWholeWords)
        if (strcasecmp(pszStr, word.keyword) == 0) return word.type;
    if (strncasecmp(pszStr, "fixed", 5) == 0)
        return static_cast<ci_data_types>(CI_TYPE_FIXED0 + fraction_bits_of(pszStr, "fixed", 5));
    if (strncasecmp(pszStr, "ufixed", 6) == 0)
        return static_cast<ci_data_types>(CI_TYPE_UFIXED0 + fraction_bits_of(pszStr, "ufixed", 6));
    return CI_UNKNOWN_DATA_TYPE;
}

// ---------------------------------------------------------------------------
// Ranges.  A range of 0 to 0 means that none is known (floating types).
// ---------------------------------------------------------------------------
namespace {

struct TypeRange {
    double minimum;
    double maximum;
    double step;
};

TypeRange type_range(ci_data_types t, ci_u32 mask) {
    const double h = dt_magnitude_bits(mask);
    const double scale = dt_scale(dt_fraction_bits(t));
    if (t == CI_TYPE_HEX || dt_is_ufixed(t)) return {0, mask / scale, 1 / scale};
    if (dt_is_fixed(t)) return {(-h - 1) / scale, h / scale, 1 / scale};
    if (t == CI_TYPE_SIGNMAG) return {-h, h, 1};
    return {0, 0, 0};
}

}  // namespace

double ci_DataTypeMinimum(ci_data_types dataType, ci_u32 mask) { return type_range(dataType, mask).minimum; }

double ci_DataTypeMaximum(ci_data_types dataType, ci_u32 mask) { return type_range(dataType, mask).maximum; }

double ci_DataTypeStep(ci_data_types dataType, ci_u32 mask) { return type_range(dataType, mask).step; }
