// What the board measures of the frames: the hardware frame counter, frame
// time, pixel clock and frame size, and the pixel clock's polarity it
// samples on.
#define CK_SOURCE "transport/usb_bulk_counters"
#include <initializer_list>

#include "transport/usb_private.h"

namespace {

bool receiverHas(ci_camera_t* camera, const char* name) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return usb->rxBoard > 1 && _rxRegister(camera, name) != nullptr;
}

bool sensorHas(const ci_camera_t* camera, const char* name) {
    const ci_sensor_t* s = camera->sensor;
    return s != nullptr && s->regs != nullptr && _regId(s->regs, s->num_regs, name) >= 0;
}

// The receiver's register when it has one, else the main FPGA's; false when
// neither chip has it.
bool readMeasured(ci_camera_t* camera, const char* name, ci_u32* value, ci_error_code* rc) {
    if (receiverHas(camera, name)) {
        *rc = _readRxRegister(camera, name, value);
        return true;
    }
    if (_kiteRegister(camera, name) != nullptr) {
        *rc = _readKiteRegister(camera, name, value);
        return true;
    }
    return false;
}

constexpr ci_u32 kHzPerKHz = 1000;

}  // namespace

ci_error_code _usb_pixclk_freq(ci_camera_t* camera, ci_u32* value) {
    ci_u32 khz = 0;
    ci_error_code rc = CI_CAMERA_SUCCESS;
    if (!readMeasured(camera, "PixelClockKHz", &khz, &rc)) return CI_CAMERA_NOT_SUPPORTED;
    *value = khz * kHzPerKHz;
    return rc;
}

// Lines in the upper half, pixels a line in the lower half.
ci_error_code _usb_detect_frame_size(ci_camera_t* camera, ci_u32* value) {
    const bool onReceiver = receiverHas(camera, "LineWidth");
    if (!onReceiver && _kiteRegister(camera, "LineWidth") == nullptr) return CI_CAMERA_NOT_SUPPORTED;
    ci_u32 lines = 0, width = 0;
    ci_error_code rc =
        onReceiver ? _readRxRegister(camera, "ActiveLines", &lines) : _readKiteRegister(camera, "ActiveLines", &lines);
    if (rc == CI_CAMERA_SUCCESS) {
        rc = onReceiver ? _readRxRegister(camera, "LineWidth", &width) : _readKiteRegister(camera, "LineWidth", &width);
    }
    *value = (lines << 16) | (width & 0xFFFF);
    return rc;
}

// Register traffic cannot disturb a frame the board keeps in its memory
// until it is read, so boards with frame memory take both at once.
ci_error_code _usb_simul_reg_framegrab(ci_camera_t* camera, ci_u32* value) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    *value = usb->kiteMB != 0 || _usb_frame_buffer_board(usb->rxBoard) ? 1 : 0;
    return CI_CAMERA_SUCCESS;
}

// The receiver's counter, else the sensor's own.
ci_error_code _usb_hw_frame_count(ci_camera_t* camera, ci_u32* value) {
    if (receiverHas(camera, "FrameCount")) return _readRxRegister(camera, "FrameCount", value);
    for (const char* name : {"IFRMSLO", "FrameCount"}) {
        if (sensorHas(camera, name)) return ci_ReadSensorRegStr(camera, name, "", value);
    }
    return CI_CAMERA_NOT_SUPPORTED;
}

ci_error_code _usb_hw_frame_time(ci_camera_t* camera, ci_u32* value) {
    const bool rx = receiverHas(camera, "FrameTimeLS");
    ci_u32 low = 0, high = 0;
    ci_error_code rc =
        rx ? _readRxRegister(camera, "FrameTimeLS", &low) : _readKiteRegister(camera, "FrameTimeLS", &low);
    if (rc == CI_CAMERA_SUCCESS) {
        rc = rx ? _readRxRegister(camera, "FrameTimeMS", &high) : _readKiteRegister(camera, "FrameTimeMS", &high);
    }
    *value = (high << 16) | (low & 0xFFFF);
    return rc;
}

// The newest board samples on the edge its parallel input is told.
ci_error_code _usb_update_clock_polarity(ci_camera_t* camera) {
    if (camera->productID != CI_KITE_3) return CI_CAMERA_SUCCESS;
    return _writeKiteBitfield(camera, "ParallelControls", "InvertClk", _ctx(camera)->pixclk_polarity ? 0 : 1);
}
