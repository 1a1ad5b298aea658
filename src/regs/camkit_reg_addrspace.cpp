// Selection of the sensor's address space (page) before a register access.
// The transports call this before every sensor-register transfer; the write
// is skipped when the thread uses the cache and the selector already holds
// the wanted value.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

namespace {

// Array imagers select spaces with a bit map: a read names one space (the
// lowest bit set among bits 0..15), a write may name several at once.
// Returns false when nothing is to be written.
bool bitMapSelector(ci_u32 space, bool read, ci_u32* selector) {
    if (!read) {
        *selector = space;
        return space != 0;
    }
    for (ci_u32 bit = 0; bit < 16; ++bit) {
        if (space & (1u << bit)) {
            *selector = bit;
            return true;
        }
    }
    return false;
}

void remember(ci_camera_t* camera, bool read, ci_u32 value) {
    if (read) {
        _SetCachedReadAddrSpaceValue(camera, value);
    } else {
        _SetCachedWriteAddrSpaceValue(camera, value);
    }
}

}  // namespace

void _updateAddrSpace(ci_camera_t* camera, ci_u32 space, ci_s32 read) {
    const ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    const ci_addr_space_t* table = sensor ? sensor->addr_space : nullptr;
    if (!table) {
        return;
    }
    // A selector address of 0 means the sensor has no selector for that
    // direction.
    const ci_u32 selectorAddr = read ? table->reg_addr_read : table->reg_addr_write;
    if (selectorAddr == 0) {
        return;
    }
    if (_threadCacheUse(camera) != 0) {
        const ci_u32 cached = read ? _GetCachedReadAddrSpaceValue(camera) : _GetCachedWriteAddrSpaceValue(camera);
        if (cached == space) {
            return;
        }
    }
    if (sensor->sensorType != CI_ARRAY_IMAGER_SENSOR) {
        _common_writeRegisterNolock(camera, sensor->shipAddr, selectorAddr, space);
        remember(camera, read != 0, space);
        return;
    }
    ci_u32 selector = 0;
    if (!bitMapSelector(space, read != 0, &selector)) {
        return;
    }
    {
        ScopedMode dataSize(camera, CI_REG_DATA_SIZE, 16);
        _common_writeRegisterNolock(camera, sensor->shipAddr, selectorAddr, selector);
    }
    remember(camera, read != 0, selector);
}
