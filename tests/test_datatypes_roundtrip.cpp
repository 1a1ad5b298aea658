// Property test: every data type gives a raw value back through its number
// form and through its text form wherever the form can carry it; the cases
// where it cannot are singled out with what must happen instead.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "core/camkit_private.h"

namespace {

constexpr int kRandomSamples = 4000;

ci_data_types type(int t) { return static_cast<ci_data_types>(t); }

ci_u32 sign_bit(ci_u32 mask) { return mask - (mask >> 1); }

bool uses_float16(ci_data_types t, ci_u32 mask) {
    return t == CI_TYPE_FLOAT16 || (t == CI_TYPE_FLOAT && mask <= 0xFFFF);
}

bool uses_float32(ci_data_types t, ci_u32 mask) { return t == CI_TYPE_FLOAT && mask > 0xFFFF; }

int fraction_bits(ci_data_types t) {
    if (t > CI_TYPE_UFIXED0 && t <= CI_TYPE_UFIXED32) return t - CI_TYPE_UFIXED0;
    if (t > CI_TYPE_FIXED0 && t <= CI_TYPE_FIXED32) return t - CI_TYPE_FIXED0;
    return 0;
}

float float_of(ci_u32 bits) {
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

// Every raw value for masks up to 10 bits and for the 16-bit float (65536
// words); otherwise the edges of the mask, the IEEE specials and a fixed
// pseudo-random sample.
std::vector<ci_u32> raw_values(ci_data_types t, ci_u32 mask) {
    std::vector<ci_u32> values;
    if (mask <= 0x3FF || (mask == 0xFFFF && uses_float16(t, mask))) {
        for (ci_u32 v = 0; v <= mask; ++v) values.push_back(v);
        return values;
    }
    const ci_u32 h = mask >> 1;
    values = {0, 1, 2, h - 1, h, h + 1, h + 2, mask - 1, mask, 0x80000000, 0x3F800000, 0xBF800000, 0x7F800000,
              0xFF800000, 0x7FC00000, 0xFFC00001, 0x7FA00000, 0x7F800001, 0x807FFFFF, 0x7F7FFFFF, 0x00800000,
              0x3C23D70A, 0x4B7FFFFF, 0x4CBEBC20};
    for (ci_u32& v : values) v &= mask;
    std::mt19937 gen(0x5EED0000u + static_cast<unsigned>(t));
    for (int i = 0; i < kRandomSamples; ++i) values.push_back(static_cast<ci_u32>(gen()) & mask);
    return values;
}

// Collects mismatches and reports the first few.
class Mismatches {
public:
    void add(const std::string& what) {
        if (count_++ < 10) ADD_FAILURE() << what;
    }
    ~Mismatches() {
        if (count_ > 10) ADD_FAILURE() << count_ << " mismatches in all";
    }

private:
    int count_ = 0;
};

std::string describe(ci_data_types t, ci_u32 mask, ci_u32 raw, const std::string& text, ci_u32 back) {
    std::ostringstream os;
    os << "type " << t << std::hex << " mask 0x" << mask << " raw 0x" << raw << " text \"" << text << "\" back 0x" << back;
    return os.str();
}

ci_u32 expected_after_number(ci_data_types t, ci_u32 mask, ci_u32 raw) {
    // Sign-magnitude negative zero is the number -0.0, which stores as +0.
    if (t == CI_TYPE_SIGNMAG && raw == sign_bit(mask)) return 0;
    // The 16-bit float reads only the low 16 bits.
    if (uses_float16(t, mask)) return raw & 0xFFFF;
    if (uses_float32(t, mask)) {
        // Any zero, -0.0 included, is stored as the word 0.
        if (raw == 0x80000000) return 0;
        // A signalling NaN comes back quiet (the payload survives).
        const bool nan = (raw & 0x7F800000) == 0x7F800000 && (raw & 0x007FFFFF) != 0;
        if (nan) return raw | 0x00400000;
    }
    return raw;
}

// A fixed-point text as an exact decimal: digits without the point.
struct Decimal {
    bool negative = false;
    ci_u64 digits = 0;
    int places = 0;
};

Decimal parse_decimal(const std::string& text) {
    Decimal d;
    d.negative = !text.empty() && text[0] == '-';
    const size_t point = text.find('.');
    for (size_t i = d.negative; i < text.size(); ++i)
        if (i != point) d.digits = d.digits * 10 + static_cast<ci_u64>(text[i] - '0');
    d.places = point == std::string::npos ? 0 : static_cast<int>(text.size() - point - 1);
    return d;
}

ci_u64 pow10(int p) {
    ci_u64 r = 1;
    while (p-- > 0) r *= 10;
    return r;
}

// Fixed point with N fraction bits printed with P places: the value is s
// steps of 2^-N, the text D units of 10^-P.  The text reads back as s exactly
// when it lies less than half a step from the value (2 |D 2^N - s 10^P| <
// 10^P), which fails for some values when 2^N > 10^P.  A text of 2^31 - 1/2
// steps or more reads back beyond the signed range as 0x80000000.
void check_fixed_text(ci_data_types t, ci_u32 mask, ci_u32 raw, const std::string& text, ci_u32 back,
                      Mismatches& bad) {
    const int n = fraction_bits(t);
    const bool is_signed = t > CI_TYPE_FIXED0;
    const ci_s64 s = is_signed ? static_cast<ci_s64>(raw & (mask >> 1)) - static_cast<ci_s64>(raw & sign_bit(mask))
                               : static_cast<ci_s64>(raw);
    const Decimal dec = parse_decimal(text);
    const ci_u64 magnitude = static_cast<ci_u64>(s < 0 ? -s : s);
    const ci_u64 text_scaled = dec.digits << n;
    const ci_u64 value_scaled = magnitude * pow10(dec.places);
    const ci_u64 err = text_scaled > value_scaled ? text_scaled - value_scaled : value_scaled - text_scaled;

    // The text is the value rounded to its places, with the value's sign.
    if (2 * err > (static_cast<ci_u64>(1) << n) || (s < 0) != dec.negative) {
        bad.add("wrong text: " + describe(t, mask, raw, text, back));
        return;
    }
    if (!dec.negative && 2 * text_scaled >= 0xFFFFFFFFull * pow10(dec.places)) {
        if (back != (0x80000000u & mask)) bad.add("expected 0x80000000: " + describe(t, mask, raw, text, back));
        return;
    }
    const bool within_half_step = 2 * err < pow10(dec.places);
    if (within_half_step && back != raw) bad.add(describe(t, mask, raw, text, back));
}

// True when the text reads back as exactly the float with these bits
// (nearest, ties to even).  Seven significant digits do not carry every float.
bool text_denotes_float(const std::string& text, ci_u32 bits) {
    const float f = float_of(bits);
    const long double t = std::strtold(text.c_str(), nullptr);
    const long double a = f;
    if (t == a) return true;
    const long double lo = (a + std::nextafterf(f, -INFINITY)) / 2;
    const long double hi = (a + std::nextafterf(f, INFINITY)) / 2;
    if (t == lo || t == hi) return (bits & 1) == 0;
    return t > lo && t < hi;
}

void check_float32_text(ci_data_types t, ci_u32 mask, ci_u32 raw, const std::string& text, ci_u32 back,
                        Mismatches& bad) {
    const float f = float_of(raw);
    if (std::isnan(f)) {
        // "NAN.0" / "-NAN.0" keep the sign but not the payload.
        if (back != ((raw & 0x80000000) | 0x7FC00000)) bad.add("NaN: " + describe(t, mask, raw, text, back));
        return;
    }
    if (text_denotes_float(text, raw)) {
        if (back != raw) bad.add(describe(t, mask, raw, text, back));
        return;
    }
    // Not carried exactly: still within half a unit of the 7th digit.
    const double error = std::fabs(static_cast<double>(float_of(back)) - f);
    if (!(error <= std::fabs(f) * 6e-7 + std::ldexp(1.0, -149)))
        bad.add("beyond 7 digits: " + describe(t, mask, raw, text, back));
}

void check_text_roundtrip(ci_data_types t, ci_u32 mask, ci_u32 raw, Mismatches& bad) {
    char buf[CI_STRING_LEN];
    ci_Int2Str(t, raw, mask, buf, sizeof buf);
    const std::string text = buf;
    const ci_u32 back = ci_Str2Int(t, buf, mask);

    if (uses_float16(t, mask)) {
        if (raw > 0xFFFF) return;  // higher bits are checked through the number form
        const double d = ci_Int2Double(t, raw, mask);
        // At or below 0.01 the short form drops the exponent digits ("1.5259E-").
        if (d != 0 && std::fabs(d) <= 0.01) {
            if (text.size() < 2 || text.compare(text.size() - 2, 2, "E-") != 0)
                bad.add("expected a cut exponent: " + describe(t, mask, raw, text, back));
            return;
        }
    } else if (uses_float32(t, mask)) {
        return check_float32_text(t, mask, raw, text, back, bad);
    } else if (fraction_bits(t) > 0) {
        return check_fixed_text(t, mask, raw, text, back, bad);
    } else if (t == CI_TYPE_SIGNMAG && raw == sign_bit(mask)) {
        // Negative zero prints as "0".
        if (back != 0) bad.add(describe(t, mask, raw, text, back));
        return;
    }
    if (back != raw) bad.add(describe(t, mask, raw, text, back));
}

class DataTypeRoundTrip : public ::testing::TestWithParam<ci_u32> {};

}  // namespace

TEST_P(DataTypeRoundTrip, RawThroughNumber) {
    const ci_u32 mask = GetParam();
    Mismatches bad;
    for (int t = CI_TYPE_HEX; t <= CI_TYPE_FLOAT16; ++t) {
        for (ci_u32 raw : raw_values(type(t), mask)) {
            const double d = ci_Int2Double(type(t), raw, mask);
            const ci_u32 back = ci_Double2Int(type(t), d, mask);
            if (back != expected_after_number(type(t), mask, raw))
                bad.add(describe(type(t), mask, raw, std::to_string(d), back));
        }
    }
}

TEST_P(DataTypeRoundTrip, RawThroughText) {
    const ci_u32 mask = GetParam();
    Mismatches bad;
    for (int t = CI_TYPE_HEX; t <= CI_TYPE_FLOAT16; ++t)
        for (ci_u32 raw : raw_values(type(t), mask)) check_text_roundtrip(type(t), mask, raw, bad);
}

INSTANTIATE_TEST_SUITE_P(Masks, DataTypeRoundTrip, ::testing::Values(0xFFu, 0x3FFu, 0xFFFFu, 0xFFFFFFFFu),
                         [](const ::testing::TestParamInfo<ci_u32>& info) {
                             std::ostringstream os;
                             os << "mask" << std::hex << info.param;
                             return os.str();
                         });
