// Register records for accesses by address: the sensor's own record when it
// has one of the requested width, otherwise a temporary record in the
// caller's storage.
#define CK_SOURCE "camkit_reg"
#include <cassert>
#include <cstring>

#include "regs/regs_internal.h"

namespace {

bool variableLike(ci_u32 type) {
    return type == CI_MCU_ADDR || type == CI_SFR_ADDR || type == CI_FAR1_MCU_ADDR || type == CI_FAR1_SFR_ADDR ||
           type == CI_FAR2_MCU_ADDR || type == CI_FAR2_SFR_ADDR;
}

bool registerLike(ci_u32 type) {
    return type == CI_REG_ADDR || type == CI_FAR1_REG_ADDR || type == CI_FAR2_REG_ADDR;
}

// Width of the sensor's own record in the unit of the requested width:
// bytes for variables and SFRs, bus words for registers.
ci_s32 naturalWidth(const ci_reg_data_t& reg, ci_u32 type, ci_s32 requested) {
    if (variableLike(type)) {
        return _varMaskToIs8(reg.bitmask);
    }
    if (registerLike(type)) {
        return (ci_s32)reg.addr_span;
    }
    return requested;
}

ci_addr_space_val_t* matchingSpace(ci_camera_t* camera, ci_addr_type type, ci_u32 space) {
    ci_addr_space_t* table = camera && camera->sensor ? camera->sensor->addr_space : nullptr;
    for (ci_s32 i = 0; table && table->addr_space_val && i < table->num_vals; ++i) {
        if (_addr_space_match(camera, &table->addr_space_val[i], type, space)) {
            return &table->addr_space_val[i];
        }
    }
    return nullptr;
}

void fillTempSpace(ci_addr_space_val_t* tempSpace, ci_addr_type type, ci_u32 space) {
    memset(tempSpace, 0, sizeof *tempSpace);
    tempSpace->type = type;
    tempSpace->val = space;
    tempSpace->far_addr_size = 8;
    tempSpace->far_data_size = 8;
}

ci_u32 variableMask(ci_s32 is8) {
    if (is8 == 1) {
        return 0xFFu;
    }
    return (is8 == 0 || is8 == 2) ? 0xFFFFu : 0xFFFFFFFFu;
}

}  // namespace

ci_reg_data_t* _makeRegDataStruct(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 addr, ci_s32 is8,
                                  ci_reg_data_t* reg, ci_addr_space_val_t* tempSpace) {
    assert(reg && tempSpace);
    const ci_s32 own = _regIndexFindAddr(camera, addr, space, (ci_u32)type);
    if (own >= 0) {
        ci_reg_data_t* found = &camera->sensor->regs[own];
        if (is8 == 0 || is8 == naturalWidth(*found, (ci_u32)type, is8)) {
            return found;
        }
    }
    memset(reg, 0, sizeof *reg);
    reg->addr_space = matchingSpace(camera, type, space);
    if (!reg->addr_space) {
        fillTempSpace(tempSpace, type, space);
        reg->addr_space = tempSpace;
    }
    reg->reg_addr = addr;
    reg->reg_space = space;
    reg->rw = 1;
    reg->datatype = CI_TYPE_UNSIGNED;
    reg->addr_span = 1;
    reg->bitmask = 0xFFFFFFFFu;
    if (variableLike((ci_u32)type)) {
        reg->bitmask = variableMask(is8);
    } else if (registerLike((ci_u32)type) && is8 > 0) {
        reg->addr_span = (ci_u32)is8;
    }
    return reg;
}
