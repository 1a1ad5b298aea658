#pragma once
// A test with one simulated USB board (real libusb under umockdev-wrapper):
// the board carries the sample 8-bit sensor and its main FPGA, and is opened
// and started through the registry like any camera.  Skipped when the test
// does not run under umockdev-wrapper.
#include <gtest/gtest.h>

#include <string>

#include "test_paths.h"
#include "usb_camera.h"

class UsbBoardTest : public ::testing::Test {
protected:
    static constexpr ci_u32 kSensorBase = 0xBA;
    static constexpr ci_u32 kFpga = 0x64;   // mid-range boards: 16-bit addresses, 16-bit data
    static constexpr ci_u32 kFpga3 = 0x66;  // newest board: 16-bit addresses, 32-bit data

    static std::string dataFile(const std::string& name) { return std::string(ck_test_data_dir()) + "/" + name; }
    static std::string page8() { return dataFile("sensor_data/ck_page8.sdat"); }

    void SetUp() override {
        if (!UsbTestbed::available()) GTEST_SKIP() << "not running under umockdev-wrapper";
    }
    void TearDown() override {
        if (n > 0) ci_CloseCameras2(cameras, n);
    }

    // Publishes the board with the sensor and the main FPGA of its product.
    UsbBoard& addBoard(const UsbBoardConfig& config) {
        board = &bed.addBoard(config);
        board->addSensor(page8(), kSensorBase, 8, 16);
        fpga = config.productId == 0x100E ? &board->addDevice(kFpga3, 16, 32) : &board->addDevice(kFpga, 16, 16);
        return *board;
    }
    // Opens the board with the sensor file given and starts it.
    ci_camera_t* openBoard(const std::string& sensorFile = page8()) {
        if (ci_OpenCameras2(cameras, &n, sensorFile.c_str(), CI_TRANSPORT_USB, "") != CI_CAMERA_SUCCESS || n != 1) {
            ADD_FAILURE() << "the board does not open";
            return nullptr;
        }
        camera = cameras[0];
        EXPECT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
        board->clearRequests();
        return camera;
    }

    ScopedVendorIds ids{"0xC0DE"};
    UsbTestbed bed;
    UsbBoard* board = nullptr;
    BusDevice* fpga = nullptr;
    ci_camera_t* cameras[4] = {};
    ci_s32 n = 0;
    ci_camera_t* camera = nullptr;
};
