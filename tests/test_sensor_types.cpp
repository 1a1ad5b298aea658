// The sensor-type table's extension by a sensor_types.txt file next to the
// sensor data files.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor/sensor_types.h"
#include "sensor_builder.h"

namespace {

// Resets the process-wide user rows around each test.
class SensorTypes : public ::testing::Test {
protected:
    void SetUp() override { _resetSensorTypeRows(); }
    void TearDown() override { _resetSensorTypeRows(); }

    // The page-select registers of a model as "read/write".
    static std::string pages(ci_u32 type) {
        const char* r = "";
        const char* w = "";
        _pageSelectRegs(static_cast<ci_sensor_types>(type), &r, &w);
        return std::string(r) + "/" + w;
    }

    ScratchDir dir;
};

TEST_F(SensorTypes, ADirectoryFileAddsAndOverridesRows) {
    dir.write("sensor_types.txt",
              "; our own sensors\n"
              "# more comments\n"
              "\n"
              "LAB_IMAGER = 0x14            // a new name for an existing code\n"
              "CK0200 = 37                  # overrides the built-in row\n"
              "\"LAB CAM 2\" = 116, PAGE_REG\n"
              "LAB_CAM_3 = 117, RD_INDEX, WR_INDEX\n"
              "LAB_CAM_4 = 5, NONE\n"
              "BROKEN LINE\n"
              "OUT_OF_RANGE = 128\n"
              "TOO_MANY = 7, A, B, C\n");
    LogCapture log;
    _loadSensorTypeFile(dir.path().c_str());
    const std::pair<const char*, int> names[] = {{"lab_imager", 20}, {"CK0200", 37}, {"CK-0200", 2},
                                                 {"lab cam 2", 116}, {"OUT_OF_RANGE", CI_UNKNOWN_SENSOR},
                                                 {"TOO_MANY", CI_UNKNOWN_SENSOR}};
    for (const auto& [name, type] : names) EXPECT_EQ(_sensorTypeFromName(name), type) << name;
    EXPECT_EQ(pages(116), "PAGE_REG/PAGE_REG");
    EXPECT_EQ(pages(117), "RD_INDEX/WR_INDEX");
    EXPECT_EQ(pages(5), "/") << "NONE takes the built-in page select away";
    EXPECT_EQ(pages(6), "ADDR_SPACE_SEL/ADDR_SPACE_SEL");
    const std::string file = dir.file("sensor_types.txt");
    EXPECT_EQ(count_of(log.text(), "BROKEN LINE in " + file + ":9"), 1);
    EXPECT_EQ(count_of(log.text(), "in " + file + ":10"), 1);
    EXPECT_EQ(count_of(log.text(), "in " + file + ":11"), 1);
}

TEST_F(SensorTypes, TheParserReadsTheFileOfItsDirectoryOnce) {
    dir.write("sensor_types.txt", "LAB_SOC = 54\n");
    std::string text = sdat_with("");
    text.replace(text.find("CK0200"), 6, "LAB_SOC");
    const std::string path = dir.write("lab.sdat", text);
    ParseCamera cam;
    ASSERT_EQ(cam.parse(path), CI_PARSE_SUCCESS);
    EXPECT_EQ(cam.sensor()->sensorType, 54);
    EXPECT_TRUE(ci_IsSOC(cam));

    dir.write("sensor_types.txt", "LAB_SOC = 55\n");
    ASSERT_EQ(cam.parse(path), CI_PARSE_SUCCESS);
    EXPECT_EQ(cam.sensor()->sensorType, 54) << "a later change is not seen";
}

}  // namespace
