// CCR files: a 336-byte little-endian header, then either one Bayer plane
// or three colour planes (red, green, blue) of width x height samples.
#define CK_SOURCE "transport/bmp_transport"
#include "transport/bmp_transport.h"

namespace {

constexpr size_t kCcrHeader = 336;
constexpr ci_u32 kCcrId = 0x0A524343;  // "CCR\n"
constexpr ci_u32 kCcrColour = 0;
constexpr ci_u32 kCcrHorizontalPhase = 2;
constexpr ci_u32 kCcrVerticalPhase = 4;

struct CcrHeader {
    ci_u32 id, version, width, height, imageType, bitsPerPixel, black0;
};

CcrHeader _read_header(const ci_u8* p) {
    return CcrHeader{_BMP_le32(p),      _BMP_le32(p + 4),  _BMP_le32(p + 8), _BMP_le32(p + 12),
                     _BMP_le32(p + 16), _BMP_le32(p + 20), _BMP_le32(p + 48)};
}

}  // namespace

ci_error_code _BMP_load_ccr(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    std::vector<ci_u8> file;
    if (!_BMP_read_file(bmp->fileName, &file)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open CCR file");
    if (file.size() < kCcrHeader) return CK_ERR(CI_CAMERA_ERROR, "Error reading CCR header");
    const CcrHeader h = _read_header(file.data());
    if (h.id != kCcrId) return CK_ERR(CI_CAMERA_ERROR, "Not a CCR file (bad ID)");
    if (h.version != 0x0102 && h.version != 0x0103) return CK_ERR(CI_CAMERA_ERROR, "Unsupported CCR file version");
    if (h.imageType >= 8) return CK_ERR(CI_CAMERA_ERROR, "Unknown CCR file image type");
    const bool colour = h.imageType == kCcrColour;
    if (h.bitsPerPixel < 8 || h.bitsPerPixel > (colour ? 16u : 20u))
        return CK_ERR(CI_CAMERA_ERROR, "Unsupported CCR bits per pixel");
    if (h.width == 0 || h.height == 0 || h.width > kBmpMaxSide || h.height > kBmpMaxSide ||
        (ci_u64)h.width * h.height > kBmpMaxPixels)
        return CK_ERR(CI_CAMERA_ERROR, "Unsupported CCR image size");
    const size_t pixels = (size_t)h.width * h.height;
    std::vector<ci_u32> samples;
    if (!_BMP_read_samples(&file[kCcrHeader], file.size() - kCcrHeader, colour ? 3 * pixels : pixels, h.bitsPerPixel,
                           false, &samples))
        return CK_ERR(CI_CAMERA_ERROR, "Error reading CCR data");
    const bool kept =
        colour ? _BMP_keep_colour_planes(camera, bmp, (ci_s32)h.width, (ci_s32)h.height, h.bitsPerPixel, samples)
               : _BMP_keep_bayer(camera, bmp, (ci_s32)h.width, (ci_s32)h.height, h.bitsPerPixel, samples);
    if (!kept) return CK_ERR(CI_CAMERA_ERROR, "out of memory");
    _BMP_set_pedestal(camera, bmp, h.black0, h.bitsPerPixel);
    if (!colour)
        _BMP_set_pixel_order(
            bmp, ((h.imageType & kCcrHorizontalPhase) ? 1 : 0) | ((h.imageType & kCcrVerticalPhase) ? 2 : 0));
    return CI_CAMERA_SUCCESS;
}
