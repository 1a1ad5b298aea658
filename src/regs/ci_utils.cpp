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
