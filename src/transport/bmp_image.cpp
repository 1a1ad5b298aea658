// What the image-file loaders share: formats by depth, sizing the synthetic
// sensor, the decoded buffers and reading a file whole.
#define CK_SOURCE "transport/bmp_transport"
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "transport/bmp_transport.h"

BmpFormat _BMP_bayer_format(const BMP_Transport_Context* bmp, ci_u32 bits) {
    const bool hdr = bmp != nullptr && (bmp->infoImageType == CI_BAYER_10_IHDR ||
                                        bmp->infoImageType == CI_BAYER_12_HDR || bmp->infoImageType == CI_BAYER_14_HDR);
    BmpFormat f{CI_BAYER_8, 1, bits, bits, 1};
    if (bits > 8) f.pixelBytes = 2;
    if (bits > 16) {
        f.pixelBytes = 4;
        f.bitsPerClock = bits / 2;
        f.clocksPerPixel = 2;
    }
    if (bits > 8) f.type = hdr ? CI_BAYER_10_IHDR : CI_BAYER_10;
    if (bits > 10) f.type = hdr ? CI_BAYER_12_HDR : CI_BAYER_12;
    if (bits > 12) f.type = hdr ? CI_BAYER_14_HDR : CI_BAYER_14;
    if (bits > 14) f.type = CI_BAYER_16;
    if (bits > 16) f.type = CI_BAYER_20;
    return f;
}

BmpFormat _BMP_colour_format(ci_u32 bits) {
    if (bits <= 8) return BmpFormat{CI_RGB32, 4, 32, 8, 4};
    return BmpFormat{CI_RGB48, 6, 48, 16, 3};
}

void _BMP_set_image(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_s32 width, ci_s32 height,
                    const BmpFormat& format) {
    ci_sensor_t* sensor = camera->sensor;
    _common_context_t* ctx = _ctx(camera);
    bmp->imageWidth = width;
    bmp->imageHeight = height;
    sensor->fullWidth = sensor->width = (ci_u32)width;
    sensor->fullHeight = sensor->height = (ci_u32)height;
    sensor->imageType = format.type;
    sensor->pixelBytes = format.pixelBytes;
    sensor->pixelBits = format.pixelBits;
    sensor->bufferSize = format.pixelBytes * (ci_u32)width * (ci_u32)height;
    ctx->bitsPerClock = format.bitsPerClock;
    ctx->clocksPerPixel = format.clocksPerPixel;
    if (ci_IsBayerImageType(format.type)) _BMP_set_pedestal(camera, bmp, bmp->regFile[kBmpPedestal], format.pixelBits);
}

void _BMP_set_pedestal(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_u32 value, ci_u32 bits) {
    bmp->regFile[kBmpPedestal] = value & 0xFFFF;
    if (camera->sensor != nullptr && camera->sensor->num_regs > kBmpPedestal)
        camera->sensor->regs[kBmpPedestal].bitmask = bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
}

void _BMP_set_pixel_order(BMP_Transport_Context* bmp, ci_u32 order) { bmp->regFile[kBmpPixelOrder] = order & 3; }

static void* _BMP_allocate(size_t bytes, bool zeroed) { return zeroed ? calloc(bytes, 1) : malloc(bytes); }

bool _BMP_alloc_u8(BMP_Transport_Context* bmp, size_t bytes, bool zeroed) {
    free(bmp->buffer_u8);
    bmp->buffer_u8 = static_cast<ci_u8*>(_BMP_allocate(std::max<size_t>(bytes, 1), zeroed));
    bmp->bufferSize8 = bmp->buffer_u8 != nullptr ? (ci_u32)bytes : 0;
    return bmp->buffer_u8 != nullptr;
}

bool _BMP_alloc_u16(BMP_Transport_Context* bmp, size_t bytes, bool zeroed) {
    free(bmp->buffer_u16);
    bmp->buffer_u16 = static_cast<ci_u16*>(_BMP_allocate(2 * (std::max<size_t>(bytes, 2) / 2 + 1), zeroed));
    bmp->bufferSize16 = bmp->buffer_u16 != nullptr ? (ci_u32)bytes : 0;
    return bmp->buffer_u16 != nullptr;
}

bool _BMP_keep_samples(ci_camera_t* camera, BMP_Transport_Context* bmp, const std::vector<ci_u32>& values,
                       ci_u32 sampleBytes, ci_u32 bits) {
    const size_t bytes = std::max<size_t>(values.size() * sampleBytes, camera->sensor->bufferSize);
    bmp->imageType = CI_UNKNOWN_IMAGE_TYPE;
    bmp->imageStride = (ci_s32)(camera->sensor->width * camera->sensor->pixelBytes);
    bmp->sampleBits = bits;
    bmp->sampleBytes = sampleBytes;
    if (sampleBytes == 1) {
        if (!_BMP_alloc_u8(bmp, bytes)) return false;
        for (size_t i = 0; i < values.size(); i++) bmp->buffer_u8[i] = (ci_u8)values[i];
        if (camera->sensor->imageType == CI_BAYER_8) bmp->imageType = CI_BAYER_8;
        return true;
    }
    if (!_BMP_alloc_u16(bmp, bytes)) return false;
    auto* out = reinterpret_cast<ci_u8*>(bmp->buffer_u16);
    for (size_t i = 0; i < values.size(); i++)
        for (ci_u32 b = 0; b < sampleBytes; b++) out[i * sampleBytes + b] = (ci_u8)(values[i] >> (8 * b));
    return true;
}

const ci_u8* _BMP_u8_view(BMP_Transport_Context* bmp) {
    if (bmp->buffer_u8 != nullptr || bmp->buffer_u16 == nullptr) return bmp->buffer_u8;
    const ci_u32 width = std::max<ci_u32>(bmp->sampleBytes, 2);
    const size_t n = bmp->bufferSize16 / width;
    if (!_BMP_alloc_u8(bmp, n)) return nullptr;
    const auto* in = reinterpret_cast<const ci_u8*>(bmp->buffer_u16);
    const ci_u32 shift = bmp->sampleBits > 8 ? bmp->sampleBits - 8 : 0;
    for (size_t i = 0; i < n; i++) {
        const ci_u32 v = width == 2 ? _BMP_le16(in + 2 * i) : _BMP_le32(in + 4 * i);
        bmp->buffer_u8[i] = (ci_u8)std::min<ci_u32>(v >> shift, 255);
    }
    return bmp->buffer_u8;
}

bool _BMP_read_file(const char* path, std::vector<ci_u8>* bytes) {
    FILE* f = fopen(path, "rb");
    if (f == nullptr) return false;
    bytes->clear();
    ci_u8 chunk[65536];
    size_t got = 0;
    while ((got = fread(chunk, 1, sizeof chunk, f)) > 0) bytes->insert(bytes->end(), chunk, chunk + got);
    const bool ok = ferror(f) == 0;
    fclose(f);
    return ok;
}
