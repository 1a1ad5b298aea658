// Pixel sizes and the Bayer image type that follows from the clocking.
//
// A pixel reaches the board as clocksPerPixel transfers ("clocks") of
// bitsPerClock bits each.  From that and the image type:
//
//   pixelBits   = bitsPerClock x clocksPerPixel, except 8 for CI_BAYER_STEREO
//                 (two 8-bit sensors share one 16-bit clock; each image is
//                 8 bits deep).
//
//   pixelBytes  = the bytes one pixel takes in a frame buffer:
//                 CI_RGB24                                        3
//                 CI_RGB32, CI_PNG (decoded 8-bit colour)         4
//                 CI_RGB48                                        6
//                 CI_YCBCR and the 16-bit packed colour types
//                 (565, 555, 555L, 555M, 444X, X444, Prog. Bayer)  2
//                 CI_YCBCR_10 (two 10-bit samples a pixel)        4
//                 CI_RGB332, CI_Y400                              1
//                 CI_BAYER_STEREO (both images in one buffer)     2
//                 anything else, by pixelBits: up to 8 bits 1, up to 16
//                 bits 2, up to 32 bits 4, wider ones the whole bytes
//                 needed.  This covers the Bayer types (a 10-bit sample in
//                 a 16-bit word, two 10-bit clocks merged into a 32-bit
//                 word), JPEG streams (kept as 16-bit clock pairs) and the
//                 planar 4:2:0 types, whose 12 bits a pixel on average fit
//                 in a buffer sized at 2 bytes a pixel.
//
//   bytesPerClock = bitsPerClock rounded up to whole bytes (at least 1).
//
// The record-level forms take the values explicitly so that the sensor-data
// readers can use them on a record that is not attached to a camera yet.
#define CK_SOURCE "camkit"
#include "core/camkit_private.h"

ci_u32 _pixelBitsFor(ci_image_types type, ci_u32 bitsPerClock, ci_u32 clocksPerPixel) {
    if (type == CI_BAYER_STEREO) return 8;
    return bitsPerClock * clocksPerPixel;
}

static ci_u32 _bytesForBits(ci_u32 bits) {
    if (bits <= 8) return 1;
    if (bits <= 16) return 2;
    if (bits <= 32) return 4;
    return (bits + 7) / 8;
}

ci_u32 _pixelBytesFor(ci_image_types type, ci_u32 pixelBits, ci_u32 bitsPerClock, ci_u32 clocksPerPixel) {
    (void)bitsPerClock;
    (void)clocksPerPixel;
    switch (type) {
        case CI_RGB24:
            return 3;
        case CI_RGB32:
        case CI_PNG:
        case CI_YCBCR_10:
            return 4;
        case CI_RGB48:
            return 6;
        case CI_YCBCR:
        case CI_RGB565:
        case CI_RGB555:
        case CI_RGB555L:
        case CI_RGB555M:
        case CI_RGB444X:
        case CI_RGBX444:
        case CI_BGRG:
        case CI_BAYER_STEREO:
            return 2;
        case CI_RGB332:
        case CI_Y400:
            return 1;
        default:
            return _bytesForBits(pixelBits);
    }
}

ci_u32 _pixelBits(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || camera->sensor == nullptr) return 0;
    return _pixelBitsFor(camera->sensor->imageType, ctx->bitsPerClock, ctx->clocksPerPixel);
}

ci_u32 _bytesPerClock(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || ctx->bitsPerClock == 0) return 1;
    return (ctx->bitsPerClock + 7) / 8;
}

ci_u32 _pixelBytes(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || camera->sensor == nullptr) return 0;
    const ci_sensor_t* sensor = camera->sensor;
    return _pixelBytesFor(sensor->imageType, sensor->pixelBits, ctx->bitsPerClock, ctx->clocksPerPixel);
}

// The Bayer type for a depth at zoom 1, or CI_UNKNOWN_IMAGE_TYPE to keep the
// current type.
static ci_image_types _bayerTypeForDepth(ci_u32 pixelBits, bool packed16, bool hidy) {
    switch (pixelBits) {
        case 6:
            return CI_BAYER_6;
        case 8:
            return packed16 ? CI_BAYER_STEREO : CI_BAYER_8;
        case 10:
            return hidy ? CI_BAYER_10_IHDR : CI_BAYER_10;
        case 12:
            return hidy ? CI_BAYER_12_HDR : CI_BAYER_12;
        case 14:
            return hidy ? CI_BAYER_14_HDR : CI_BAYER_14;
        case 16:
            return packed16 ? CI_BAYER_16 : CI_UNKNOWN_IMAGE_TYPE;
        case 20:
            return CI_BAYER_20;
        default:
            return CI_UNKNOWN_IMAGE_TYPE;
    }
}

void _updateImageType(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || camera->sensor == nullptr) return;
    ci_sensor_t* sensor = camera->sensor;
    if (!ci_IsBayerImageType(sensor->imageType)) return;
    if (sensor->zoomFactor != 1) {
        sensor->imageType = sensor->pixelBits == 8 ? CI_BAYER_8_ZOOM : CI_BAYER_10_ZOOM;
        return;
    }
    const bool packed16 = ctx->bitsPerClock == 16 && ctx->clocksPerPixel == 1;
    const bool hidy = (ctx->sg_context != nullptr ? ctx->sg_context->hidy : ctx->hidy) != 0;
    const ci_image_types type = _bayerTypeForDepth(sensor->pixelBits, packed16, hidy);
    if (type != CI_UNKNOWN_IMAGE_TYPE) sensor->imageType = type;
}
