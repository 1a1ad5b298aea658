// The register cache's life cycle and its volatile marks.
#define CK_SOURCE "camkit_cache"
#include <cassert>
#include <cstdlib>

#include "regs/regs_internal.h"

namespace {

// Data ports, command and status registers: their value changes without a
// write, so a cached copy is never served.
const char* const kVolatileNames[] = {
    "JPEG_INDIRECT_REG_DATA",
    "INDIRECT_DATA",
    "INDIRECT_READ",
    "COMMAND_REGISTER",
    "sequencerSetup_cmd",
    "sequencerSetup_status",
    "sequencerSetup_wait",
    "sequencerSetup_format",
    "sequencerSetup_outputSizeX",
    "sequencerSetup_outputSizeY",
    "sequencerSetup_manualobj",
    "sequencerSetup_previewContextObj",
    "sequencerSetup_captureContextObj",
    "sequencerSetup_halfbuttonContextObj",
    "sequencerSetup_videoContextObj",
    "sequencerSetup_shutdownContextObj",
};

void allocateEntries(_common_context_t* common_context, ci_s32 count) {
    const size_t bytes = (size_t)count * sizeof(_regCache);
    common_context->reg_cache =
        (_regCache*)osal_alloc_global(common_context->reg_cache_name, bytes, &common_context->reg_cache_gh);
    if (!common_context->reg_cache) {
        common_context->reg_cache_gh = nullptr;
        common_context->reg_cache = (_regCache*)calloc((size_t)count, sizeof(_regCache));
    }
    common_context->num_cache_regs = common_context->reg_cache ? count : 0;
}

void markVolatile(ci_camera_t* camera) {
    ci_s32 count = 0;
    _regCache* entries = _regCacheEntries(camera, &count);
    const ci_reg_data_t* regs = camera->sensor->regs;
    for (ci_s32 i = 0; i < count; ++i) {
        if (regs[i].volat) {
            entries[i].flags |= CI_CACHE_VOLATILE;
        }
    }
    for (const char* name : kVolatileNames) {
        ci_SetVolatileRegStr(camera, name);
    }
}

}  // namespace

_regCache* _regCacheEntries(ci_camera_t* camera, ci_s32* count) {
    _common_context_t* context = _ctx(camera);
    if (!context || !context->reg_cache || context->num_cache_regs <= 0) {
        *count = 0;
        return nullptr;
    }
    *count = context->num_cache_regs;
    return context->reg_cache;
}

void _init_reg_cache(ci_camera_t* camera) {
    _common_context_t* common_context = _ctx(camera);
    assert(common_context);
    assert(common_context->reg_cache == ((void *)0));
    common_context->num_cache_regs = 0;
    ci_sensor_t* sensor = camera->sensor;
    if (!sensor || !sensor->regs || sensor->num_regs <= 0) {
        return;
    }
    _regIndexBuild(sensor);
    allocateEntries(common_context, sensor->num_regs);
    if (!common_context->reg_cache) {
        return;
    }
    ci_InvalidateRegCache(camera);
    markVolatile(camera);
}

void _free_reg_cache(ci_camera_t* camera) {
    _common_context_t* context = _ctx(camera);
    if (!context) {
        return;
    }
    if (context->reg_cache_gh) {
        osal_free_global(context->reg_cache_gh, context->reg_cache);
    } else {
        free(context->reg_cache);
    }
    context->reg_cache = nullptr;
    context->reg_cache_gh = nullptr;
    context->num_cache_regs = 0;
}

void ci_SetVolatileRegStr(ci_camera_t* camera, const char* regName) {
    const ci_s32 index = _getRegIndex(camera, regName);
    if (index < 0) {
        return;
    }
    _regCacheMarkEntry(camera, index, CI_CACHE_VOLATILE);
}
