// The default preset file of a camera's sensor.
//
// For a sensor data file DIR/NAME.sdat (or .xsdat) the candidates are, in
// order, and the first that exists is taken:
//   1. DIR/NAME.ini                  beside the sensor data file
//   2. PARENT/apps_data/NAME.ini     the applications' data directory beside DIR
// and, when NAME is a development variant NAME = STEM-DEV or STEM-dev:
//   3. DIR/STEM.ini, 4. PARENT/apps_data/STEM.ini   the released presets
// When none exists, the buffer holds candidate 1 and the result is
// CI_INI_LOAD_ERROR.
#define CK_SOURCE "camkit_ini"
#include <sys/stat.h>

#include <cstring>

#include "presets/presets_internal.h"

namespace {

bool isFile(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// The development suffix of a base name ("-DEV" or "-dev"), removed.
bool releaseStem(const std::string& base, std::string* stem) {
    for (const char* suffix : {"-DEV", "-dev"}) {
        const size_t n = strlen(suffix);
        if (base.size() > n && base.compare(base.size() - n, n, suffix) == 0) {
            *stem = base.substr(0, base.size() - n);
            return true;
        }
    }
    return false;
}

std::vector<std::string> candidates(const std::string& sensorFile) {
    const size_t slash = sensorFile.find_last_of('/');
    const std::string dir = slash == std::string::npos ? "." : sensorFile.substr(0, slash);
    const std::string name = slash == std::string::npos ? sensorFile : sensorFile.substr(slash + 1);
    const size_t dot = name.find_last_of('.');
    const std::string base = dot == std::string::npos ? name : name.substr(0, dot);
    const size_t up = dir.find_last_of('/');
    const std::string apps = (up == std::string::npos ? dir + "/.." : dir.substr(0, up)) + "/apps_data";
    std::vector<std::string> out{dir + "/" + base + ".ini", apps + "/" + base + ".ini"};
    std::string stem;
    if (releaseStem(base, &stem)) {
        out.push_back(dir + "/" + stem + ".ini");
        out.push_back(apps + "/" + stem + ".ini");
    }
    return out;
}

ci_error_code copyOut(const std::string& path, char* buffer, ci_s32 bufferLen) {
    if ((size_t)bufferLen <= path.size()) {
        return CK_ERR(CI_BUFFER_SIZE_ERROR, "Buffer too small for the default preset file name");
    }
    memcpy(buffer, path.c_str(), path.size() + 1);
    return CI_CAMERA_SUCCESS;
}

}  // namespace

ci_error_code ci_DefaultIniFile(ci_camera_t* camera, char* buffer, ci_s32 bufferLen) {
    if (!buffer || bufferLen < 1) return CK_ERR(CI_CAMERA_ERROR, "No buffer for the default preset file name");
    buffer[0] = '\0';
    if (!camera || !camera->sensor || !camera->sensor->sensorFileName[0]) {
        return CK_ERR(CI_SENSOR_NOT_INITIALIZED, "No sensor data file: no default preset file");
    }
    const std::vector<std::string> paths = candidates(camera->sensor->sensorFileName);
    for (const std::string& path : paths) {
        if (isFile(path)) return copyOut(path, buffer, bufferLen);
    }
    const ci_error_code rc = copyOut(paths.front(), buffer, bufferLen);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    char message[CI_MAX_PATH + 80];
    snprintf(message, sizeof message, "No preset file for the sensor: %s", paths.front().c_str());
    return CK_ERR(CI_INI_LOAD_ERROR, message);
}
