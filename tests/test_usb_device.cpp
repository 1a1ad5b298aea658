// The USB device layer against simulated boards on real libusb: which
// boards are found and in what order, the request types of the two board
// families, the libusb use count, and faults of the bus below the requests.
#include <gtest/gtest.h>
#include <libusb.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "scratch_dir.h"
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

TEST_F(UsbDevice, BoardsOfOtherVendorsTakeNoIndex) {
    UsbBoardConfig foreign;
    foreign.vendorId = 0x1234;
    UsbBoardConfig first, second;
    first.productId = 0x1007;
    second.vendorId = 0xC0DF;
    second.productId = 0x100D;
    bed->addBoard(foreign);
    bed->addBoard(first);
    bed->addBoard(foreign);
    bed->addBoard(second);
    // The order libusb lists the devices in is the order of the indices.
    libusb_context* usb = nullptr;
    ASSERT_EQ(libusb_init(&usb), 0);
    libusb_device** list = nullptr;
    std::vector<ci_u16> ours;
    for (ssize_t i = 0, count = libusb_get_device_list(usb, &list); i < count; i++) {
        libusb_device_descriptor d;
        libusb_get_device_descriptor(list[i], &d);
        if (d.idVendor != 0x1234) ours.push_back(d.idProduct);
    }
    libusb_free_device_list(list, 1);
    libusb_exit(usb);
    ASSERT_EQ(ours.size(), 2u);

    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    ASSERT_EQ(n, 2);
    for (ci_s32 i = 0; i < n; i++) {
        EXPECT_EQ(_usb_context(cameras[i])->driverInfo->index, (ci_u32)i);
        EXPECT_EQ(cameras[i]->productID, ours[i]);
    }
    const bool secondVendorLast = cameras[1]->productID == 0x100D;
    EXPECT_STREQ(_ctx(cameras[secondVendorLast ? 1 : 0])->driverInfo,
                 " (0.0.0.0) - VendorID: 0xC0DF (second vendor)");
    // Each board starts again by its index.
    for (ci_s32 i = 0; i < n; i++) EXPECT_EQ(cameras[i]->startTransport(cameras[i]), CI_CAMERA_SUCCESS);
}

TEST_F(UsbDevice, NoKnownVendorFindsNoBoard) {
    bed->addBoard();
    ScratchDir dir;
    int round = 0;
    for (const char* value : {static_cast<const char*>(nullptr), "", "0xZZ", "0xC0DE,0xC0DF,0x1", "0x10000"}) {
        const std::string text = value ? value : "(unset)";
        const std::string name = std::string("ids") + char('a' + round++);
        ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR | CI_LOG_INFO, dir.file(name + ".txt").c_str());
        ScopedVendorIds none(value);
        EXPECT_EQ(open(), CI_CAMERA_ERROR) << text;
        EXPECT_EQ(n, 0);
        EXPECT_EQ(_CILIBUSB_use_count(), 0);
        ci_CloseErrorLog();
        // Unset or empty: one information line; malformed: an error naming the value.
        const std::string log = scratch_read_file(dir.file(name + "0.txt"));
        const bool malformed = value != nullptr && value[0] != '\0';
        const std::string wanted = malformed ? "CI_USB_VENDOR_IDS=\"" + text + "\" is malformed" : "set CI_USB_VENDOR_IDS";
        const size_t at = log.find(wanted);
        EXPECT_NE(at, std::string::npos) << log;
        EXPECT_EQ(log.find(wanted, at + 1), std::string::npos) << log;
    }
    ScopedVendorIds spaced(" C0DE ");
    EXPECT_EQ(open(), CI_CAMERA_SUCCESS);
    EXPECT_EQ(n, 1);
}

TEST_F(UsbDevice, WithoutABoardLibusbIsReleasedAgain) {
    UsbBoardConfig foreign;
    foreign.vendorId = 0x1234;
    bed->addBoard(foreign);
    EXPECT_EQ(open(), CI_CAMERA_ERROR);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(_CILIBUSB_use_count(), 0);
}

// Descriptors only libusb holds while initialised: device nodes and its
// timer.  (Event descriptors are left out: the simulator's main loop makes
// and drops its own wake-up descriptors on its thread, at its own pace.)
std::multiset<std::string> libusbDescriptors() {
    std::multiset<std::string> held;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        const std::string target = std::filesystem::read_symlink(entry.path(), ignored).string();
        if (target.find("bus/usb") != std::string::npos || target == "anon_inode:[timerfd]") held.insert(target);
    }
    return held;
}

TEST_F(UsbDevice, LibusbIsExitedAfterTheLastClose) {
    bed->addBoard();
    bed->addBoard();
    const auto before = libusbDescriptors();
    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    ASSERT_EQ(n, 2);
    EXPECT_EQ(_CILIBUSB_use_count(), 2);
    EXPECT_GT(libusbDescriptors().size(), before.size());
    EXPECT_EQ(cameras[0]->startTransport(cameras[0]), CI_CAMERA_SUCCESS);
    USB_Bulk_CloseCameras(1, &cameras[0]);
    EXPECT_EQ(_CILIBUSB_use_count(), 1);
    USB_Bulk_CloseCameras(1, &cameras[1]);
    n = 0;
    EXPECT_EQ(_CILIBUSB_use_count(), 0);
    EXPECT_EQ(libusbDescriptors(), before);
}

TEST_F(UsbDevice, ABoardThatCannotBeClaimedIsNotOpened) {
    bed->addBoard().refuseClaim(true);
    ScratchDir dir;
    ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, dir.file("claim.txt").c_str());
    EXPECT_EQ(open(), CI_CAMERA_ERROR);
    ci_CloseErrorLog();
    EXPECT_EQ(n, 0);
    EXPECT_EQ(_CILIBUSB_use_count(), 0);
    EXPECT_NE(scratch_read_file(dir.file("claim0.txt")).find("libusb_claim_interface returns < 0, exit error"),
              std::string::npos);
}

TEST_F(UsbDevice, ABoardUnpluggedBeforeItsStartDoesNotStart) {
    UsbBoard& board = bed->addBoard();
    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    bed->unplug(board);
    EXPECT_EQ(cameras[0]->startTransport(cameras[0]), CI_CAMERA_ERROR);
    EXPECT_EQ(_CILIBUSB_CheckDriverOpen(_usb_context(cameras[0])), 1);
}

TEST_F(UsbDevice, ABoardUnpluggedWhileStartedFailsItsRequests) {
    UsbBoard& board = bed->addBoard();
    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    ci_camera_t* camera = cameras[0];
    ASSERT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
    ci_u8 byte = 0;
    EXPECT_EQ(USB_Bulk_ReadSFR(camera, 0x80, &byte), CI_CAMERA_SUCCESS);
    bed->cutOff(board);
    EXPECT_EQ(USB_Bulk_ReadSFR(camera, 0x80, &byte), CI_CAMERA_ERROR);
}

// A stall, a short reply and a request that never completes: the request
// fails (or, short, counts only what arrived) and the next one works.
TEST_F(UsbDevice, TransferFaultsStayWithTheirRequest) {
    UsbBoardConfig config;
    config.productId = 0x100E;
    UsbBoard& board = bed->addBoard(config);
    board.addDevice(0x48, 8, 8);
    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    ci_camera_t* camera = cameras[0];
    ASSERT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
    _tl_context_t* tl = _thread_local_context(camera);
    tl->reg_addr_size = 8;
    tl->reg_data_size = 8;
    board.bus().device(0x48)->seed(5, 0x77);
    ci_u32 v = 0;

    board.stallNext(VR_REG_READ_X);
    EXPECT_EQ(USB_Bulk_ReadRegister(camera, 0x48, 5, &v), CI_CAMERA_ERROR);
    board.hangNext(VR_REG_READ_X);
    EXPECT_EQ(USB_Bulk_ReadRegister(camera, 0x48, 5, &v), CI_CAMERA_ERROR);
    // Without its status byte a short reply is not an error, even on a NACK.
    board.failBus(1, kBusNack);
    board.shortReplyNext(VR_REG_READ_X, 1);
    EXPECT_EQ(USB_Bulk_ReadRegister(camera, 0x48, 5, &v), CI_CAMERA_SUCCESS);
    v = 0;
    EXPECT_EQ(USB_Bulk_ReadRegister(camera, 0x48, 5, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0x77u);
}

TEST_F(UsbDevice, TheFamilyOfRequestTypesFollowsTheProduct) {
    for (ci_u16 product : {0x1007, 0x100E}) {
        UsbTestbed own;
        UsbBoardConfig config;
        config.productId = product;
        UsbBoard& board = own.addBoard(config);
        ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
        ASSERT_EQ(cameras[0]->startTransport(cameras[0]), CI_CAMERA_SUCCESS);
        ci_u8 byte = 0;
        ci_s32 moved = 0;
        ci_u8 none[1] = {0};
        EXPECT_EQ(USB_Bulk_ReadXDATAMemory(cameras[0], 0x10, &byte), CI_CAMERA_SUCCESS);
        EXPECT_EQ(USB_Bulk_SendVRCommand(cameras[0], VR_RESET_FIFO, kUsbDirOut, 0, 0, 0, none, &moved), 0);
        const auto rq = board.requests();
        ASSERT_GE(rq.size(), 2u);
        const ci_u8 family = product == 0x100E ? 0x40 : 0x20;
        EXPECT_EQ(rq[rq.size() - 2].requestType, family | 0x80);
        EXPECT_EQ(rq.back().requestType, family);
        USB_Bulk_CloseCameras(n, cameras);
        n = 0;
    }
}

TEST_F(UsbDevice, TheNewestBoardReportsItsFirmwareOnRequest) {
    UsbBoardConfig config;
    config.productId = 0x100E;
    config.bcdDevice = 0x0001;
    config.fwVersion = 0x0123;
    bed->addBoard(config);
    ASSERT_EQ(open(), CI_CAMERA_SUCCESS);
    EXPECT_EQ(cameras[0]->firmwareVersion, 0x100E0123u);
    EXPECT_EQ(_usb_context(cameras[0])->firmwareVersion, cameras[0]->firmwareVersion);
}

}  // namespace
