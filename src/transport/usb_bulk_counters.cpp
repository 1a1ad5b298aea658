// What the board measures of the frames: the hardware frame counter and
// frame time, and the pixel clock's polarity it samples on.
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

}  // namespace

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
