// Frame geometry of a USB board: pixel clocking, the raw image size, the
// per-frame buffer the application allocates and the largest bulk request.
#define CK_SOURCE "transport/usb_bulk_sizes"
#include <cstdlib>

#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kOneMiB = 0x100000;
constexpr ci_u32 kLargeTransfer = 6720000;
constexpr ci_u32 kLargeSensorPixels = 4320000;

ci_u32 roundUp(ci_u32 value, ci_u32 step) { return step == 0 ? value : (value + step - 1) / step * step; }

// Tells the board whether it sends one or two bytes per pixel clock.
ci_error_code sendBytesPerClock(ci_camera_t* camera, USB_Bulk_Context* usb) {
    ci_u32 bytes = _bytesPerClock(camera);
    if (bytes > 2) bytes = 2;
    if (usb->convert_8_to_16 && bytes == 1) bytes = 2;
    if (bytes != 1 && bytes != 2) return CK_ERR(CI_CAMERA_ERROR, "the board sends one or two bytes per clock");
    return _usb_request(camera, VR_BYTE_WORD, kUsbDirOut, (ci_u16)(bytes << 11), 0, 0, nullptr);
}

ci_sensor_t* ensureSensor(ci_camera_t* camera) {
    if (camera->sensor == nullptr) camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    return camera->sensor;
}

}  // namespace

ci_u32 get_max_transfer_size(ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr) return kLargeTransfer;
    switch (usb->productID) {
        case 0x1002:
        case 0x1007:
        case 0x100B:
        case 0x100C:
        case 0x100D:
        case 0x100E:
            return kOneMiB;
        case 0x1004:
        case 0x1009: {
            const ci_sensor_t* s = camera->sensor;
            const bool large = s != nullptr && (ci_u64)s->width * s->height > kLargeSensorPixels;
            return large ? kOneMiB : kLargeTransfer;
        }
        default:
            return kLargeTransfer;
    }
}

ci_error_code USB_Bulk_InitTransport(ci_camera_t* camera, ci_u32 nBitsPerClock, ci_u32 nClocksPerPixel,
                                     ci_s32 nPolarity, ci_s32 nPixelOffset, ci_s32 noFWCalls) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr || _CILIBUSB_CheckDriverOpen(usb)) return CK_ERR(CI_CAMERA_ERROR, "the board is not open");
    _common_context_t* ctx = _ctx(camera);
    ctx->bitsPerClock = nBitsPerClock;
    ctx->clocksPerPixel = nClocksPerPixel;
    ctx->pixclk_polarity = nPolarity;
    if (ctx->sg_context != nullptr) {
        ctx->sg_context->bitsPerClock = nBitsPerClock;
        ctx->sg_context->clocksPerPixel = nClocksPerPixel;
        ctx->sg_context->pixclk_polarity = (ci_u32)nPolarity;
    }
    usb->pixelOffset = (ci_u32)nPixelOffset;
    if (nPixelOffset != 0) usb->pixelOffsetSet = 1;
    if (noFWCalls) return CI_CAMERA_SUCCESS;
    const ci_error_code rc = _usb_request(camera, VR_BYTE_WORD, kUsbDirOut, (ci_u16)nBitsPerClock, 0, 0, nullptr);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return _usb_request(camera, VR_PIXCLK_CONFIG, kUsbDirOut, (ci_u16)nPolarity, 0, 0, nullptr);
}

ci_error_code USB_Bulk_UpdateBufferSize(ci_camera_t* camera, ci_u32 rawBufSize) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr || camera->sensor == nullptr) return CI_CAMERA_ERROR;
    camera->sensor->bufferSize =
        roundUp(rawBufSize, usb->maxPacketSize) + roundUp(usb->markerPacketSize, usb->maxPacketSize) + usb->pixelOffset;
    _ctx(camera)->raw_buf_size = rawBufSize;
    return CI_CAMERA_SUCCESS;
}

ci_error_code USB_Bulk_UpdateRawBufferSize(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    ci_sensor_t* s = camera->sensor;
    if (usb == nullptr || s == nullptr) return CI_CAMERA_ERROR;
    _common_context_t* ctx = _ctx(camera);
    ci_u32 raw = s->width * s->height * s->pixelBytes;
    if (usb->productID == CI_KITE_1 && s->sensorType != 1 && !usb->pixelOffsetSet && ctx->clocksPerPixel != 0) {
        usb->pixelOffset = s->pixelBytes / ctx->clocksPerPixel;
    }
    if (ctx->lsbAligned && ctx->rxType == CI_RX_PARALLEL && ctx->bitsPerClock < 9) raw *= 2;
    return USB_Bulk_UpdateBufferSize(camera, raw);
}

ci_error_code USB_Bulk_UpdateFrameSize(ci_camera_t* camera, ci_u32 nWidth, ci_u32 nHeight, ci_s32 nBitsPerClock,
                                       ci_s32 nClocksPerPixel) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr || _CILIBUSB_CheckDriverOpen(usb)) return CK_ERR(CI_CAMERA_ERROR, "the board is not open");
    ci_sensor_t* s = ensureSensor(camera);
    if (s == nullptr) return CK_ERR(CI_CAMERA_ERROR, "cannot allocate a sensor description");
    _common_context_t* ctx = _ctx(camera);
    const bool bitsChanged = nBitsPerClock != 0 && (ci_u32)nBitsPerClock != ctx->bitsPerClock;
    const bool clockingChanged =
        bitsChanged || (nClocksPerPixel != 0 && (ci_u32)nClocksPerPixel != ctx->clocksPerPixel);
    const bool changed =
        clockingChanged || (nWidth != 0 && nWidth != s->width) || (nHeight != 0 && nHeight != s->height);
    if (nWidth != 0) s->width = nWidth;
    if (nHeight != 0) s->height = nHeight;
    if (nBitsPerClock != 0) ctx->bitsPerClock = (ci_u32)nBitsPerClock;
    if (nClocksPerPixel != 0) ctx->clocksPerPixel = (ci_u32)nClocksPerPixel;
    s->pixelBits = _pixelBits(camera);
    s->pixelBytes = _pixelBytes(camera);
    const ci_error_code rc = USB_Bulk_UpdateRawBufferSize(camera);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    // The boards around the FPGA follow the frame; a board that does not
    // answer does not stop the camera's own change.
    {
        UsbKeepSizes keep(camera);
        _USB_Bulk_UpdateRxGeometry(camera);
        _USB_Bulk_UpdateStereoGeometry(camera);
        _USB_Bulk_ApplyHdmiMode(camera);
    }
    if (bitsChanged && usb->productID != CI_KITE_3) {
        const ci_error_code sent = sendBytesPerClock(camera, usb);
        if (sent != CI_CAMERA_SUCCESS) return sent;
    }
    if (changed) {
        const ci_error_code pixel = _updatePixel(camera);
        if (pixel != CI_CAMERA_SUCCESS) return pixel;
        if (usb->kiteMB != 0) USB_Bulk_SetHardwareBuffering(camera, ctx->hw_buffering);
    }
    _updateImageType(camera);
    return clockingChanged ? USB_Bulk_SetHardwareUnswizzle(camera) : CI_CAMERA_SUCCESS;
}
