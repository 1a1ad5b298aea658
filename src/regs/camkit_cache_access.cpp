// Reading and storing register cache entries by index, address and record.
#define CK_SOURCE "camkit_cache"
#include <functional>

#include "regs/regs_internal.h"

namespace {

constexpr ci_u32 kNotServed = CI_CACHE_INVALID | CI_CACHE_VOLATILE;

ci_s32 sensorRegs(ci_camera_t* camera) {
    return (camera && camera->sensor) ? camera->sensor->num_regs : 0;
}

// The entry at index, or null when there is no cache or the index is out of
// range.
_regCache* entryAt(ci_camera_t* camera, ci_s32 index) {
    ci_s32 count = 0;
    _regCache* entries = _regCacheEntries(camera, &count);
    if (!entries || index < 0 || index >= count || index >= sensorRegs(camera)) {
        return nullptr;
    }
    return &entries[index];
}

// An array imager's record with a non-zero space value names a bit map of
// spaces: the value is stored for the register at that address in each.
ci_s32 storeInSpaces(ci_camera_t* camera, const ci_reg_data_t* reg, ci_u32 val) {
    for (ci_u32 bit = 1; bit <= 0x8000u; bit <<= 1) {
        if (reg->reg_space & bit) {
            _SetRegCacheValueAddr(camera, CI_REG_ADDR, bit, reg->reg_addr, val);
        }
    }
    if (reg->reg_space == 0xFFFFu) {
        _SetRegCacheValueAddr(camera, CI_REG_ADDR, 0xFFFFu, reg->reg_addr, val);
    }
    return (ci_s32)reg->reg_space;
}

}  // namespace

ci_s32 _regCacheIndexOfRecord(ci_camera_t* camera, const ci_reg_data_t* reg) {
    const ci_sensor_t* sensor = (camera && reg) ? camera->sensor : nullptr;
    if (!sensor || !sensor->regs || sensor->num_regs <= 0) {
        return -1;
    }
    // std::less gives a total order even for pointers into different arrays.
    std::less<const ci_reg_data_t*> before;
    const ci_reg_data_t* first = sensor->regs;
    const ci_reg_data_t* end = sensor->regs + sensor->num_regs;
    if (before(reg, first) || !before(reg, end)) {
        return -1;
    }
    return (ci_s32)(reg - first);
}

ci_s32 _GetRegCacheIndex(ci_camera_t* camera, ci_u32 regAddr, ci_u32 space, ci_addr_type type) {
    return _regIndexFindAddr(camera, regAddr, space, (ci_u32)type);
}

ci_s32 _GetRegCacheValueI(ci_camera_t* camera, ci_s32 index, ci_u32* val) {
    const _regCache* entry = entryAt(camera, index);
    if (!entry) {
        return -1;
    }
    *val = entry->value;
    return (entry->flags & kNotServed) ? -1 : index;
}

ci_s32 _GetRegCacheValueAddr(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 regAddr, ci_u32* val) {
    return _GetRegCacheValueI(camera, _GetRegCacheIndex(camera, regAddr, space, type), val);
}

ci_s32 _regCacheGetReg(ci_camera_t* camera, const ci_reg_data_t* reg, ci_u32* val) {
    return _GetRegCacheValueI(camera, _regCacheIndexOfRecord(camera, reg), val) >= 0 ? 0 : 1;
}

ci_s32 ci_GetRegCacheValueReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val) {
    if (!camera || !reg || !val || !_ctx(camera)) {
        return 1;
    }
    RegisterLock lock(camera);
    return _regCacheGetReg(camera, reg, val);
}

ci_s32 _SetRegCacheValueI(ci_camera_t* camera, ci_s32 index, ci_u32 val) {
    _regCache* entry = entryAt(camera, index);
    if (!entry) {
        return -1;
    }
    entry->value = val;
    entry->flags &= ~CI_CACHE_INVALID;
    return index;
}

ci_s32 _SetRegCacheValueAddr(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 regAddr, ci_u32 val) {
    return _SetRegCacheValueI(camera, _GetRegCacheIndex(camera, regAddr, space, type), val);
}

ci_s32 _SetRegCacheValueReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    if (!reg) {
        return -1;
    }
    if (reg->reg_space != 0 && ci_IsArrayImager(camera)) {
        return storeInSpaces(camera, reg, val);
    }
    return _SetRegCacheValueI(camera, _regCacheIndexOfRecord(camera, reg), val);
}
