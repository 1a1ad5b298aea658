// Public access to far-sensor registers by bus (CI_FAR1_REG_ADDR or
// CI_FAR2_REG_ADDR) and register address.  The register record is the
// sensor's own when the description has one at that address, otherwise a
// temporary record in the bus's first address space; the access then takes
// the ordinary register road (cache, far-base test, transfer).
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

// The space value of the first address-space value of the bus, 0 if none.
ci_u32 busSpaceValue(const ci_sensor_t* sensor, ci_addr_type type) {
    const ci_addr_space_t* spaces = sensor->addr_space;
    if (!spaces || !spaces->addr_space_val) return 0;
    for (ci_s32 i = 0; i < spaces->num_vals; ++i) {
        if (spaces->addr_space_val[i].type == type) return spaces->addr_space_val[i].val;
    }
    return 0;
}

struct FarRecord {
    ci_reg_data_t temp;
    ci_addr_space_val_t tempSpace;
    ci_reg_data_t* reg;
};

ci_error_code checked(ci_camera_t* camera, ci_addr_type type) {
    if (!camera || !_ctx(camera) || !camera->sensor) return CK_ERR(CI_CAMERA_ERROR, "no camera or sensor");
    if (!_farIsRegType(type)) return CK_ERR(CI_CAMERA_ERROR, "not a far register bus");
    return CI_CAMERA_SUCCESS;
}

void makeRecord(ci_camera_t* camera, ci_addr_type type, ci_u32 addr, FarRecord* rec) {
    const ci_u32 space = busSpaceValue(camera->sensor, type);
    rec->reg = _makeRegDataStruct(camera, type, space, addr, 0, &rec->temp, &rec->tempSpace);
}

// Reads count registers from startAddr on; stops at the first failure, whose
// code is returned (the values from there on stay 0).
ci_error_code readRun(ci_camera_t* camera, ci_addr_type type, ci_u32 startAddr, ci_u32 count, ci_u32* vals) {
    const ci_u32 step = ci_GetAddrIncrement(camera, type);
    FarRecord rec;
    ci_error_code rc = CI_CAMERA_SUCCESS;
    _getRegisterLock(camera);
    for (ci_u32 i = 0; i < count && rc == CI_CAMERA_SUCCESS; ++i) {
        makeRecord(camera, type, startAddr + i * step, &rec);
        rc = _ReadSensorRegNolock(camera, rec.reg, &vals[i]);
        if (rc != CI_CAMERA_SUCCESS) vals[i] = 0;
    }
    _releaseRegisterLock(camera);
    return rc;
}

}  // namespace

ci_error_code ci_ReadFarRegs(ci_camera_t* camera, ci_addr_type farType, ci_u32 startAddr, ci_u32 count,
                             ci_u32* vals) {
    if (!vals) return CK_ERR(CI_CAMERA_ERROR, "no value buffer");
    for (ci_u32 i = 0; i < count; ++i) vals[i] = 0;
    const ci_error_code rc = checked(camera, farType);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return readRun(camera, farType, startAddr, count, vals);
}

ci_error_code ci_ReadFarReg(ci_camera_t* camera, ci_addr_type farType, ci_u32 regAddr, ci_u32* val) {
    return ci_ReadFarRegs(camera, farType, regAddr, 1, val);
}

ci_error_code ci_WriteFarReg(ci_camera_t* camera, ci_addr_type farType, ci_u32 regAddr, ci_u32 val) {
    ci_error_code rc = checked(camera, farType);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    FarRecord rec;
    _getRegisterLock(camera);
    makeRecord(camera, farType, regAddr, &rec);
    rc = _WriteSensorRegNolock(camera, rec.reg, val);
    _releaseRegisterLock(camera);
    return rc;
}
