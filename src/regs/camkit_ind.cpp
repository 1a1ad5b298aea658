// Indirect registers: an address register selects the offset, a data
// register moves the value.  Sensors name the pair "INDIRECT_ADDR" (or
// "INDIRECT_ADDRESS") and "INDIRECT_DATA" (or separate "INDIRECT_WRITE" and
// "INDIRECT_READ" ports).
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

struct IndPort {
    ci_reg_data_t* addr;
    ci_reg_data_t* data;
};

ci_reg_data_t* firstOf(ci_camera_t* camera, const char* name, const char* fallback) {
    ci_reg_data_t* reg = _mcuReg(camera, name);
    return reg ? reg : _mcuReg(camera, fallback);
}

ci_error_code openPort(ci_camera_t* camera, int write, IndPort* port) {
    if (!camera || !_ctx(camera) || !camera->sensor) return CK_ERR(CI_CAMERA_ERROR, "no sensor");
    port->addr = firstOf(camera, "INDIRECT_ADDR", "INDIRECT_ADDRESS");
    port->data = firstOf(camera, "INDIRECT_DATA", write ? "INDIRECT_WRITE" : "INDIRECT_READ");
    if (!port->addr || !port->data) return CK_ERR(CI_CAMERA_ERROR, "sensor has no indirect register port");
    return CI_CAMERA_SUCCESS;
}

}  // namespace

ci_error_code _WriteIndNolock(ci_camera_t* camera, ci_u32 offset, ci_u32 val) {
    IndPort port{};
    ci_error_code rc = openPort(camera, 1, &port);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    _WriteSensorRegNolock(camera, port.addr, offset);  // a failure shows in the data transfer
    rc = _writeSensorRegsNocache(camera, port.data, 1, &val);
    if (rc == CI_CAMERA_SUCCESS) _SetRegCacheValueAddr(camera, CI_IND_ADDR, 0, offset, val);
    return rc;
}

ci_error_code _ReadIndsNolock(ci_camera_t* camera, ci_u32 first, ci_u32 end, ci_u32* vals) {
    if (!vals) return CK_ERR(CI_CAMERA_ERROR, "no value buffer");
    for (ci_u32 offset = first; offset < end; ++offset) vals[offset - first] = 0;
    IndPort port{};
    ci_error_code rc = openPort(camera, 0, &port);
    for (ci_u32 offset = first; offset < end && rc == CI_CAMERA_SUCCESS; ++offset) {
        ci_u32* val = &vals[offset - first];
        _WriteSensorRegNolock(camera, port.addr, offset);
        rc = _readSensorRegsNocache(camera, port.data, 1, val);
        if (rc != CI_CAMERA_SUCCESS) {
            *val = 0;
            break;
        }
        _SetRegCacheValueReg(camera, port.data, *val);
        _SetRegCacheValueAddr(camera, CI_IND_ADDR, 0, offset, *val);
    }
    return rc;
}

// The cache probe by address is deliberately made with the type and space
// swapped, (CI_REG_ADDR, space 3, offset): it only hits when a plain register
// record answers that address, so indirect reads normally go to the device.
ci_error_code _ReadIndNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 offset, ci_u32* val) {
    if (!val) return CK_ERR(CI_CAMERA_ERROR, "no value buffer");
    *val = 0;
    if (!camera || !_ctx(camera)) return CK_ERR(CI_CAMERA_ERROR, "no camera");
    ci_error_code rc = CI_CAMERA_SUCCESS;
    if (_mcuCacheProbe(camera, reg, CI_REG_ADDR, (ci_u32)CI_IND_ADDR, offset, val, &rc)) return rc;
    if (offset == 0xFFFFFFFFu) return CK_ERR(CI_CAMERA_ERROR, "indirect offset out of range");
    return _ReadIndsNolock(camera, offset, offset + 1u, val);
}
