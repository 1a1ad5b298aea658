// The side file "<image>_info.txt": words that give the image's size,
// format, output depth, pixel order and the sensor data file of a second
// (far) sensor.
#define CK_SOURCE "transport/bmp_transport"
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "transport/bmp_transport.h"

namespace {

constexpr size_t kMaxWord = 299;

struct WordReader {
    FILE* file;
    // The next whitespace-separated word; false at the end of the file.
    bool next(std::string* word) {
        word->clear();
        int c = 0;
        while ((c = fgetc(file)) != EOF && isspace(c)) {
        }
        while (c != EOF && !isspace(c)) {
            if (word->size() < kMaxWord) word->push_back((char)c);
            c = fgetc(file);
        }
        return !word->empty();
    }
    bool integer(ci_s32* value) {
        std::string word;
        if (!next(&word)) return false;
        char* end = nullptr;
        const long v = strtol(word.c_str(), &end, 0);
        if (end == word.c_str()) return false;
        *value = (ci_s32)v;
        return true;
    }
};

const char* const kPixelOrders[] = {"GRBG", "RGGB", "BGGR", "GBRG", "CbYCrY", "YCbYCr", "CrYCbY", "YCrYCb"};

// "Bayer" alone or followed by digits ("Bayer10"): the name goes on in the
// next word ("Bayer 10", "Bayer10 Zoom").
bool _takes_second_word(const std::string& name) {
    if (name.size() < 5 || osal_strnicmp(name.c_str(), "Bayer", 5) != 0) return false;
    for (size_t i = 5; i < name.size(); i++)
        if (!isdigit((unsigned char)name[i])) return false;
    return true;
}

ci_image_types _image_type_named(const std::string& name) {
    char text[CI_STRING_LEN];
    for (ci_s32 t = 1; t < CI_NUM_IMAGE_TYPES; t++) {
        if (ci_GetImageTypeStr((ci_image_types)t, text) == CI_CAMERA_SUCCESS && osal_stricmp(text, name.c_str()) == 0)
            return (ci_image_types)t;
    }
    return CI_UNKNOWN_IMAGE_TYPE;
}

// Reads the named sensor data file from the sensor-data directory as the
// camera's far sensor.
void _load_far_sensor(ci_camera_t* camera, const std::string& word) {
    ci_sensor_t* sensor = camera->sensor;
    if (sensor == nullptr || sensor->far1_sensor != nullptr) return;
    const size_t slash = word.find_last_of("/\\");
    const std::string path =
        std::string(ci_SensorData()) + "/" + word.substr(slash == std::string::npos ? 0 : slash + 1);
    auto* far = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    if (far == nullptr) return;
    if (ci_ParseSensorFile(camera, path.c_str(), far) != CI_PARSE_SUCCESS) {
        _freeSensorRegs(far);
        free(far);
        return;
    }
    sensor->far1_sensor = far;
}

ci_u32 _real_depth(ci_image_types type, ci_u32 bits) {
    if (bits != 16) return bits;
    const ci_u32 depth = _bayerTypeDepth(type);
    return depth ? depth : bits;
}

// The side file's name: the image's extension replaced; false when the
// image has none or the name would not fit.
bool _info_file_name(BMP_Transport_Context* bmp) {
    const char* dot = strrchr(bmp->fileName, '.');
    const char* slash = strrchr(bmp->fileName, '/');
    const size_t length = strlen(bmp->fileName);
    if (dot == nullptr || (slash != nullptr && dot < slash) || length + 8 >= CI_STRING_LEN) return false;
    snprintf(bmp->infoFileName, sizeof bmp->infoFileName, "%.*s_info.txt", (int)(dot - bmp->fileName), bmp->fileName);
    return true;
}

// One keyword; false when the file's format names no image type (stop).
bool _apply_word(ci_camera_t* camera, BMP_Transport_Context* bmp, WordReader& in, const std::string& word) {
    std::string skipped, name;
    if (osal_stricmp(word.c_str(), "Width") == 0) {
        in.next(&skipped);
        in.integer(&bmp->infoImageWidth);
    } else if (osal_stricmp(word.c_str(), "Height") == 0) {
        in.next(&skipped);
        in.integer(&bmp->infoImageHeight);
    } else if (osal_stricmp(word.c_str(), "Format") == 0) {
        in.next(&skipped);
        in.next(&name);
        std::string more;
        if (_takes_second_word(name) && in.next(&more)) name += " " + more;
        bmp->infoImageType = _image_type_named(name);
        if (bmp->infoImageType == CI_UNKNOWN_IMAGE_TYPE) return false;
    } else if (osal_stricmp(word.c_str(), "output") == 0) {
        ci_s32 bits = 0;
        in.next(&skipped);
        if (in.integer(&bits) && bits > 0) bmp->infoPixelBits = (ci_u32)bits;
    } else if (word.find("sdat") != std::string::npos) {
        _load_far_sensor(camera, word);
    } else {
        for (ci_u32 i = 0; i < 8; i++)
            if (osal_stricmp(word.c_str(), kPixelOrders[i]) == 0) _BMP_set_pixel_order(bmp, i & 3);
    }
    return true;
}

}  // namespace

ci_s32 _parseInfoTxt(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    if (!_info_file_name(bmp)) return 1;
    FILE* file = fopen(bmp->infoFileName, "r");
    if (file == nullptr) return 1;
    WordReader in{file};
    std::string word;
    ci_s32 result = 0;
    while (in.next(&word) && word != "FuseID:") {
        if (!_apply_word(camera, bmp, in, word)) {
            result = 1;
            break;
        }
    }
    fclose(file);
    if (result != 0) return result;
    bmp->infoPixelBits = _real_depth(bmp->infoImageType, bmp->infoPixelBits);
    return 0;
}
