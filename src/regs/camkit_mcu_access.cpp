// Variable and SFR transfers, dispatched by MCU style.
//
// Every transfer is first offered to the transport as a system-register
// transfer; a transport that can reach MCU memory itself answers it and its
// result is final (the cache is not touched then).  Only when the transport
// answers CI_CAMERA_NOT_SUPPORTED does the library drive the sensor's own
// protocol registers: the address/data port (styles 16, 44, 54), the mapped
// window (55) or the advanced-base window (71, SFRs only).
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

// Switches the style-55 window to the target's space and gives the mapped
// register address of offset.
ci_error_code selectWindow(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 offset, ci_u32* mapped) {
    if (type == CI_MCU_ADDR) {
        *mapped = _mcuMappedVarAddr(space, offset);
        return _mcuSelectLogical(camera, *mapped);
    }
    *mapped = _mcuMappedSfrAddr(offset);
    return _mcuSelectPhysical(camera, space, offset);
}

ci_error_code readWindow(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                         ci_s32 width, ci_u32* vals) {
    ci_u32 mapped = 0;
    ci_error_code rc = selectWindow(camera, type, space, first, &mapped);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    rc = _readDirectVarsNocache(camera, mapped, (ci_u32)width * 8u, count, vals);
    if (type == CI_MCU_ADDR) {
        // Variables: the counter steps by the width but indexes values by
        // j / width, so only the first count / width values (rounded up) are
        // stored, whatever the read returned.
        for (ci_u32 j = 0; j < count; j += (ci_u32)width) {
            _SetRegCacheValueAddr(camera, CI_MCU_ADDR, space, first + j, vals[j / (ci_u32)width]);
        }
    } else if (rc == CI_CAMERA_SUCCESS) {
        _mcuCacheRun(camera, type, space, first, count, width, vals);
    }
    return rc;
}

bool isAdvancedSfr(ci_s32 style, ci_addr_type type) {
    return style == CK_MCU_71 && type == CI_SFR_ADDR;
}

// Writes count values through the mapped window of style 55 or 71.
ci_error_code writeMapped(ci_camera_t* camera, ci_s32 style, ci_addr_type type, ci_u32 space, ci_u32 first,
                          ci_u32 count, ci_s32 width, ci_u32* vals) {
    if (style != CK_MCU_55) return _mcuAdvTransfer(camera, first, count, width, vals, 1);
    ci_u32 mapped = 0;
    const ci_error_code rc = selectWindow(camera, type, space, first, &mapped);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return _writeDirectVarsNocache(camera, mapped, (ci_u32)width * 8u, count, vals);
}

}  // namespace

ci_error_code _mcuRead(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                       ci_s32 width, ci_u32* vals) {
    for (ci_u32 i = 0; i < count; ++i) vals[i] = 0;
    ci_error_code rc =
        _common_readSystemRegistersNolock(camera, type, space, first, (ci_u32)width * 8u, count, vals);
    if (rc != CI_CAMERA_NOT_SUPPORTED) return rc;

    const ci_s32 style = ci_McuAddrStyle(camera);
    if (style == CK_MCU_55) return readWindow(camera, type, space, first, count, width, vals);
    if (isAdvancedSfr(style, type)) {
        rc = _mcuAdvTransfer(camera, first, count, width, vals, 0);
        if (rc == CI_CAMERA_SUCCESS) _mcuCacheRun(camera, type, space, first, count, width, vals);
        return rc;
    }
    McuPort port;
    rc = _mcuPortOpen(camera, style, type, space, &port);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return _mcuPortReadRun(camera, &port, first, count, width, vals);
}

ci_error_code _mcuWrite(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 offset, ci_s32 width,
                        ci_u32 value) {
    ci_u32 word = value;
    ci_error_code rc = _common_writeSystemRegistersNolock(camera, type, space, offset, (ci_u32)width * 8u, 1, &word);
    if (rc != CI_CAMERA_NOT_SUPPORTED) return rc;

    const ci_s32 style = ci_McuAddrStyle(camera);
    if (style == CK_MCU_55 || isAdvancedSfr(style, type)) {
        rc = writeMapped(camera, style, type, space, offset, 1, width, &word);
        if (rc == CI_CAMERA_SUCCESS) _SetRegCacheValueAddr(camera, type, space, offset, value & _mcuWidthMask(width));
        return rc;
    }
    McuPort port;
    rc = _mcuPortOpen(camera, style, type, space, &port);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return _mcuPortWriteOne(camera, &port, offset, width, value);
}

ci_error_code _mcuBurst(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                        ci_s32 width, ci_u32* vals) {
    ci_error_code rc =
        _common_writeSystemRegistersNolock(camera, type, space, first, (ci_u32)width * 8u, count, vals);
    if (rc != CI_CAMERA_NOT_SUPPORTED) return rc;

    const ci_s32 style = ci_McuAddrStyle(camera);
    if (style == CK_MCU_55 || isAdvancedSfr(style, type)) {
        return writeMapped(camera, style, type, space, first, count, width, vals);
    }
    McuPort port;
    rc = _mcuPortOpen(camera, style, type, space, &port);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return _mcuPortBurst(camera, &port, first, count, width, vals);
}
