// Image-type names and the classifications that the rest of the library and
// the host ask about: Bayer, YCbCr and JPEG image types, system-on-chip and
// array-imager sensors, far address spaces.
//
// Sets of small integers (image types, sensor type codes) are held as
// compile-time bit sets so that every question is one shift and mask.
#define CK_SOURCE "camkit"
#include <cassert>
#include <cstring>

#include "core/camkit_private.h"
#include "sensor/sensor_traits.h"

namespace {

// A set of integers 0..127 as two 64-bit words.
struct CodeSet {
    ci_u64 word[2];

    constexpr bool has(ci_s64 code) const {
        return code >= 0 && code < 128 && ((word[code >> 6] >> (code & 63)) & 1u) != 0;
    }
};

template <size_t N>
constexpr CodeSet makeSet(const int (&codes)[N]) {
    CodeSet set{{0, 0}};
    for (int code : codes) set.word[code >> 6] |= ci_u64{1} << (code & 63);
    return set;
}

constexpr int kBayerTypes[] = {1, 2, 3, 4, 12, 13, 14, 17, 21, 22, 23, 24, 27, 29, 31};
constexpr int kYcbcrTypes[] = {5, 30};
constexpr int kJpegTypes[] = {16, 28, 32};

constexpr CodeSet kBayer = makeSet(kBayerTypes);
constexpr CodeSet kYcbcr = makeSet(kYcbcrTypes);
constexpr CodeSet kJpeg = makeSet(kJpegTypes);

// A sensor whose SOC status depends on what it is configured to output.
constexpr ci_sensor_types kYcbcrOnlySocType = (ci_sensor_types)19;

// Display names indexed by image type; two types share "Bayer 12".
constexpr const char* kImageTypeNames[CI_NUM_IMAGE_TYPES] = {
    "Unknown",      "Bayer 8",      "Bayer 10",     "Bayer8 Zoom",  "Bayer10 Zoom", "YCbCr",
    "565RGB",       "555RGB",       "444XRGB",      "X444RGB",      "RGB24",        "RGB32",
    "Bayer 12",     "Bayer 12",     "Bayer 24",     "RGB48",        "JPEG",         "Bayer Stereo",
    "PNG",          "Prog. Bayer",  "YUV 4:2:0",    "Bayer 14",     "Bayer12 HiDy", "Bayer14 HiDy",
    "Bayer 20",     "332RGB",       "M420",         "Bayer10 iHDR", "JPEG SpdTags", "Bayer 16",
    "YCbCr 10",     "Bayer 6",      "JPEG Rotate",  "Y400",         "555LRGB",      "555MRGB"};

}  // namespace

ci_error_code ci_GetImageTypeStr(ci_image_types type, char* text) {
    if (text == nullptr) return CI_CAMERA_ERROR;
    const bool known = type > CI_UNKNOWN_IMAGE_TYPE && type < CI_NUM_IMAGE_TYPES;
    strcpy(text, kImageTypeNames[known ? type : CI_UNKNOWN_IMAGE_TYPE]);
    return known ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
}

ci_s32 ci_IsBayerImageType(ci_image_types type) { return kBayer.has(type); }

ci_s32 ci_IsYcbcrImageType(ci_image_types type) { return kYcbcr.has(type); }

ci_s32 ci_IsJpegImageType(ci_image_types type) { return kJpeg.has(type); }

ci_s32 ci_IsBayer(ci_camera_t* camera) {
    assert(camera != nullptr);
    return camera->sensor != nullptr && ci_IsBayerImageType(camera->sensor->imageType);
}

ci_s32 ci_IsSOC(ci_camera_t* camera) {
    assert(camera != nullptr);
    const ci_sensor_t* sensor = camera->sensor;
    if (sensor == nullptr) return 0;
    if (sensor->sensorType == kYcbcrOnlySocType) return sensor->imageType == CI_YCBCR;
    return _sensorTraits((ci_u32)sensor->sensorType).soc;
}

ci_s32 ci_IsArrayImager(ci_camera_t* camera) {
    assert(camera != nullptr);
    return camera->sensor != nullptr && camera->sensor->sensorType == CI_ARRAY_IMAGER_SENSOR;
}

ci_s32 ci_IsFarSpace(const ci_addr_space_val_t* space) {
    return space != nullptr && space->type >= CI_FAR1_REG_ADDR && space->type <= CI_FAR2_SFR_ADDR;
}

ci_u32 _bayerTypeDepth(ci_image_types type) {
    switch (type) {
        case CI_BAYER_10:
        case CI_BAYER_10_ZOOM:
        case CI_BAYER_10_IHDR:
            return 10;
        case CI_BAYER_12:
        case CI_BAYER_12_HDR:
            return 12;
        case CI_BAYER_14:
        case CI_BAYER_14_HDR:
            return 14;
        default:
            return 0;
    }
}
