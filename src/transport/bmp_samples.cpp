// Sample planes of the binary and text image formats into the decoded
// buffers.
#define CK_SOURCE "transport/bmp_transport"
#include "transport/bmp_transport.h"

ci_u32 _BMP_sample_width(ci_u32 bits) { return bits <= 8 ? 1 : bits <= 16 ? 2 : 4; }

bool _BMP_read_samples(const ci_u8* p, size_t avail, size_t count, ci_u32 bits, bool isSigned,
                       std::vector<ci_u32>* out) {
    const ci_u32 width = _BMP_sample_width(bits);
    if (avail / width < count) return false;
    out->resize(count);
    for (size_t i = 0; i < count; i++) {
        const ci_u8* s = p + i * width;
        ci_u32 v = width == 1 ? s[0] : width == 2 ? _BMP_le16(s) : _BMP_le32(s);
        const ci_u32 sign = 1u << (8 * width - 1);
        if (isSigned && (v & sign) != 0) v = 0;
        (*out)[i] = v;
    }
    return true;
}

bool _BMP_keep_bayer(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_s32 width, ci_s32 height, ci_u32 bits,
                     const std::vector<ci_u32>& samples) {
    const BmpFormat format = _BMP_bayer_format(bmp, bits);
    _BMP_set_image(camera, bmp, width, height, format);
    return _BMP_keep_samples(camera, bmp, samples, format.pixelBytes, bits);
}

bool _BMP_keep_colour_planes(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_s32 width, ci_s32 height, ci_u32 bits,
                             const std::vector<ci_u32>& planes) {
    const BmpFormat format = _BMP_colour_format(bits);
    _BMP_set_image(camera, bmp, width, height, format);
    const size_t n = (size_t)width * (size_t)height;
    if (!_BMP_alloc_u8(bmp, format.pixelBytes * n)) return false;
    bmp->imageType = format.type;
    bmp->imageStride = (ci_s32)(format.pixelBytes * (ci_u32)width);
    ci_u8* out = bmp->buffer_u8;
    const ci_u32 shift = bits <= 16 ? 16 - bits : 0;
    for (size_t i = 0; i < n; i++) {
        for (size_t c = 0; c < 3; c++) {
            const ci_u32 v = planes[c * n + i];
            if (bits <= 8) {
                out[4 * i + 2 - c] = (ci_u8)v;
                continue;
            }
            const ci_u32 aligned = (v << shift) & 0xFFFF;
            out[6 * i + 2 * (2 - c)] = (ci_u8)aligned;
            out[6 * i + 2 * (2 - c) + 1] = (ci_u8)(aligned >> 8);
        }
        if (bits <= 8) out[4 * i + 3] = 255;
    }
    return true;
}

ci_u32 _BMP_text_sample_bytes(const BmpFormat& format, ci_u32 maxValue) {
    switch (format.type) {
        case CI_YCBCR:
        case CI_YUV420:
            return maxValue < 256 ? 1 : 2;
        case CI_YCBCR_10:
            return 2;
        default:
            return format.pixelBytes;
    }
}

ci_u64 _BMP_samples_needed(const BmpFormat& format, ci_s32 width, ci_s32 height, ci_u32 sampleBytes) {
    const ci_u64 pixels = (ci_u64)width * (ci_u64)height;
    if (format.type == CI_YUV420) return pixels * 3 / 2;
    return pixels * format.pixelBytes / sampleBytes;
}
