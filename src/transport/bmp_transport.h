// The image-file camera's private state and what its loaders share.
//
// `_BMP_load_file` picks a loader by the file's extension; a loader reads the
// whole image, decides its image type and size, fills the decoded buffers of
// the context and sizes the synthetic sensor (through `_BMP_set_image`).  The
// grab then hands out the decoded pixels on every frame.
//
// Decoded buffers, by the context's `imageType`:
//   CI_BAYER_8            buffer_u8: one byte a pixel, rows of imageStride
//   CI_RGB32              buffer_u8: B, G, R, X bytes a pixel
//   CI_RGB48              buffer_u8: B, G, R 16-bit little-endian slots,
//                         samples MSB-aligned (16 significant bits)
//   CI_JPEG               buffer_u8: the whole file
//   CI_UNKNOWN_IMAGE_TYPE the frame exactly as the sensor delivers it:
//                         buffer_u16 holds samples of 2 or 4 bytes
//                         (little-endian), buffer_u8 one byte a sample
//                         (made from buffer_u16 on first use when absent)
#ifndef CAMKIT_BMP_TRANSPORT_H
#define CAMKIT_BMP_TRANSPORT_H

#include <cstddef>
#include <vector>

#include "core/camkit_private.h"

enum BmpRegister { kBmpChipVersion = 0, kBmpPedestal = 1, kBmpPixelOrder = 2, kBmpRegisters = 3 };

struct BMP_Transport_Context {
    ci_string fileName;
    ci_s32 imageWidth;
    ci_s32 imageHeight;
    ci_image_types imageType;
    ci_s32 imageStride;
    ci_u32 bufferSize8;   // bytes of buffer_u8
    ci_u32 bufferSize16;  // bytes of buffer_u16
    ci_u8* buffer_u8;
    ci_u16* buffer_u16;
    ci_u32 regFile[kBmpRegisters];
    ci_string infoFileName;
    ci_s32 infoImageWidth;
    ci_s32 infoImageHeight;
    ci_image_types infoImageType;
    ci_u32 infoPixelBits;
    // Ours: the depth and width of the samples in buffer_u16 (for the 8-bit
    // view), and an 8-bit bitmap's palette (B, G, R, A).
    ci_u32 sampleBits;
    ci_u32 sampleBytes;
    ci_u32 paletteSize;
    ci_u8 palette[256][4];
};

// How the synthetic sensor delivers the loaded image.
struct BmpFormat {
    ci_image_types type;
    ci_u32 pixelBytes;
    ci_u32 pixelBits;
    ci_u32 bitsPerClock;
    ci_u32 clocksPerPixel;
};

// Largest image a loader accepts (either side, and in pixels).
constexpr ci_u32 kBmpMaxSide = 32768;
constexpr ci_u64 kBmpMaxPixels = 1ull << 26;

// Loaders: each reads bmp->fileName into the context and the sensor.
ci_error_code _BMP_load_bmp(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_ccr(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_dxr(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_csv(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_itx(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_raw(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_jpeg(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_png(ci_camera_t* camera, BMP_Transport_Context* bmp);
ci_error_code _BMP_load_tiff(ci_camera_t* camera, BMP_Transport_Context* bmp);

// The side file "<image>_info.txt": 1 when there is none, 0 when read.
ci_s32 _parseInfoTxt(ci_camera_t* camera, BMP_Transport_Context* bmp);

// The plausible frame size for a sample count; false when there is none.
bool _likely_dimensions(ci_u64 count, ci_s32* width, ci_s32* height);

// The image type a text image's largest value implies (with the half-count
// test for the YCbCr readings, which may halve *width).  CI_BAYER_8 in the
// format means "keep the sensor's 8-bit Bayer type".
BmpFormat _get_imagetype_from_maxm(ci_u32 maxValue, ci_u64 count, ci_s32* width, ci_s32 height);

// The Bayer format of a sample depth (the CCR and DXR rules); the side
// file's high-dynamic-range types are honoured.
BmpFormat _BMP_bayer_format(const BMP_Transport_Context* bmp, ci_u32 bits);

// A colour format: CI_RGB32 up to 8 bits, CI_RGB48 above.
BmpFormat _BMP_colour_format(ci_u32 bits);

// Sizes the sensor and the context for a width x height image of `format`
// (for Bayer data the pedestal register's mask follows the depth).
void _BMP_set_image(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_s32 width, ci_s32 height,
                    const BmpFormat& format);

// Sets the pedestal register (value and mask for `bits`) / the pixel order.
void _BMP_set_pedestal(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_u32 value, ci_u32 bits);
void _BMP_set_pixel_order(BMP_Transport_Context* bmp, ci_u32 order);

// Allocates buffer_u8 / buffer_u16 of `bytes`, zeroed unless the caller
// fills every byte itself; false when memory runs out.
bool _BMP_alloc_u8(BMP_Transport_Context* bmp, size_t bytes, bool zeroed = true);
bool _BMP_alloc_u16(BMP_Transport_Context* bmp, size_t bytes, bool zeroed = true);

// Keeps `values` as samples of `sampleBytes` (1, 2 or 4) bytes each, as the
// frame the sensor delivers: 1-byte samples go to buffer_u8, wider ones to
// buffer_u16.  `bits` is the samples' depth.  The buffers hold at least the
// sensor's buffer size.  False when memory runs out.
bool _BMP_keep_samples(ci_camera_t* camera, BMP_Transport_Context* bmp, const std::vector<ci_u32>& values,
                       ci_u32 sampleBytes, ci_u32 bits);

// Samples of the binary formats (CCR, DXR): `count` little-endian samples
// of 1 byte up to 8 bits, 2 up to 16, else 4, from `avail` bytes at `p`;
// signed samples below zero read as 0.  False when the data is too short.
bool _BMP_read_samples(const ci_u8* p, size_t avail, size_t count, ci_u32 bits, bool isSigned,
                       std::vector<ci_u32>* out);
// Bytes one sample of `bits` takes in those formats.
ci_u32 _BMP_sample_width(ci_u32 bits);

// Keeps a Bayer image of width x height samples; false when memory runs
// out (the callers log, under the loader's name).
bool _BMP_keep_bayer(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_s32 width, ci_s32 height, ci_u32 bits,
                     const std::vector<ci_u32>& samples);
// Keeps three colour planes (red, green, blue) as B, G, R pixels: 8-bit
// planes as CI_RGB32 (X = 255), deeper ones as CI_RGB48 shifted to the top
// of their 16-bit slots.  False when memory runs out.
bool _BMP_keep_colour_planes(ci_camera_t* camera, BMP_Transport_Context* bmp, ci_s32 width, ci_s32 height, ci_u32 bits,
                             const std::vector<ci_u32>& planes);

// Bytes a text image's sample takes in the frame: the YCbCr readings with
// two samples a pixel store each sample alone.
ci_u32 _BMP_text_sample_bytes(const BmpFormat& format, ci_u32 maxValue);
// Samples a width x height image of `format` needs at that size.
ci_u64 _BMP_samples_needed(const BmpFormat& format, ci_s32 width, ci_s32 height, ci_u32 sampleBytes);

// Text images (CSV, ITX): the format of a named image type (the side
// file's), with `bits` when non-zero; the value-range rule for type 0.
BmpFormat _BMP_format_of_type(ci_image_types type, ci_u32 bits, ci_u32 maxValue, ci_u64 count, ci_s32* width,
                              ci_s32 height);
// Sizes the sensor for width x height of `format` and keeps the first
// values as its samples.  Null on success, else what went wrong (the
// loader logs it): `shortMessage` when there are too few values.
const char* _BMP_keep_text_image(ci_camera_t* camera, BMP_Transport_Context* bmp, std::vector<ci_u32>* values,
                                 ci_s32 width, ci_s32 height, const BmpFormat& format, ci_u32 maxValue,
                                 const char* shortMessage);

// The 8-bit view of the decoded samples (made on first use), or null.
const ci_u8* _BMP_u8_view(BMP_Transport_Context* bmp);

// The whole file at `path`; false when it cannot be read.
bool _BMP_read_file(const char* path, std::vector<ci_u8>* bytes);

// Little-endian readers over a byte buffer.
static inline ci_u32 _BMP_le16(const ci_u8* p) { return (ci_u32)p[0] | (ci_u32)p[1] << 8; }
static inline ci_u32 _BMP_le32(const ci_u8* p) {
    return (ci_u32)p[0] | (ci_u32)p[1] << 8 | (ci_u32)p[2] << 16 | (ci_u32)p[3] << 24;
}

// Frames.
ci_error_code _BMP_grabFrame(ci_camera_t* camera, ci_u8* buffer, ci_u32 size);

#endif
