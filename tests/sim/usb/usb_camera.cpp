#include "usb_camera.h"

#include <cstdio>

UsbCamera::UsbCamera(const UsbBoardConfig& config) : board_(&bed_.addBoard(config)) {}

UsbCamera::~UsbCamera() {
    if (camera_ != nullptr) USB_Bulk_CloseCameras(1, &camera_);
}

bool UsbCamera::open() {
    ci_camera_t* cameras[16] = {};
    ci_s32 n = 0;
    _CILIBUSB_OpenCameras(cameras, &n, "", "");
    if (n != 1) {
        fprintf(stderr, "simulated board: %d boards opened instead of 1\n", (int)n);
        if (n > 0) USB_Bulk_CloseCameras(n, cameras);
        return false;
    }
    camera_ = cameras[0];
    if (camera_->startTransport(camera_) != CI_CAMERA_SUCCESS) {
        fprintf(stderr, "simulated board: the board does not start\n");
        return false;
    }
    board_->clearRequests();
    return true;
}

void UsbCamera::sizes(ci_u32 addrBits, ci_u32 dataBits) {
    _tl_context_t* tl = _thread_local_context(camera_);
    tl->reg_addr_size = (ci_s32)addrBits;
    tl->reg_data_size = (ci_s32)dataBits;
}
