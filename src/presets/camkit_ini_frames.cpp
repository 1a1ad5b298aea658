// Frame commands: IMAGE (the image format and size), SAVE_IMAGE (grab
// frames into numbered raw files) and XMCLK (the board's sensor clock).
#define CK_SOURCE "camkit_ini"
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "presets/presets_internal.h"

namespace {

// Image-format keywords: the image type, and how pixels cross the bus, the
// bits per clock and clocks per pixel (0: as now).  The Bayer depths set the
// bits per clock; the HDR forms and the stereo form also follow the camera's
// HiDy mode and bus width, as every Bayer type does.
struct ImageKeyword {
    const char* text;
    ci_image_types type;
    ci_s32 bitsPerClock;
    ci_s32 clocksPerPixel;
};

constexpr ImageKeyword kImageKeywords[] = {
    {"BAYER-6", CI_BAYER_6, 6, 1},
    {"BAYER-8", CI_BAYER_8, 8, 1},
    {"BAYER-10", CI_BAYER_10, 10, 1},
    {"BAYER-8+2", CI_BAYER_10, 8, 2},
    {"BAYER-10IHDR", CI_BAYER_10_IHDR, 10, 1},
    {"BAYER-12", CI_BAYER_12, 12, 1},
    {"BAYER-12HDR", CI_BAYER_12_HDR, 12, 1},
    {"BAYER-8+4", CI_BAYER_12, 8, 2},
    {"BAYER-14", CI_BAYER_14, 14, 1},
    {"BAYER-14HDR", CI_BAYER_14_HDR, 14, 1},
    {"BAYER-16", CI_BAYER_16, 16, 1},
    {"BAYER-20", CI_BAYER_20, 20, 1},
    {"BAYER-16+4", CI_BAYER_20, 16, 2},
    {"BAYER-STEREO", CI_BAYER_STEREO, 16, 1},
    {"YCBCR", CI_YCBCR, 0, 0},
    {"YCBCR-16", CI_YCBCR, 16, 1},
    {"YCBCR-10", CI_YCBCR_10, 0, 0},
    {"YCBCR-20", CI_YCBCR_10, 20, 1},
    {"YUV-420", CI_YUV420, 0, 0},
    {"M420", CI_M420, 0, 0},
    {"Y400", CI_Y400, 0, 0},
    {"RGB-565", CI_RGB565, 0, 0},
    {"RGB-555", CI_RGB555, 0, 0},
    {"RGB-555L", CI_RGB555L, 0, 0},
    {"RGB-555M", CI_RGB555M, 0, 0},
    {"RGB-444X", CI_RGB444X, 0, 0},
    {"RGB-X444", CI_RGBX444, 0, 0},
    {"RGB-332", CI_RGB332, 0, 0},
    {"BGRG", CI_BGRG, 0, 0},
    {"RGB-24", CI_RGB24, 0, 0},
    {"RGB-32", CI_RGB32, 0, 0},
    {"RGB-48", CI_RGB48, 0, 0},
    {"JPEG", CI_JPEG, 0, 0},
    {"JPEG-SPEEDTAGS", CI_JPEG_SPEEDTAGS, 0, 0},
    {"JPEG-ROT", CI_JPEG_ROT, 0, 0},
};

const ImageKeyword* imageKeyword(const std::string& text) {
    for (const ImageKeyword& k : kImageKeywords) {
        if (osal_stricmp(k.text, text.c_str()) == 0) return &k;
    }
    return nullptr;
}

constexpr double kMinClockMHz = 1.0;
constexpr double kMaxClockMHz = 200.0;
constexpr ci_u32 kMaxSaveFrames = 1000;

bool saveFrame(const char* name, const ci_u8* data, size_t n) {
    FILE* file = fopen(name, "wb");
    if (!file) return false;
    const bool written = fwrite(data, 1, n, file) == n;
    return fclose(file) == 0 && written;
}

}  // namespace

// IMAGE = FORMAT[, width, height]
ci_error_code _CmdImage(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    if ((ops.size() != 1 && ops.size() != 3) || ops[0].empty()) {
        return ci_ini_error("Error parsing IMAGE command", run.line);
    }
    const ImageKeyword* k = imageKeyword(ops[0]);
    ci_u32 width = 0, height = 0;
    if (!k || (ops.size() == 3 && (!_Str2Int(ops[1], &width) || !_Str2Int(ops[2], &height) || !width || !height))) {
        return ci_ini_error("Invalid value in IMAGE command", run.line);
    }
    if (!run.camera->sensor) return CI_INI_SUCCESS;
    run.camera->sensor->imageType = k->type;
    _noteFailure(run, ci_updateFrameSize(run.camera, width, height, k->bitsPerClock, k->clocksPerPixel));
    return CI_INI_SUCCESS;
}

// SAVE_IMAGE = file name[, frames]: starts the transport, and each frame
// grabbed goes to the next free numbered name (capture.raw: capture0.raw,
// capture1.raw ...), as raw bytes.
ci_error_code _CmdSaveImage(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    ci_u32 frames = 1;
    if (ops.size() > 2 || ops[0].empty() || ops[0].size() >= CI_MAX_PATH ||
        (ops.size() == 2 && (!_Str2Int(ops[1], &frames) || frames < 1 || frames > kMaxSaveFrames))) {
        return ci_ini_error("Error saving file in SAVE_IMAGE", run.line);
    }
    const ci_u32 size = run.camera->sensor ? run.camera->sensor->bufferSize : 0;
    std::vector<ci_u8> buffer;
    try {
        buffer.resize(size ? size : 1);
    } catch (...) {
        return ci_ini_error("Couldn't allocate memory for SAVE_IMAGE", run.line);
    }
    // Frames come from a running transport: start it (it stays running).
    if (size) ci_startTransport(run.camera);
    for (ci_u32 i = 0; i < frames; ++i) {
        if (!size || ci_grabFrame(run.camera, buffer.data(), size) != CI_CAMERA_SUCCESS) {
            return ci_ini_error("Failed to capture an image in SAVE_IMAGE command", run.line);
        }
        char name[CI_MAX_PATH];
        snprintf(name, sizeof name, "%s", ops[0].c_str());
        _nextFileN(name, sizeof name);
        if (!saveFrame(name, buffer.data(), size)) return ci_ini_error("Error saving file in SAVE_IMAGE", run.line);
    }
    return CI_INI_SUCCESS;
}

// XMCLK = MHz (1 to 200, fractions allowed)
ci_error_code _CmdXmclk(PresetRun& run, ciTKey, const std::string& value) {
    char* end = nullptr;
    const double mhz = strtod(value.c_str(), &end);
    if (end == value.c_str() || *end || !std::isfinite(mhz) || mhz < kMinClockMHz || mhz > kMaxClockMHz) {
        return ci_ini_error("XMCLK value out of range", run.line);
    }
    _noteFailure(run, ci_setMode(run.camera, CI_OUTPUT_CLOCK_FREQ, (ci_u32)std::lround(mhz * 1e6)));
    return CI_INI_SUCCESS;
}
