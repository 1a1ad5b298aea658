// MCU variables (driver, offset) and special-function registers (space,
// offset): the unlocked entry points used by the register core and by the
// public functions.  The protocols themselves live in camkit_mcu_access.cpp.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

ci_error_code badWidth() {
    return CK_ERR(CI_CAMERA_ERROR, "MCU access width must be 0, 1, 2 or 4 bytes");
}

ci_error_code badArgs() {
    return CK_ERR(CI_CAMERA_ERROR, "MCU access without camera, sensor or value buffer");
}

bool usable(ci_camera_t* camera, const void* vals) {
    return camera && _ctx(camera) && camera->sensor && vals;
}

ci_error_code readOne(ci_camera_t* camera, ci_reg_data_t* reg, ci_addr_type type, ci_u32 space, ci_u32 offset,
                      ci_s32 is8, ci_u32* val) {
    if (val) *val = 0;
    if (!usable(camera, val)) return badArgs();
    ci_error_code rc = CI_CAMERA_SUCCESS;
    if (_mcuCacheProbe(camera, reg, type, space, offset, val, &rc)) return rc;
    const ci_s32 width = _mcuWidth(is8);
    if (!width) return badWidth();
    return _mcuRead(camera, type, space, offset, 1, width, val);
}

ci_error_code readRun(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 end, ci_s32 is8,
                      ci_u32* vals) {
    const ci_s32 width = _mcuWidth(is8);
    if (!width) return badWidth();
    const ci_u32 count = _mcuCount(first, end, width);
    if (count == 0) return CI_CAMERA_SUCCESS;
    if (!usable(camera, vals)) return badArgs();
    return _mcuRead(camera, type, space, first, count, width, vals);
}

ci_error_code writeOne(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 offset, ci_s32 is8,
                       ci_u32 val) {
    const ci_s32 width = _mcuWidth(is8);
    if (!width) return badWidth();
    if (!usable(camera, &val)) return badArgs();
    return _mcuWrite(camera, type, space, offset, width, val);
}

ci_error_code burst(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count, ci_s32 is8,
                    ci_u32* vals) {
    const ci_s32 width = _mcuWidth(is8);
    if (!width) return badWidth();
    if (count == 0) return CI_CAMERA_SUCCESS;
    if (!usable(camera, vals)) return badArgs();
    return _mcuBurst(camera, type, space, first, count, width, vals);
}

}  // namespace

ci_error_code _ReadVarNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 driver, ci_u32 offset, ci_s32 is8,
                             ci_u32* val) {
    return readOne(camera, reg, CI_MCU_ADDR, driver, offset, is8, val);
}

ci_error_code _ReadVarsNolock(ci_camera_t* camera, ci_u32 driver, ci_u32 first, ci_u32 end, ci_s32 is8,
                              ci_u32* vals) {
    return readRun(camera, CI_MCU_ADDR, driver, first, end, is8, vals);
}

ci_error_code _WriteVarNolock(ci_camera_t* camera, ci_u32 driver, ci_u32 offset, ci_s32 is8, ci_u32 val) {
    return writeOne(camera, CI_MCU_ADDR, driver, offset, is8, val);
}

ci_error_code _WriteVarBurstNolock(ci_camera_t* camera, ci_u32 driver, ci_u32 first, ci_u32 count, ci_s32 is8,
                                   ci_u32* vals) {
    return burst(camera, CI_MCU_ADDR, driver, first, count, is8, vals);
}

ci_error_code _ReadSfrNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 space, ci_u32 offset, ci_s32 is8,
                             ci_u32* val) {
    return readOne(camera, reg, CI_SFR_ADDR, space, offset, is8, val);
}

ci_error_code _ReadSfrsNolock(ci_camera_t* camera, ci_u32 space, ci_u32 first, ci_u32 end, ci_s32 is8,
                              ci_u32* vals) {
    return readRun(camera, CI_SFR_ADDR, space, first, end, is8, vals);
}

ci_error_code _WriteSfrNolock(ci_camera_t* camera, ci_u32 space, ci_u32 offset, ci_s32 is8, ci_u32 val) {
    return writeOne(camera, CI_SFR_ADDR, space, offset, is8, val);
}

ci_error_code _WriteSfrBurstNolock(ci_camera_t* camera, ci_u32 space, ci_u32 first, ci_u32 count, ci_s32 is8,
                                   ci_u32* vals) {
    return burst(camera, CI_SFR_ADDR, space, first, count, is8, vals);
}
