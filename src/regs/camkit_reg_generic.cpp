// The locking entry points that transports put in the camera's register
// slots.  Each takes the camera's register lock around the matching
// unlocked device function; the sensor-register and system-register forms
// also keep the register cache.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

namespace {

// Fetches a run of values from the cache; true when every one is valid.
bool runFromCache(ci_camera_t* camera, ci_u32 type, ci_u32 space, ci_u32 start, ci_u32 step, ci_u32 n,
                  ci_u32* vals) {
    for (ci_u32 i = 0; i < n; ++i) {
        const ci_s32 index = _regIndexFindAddr(camera, start + i * step, space, type);
        if (_GetRegCacheValueI(camera, index, &vals[i]) < 0) {
            return false;
        }
    }
    return true;
}

// Stores a run of bus words just transferred in the cache entries of the
// plain registers they belong to; a register spanning several words takes
// them joined, when the whole register is in the run.
void runToCache(ci_camera_t* camera, ci_u32 space, ci_u32 start, ci_u32 step, ci_u32 n, const ci_u32* vals) {
    const ci_sensor_t* sensor = camera->sensor;
    for (ci_u32 i = 0; i < n;) {
        const ci_s32 index = _regIndexFindAddr(camera, start + i * step, space, CI_REG_ADDR);
        if (index < 0) {
            ++i;
            continue;
        }
        const ci_u32 span = sensor->regs[index].addr_span > 1 ? sensor->regs[index].addr_span : 1;
        if (span > n - i) {
            ++i;
            continue;
        }
        _SetRegCacheValueI(camera, index, _joinWords(vals + i, span, sensor->reg_data_size));
        i += span;
    }
}

bool cached(ci_camera_t* camera) {
    return _threadCacheUse(camera) != 0;
}

using SensorTransfer = ci_error_code (*)(ci_camera_t*, ci_u32, ci_u32, ci_u32, ci_u32*);

// A device transfer of sensor-register words whose values, once moved,
// are kept in the cache.
ci_error_code sensorRun(ci_camera_t* camera, SensorTransfer transfer, ci_u32 space, ci_u32 startAddr, ci_u32 step,
                        ci_u32 n, ci_u32* vals) {
    const ci_error_code rc = transfer(camera, space, startAddr, n, vals);
    if (rc == CI_CAMERA_SUCCESS) {
        runToCache(camera, space, startAddr, step, n, vals);
    }
    return rc;
}

// Calls an unlocked device function under the register lock.
template <typename Fn, typename... Args>
ci_error_code underLock(ci_camera_t* camera, Fn fn, Args... args) {
    RegisterLock lock(camera);
    return fn(camera, args...);
}

}  // namespace

// The cache probe deliberately uses the space value as the address type and
// 0 as the space value: for space 0 it finds the plain registers, for other
// spaces it normally misses and the device is read.
ci_error_code _generic_ReadSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                           ci_u32* vals) {
    const ci_u32 step = ci_GetAddrIncrement(camera, CI_REG_ADDR);
    RegisterLock lock(camera);
    if (cached(camera) && runFromCache(camera, space, 0, startAddr, step, n, vals)) {
        return CI_CAMERA_SUCCESS;
    }
    const ci_error_code rc = sensorRun(camera, _common_readSensorRegistersNolock, space, startAddr, step, n, vals);
    _SetCachedReadAddrSpaceValue(camera, space);
    return rc;
}

ci_error_code _generic_WriteSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                            ci_u32* vals) {
    const ci_u32 step = ci_GetAddrIncrement(camera, CI_REG_ADDR);
    RegisterLock lock(camera);
    const ci_error_code rc = sensorRun(camera, _common_writeSensorRegistersNolock, space, startAddr, step, n, vals);
    _SetCachedWriteAddrSpaceValue(camera, space);
    return rc;
}

ci_error_code _generic_ReadSystemRegisters(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 startAddr,
                                           ci_u32 dataSize, ci_u32 n, ci_u32* vals) {
    const ci_u32 step = ci_GetAddrIncrement(camera, type);
    RegisterLock lock(camera);
    if (cached(camera) && runFromCache(camera, (ci_u32)type, space, startAddr, step, n, vals)) {
        return CI_CAMERA_SUCCESS;
    }
    const ci_error_code rc = _common_readSystemRegistersNolock(camera, type, space, startAddr, dataSize, n, vals);
    if (rc == CI_CAMERA_SUCCESS) {
        runToCache(camera, space, startAddr, step, n, vals);
    } else {
        for (ci_u32 i = 0; vals && i < n; ++i) {
            vals[i] = 0;
        }
    }
    return rc;
}

ci_error_code _generic_WriteSystemRegisters(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 startAddr,
                                            ci_u32 dataSize, ci_u32 n, ci_u32* vals) {
    const ci_u32 step = ci_GetAddrIncrement(camera, type);
    RegisterLock lock(camera);
    const ci_error_code rc = _common_writeSystemRegistersNolock(camera, type, space, startAddr, dataSize, n, vals);
    for (ci_u32 i = 0; rc == CI_CAMERA_SUCCESS && i < n; ++i) {
        _SetRegCacheValueAddr(camera, type, space, startAddr + i * step, vals[i]);
    }
    return rc;
}

ci_error_code _generic_ReadRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    return underLock(camera, _common_readRegisterNolock, shipAddr, regAddr, val);
}

ci_error_code _generic_WriteRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    return underLock(camera, _common_writeRegisterNolock, shipAddr, regAddr, val);
}

ci_error_code _generic_ReadRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n, ci_u32* vals) {
    return underLock(camera, _common_readRegistersNolock, shipAddr, startAddr, n, vals);
}

ci_error_code _generic_WriteRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                      ci_u32* vals) {
    return underLock(camera, _common_writeRegistersNolock, shipAddr, startAddr, n, vals);
}

ci_error_code _generic_sendCommand(ci_camera_t* camera, ci_u32 command, ci_u32 paramSize, const ci_u8* paramBuffer,
                                   ci_u32* statusCode, ci_u32 resultSize, ci_u8* resultBuffer,
                                   ci_u32* bytesReturned) {
    return underLock(camera, _common_sendCommandNolock, command, paramSize, paramBuffer, statusCode, resultSize,
                     resultBuffer, bytesReturned);
}

void _useGenericRegisterAccess(ci_camera_t* camera) {
    camera->readSensorRegisters = _generic_ReadSensorRegisters;
    camera->writeSensorRegisters = _generic_WriteSensorRegisters;
    camera->readRegister = _generic_ReadRegister;
    camera->writeRegister = _generic_WriteRegister;
    camera->readRegisters = _generic_ReadRegisters;
    camera->writeRegisters = _generic_WriteRegisters;
}
