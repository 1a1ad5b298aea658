// Raw files (".raw", ".bin", binary files of unknown extension): the
// samples alone, little-endian.  The side file may give the size, the image
// type and the depth.  Without it the size and type are inferred from the
// file length L, trying in this order:
//   1. L one-byte samples of a plausible size: 8-bit Bayer;
//   2. L/2 two-byte samples of a plausible size, typed by their largest
//      value: below 1024 10-bit, below 4096 12-bit, below 16386 14-bit
//      Bayer, else 16-bit YCbCr words;
//   3. 2L/3 pixels of a plausible size: planar YUV 4:2:0, one byte a sample;
//   4. L/4 four-byte pixels of a plausible size: 20-bit Bayer when every
//      word is below 2^20, else 10-bit YCbCr pairs when every 16-bit half
//      is below 1024, else B, G, R, X colour;
//   5. a square: sqrt(L) one-byte samples, else sqrt(L/2) two-byte samples
//      typed as in 2.
#define CK_SOURCE "transport/bmp_transport"
#include <algorithm>
#include <cmath>

#include "transport/bmp_transport.h"

namespace {

struct RawImage {
    ci_s32 width = 0, height = 0;
    BmpFormat format{};
    ci_u32 sampleBytes = 1;
};

std::vector<ci_u32> _samples(const std::vector<ci_u8>& bytes, ci_u32 width, size_t count) {
    std::vector<ci_u32> values(count);
    for (size_t i = 0; i < count; i++) {
        const ci_u8* p = &bytes[i * width];
        values[i] = width == 1 ? p[0] : width == 2 ? _BMP_le16(p) : _BMP_le32(p);
    }
    return values;
}

ci_u32 _max_sample(const std::vector<ci_u8>& bytes, ci_u32 width) {
    ci_u32 m = 0;
    for (ci_u32 v : _samples(bytes, width, bytes.size() / width)) m = std::max(m, v);
    return m;
}

BmpFormat _two_byte_format(ci_u32 maxValue) {
    if (maxValue >= 16386) return BmpFormat{CI_YCBCR, 2, 16, 8, 2};
    if (maxValue >= 4096) return BmpFormat{CI_BAYER_14, 2, 14, 14, 1};
    if (maxValue >= 1024) return BmpFormat{CI_BAYER_12, 2, 12, 12, 1};
    return BmpFormat{CI_BAYER_10, 2, 10, 10, 1};
}

BmpFormat _four_byte_format(const std::vector<ci_u8>& bytes) {
    if (_max_sample(bytes, 4) < (1u << 20)) return BmpFormat{CI_BAYER_20, 4, 20, 10, 2};
    if (_max_sample(bytes, 2) < 1024) return BmpFormat{CI_YCBCR_10, 4, 20, 10, 2};
    return _BMP_colour_format(8);
}

ci_u64 _isqrt(ci_u64 n) {
    ci_u64 r = (ci_u64)std::sqrt((double)n);
    while (r * r > n) r--;
    while ((r + 1) * (r + 1) <= n) r++;
    return r;
}

bool _infer(const std::vector<ci_u8>& bytes, RawImage* image) {
    const ci_u64 L = bytes.size();
    ci_s32* w = &image->width;
    ci_s32* h = &image->height;
    if (_likely_dimensions(L, w, h)) {
        image->format = _BMP_bayer_format(nullptr, 8);
        return true;
    }
    if (L % 2 == 0 && _likely_dimensions(L / 2, w, h)) {
        image->format = _two_byte_format(_max_sample(bytes, 2));
        return true;
    }
    if ((2 * L) % 3 == 0 && _likely_dimensions(2 * L / 3, w, h)) {
        image->format = BmpFormat{CI_YUV420, 2, 16, 8, 2};
        return true;
    }
    if (L % 4 == 0 && _likely_dimensions(L / 4, w, h)) {
        image->format = _four_byte_format(bytes);
        return true;
    }
    const ci_u64 side = _isqrt(L), half = _isqrt(L / 2);
    if (side * side == L && side <= kBmpMaxSide) {
        *w = *h = (ci_s32)side;
        image->format = _BMP_bayer_format(nullptr, 8);
        return true;
    }
    if (L % 2 == 0 && half * half == L / 2 && half <= kBmpMaxSide) {
        *w = *h = (ci_s32)half;
        image->format = _two_byte_format(_max_sample(bytes, 2));
        return true;
    }
    return false;
}

// The side file's size, with its type and depth or else the bytes a pixel.
bool _from_side_file(const BMP_Transport_Context* bmp, const std::vector<ci_u8>& bytes, RawImage* image) {
    if (bmp->infoImageWidth <= 0 || bmp->infoImageHeight <= 0) return false;
    image->width = bmp->infoImageWidth;
    image->height = bmp->infoImageHeight;
    const ci_u64 pixels = (ci_u64)image->width * (ci_u64)image->height;
    const ci_u64 perPixel = pixels > 0 ? bytes.size() / pixels : 0;
    const ci_image_types type = bmp->infoImageType;
    if (type != CI_UNKNOWN_IMAGE_TYPE && !ci_IsBayerImageType(type)) {
        ci_s32 width = image->width;
        image->format = _BMP_format_of_type(type, bmp->infoPixelBits, 0, pixels, &width, image->height);
        return true;
    }
    const ci_u32 bits = bmp->infoPixelBits != 0 ? bmp->infoPixelBits : perPixel >= 4 ? 20 : perPixel >= 2 ? 16 : 8;
    image->format = _BMP_bayer_format(bmp, std::min<ci_u32>(bits, 20));
    if (bmp->infoPixelBits == 0 && perPixel == 2) image->format = _two_byte_format(_max_sample(bytes, 2));
    if (ci_IsBayerImageType(type)) image->format.type = type;
    image->sampleBytes = image->format.pixelBytes;
    return true;
}

}  // namespace

ci_error_code _BMP_load_raw(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    std::vector<ci_u8> bytes;
    if (!_BMP_read_file(bmp->fileName, &bytes)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open raw file");
    if (bytes.empty()) return CK_ERR(CI_CAMERA_ERROR, "Zero length raw file");
    RawImage image;
    if (!_from_side_file(bmp, bytes, &image)) {
        if (!_infer(bytes, &image)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't find the raw image size");
        const bool samples = ci_IsBayerImageType(image.format.type) || image.format.type == CI_YCBCR;
        image.sampleBytes = samples ? image.format.pixelBytes : 1;
    }
    const ci_u64 pixels = (ci_u64)image.width * (ci_u64)image.height;
    if ((ci_u32)image.width > kBmpMaxSide || (ci_u32)image.height > kBmpMaxSide || pixels > kBmpMaxPixels)
        return CK_ERR(CI_CAMERA_ERROR, "Unsupported raw image size");
    const ci_u64 frameBytes = image.format.type == CI_YUV420 ? pixels * 3 / 2 : pixels * image.format.pixelBytes;
    if (bytes.size() < frameBytes) return CK_ERR(CI_CAMERA_ERROR, "Raw file shorter than its image size");
    _BMP_set_image(camera, bmp, image.width, image.height, image.format);
    const ci_u32 bits = image.sampleBytes == 1 ? 8 : image.format.pixelBits;
    if (!_BMP_keep_samples(camera, bmp, _samples(bytes, image.sampleBytes, frameBytes / image.sampleBytes),
                           image.sampleBytes, bits))
        return CK_ERR(CI_CAMERA_ERROR, "out of memory");
    if (image.format.type == CI_RGB32 || image.format.type == CI_RGB48) bmp->imageType = image.format.type;
    return CI_CAMERA_SUCCESS;
}
