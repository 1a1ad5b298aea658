// Fuzz target of the sensor-data reader: each input is written to a file
// named *.sdat in a private directory and parsed into a fresh camera.

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <string>

#include "transport/transport_common.h"

namespace {

std::string g_dir;

void remove_scratch() {
    ci_CloseErrorLog();
    std::error_code ignored;
    std::filesystem::remove_all(g_dir, ignored);
}

const std::string& input_path() {
    static std::string path;
    if (path.empty()) {
        char dir[] = "/tmp/camkit-fuzz-sdat-XXXXXX";
        if (!mkdtemp(dir)) abort();
        g_dir = dir;
        atexit(remove_scratch);
        path = g_dir + "/input.sdat";
        // Syntax errors are written to the log, so its formatting runs too.
        ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, (g_dir + "/fuzz.log").c_str());
    }
    return path;
}


}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string& path = input_path();
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) return 0;
    fwrite(data, 1, size, f);
    fclose(f);

    static const _transport_ops_t kParseOnly = {};
    ci_camera_t* camera = _transport_new_camera(&kParseOnly, nullptr);
    ci_ParseSensorFile(camera, path.c_str(), nullptr);
    _transport_free_camera(&kParseOnly, camera);
    return 0;
}
