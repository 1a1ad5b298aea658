// DXR files: a 64-byte little-endian header, then the planes: one Bayer
// plane, four Bayer planes (one per colour site, interleaved into an image
// of twice the width and height) or three colour planes.
#define CK_SOURCE "transport/bmp_transport"
#include <cstring>
#include <string>

#include "transport/bmp_transport.h"

namespace {

constexpr size_t kDxrHeader = 64;
constexpr ci_u32 kDxrId = 0x20525844;  // "DXR "

struct DxrHeader {
    ci_u32 id;
    std::string type;
    ci_u32 width, height, precision, isSigned, channels;
};

DxrHeader _read_header(const ci_u8* p) {
    char type[17] = {};
    memcpy(type, p + 4, 16);
    return DxrHeader{_BMP_le32(p),     type, _BMP_le32(p + 20), _BMP_le32(p + 24), _BMP_le32(p + 28), _BMP_le32(p + 32),
                     _BMP_le32(p + 36)};
}

// The pixel order of "Bayer0".."Bayer3"; -1 for an empty type, -2 for any
// other text.
int _bayer_phase(const std::string& type) {
    if (type.empty()) return -1;
    static const char* const kTypes[] = {"Bayer0", "Bayer1", "Bayer2", "Bayer3"};
    for (int i = 0; i < 4; i++)
        if (type == kTypes[i]) return 3 - i;
    return -2;
}

// Plane p fills the rows from p >> 1 and the columns from p & 1, each in
// steps of two.
std::vector<ci_u32> _interleave(const std::vector<ci_u32>& planes, size_t width, size_t height) {
    std::vector<ci_u32> image(4 * width * height);
    const size_t outWidth = 2 * width;
    for (size_t p = 0; p < 4; p++)
        for (size_t y = 0; y < height; y++)
            for (size_t x = 0; x < width; x++)
                image[(2 * y + (p >> 1)) * outWidth + 2 * x + (p & 1)] = planes[(p * height + y) * width + x];
    return image;
}

}  // namespace

ci_error_code _BMP_load_dxr(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    std::vector<ci_u8> file;
    if (!_BMP_read_file(bmp->fileName, &file)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open DXR file");
    if (file.size() < kDxrHeader) return CK_ERR(CI_CAMERA_ERROR, "Error reading DXR header");
    const DxrHeader h = _read_header(file.data());
    if (h.id != kDxrId) return CK_ERR(CI_CAMERA_ERROR, "Not a DXR file (bad ID)");
    const int phase = _bayer_phase(h.type);
    const bool single = h.channels == 1 && phase == -1;
    const bool quad = h.channels == 4 && phase != -2;
    const bool colour = h.channels == 3 && h.type == "RGB";
    if (!(single || quad || colour) || h.precision < 8 || h.precision > (colour ? 16u : 20u))
        return CK_ERR(CI_CAMERA_ERROR, "Unknown DXR file image type");
    if (h.width == 0 || h.height == 0 || h.width > kBmpMaxSide / 2 || h.height > kBmpMaxSide / 2 ||
        (ci_u64)h.width * h.height * h.channels > kBmpMaxPixels)
        return CK_ERR(CI_CAMERA_ERROR, "Unsupported DXR image size");
    std::vector<ci_u32> samples;
    const size_t plane = (size_t)h.width * h.height;
    if (!_BMP_read_samples(&file[kDxrHeader], file.size() - kDxrHeader, plane * h.channels, h.precision,
                           h.isSigned != 0, &samples))
        return CK_ERR(CI_CAMERA_ERROR, "Error reading DXR data");
    bool kept = false;
    if (colour) kept = _BMP_keep_colour_planes(camera, bmp, (ci_s32)h.width, (ci_s32)h.height, h.precision, samples);
    if (single) kept = _BMP_keep_bayer(camera, bmp, (ci_s32)h.width, (ci_s32)h.height, h.precision, samples);
    if (quad)
        kept = _BMP_keep_bayer(camera, bmp, (ci_s32)(2 * h.width), (ci_s32)(2 * h.height), h.precision,
                               _interleave(samples, h.width, h.height));
    if (!kept) return CK_ERR(CI_CAMERA_ERROR, "out of memory");
    if (quad && phase >= 0) _BMP_set_pixel_order(bmp, (ci_u32)phase);
    return CI_CAMERA_SUCCESS;
}
