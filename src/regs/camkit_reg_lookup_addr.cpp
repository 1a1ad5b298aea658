// Register lookup by address within an address space.
#define CK_SOURCE "camkit_reg"
#include <cassert>

#include "regs/regs_internal.h"

namespace {

bool noSelectors(const ci_sensor_t* sensor) {
    const ci_addr_space_t* table = sensor ? sensor->addr_space : nullptr;
    return !table || (table->reg_addr_read == 0 && table->reg_addr_write == 0);
}

// Types whose address spaces are not told apart by value.
bool anySpaceValue(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_u32 type) {
    switch (type) {
    case CI_REG_ADDR:
        return noSelectors(camera ? camera->sensor : nullptr);
    case CI_SFR_ADDR: {
        const ci_s32 style = ci_McuAddrStyle(camera);
        return style == CK_MCU_16 || style == CK_MCU_44 || style == CK_MCU_71;
    }
    case CI_IND_ADDR:
        return true;
    case CI_FAR1_REG_ADDR:
    case CI_FAR2_REG_ADDR:
        return space->far_addr_size > 8;
    default:
        return false;
    }
}

}  // namespace

int _addrSpaceMatchRaw(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_u32 type, ci_u32 value) {
    if (!space) {
        return 1;
    }
    if ((ci_u32)space->type != type) {
        return 0;
    }
    return anySpaceValue(camera, space, type) || space->val == value;
}

int _addr_space_match(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_addr_type type, ci_u32 value) {
    return _addrSpaceMatchRaw(camera, space, (ci_u32)type, value);
}

ci_reg_data_t* ci_FindRegisterAddr(ci_camera_t* camera, ci_u32 regAddr, ci_u32 addrSpace, ci_addr_type addrType) {
    assert(camera && camera->sensor);
    ci_sensor_t* sensor = camera->sensor;
    ci_s32 index = _regIndexFindAddr(camera, regAddr, addrSpace, (ci_u32)addrType);
    // An array imager's registers of every space answer in space 0 too.
    if (index < 0 && addrSpace != 0 && ci_IsArrayImager(camera)) {
        index = _regIndexFindAddr(camera, regAddr, 0, (ci_u32)addrType);
    }
    if (index >= 0) {
        return &sensor->regs[index];
    }
    if (addrType != CI_REG_ADDR) {
        return nullptr;
    }
    // A plain register address may be an MCU data port that currently shows
    // a variable: answer with the variable's record.
    ci_reg_data_t temp;
    ci_addr_space_val_t tempSpace;
    ci_reg_data_t* reg = _makeRegDataStruct(camera, CI_REG_ADDR, addrSpace, regAddr, 0, &temp, &tempSpace);
    ci_reg_data_t* var = nullptr;
    _findRamAlias(camera, reg, 1, &var);
    return var;
}
