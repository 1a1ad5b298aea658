#pragma once
// Shared by the sensor-identification tests: the sample files and a camera
// on a simulated bus.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "bus_sim.h"
#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

inline std::string identData(const std::string& relative) {
    return std::string(CAMKIT_SOURCE_DIR) + "/tests/data/ident/" + relative;
}

inline bool logged(const LogCapture& log, const std::string& part) {
    return log.text().find(part) != std::string::npos;
}

class IdentTest : public ::testing::Test {
protected:
    BusSim bus;
    SimCamera camera{bus};

    // Parses a sample file into the camera without probing.
    void parse(const std::string& relative) {
        if (camera->sensor == NULL) camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        ASSERT_EQ(ci_ParseSensorFile(camera.get(), identData(relative).c_str(), camera->sensor), CI_PARSE_SUCCESS);
    }

    // A device answering like the sample sensor (at the file's base unless
    // one is given).
    BusDevice& plug(const std::string& relative, ci_u32 base = BusSim::kFileBase) {
        return bus.addSensorFromFile(identData(relative), base);
    }

    ci_u32 mode(ci_modes which) {
        ci_u32 value = 0xDEADBEEF;
        EXPECT_EQ(ci_getMode(camera.get(), which, &value), CI_CAMERA_SUCCESS);
        return value;
    }

    int readsOf(ci_u32 base, ci_u32 reg) const {
        int n = 0;
        for (const BusTransaction& t : bus.log()) n += t.base == base && t.reg == reg && !t.write;
        return n;
    }
};
