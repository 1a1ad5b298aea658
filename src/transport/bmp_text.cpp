// What the two text loaders (CSV, ITX) share: the format of an image type
// and keeping the values read as the frame.
#define CK_SOURCE "transport/bmp_transport"
#include "transport/bmp_transport.h"

BmpFormat _BMP_format_of_type(ci_image_types type, ci_u32 bits, ci_u32 maxValue, ci_u64 count, ci_s32* width,
                              ci_s32 height) {
    switch (type) {
        case CI_UNKNOWN_IMAGE_TYPE:
            return _get_imagetype_from_maxm(maxValue, count, width, height);
        case CI_YCBCR:
            return BmpFormat{CI_YCBCR, 2, 16, 8, 2};
        case CI_YCBCR_10:
            return BmpFormat{CI_YCBCR_10, 4, 20, 10, 2};
        case CI_YUV420:
            return BmpFormat{CI_YUV420, 2, 16, 8, 2};
        case CI_RGB24:
            return BmpFormat{CI_RGB24, 3, 24, 8, 3};
        case CI_RGB32:
            return _BMP_colour_format(8);
        case CI_RGB48:
            return _BMP_colour_format(16);
        default:
            break;
    }
    if (bits == 0) return _get_imagetype_from_maxm(maxValue, count, width, height);
    BmpFormat format = _BMP_bayer_format(nullptr, bits);
    if (ci_IsBayerImageType(type)) format.type = type;
    return format;
}

static ci_u32 _sample_bits(const BmpFormat& format, ci_u32 sampleBytes) {
    if (ci_IsBayerImageType(format.type)) return format.pixelBits;
    if (sampleBytes == 1) return 8;
    return format.type == CI_YCBCR_10 ? 10 : 16;
}

const char* _BMP_keep_text_image(ci_camera_t* camera, BMP_Transport_Context* bmp, std::vector<ci_u32>* values,
                                 ci_s32 width, ci_s32 height, const BmpFormat& format, ci_u32 maxValue,
                                 const char* shortMessage) {
    if (width <= 0 || height <= 0 || (ci_u32)width > kBmpMaxSide || (ci_u32)height > kBmpMaxSide) return shortMessage;
    const ci_u32 sampleBytes = _BMP_text_sample_bytes(format, maxValue);
    const ci_u64 needed = _BMP_samples_needed(format, width, height, sampleBytes);
    if (values->size() < needed) return shortMessage;
    values->resize(needed);
    _BMP_set_image(camera, bmp, width, height, format);
    const ci_u32 bits = _sample_bits(format, sampleBytes);
    if (!_BMP_keep_samples(camera, bmp, *values, sampleBytes, bits)) return "out of memory";
    return nullptr;
}
