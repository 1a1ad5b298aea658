// The end-of-frame marker packet: finding it, decoding its layouts and
// clearing a stale one before a frame is read over it.
#define CK_SOURCE "transport/usb_bulk_marker"
#include <cstring>

#include "transport/usb_private.h"

namespace {

ci_u32 be16(const ci_u8* p) { return ((ci_u32)p[0] << 8) | p[1]; }
ci_u32 le32(const ci_u8* p) { return p[0] | ((ci_u32)p[1] << 8) | ((ci_u32)p[2] << 16) | ((ci_u32)p[3] << 24); }

void zeroDecoded(USB_Bulk_Context* usb) {
    usb->marker_frameCount = usb->marker_frameTime = usb->marker_frameSize = 0;
    usb->marker_frameLines = usb->marker_lineSize = usb->marker_gpio = 0;
    usb->marker_frameStatus = usb->marker_eolPadBytes = usb->marker_byteCount = 0;
}

// Where the byte count of the last data packet sits in the packet.
ci_u32 byteCountAt(const USB_Bulk_Context* usb) {
    return usb->productID != CI_KITE_3 && usb->markerPacketSize == 512 ? 510 : 254;
}

void decodeExtended(USB_Bulk_Context* usb, const ci_u8* p) {
    usb->marker_frameTime = le32(p + kMarkerFrameTimeAt);
    usb->marker_frameSize = le32(p + kMarkerFrameSizeAt);
    usb->marker_frameLines = le32(p + kMarkerFrameLinesAt);
    usb->marker_lineSize = le32(p + kMarkerLineSizeAt);
    usb->marker_gpio = p[kMarkerGpioAt];
    usb->marker_frameStatus = p[kMarkerFrameStatusAt];
    usb->marker_eolPadBytes = p[kMarkerEolPadAt];
}

ci_u32 bytesReceivedAt(const USB_Bulk_Context* usb, ci_u32 offset) {
    ci_s64 received = offset;
    if (offset != 0 && usb->marker_byteCount != 0)
        received = (ci_s64)offset - usb->maxPacketSize + usb->marker_byteCount;
    if (usb->productID == CI_KITE_3 && usb->hdmiMode == 0) received -= usb->marker_eolPadBytes;
    return received < 0 ? 0 : (ci_u32)received;
}

void publish(ci_camera_t* camera, const USB_Bulk_Context* usb) {
    ci_frame_data_t* fd = &_ctx(camera)->frame_data;
    fd->imageBytesReturned = usb->bytesReceived;
    fd->frameNumber = usb->marker_frameCount;
    fd->frameTime = usb->marker_frameTime;
    fd->frameLines = usb->marker_frameLines;
    fd->lineSize = usb->marker_lineSize;
    fd->gpio = usb->marker_gpio;
    fd->frameStatus = usb->marker_frameStatus;
    fd->eolPadBytes = usb->marker_eolPadBytes;
}

}  // namespace

bool _USB_Bulk_EOFMarker(ci_camera_t* camera, const ci_u8* buffer, ci_u32 offset) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr || usb->markerSize == 0) return false;
    const ci_u8* p = buffer + offset;
    if (memcmp(p, usb->marker, usb->markerSize) != 0) {
        zeroDecoded(usb);
        return false;
    }
    usb->marker_frameCount = be16(p + kMarkerFrameCountAt);
    usb->marker_byteCount = be16(p + byteCountAt(usb));
    if (usb->productID == CI_KITE_3) decodeExtended(usb, p);
    usb->bytesReceived = bytesReceivedAt(usb, offset);
    publish(camera, usb);
    return true;
}

void _USB_Bulk_ClearMarker(const USB_Bulk_Context* usb, ci_u8* at) {
    memset(at, 0, usb->markerSize);
    at[usb->markerPacketSize - 2] = 0;
    at[usb->markerPacketSize - 1] = 0;
}
