// The USB transport is not available in this build: it finds no camera.
#define CK_SOURCE "transport/usb_bulk"
#include "core/camkit_private.h"

ci_error_code _CILIBUSB_OpenCameras(ci_camera_t**, ci_s32* n, const char*, const char*) {
    *n = 0;
    return CI_CAMERA_SUCCESS;
}

void USB_Bulk_CloseCameras(ci_s32, ci_camera_t**) {}
