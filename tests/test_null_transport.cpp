// The null camera: a register map without a device.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

const char* const kSensor =
    "; a small sensor for the null camera\n"
    "[CHIP_DESCRIPTOR]\n"
    "SENSORNAME = \"CK0200\"\n"
    "WIDTH = 640\n"
    "HEIGHT = 480\n"
    "IMAGE_TYPE = BAYER\n"
    "BITS_PER_CLOCK = 10\n"
    "SHIP_BASE_ADDRESS = 0x48\n"
    "[END]\n"
    "[REGISTERS]\n"
    "CHIP_VERSION_REG = {0x00, REG, 0xFFFF, RO, 0x1B08, \"Chip version\", \"\"}\n"
    "GAIN = {0x04, REG, 0x00FF, RW, 0x0010, \"Gain\", \"\"}\n"
    "[END]\n";

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
    EXPECT_EQ(camera->transportType, 0x10000u);
    EXPECT_STREQ(camera->transportName, "NUL");
    EXPECT_STREQ(camera->productName, "NUL Camera");
    EXPECT_EQ(camera->productID, CI_UNKNOWN_PRODUCT);
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

TEST_F(NullCamera, FrameSizeWithZerosOnlyRecomputesSizesAndType) {
    ci_sensor_t* sensor = camera->sensor;
    _common_context_t* ctx = _ctx(camera);
    sensor->pixelBits = 12;  // as if set elsewhere: zero clocking must keep it
    sensor->imageType = CI_BAYER_10;
    sensor->pixelBytes = 0;
    sensor->bufferSize = 0;
    EXPECT_EQ(ci_updateFrameSize(camera, 0, 0, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(sensor->width, 640u);
    EXPECT_EQ(sensor->height, 480u);
    EXPECT_EQ(sensor->pixelBits, 12u);
    EXPECT_EQ(ctx->bitsPerClock, 10u);
    EXPECT_EQ(ctx->clocksPerPixel, 1u);
    EXPECT_EQ(sensor->imageType, CI_BAYER_12);
    EXPECT_EQ(sensor->pixelBytes, 2u);
    EXPECT_EQ(sensor->bufferSize, 640u * 480u * 2u);
}

TEST_F(NullCamera, FrameSizeWithClockingRecomputesTheDepth) {
    ci_sensor_t* sensor = camera->sensor;
    EXPECT_EQ(ci_updateFrameSize(camera, 320, 0, 10, 2), CI_CAMERA_SUCCESS);
    EXPECT_EQ(sensor->width, 320u);
    EXPECT_EQ(sensor->height, 480u);
    EXPECT_EQ(sensor->pixelBits, 20u);
    EXPECT_EQ(sensor->imageType, CI_BAYER_20);
    EXPECT_EQ(sensor->pixelBytes, 4u);
    EXPECT_EQ(sensor->bufferSize, 320u * 480u * 4u);
    EXPECT_EQ(ci_updateFrameSize(camera, 0, 0, 0, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(sensor->pixelBits, 10u);
    EXPECT_EQ(sensor->imageType, CI_BAYER_10);
}

class NullCameraRefused : public ::testing::Test {
protected:
    ci_error_code open(const std::string& sensorPath, ci_s32* n) {
        cameras[0] = kUntouched;
        *n = -1;
        return NUL_Transport_OpenCameras(cameras, n, sensorPath.c_str(), "");
    }
    ScratchDir dir;
    ci_camera_t* cameras[1] = {kUntouched};
};

TEST_F(NullCameraRefused, FilesThatAreNotSensorDataLeaveNoCamera) {
    const std::string files[] = {
        dir.write("sensor.txt", kSensor),
        dir.write("sensor", kSensor),
        dir.write("broken.sdat", "[CHIP_DESCRIPTOR]\nNO_SUCH_KEY = 1\n[END]\n"),
        dir.path(),
        dir.file("missing.sdat"),
    };
    for (const std::string& file : files) {
        ci_s32 n;
        EXPECT_EQ(open(file, &n), CI_CAMERA_ERROR) << file;
        EXPECT_EQ(n, 0);
        EXPECT_EQ(cameras[0], kUntouched);
    }
}

TEST_F(NullCameraRefused, MissingFileIsLoggedWithItsPathRightAligned) {
    ScratchDir logDir;
    ci_OpenErrorLog(CI_LOG_ALL, logDir.file("null.txt").c_str());
    const std::string missing = dir.file("missing.sdat");
    ci_s32 n;
    open(missing, &n);
    char name[CI_STRING_LEN];
    ci_GetErrorLogFileName(name);
    const std::string log = scratch_read_file(name);
    ci_CloseErrorLog();
    ASSERT_LT(missing.size(), 200u);
    EXPECT_NE(log.find("File does not exist, " + std::string(200 - missing.size(), ' ') + missing), std::string::npos)
        << log;
}

TEST_F(NullCameraRefused, NoSensorTextMeansNoCameraAndNoError) {
    ci_s32 n;
    EXPECT_EQ(open("", &n), CI_CAMERA_SUCCESS);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(cameras[0], kUntouched);
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
