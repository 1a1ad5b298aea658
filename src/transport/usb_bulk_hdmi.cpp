// The HDMI output of the boards with frame memory: the output timing of each
// HDMI mode, and the memory's operation mode (live, live with HDMI output,
// capture) programmed from the capture state.
#define CK_SOURCE "transport/usb_bulk_hdmi"
#include "transport/usb_private.h"

namespace {

// Output timing of an HDMI mode; 0 lines and pixels take the sensor's frame.
struct HdmiTiming {
    ci_u32 mode;
    ci_u32 lines;
    ci_u32 pixels;
    ci_u32 videoClock;
};

constexpr HdmiTiming kHdmiTimings[] = {
    {0, 0, 0, 0},  // output off; the memory keeps the sensor's frame
    {1, 1080, 1920, 1},
    {2, 720, 1280, 0},
    {3, 0, 0, 0},  // the sensor's frame as it is
};

// The memory's operation code for each capture mode: live frames go
// straight through (the newest board's video boards stream from memory in
// their own live code), through the memory with the HDMI output on, or into
// the memory for a capture that is read out afterwards.
constexpr ci_u32 kLiveCode = 0;
constexpr ci_u32 kVideoBoardLiveCode = 8;
constexpr ci_u32 kCaptureCodes[] = {kLiveCode, 1, 2, 3, 4, 4};

const HdmiTiming* timingOf(ci_u32 mode) {
    for (const HdmiTiming& t : kHdmiTimings) {
        if (t.mode == mode) return &t;
    }
    return nullptr;
}

bool videoBoard(ci_u32 type) { return type == 6 || type == 7 || type == 8 || type == 10; }

ci_u32 operationCode(const USB_Bulk_Context* usb) {
    if (usb->memCaptureMode == 0 && usb->productID == CI_KITE_3 && videoBoard(usb->rxBoard)) {
        return kVideoBoardLiveCode;
    }
    return kCaptureCodes[usb->memCaptureMode];
}

void keepFirst(ci_error_code* first, ci_error_code rc) {
    if (*first == CI_CAMERA_SUCCESS) *first = rc;
}

}  // namespace

bool _usb_hdmi_timing_board(ci_u32 rxBoard) { return rxBoard == 4 || (rxBoard >= 6 && rxBoard <= 9); }

ci_error_code _USB_Bulk_ApplyHdmiMode(ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    if (!_usb_hdmi_timing_board(usb->rxBoard)) return CI_CAMERA_SUCCESS;
    const HdmiTiming* t = timingOf(usb->hdmiMode);
    if (t == nullptr) return CI_CAMERA_NOT_SUPPORTED;
    const ci_sensor_t* s = camera->sensor;
    const ci_u32 lines = t->lines != 0 ? t->lines : s != nullptr ? s->height : 0;
    const ci_u32 pixels = t->pixels != 0 ? t->pixels : s != nullptr ? s->width : 0;
    const ci_u32 chip = usb->hdmiChip;
    ci_error_code first = CI_CAMERA_SUCCESS;
    keepFirst(&first, _writeSomeBitfield(camera, chip, "ControlReg2", "HdmiEnable", usb->hdmiMode != 0));
    keepFirst(&first, _writeSomeBitfield(camera, chip, "ControlReg2", "VideoClkSel", t->videoClock));
    keepFirst(&first, _writeHdmiRegister(camera, "HDMIActiveLines", lines));
    keepFirst(&first, _writeHdmiRegister(camera, "HDMILineWidth", pixels));
    return first;
}

ci_error_code _USB_Bulk_SetHdmiMode(ci_camera_t* camera, ci_u32 mode) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (!_usb_hdmi_timing_board(usb->rxBoard)) return CI_CAMERA_NOT_SUPPORTED;
    if (timingOf(mode) == nullptr) return CK_ERR(CI_CAMERA_NOT_SUPPORTED, "no such HDMI mode");
    usb->hdmiMode = mode;
    // A capture keeps its mode; live frames pass the memory while HDMI is on.
    if (usb->memCaptureMode <= 1) usb->memCaptureMode = mode != 0 ? 1 : 0;
    const ci_error_code rc = _USB_Bulk_ApplyHdmiMode(camera);
    const ci_error_code refreshed = _USB_Bulk_RefreshHdmiOpMode(camera);
    return rc != CI_CAMERA_SUCCESS ? rc : refreshed;
}

ci_error_code _USB_Bulk_RefreshHdmiOpMode(ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    if (!_usb_frame_buffer_board(usb->rxBoard) || usb->memCaptureMode > 5) return CI_CAMERA_SUCCESS;
    const bool capturing = usb->memCaptureMode >= 3;
    ci_error_code first = _writeRxBitfield(camera, "ControlReg3", "SDRAMMode", operationCode(usb));
    keepFirst(&first, _writeRxRegister(camera, "FBCaptureFrames", capturing ? usb->memCaptureNumFrames : 0));
    return first;
}
