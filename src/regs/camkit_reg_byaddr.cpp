// Register access by address type, space value and address.
#define CK_SOURCE "camkit_reg"
#include <cstdlib>

#include "regs/regs_internal.h"

namespace {

ci_s32 widthAt(const ci_s32* is8s, ci_s32 i) {
    return is8s ? is8s[i] : 0;
}

// Runs access(camera, record, value) on a temporary record for the address,
// under the register lock.
template <typename Access, typename Value>
ci_error_code atAddress(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace, ci_u32 regAddr, ci_s32 is8,
                        Access access, Value value) {
    ci_reg_data_t temp;
    ci_addr_space_val_t tempSpace;
    ci_reg_data_t* reg = _makeRegDataStruct(camera, addrType, addrSpace, regAddr, is8, &temp, &tempSpace);
    RegisterLock lock(camera);
    return access(camera, reg, value);
}

}  // namespace

ci_error_code ci_ReadSensorRegAddr(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace, ci_u32 regAddr,
                                   ci_s32 is8, ci_u32* val) {
    if (!val) {
        return CK_ERR(CI_CAMERA_ERROR, "No value given");
    }
    *val = 0;
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    return atAddress(camera, addrType, addrSpace, regAddr, is8, _ReadSensorRegNolock, val);
}

ci_error_code ci_WriteSensorRegAddr(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace, ci_u32 regAddr,
                                    ci_s32 is8, ci_u32 val) {
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    return atAddress(camera, addrType, addrSpace, regAddr, is8, _WriteSensorRegNolock, val);
}

ci_error_code ci_ReadSensorRegsAddr(ci_camera_t* camera, ci_s32 numRegs, ci_addr_type* addrTypes, ci_u32* addrSpaces,
                                    ci_u32* regAddrs, ci_s32* is8s, ci_u32* vals, ci_error_code* results) {
    if (!_ctx(camera) || !addrTypes || !addrSpaces || !regAddrs || !vals) {
        return CK_ERR(CI_CAMERA_ERROR, "Missing camera, addresses or values");
    }
    const size_t n = numRegs > 0 ? (size_t)numRegs : 0;
    auto* temps = (ci_reg_data_t*)calloc(n ? n : 1, sizeof(ci_reg_data_t));
    auto* spaces = (ci_addr_space_val_t*)calloc(n ? n : 1, sizeof(ci_addr_space_val_t));
    auto* regs = (ci_reg_data_t**)calloc(n ? n : 1, sizeof(ci_reg_data_t*));
    ci_error_code rc = CI_CAMERA_ERROR;
    if (temps && spaces && regs) {
        for (size_t i = 0; i < n; ++i) {
            regs[i] = _makeRegDataStruct(camera, addrTypes[i], addrSpaces[i], regAddrs[i], widthAt(is8s, (ci_s32)i),
                                         &temps[i], &spaces[i]);
        }
        rc = ci_ReadSensorRegs(camera, numRegs, regs, vals, results);
    } else {
        rc = CK_ERR(CI_CAMERA_ERROR, "Out of memory");
    }
    free(regs);
    free(spaces);
    free(temps);
    return rc;
}

// Every addressed register is deliberately written with 0: the caller's value
// of each entry is cleared before its write, so the values array comes back
// all zero.
ci_error_code ci_WriteSensorRegsAddr(ci_camera_t* camera, ci_s32 numRegs, ci_addr_type* addrTypes, ci_u32* addrSpaces,
                                     ci_u32* regAddrs, ci_s32* is8s, ci_u32* vals, ci_error_code* results) {
    if (!_ctx(camera) || !addrTypes || !addrSpaces || !regAddrs || !vals) {
        return CK_ERR(CI_CAMERA_ERROR, "Missing camera, addresses or values");
    }
    ci_error_code last = CI_CAMERA_SUCCESS;
    RegisterLock lock(camera);
    for (ci_s32 i = 0; i < numRegs; ++i) {
        ci_reg_data_t temp;
        ci_addr_space_val_t tempSpace;
        ci_reg_data_t* reg =
            _makeRegDataStruct(camera, addrTypes[i], addrSpaces[i], regAddrs[i], widthAt(is8s, i), &temp, &tempSpace);
        vals[i] = 0;
        last = _WriteSensorRegNolock(camera, reg, vals[i]);
        if (results) {
            results[i] = last;
        }
    }
    return last;
}
