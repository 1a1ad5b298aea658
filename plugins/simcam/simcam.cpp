// simcam: a simulated camera served through the plugin interface.
//
// Each device carries a sensor described by a sensor data file (the file
// given at open, or SENSOR of the board settings, or ck_bayer16.sdat in the
// given directory).  Its registers live in a register file seeded from the
// description's defaults, so the library identifies the sensor by probing
// as it would a real one.  Frames are generated at the sensor's size and
// depth: moving Bayer colour bars whose brightness follows the exposure
// (COARSE_INTEGRATION_TIME) and gain (GLOBAL_GAIN) registers when the sensor
// has them, with the frame counter in the first four pixels.
//
// Settings, from the environment or the [BOARD] section of the camera
// description file that names the plugin:
//   DEVICES (SIMCAM_DEVICES)  devices served, 1 to 50 (default 1)
//   SENSOR  (SIMCAM_SENSOR)   sensor data file of every device
// Preset command of its own: SIM_PATTERN = BARS | RAMP | FLAT.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "camkit_plugin.h"

namespace {

const ci_transport_helpers_t* gHelpers = nullptr;

enum class Pattern { Bars, Ramp, Flat };

struct SimDevice {
    std::map<std::pair<ci_u32, ci_u32>, ci_u32> regs;  // (serial address, register) -> value
    ci_u32 frameCounter = 0;
    ci_u32 lastFrameBytes = 0;
    Pattern pattern = Pattern::Bars;
    ci_u32 defaultExposure = 0;
    ci_u32 base = 0;       // the sensor's serial address: the only one that answers
    bool seeding = true;   // while the description is read, every address answers
    bool running = false;
};

SimDevice* device(ci_camera_t* camera) {
    void* state = nullptr;
    gHelpers->getContext(camera, CI_CONTEXT_PRIVATE_DATA, &state);
    return static_cast<SimDevice*>(state);
}

std::string setting(ci_camera_t* camera, const char* key, const char* env) {
    if (const char* value = std::getenv(env)) return value;
    char value[CI_STRING_LEN] = "";
    if (gHelpers->getBoardConfig(camera, key, value, sizeof value) == CI_CAMERA_SUCCESS) return value;
    return std::string();
}

bool is_directory(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string sensor_file(ci_camera_t* camera, const char* sensorDirOrFile) {
    const std::string configured = setting(camera, "SENSOR", "SIMCAM_SENSOR");
    if (!configured.empty()) return configured;
    const std::string given = sensorDirOrFile != nullptr ? sensorDirOrFile : "";
    return is_directory(given) ? given + "/ck_bayer16.sdat" : given;
}

// The register file holds every register's default value.
bool seed_registers(ci_camera_t* camera, SimDevice& dev, const std::string& path) {
    ci_sensor_t description{};
    if (ci_ParseSensorFile(camera, path.c_str(), &description) != CI_PARSE_SUCCESS) {
        ci_DestructSensor(&description);
        return false;
    }
    dev.base = description.shipAddr;
    dev.seeding = false;
    for (ci_s32 i = 0; i < description.num_regs; i++) {
        const ci_reg_data_t& reg = description.regs[i];
        // A register of several words holds its default most significant word first.
        const ci_u32 words = std::max<ci_u32>(reg.addr_span, 1), bits = description.reg_data_size;
        const ci_u32 wordMask = bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
        for (ci_u32 w = 0; w < words; w++) {
            const ci_u32 shift = bits * (words - 1 - w);
            const ci_u32 step = description.reg_addr_size == 8 ? 1 : 2;  // 16-bit addresses count bytes
            dev.regs[{description.shipAddr, reg.reg_addr + w * step}] =
                shift >= 32 ? 0 : (reg.default_val >> shift) & wordMask;
        }
        if (std::strcmp(reg.unique_desc, "COARSE_INTEGRATION_TIME") == 0) dev.defaultExposure = reg.default_val;
    }
    ci_DestructSensor(&description);
    return true;
}

// Brightness of the generated scene, 1.0 at the default exposure and gain.
double brightness(ci_camera_t* camera, const SimDevice& dev) {
    double level = 1.0;
    ci_u32 value = 0;
    if (dev.defaultExposure != 0 && gHelpers->readReg(camera, "COARSE_INTEGRATION_TIME", "", &value) == 0) {
        level *= (double)value / dev.defaultExposure;
    }
    if (gHelpers->readReg(camera, "GLOBAL_GAIN", "", &value) == 0 && value != 0) level *= value / 128.0;
    return level;
}

// Colour-bar channel levels (R, G, B in 0..1) of column x.
void bar_colour(ci_u32 x, ci_u32 width, ci_u32 shift, double rgb[3]) {
    static const double kBars[8][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                       {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};
    const ci_u32 bar = ((x + shift) % width) * 8 / width;
    for (int c = 0; c < 3; c++) rgb[c] = kBars[bar][c];
}

// The sample at (x, y): GRBG mosaic of the scene, full scale at 3/4 of the range.
ci_u32 sample(const SimDevice& dev, ci_u32 x, ci_u32 y, ci_u32 width, ci_u32 maxValue, double level) {
    double rgb[3] = {1, 1, 1};
    if (dev.pattern == Pattern::Bars) bar_colour(x, width, dev.frameCounter * 8, rgb);
    if (dev.pattern == Pattern::Ramp) rgb[0] = rgb[1] = rgb[2] = (double)x / std::max<ci_u32>(width - 1, 1);
    const int channel = (y % 2 == 0) ? (x % 2 == 0 ? 1 : 0) : (x % 2 == 0 ? 2 : 1);
    const double v = rgb[channel] * level * 0.75 * maxValue;
    return (ci_u32)std::clamp(v, 0.0, (double)maxValue);
}

void store(ci_u8* p, ci_u32 bytes, ci_u32 value) {
    for (ci_u32 k = 0; k < bytes; k++) p[k] = (ci_u8)(value >> (8 * k));
}

}  // namespace

extern "C" {

CI_PLUGIN_EXPORT void SetHelpersDLL(const ci_transport_helpers_t* helpers) { gHelpers = helpers; }

CI_PLUGIN_EXPORT ci_error_code OpenCameraDLL(ci_camera_t* camera, const char* sensorDirOrFile, ci_s32 deviceIndex) {
    if (gHelpers == nullptr) return CI_CAMERA_ERROR;
    const std::string count = setting(camera, "DEVICES", "SIMCAM_DEVICES");
    const long devices = count.empty() ? 1 : std::strtol(count.c_str(), nullptr, 0);
    if (deviceIndex < 0 || deviceIndex >= devices) return CI_CAMERA_ERROR;
    auto* dev = new SimDevice();
    gHelpers->setContext(camera, CI_CONTEXT_PRIVATE_DATA, dev);
    snprintf(camera->productName, sizeof camera->productName, "Simulated camera %d", deviceIndex);
    const std::string path = sensor_file(camera, sensorDirOrFile);
    if (!seed_registers(camera, *dev, path)) return CI_SENSOR_FILE_PARSE_ERROR;
    return gHelpers->getSensor(camera, path.c_str());
}

CI_PLUGIN_EXPORT ci_error_code CloseCameraDLL(ci_camera_t* camera) {
    delete device(camera);
    gHelpers->setContext(camera, CI_CONTEXT_PRIVATE_DATA, nullptr);
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code StartTransportDLL(ci_camera_t* camera) {
    SimDevice* dev = device(camera);
    if (dev == nullptr) return CI_CAMERA_ERROR;
    dev->running = true;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code StopTransportDLL(ci_camera_t* camera) {
    SimDevice* dev = device(camera);
    if (dev != nullptr) dev->running = false;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code ReadRegisterDLL(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    SimDevice* dev = device(camera);
    if (dev == nullptr || val == nullptr) return CI_CAMERA_ERROR;
    *val = 0;
    if (dev->seeding) return CI_CAMERA_SUCCESS;
    if (shipAddr != dev->base) return CI_I2C_NACK_ERROR;
    auto it = dev->regs.find({shipAddr, regAddr});
    if (it != dev->regs.end()) *val = it->second;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code WriteRegisterDLL(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    SimDevice* dev = device(camera);
    if (dev == nullptr) return CI_CAMERA_ERROR;
    if (dev->seeding) return CI_CAMERA_SUCCESS;
    if (shipAddr != dev->base) return CI_I2C_NACK_ERROR;
    dev->regs[{shipAddr, regAddr}] = val;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code GrabFrameDLL(ci_camera_t* camera, ci_u8* buffer, ci_u32 size) {
    SimDevice* dev = device(camera);
    const ci_sensor_t* s = camera->sensor;
    if (dev == nullptr || s == nullptr || buffer == nullptr) return CI_CAMERA_ERROR;
    if (!dev->running) return CI_GRAB_FRAME_ERROR;
    const ci_u32 bytes = std::max<ci_u32>(s->pixelBytes, 1);
    if ((unsigned long long)s->width * s->height * bytes > size) return CI_BUFFER_SIZE_ERROR;
    const ci_u32 bits = std::clamp<ci_u32>(s->pixelBits, 1, 16);
    const ci_u32 maxValue = (1u << bits) - 1;
    const double level = brightness(camera, *dev);
    for (ci_u32 y = 0; y < s->height; y++) {
        ci_u8* row = buffer + (size_t)y * s->width * bytes;
        for (ci_u32 x = 0; x < s->width; x++) store(row + x * bytes, bytes, sample(*dev, x, y, s->width, maxValue, level));
    }
    for (ci_u32 k = 0; k < 4 && k < s->width; k++) store(buffer + k * bytes, bytes, (dev->frameCounter >> (8 * k)) & 0xFF);
    dev->lastFrameBytes = s->width * s->height * bytes;
    dev->frameCounter++;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code GetFrameDataDLL(ci_camera_t* camera, ci_frame_data_t* data) {
    SimDevice* dev = device(camera);
    if (dev == nullptr || data == nullptr) return CI_CAMERA_ERROR;
    *data = ci_frame_data_t{};
    data->frameNumber = dev->frameCounter > 0 ? dev->frameCounter - 1 : 0;  // the counter in the last frame
    data->bytesReturned = data->bytesRequested = dev->lastFrameBytes;
    data->frameLines = camera->sensor != nullptr ? camera->sensor->height : 0;
    return CI_CAMERA_SUCCESS;
}

CI_PLUGIN_EXPORT ci_error_code IniFileCommandDLL(ci_camera_t* camera, const char* key, const char* value) {
    SimDevice* dev = device(camera);
    if (dev == nullptr || key == nullptr || strcasecmp(key, "SIM_PATTERN") != 0) return CI_INI_KEY_NOT_SUPPORTED;
    const std::string v = value != nullptr ? value : "";
    if (strcasecmp(v.c_str(), "BARS") == 0) dev->pattern = Pattern::Bars;
    else if (strcasecmp(v.c_str(), "RAMP") == 0) dev->pattern = Pattern::Ramp;
    else if (strcasecmp(v.c_str(), "FLAT") == 0) dev->pattern = Pattern::Flat;
    else return CI_INI_HANDLED_ERROR;
    return CI_INI_HANDLED_SUCCESS;
}

}  // extern "C"
