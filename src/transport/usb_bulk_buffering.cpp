// The board's frame memory: its size, and how many frames (1 to 3) the
// board keeps in it.
#define CK_SOURCE "transport/usb_bulk_buffering"
#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kLineUnit = 32768;

bool buffersFrames(ci_u32 product) {
    return product == CI_KITE_2 || product == CI_KESTR || product == CI_KESTR_XL || product == CI_KITE_2X ||
           product == CI_KITE_3;
}

// The count in bits 2-3 of the format register, written with the FPGA
// held in reset.
ci_error_code programOlderBoard(ci_camera_t* camera, ci_u32 count, bool requested) {
    ci_u32 old = 0;
    ci_error_code rc = _readKiteRegister(camera, "FORMAT_CONTROL_REG", &old);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    const ci_u32 value = _merge(old, 0xC, count);
    if (value == old && !requested) return CI_CAMERA_SUCCESS;
    rc = _writeKiteRegister(camera, "RESET_REG", 1);
    if (rc == CI_CAMERA_SUCCESS) rc = _writeKiteRegister(camera, "FORMAT_CONTROL_REG", value);
    const ci_error_code released = _writeKiteRegister(camera, "RESET_REG", 0);
    if (rc == CI_CAMERA_SUCCESS) rc = released;
    return rc == CI_CAMERA_SUCCESS ? _resetFifo(camera) : rc;
}

ci_error_code programNewestBoard(ci_camera_t* camera, ci_u32 count, ci_u32 frameBytes) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (count < 2) count = 2;
    ci_error_code rc = _writeKiteBitfield(camera, "ControlReg3", "FixedFrameSize", 1);
    if (rc == CI_CAMERA_SUCCESS) rc = _writeKiteBitfield(camera, "ControlReg3", "SDRAMTripleBuffer", count == 3);
    ci_u32 lineLength = frameBytes / kLineUnit;
    if (lineLength > kLineUnit) lineLength = kLineUnit;
    if (_ctx(camera)->bitsPerClock > 8) lineLength /= 2;
    if (rc == CI_CAMERA_SUCCESS) rc = _writeKiteRegister(camera, "SWLineLength", lineLength);
    if (rc == CI_CAMERA_SUCCESS)
        rc = _writeKiteRegister(camera, "SWFrameLines", lineLength ? frameBytes / lineLength : 0);
    if (rc == CI_CAMERA_SUCCESS && usb->rxBoard > 1 && usb->rxChip != usb->kiteChip) {
        rc = _writeRxBitfield(camera, "ControlReg3", "FixedFrameSize", usb->memCaptureMode > 3);
    }
    return rc;
}

}  // namespace

void _initBoardPreSensInit(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    switch (usb->productID) {
        case CI_KESTR:
        case CI_KESTR_XL:
        case CI_KITE_2X:
            usb->kiteMB = 64;
            break;
        case CI_KITE_2:
            usb->kiteMB = camera->productVersion > 175 ? 16 : 0;
            break;
        case CI_KITE_3: {
            ci_u32 large = 0;
            _readRxBitfield(camera, "ControlReg6", "SDRAMSize", &large);
            usb->kiteMB = large ? 512 : 128;
            _ctx(camera)->rxType = CI_RX_PARALLEL;
            _writeKiteBitfield(camera, "ControlReg1", "FX3InterfaceMode", 1);
            break;
        }
        default:
            usb->kiteMB = 0;
    }
    if (usb->productID == 0x1006) _usb_request(camera, VR_POWER_SENSOR, kUsbDirOut, 1, 0, 0, nullptr);
    if (usb->productID == CI_KITE_2 || usb->productID == CI_KITE_2X || usb->productID == CI_KITE_3) {
        _SetMode(camera, CI_REG_ADDR_SIZE, 8);
        _SetMode(camera, CI_REG_DATA_SIZE, 16);
        _USB_Bulk_GetRxBoardType(camera);
        _USB_Bulk_GetStereoBoard(camera);
        _SetMode(camera, CI_REG_ADDR_SIZE, 8);
        _SetMode(camera, CI_REG_DATA_SIZE, 16);
    }
}

ci_u32 _usb_board_frame_bytes(ci_camera_t* camera) {
    const ci_sensor_t* s = camera->sensor;
    const _common_context_t* ctx = _ctx(camera);
    const USB_Bulk_Context* usb = _usb_context(camera);
    if (ci_IsJpegImageType(s->imageType)) return ctx->raw_buf_size;
    const ci_u64 pixels = (ci_u64)s->width * s->height;
    const bool newest = usb->productID == CI_KITE_3;
    if (s->pixelBits == 10) return (ci_u32)(newest ? pixels * 2 : pixels * 4 / 3);
    if (s->pixelBits == 20) return (ci_u32)(newest ? pixels * 4 : pixels * 8 / 3);
    ci_u32 bytesPerClock = _bytesPerClock(camera);
    if (s->imageType == CI_BAYER_STEREO && ctx->bitsPerClock == 16 && ctx->clocksPerPixel == 1) bytesPerClock = 1;
    if (ctx->lsbAligned && ctx->rxType == CI_RX_PARALLEL && ctx->bitsPerClock < 9 &&
        _rxBitfield(camera, "ParallelControls", "LSBDataAlign") == 0) {
        bytesPerClock = 2;
    }
    return (ci_u32)(pixels * ctx->clocksPerPixel * bytesPerClock);
}

ci_u32 _usb_buffer_count(ci_u32 frameBytes, ci_u32 memoryMB, ci_u32 requested) {
    const ci_u64 memory = (ci_u64)memoryMB << 20;
    ci_u32 count = 3;
    if (frameBytes > memory / 3) count = 2;
    if (frameBytes > memory / 2) count = 1;
    if (requested != 0 && requested < count) count = requested;
    return count;
}

ci_error_code USB_Bulk_SetHardwareBuffering(ci_camera_t* camera, ci_u32 requested) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr || !buffersFrames(usb->productID)) return CI_CAMERA_NOT_SUPPORTED;
    if (camera->sensor == nullptr) return CI_SENSOR_NOT_INITIALIZED;
    const ci_u32 frameBytes = _usb_board_frame_bytes(camera);
    const ci_u32 count = _usb_buffer_count(frameBytes, usb->kiteMB, requested);
    if (usb->productID == CI_KITE_3) return programNewestBoard(camera, count, frameBytes);
    return programOlderBoard(camera, count, requested != 0);
}
