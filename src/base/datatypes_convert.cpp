// Raw register values <-> numbers for every data type.
#define CK_SOURCE "datatypes"
#include <cassert>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "base/datatypes_internal.h"
#include "base/base.h"

// ---------------------------------------------------------------------------
// Conversions that would be undefined for out-of-range values in C++ give the
// result the x86 conversion instructions produce.
// ---------------------------------------------------------------------------
ci_s32 dt_trunc_s32(double d) {
    if (d > -2147483649.0 && d < 2147483648.0) return static_cast<ci_s32>(d);
    return INT32_MIN;
}

ci_s64 dt_trunc_s64(double d) {
    if (d >= -9223372036854775808.0 && d < 9223372036854775808.0) return static_cast<ci_s64>(d);
    return INT64_MIN;
}

ci_u32 dt_trunc_low32(double d) { return static_cast<ci_u32>(static_cast<ci_u64>(dt_trunc_s64(d))); }

float dt_to_float(double d) {
    if (std::isfinite(d) && std::fabs(d) > FLT_MAX) {
        // Round to nearest: only from FLT_MAX plus half a unit onwards does
        // the value become infinite.
        const float mag = std::fabs(d) >= 0x1.ffffffp+127 ? INFINITY : FLT_MAX;
        return d < 0 ? -mag : mag;
    }
    return static_cast<float>(d);
}

ci_u32 dt_float_bits(float f) {
    ci_u32 bits;
    std::memcpy(&bits, &f, sizeof bits);
    return bits;
}

static float float_from_bits(ci_u32 bits) {
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

// ---------------------------------------------------------------------------
// The 16-bit float
// ---------------------------------------------------------------------------
ci_u32 Flt2Flt16(float f, int prec) {
    assert(prec >= 6 && prec <= 16 && "Flt2Flt16: precision must be 6..16 bits");
    const bool negative = f < 0;  // a NaN never tests negative
    if (negative) f = -f;
    if (f == 0) return 0;

    const ci_u32 bits = dt_float_bits(f);
    int exponent = static_cast<int>((bits >> 23) & 0xFF) - 127;
    const ci_u32 fraction = bits & 0x7FFFFF;
    ci_u32 m = fraction >> (29 - prec);
    // Round half away from zero on the first dropped fraction bit.
    if ((fraction >> (28 - prec)) & 1) {
        ++m;
        if (m == (1u << (prec - 6))) {
            m = 0;
            ++exponent;
        }
    }
    const ci_u32 sign = negative ? 0x8000u : 0u;
    if (exponent >= 16) return sign | 0x7FFF;  // saturate (also Inf and NaN)
    if (exponent < -16) return sign;           // underflow: 0x0000 or 0x8000
    return sign + ((m << (16 - prec)) << 5) + static_cast<ci_u32>(exponent + 16);
}

double dt_float16_to_double(ci_u32 val) {
    // Only the word 0 is zero; 0x8000 is the smallest negative value.
    if (val == 0) return 0.0;
    const ci_u32 word = ((val & 0x8000) << 16) + (((val & 0x1F) + 111) << 23) + ((val & 0x7FE0) << 8);
    return float_from_bits(word);
}

// ---------------------------------------------------------------------------
// Raw to number
// ---------------------------------------------------------------------------
static double signed_to_double(ci_u32 val, ci_u32 mask, int fractionBits) {
    // 64-bit arithmetic: with a 32-bit mask the sign term is 2^31.
    const ci_s64 v = static_cast<ci_s64>(val & dt_magnitude_bits(mask)) - static_cast<ci_s64>(val & dt_sign_bit(mask));
    return static_cast<double>(v) / dt_scale(fractionBits);
}

static double signmag_to_double(ci_u32 val, ci_u32 mask) {
    const double magnitude = val & dt_magnitude_bits(mask);
    return (val & dt_sign_bit(mask)) ? -magnitude : magnitude;
}

double ci_Int2Double(ci_data_types dataType, ci_u32 val, ci_u32 mask) {
    if (dt_is_ufixed(dataType)) return val / dt_scale(dt_fraction_bits(dataType));
    if (dt_is_fixed(dataType)) return signed_to_double(val, mask, dt_fraction_bits(dataType));
    if (dataType == CI_TYPE_SIGNMAG) return signmag_to_double(val, mask);
    if (dt_is_float32(dataType, mask)) return float_from_bits(val);
    if (dt_is_float16(dataType, mask)) return dt_float16_to_double(val);
    return val;  // hex and unknown types
}

// ---------------------------------------------------------------------------
// Number to raw
// ---------------------------------------------------------------------------
static ci_u32 signmag_from_double(double d, ci_u32 mask) {
    const ci_u32 m = dt_trunc_low32(std::fabs(d));
    // The magnitude is deliberately not limited to the magnitude bits.
    return d < 0 ? (m | dt_sign_bit(mask)) & mask : m & mask;
}

static ci_u32 float32_from_double(double d, ci_u32 mask) {
    const float f = dt_to_float(d);
    if (f == 0) return 0;  // also -0.0
    return dt_float_bits(f) & mask;
}

ci_u32 ci_Double2Int(ci_data_types dataType, double d, ci_u32 mask) {
    if (!dt_is_known(dataType)) return 0;
    const double scale = dt_scale(dt_fraction_bits(dataType));
    if (dataType == CI_TYPE_HEX || dataType == CI_TYPE_UNSIGNED) return dt_trunc_low32(d) & mask;
    if (dt_is_ufixed(dataType)) return dt_trunc_low32(std::floor(d * scale + 0.5)) & mask;
    // Plain signed truncates; fixed1..fixed32 round halves toward +infinity.
    if (dataType == CI_TYPE_SIGNED) return static_cast<ci_u32>(dt_trunc_s32(d)) & mask;
    if (dt_is_fixed(dataType)) return static_cast<ci_u32>(dt_trunc_s32(std::floor(d * scale + 0.5))) & mask;
    if (dataType == CI_TYPE_SIGNMAG) return signmag_from_double(d, mask);
    if (dt_is_float32(dataType, mask)) return float32_from_double(d, mask);
    return Flt2Flt16(dt_to_float(d), 16) & mask;
}
