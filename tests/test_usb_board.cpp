// The board's own operations through a simulated board on real libusb: the
// request log, controller memories, bus bit rate, FIFO reset, vendor data.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scratch_dir.h"
#include "usb_camera.h"

namespace {

UsbBoardConfig board(ci_u16 product, ci_u16 fw) { return UsbBoardConfig::product(product, fw); }

class UsbBoardOps : public ::testing::Test {
protected:
    void SetUp() override {
        if (!UsbTestbed::available()) GTEST_SKIP() << "not running under umockdev-wrapper";
    }
    UsbCamera& make(UsbBoardConfig config) {
        cam.reset();
        cam = std::make_unique<UsbCamera>(config);
        return *cam;
    }
    std::unique_ptr<UsbCamera> cam;
};

// The lines of the log after the time stamp.
std::vector<std::string> logLines(const std::string& path) {
    std::vector<std::string> lines;
    const std::string all = scratch_read_file(path);
    size_t start = 0;
    for (size_t end = all.find('\n'); end != std::string::npos; start = end + 1, end = all.find('\n', start)) {
        const std::string line = all.substr(start, end - start);
        for (const char* cls : {"USB: ", "SHIP: "}) {
            const size_t at = line.find(cls);
            if (at != std::string::npos) lines.push_back(line.substr(at));
        }
    }
    return lines;
}

TEST_F(UsbBoardOps, EachSizeLogsItsRequestsAndValuesExactly) {
    UsbCamera& c = make(board(0x100E, 50));
    c.board().addDevice(0x40, 8, 8).seed(0x10, 0x5A);
    c.board().addDevice(0x42, 8, 16).seed(0x20, 0xBEEF);
    c.board().addDevice(0x44, 16, 16).seed(0x3000, 0xCAFE);
    c.board().addDevice(0x46, 16, 8).seed(0x3001, 0xA5);
    c.board().addDevice(0x48, 24, 32).seed(0x123456, 0xDEADBEEF);
    ASSERT_TRUE(c.open());
    ScratchDir dir;
    ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR | CI_LOG_SHIP | CI_LOG_USB, dir.file("usb.txt").c_str());
    struct Step {
        ci_u32 base, a, d, reg, write;
    };
    const Step steps[] = {{0x40, 8, 8, 0x10, 0x3C},        {0x42, 8, 16, 0x20, 0x1234},
                          {0x44, 16, 16, 0x3000, 0x1234},  {0x46, 16, 8, 0x3001, 0x5A},
                          {0x48, 24, 32, 0x123456, 0x01020304}};
    for (const Step& s : steps) {
        c.sizes(s.a, s.d);
        ci_u32 v = 0;
        EXPECT_EQ(USB_Bulk_ReadRegister(c.get(), s.base, s.reg, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(USB_Bulk_WriteRegister(c.get(), s.base, s.reg, s.write), CI_CAMERA_SUCCESS);
    }
    ci_CloseErrorLog();
    const std::vector<std::string> expected = {
        "USB: Vendor Command: VR_REG_READ_X, value=0x4010, index=0x1, buffSize=2, buff[]=0x5A, 0x0",
        "SHIP: Multiple  Read: shipAddr=0x40, ( 8)regAddr=0x10,   ( 8)read= 0x5A",
        "USB: Vendor Command: VR_REG_WRITE_X, value=0x4010, index=0x0, buffSize=1, buff[]=0x3C",
        "USB: Vendor Command: VR_REG_READ, value=0x4220, index=0x0, buffSize=3, buff[]=0xBE, 0xEF, 0x0",
        "USB: Vendor Command: VR_REG_WRITE, value=0x4220, index=0x1234, buffSize=1, buff[]=0x0",
        "USB: Vendor Command: VR_I2C_READ_16, value=0x4400, index=0x3000, buffSize=3, buff[]=0xCA, 0xFE, 0x0",
        "USB: Vendor Command: VR_I2C_WRITE_16, value=0x4400, index=0x3000, buffSize=2, buff[]=0x12, 0x34",
        "USB: Vendor Command: VR_I2C_READ_16_8, value=0x4600, index=0x3001, buffSize=3, buff[]=0xA5, 0x0, 0x0",
        "USB: Vendor Command: VR_I2C_WRITE_16_8, value=0x465A, index=0x3001, buffSize=1, buff[]=0x0",
        "USB: Vendor Command: VR_REG_WRITE_X, value=0x4812, index=0x1, buffSize=2, buff[]=0x34, 0x56",
        "USB: Vendor Command: VR_I2C_READ_X, value=0x4800, index=0x4, buffSize=5, buff[]=0xDE, 0xAD, 0xBE, 0xEF, 0x0",
        "SHIP: Multiple  Read: shipAddr=0x48, (24)regAddr=0x123456, (32)read= 0xDEADBEEF",
        "USB: Vendor Command: VR_REG_WRITE_X, value=0x4812, index=0x1, buffSize=6, buff[]=0x34, 0x56, 0x1, 0x2, 0x3, 0x4",
        "SHIP: Multiple Write: shipAddr=0x48, (24)regAddr=0x123456, (32)write=0x01020304",
    };
    EXPECT_EQ(logLines(dir.file("usb0.txt")), expected);
}

TEST_F(UsbBoardOps, RunValuesAreLoggedOneLineEach) {
    UsbCamera& c = make(board(0x100E, 50));
    BusDevice& dev = c.board().addDevice(0x48, 8, 16);
    for (ci_u32 r = 0; r < 3; r++) dev.seed(0x10 + r, 0x100 * (r + 1));
    ASSERT_TRUE(c.open());
    c.sizes(8, 16);
    ScratchDir dir;
    ci_OpenErrorLog(CI_LOG_SHIP, dir.file("run.txt").c_str());
    ci_u32 vals[3] = {};
    EXPECT_EQ(USB_Bulk_ReadRegisters(c.get(), 0x48, 0x10, 3, vals), CI_CAMERA_SUCCESS);
    ci_CloseErrorLog();
    const std::vector<std::string> expected = {
        "SHIP: Multiple  Read: shipAddr=0x48, ( 8)regAddr=0x10,   (16)read= 0x0100",
        "SHIP:                          [ 1]  ( 8)regAddr=0x11,   (16)read= 0x0200",
        "SHIP:                          [ 2]  ( 8)regAddr=0x12,   (16)read= 0x0300",
    };
    EXPECT_EQ(logLines(dir.file("run0.txt")), expected);
}

TEST_F(UsbBoardOps, RequestNamesComeFromTheTableInItsOrder) {
    ASSERT_EQ(sizeof USBCommand / sizeof USBCommand[0], 44u);
    EXPECT_STREQ(USBCommand[32].pszCommandDesc, "VR_I2C_WRITE_STATUS");
    EXPECT_STREQ(USBCommand[33].pszCommandDesc, "VR_SET_I2C_BITRATE");
    EXPECT_STREQ(_getUSBComm(0xD8), "VR_GET_I2C_BITRATE");
    EXPECT_STREQ(_getUSBComm(0xA1), "VR_FW_VERSION");
    EXPECT_STREQ(_getUSBComm(0xAB), "0xAB");
    EXPECT_STREQ(_getUSBComm(0x05), "0x05");
}

TEST_F(UsbBoardOps, MemoryWritesChangeOnlyTheMaskedBits) {
    UsbCamera& c = make(board(0x1007, 6));
    ASSERT_TRUE(c.open());
    c.board().setXdata(0x1234, 0xF0);
    c.board().setSfr(0x81, 0x0F);
    EXPECT_EQ(USB_Bulk_WriteXDATAMemory(c.get(), 0x1234, 0x3C, 0xAA), CI_CAMERA_SUCCESS);
    EXPECT_EQ(c.board().xdata(0x1234), 0xE8);  // 0xF0 with bits 2..5 from 0xAA
    EXPECT_EQ(USB_Bulk_WriteSFR(c.get(), 0x81, 0xF0, 0x50), CI_CAMERA_SUCCESS);
    EXPECT_EQ(c.board().sfr(0x81), 0x5F);
    EXPECT_EQ(USB_Bulk_Write8051Memory(c.get(), 0x30, 0xFF, 0x77), CI_CAMERA_SUCCESS);
    EXPECT_EQ(c.board().internalRam(0x30), 0x77);
    const auto w = c.board().requestsOf(VR_INTMEM_WRITE_X);
    ASSERT_EQ(w.size(), 1u);
    EXPECT_EQ(w[0].requestType, 0xA0);  // sent as a read: the firmware answers one byte
    EXPECT_EQ(w[0].value, 0x1234);
    EXPECT_EQ(w[0].index, 0x3CAA);
    ci_u8 byte = 0;
    EXPECT_EQ(USB_Bulk_Read8051Memory(c.get(), 0x30, &byte), CI_CAMERA_SUCCESS);
    EXPECT_EQ(byte, 0x77);
    EXPECT_EQ(USB_Bulk_ReadSFR(c.get(), 0x81, &byte), CI_CAMERA_SUCCESS);
    EXPECT_EQ(byte, 0x5F);

    // The table hung on the camera reaches the same operations.
    auto* table = static_cast<const USB_INT_DEV_functions*>(c.get()->int_dev_functions);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->readXDATAMem(c.get(), 0x1234, &byte), CI_CAMERA_SUCCESS);
    EXPECT_EQ(byte, 0xE8);
    ci_u8 frame[4] = {};
    EXPECT_EQ(table->loadFrame(c.get(), frame, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(table->loadFrame(c.get(), frame, sizeof frame), CI_CAMERA_ERROR);

    UsbCamera& old = make(board(0x1007, 5));
    ASSERT_TRUE(old.open());
    EXPECT_EQ(USB_Bulk_ReadSFR(old.get(), 0x81, &byte), CI_CAMERA_ERROR);
    EXPECT_EQ(USB_Bulk_WriteXDATAMemory(old.get(), 0x1234, 1, 1), CI_CAMERA_ERROR);
    EXPECT_TRUE(old.board().requests().empty());
}

TEST_F(UsbBoardOps, BitRateByProduct) {
    UsbCamera& x = make(board(0x1007, 50));
    ASSERT_TRUE(x.open());
    x.board().setXdata(0xE67A, 0x80);
    ci_u32 speed = 0;
    EXPECT_EQ(x.get()->setMode(x.get(), CI_SHIP_SPEED, 300), CI_CAMERA_SUCCESS);
    EXPECT_EQ(x.board().xdata(0xE67A), 0x81);
    EXPECT_EQ(x.get()->getMode(x.get(), CI_SHIP_SPEED, &speed), CI_CAMERA_SUCCESS);
    EXPECT_EQ(speed, 400u);
    EXPECT_EQ(USB_Bulk_SetShipSpeed(x.get(), 299), CI_CAMERA_SUCCESS);
    EXPECT_EQ(x.board().xdata(0xE67A), 0x80);
    EXPECT_EQ(USB_Bulk_GetShipSpeed(x.get(), &speed), CI_CAMERA_SUCCESS);
    EXPECT_EQ(speed, 100u);

    UsbCamera& n = make(board(0x100E, 50));
    ASSERT_TRUE(n.open());
    const std::pair<ci_u32, ci_u8> rates[] = {{299, 0}, {300, 1}, {800, 1}, {801, 2}};
    for (const auto& [kHz, code] : rates) {
        EXPECT_EQ(USB_Bulk_SetShipSpeed(n.get(), kHz), CI_CAMERA_SUCCESS);
        EXPECT_EQ(n.board().bitRate(), code) << kHz;
    }
    EXPECT_EQ(USB_Bulk_GetShipSpeed(n.get(), &speed), CI_CAMERA_SUCCESS);
    EXPECT_EQ(speed, 1000u);
    n.board().stallNext(VR_GET_I2C_BITRATE);
    EXPECT_EQ(USB_Bulk_GetShipSpeed(n.get(), &speed), CI_CAMERA_NOT_SUPPORTED);

    UsbCamera& none = make(board(0x1005, 50));
    ASSERT_TRUE(none.open());
    EXPECT_EQ(USB_Bulk_SetShipSpeed(none.get(), 400), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_TRUE(none.board().requests().empty());
}

TEST_F(UsbBoardOps, FifoResetFromFirmware38AndOnTheNewestBoard) {
    const std::pair<UsbBoardConfig, int> rows[] = {
        {board(0x1007, 37), 0}, {board(0x1007, 38), 1}, {board(0x100E, 1), 1}};
    for (const auto& [config, resets] : rows) {
        UsbCamera& c = make(config);
        ASSERT_TRUE(c.open());
        EXPECT_EQ(_resetFifo(c.get()), CI_CAMERA_SUCCESS);
        EXPECT_EQ(c.board().fifoResets(), resets);
    }
}

TEST_F(UsbBoardOps, VendorDataFillsTheContext) {
    UsbBoardConfig config = board(0x1007, 50);
    config.usbGeneration = 3;
    config.maxPacketSize = 1024;
    config.markerPacketSize = 256;
    config.marker = {0xCA, 0xFE, 0x01};
    UsbCamera& c = make(config);
    ASSERT_TRUE(c.open());
    ASSERT_EQ(_USB_Bulk_GetVendorData(c.get()), CI_CAMERA_SUCCESS);
    const USB_Bulk_Context* usb = _usb_context(c.get());
    EXPECT_EQ(usb->usbVersion, 3u);
    EXPECT_EQ(usb->maxPacketSize, 1024u);
    EXPECT_EQ(usb->markerPacketSize, 256u);
    EXPECT_EQ(usb->markerSize, 3u);
    EXPECT_EQ(std::vector<ci_u8>(usb->marker, usb->marker + 3), config.marker);

    config.usbGeneration = 1;
    UsbCamera& old = make(config);
    ASSERT_TRUE(old.open());
    EXPECT_EQ(_USB_Bulk_GetVendorData(old.get()), CI_CAMERA_ERROR);
    old.board().stallNext(VR_MARKER_SIZE);
    EXPECT_EQ(_USB_Bulk_GetVendorData(old.get()), CI_CAMERA_ERROR);
}

}  // namespace
