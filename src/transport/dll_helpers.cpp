// The helper table handed to plugins: the library services a plugin may
// call, and the context fields it may read and set.
#define CK_SOURCE "transport/dll_transport"
#include <cstdio>
#include <cstring>
#include <vector>

#include "transport/dll_transport.h"

DLL_Transport_Context* _DLL_context(const ci_camera_t* camera) {
    return static_cast<DLL_Transport_Context*>(_transport_context(camera));
}

ci_error_code _SetContext(ci_camera_t* camera, ci_context_fields field, const void* value) {
    _common_context_t* ctx = _ctx(camera);
    DLL_Transport_Context* dll = _DLL_context(camera);
    if (ctx == nullptr || dll == nullptr) return CI_CAMERA_ERROR;
    if (value == nullptr && field != CI_CONTEXT_PRIVATE_DATA) return CI_CAMERA_ERROR;
    switch (field) {
        case CI_CONTEXT_BITS_PER_CLOCK: ctx->bitsPerClock = *static_cast<const ci_u32*>(value); break;
        case CI_CONTEXT_CLOCKS_PER_PIXEL: ctx->clocksPerPixel = *static_cast<const ci_u32*>(value); break;
        case CI_CONTEXT_PIXCLK_POLARITY: ctx->pixclk_polarity = (ci_s32)*static_cast<const ci_u32*>(value); break;
        case CI_CONTEXT_PRIVATE_DATA: dll->private_context = const_cast<void*>(value); break;
        case CI_CONTEXT_APP_HWND: dll->appHwnd = *static_cast<const intptr_t*>(value); break;
        case CI_CONTEXT_DRIVER_INFO:
            snprintf(ctx->driverInfo, sizeof ctx->driverInfo, "%s", static_cast<const char*>(value));
            break;
        default: return CI_CAMERA_NOT_SUPPORTED;
    }
    return CI_CAMERA_SUCCESS;
}

ci_error_code _GetContext(ci_camera_t* camera, ci_context_fields field, void* value) {
    const _common_context_t* ctx = _ctx(camera);
    const DLL_Transport_Context* dll = _DLL_context(camera);
    if (ctx == nullptr || dll == nullptr || value == nullptr) return CI_CAMERA_ERROR;
    switch (field) {
        case CI_CONTEXT_BITS_PER_CLOCK: *static_cast<ci_u32*>(value) = ctx->bitsPerClock; break;
        case CI_CONTEXT_CLOCKS_PER_PIXEL: *static_cast<ci_u32*>(value) = ctx->clocksPerPixel; break;
        case CI_CONTEXT_PIXCLK_POLARITY: *static_cast<ci_u32*>(value) = (ci_u32)ctx->pixclk_polarity; break;
        case CI_CONTEXT_PRIVATE_DATA: *static_cast<void**>(value) = dll->private_context; break;
        case CI_CONTEXT_APP_HWND: *static_cast<intptr_t*>(value) = dll->appHwnd; break;
        case CI_CONTEXT_DRIVER_INFO: memcpy(value, ctx->driverInfo, sizeof(ci_string)); break;
        default: return CI_CAMERA_NOT_SUPPORTED;
    }
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _DLL_helperGetSensor(ci_camera_t* camera, const char* sensorDirOrFile) {
    return _getSensor(camera, sensorDirOrFile);
}

static ci_error_code _DLL_helperReadReg(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                        ci_u32* value) {
    return ci_ReadSensorRegStr(camera, regName, bitfieldName != nullptr ? bitfieldName : "", value);
}

// Any key of the [BOARD] section (the profile lookup sees only a section's
// first entry, so the section's entries are scanned here).
static ci_error_code _DLL_helperBoardConfig(ci_camera_t* camera, const char* key, char* value, ci_u32 size) {
    const DLL_Transport_Context* dll = _DLL_context(camera);
    if (dll == nullptr || key == nullptr || value == nullptr || size == 0) return CI_CAMERA_ERROR;
    if (dll->camFileName[0] == '\0') return CI_CAMERA_NOT_SUPPORTED;
    std::vector<char> entries(16384);
    if (osal_getsection("BOARD", entries.data(), entries.size(), dll->camFileName) == 0) return CI_CAMERA_NOT_SUPPORTED;
    const size_t keyLength = strlen(key);
    for (const char* entry = entries.data(); *entry != '\0'; entry += strlen(entry) + 1) {
        if (osal_strnicmp(entry, key, keyLength) == 0 && entry[keyLength] == '=') {
            snprintf(value, size, "%s", entry + keyLength + 1);
            return CI_CAMERA_SUCCESS;
        }
    }
    return CI_CAMERA_NOT_SUPPORTED;
}

const ci_transport_helpers_t g_transport_helpers = {
    _DLL_helperGetSensor, _updateImageType, ci_Errorlog,     ci_Msglog,          _SetMode,
    _GetMode,             _SetContext,      _GetContext,     _transport_update_frame_size, _unSwizzleBuffer,
    _mergeDeepBayer,      _DLL_helperReadReg, _DLL_helperBoardConfig, nullptr,   nullptr,
    nullptr,
};
