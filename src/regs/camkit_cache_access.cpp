// Reading and storing register cache entries by index, address and record.
#define CK_SOURCE "camkit_cache"
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

// The cache entry of one of the description's own records, found by pointer
// arithmetic; null for any other record or without a cache.
inline _regCache* recordEntry(ci_camera_t* camera, const ci_reg_data_t* reg) {
    const ci_sensor_t* sensor = (camera && reg) ? camera->sensor : nullptr;
    const _common_context_t* context = _ctx(camera);
    if (!sensor || !context || !context->reg_cache) {
        return nullptr;
    }
    const ci_s32 index = _regIndexOfRecord(sensor, reg);
    return (index >= 0 && index < context->num_cache_regs) ? &context->reg_cache[index] : nullptr;
}

}  // namespace

ci_s32 _regCacheIndexOfRecord(ci_camera_t* camera, const ci_reg_data_t* reg) {
    const ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    return sensor ? _regIndexOfRecord(sensor, reg) : -1;
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

// Asked by every read the thread wants served from the cache.
ci_s32 _regCacheGetReg(ci_camera_t* camera, const ci_reg_data_t* reg, ci_u32* val) {
    const _regCache* entry = recordEntry(camera, reg);
    if (!entry) {
        return 1;
    }
    *val = entry->value;
    return (entry->flags & kNotServed) ? 1 : 0;
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

// Asked after every device read and write: the record's own entry is found
// by pointer arithmetic and stored without further lookups.
ci_s32 _SetRegCacheValueReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    const ci_sensor_t* sensor = (camera && reg) ? camera->sensor : nullptr;
    if (!sensor) {
        return -1;
    }
    if (reg->reg_space != 0 && sensor->sensorType == CI_ARRAY_IMAGER_SENSOR) {
        return storeInSpaces(camera, reg, val);
    }
    _regCache* entry = recordEntry(camera, reg);
    if (!entry) {
        return -1;
    }
    entry->value = val;
    entry->flags &= ~CI_CACHE_INVALID;
    return (ci_s32)(entry - _ctx(camera)->reg_cache);
}
