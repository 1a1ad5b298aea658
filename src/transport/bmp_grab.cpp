// Frames of the image-file camera: the decoded image in the layout the
// synthetic sensor currently asks for.  Frames are laid out at the
// sensor's row size; an image larger than the sensor's window is cut at the
// right and bottom, a smaller one leaves the rest of the frame untouched.
//
// Colour to Bayer: each site takes the channel that register 2's phase puts
// there (0 GRBG, 1 RGGB, 2 BGGR, 3 GBRG: the first two letters are the even
// rows, the last two the odd rows), scaled from the image's depth to the
// sensor's.  Colour to RGB24 / RGB32 keeps the top 8 bits of each channel.
#define CK_SOURCE "transport/bmp_transport"
#include <algorithm>
#include <cstring>

#include "transport/bmp_transport.h"
#include "transport/transport_common.h"

namespace {

enum Channel { kBlue = 0, kGreen = 1, kRed = 2 };

const Channel kBayerSites[4][4] = {
    {kGreen, kRed, kBlue, kGreen},  // GRBG
    {kRed, kGreen, kGreen, kBlue},  // RGGB
    {kBlue, kGreen, kGreen, kRed},  // BGGR
    {kGreen, kBlue, kRed, kGreen},  // GBRG
};

// The decoded colour image, 8 (RGB32) or 16 (RGB48) bits a channel.
struct ColourSource {
    const ci_u8* pixels;
    size_t stride;
    ci_u32 pixelBytes;  // 4 or 6
    ci_u32 bits;        // 8 or 16
    ci_u32 channel(size_t x, size_t y, Channel c) const {
        const ci_u8* p = pixels + y * stride + x * pixelBytes;
        return bits == 8 ? p[c] : _BMP_le16(p + 2 * c);
    }
};

// The frame window: rows and columns to fill and the destination's layout.
struct Window {
    size_t rows, columns, rowBytes, pixelBytes;
};

Window _window(const ci_sensor_t* sensor, const BMP_Transport_Context* bmp, ci_u32 size) {
    Window w{};
    w.pixelBytes = sensor->pixelBytes;
    w.rowBytes = (size_t)sensor->width * sensor->pixelBytes;
    if (w.rowBytes == 0) return w;
    w.rows = std::min<size_t>({(size_t)bmp->imageHeight, sensor->height, size / w.rowBytes});
    w.columns = std::min<size_t>((size_t)bmp->imageWidth, sensor->width);
    return w;
}

// A sample moved from one depth to another (depths beyond 32 bits count as
// 32: no sample is wider).
ci_u32 _scale(ci_u32 v, ci_u32 from, ci_u32 to) {
    to = std::min<ci_u32>(to, 32);
    return to >= from ? (ci_u32)((ci_u64)v << (to - from)) : v >> (from - to);
}

// A sample stored little-endian in `bytes` bytes (zeros past the fourth).
void _put(ci_u8* p, size_t bytes, ci_u32 v) {
    for (size_t b = 0; b < bytes; b++) p[b] = b < 4 ? (ci_u8)(v >> (8 * b)) : 0;
}

ci_error_code _rows(const ci_sensor_t* sensor, const BMP_Transport_Context* bmp, ci_u8* dst, ci_u32 size) {
    const Window w = _window(sensor, bmp, size);
    if (w.rowBytes == 0) return CI_CAMERA_ERROR;
    const size_t copy = std::min(w.rowBytes, (size_t)bmp->imageStride);
    for (size_t r = 0; r < w.rows; r++)
        memcpy(dst + r * w.rowBytes, bmp->buffer_u8 + r * (size_t)bmp->imageStride, copy);
    return CI_CAMERA_SUCCESS;
}

// 8-bit Bayer data into a Bayer sensor of any depth (MSB-aligned there).
ci_error_code _bayer8(const ci_sensor_t* sensor, const BMP_Transport_Context* bmp, ci_u8* dst, ci_u32 size) {
    if (sensor->pixelBytes <= 1) return _rows(sensor, bmp, dst, size);
    const Window w = _window(sensor, bmp, size);
    for (size_t y = 0; y < w.rows; y++)
        for (size_t x = 0; x < w.columns; x++)
            _put(dst + y * w.rowBytes + x * w.pixelBytes, w.pixelBytes,
                 _scale(bmp->buffer_u8[y * (size_t)bmp->imageStride + x], 8, sensor->pixelBits));
    return CI_CAMERA_SUCCESS;
}

ci_error_code _to_bayer(const ci_sensor_t* sensor, const BMP_Transport_Context* bmp, const ColourSource& src,
                        ci_u8* dst, ci_u32 size) {
    const Window w = _window(sensor, bmp, size);
    if (w.rowBytes == 0) return CI_CAMERA_ERROR;
    const Channel* sites = kBayerSites[bmp->regFile[kBmpPixelOrder] & 3];
    for (size_t y = 0; y < w.rows; y++)
        for (size_t x = 0; x < w.columns; x++) {
            const ci_u32 v = src.channel(x, y, sites[(y & 1) * 2 + (x & 1)]);
            _put(dst + y * w.rowBytes + x * w.pixelBytes, w.pixelBytes, _scale(v, src.bits, sensor->pixelBits));
        }
    return CI_CAMERA_SUCCESS;
}

// Colour to 8-bit B, G, R (RGB24) or B, G, R, X (RGB32).
ci_error_code _to_rgb8(const ci_sensor_t* sensor, const BMP_Transport_Context* bmp, const ColourSource& src, ci_u8* dst,
                       ci_u32 size) {
    const Window w = _window(sensor, bmp, size);
    if (w.rowBytes == 0) return CI_CAMERA_ERROR;
    for (size_t y = 0; y < w.rows; y++)
        for (size_t x = 0; x < w.columns; x++) {
            ci_u8* p = dst + y * w.rowBytes + x * w.pixelBytes;
            for (Channel c : {kBlue, kGreen, kRed}) p[c] = (ci_u8)_scale(src.channel(x, y, c), src.bits, 8);
            if (w.pixelBytes == 4) p[3] = src.bits == 8 ? src.pixels[y * src.stride + x * 4 + 3] : 255;
        }
    return CI_CAMERA_SUCCESS;
}

ColourSource _colour(const BMP_Transport_Context* bmp) {
    const bool deep = bmp->imageType == CI_RGB48;
    return ColourSource{bmp->buffer_u8, (size_t)bmp->imageStride, deep ? 6u : 4u, deep ? 16u : 8u};
}

ci_error_code _BMP_rgb32_bayer(const ci_sensor_t* s, const BMP_Transport_Context* b, ci_u8* d, ci_u32 n) {
    return _to_bayer(s, b, _colour(b), d, n);
}
ci_error_code _BMP_rgb48_bayer(const ci_sensor_t* s, const BMP_Transport_Context* b, ci_u8* d, ci_u32 n) {
    return _to_bayer(s, b, _colour(b), d, n);
}
ci_error_code _BMP_rgb32_rgb24(const ci_sensor_t* s, const BMP_Transport_Context* b, ci_u8* d, ci_u32 n) {
    return _to_rgb8(s, b, _colour(b), d, n);
}
ci_error_code _BMP_rgb48_rgb24(const ci_sensor_t* s, const BMP_Transport_Context* b, ci_u8* d, ci_u32 n) {
    return _to_rgb8(s, b, _colour(b), d, n);
}
ci_error_code _BMP_rgb48_rgb32(const ci_sensor_t* s, const BMP_Transport_Context* b, ci_u8* d, ci_u32 n) {
    return _to_rgb8(s, b, _colour(b), d, n);
}

ci_error_code _from_rgb32(const ci_sensor_t* sensor, const BMP_Transport_Context* bmp, ci_u8* dst, ci_u32 size) {
    if (ci_IsBayerImageType(sensor->imageType)) return _BMP_rgb32_bayer(sensor, bmp, dst, size);
    if (sensor->imageType == CI_RGB24) return _BMP_rgb32_rgb24(sensor, bmp, dst, size);
    if (sensor->imageType == CI_RGB32 || sensor->imageType == CI_PNG) return _rows(sensor, bmp, dst, size);
    return CI_CAMERA_ERROR;
}

ci_error_code _from_rgb48(const ci_sensor_t* sensor, const BMP_Transport_Context* bmp, ci_u8* dst, ci_u32 size) {
    if (ci_IsBayerImageType(sensor->imageType)) return _BMP_rgb48_bayer(sensor, bmp, dst, size);
    if (sensor->imageType == CI_RGB24) return _BMP_rgb48_rgb24(sensor, bmp, dst, size);
    if (sensor->imageType == CI_RGB32) return _BMP_rgb48_rgb32(sensor, bmp, dst, size);
    if (sensor->imageType == CI_RGB48) return _rows(sensor, bmp, dst, size);
    return CI_CAMERA_ERROR;
}

// The frame as decoded (samples in the sensor's layout, or a whole file).
ci_error_code _whole(const ci_sensor_t* sensor, BMP_Transport_Context* bmp, ci_u8* dst, ci_u32 size, ci_u32* written) {
    const bool wide = bmp->buffer_u16 != nullptr && sensor->pixelBits > 8 && sensor->imageType != CI_RGB48;
    const ci_u8* src = wide ? reinterpret_cast<const ci_u8*>(bmp->buffer_u16) : _BMP_u8_view(bmp);
    if (src == nullptr) return CI_CAMERA_ERROR;
    *written = std::min(wide ? bmp->bufferSize16 : bmp->bufferSize8, size);
    memcpy(dst, src, *written);
    return CI_CAMERA_SUCCESS;
}

}  // namespace

ci_error_code _BMP_grabFrame(ci_camera_t* camera, ci_u8* buffer, ci_u32 size) {
    auto* bmp = static_cast<BMP_Transport_Context*>(_transport_context(camera));
    if (bmp == nullptr || buffer == nullptr || (bmp->buffer_u8 == nullptr && bmp->buffer_u16 == nullptr))
        return CI_CAMERA_ERROR;
    const ci_sensor_t* sensor = camera->sensor;
    ci_u32 written = std::min(sensor->bufferSize, size);
    ci_error_code result = CI_CAMERA_ERROR;
    switch (bmp->imageType) {
        case CI_UNKNOWN_IMAGE_TYPE:
        case CI_JPEG:
        case CI_JPEG_SPEEDTAGS:
        case CI_JPEG_ROT:
            result = _whole(sensor, bmp, buffer, size, &written);
            break;
        case CI_BAYER_8:
            if (ci_IsBayerImageType(sensor->imageType)) result = _bayer8(sensor, bmp, buffer, size);
            break;
        case CI_RGB32:
            result = _from_rgb32(sensor, bmp, buffer, size);
            break;
        case CI_RGB48:
            result = _from_rgb48(sensor, bmp, buffer, size);
            break;
        default:
            break;
    }
    if (result != CI_CAMERA_SUCCESS) return result;
    _common_context_t* ctx = _ctx(camera);
    ctx->frame_data.frameNumber++;
    ctx->frame_data.bytesRequested = size;
    ctx->frame_data.bytesReturned = written;
    ctx->frame_data.imageBytesReturned = written;
    return CI_CAMERA_SUCCESS;
}
