// TIFF files, decoded with libtiff (striped or tiled, either byte order,
// the compressions libtiff is built with).  Unsigned 8- and 16-bit images
// stored pixel by pixel are kept at their depth:
//   grey 8 bits          8-bit Bayer
//   grey 16 bits         10-, 12- or 14-bit Bayer, the depth from the
//                        largest sample (or a larger MaxSampleValue tag);
//                        samples above 14 bits are cut to their top 14
//   RGB(A) 8 bits        CI_RGB32: B, G, R, X bytes
//   RGB(A) 16 bits       CI_RGB48: B, G, R 16-bit samples
// Everything else libtiff can read (palette, planar, YCbCr, white-is-zero,
// other depths) goes through its RGBA reader and becomes CI_RGB32.
#define CK_SOURCE "transport/bmp_transport"
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "transport/bmp_transport.h"

namespace {

constexpr tmsize_t kMaxSingleAlloc = (tmsize_t)1 << 28;

struct TiffMessages {
    std::string error;
};

int _tiff_error(TIFF*, void* user, const char* module, const char* fmt, va_list ap) {
    auto* messages = static_cast<TiffMessages*>(user);
    char text[200];
    vsnprintf(text, sizeof text, fmt, ap);
    if (messages->error.empty()) messages->error = std::string(module != nullptr ? module : "") + ": " + text;
    return 1;
}

int _tiff_warning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct TiffLayout {
    ci_u32 width = 0, height = 0;
    ci_u16 bits = 0, samples = 0, photometric = 0, planar = 0, format = 0;
};

TiffLayout _layout(TIFF* tif) {
    TiffLayout l;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &l.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &l.height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &l.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &l.samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &l.planar);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &l.format);
    if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &l.photometric)) l.photometric = 0xFFFF;
    return l;
}

bool _is_direct(const TiffLayout& l) {
    if (l.planar != PLANARCONFIG_CONTIG || l.format != SAMPLEFORMAT_UINT || (l.bits != 8 && l.bits != 16)) return false;
    if (l.samples == 1) return l.photometric == PHOTOMETRIC_MINISBLACK;
    return (l.samples == 3 || l.samples == 4) && l.photometric == PHOTOMETRIC_RGB;
}

// The image's samples, pixel by pixel, into `out` (rows of `stride` bytes).
bool _read_strips(TIFF* tif, ci_u8* out, size_t stride, ci_u32 height) {
    ci_u32 rowsPerStrip = 0;
    TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    rowsPerStrip = std::clamp<ci_u32>(rowsPerStrip, 1, height);
    const ci_u32 strips = (height + rowsPerStrip - 1) / rowsPerStrip;
    for (ci_u32 s = 0; s < strips; s++) {
        const ci_u32 rows = std::min(rowsPerStrip, height - s * rowsPerStrip);
        const size_t offset = (size_t)s * rowsPerStrip * stride;
        if (TIFFReadEncodedStrip(tif, s, out + offset, (tmsize_t)(rows * stride)) < (tmsize_t)(rows * stride))
            return false;
    }
    return true;
}

bool _read_tiles(TIFF* tif, ci_u8* out, size_t stride, const TiffLayout& l) {
    ci_u32 tileWidth = 0, tileHeight = 0;
    TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tif, TIFFTAG_TILELENGTH, &tileHeight);
    const tmsize_t tileSize = TIFFTileSize(tif);
    const size_t pixelBytes = (size_t)l.samples * l.bits / 8;
    if (tileWidth == 0 || tileHeight == 0 || tileSize <= 0 ||
        (size_t)tileSize < (size_t)tileWidth * tileHeight * pixelBytes)
        return false;
    std::vector<ci_u8> tile((size_t)tileSize);
    for (ci_u32 y = 0; y < l.height; y += tileHeight) {
        for (ci_u32 x = 0; x < l.width; x += tileWidth) {
            if (TIFFReadTile(tif, tile.data(), x, y, 0, 0) < 0) return false;
            const ci_u32 rows = std::min(tileHeight, l.height - y), columns = std::min(tileWidth, l.width - x);
            for (ci_u32 r = 0; r < rows; r++)
                memcpy(out + (size_t)(y + r) * stride + x * pixelBytes, &tile[(size_t)r * tileWidth * pixelBytes],
                       columns * pixelBytes);
        }
    }
    return true;
}

bool _read_direct(TIFF* tif, ci_u8* out, const TiffLayout& l) {
    const size_t stride = (size_t)l.width * l.samples * l.bits / 8;
    return TIFFIsTiled(tif) ? _read_tiles(tif, out, stride, l) : _read_strips(tif, out, stride, l.height);
}

// Every bit any sample sets: below a power of two exactly when the largest
// sample is (the depth thresholds all are), and one pass of word ORs.
ci_u32 _bits_set(const ci_u16* samples, size_t n) {
    ci_u64 words = 0;
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        ci_u64 w = 0;
        memcpy(&w, samples + i, sizeof w);
        words |= w;
    }
    ci_u32 bits = (ci_u32)(words | words >> 16 | words >> 32 | words >> 48) & 0xFFFF;
    for (; i < n; i++) bits |= samples[i];
    return bits;
}

// Each sample's top 14 bits, four samples a word.
void _cut_to_14_bits(ci_u16* samples, size_t n) {
    constexpr ci_u64 kLanes = 0x3FFF3FFF3FFF3FFFull;
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        ci_u64 w = 0;
        memcpy(&w, samples + i, sizeof w);
        w = (w >> 2) & kLanes;
        memcpy(samples + i, &w, sizeof w);
    }
    for (; i < n; i++) samples[i] = (ci_u16)(samples[i] >> 2);
}

// The depth of 16-bit grey samples; `wide` when they use more than 14 bits.
ci_u32 _grey_depth(TIFF* tif, const ci_u16* samples, size_t n, bool* wide) {
    ci_u32 maxSample = _bits_set(samples, n);
    *wide = maxSample >= (1u << 14);
    ci_u16 tagged = 0;
    if (!*wide && TIFFGetField(tif, TIFFTAG_MAXSAMPLEVALUE, &tagged) && tagged < (1u << 14))
        maxSample = std::max<ci_u32>(maxSample, tagged);
    return maxSample < 1024 ? 10 : maxSample < 4096 ? 12 : 14;
}

bool _keep_grey16(TIFF* tif, ci_camera_t* camera, BMP_Transport_Context* bmp, const TiffLayout& l) {
    const size_t n = (size_t)l.width * l.height;
    if (!_BMP_alloc_u16(bmp, 2 * n, false) || !_read_direct(tif, reinterpret_cast<ci_u8*>(bmp->buffer_u16), l))
        return false;
    bool wide = false;
    const ci_u32 bits = _grey_depth(tif, bmp->buffer_u16, n, &wide);
    if (wide) _cut_to_14_bits(bmp->buffer_u16, n);
    _BMP_set_image(camera, bmp, (ci_s32)l.width, (ci_s32)l.height, _BMP_bayer_format(nullptr, bits));
    bmp->imageType = CI_UNKNOWN_IMAGE_TYPE;
    bmp->imageStride = (ci_s32)(2 * l.width);
    bmp->sampleBits = bits;
    bmp->sampleBytes = 2;
    return true;
}

bool _keep_grey8(TIFF* tif, ci_camera_t* camera, BMP_Transport_Context* bmp, const TiffLayout& l) {
    if (!_BMP_alloc_u8(bmp, (size_t)l.width * l.height, false) || !_read_direct(tif, bmp->buffer_u8, l)) return false;
    _BMP_set_image(camera, bmp, (ci_s32)l.width, (ci_s32)l.height, _BMP_bayer_format(nullptr, 8));
    bmp->imageType = CI_BAYER_8;
    bmp->imageStride = (ci_s32)l.width;
    return true;
}

bool _keep_colour(TIFF* tif, ci_camera_t* camera, BMP_Transport_Context* bmp, const TiffLayout& l) {
    const size_t n = (size_t)l.width * l.height;
    std::vector<ci_u8> image(n * l.samples * l.bits / 8);
    if (!_read_direct(tif, image.data(), l)) return false;
    const BmpFormat format = _BMP_colour_format(l.bits);
    if (!_BMP_alloc_u8(bmp, n * format.pixelBytes)) return false;
    ci_u8* out = bmp->buffer_u8;
    const size_t in = (size_t)l.samples * l.bits / 8;
    for (size_t i = 0; i < n; i++) {
        const ci_u8* p = &image[i * in];
        if (l.bits == 8) {
            const ci_u8 pixel[4] = {p[2], p[1], p[0], l.samples == 4 ? p[3] : (ci_u8)255};
            memcpy(out + 4 * i, pixel, 4);
            continue;
        }
        ci_u16 rgb[3];
        memcpy(rgb, p, sizeof rgb);
        const ci_u16 bgr[3] = {rgb[2], rgb[1], rgb[0]};
        for (int c = 0; c < 3; c++) {
            out[6 * i + 2 * c] = (ci_u8)bgr[c];
            out[6 * i + 2 * c + 1] = (ci_u8)(bgr[c] >> 8);
        }
    }
    _BMP_set_image(camera, bmp, (ci_s32)l.width, (ci_s32)l.height, format);
    bmp->imageType = format.type;
    bmp->imageStride = (ci_s32)(format.pixelBytes * l.width);
    return true;
}

bool _keep_rgba(TIFF* tif, ci_camera_t* camera, BMP_Transport_Context* bmp, const TiffLayout& l) {
    const size_t n = (size_t)l.width * l.height;
    std::unique_ptr<uint32_t[]> raster(new (std::nothrow) uint32_t[n]);
    if (raster == nullptr || !TIFFReadRGBAImageOriented(tif, l.width, l.height, raster.get(), ORIENTATION_TOPLEFT, 0))
        return false;
    if (!_BMP_alloc_u8(bmp, 4 * n)) return false;
    for (size_t i = 0; i < n; i++) {
        const uint32_t p = raster[i];
        const ci_u8 pixel[4] = {(ci_u8)TIFFGetB(p), (ci_u8)TIFFGetG(p), (ci_u8)TIFFGetR(p), (ci_u8)TIFFGetA(p)};
        memcpy(bmp->buffer_u8 + 4 * i, pixel, 4);
    }
    const BmpFormat format = _BMP_colour_format(8);
    _BMP_set_image(camera, bmp, (ci_s32)l.width, (ci_s32)l.height, format);
    bmp->imageType = CI_RGB32;
    bmp->imageStride = (ci_s32)(4 * l.width);
    return true;
}

bool _keep_image(TIFF* tif, ci_camera_t* camera, BMP_Transport_Context* bmp, std::string* error) {
    const TiffLayout l = _layout(tif);
    if (l.width == 0 || l.height == 0 || l.width > kBmpMaxSide || l.height > kBmpMaxSide ||
        (ci_u64)l.width * l.height > kBmpMaxPixels) {
        *error = "unsupported image size";
        return false;
    }
    if (!_is_direct(l)) return _keep_rgba(tif, camera, bmp, l);
    if (l.samples > 1) return _keep_colour(tif, camera, bmp, l);
    return l.bits == 8 ? _keep_grey8(tif, camera, bmp, l) : _keep_grey16(tif, camera, bmp, l);
}

}  // namespace

ci_error_code _BMP_load_tiff(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    TiffMessages messages;
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return CK_ERR(CI_CAMERA_ERROR, "out of memory");
    TIFFOpenOptionsSetErrorHandlerExtR(options, _tiff_error, &messages);
    TIFFOpenOptionsSetWarningHandlerExtR(options, _tiff_warning, &messages);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMaxSingleAlloc);
    TIFF* tif = TIFFOpenExt(bmp->fileName, "r", options);
    TIFFOpenOptionsFree(options);
    if (tif == nullptr) {
        const std::string text = "Couldn't open TIFF file: " + messages.error;
        return CK_ERR(CI_CAMERA_ERROR, text.c_str());
    }
    std::string error;
    const bool kept = _keep_image(tif, camera, bmp, &error);
    TIFFClose(tif);
    if (kept) return CI_CAMERA_SUCCESS;
    const std::string text = "Error reading TIFF file: " + (error.empty() ? messages.error : error);
    return CK_ERR(CI_CAMERA_ERROR, text.c_str());
}
