// The plugin transport is not available in this build: it finds no camera.
#define CK_SOURCE "transport/dll_transport"
#include "core/camkit_private.h"

ci_error_code DLL_Transport_OpenCameras(ci_camera_t**, ci_s32* n, const char*, const char*) {
    *n = 0;
    return CI_CAMERA_SUCCESS;
}

void DLL_Transport_CloseCameras(ci_s32, ci_camera_t**) {}
