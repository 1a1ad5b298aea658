// Shared pieces of the register data-type module: type classification, the
// platform-neutral number conversions and the text readers.  Only the
// datatypes*.cpp files (and their tests) include this header.
#pragma once

#include "camkit.h"

// ---------------------------------------------------------------------------
// Type classification.  The numbering of ci_data_types is arithmetic: the
// unsigned fixed types follow CI_TYPE_UNSIGNED (ufixed0) and the signed fixed
// types follow CI_TYPE_SIGNED (fixed0), each with N = offset fraction bits.
// ---------------------------------------------------------------------------
inline bool dt_is_known(ci_data_types t) { return t >= CI_TYPE_HEX && t <= CI_TYPE_FLOAT16; }

// ufixed0 (unsigned) .. ufixed32
inline bool dt_is_ufixed(ci_data_types t) { return t >= CI_TYPE_UFIXED0 && t <= CI_TYPE_UFIXED32; }

// fixed0 (signed) .. fixed32
inline bool dt_is_fixed(ci_data_types t) { return t >= CI_TYPE_FIXED0 && t <= CI_TYPE_FIXED32; }

// Number of fraction bits N (0 for every type that is not fixed point).
inline int dt_fraction_bits(ci_data_types t) {
    if (dt_is_ufixed(t)) return t - CI_TYPE_UFIXED0;
    if (dt_is_fixed(t)) return t - CI_TYPE_FIXED0;
    return 0;
}

// 2^N, computed exactly as a 64-bit integer (N <= 32) before becoming a double.
inline double dt_scale(int fractionBits) { return static_cast<double>(static_cast<ci_u64>(1) << fractionBits); }

// A "float" register narrower than 17 bits holds the library's 16-bit format.
inline bool dt_is_float16(ci_data_types t, ci_u32 mask) {
    return t == CI_TYPE_FLOAT16 || (t == CI_TYPE_FLOAT && mask <= 0xFFFF);
}

inline bool dt_is_float32(ci_data_types t, ci_u32 mask) { return t == CI_TYPE_FLOAT && mask > 0xFFFF; }

// Sign bit and magnitude bits of a right-aligned mask.
inline ci_u32 dt_sign_bit(ci_u32 mask) { return mask - (mask >> 1); }
inline ci_u32 dt_magnitude_bits(ci_u32 mask) { return mask >> 1; }

// ---------------------------------------------------------------------------
// Number conversions with the x86 results made explicit: a value that does
// not fit the target integer gives the "integer indefinite" (the lowest value
// of the target type) instead of undefined behaviour.  NaN gives the same.
// ---------------------------------------------------------------------------
ci_s32 dt_trunc_s32(double d);
ci_s64 dt_trunc_s64(double d);
// Low 32 bits of dt_trunc_s64(d).
ci_u32 dt_trunc_low32(double d);
// Rounds d to single precision; finite values beyond the float range become
// infinities as IEEE rounding prescribes.
float dt_to_float(double d);
ci_u32 dt_float_bits(float f);

// The library's 16-bit float: sign (bit 15), 10-bit fraction (14..5), 5-bit
// exponent with bias 16 (4..0).  prec is the number of significant bits of
// the word honoured (6..16); the library always passes 16.
ci_u32 Flt2Flt16(float f, int prec);
double dt_float16_to_double(ci_u32 val);

// ---------------------------------------------------------------------------
// Text readers.  Each yields 0 (or 0.0) when nothing can be read.  Integer
// texts are read with 64-bit range and keep their low 32 bits, so the result
// does not depend on the width of long.
// ---------------------------------------------------------------------------
ci_u32 DecStr2Int(const char* pszStr);                 // signed decimal
ci_u32 HexStr2Int(const char* pszStr);                 // hexadecimal, optional 0x
ci_u32 FltStr2Int(const char* pszStr);                 // IEEE single bits
ci_u32 Flt16Str2Int(const char* pszStr);               // 16-bit float word
ci_s32 FixStr2Int(const char* pszStr, int fix);        // floor(d * 2^fix + 0.5)
ci_u32 SignmStr2Int(const char* pszStr, ci_u32 mask);  // sign and magnitude
double dt_read_double(const char* pszStr);
