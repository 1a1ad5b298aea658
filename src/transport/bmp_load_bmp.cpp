// Bitmap files.  The file header is 16 bytes: "BM", two unused bytes, the
// file size at 4, two reserved words at 8 and 10 and the pixel-data offset
// at 12; the 40-byte information header follows at 16 and the palette after
// it.  8-bit images are palette indices and play back as 8-bit Bayer data;
// 24- and 32-bit images become B, G, R, X pixels.
#define CK_SOURCE "transport/bmp_transport"
#include <cstring>

#include "transport/bmp_transport.h"

namespace {

constexpr size_t kFileHeader = 16;
constexpr size_t kInfoHeader = 40;

struct BmpInfo {
    ci_u32 dataOffset;
    ci_s32 width;
    ci_s32 height;  // positive: rows stored bottom-up
    ci_u32 planes;
    ci_u32 bitCount;
    ci_u32 compression;
    ci_u32 coloursUsed;
};

BmpInfo _read_info(const ci_u8* p) {
    const ci_u8* info = p + kFileHeader;
    return BmpInfo{_BMP_le32(p + 12),    (ci_s32)_BMP_le32(info + 4), (ci_s32)_BMP_le32(info + 8), _BMP_le16(info + 12),
                   _BMP_le16(info + 14), _BMP_le32(info + 16),        _BMP_le32(info + 32)};
}

// Bytes a stored row takes, padding included.
size_t _row_bytes(ci_u32 bitCount, size_t width) {
    if (bitCount == 8) return width + (4 - width % 4) % 4;
    if (bitCount == 24) return 3 * width + width % 4;
    return 4 * width;
}

void _keep_palette(BMP_Transport_Context* bmp, const std::vector<ci_u8>& file, const BmpInfo& info) {
    const size_t start = kFileHeader + kInfoHeader;
    size_t colours = info.coloursUsed == 0 || info.coloursUsed > 256 ? 256 : info.coloursUsed;
    if (start + 4 * colours > file.size()) colours = (file.size() - start) / 4;
    bool alphaAllZero = true;
    for (size_t i = 0; i < colours; i++) {
        memcpy(bmp->palette[i], &file[start + 4 * i], 4);
        alphaAllZero = alphaAllZero && bmp->palette[i][3] == 0;
    }
    for (size_t i = 0; alphaAllZero && i < colours; i++) bmp->palette[i][3] = 255;
    bmp->paletteSize = (ci_u32)colours;
}

void _copy_row(const ci_u8* src, ci_u8* dst, ci_u32 bitCount, size_t width) {
    if (bitCount == 8) {
        memcpy(dst, src, width);
        return;
    }
    if (bitCount == 32) {
        memcpy(dst, src, 4 * width);
        return;
    }
    for (size_t x = 0; x < width; x++) {
        memcpy(dst + 4 * x, src + 3 * x, 3);
        dst[4 * x + 3] = 255;
    }
}

}  // namespace

ci_error_code _BMP_load_bmp(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    std::vector<ci_u8> file;
    if (!_BMP_read_file(bmp->fileName, &file)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open BMP file");
    if (file.size() < kFileHeader + kInfoHeader) return CK_ERR(CI_CAMERA_ERROR, "Error reading BMP header");
    if (file[0] != 'B' || file[1] != 'M') return CK_ERR(CI_CAMERA_ERROR, "Not a BMP file (bad ID)");
    const BmpInfo info = _read_info(file.data());
    if (info.planes != 1 || info.compression != 0 || (info.bitCount != 8 && info.bitCount != 24 && info.bitCount != 32))
        return CK_ERR(CI_CAMERA_ERROR, "Unsupported BMP format");
    const bool bottomUp = info.height > 0;
    const ci_u64 width = info.width > 0 ? (ci_u64)info.width : 0;
    const ci_u64 height = bottomUp ? (ci_u64)info.height : (ci_u64)(-(ci_s64)info.height);
    if (width == 0 || height == 0 || width > kBmpMaxSide || height > kBmpMaxSide || width * height > kBmpMaxPixels)
        return CK_ERR(CI_CAMERA_ERROR, "Unsupported BMP size");
    const size_t rowBytes = _row_bytes(info.bitCount, width);
    if (info.dataOffset > file.size() || file.size() - info.dataOffset < rowBytes * height)
        return CK_ERR(CI_CAMERA_ERROR, "Error reading BMP data");

    const BmpFormat format = info.bitCount == 8 ? _BMP_bayer_format(nullptr, 8) : _BMP_colour_format(8);
    _BMP_set_image(camera, bmp, (ci_s32)width, (ci_s32)height, format);
    if (!_BMP_alloc_u8(bmp, format.pixelBytes * width * height)) return CK_ERR(CI_CAMERA_ERROR, "out of memory");
    if (info.bitCount == 8) _keep_palette(bmp, file, info);
    bmp->imageType = format.type;
    bmp->imageStride = (ci_s32)(format.pixelBytes * width);
    for (size_t r = 0; r < height; r++) {
        const size_t stored = bottomUp ? height - 1 - r : r;
        _copy_row(&file[info.dataOffset + stored * rowBytes], bmp->buffer_u8 + r * (size_t)bmp->imageStride,
                  info.bitCount, width);
    }
    return CI_CAMERA_SUCCESS;
}
