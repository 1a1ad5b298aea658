// Helpers for the sensor-data reader tests.
#include "sdat_camera.h"

#include <stdlib.h>

const _transport_ops_t& plain_camera_ops() {
    static const _transport_ops_t ops = [] {
        _transport_ops_t o{};
        o.transportName = "test";
        // Doubles that attach themselves as the transport context own it.
        o.freeTransportContext = [](ci_camera_t*, void*) {};
        return o;
    }();
    return ops;
}

ParseCamera::ParseCamera() : camera_(_transport_new_camera(&plain_camera_ops(), nullptr)) {}

ParseCamera::~ParseCamera() { _transport_free_camera(&plain_camera_ops(), camera_); }

ci_error_code ParseCamera::parse(const std::string& path) const {
    return ci_ParseSensorFile(camera_, path.c_str(), nullptr);
}

ci_reg_data_t* ParseCamera::reg(const char* name) const {
    ci_sensor_t* s = camera_->sensor;
    if (!s) return nullptr;
    ci_s32 i = _regId(s->regs, s->num_regs, name);
    return i < 0 ? nullptr : &s->regs[i];
}

static const char* const kSdatDescriptor =
    "[CHIP_DESCRIPTOR]\n"
    "SENSORNAME = \"CK0200\"\n"
    "WIDTH = 640\n"
    "HEIGHT = 480\n"
    "IMAGE_TYPE = BAYER\n"
    "BITS_PER_CLOCK = 10\n"
    "SHIP_BASE_ADDRESS = 0x20\n"
    "[END]\n";

std::string sdat_with(const std::string& body) { return std::string(kSdatDescriptor) + body; }

std::string sdat_section(const std::string& name, const std::string& lines) {
    return "[" + name + "]\n" + lines + "[END]\n";
}

int count_of(const std::string& text, const std::string& needle) {
    int n = 0;
    for (size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + needle.size())) ++n;
    return n;
}
