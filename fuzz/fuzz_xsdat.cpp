// Fuzz target of the XML sensor-data reader and of the writers: each input
// is written to a file named *.xsdat and parsed into a fresh camera; a
// description that parses is written in both forms and each is read again.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "fuzz_scratch.h"
#include "transport/transport_common.h"

namespace {

const _transport_ops_t kParseOnly = {};

void read_back(const std::string& path) {
    ci_camera_t* camera = _transport_new_camera(&kParseOnly, nullptr);
    ci_ParseSensorFile(camera, path.c_str(), nullptr);
    _transport_free_camera(&kParseOnly, camera);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string path = fuzz_scratch::write_input(data, size, ".xsdat");
    if (path.empty()) return 0;
    ci_camera_t* camera = _transport_new_camera(&kParseOnly, nullptr);
    if (ci_ParseSensorFile(camera, path.c_str(), nullptr) == CI_PARSE_SUCCESS) {
        for (const char* extension : {".xsdat", ".sdat"}) {
            const std::string out = fuzz_scratch::dir() + "/written" + extension;
            if (ci_WriteSensorFile(camera, out.c_str()) == CI_CAMERA_SUCCESS) read_back(out);
        }
    }
    _transport_free_camera(&kParseOnly, camera);
    return 0;
}
