// Runs of values through the indirect MCU port: reads value by value, single
// writes, and bursts that rely on the MCU's auto-incrementing data port.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

ci_error_code _mcuPortReadRun(ci_camera_t* camera, const McuPort* port, ci_u32 first, ci_u32 count,
                              ci_s32 width, ci_u32* vals) {
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 i = 0; i < count && rc == CI_CAMERA_SUCCESS; ++i) {
        const ci_u32 offset = first + i * (ci_u32)width;
        rc = _mcuPortSelect(camera, port, offset, width);
        if (rc == CI_CAMERA_SUCCESS) rc = _mcuPortRead(camera, port, width, &vals[i]);
        if (rc == CI_CAMERA_SUCCESS) _SetRegCacheValueAddr(camera, port->type, port->space, offset, vals[i]);
    }
    _mcuPortEndByteAccess(camera, port, width);
    return rc;
}

ci_error_code _mcuPortWriteOne(ci_camera_t* camera, const McuPort* port, ci_u32 offset, ci_s32 width,
                               ci_u32 value) {
    ci_error_code rc = _mcuPortSelect(camera, port, offset, width);
    if (rc == CI_CAMERA_SUCCESS) rc = _mcuPortWrite(camera, port, width, value);
    _mcuPortEndByteAccess(camera, port, width);
    if (rc == CI_CAMERA_SUCCESS) {
        _SetRegCacheValueAddr(camera, port->type, port->space, offset, value & _mcuWidthMask(width));
    }
    return rc;
}

// A chunk is at most 16 bytes and, for bytes, an even count, so that the
// bytes pair up into the port's 16-bit words.  Each chunk re-addresses the
// MCU and then streams its values into the data register in one transfer
// at the burst's width.
ci_error_code _mcuPortBurst(ci_camera_t* camera, const McuPort* port, ci_u32 first, ci_u32 count, ci_s32 width,
                            ci_u32* vals) {
    const ci_u32 perChunk = 16u / (ci_u32)width;
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 i = 0; i < count;) {
        ci_u32 k = count - i < perChunk ? count - i : perChunk;
        if (width == 1) k &= ~1u;
        if (k == 0) {
            _mcuPortWriteOne(camera, port, first + i, 1, vals[i]);  // the odd byte; result not reported
            break;
        }
        rc = _mcuPortSelect(camera, port, first + (ci_u32)width * i, width);
        if (rc == CI_CAMERA_SUCCESS) {
            _updateAddrSpace(camera, port->data->reg_space, 0);
            rc = _writeDirectVarsNocache(camera, port->data->reg_addr, (ci_u32)width * 8u, k, &vals[i]);
        }
        i += k;
    }
    return rc;
}
