// JPEG files are kept whole, undecoded: each frame is the file.  The file
// must start with the start-of-image marker and end with the end-of-image
// marker (trailing zero bytes allowed); width and height come from its frame
// header (any start-of-frame marker).
#define CK_SOURCE "transport/bmp_transport"
#include <algorithm>
#include <cstring>

#include "transport/bmp_transport.h"

namespace {

constexpr ci_u8 kMarker = 0xFF;
constexpr ci_u8 kStartOfImage = 0xD8;
constexpr ci_u8 kEndOfImage = 0xD9;
constexpr ci_u8 kStartOfScan = 0xDA;

bool _is_frame_header(ci_u8 marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

bool _has_no_length(ci_u8 marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7); }

bool _ends_with_eoi(const std::vector<ci_u8>& file) {
    size_t end = file.size();
    while (end > 2 && file[end - 1] == 0) end--;
    return end >= 4 && file[end - 2] == kMarker && file[end - 1] == kEndOfImage;
}

// Walks the marker segments up to the first scan; false when there is no
// frame header before it.
bool _frame_size(const std::vector<ci_u8>& file, ci_u32* width, ci_u32* height) {
    size_t i = 2;
    while (i + 4 <= file.size()) {
        if (file[i] != kMarker) return false;
        const ci_u8 marker = file[i + 1];
        if (marker == kMarker) {  // fill byte
            i++;
            continue;
        }
        if (_has_no_length(marker)) {
            i += 2;
            continue;
        }
        if (marker == kStartOfScan || marker == kEndOfImage) return false;
        const size_t length = (size_t)file[i + 2] << 8 | file[i + 3];
        if (length < 2) return false;
        if (_is_frame_header(marker)) {
            if (length < 7 || i + 9 > file.size()) return false;
            *height = (ci_u32)file[i + 5] << 8 | file[i + 6];
            *width = (ci_u32)file[i + 7] << 8 | file[i + 8];
            return *width > 0 && *height > 0;
        }
        i += 2 + length;
    }
    return false;
}

}  // namespace

ci_error_code _BMP_load_jpeg(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    std::vector<ci_u8> file;
    if (!_BMP_read_file(bmp->fileName, &file)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open JPEG file");
    if (file.size() < 4 || file[0] != kMarker || file[1] != kStartOfImage)
        return CK_ERR(CI_CAMERA_ERROR, "Not a JPEG file");
    if (!_ends_with_eoi(file)) return CK_ERR(CI_CAMERA_ERROR, "JPEG file is truncated");
    ci_u32 width = 0, height = 0;
    if (!_frame_size(file, &width, &height)) return CK_ERR(CI_CAMERA_ERROR, "JPEG file has no frame header");
    _BMP_set_image(camera, bmp, (ci_s32)width, (ci_s32)height, BmpFormat{CI_JPEG, 2, 16, 8, 2});
    if (!_BMP_alloc_u8(bmp, file.size())) return CK_ERR(CI_CAMERA_ERROR, "out of memory");
    memcpy(bmp->buffer_u8, file.data(), file.size());
    bmp->imageType = CI_JPEG;
    bmp->imageStride = 0;
    const ci_u64 room = std::max<ci_u64>(2 * ((ci_u64)width * height + 0x200000), bmp->bufferSize8);
    camera->sensor->bufferSize = (ci_u32)std::min<ci_u64>(room, 0xFFFFFFFFu);
    return CI_CAMERA_SUCCESS;
}
