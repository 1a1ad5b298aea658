// The image-file transport is not available in this build: it finds no camera.
#define CK_SOURCE "transport/bmp_transport"
#include "core/camkit_private.h"

ci_error_code BMP_Transport_OpenCameras(ci_camera_t**, ci_s32* n, const char*, const char*) {
    *n = 0;
    return CI_CAMERA_SUCCESS;
}

void BMP_Transport_CloseCameras(ci_s32, ci_camera_t**) {}
