#pragma once
// Helpers for the sensor-data reader tests: a bare camera record with a
// common context to parse into, and sensor-data file texts assembled from
// sections.
#include <string>

#include "transport/transport_common.h"

// The operations of a camera without a device: a name and the core's
// defaults, nothing else.  Test cameras that only parse or hold a
// description are built from it.
const _transport_ops_t& plain_camera_ops();

// A zeroed camera record with a context (as a transport allocates one),
// freed with its sensor description on destruction.
class ParseCamera {
public:
    ParseCamera();
    ~ParseCamera();
    ParseCamera(const ParseCamera&) = delete;
    ParseCamera& operator=(const ParseCamera&) = delete;

    ci_camera_t* get() const { return camera_; }
    operator ci_camera_t*() const { return camera_; }
    _common_context_t* ctx() const { return _ctx(camera_); }
    ci_sensor_t* sensor() const { return camera_->sensor; }
    // Parses into the camera's own sensor record.
    ci_error_code parse(const std::string& path) const;
    // A register of the parsed sensor by name, or nullptr.
    ci_reg_data_t* reg(const char* name) const;

private:
    ci_camera_t* camera_;
};

// A descriptor section that passes the early rejects (sensor "CK0200",
// 640x480 10-bit Bayer at base 0x20) followed by body.
std::string sdat_with(const std::string& body);
// A section "[name]" holding the lines, closed by "[END]".
std::string sdat_section(const std::string& name, const std::string& lines);
// Number of times needle occurs in text.
int count_of(const std::string& text, const std::string& needle);
