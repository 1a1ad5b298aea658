// A sensor behind a simulated board, opened through the public interface on
// real libusb: identification, named register access, and how sensor runs
// are sent.
#include <gtest/gtest.h>

#include <string>

#include "test_paths.h"
#include "usb_camera.h"

namespace {

constexpr ci_u32 kSensorBase = 0xBA;

std::string page8() { return std::string(ck_test_data_dir()) + "/sensor_data/ck_page8.sdat"; }

class UsbSensor : public ::testing::Test {
protected:
    void SetUp() override {
        if (!UsbTestbed::available()) GTEST_SKIP() << "not running under umockdev-wrapper";
    }
    void TearDown() override {
        if (n > 0) ci_CloseCameras2(cameras, n);
        n = 0;
    }
    UsbBoard& publish(ci_u16 product, ci_u16 fw) {
        UsbBoardConfig config;
        config.productId = product;
        config.bcdDevice = fw;
        config.fwVersion = fw;
        UsbBoard& b = bed.addBoard(config);
        b.addSensor(page8(), kSensorBase, 8, 16);
        return b;
    }
    ci_error_code open() { return ci_OpenCameras2(cameras, &n, page8().c_str(), CI_TRANSPORT_USB, ""); }

    ScopedVendorIds ids{"0xC0DE"};
    UsbTestbed bed;
    ci_camera_t* cameras[4] = {};
    ci_s32 n = 0;
};

TEST_F(UsbSensor, TheSensorIsIdentifiedAndReachedByName) {
    UsbBoard& b = publish(0x100E, 50);
    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    ASSERT_EQ(n, 1);
    ci_camera_t* camera = cameras[0];
    ASSERT_NE(camera->sensor, nullptr);
    EXPECT_STREQ(camera->sensor->sensorName, "CK0900");
    EXPECT_STREQ(camera->transportName, "USB 2.0");
    ASSERT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
    ci_u32 v = 0;
    EXPECT_EQ(ci_ReadSensorRegStr(camera, "ROW_START", "", &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0xCu);
    EXPECT_EQ(ci_WriteSensorRegStr(camera, "ROW_START", "", 0x123), CI_CAMERA_SUCCESS);
    EXPECT_EQ(b.bus().device(kSensorBase)->read(0x01), 0x123u);
    ci_CloseCameras2(cameras, n);
    n = 0;
    EXPECT_EQ(_CILIBUSB_use_count(), 0);
}

TEST_F(UsbSensor, ABoardWithoutVendorDataDoesNotOpen) {
    UsbBoardConfig config;
    config.usbGeneration = 1;
    bed.addBoard(config).addSensor(page8(), kSensorBase, 8, 16);
    EXPECT_NE(open(), CI_CAMERA_SUCCESS);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(_CILIBUSB_use_count(), 0);
}

// How a run of sensor registers travels: one transfer, or one register at
// a time where the board or the sensor needs it.
TEST_F(UsbSensor, SensorRunsAreBrokenUpWhereTheyMust) {
    struct Row {
        const char* what;
        ci_u16 product, fw;
        ci_u32 sensorType;
        ci_u32 count;
        size_t runRequests, singleRequests;
    };
    const Row rows[] = {
        {"capable board: one burst", 0x100E, 50, 1, 4, 1, 0},
        {"one register: single", 0x100E, 50, 1, 1, 0, 1},
        {"firmware 9: register by register", 0x1007, 9, 1, 4, 0, 4},
        {"firmware 10: one burst", 0x1007, 10, 1, 4, 1, 0},
        {"sensor type 28: register by register", 0x100E, 50, 28, 4, 0, 4},
        {"sensor type 53: register by register", 0x100E, 50, 53, 4, 0, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        UsbTestbed own;
        UsbBoardConfig config;
        config.productId = row.product;
        config.bcdDevice = row.fw;
        config.fwVersion = row.fw;
        UsbBoard& b = own.addBoard(config);
        BusDevice& dev = b.addSensor(page8(), kSensorBase, 8, 16);
        for (ci_u32 r = 0; r < 4; r++) dev.seed(0x20 + r, 0x700 + r);
        ci_camera_t* list[4] = {};
        ci_s32 count = 0;
        ASSERT_EQ(ci_OpenCameras2(list, &count, page8().c_str(), CI_TRANSPORT_USB, ""), CI_CAMERA_SUCCESS);
        ASSERT_EQ(count, 1);
        ci_camera_t* camera = list[0];
        ASSERT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
        camera->sensor->sensorType = (ci_sensor_types)row.sensorType;
        b.clearRequests();
        ci_u32 vals[4] = {};
        EXPECT_EQ(USB_Bulk_ReadSensorRegisters(camera, 0, 0x20, row.count, vals), CI_CAMERA_SUCCESS);
        for (ci_u32 r = 0; r < row.count; r++) EXPECT_EQ(vals[r], 0x700 + r);
        EXPECT_EQ(b.requestsOf(VR_REG_READ_X).size(), row.runRequests);
        EXPECT_EQ(b.requestsOf(VR_REG_READ).size(), row.singleRequests);
        // The caller's sizes come back.
        EXPECT_EQ(_thread_local_context(camera)->reg_data_size, (ci_s32)camera->sensor->reg_data_size);
        ci_CloseCameras2(list, count);
    }
}

}  // namespace
