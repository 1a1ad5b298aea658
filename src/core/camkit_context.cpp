// The camera's common context (created by a transport before probing) and
// the record shared by every opener of one physical device.
//
// The shared record is found by a name derived from the transport's device
// name.  Its first opener seeds it from the camera's own settings; every
// opener then adopts what the record holds, so two handles on one device
// agree on clocking, receiver and stereo settings.
#define CK_SOURCE "camkit"
#include <cassert>
#include <cstdio>
#include <cstdlib>

#include "core/camkit_core.h"

// The settings the shared record hands from the first opener to the others.
static const _ctx_sg_field_t kSharedSettings[] = {
    CK_CTX_SG(bitsPerClock, bitsPerClock),         CK_CTX_SG(clocksPerPixel, clocksPerPixel),
    CK_CTX_SG(pixclk_polarity, pixclk_polarity),   CK_CTX_SG(lsbAligned, lsbAligned),
    CK_CTX_SG(hw_buffering, hw_buffering),         CK_CTX_SG(rxType, rxType),
    CK_CTX_SG(rxLanes, rxLanes),                   CK_CTX_SG(rxBitDepth, rxBitDepth),
    CK_CTX_SG(rxMode, rxMode),                     CK_CTX_SG(rxClass, rxClass),
    CK_CTX_SG(rxSyncCode, rxSyncCode),             CK_CTX_SG(rxEmbeddedData, rxEmbeddedData),
    CK_CTX_SG(rxVirtualChannel, rxVirtualChannel), CK_CTX_SG(rxMsbFirst, rxMsbFirst),
    CK_CTX_SG(stereoMode, stereoMode),             CK_CTX_SG(hidy, hidy),
};

// Initial mode settings of every camera, applied in this order.
static const struct {
    ci_modes mode;
    ci_u32 value;
} kInitialModes[] = {
    {CI_SW_UNSWIZZLE_MODE, 1}, {CI_ERROR_CHECK_MODE, 1},   {CI_REG_ADDR_SIZE, 8},
    {CI_REG_DATA_SIZE, 16},    {CI_ALLOW_FAR_ACCESS, 1},   {CI_RX_TYPE, 0xFFFFFFFFu},
    {CI_RX_MODE, 2},           {CI_RX_LANES, 1},           {CI_RX_BIT_DEPTH, 10},
    {CI_RX_CLASS, 1},          {CI_RX_SYNC_CODE, 0xF555},  {CI_RX_EMBEDDED_DATA, 1},
    {CI_RX_VIRTUAL_CHANNEL, 0}, {CI_RX_MSB_FIRST, 0},      {CI_RX_CCIR656, 0},
    {CI_RX_INTERLACED, 0},     {CI_OUTPUT_PORT, 0},        {CI_USE_REG_CACHE, 0},
    {CI_NACK_RETRIES, 9},
};

void _store_mirrored(_common_context_t* ctx, const _ctx_sg_field_t* field, ci_u32 value) {
    _store_u32(ctx, field->ctx_offset, value);
    if (ctx->sg_context != nullptr) _store_u32(ctx->sg_context, field->sg_offset, value);
}

void _init_common_context(ci_camera_t* camera) {
    assert(camera != nullptr);
    if (camera->context != nullptr) _free_common_context(camera);
    _common_context_t* ctx = (_common_context_t*)calloc(1, sizeof(_common_context_t));
    if (ctx == nullptr) {
        CK_ERR(CI_CAMERA_ERROR, "cannot allocate the camera context");
        return;
    }
    camera->context = ctx;
    // Everything not set here (frame counters, register hooks, the register
    // cache) starts at zero/nullptr from the zeroed allocation.
    ctx->bitsPerClock = 8;
    ctx->clocksPerPixel = 1;
    ctx->pixclk_polarity = 1;
    ctx->unswizzle_mode = CI_ANY_UNSWIZZLE;
    for (const auto& initial : kInitialModes) _SetMode(camera, initial.mode, initial.value);
    ctx->direct_var_access = 1;
}

void ci_InitCameraContext(ci_camera_t* camera) { _init_common_context(camera); }

void _free_common_context(ci_camera_t* camera) {
    _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr) return;
    osal_delete_critical_section(&ctx->criticalSection);
    _free_global_context(camera);
    _free_reg_cache(camera);
    free(ctx);
    camera->context = nullptr;
}

void ci_FreeCameraContext(ci_camera_t* camera) { _free_common_context(camera); }

// ' ', '\\' and '.' cannot appear in the names of shared objects.
static void _sanitize_name(char* name) {
    for (; *name != '\0'; name++) {
        if (*name == ' ' || *name == '\\' || *name == '.') *name = '_';
    }
}

static const char* _base_name(const char* path) {
    const char* slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// Appends what fits of text (names are cut at the field size).
static void _append_bounded(char* name, size_t size, const char* text) {
    size_t used = strlen(name);
    while (*text != '\0' && used + 1 < size) name[used++] = *text++;
    name[used] = '\0';
}

// mutex_<device>, context_<device> and regcache_<device>_<sensor file>.
static void _make_shared_names(ci_camera_t* camera, _common_context_t* ctx, const char* device) {
    ci_string device_name;
    ci_string cache_name;
    snprintf(device_name, sizeof device_name, "%s", device);
    memcpy(cache_name, device_name, sizeof cache_name);
    if (camera->sensor != nullptr) {
        _append_bounded(cache_name, sizeof cache_name, "_");
        _append_bounded(cache_name, sizeof cache_name, _base_name(camera->sensor->sensorFileName));
    }
    _sanitize_name(device_name);
    _sanitize_name(cache_name);
    snprintf(ctx->mutex_name, sizeof ctx->mutex_name, "mutex_%.249s", device_name);
    snprintf(ctx->context_name, sizeof ctx->context_name, "context_%.247s", device_name);
    snprintf(ctx->reg_cache_name, sizeof ctx->reg_cache_name, "regcache_%.246s", cache_name);
}

static void _copy_shared_settings(void* to, void* from, int to_shared) {
    for (const _ctx_sg_field_t& field : kSharedSettings) {
        size_t from_offset = to_shared ? field.ctx_offset : field.sg_offset;
        size_t to_offset = to_shared ? field.sg_offset : field.ctx_offset;
        _store_u32(to, to_offset, _load_u32(from, from_offset));
    }
}

void _init_global_context(ci_camera_t* camera) {
    _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || ctx->sg_context != nullptr) return;
    const char* device = ctx->getDeviceName != nullptr ? ctx->getDeviceName(camera) : nullptr;
    if (device != nullptr && device[0] != '\0') _make_shared_names(camera, ctx, device);
    osal_init_critical_section(&ctx->criticalSection, ctx->mutex_name);

    _sg_context_t* sg = (_sg_context_t*)osal_alloc_global(ctx->context_name, sizeof(_sg_context_t), &ctx->context_gh);
    if (sg == nullptr) sg = (_sg_context_t*)calloc(1, sizeof(_sg_context_t));
    if (sg == nullptr) {
        CK_ERR(CI_CAMERA_ERROR, "cannot allocate the shared device context");
        return;
    }
    ctx->sg_context = sg;
    if (sg->initialized == 0) {  // first opener of the device
        sg->initialized = 0xFFFFFFFFu;
        _copy_shared_settings(sg, ctx, 1);
        _forgetAccessState(sg);
    }
    _copy_shared_settings(ctx, sg, 0);
}

void _free_global_context(ci_camera_t* camera) {
    _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || ctx->sg_context == nullptr) return;
    if (ctx->context_gh != nullptr) {
        osal_free_global(ctx->context_gh, ctx->sg_context);
    } else {
        free(ctx->sg_context);
    }
    ctx->context_gh = nullptr;
    ctx->sg_context = nullptr;
}
