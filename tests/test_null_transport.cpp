// The null camera: a register map without a device.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"

namespace {

const std::string kSensor = sdat_with(sdat_section("REGISTERS",
                                                    "CHIP_VERSION_REG = {0x00, REG, 0xFFFF, RO, 0x1B08, \"\", \"\"}\n"
                                                    "GAIN = {0x04, REG, 0x00FF, RW, 0x0010, \"\", \"\"}\n"));

class NullCamera : public ::testing::Test {
protected:
    void SetUp() override {
        ci_s32 n = 0;
        ASSERT_EQ(NUL_Transport_OpenCameras(cameras, &n, dir.write("sensor.SDAT", kSensor).c_str(), ""),
                  CI_CAMERA_SUCCESS);
        ASSERT_EQ(n, 1);
        camera = cameras[0];
        ASSERT_NE(camera->sensor, nullptr);
    }
    void TearDown() override { NUL_Transport_CloseCameras(1, cameras); }

    ScratchDir dir;
    ci_camera_t* cameras[2] = {nullptr, nullptr};
    ci_camera_t* camera = nullptr;
};

TEST_F(NullCamera, OpensWithTheFilesSensorAndEveryRegisterReadsZero) {
    EXPECT_STREQ(camera->sensor->sensorName, "CK0200");
    EXPECT_EQ(camera->sensor->num_regs, 2);
    ci_u32 value = 0xFFFF;
    EXPECT_EQ(ci_ReadSensorRegStr(camera, "CHIP_VERSION_REG", "", &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 0u) << "not the documented reset value";
    value = 0xFFFF;
    EXPECT_EQ(ci_writeRegister(camera, 0x48, 0x3000, 0x55), CI_CAMERA_SUCCESS);
    EXPECT_EQ(ci_readRegister(camera, 0x48, 0x3000, &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 0u) << "writes are dropped";
}

TEST_F(NullCamera, NoFramesButFrameGrabSimulation) {
    ci_u8 buffer[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(ci_grabFrame(camera, buffer, sizeof buffer), CI_CAMERA_ERROR);
    ci_frame_data_t data{};
    EXPECT_EQ(ci_getFrameData(camera, &data), CI_CAMERA_NOT_SUPPORTED);
    ci_u32 value = 0;
    EXPECT_EQ(ci_getMode(camera, CI_SIMUL_REG_FRAMEGRAB, &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 1u);
}

TEST_F(NullCamera, FrameSizeRecomputesDepthOnlyWhenClockingIsGiven) {
    ci_sensor_t* sensor = camera->sensor;
    sensor->pixelBits = 12;  // as if set elsewhere: zero clocking must keep it
    EXPECT_EQ(ci_updateFrameSize(camera, 0, 0, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(sensor->width, 640u);
    EXPECT_EQ(sensor->pixelBits, 12u);
    EXPECT_EQ(sensor->imageType, CI_BAYER_12);
    EXPECT_EQ(sensor->bufferSize, 640u * 480u * 2u);

    EXPECT_EQ(ci_updateFrameSize(camera, 320, 0, 10, 2), CI_CAMERA_SUCCESS);
    EXPECT_EQ(sensor->height, 480u);
    EXPECT_EQ(sensor->imageType, CI_BAYER_20);
    EXPECT_EQ(sensor->bufferSize, 320u * 480u * 4u);
}

// Anything but a readable sensor data file leaves the caller's array as it
// was; no file named at all is not an error.
TEST(NullCameraRefused, FilesThatAreNotSensorDataLeaveNoCamera) {
    ScratchDir dir;
    ci_camera_t placeholder{};
    const std::pair<std::string, ci_error_code> rows[] = {
        {dir.write("sensor.txt", kSensor), CI_CAMERA_ERROR},
        {dir.write("broken.sdat", "[CHIP_DESCRIPTOR]\nNO_SUCH_KEY = 1\n[END]\n"), CI_CAMERA_ERROR},
        {dir.file("missing.sdat"), CI_CAMERA_ERROR},
        {"", CI_CAMERA_SUCCESS},
    };
    for (const auto& [file, expected] : rows) {
        ci_camera_t* cameras[1] = {&placeholder};
        ci_s32 n = -1;
        EXPECT_EQ(NUL_Transport_OpenCameras(cameras, &n, file.c_str(), ""), expected) << file;
        EXPECT_EQ(n, 0);
        EXPECT_EQ(cameras[0], &placeholder);
    }
}

}  // namespace
