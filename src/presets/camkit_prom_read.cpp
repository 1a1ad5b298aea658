// Reading bytes of a serial PROM: on the camera's own two-wire bus (16-bit
// addresses, 8-bit data), or, for sensors that carry the PROM on their far
// bus, through far-register reads of two bytes at a time.
//
// The far read: a register record of type CI_FAR1_REG_ADDR in a space whose
// far_base is the PROM's bus address (16-bit addresses, 8-bit data) spans two
// bytes (one for a last odd byte); the far-register path reads the bytes at
// consecutive addresses and joins them most significant first, so the value
// holds byte i in bits 15..8 and byte i + 1 in bits 7..0.
#define CK_SOURCE "camkit_prom"
#include <cstring>

#include "presets/presets_internal.h"
#include "sensor/sensor_traits.h"

namespace {

bool promOnFarBus(const ci_camera_t* camera) {
    if (!camera->sensor) return false;
    return _sensorTraits((ci_u32)camera->sensor->sensorType).far != CK_FAR_NONE;
}

ci_error_code readOwnBus(ci_camera_t* camera, ci_u32 busAddr, ci_u32 promAddr, ci_u32 count, ci_u8* out) {
    // The sizes stay as set: later raw accesses of this thread see them.
    ci_setMode(camera, CI_REG_ADDR_SIZE, 16);
    ci_setMode(camera, CI_REG_DATA_SIZE, 8);
    std::vector<ci_u32> words(count ? count : 1);
    const ci_error_code rc = ci_readRegisters(camera, busAddr, promAddr, count, words.data());
    if (rc != CI_CAMERA_SUCCESS) return rc;
    for (ci_u32 i = 0; i < count; ++i) out[i] = (ci_u8)words[i];
    return CI_CAMERA_SUCCESS;
}

ci_error_code readFarBus(ci_camera_t* camera, ci_u32 busAddr, ci_u32 promAddr, ci_u32 count, ci_u8* out) {
    ci_addr_space_val_t space;
    memset(&space, 0, sizeof space);
    space.type = CI_FAR1_REG_ADDR;
    space.far_base = busAddr;
    space.far_addr_size = 16;
    space.far_data_size = 8;
    for (ci_u32 i = 0; i < count; i += 2) {
        ci_reg_data_t reg;
        memset(&reg, 0, sizeof reg);
        snprintf(reg.unique_desc, sizeof reg.unique_desc, "PROM_%04X", promAddr + i);
        reg.reg_addr = promAddr + i;
        reg.addr_span = i + 1 < count ? 2 : 1;
        reg.bitmask = 0xFFFFFFFFu;
        reg.rw = 1;
        reg.addr_space = &space;
        ci_u32 v = 0;
        const ci_error_code rc = ci_ReadSensorReg(camera, &reg, &v);
        if (rc != CI_CAMERA_SUCCESS) return rc;
        if (reg.addr_span == 2) {
            out[i] = (ci_u8)(v >> 8);
            out[i + 1] = (ci_u8)v;
        } else {
            out[i] = (ci_u8)v;
        }
    }
    return CI_CAMERA_SUCCESS;
}

}  // namespace

ci_error_code _readBytes(ci_camera_t* camera, ci_u32 busAddr, ci_u32 promAddr, ci_u32 count, ci_u8* out) {
    if (count == 0) return CI_CAMERA_SUCCESS;
    return promOnFarBus(camera) ? readFarBus(camera, busAddr, promAddr, count, out)
                                : readOwnBus(camera, busAddr, promAddr, count, out);
}
