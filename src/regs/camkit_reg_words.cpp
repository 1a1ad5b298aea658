// Registers that span several bus words: word k of a register of span N
// carries bits (N-1-k)*D upward, D being the sensor's data width.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

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
