// Selection of the sensor's address space (page) before a register access,
// and the selector values last written (kept as the cache entries of the
// selector registers themselves, so an invalidation of the cache forces the
// next access to rewrite them).
// The transports call this before every sensor-register transfer; the write
// is skipped when the thread uses the cache and the selector already holds
// the wanted value.
// The selection logs nothing; the one log line here belongs to the cache.
#define CK_SOURCE "camkit_cache"
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

// ---- the cached selector values
namespace {

// Cache index of a selector register: at its address, in the type and value
// of the first address-space value of the table.
ci_s32 selectorIndex(ci_camera_t* camera, ci_u32 selectorAddr) {
    const ci_addr_space_t* table = camera->sensor->addr_space;
    const ci_addr_space_val_t* first = (table->num_vals > 0 && table->addr_space_val) ? table->addr_space_val : nullptr;
    const ci_u32 type = first ? (ci_u32)first->type : (ci_u32)CI_REG_ADDR;
    const ci_u32 value = first ? first->val : 0;
    return _regIndexFindAddr(camera, selectorAddr, value, type);
}

const ci_addr_space_t* selectors(ci_camera_t* camera) {
    return (camera && camera->sensor) ? camera->sensor->addr_space : nullptr;
}

ci_u32 cachedSelector(ci_camera_t* camera, bool read) {
    const ci_addr_space_t* table = selectors(camera);
    if (!table) {
        return 0;
    }
    ci_u32 value = 0;
    const ci_s32 index = selectorIndex(camera, read ? table->reg_addr_read : table->reg_addr_write);
    return _GetRegCacheValueI(camera, index, &value) >= 0 ? value : 0xFFFFFFFFu;
}

void storeSelector(ci_camera_t* camera, bool read, ci_u32 value) {
    const ci_addr_space_t* table = selectors(camera);
    if (table) {
        _SetRegCacheValueI(camera, selectorIndex(camera, read ? table->reg_addr_read : table->reg_addr_write), value);
    }
}

}  // namespace

ci_u32 _GetCachedReadAddrSpaceValue(ci_camera_t* camera) {
    return cachedSelector(camera, true);
}

ci_u32 _GetCachedWriteAddrSpaceValue(ci_camera_t* camera) {
    return cachedSelector(camera, false);
}

void _SetCachedReadAddrSpaceValue(ci_camera_t* camera, ci_u32 value) {
    storeSelector(camera, true, value);
}

void _SetCachedWriteAddrSpaceValue(ci_camera_t* camera, ci_u32 value) {
    storeSelector(camera, false, value);
}

ci_error_code ci_CurrentAddrSpace(ci_camera_t* camera, ci_u32* readSpace, ci_u32* writeSpace) {
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    RegisterLock lock(camera);
    if (readSpace) {
        *readSpace = _GetCachedReadAddrSpaceValue(camera);
    }
    if (writeSpace) {
        *writeSpace = _GetCachedWriteAddrSpaceValue(camera);
    }
    return CI_CAMERA_SUCCESS;
}
