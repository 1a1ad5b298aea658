// The camera's register lock (a recursive mutex in the common context, so
// that a locked function may call another that locks again), and the
// transport's unlocked device functions with the bus NACK retry, called
// with that lock held.
#define CK_SOURCE "camkit_reg"
#include <cassert>
#include <cstring>

#include "regs/regs_internal.h"

namespace {

// Calls the device function until it answers something other than a NACK,
// at most nackRetries + 1 times, with no delay in between.
template <typename Call>
inline ci_error_code withNackRetry(ci_camera_t* camera, Call call) {
    const ci_u64 attempts = (ci_u64)_ctx(camera)->nackRetries + 1;
    ci_error_code rc = CI_I2C_NACK_ERROR;
    for (ci_u64 i = 0; i < attempts && rc == CI_I2C_NACK_ERROR; ++i) {
        rc = call();
    }
    return rc;
}

// The transport's device function in the given context slot, or null.
template <typename Fn>
Fn hookOf(ci_camera_t* camera, Fn _common_context_t::*hook) {
    const _common_context_t* context = _ctx(camera);
    return context ? context->*hook : nullptr;
}

// One call of the device function; not supported without one.
template <typename Fn, typename... Args>
ci_error_code once(ci_camera_t* camera, Fn _common_context_t::*hook, Args... args) {
    const Fn fn = hookOf(camera, hook);
    return fn ? fn(camera, args...) : CI_CAMERA_NOT_SUPPORTED;
}

template <typename Fn, typename... Args>
inline ci_error_code retried(ci_camera_t* camera, Fn _common_context_t::*hook, Args... args) {
    const Fn fn = hookOf(camera, hook);
    if (!fn) {
        return CI_CAMERA_NOT_SUPPORTED;
    }
    return withNackRetry(camera, [&] { return fn(camera, args...); });
}

void zero(ci_u32* vals, ci_u32 n) {
    if (vals && n) {
        memset(vals, 0, (size_t)n * sizeof(ci_u32));
    }
}

ci_error_code readMany(ci_error_code rc, ci_u32* vals, ci_u32 n) {
    if (rc != CI_CAMERA_SUCCESS) {
        zero(vals, n);
    }
    return rc;
}

}  // namespace

ci_error_code _common_readRegisterNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    return readMany(retried(camera, &_common_context_t::readRegisterNolock, shipAddr, regAddr, val), val, 1);
}

ci_error_code _common_writeRegisterNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    return retried(camera, &_common_context_t::writeRegisterNolock, shipAddr, regAddr, val);
}

ci_error_code _common_readRegistersNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                          ci_u32* vals) {
    return readMany(retried(camera, &_common_context_t::readRegistersNolock, shipAddr, startAddr, n, vals), vals, n);
}

ci_error_code _common_writeRegistersNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                           ci_u32* vals) {
    return retried(camera, &_common_context_t::writeRegistersNolock, shipAddr, startAddr, n, vals);
}

ci_error_code _common_readSensorRegistersNolock(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                                ci_u32* vals) {
    return readMany(retried(camera, &_common_context_t::readSensorRegistersNolock, space, startAddr, n, vals), vals,
                    n);
}

ci_error_code _common_writeSensorRegistersNolock(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                                 ci_u32* vals) {
    return retried(camera, &_common_context_t::writeSensorRegistersNolock, space, startAddr, n, vals);
}

// System registers and commands: one attempt; not supported without a hook.
ci_error_code _common_readSystemRegistersNolock(ci_camera_t* camera, ci_addr_type type, ci_u32 space,
                                                ci_u32 startAddr, ci_u32 dataSize, ci_u32 n, ci_u32* vals) {
    return once(camera, &_common_context_t::readSystemRegistersNolock, type, space, startAddr, dataSize, n, vals);
}

ci_error_code _common_writeSystemRegistersNolock(ci_camera_t* camera, ci_addr_type type, ci_u32 space,
                                                 ci_u32 startAddr, ci_u32 dataSize, ci_u32 n, ci_u32* vals) {
    return once(camera, &_common_context_t::writeSystemRegistersNolock, type, space, startAddr, dataSize, n, vals);
}

ci_error_code _common_sendCommandNolock(ci_camera_t* camera, ci_u32 command, ci_u32 paramSize,
                                        const ci_u8* paramBuffer, ci_u32* statusCode, ci_u32 resultSize,
                                        ci_u8* resultBuffer, ci_u32* bytesReturned) {
    return once(camera, &_common_context_t::sendCommandNolock, command, paramSize, paramBuffer, statusCode,
                resultSize, resultBuffer, bytesReturned);
}

void _getRegisterLock(ci_camera_t* camera) {
    assert(camera && camera->context);
    osal_enter_critical_section(&_ctx(camera)->criticalSection);
}

void _releaseRegisterLock(ci_camera_t* camera) {
    assert(camera && camera->context);
    osal_leave_critical_section(&_ctx(camera)->criticalSection);
}
