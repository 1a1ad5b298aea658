// Fuzz target of the sensor-data reader: each input is written to a file
// named *.sdat in a private directory and parsed into a fresh camera.
//
// A fifth probe term (a fourth OR_MATCH) is a deliberate fatal assertion of
// the reader, so inputs that could reach it are passed over.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include <string>

#include "core/camkit_private.h"

namespace {

const std::string& input_path() {
    static std::string path;
    if (path.empty()) {
        char dir[] = "/tmp/camkit-fuzz-sdat-XXXXXX";
        if (!mkdtemp(dir)) abort();
        path = std::string(dir) + "/input.sdat";
        // Syntax errors are written to the log, so its formatting runs too.
        ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, (std::string(dir) + "/fuzz.log").c_str());
    }
    return path;
}

bool may_reach_fifth_probe_term(const uint8_t* data, size_t size) {
    const char key[] = "OR_MATCH";
    const size_t keyLen = sizeof key - 1;
    int seen = 0;
    for (size_t i = 0; i + keyLen <= size; ++i)
        if (strncasecmp(reinterpret_cast<const char*>(data) + i, key, keyLen) == 0 && ++seen > 3) return true;
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (may_reach_fifth_probe_term(data, size)) return 0;
    const std::string& path = input_path();
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) return 0;
    fwrite(data, 1, size, f);
    fclose(f);

    ci_camera_t* camera = static_cast<ci_camera_t*>(calloc(1, sizeof(ci_camera_t)));
    ci_InitCameraContext(camera);
    ci_ParseSensorFile(camera, path.c_str(), nullptr);
    if (camera->sensor) _freeSensor(camera);
    ci_FreeCameraContext(camera);
    free(camera);
    return 0;
}
