// Frames captured into a receiver board's memory and read back through the
// bulk pipe: how many fit, the cycle setting, and waiting for the capture
// before each frame read (with the ring of captured frames listed in the
// debug log on the boards that keep one).
#define CK_SOURCE "transport/usb_bulk_memcapture"
#include <cstdio>

#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kPollMs = 10;
constexpr ci_u32 kPollsWithoutProgress = 100;
constexpr ci_u32 kSingleCapturePolls = 200;
constexpr ci_u32 kSingleCapturePollMs = 5;
constexpr ci_u32 kCaptureDone = 0x4000;
constexpr ci_u32 kOperationMode = 0xF0;
constexpr ci_u32 kReadOutCode = 2;
constexpr ci_u32 kReadOutStart = 0x4;
constexpr ci_u32 kOlderHdmiBoard = 4;

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

// The older HDMI board's single capture: wait for its done flag, then start
// reading the frames out.  A capture that never completes is given up and
// the frame is read live.
ci_error_code singleCapture(ci_camera_t* camera, USB_Bulk_Context* usb) {
    bool done = false;
    for (ci_u32 poll = 0; poll < kSingleCapturePolls && !done; poll++) {
        if (poll > 0) osal_sleep((ci_s32)kSingleCapturePollMs);
        ci_u32 reg3 = 0;
        if (_readRxRegister(camera, "ControlReg3", &reg3) != CI_CAMERA_SUCCESS) break;
        done = (reg3 & kCaptureDone) != 0;
    }
    if (!done) usb->memCaptureMode = 0;
    _USB_Bulk_RefreshHdmiOpMode(camera);
    if (usb->memCaptureMode != 3) return CI_CAMERA_SUCCESS;
    ci_u32 reg3 = 0;
    ci_error_code rc = _readRxRegister(camera, "ControlReg3", &reg3);
    reg3 = _merge(reg3, kOperationMode, kReadOutCode);
    if (rc == CI_CAMERA_SUCCESS) rc = _writeRxRegister(camera, "ControlReg3", reg3);
    if (rc == CI_CAMERA_SUCCESS) rc = _writeRxRegister(camera, "ControlReg3", reg3 | kReadOutStart);
    return rc;
}

// One line of the ring listing: the frame's padding, trigger, size changes
// and size as the board's diagnostics show them.
void logRingFrame(ci_camera_t* camera, ci_u32 frame) {
    ci_u32 eol = 0, trigger = 0, change = 0, low = 0, high = 0;
    _writeRxRegister(camera, "FBDiagSelect", frame);
    _readRxBitfield(camera, "FBDiag1", "EOLPadBytes", &eol);
    _readRxBitfield(camera, "FBDiag1", "TriggerFrame", &trigger);
    _readRxRegister(camera, "FBDiag2", &change);
    _readRxRegister(camera, "FBDiag3", &low);
    _readRxRegister(camera, "FBDiag4", &high);
    char line[96];
    snprintf(line, sizeof line, "   %5u   %3u   %7u   %6u   %u", frame, eol, trigger, change,
             (high << 16) | (low & 0xFFFF));
    CK_LOG(CI_LOG_DEBUG, line);
}

void logRing(ci_camera_t* camera, ci_u32 frames) {
    if (!ci_isDebugLogEnabled()) return;
    ci_u32 first = 0;
    _readRxRegister(camera, "FirstRingFrame", &first);
    CK_LOG(CI_LOG_DEBUG, "Ring buffers:");
    CK_LOG(CI_LOG_DEBUG, "   frame   eol   trigger   change   size");
    for (ci_u32 i = 0; i < frames; i++) logRingFrame(camera, first + i);
}

}  // namespace

ci_error_code _memCaptureGrabFrame(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (camera->num_chips == 0 || !_usb_frame_buffer_board(usb->rxBoard) || usb->memCaptureMode > 5) {
        return CI_CAMERA_SUCCESS;
    }
    if (usb->memCaptureMode == 3 && usb->rxBoard == kOlderHdmiBoard) return singleCapture(camera, usb);
    if (usb->memCaptureMode != 4) return CI_CAMERA_SUCCESS;
    if (hdmiReceiver(usb->rxBoard)) return waitForFrames(camera, usb->memCaptureNumFrames + 1, true);
    if (usb->memCaptureCycle == 1) _writeRxBitfield(camera, "ControlReg7", "FBTriggerSource", 255);
    const ci_error_code rc = waitForFrames(camera, usb->memCaptureNumFrames, usb->memCaptureCycle != 1);
    logRing(camera, usb->memCaptureNumFrames);
    return rc;
}

ci_error_code _setMemCapture(ci_camera_t* camera, ci_u32 frames) {
    USB_Bulk_Context* usb = _usb_context(camera);
    const ci_sensor_t* s = camera->sensor;
    if (!_usb_frame_buffer_board(usb->rxBoard) || s == nullptr || s->bufferSize == 0) return CI_CAMERA_NOT_SUPPORTED;
    const bool captureMode = usb->memCaptureMode >= 3 && usb->memCaptureMode <= 5;
    if (frames == 0 && captureMode) usb->memCaptureMode = usb->hdmiMode != 0 ? 1 : 0;
    // A request arms a capture: a single one on the older HDMI board, else
    // frames read out of the memory as they come.
    if (frames != 0 && !captureMode) usb->memCaptureMode = usb->rxBoard == kOlderHdmiBoard ? 3 : 4;
    ci_u64 fits = ((ci_u64)usb->memCaptureMB << 20) / s->bufferSize;
    if (fits < 1) fits = 1;
    if (frames >= fits) frames = (ci_u32)(fits > 1 ? fits - 1 : 1);
    usb->memCaptureNumFrames = frames;
    return _USB_Bulk_RefreshHdmiOpMode(camera);
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
