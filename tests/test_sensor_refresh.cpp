// Reading a camera's sensor data file again after it was edited.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "test_paths.h"

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

class SensorRefresh : public ::testing::Test {
protected:
    void SetUp() override {
        original = scratch_read_file(std::string(ck_test_data_dir()) + "/sensor_data/ck_page8.sdat");
        path = dir.write("edited.sdat", original);
        ASSERT_EQ(ci_OpenCameras2(cams, &n, path.c_str(), CI_TRANSPORT_NULL, ""), CI_CAMERA_SUCCESS);
        ASSERT_EQ(n, 1);
        cam = cams[0];
    }
    void TearDown() override {
        if (n > 0) ci_CloseCameras2(cams, n);
    }
    bool known(const char* name) { return _registerLookup(cam, -1, name) != nullptr; }

    ScratchDir dir;
    std::string original, path;
    ci_camera_t* cams[2] = {};
    ci_s32 n = 0;
    ci_camera_t* cam = nullptr;
};

// An edited register map takes effect, and no value cached for the old map
// survives into the new one.
TEST_F(SensorRefresh, AnEditedFileReplacesTheRegisterMapAndItsCache) {
    ci_setMode(cam, CI_USE_REG_CACHE, 1);
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "ROW_START", nullptr, 0x22), CI_CAMERA_SUCCESS);
    ci_u32 v = 0;
    ASSERT_EQ(ci_GetRegCacheValueReg(cam, _registerLookup(cam, -1, "ROW_START"), &v), CI_CAMERA_SUCCESS);
    const ci_s32 before = cam->sensor->num_regs;

    dir.write("edited.sdat", replaced(original, "ROW_START = {0x01", "FIRST_ROW = {0x01"));
    ASSERT_EQ(ci_RefreshSensorFile(cam), CI_CAMERA_SUCCESS);
    EXPECT_TRUE(known("FIRST_ROW"));
    EXPECT_FALSE(known("ROW_START"));
    EXPECT_EQ(cam->sensor->num_regs, before);
    EXPECT_NE(ci_GetRegCacheValueReg(cam, _registerLookup(cam, -1, "FIRST_ROW"), &v), CI_CAMERA_SUCCESS);
    // The new map is reached through the whole read path.
    EXPECT_EQ(ci_WriteSensorRegStr(cam, "FIRST_ROW", nullptr, 0x33), CI_CAMERA_SUCCESS);
    EXPECT_EQ(ci_ReadSensorRegStr(cam, "FIRST_ROW", nullptr, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0x33u);
}

// A file that no longer parses, or no file at all, leaves the camera as it was.
TEST_F(SensorRefresh, AFailedReadKeepsTheOldDescription) {
    dir.write("edited.sdat", replaced(original, "[REGISTERS]", "[REGISTERS]\nBROKEN = {0x01, NOWHERE"));
    LogCapture log;
    const ci_sensor_t* kept = cam->sensor;
    EXPECT_NE(ci_RefreshSensorFile(cam), CI_CAMERA_SUCCESS);
    EXPECT_EQ(cam->sensor, kept);
    EXPECT_TRUE(known("ROW_START"));

    std::remove(path.c_str());
    EXPECT_EQ(ci_RefreshSensorFile(cam), CI_PARSE_FILE_ERROR);
    EXPECT_TRUE(known("ROW_START"));
    EXPECT_NE(log.text().find("unable to open file"), std::string::npos);

    EXPECT_EQ(ci_RefreshSensorFile(nullptr), CI_CAMERA_ERROR);
    ci_sensor_t* sensor = cam->sensor;
    cam->sensor = nullptr;
    EXPECT_EQ(ci_RefreshSensorFile(cam), CI_SENSOR_NOT_INITIALIZED);
    cam->sensor = sensor;
}

}  // namespace
