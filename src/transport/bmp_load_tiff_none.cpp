// Built when libtiff is missing: TIFF files are refused.
#define CK_SOURCE "transport/bmp_transport"
#include "transport/bmp_transport.h"

ci_error_code _BMP_load_tiff(ci_camera_t*, BMP_Transport_Context*) {
    return CK_ERR(CI_CAMERA_ERROR, "TIFF files cannot be read: this build has no libtiff");
}
