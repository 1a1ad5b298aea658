// A plugin for the plugin transport's tests, built in variants:
//   TP_NO_START   without "StartTransportDLL"
//   TP_NO_OPEN    without either open entry
//   TP_INIT2      opens through "InitCamera2DLL" instead of "OpenCameraDLL"
// It serves TP_DEVICES devices (environment, default 1), refuses device
// TP_FAIL_AT, has raw register hooks only (so the library's sensor hooks are
// used) and records every raw access and every open and close.
#include <cstdlib>
#include <vector>

#include "test_plugin.h"

static TpRecord gRecord;

static long env_number(const char* name, long fallback) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtol(text, nullptr, 0) : fallback;
}

extern "C" {

CI_PLUGIN_EXPORT TpRecord* tp_record(void) { return &gRecord; }

CI_PLUGIN_EXPORT void SetHelpersDLL(const ci_transport_helpers_t* helpers) { gRecord.helpers = helpers; }

[[maybe_unused]] static ci_error_code tp_open(ci_camera_t*, const char*, ci_s32 deviceIndex) {
    gRecord.opens++;
    if (deviceIndex >= env_number("TP_DEVICES", 1) || deviceIndex == env_number("TP_FAIL_AT", -1)) {
        return CI_CAMERA_ERROR;
    }
    return CI_CAMERA_SUCCESS;
}

#if defined(TP_INIT2)
CI_PLUGIN_EXPORT ci_error_code InitCamera2DLL(ci_camera_t* c, const char* s, ci_s32 i) { return tp_open(c, s, i); }
#elif !defined(TP_NO_OPEN)
CI_PLUGIN_EXPORT ci_error_code OpenCameraDLL(ci_camera_t* c, const char* s, ci_s32 i) { return tp_open(c, s, i); }
#endif

#ifndef TP_NO_START
CI_PLUGIN_EXPORT ci_error_code StartTransportDLL(ci_camera_t*) { return CI_CAMERA_SUCCESS; }
#endif
CI_PLUGIN_EXPORT ci_error_code StopTransportDLL(ci_camera_t*) { return CI_CAMERA_SUCCESS; }

CI_PLUGIN_EXPORT ci_error_code CloseCameraDLL(ci_camera_t*) {
    gRecord.closes++;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code ReadRegisterDLL(ci_camera_t*, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    gRecord.accesses.push_back({shipAddr, regAddr, 0, 0});
    *val = regAddr ^ 0x5A00;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code WriteRegisterDLL(ci_camera_t*, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    gRecord.accesses.push_back({shipAddr, regAddr, 1, val});
    return CI_CAMERA_SUCCESS;
}

}  // extern "C"
