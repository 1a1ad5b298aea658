// The transport registry.  The row order is part of the design: file
// cameras are tried first (and, when found, end the walk), the USB bus is
// scanned last, and the null camera is only opened when asked for by flag.
#define CK_SOURCE "camkit"
#include "core/camkit_private.h"

_transport_t gTransports[CI_NUM_TRANSPORTS] = {
    {CI_TRANSPORT_IMAGE_FILE, 0, 0, nullptr, BMP_Transport_OpenCameras, BMP_Transport_CloseCameras},
    {CI_TRANSPORT_VIDEO_FILE, 0, 0, nullptr, AVI_Transport_OpenCameras, AVI_Transport_CloseCameras},
    {CI_TRANSPORT_PLUGIN, 0, 0, nullptr, DLL_Transport_OpenCameras, DLL_Transport_CloseCameras},
    {CI_TRANSPORT_NULL, 0, 0, nullptr, NUL_Transport_OpenCameras, NUL_Transport_CloseCameras},
    {CI_TRANSPORT_USB, 0, 0, nullptr, _CILIBUSB_OpenCameras, USB_Bulk_CloseCameras},
};

ci_s32 _retSizeofTransportArray(void) { return (ci_s32)(sizeof gTransports / sizeof gTransports[0]); }
