// Reading one frame from the board's bulk pipe: request sizing, the
// outcome of the transfers, the marker that closes the frame, the repair of
// a frame 2048 bytes late, draining after a lost frame, the short frames a
// board sends on purpose, and the post-processing every frame passes.
#define CK_SOURCE "transport/usb_bulk_grab"
#include <cstdio>
#include <cstring>
#include <vector>

#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kScratchBytes = 4096;
constexpr ci_u32 kLateBytes = 2048;
constexpr ci_u32 kDrainLimit = 0x2000000;  // 32 MiB
constexpr ci_u32 kTenBitFirmware = 0x10040003;

ci_u32 roundUp(ci_u32 value, ci_u32 step) { return step == 0 ? value : (value + step - 1) / step * step; }

// The marker packet at `offset` lies inside a buffer of `length` bytes.
bool markerFits(const USB_Bulk_Context* usb, ci_u32 offset, ci_u32 length) {
    const ci_u32 span = usb->markerPacketSize > usb->markerSize ? usb->markerPacketSize : usb->markerSize;
    return span <= length && offset <= length - span;
}

bool markerAt(ci_camera_t* camera, const ci_u8* buffer, ci_u32 offset, ci_u32 length) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return markerFits(usb, offset, length) && _USB_Bulk_EOFMarker(camera, buffer, offset);
}

struct Grab {
    ci_camera_t* camera;
    USB_Bulk_Context* usb;
    ci_u8* dest;    // buffer + pixelOffset
    ci_u32 length;  // bytes from dest to the end of the buffer
    ci_u32 bytesExpected;
    ci_u32 markerStart;
    ci_u32 total;
};

// The transfers of one frame and their outcome.
ci_error_code readFrame(Grab& g) {
    const USB_Bulk_Context* usb = g.usb;
    ci_u32 remaining = g.length;
    ci_u32 requested = 0;
    ci_error_code rc = CI_CAMERA_SUCCESS;
    while (rc == CI_CAMERA_SUCCESS && remaining > 0) {
        const ci_u32 request =
            usb->maxTransferSize >= remaining ? roundUp(remaining, usb->maxPacketSize) : usb->maxTransferSize;
        const ci_u32 room = g.length - requested;
        ci_u32 got = 0;
        if (!_CILIBUSB_GrabFrame(g.usb, g.dest + requested, request < room ? request : room, &got)) {
            return CI_GRAB_FRAME_ERROR;
        }
        remaining = request >= remaining ? 0 : remaining - request;
        requested += request;
        g.total += got;
        if (remaining == 0 && g.total < g.bytesExpected)
            rc = CI_NOT_ENOUGH_DATA_ERROR;
        else if (remaining == 0 && g.total > g.bytesExpected)
            rc = CI_EOF_MARKER_ERROR;
        else if (g.total != g.bytesExpected && got != request)
            rc = CI_NOT_ENOUGH_DATA_ERROR;
    }
    return rc;
}

// Reads and drops 4096-byte blocks while they come full, up to 32 MiB.
void drain(USB_Bulk_Context* usb, ci_u8* scratch) {
    for (ci_u32 drained = 0; drained < kDrainLimit; drained += kScratchBytes) {
        ci_u32 got = 0;
        if (!_CILIBUSB_GrabFrame(usb, scratch, kScratchBytes, &got) || got != kScratchBytes) return;
    }
}

// After too many bytes: a frame exactly 2048 bytes late is moved into
// place from the bytes that follow it; anything else is drained.
ci_error_code resynchronise(Grab& g) {
    USB_Bulk_Context* usb = g.usb;
    std::vector<ci_u8> scratch(kScratchBytes, 0);
    ci_u32 got = 0;
    _CILIBUSB_GrabFrame(usb, scratch.data(), kScratchBytes, &got);
    const ci_u32 rawSize = _ctx(g.camera)->raw_buf_size;
    const ci_u32 trailer = g.camera->sensor->bufferSize - rawSize;
    for (ci_u32 at = 0; usb->maxPacketSize != 0 && at < got; at += usb->maxPacketSize) {
        if (!markerAt(g.camera, scratch.data(), at, got)) continue;
        if (trailer + usb->bytesReceived != kLateBytes || g.total < kLateBytes || g.total > g.length) break;
        memmove(g.dest, g.dest + kLateBytes, g.total - kLateBytes);
        memcpy(g.dest + g.total - kLateBytes, scratch.data(), kLateBytes);
        _ctx(g.camera)->frame_data.imageBytesReturned = g.total - kLateBytes + usb->marker_byteCount;
        return CI_CAMERA_SUCCESS;
    }
    drain(usb, scratch.data());
    return CI_EOF_MARKER_ERROR;
}

bool isBayer(const ci_sensor_t* s) { return ci_IsBayerImageType(s->imageType) != 0; }

// Short frames some sensors send on purpose.
bool shortFrameAccepted(ci_camera_t* camera) {
    const ci_sensor_t* s = camera->sensor;
    const ci_u32 got = _ctx(camera)->frame_data.imageBytesReturned;
    const ci_u32 pixels = s->width * s->height;
    const ci_sensor_types t = s->sensorType;
    if (isBayer(s) && (t == CI_RESERVED_SENSOR71 || t == CI_RESERVED_SENSOR78 || t == CI_RESERVED_SENSOR79)) {
        return true;
    }
    if ((s->imageType == CI_YUV420 || s->imageType == CI_M420) && got == pixels * 3 / 2) return true;
    return s->imageType == CI_BAYER_6 && got == pixels * 3 / 4;
}

// A frame that ended early: find its marker and decide whether it stands.
ci_error_code shortFrame(Grab& g) {
    USB_Bulk_Context* usb = g.usb;
    ci_frame_data_t* fd = &_ctx(g.camera)->frame_data;
    if (usb->pixelPack && markerAt(g.camera, g.dest, fd->bytesReturned - usb->markerPacketSize, g.length)) {
        return CI_CAMERA_SUCCESS;
    }
    if (usb->hdmiKite2Crop != 0) {
        _USB_Bulk_HdmiCrop(g.camera, g.dest);
        return CI_CAMERA_SUCCESS;
    }
    if (usb->markerSize == 0) return CI_NOT_ENOUGH_DATA_ERROR;
    const bool atEnd =
        g.total > usb->markerPacketSize && markerAt(g.camera, g.dest, g.total - usb->markerPacketSize, g.length);
    if (!atEnd) {
        fd->imageBytesReturned = 0;
        const ci_u32 last = g.camera->sensor->bufferSize - usb->markerPacketSize;
        for (ci_u32 at = 0; usb->maxPacketSize != 0 && at <= last; at += usb->maxPacketSize) {
            if (markerAt(g.camera, g.dest, at, g.length)) break;
        }
    }
    if (shortFrameAccepted(g.camera)) return CI_CAMERA_SUCCESS;
    // A live frame through the memory came short: set the memory up afresh.
    if (!ci_IsJpegImageType(g.camera->sensor->imageType) && usb->memCaptureMode == 1) {
        _USB_Bulk_RefreshHdmiOpMode(g.camera);
    }
    return CI_NOT_ENOUGH_DATA_ERROR;
}

void logFrame(ci_camera_t* camera, const USB_Bulk_Context* usb, const ci_u8* buffer, ci_error_code rc) {
    if (!ci_isDebugLogEnabled()) return;
    char type[CI_STRING_LEN] = "";
    ci_GetImageTypeStr(camera->sensor->imageType, type);
    char line[512];
    snprintf(line, sizeof line, "grabFrame -> %u bytes - %s - %s - ThreadID: TBD",
             _ctx(camera)->frame_data.imageBytesReturned, type, ci_getErrorSymbol(rc));
    CK_LOG(CI_LOG_DEBUG, line);
    if (usb->productID == CI_KITE_3) {
        CK_LOG(
            CI_LOG_DEBUG,
            "   frameCount  frameTime   frameSize   frameLines  lineSize    gpio  frameStatus  eolPadBytes  byteCount");
        snprintf(line, sizeof line,
                 "   0x%04X      0x%08X  0x%08X  0x%08X  0x%08X  0x%02X  0x%02X         0x%02X         0x%04X   ",
                 usb->marker_frameCount, usb->marker_frameTime, usb->marker_frameSize, usb->marker_frameLines,
                 usb->marker_lineSize, usb->marker_gpio, usb->marker_frameStatus, usb->marker_eolPadBytes,
                 usb->marker_byteCount);
        CK_LOG(CI_LOG_DEBUG, line);
    }
    if (ci_IsJpegImageType(camera->sensor->imageType)) {
        size_t n = 0;
        for (ci_u32 i = 0; i < 32; i++) n += (size_t)snprintf(line + n, sizeof line - n, "%02X ", buffer[i]);
        CK_LOG(CI_LOG_DEBUG, line);
    }
}

ci_error_code checkCanGrab(ci_camera_t* camera, USB_Bulk_Context* usb, ci_u32 bufferSizeCheck) {
    if (camera->sensor == nullptr) return CK_ERR(CI_SENSOR_NOT_INITIALIZED, "no sensor is attached");
    if (camera->sensor->bufferSize > bufferSizeCheck) return CI_BUFFER_SIZE_ERROR;
    if (_CILIBUSB_CheckDriverOpen(usb)) return CI_CAMERA_ERROR;
    return CI_CAMERA_SUCCESS;
}

// Sets the transfer plan of a frame and clears the stale marker.
void plan(Grab& g, ci_u8* buffer) {
    USB_Bulk_Context* usb = g.usb;
    const ci_sensor_t* s = g.camera->sensor;
    g.dest = buffer + usb->pixelOffset;
    g.length = s->bufferSize > usb->pixelOffset ? s->bufferSize - usb->pixelOffset : 0;
    g.bytesExpected = g.length;
    g.markerStart = 0;
    if (usb->markerSize != 0 && g.length + usb->markerPacketSize >= usb->maxPacketSize + usb->markerPacketSize) {
        g.bytesExpected = g.length - usb->maxPacketSize + usb->markerPacketSize;
        g.markerStart = g.bytesExpected - usb->markerPacketSize;
        if (markerFits(usb, g.markerStart, g.length)) _USB_Bulk_ClearMarker(usb, g.dest + g.markerStart);
    }
    _ctx(g.camera)->frame_data.bytesRequested = g.bytesExpected;
}

ci_error_code grab(ci_camera_t* camera, USB_Bulk_Context* usb, ci_u8* buffer) {
    _common_context_t* ctx = _ctx(camera);
    if (camera->sensor->pixelBits == 10 && usb->firmwareVersion == kTenBitFirmware) {
        USB_Bulk_UpdateFrameSize(camera, 0, 0, 10, 0);
    }
    const ci_error_code captured = _memCaptureGrabFrame(camera);
    if (captured != CI_CAMERA_SUCCESS) {
        // The capture is given up; the frame is lost.
        usb->memCaptureMode = 0;
        _memCaptureGrabFrame(camera);
        return captured;
    }
    Grab g{camera, usb, nullptr, 0, 0, 0, 0};
    plan(g, buffer);
    ci_error_code rc = readFrame(g);
    ci_frame_data_t* fd = &ctx->frame_data;
    fd->bytesReturned = g.total;
    fd->imageBytesReturned = ctx->raw_buf_size < g.total ? ctx->raw_buf_size : g.total;
    fd->numRegsReturned = 0;
    ctx->lastFrameNumber = fd->frameNumber;
    const bool found = usb->markerSize != 0 && markerAt(camera, g.dest, g.markerStart, g.length);
    if (rc == CI_EOF_MARKER_ERROR && found) rc = CI_CAMERA_SUCCESS;
    if (rc == CI_EOF_MARKER_ERROR && usb->markerSize != 0) rc = resynchronise(g);
    if (rc == CI_NOT_ENOUGH_DATA_ERROR) rc = shortFrame(g);
    const bool frameBuffer = _usb_frame_buffer_board(usb->rxBoard);
    if (rc == CI_GRAB_FRAME_ERROR && usb->memCaptureMode == 1 && frameBuffer && usb->rxBoard != 9) {
        usb->memCaptureMode = 0;
        _USB_Bulk_RefreshHdmiOpMode(camera);
    }
    if (rc == CI_CAMERA_SUCCESS && usb->pixelPack) rc = _USB_Bulk_UnpackData(camera, g.dest);
    _repackLsbAligned8(camera, g.dest);
    _unSwizzleBuffer(camera, g.dest);
    return rc;
}

}  // namespace

ci_error_code USB_Bulk_GrabFrame(ci_camera_t* camera, ci_u8* pInBuffer, ci_u32 bufferSizeCheck) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr || pInBuffer == nullptr) return CK_ERR(CI_CAMERA_ERROR, "no board or no buffer");
    if (usb->rxBoard == 10) _usb_set_output_port(camera, 0);
    ci_error_code rc = checkCanGrab(camera, usb, bufferSizeCheck);
    if (rc == CI_CAMERA_SUCCESS) {
        rc = grab(camera, usb, pInBuffer);
        logFrame(camera, usb, pInBuffer + usb->pixelOffset, rc);
    }
    return ci_Errorlog(rc, -1, "", CK_SOURCE, __func__, __LINE__);
}

ci_error_code USB_Bulk_GetFrameData(ci_camera_t* camera, ci_frame_data_t* frameData) {
    if (_usb_context(camera) == nullptr || frameData == nullptr) return CI_CAMERA_ERROR;
    *frameData = _ctx(camera)->frame_data;
    return CI_CAMERA_SUCCESS;
}
