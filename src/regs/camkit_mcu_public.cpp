// Public entry points for MCU variables, SFRs and indirect registers.  Each
// holds the camera's register lock for its whole run, so that the
// multi-step protocols (address write, data transfer, byte-access clearing)
// never interleave with other register traffic.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

template <class Body>
ci_error_code locked(ci_camera_t* camera, Body body) {
    if (!camera || !_ctx(camera)) return CK_ERR(CI_CAMERA_ERROR, "no camera");
    _getRegisterLock(camera);
    const ci_error_code rc = body();
    _releaseRegisterLock(camera);
    return rc;
}

// Single reads leave 0 on any failure.
template <class Body>
ci_error_code lockedRead(ci_camera_t* camera, ci_u32* val, Body body) {
    if (!val) return CK_ERR(CI_CAMERA_ERROR, "no value buffer");
    *val = 0;
    const ci_error_code rc = locked(camera, body);
    if (rc != CI_CAMERA_SUCCESS) *val = 0;
    return rc;
}

// A burst is not cached value by value; afterwards the entries it may have
// changed are invalidated: [first, first + is8 * count), with the width
// argument taken as given (so a width of 0 invalidates nothing).
ci_error_code burstThenInvalidate(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                                  ci_s32 is8, ci_u32* vals) {
    return locked(camera, [&] {
        const ci_error_code rc = type == CI_MCU_ADDR ? _WriteVarBurstNolock(camera, space, first, count, is8, vals)
                                                     : _WriteSfrBurstNolock(camera, space, first, count, is8, vals);
        _InvalidateRegCacheRange(camera, type, space, first, first + (ci_u32)is8 * count);
        return rc;
    });
}

}  // namespace

ci_error_code ci_ReadVar(ci_camera_t* camera, ci_u32 driver, ci_u32 offset, ci_s32 is8, ci_u32* val) {
    return lockedRead(camera, val, [&] { return _ReadVarNolock(camera, nullptr, driver, offset, is8, val); });
}

ci_error_code ci_ReadVars(ci_camera_t* camera, ci_u32 driver, ci_u32 firstOffset, ci_u32 endOffset, ci_s32 is8,
                          ci_u32* vals) {
    return locked(camera, [&] { return _ReadVarsNolock(camera, driver, firstOffset, endOffset, is8, vals); });
}

ci_error_code ci_WriteVar(ci_camera_t* camera, ci_u32 driver, ci_u32 offset, ci_s32 is8, ci_u32 val) {
    return locked(camera, [&] { return _WriteVarNolock(camera, driver, offset, is8, val); });
}

ci_error_code ci_WriteVarBurst(ci_camera_t* camera, ci_u32 driver, ci_u32 firstOffset, ci_u32 count, ci_s32 is8,
                               ci_u32* vals) {
    return burstThenInvalidate(camera, CI_MCU_ADDR, driver, firstOffset, count, is8, vals);
}

ci_error_code ci_ReadSfr(ci_camera_t* camera, ci_u32 space, ci_u32 offset, ci_s32 is8, ci_u32* val) {
    return lockedRead(camera, val, [&] { return _ReadSfrNolock(camera, nullptr, space, offset, is8, val); });
}

ci_error_code ci_ReadSfrs(ci_camera_t* camera, ci_u32 space, ci_u32 firstOffset, ci_u32 endOffset, ci_s32 is8,
                          ci_u32* vals) {
    return locked(camera, [&] { return _ReadSfrsNolock(camera, space, firstOffset, endOffset, is8, vals); });
}

ci_error_code ci_WriteSfr(ci_camera_t* camera, ci_u32 space, ci_u32 offset, ci_s32 is8, ci_u32 val) {
    return locked(camera, [&] { return _WriteSfrNolock(camera, space, offset, is8, val); });
}

ci_error_code ci_WriteSfrBurst(ci_camera_t* camera, ci_u32 space, ci_u32 firstOffset, ci_u32 count, ci_s32 is8,
                               ci_u32* vals) {
    return burstThenInvalidate(camera, CI_SFR_ADDR, space, firstOffset, count, is8, vals);
}

ci_error_code ci_ReadInd(ci_camera_t* camera, ci_u32 offset, ci_u32* val) {
    return lockedRead(camera, val, [&] { return _ReadIndNolock(camera, nullptr, offset, val); });
}

ci_error_code ci_ReadInds(ci_camera_t* camera, ci_u32 firstOffset, ci_u32 endOffset, ci_u32* vals) {
    return locked(camera, [&] { return _ReadIndsNolock(camera, firstOffset, endOffset, vals); });
}

ci_error_code ci_WriteInd(ci_camera_t* camera, ci_u32 offset, ci_u32 val) {
    return locked(camera, [&] { return _WriteIndNolock(camera, offset, val); });
}
