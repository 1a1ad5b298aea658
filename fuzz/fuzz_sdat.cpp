// Fuzz target of the sensor-data reader: each input is written to a file
// named *.sdat in a private directory and parsed into a fresh camera.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "fuzz_scratch.h"
#include "transport/transport_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string path = fuzz_scratch::write_input(data, size, ".sdat");
    if (path.empty()) return 0;
    static const _transport_ops_t kParseOnly = {};
    ci_camera_t* camera = _transport_new_camera(&kParseOnly, nullptr);
    ci_ParseSensorFile(camera, path.c_str(), nullptr);
    _transport_free_camera(&kParseOnly, camera);
    return 0;
}
