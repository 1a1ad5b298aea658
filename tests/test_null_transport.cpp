// The null camera: a register map without a device.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

const std::string kSensor = sdat_with(sdat_section("REGISTERS",
                                                    "CHIP_VERSION_REG = {0x00, REG, 0xFFFF, RO, 0x1B08, \"\", \"\"}\n"
                                                    "GAIN = {0x04, REG, 0x00FF, RW, 0x0010, \"\", \"\"}\n"));

ci_camera_t gPlaceholder;  // what the caller's array held before the open
ci_camera_t* const kUntouched = &gPlaceholder;

class NullCamera : public ::testing::Test {
protected:
    void SetUp() override {
        path = dir.write("sensor.SDAT", kSensor);
        ci_s32 n = 0;
        ASSERT_EQ(NUL_Transport_OpenCameras(cameras, &n, path.c_str(), ""), CI_CAMERA_SUCCESS);
        ASSERT_EQ(n, 1);
        camera = cameras[0];
    }
    void TearDown() override { NUL_Transport_CloseCameras(1, cameras); }

    ScratchDir dir;
    std::string path;
    ci_camera_t* cameras[2] = {nullptr, nullptr};
    ci_camera_t* camera = nullptr;
};

TEST_F(NullCamera, UpperCaseExtensionOpensWithTheFilesSensor) {
    EXPECT_EQ(camera->transportType, (ci_u32)CI_TRANSPORT_NULL);
    EXPECT_STREQ(ci_GetDriverInfoString(camera), "Null device, no driver");
    ASSERT_NE(camera->sensor, nullptr);
    EXPECT_STREQ(camera->sensor->sensorName, "CK0200");
    EXPECT_EQ(camera->sensor->num_regs, 2);
}

TEST_F(NullCamera, EveryRegisterReadsZeroAndEveryWriteSucceeds) {
    ci_u32 value = 0xFFFF;
    EXPECT_EQ(ci_ReadSensorRegStr(camera, "CHIP_VERSION_REG", "", &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 0u) << "not the documented reset value";
    for (ci_u32 base : {0x00u, 0x48u, 0xE0u, 0xFEu}) {
        value = 0xFFFF;
        EXPECT_EQ(ci_readRegister(camera, base, 0x3000, &value), CI_CAMERA_SUCCESS);
        EXPECT_EQ(value, 0u) << base;
        EXPECT_EQ(ci_writeRegister(camera, base, 0x3000, 0x55), CI_CAMERA_SUCCESS);
    }
    ci_u32 values[4] = {1, 2, 3, 4};
    EXPECT_EQ(ci_readRegisters(camera, 0x90, 0x10, 4, values), CI_CAMERA_SUCCESS);
    EXPECT_EQ(values[0] | values[1] | values[2] | values[3], 0u);
    ci_u32 run[3] = {7, 7, 7};
    EXPECT_EQ(ci_readSensorRegisters(camera, 3, 0x04, 3, run), CI_CAMERA_SUCCESS);
    EXPECT_EQ(run[0] | run[1] | run[2], 0u);
    EXPECT_EQ(ci_writeSensorRegisters(camera, 0, 0x04, 3, run), CI_CAMERA_SUCCESS);
    EXPECT_EQ(ci_WriteSensorRegStr(camera, "GAIN", "", 0x20), CI_CAMERA_SUCCESS);
    EXPECT_EQ(ci_ReadSensorRegStr(camera, "GAIN", "", &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 0u) << "writes are dropped";
}

TEST_F(NullCamera, NoFrames) {
    ci_u8 buffer[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(ci_grabFrame(camera, buffer, sizeof buffer), CI_CAMERA_ERROR);
    EXPECT_EQ(buffer[0], 9);
    ci_frame_data_t data{};
    EXPECT_EQ(ci_getFrameData(camera, &data), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_updateBufferSize(camera, 100), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_startTransport(camera), CI_CAMERA_SUCCESS);
    EXPECT_EQ(ci_stopTransport(camera), CI_CAMERA_SUCCESS);
}

TEST_F(NullCamera, ModesFallBackToTheLibraryExceptFrameGrabSimulation) {
    ci_u32 value = 0;
    EXPECT_EQ(ci_getMode(camera, CI_SIMUL_REG_FRAMEGRAB, &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(ci_setMode(camera, CI_REG_ADDR_SIZE, 16), CI_CAMERA_SUCCESS);
    EXPECT_EQ(ci_getMode(camera, CI_REG_ADDR_SIZE, &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 16u);
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
    EXPECT_EQ(sensor->pixelBits, 20u);
    EXPECT_EQ(sensor->imageType, CI_BAYER_20);
    EXPECT_EQ(sensor->bufferSize, 320u * 480u * 4u);
    EXPECT_EQ(ci_updateFrameSize(camera, 0, 0, 0, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(_ctx(camera)->bitsPerClock, 10u);
    EXPECT_EQ(sensor->pixelBits, 10u);
    EXPECT_EQ(sensor->imageType, CI_BAYER_10);
}

// Anything but a readable sensor data file leaves the caller's array as it
// was; no file named at all is not an error.
TEST(NullCameraRefused, FilesThatAreNotSensorDataLeaveNoCamera) {
    ScratchDir dir;
    LogCapture log;
    const std::string missing = dir.file("missing.sdat");
    const std::pair<std::string, ci_error_code> rows[] = {
        {dir.write("sensor.txt", kSensor), CI_CAMERA_ERROR},
        {dir.write("sensor", kSensor), CI_CAMERA_ERROR},
        {dir.write("broken.sdat", "[CHIP_DESCRIPTOR]\nNO_SUCH_KEY = 1\n[END]\n"), CI_CAMERA_ERROR},
        {dir.path(), CI_CAMERA_ERROR},
        {missing, CI_CAMERA_ERROR},
        {"", CI_CAMERA_SUCCESS},
    };
    for (const auto& [file, expected] : rows) {
        ci_camera_t* cameras[1] = {kUntouched};
        ci_s32 n = -1;
        EXPECT_EQ(NUL_Transport_OpenCameras(cameras, &n, file.c_str(), ""), expected) << file;
        EXPECT_EQ(n, 0);
        EXPECT_EQ(cameras[0], kUntouched);
    }
    ASSERT_LT(missing.size(), 200u);
    EXPECT_EQ(count_of(log.text(), "File does not exist, " + std::string(200 - missing.size(), ' ') + missing), 1)
        << "the path right-aligned in 200 columns";
}

TEST(NullTransportRow, OnlyOpenedWhenTheMaskNamesIt) {
    ScratchDir dir;
    const std::string file = dir.write("demo.sdat", kSensor);
    ci_camera_t* cameras[4] = {};
    ci_s32 n = -1;
    EXPECT_EQ(ci_OpenCameras2(cameras, &n, file.c_str(), CI_TRANSPORT_NULL, ""), CI_CAMERA_SUCCESS);
    ASSERT_EQ(n, 1);
    EXPECT_STREQ(cameras[0]->transportName, "NUL");
    ci_CloseCameras();
}

}  // namespace
