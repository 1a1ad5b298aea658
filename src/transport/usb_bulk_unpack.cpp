// Frames a board sends in a reduced form: pixel-packed 10- and 12-bit data
// expanded to 16-bit pixels, and the half-width rows of an HDMI board
// widened to full rows.
#define CK_SOURCE "transport/usb_bulk_unpack"
#include <cstring>

#include "transport/usb_private.h"

namespace {

void put16(ci_u8* out, ci_u32 value) {
    out[0] = (ci_u8)value;
    out[1] = (ci_u8)(value >> 8);
}

// Four pixels in five bytes, least significant bits first.
void unpack10(ci_u8* buffer, ci_u32 groups) {
    for (ci_u32 g = groups; g-- > 0;) {
        const ci_u8* b = buffer + (size_t)g * 5;
        const ci_u32 p0 = b[0] | ((ci_u32)(b[1] & 3) << 8);
        const ci_u32 p1 = (b[1] >> 2) | ((ci_u32)(b[2] & 15) << 6);
        const ci_u32 p2 = (b[2] >> 4) | ((ci_u32)(b[3] & 63) << 4);
        const ci_u32 p3 = (b[3] >> 6) | ((ci_u32)b[4] << 2);
        ci_u8* out = buffer + (size_t)g * 8;
        put16(out + 6, p3);
        put16(out + 4, p2);
        put16(out + 2, p1);
        put16(out, p0);
    }
}

// Two pixels in three bytes.
void unpack12(ci_u8* buffer, ci_u32 groups) {
    for (ci_u32 g = groups; g-- > 0;) {
        const ci_u8* b = buffer + (size_t)g * 3;
        const ci_u32 p0 = b[0] | ((ci_u32)(b[1] & 15) << 8);
        const ci_u32 p1 = (b[1] >> 4) | ((ci_u32)b[2] << 4);
        ci_u8* out = buffer + (size_t)g * 4;
        put16(out + 2, p1);
        put16(out, p0);
    }
}

}  // namespace

ci_error_code _USB_Bulk_UnpackData(ci_camera_t* camera, ci_u8* buffer) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    const ci_sensor_t* s = camera->sensor;
    ci_frame_data_t* fd = &_ctx(camera)->frame_data;
    const ci_u32 bits = _ctx(camera)->bitsPerClock;
    if (bits != 10 && bits != 12) return CI_CAMERA_SUCCESS;
    const ci_u32 returned = fd->bytesReturned;
    const bool fits = returned >= usb->markerPacketSize && usb->markerSize <= usb->markerPacketSize;
    if (usb->markerSize != 0 && (!fits || !_USB_Bulk_EOFMarker(camera, buffer, returned - usb->markerPacketSize))) {
        return CI_NOT_ENOUGH_DATA_ERROR;
    }
    // The expanded frame must fit the frame's buffer.
    ci_u32 pixels = fd->imageBytesReturned * 8 / bits;
    const ci_u32 room = s->width * s->height;
    if (pixels > room) pixels = room;
    if (bits == 10) {
        unpack10(buffer, pixels / 4);
        pixels = pixels / 4 * 4;
    } else {
        unpack12(buffer, pixels / 2);
        pixels = pixels / 2 * 2;
    }
    fd->imageBytesReturned = pixels * 2;
    return CI_CAMERA_SUCCESS;
}

void _USB_Bulk_HdmiCrop(ci_camera_t* camera, ci_u8* buffer) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    const ci_sensor_t* s = camera->sensor;
    const ci_u32 full = s->width * s->pixelBytes;
    const ci_u32 sent = (full / 2 + 15) / 16 * 16;
    const ci_u32 pad = full > sent ? full - sent : 0;
    const ci_u32 copy = full < sent ? full : sent;
    const ci_u32 lead = usb->hdmiKite2Crop == 1 ? pad / 2 : usb->hdmiKite2Crop == 3 ? pad : 0;
    const ci_u32 markerStart = s->bufferSize - usb->pixelOffset - usb->maxPacketSize;
    if (markerStart / 4 + usb->markerPacketSize <= s->bufferSize) _USB_Bulk_EOFMarker(camera, buffer, markerStart / 4);
    for (ci_u32 row = s->height; row-- > 0;) {
        ci_u8* dst = buffer + (size_t)row * full;
        memmove(dst + lead, buffer + (size_t)row * sent, copy);
        memset(dst, 0, lead);
        memset(dst + lead + copy, 0, full - lead - copy);
    }
    _ctx(camera)->frame_data.imageBytesReturned *= 2;
}
