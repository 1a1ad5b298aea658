#pragma once
// Shared by the sensor-identification tests: paths of the sample files, a
// camera on a simulated bus, and a capture of the error log.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "bus_sim.h"
#include "core/camkit_private.h"
#include "scratch_dir.h"

inline std::string identData(const std::string& relative) {
    return std::string(CAMKIT_SOURCE_DIR) + "/tests/data/ident/" + relative;
}

// Writes every log class to a file of its own for the life of the object.
class LogCapture {
public:
    LogCapture() { ci_OpenErrorLog(CI_LOG_ALL, dir_.file("ident.txt").c_str()); }
    ~LogCapture() { ci_CloseErrorLog(); }
    std::string text() const {
        char name[CI_STRING_LEN];
        ci_GetErrorLogFileName(name);
        return scratch_read_file(name);
    }
    bool contains(const std::string& part) const { return text().find(part) != std::string::npos; }

private:
    ScratchDir dir_;
};

// A camera whose transport is a simulated bus.
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

    // Reads of one register of one device in the bus log.
    int readsOf(ci_u32 base, ci_u32 reg) const {
        int n = 0;
        for (const BusTransaction& t : bus.log()) n += t.base == base && t.reg == reg && !t.write;
        return n;
    }
};
