// Invalidation and marking of register cache entries.
#define CK_SOURCE "camkit_cache"
#include "regs/regs_internal.h"

namespace {

bool inRange(ci_u32 addr, ci_u32 first, ci_u32 end) {
    return addr >= first && addr < end;
}

}  // namespace

void ci_InvalidateRegCache(ci_camera_t* camera) {
    if (!_ctx(camera)) {
        return;
    }
    {
        RegisterLock lock(camera);
        if (_sg_context_t* shared = _ctx(camera)->sg_context) {
            _forgetAccessState(shared);
        }
        ci_s32 count = 0;
        _regCache* entries = _regCacheEntries(camera, &count);
        for (ci_s32 i = 0; i < count; ++i) {
            entries[i].flags |= CI_CACHE_INVALID;
        }
    }
    CK_LOG(CI_LOG_SHIP, "Invalidate sensor register cache");
    _updateDirectAccess(camera);
}

void _regCacheMarkEntry(ci_camera_t* camera, ci_s32 index, ci_u32 flag) {
    RegisterLock lock(camera);
    ci_s32 count = 0;
    _regCache* entries = _regCacheEntries(camera, &count);
    if (index >= 0 && index < count) {
        entries[index].flags |= flag;
    }
}

void ci_InvalidateRegCacheReg(ci_camera_t* camera, ci_reg_data_t* reg) {
    const ci_s32 index = _regCacheIndexOfRecord(camera, reg);
    if (index < 0 || !_ctx(camera)) {
        return;
    }
    _regCacheMarkEntry(camera, index, CI_CACHE_INVALID);
}

void ci_InvalidateRegCacheRegName(ci_camera_t* camera, const char* regName) {
    ci_reg_data_t* reg = ci_FindRegister(camera, regName);
    if (reg) {
        ci_InvalidateRegCacheReg(camera, reg);
    }
}

// With address spaces, only registers of the given type and space value
// are touched; without, every register in the range whatever its type.
void _InvalidateRegCacheRange(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 end) {
    ci_s32 count = 0;
    _regCache* entries = _regCacheEntries(camera, &count);
    if (!entries || !camera->sensor) {
        return;
    }
    const ci_sensor_t* sensor = camera->sensor;
    const bool bySpace = sensor->addr_space != nullptr;
    for (ci_s32 i = 0; i < count && i < sensor->num_regs; ++i) {
        const ci_reg_data_t& reg = sensor->regs[i];
        if (!inRange(reg.reg_addr, first, end)) {
            continue;
        }
        if (bySpace && !(reg.addr_space && reg.addr_space->type == type && reg.addr_space->val == space)) {
            continue;
        }
        entries[i].flags |= CI_CACHE_INVALID;
    }
}
