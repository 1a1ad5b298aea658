// Text readers behind ci_Str2Int and ci_Str2Double.  Each reads the leading
// number of the text the way the matching scanf conversion would (leading
// white space, an optional sign) and yields 0 when no number is there.
#define CK_SOURCE "datatypes"
#include <cmath>
#include <cstdlib>

#include "base/datatypes_internal.h"
#include "base/base.h"

static ci_u32 low32(unsigned long long v) { return static_cast<ci_u32>(v); }

ci_u32 DecStr2Int(const char* pszStr) { return low32(static_cast<unsigned long long>(std::strtoll(pszStr, nullptr, 10))); }

ci_u32 HexStr2Int(const char* pszStr) { return low32(std::strtoull(pszStr, nullptr, 16)); }

ci_u32 FltStr2Int(const char* pszStr) { return dt_float_bits(std::strtof(pszStr, nullptr)); }

ci_u32 Flt16Str2Int(const char* pszStr) { return Flt2Flt16(std::strtof(pszStr, nullptr), 16); }

double dt_read_double(const char* pszStr) { return std::strtod(pszStr, nullptr); }

ci_s32 FixStr2Int(const char* pszStr, int fix) {
    return dt_trunc_s32(std::floor(dt_read_double(pszStr) * dt_scale(fix) + 0.5));
}

ci_u32 SignmStr2Int(const char* pszStr, ci_u32 mask) {
    const long long v = std::strtoll(pszStr, nullptr, 10);
    // Magnitude computed unsigned so that the most negative value has one.
    const unsigned long long magnitude =
        v < 0 ? 0ull - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
    return (v < 0 ? dt_sign_bit(mask) : 0u) | (dt_magnitude_bits(mask) & low32(magnitude));
}
