// The USB device layer against simulated boards on real libusb: which
// boards are found and in what order, the request types of the two board
// families, the libusb use count, and faults of the bus below the requests.
#include <gtest/gtest.h>
#include <libusb.h>

#include "transport/usb_private.h"
#include "usb_board_sim.h"

namespace {

class UsbDevice : public ::testing::Test {
protected:
    void SetUp() override {
        if (!UsbTestbed::available()) GTEST_SKIP() << "not running under umockdev-wrapper";
        bed = std::make_unique<UsbTestbed>();
    }
    void TearDown() override {
        if (n > 0) USB_Bulk_CloseCameras(n, cameras);
        n = 0;
    }
    ci_error_code open(const char* sensor = "") { return _CILIBUSB_OpenCameras(cameras, &n, sensor, ""); }

    ScopedVendorIds ids{"0xC0DE,0xC0DF"};
    std::unique_ptr<UsbTestbed> bed;
    ci_camera_t* cameras[16] = {};
    ci_s32 n = 0;
};

TEST_F(UsbDevice, OneBoardIsIdentifiedAndLeftStopped) {
    UsbBoardConfig config;
    config.productId = 0x100B;
    config.bcdDevice = 0x0031;
    bed->addBoard(config);
    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    ASSERT_EQ(n, 1);
    ci_camera_t* camera = cameras[0];
    EXPECT_EQ(camera->productID, 0x100B);
    EXPECT_EQ(camera->firmwareVersion, 0x100B0031u);
    EXPECT_EQ(camera->transportType, CI_TRANSPORT_USB);
    EXPECT_STREQ(_ctx(camera)->driverInfo, " (0.0.0.0) - VendorID: 0xC0DE (first vendor)");
    EXPECT_EQ(_CILIBUSB_use_count(), 1);
    EXPECT_EQ(_CILIBUSB_CheckDriverOpen(_usb_context(camera)), 1);
    USB_Bulk_CloseCameras(n, cameras);
    n = 0;
    EXPECT_EQ(_CILIBUSB_use_count(), 0);
}

}  // namespace
