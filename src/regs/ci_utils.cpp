// Bit-field arithmetic: moving a field value in and out of its place in a
// register value, given the field's mask.
#define CK_SOURCE "ci_utils"
#include <cassert>

#include "core/camkit_private.h"

namespace {

// Number of trailing zero bits of a non-zero mask.
ci_u32 maskShift(ci_u32 mask) {
    assert(mask != 0);
    return (ci_u32)__builtin_ctz(mask);
}

}  // namespace

ci_u32 _BitValue(ci_u32 value, ci_u32 mask) {
    return (value & mask) >> maskShift(mask);
}

// The field value is shifted into place without masking: bits above the
// field's width land in the neighbouring bits of the register.
ci_u32 _RegValue(ci_u32 value, ci_u32 mask) {
    return value << maskShift(mask);
}

ci_u32 _BitMaskAdjust(ci_u32 mask, ci_u32 value, ci_s32 set) {
    return set ? (_RegValue(value, mask) & mask) : _BitValue(value, mask);
}

// ---- registers that span several bus words: word k of a register of span N
// carries bits (N-1-k)*D upward, D being the sensor's data width.
ci_u32 _joinWords(const ci_u32* words, ci_u32 count, ci_u32 dataBits) {
    ci_u64 value = 0;
    for (ci_u32 k = 0; k < count; ++k) {
        value = (dataBits >= 32 ? 0 : (value << dataBits)) | words[k];
    }
    return (ci_u32)value;
}

void _splitWords(ci_u32 value, ci_u32 count, ci_u32 dataBits, ci_u32* words) {
    const ci_u32 width = (dataBits == 0 || dataBits > 32) ? 32 : dataBits;
    const ci_u32 wordMask = 0xFFFFFFFFu >> (32 - width);
    for (ci_u32 k = 0; k < count; ++k) {
        const ci_u64 shift = (ci_u64)(count - 1 - k) * width;
        words[k] = shift >= 32 ? 0 : (ci_u32)((value >> shift) & wordMask);
    }
}
