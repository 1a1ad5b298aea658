// The USB transport of a build without libusb: it finds no board.
#define CK_SOURCE "transport/usb_none"
#include "core/camkit_private.h"

ci_error_code _CILIBUSB_OpenCameras(ci_camera_t**, ci_s32* n, const char*, const char*) {
    if (n != nullptr) *n = 0;
    return CI_CAMERA_SUCCESS;
}

void USB_Bulk_CloseCameras(ci_s32, ci_camera_t**) {}
