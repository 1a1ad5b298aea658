// Frames captured into a receiver board's memory and read back through the
// bulk pipe: how many fit, the cycle setting, and waiting for the capture
// before each frame read.
#define CK_SOURCE "transport/usb_bulk_memcapture"
#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kPollMs = 10;
constexpr ci_u32 kPollsWithoutProgress = 100;

// Waits until the board has read `target` frames out of its memory or says
// its output is ready; an error when it stalls.
ci_error_code waitForFrames(ci_camera_t* camera, ci_u32 target, bool stallIsError) {
    if (target == 0) return CK_ERR(CI_CAMERA_ERROR, "no frames to capture");
    ci_u32 last = 0xFFFFFFFF, still = 0;
    for (;;) {
        ci_u32 count = 0, ready = 0;
        ci_error_code rc = _readRxRegister(camera, "SDRAMRdFrameCount", &count);
        if (rc == CI_CAMERA_SUCCESS) rc = _readRxRegister(camera, "SDRAMOutputReady", &ready);
        if (rc != CI_CAMERA_SUCCESS) return rc;
        if (count >= target || ready != 0) return CI_CAMERA_SUCCESS;
        still = count == last ? still + 1 : 0;
        last = count;
        if (still >= kPollsWithoutProgress) {
            return stallIsError ? CK_ERR(CI_CAMERA_ERROR, "the memory capture makes no progress") : CI_CAMERA_SUCCESS;
        }
        osal_sleep((ci_s32)kPollMs);
    }
}

bool hdmiReceiver(ci_u32 type) { return type == 4 || type == 6 || type == 7 || type == 8; }

}  // namespace

ci_error_code _memCaptureGrabFrame(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (camera->num_chips == 0 || !_usb_frame_buffer_board(usb->rxBoard) || usb->memCaptureMode > 5) {
        return CI_CAMERA_SUCCESS;
    }
    if (usb->memCaptureMode != 4) return CI_CAMERA_SUCCESS;
    if (hdmiReceiver(usb->rxBoard)) return waitForFrames(camera, usb->memCaptureNumFrames + 1, true);
    if (usb->memCaptureCycle == 1) _writeRxBitfield(camera, "ControlReg7", "FBTriggerSource", 255);
    return waitForFrames(camera, usb->memCaptureNumFrames, usb->memCaptureCycle != 1);
}

ci_error_code _setMemCapture(ci_camera_t* camera, ci_u32 frames) {
    USB_Bulk_Context* usb = _usb_context(camera);
    const ci_sensor_t* s = camera->sensor;
    if (!_usb_frame_buffer_board(usb->rxBoard) || s == nullptr || s->bufferSize == 0) return CI_CAMERA_NOT_SUPPORTED;
    if (frames == 0 && (usb->memCaptureMode == 4 || usb->memCaptureMode == 5)) usb->memCaptureMode = 0;
    ci_u64 fits = ((ci_u64)usb->memCaptureMB << 20) / s->bufferSize;
    if (fits < 1) fits = 1;
    if (frames >= fits) frames = (ci_u32)(fits > 1 ? fits - 1 : 1);
    usb->memCaptureNumFrames = frames;
    return CI_CAMERA_SUCCESS;
}

ci_error_code _setMemCaptureCycle(ci_camera_t* camera, ci_u32 cycle) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (!_usb_frame_buffer_board(usb->rxBoard)) return CI_CAMERA_NOT_SUPPORTED;
    if ((usb->rxBoard == 9 || usb->rxBoard == 10) && cycle != 0) return CI_CAMERA_NOT_SUPPORTED;
    if (usb->memCaptureMode < 1 || usb->memCaptureMode > 5) {
        return CK_ERR(CI_CAMERA_ERROR, "the cycle needs a memory capture mode");
    }
    usb->memCaptureCycle = cycle;
    return CI_CAMERA_SUCCESS;
}
