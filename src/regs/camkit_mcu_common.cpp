// Small helpers shared by the variable, SFR, indirect and far-bus paths:
// width arguments, cached single reads and register lookups by name.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

ci_s32 _mcuWidth(ci_s32 is8) {
    switch (is8) {
        case 0:
            return 2;
        case 1:
        case 2:
        case 4:
            return is8;
        default:
            return 0;
    }
}

ci_u32 _mcuWidthMask(ci_s32 width) {
    if (width == 1) return 0xFFu;
    if (width == 2) return 0xFFFFu;
    return 0xFFFFFFFFu;
}

int _mcuCacheProbe(ci_camera_t* camera, ci_reg_data_t* reg, ci_addr_type type, ci_u32 space, ci_u32 addr,
                   ci_u32* val, ci_error_code* rc) {
    const ci_s32 use = _threadCacheUse(camera);
    if (use == 0) return 0;
    ci_u32 cached = 0;
    const bool hit = reg ? _regCacheGetReg(camera, reg, &cached) == 0
                         : _GetRegCacheValueAddr(camera, type, space, addr, &cached) >= 0;
    if (hit) {
        *val = cached;
        *rc = CI_CAMERA_SUCCESS;
        return 1;
    }
    if (use == 2) {
        *rc = CI_CAMERA_ERROR;
        return 1;
    }
    return 0;
}

ci_u32 _mcuCount(ci_u32 first, ci_u32 end, ci_s32 width) {
    if (end <= first || width <= 0) return 0;
    return (ci_u32)(((ci_u64)(end - first) + (ci_u64)width - 1u) / (ci_u64)width);
}

ci_reg_data_t* _mcuReg(ci_camera_t* camera, const char* name) {
    return _registerLookup(camera, -1, name);
}

int _mcuIsType54v1(ci_camera_t* camera) {
    const ci_sensor_t* sensor = camera->sensor;
    return sensor && (ci_u32)sensor->sensorType == 54u && sensor->sensorVersion == 1u;
}

ci_reg_data_t* _mcuRequire(ci_camera_t* camera, const char* name) {
    ci_reg_data_t* reg = _mcuReg(camera, name);
    if (!reg) _cantfindit(name, nullptr);
    return reg;
}

ci_error_code _mcuWriteNamed(ci_camera_t* camera, const char* name, ci_u32 val) {
    ci_reg_data_t* reg = _mcuRequire(camera, name);
    return reg ? _WriteSensorRegNolock(camera, reg, val) : CI_CAMERA_ERROR;
}

void _mcuCacheRun(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                  ci_s32 width, const ci_u32* vals) {
    for (ci_u32 i = 0; i < count; ++i) {
        _SetRegCacheValueAddr(camera, type, space, first + i * (ci_u32)width, vals[i]);
    }
}
