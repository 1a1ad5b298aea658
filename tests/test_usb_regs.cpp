// Register transfers through a simulated board on real libusb: what goes on
// the wire (request, type, value, index, data) and what lands on the bus.
#include <gtest/gtest.h>

#include "scratch_dir.h"
#include "usb_camera.h"

namespace {

// The error log (errors only) while alive.
class ErrorLog {
public:
    ErrorLog() { ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, dir_.file("regs.txt").c_str()); }
    ~ErrorLog() { ci_CloseErrorLog(); }
    bool has(const std::string& text) const {
        return scratch_read_file(dir_.file("regs0.txt")).find(text) != std::string::npos;
    }

private:
    ScratchDir dir_;
};

constexpr ci_u32 kBase = 0x48;

UsbBoardConfig board(ci_u16 product, ci_u16 fw) { return UsbBoardConfig::product(product, fw); }

class UsbRegs : public ::testing::Test {
protected:
    void SetUp() override {
        if (!UsbTestbed::available()) GTEST_SKIP() << "not running under umockdev-wrapper";
    }
    // Opens a board with one bus device at kBase of the given widths.
    UsbCamera& make(UsbBoardConfig config, ci_u32 addrBits = 8, ci_u32 dataBits = 16) {
        cam.reset();  // one testbed at a time
        cam = std::make_unique<UsbCamera>(config);
        cam->board().addDevice(kBase, addrBits, dataBits);
        EXPECT_TRUE(cam->open());
        cam->sizes(addrBits, dataBits);
        return *cam;
    }
    ci_u32 onBus(ci_u32 reg) { return cam->board().bus().device(kBase)->read(reg); }
    std::unique_ptr<UsbCamera> cam;
};

TEST_F(UsbRegs, EverySizeCombinationWritesAndReadsBackThroughTheBus) {
    for (ci_u16 product : {0x1007, 0x100E}) {
        for (ci_u32 a : {8u, 16u, 24u, 32u}) {
            for (ci_u32 d : {8u, 16u, 24u, 32u}) {
                SCOPED_TRACE(testing::Message() << "product " << product << " address " << a << " data " << d);
                UsbCamera& c = make(board(product, 50), a, d);
                const ci_u32 addr = 0x12345678u >> (32 - a);
                const ci_u32 value = 0xA1B2C3D4u >> (32 - d);
                ASSERT_EQ(USB_Bulk_WriteRegister(c.get(), kBase, addr, value), CI_CAMERA_SUCCESS);
                EXPECT_EQ(onBus(addr), value);
                ci_u32 back = 0;
                ASSERT_EQ(USB_Bulk_ReadRegister(c.get(), kBase, addr, &back), CI_CAMERA_SUCCESS);
                EXPECT_EQ(back, value);
                const ci_u8 family = product == 0x100E ? 0x40 : 0x20;
                for (const UsbControlRequest& r : c.board().requests()) {
                    EXPECT_EQ(r.requestType & 0x7F, family) << std::hex << int(r.request);
                    EXPECT_EQ(r.requestType & 0x80, r.request == VR_REG_WRITE_X || r.request == VR_I2C_WRITE_16 ? 0 : 0x80);
                }
            }
        }
    }
}

TEST_F(UsbRegs, SingleRequestsPackShipAddressRegisterAndData) {
    UsbCamera& c = make(board(0x1007, 20), 8, 16);  // old firmware: the single-register requests
    c.board().bus().device(kBase)->seed(0x31, 0xBEEF);
    ci_u32 v = 0;
    ASSERT_EQ(USB_Bulk_ReadRegister(c.get(), kBase, 0x31, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0xBEEFu);
    ASSERT_EQ(USB_Bulk_WriteRegister(c.get(), kBase, 0x32, 0x1234), CI_CAMERA_SUCCESS);
    EXPECT_EQ(onBus(0x32), 0x1234u);
    const auto rq = c.board().requests();
    ASSERT_EQ(rq.size(), 2u);
    EXPECT_EQ(rq[0].request, VR_REG_READ);
    EXPECT_EQ(rq[0].requestType, 0xA0);
    EXPECT_EQ(rq[0].value, 0x4831);
    EXPECT_EQ(rq[0].index, 0);
    EXPECT_EQ(rq[0].length, 2);  // no status byte before firmware 24
    EXPECT_EQ(rq[1].request, VR_REG_WRITE);
    EXPECT_EQ(rq[1].value, 0x4832);
    EXPECT_EQ(rq[1].index, 0x1234);

    UsbCamera& n = make(board(0x100E, 50), 16, 8);
    ASSERT_EQ(USB_Bulk_WriteRegister(n.get(), kBase, 0x3102, 0x5A), CI_CAMERA_SUCCESS);
    const auto w = n.board().requestsOf(VR_I2C_WRITE_16_8);
    ASSERT_EQ(w.size(), 1u);
    EXPECT_EQ(w[0].requestType, 0xC0);
    EXPECT_EQ(w[0].value, 0x485A);
    EXPECT_EQ(w[0].index, 0x3102);
    EXPECT_EQ(onBus(0x3102), 0x5Au);
}

TEST_F(UsbRegs, RunsAreChunkedBelowTheControlLimit) {
    UsbCamera& c = make(board(0x100E, 50), 8, 16);
    for (ci_u32 r = 0; r < 40; r++) c.board().bus().device(kBase)->seed(r, 0x100 + r);
    ci_u32 vals[64] = {};
    ASSERT_EQ(USB_Bulk_ReadRegisters(c.get(), kBase, 0, 40, vals), CI_CAMERA_SUCCESS);
    for (ci_u32 r = 0; r < 40; r++) EXPECT_EQ(vals[r], 0x100 + r) << r;
    const auto reads = c.board().requestsOf(VR_I2C_READ_X);
    ASSERT_EQ(reads.size(), 2u);  // 32 + 8 values, not one burst read
    EXPECT_EQ(reads[0].index, 64);
    EXPECT_EQ(reads[1].index, 16);
    EXPECT_EQ(reads[1].length, 17);
    EXPECT_TRUE(c.board().requestsOf(VR_REG_READ_X).empty());
    const auto addressPhases = c.board().requestsOf(VR_REG_WRITE_X);
    ASSERT_EQ(addressPhases.size(), 2u);
    EXPECT_EQ(addressPhases[1].value, 0x4820);  // second chunk starts at register 32
    EXPECT_EQ(addressPhases[1].index, 1);

    // 32 8-bit registers: one burst read of 32 data bytes and the status.
    UsbCamera& b = make(board(0x100E, 50), 8, 8);
    ASSERT_EQ(USB_Bulk_ReadRegisters(b.get(), kBase, 0x10, 32, vals), CI_CAMERA_SUCCESS);
    const auto burst = b.board().requestsOf(VR_REG_READ_X);
    ASSERT_EQ(burst.size(), 1u);
    EXPECT_EQ(burst[0].value, 0x4810);
    EXPECT_EQ(burst[0].index, 32);
    EXPECT_EQ(burst[0].length, 33);

    // A burst write of 16-bit data with 16-bit addresses: 31 values a request.
    UsbCamera& w = make(board(0x100E, 50), 16, 16);
    for (ci_u32 r = 0; r < 40; r++) vals[r] = 0x2000 + r;
    ASSERT_EQ(USB_Bulk_WriteRegisters(w.get(), kBase, 0x0300, 40, vals), CI_CAMERA_SUCCESS);
    const auto writes = w.board().requestsOf(VR_REG_WRITE_X);
    ASSERT_EQ(writes.size(), 2u);
    EXPECT_EQ(writes[0].data.size(), 1u + 31 * 2);
    EXPECT_EQ(writes[0].index, 0);
    EXPECT_EQ(writes[1].value, 0x4803);
    EXPECT_EQ(writes[1].data[0], 0x1F);  // 0x0300 + 31
    for (ci_u32 r = 0; r < 40; r++) EXPECT_EQ(onBus(0x300 + r), 0x2000 + r) << r;
}

TEST_F(UsbRegs, ASixtyFourByteReadHasNoStatusByte) {
    UsbCamera& c = make(board(0x100E, 50), 8, 8);
    for (ci_u32 r = 0; r < 64; r++) c.board().bus().device(kBase)->seed(r, r);
    c.board().bus().device(kBase)->seed(63, kBusNack);  // a data byte that looks like a NACK status
    ci_u32 vals[64] = {};
    ASSERT_EQ(USB_Bulk_ReadRegisters(c.get(), kBase, 0, 64, vals), CI_CAMERA_SUCCESS);
    EXPECT_EQ(vals[62], 62u);
    EXPECT_EQ(vals[63], ci_u32{kBusNack});
    const auto reads = c.board().requestsOf(VR_I2C_READ_X);
    ASSERT_EQ(reads.size(), 1u);
    EXPECT_EQ(reads[0].length, 64);
}

// Each row: the product, the firmware version on both sides of a gate, and an
// operation whose outcome changes at the gate.
struct Gate {
    const char* what;
    ci_u16 product, below, at;
    ci_u32 addrBits, dataBits;
    ci_error_code belowResult;
    ci_u8 requestAtGate;
    const char* message;  // logged below the gate
};

TEST_F(UsbRegs, FirmwareGatesSitExactlyWhereTheyBelong) {
    const Gate gates[] = {
        {"8-bit burst reads from 10", 0x1007, 9, 10, 8, 8, CI_CAMERA_NOT_SUPPORTED, VR_REG_READ_X, nullptr},
        {"16-bit addresses from 27", 0x1007, 26, 27, 16, 16, CI_CAMERA_ERROR, VR_I2C_READ_16,
         "Firmware doesn't support 16-bit addresses"},
        {"16/8 reads from 28", 0x1007, 27, 28, 16, 8, CI_CAMERA_ERROR, VR_I2C_READ_16_8,
         "Firmware doesn't support 16/8 I2C read"},
        {"generic reads from 35", 0x1007, 34, 35, 24, 8, CI_CAMERA_NOT_SUPPORTED, VR_I2C_READ_X, nullptr},
    };
    for (const Gate& g : gates) {
        SCOPED_TRACE(g.what);
        UsbCamera& lo = make(board(g.product, g.below), g.addrBits, g.dataBits);
        ci_u32 v = 0;
        {
            ErrorLog log;
            EXPECT_EQ(USB_Bulk_ReadRegister(lo.get(), kBase, 0x10, &v), g.belowResult);
            if (g.message != nullptr) {
                EXPECT_TRUE(log.has(g.message));
            }
        }
        EXPECT_TRUE(lo.board().requestsOf(g.requestAtGate).empty());
        UsbCamera& at = make(board(g.product, g.at), g.addrBits, g.dataBits);
        EXPECT_EQ(USB_Bulk_ReadRegister(at.get(), kBase, 0x10, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(at.board().requestsOf(g.requestAtGate).size(), 1u);
    }
}

TEST_F(UsbRegs, StatusBytesCountFromFirmware24) {
    for (ci_u16 fw : {23, 24}) {
        UsbCamera& c = make(board(0x1007, fw), 8, 16);
        c.board().failBus(1, kBusNack);
        ci_u32 v = 0;
        EXPECT_EQ(USB_Bulk_ReadRegister(c.get(), kBase, 0x10, &v), fw == 23 ? CI_CAMERA_SUCCESS : CI_I2C_NACK_ERROR);
        EXPECT_EQ(c.board().requestsOf(VR_REG_READ).at(0).length, fw == 23 ? 2 : 3);
    }
}

TEST_F(UsbRegs, StatusBytesMapToTheirErrors) {
    const std::pair<ci_u8, ci_error_code> rows[] = {
        {kBusBitError, CI_I2C_BIT_ERROR}, {kBusNack, CI_I2C_NACK_ERROR}, {kBusTimeout, CI_I2C_TIMEOUT}, {9, CI_CAMERA_SUCCESS}};
    UsbCamera& c = make(board(0x100E, 50), 8, 8);
    for (const auto& [status, expected] : rows) {
        c.board().failBus(1, status);
        ci_u32 v = 0;
        EXPECT_EQ(USB_Bulk_ReadRegister(c.get(), kBase, 0x10, &v), expected) << int(status);
        // The address phase's status is not asked of this board: the data phase reports it.
        c.board().failBus(2, status);
        EXPECT_EQ(USB_Bulk_GenericRead(c.get(), kBase, 16, 0x10, 8, 1, &v), expected) << int(status);
    }
    // A base without a device is not acknowledged.
    ci_u32 v = 0;
    EXPECT_EQ(USB_Bulk_ReadRegister(c.get(), 0x50, 0x10, &v), CI_I2C_NACK_ERROR);
}

TEST_F(UsbRegs, OnlyTheOlderBoardsFromFirmware42AreAskedForTheWriteStatus) {
    struct Row {
        ci_u16 product, fw;
        bool asks;
    };
    const Row rows[] = {{0x1007, 42, true},  {0x100B, 42, true},  {0x100D, 42, true}, {0x1007, 41, false},
                        {0x100E, 50, false}, {0x1002, 50, false}, {0x1004, 50, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.product << " fw " << std::dec << row.fw);
        UsbCamera& c = make(board(row.product, row.fw), 16, 16);
        c.board().failBus(1, kBusNack);
        EXPECT_EQ(USB_Bulk_WriteRegister(c.get(), kBase, 0x10, 1), row.asks ? CI_I2C_NACK_ERROR : CI_CAMERA_SUCCESS);
        EXPECT_EQ(c.board().requestsOf(VR_I2C_WRITE_STATUS).size(), row.asks ? 1u : 0u);
    }
}

TEST_F(UsbRegs, AFailedAddressPhaseEndsTheGenericRead) {
    UsbCamera& c = make(board(0x1007, 50), 24, 16);
    ci_u32 v = 0;
    ErrorLog log;
    EXPECT_EQ(USB_Bulk_GenericRead(c.get(), 0x50, 24, 0x10, 16, 1, &v), CI_I2C_NACK_ERROR);
    EXPECT_TRUE(log.has("Error writing shipAddr=0x50"));
    EXPECT_TRUE(c.board().requestsOf(VR_I2C_READ_X).empty());
    const auto phase = c.board().requestsOf(VR_REG_WRITE_X);
    ASSERT_EQ(phase.size(), 1u);
    EXPECT_EQ(phase[0].value, 0x5000);
    EXPECT_EQ(phase[0].data, (std::vector<ci_u8>{0x00, 0x10}));
}

TEST_F(UsbRegs, RegisterSizesFollowTheFirmware) {
    UsbCamera& old = make(board(0x1007, 34), 8, 8);
    EXPECT_EQ(old.get()->setMode(old.get(), CI_REG_ADDR_SIZE, 16), CI_CAMERA_SUCCESS);
    EXPECT_EQ(old.get()->setMode(old.get(), CI_REG_DATA_SIZE, 32), CI_CAMERA_ERROR);
    ci_u32 v = 0;
    old.get()->getMode(old.get(), CI_REG_DATA_SIZE, &v);
    EXPECT_EQ(v, 8u);
    UsbCamera& now = make(board(0x1007, 35), 8, 8);
    EXPECT_EQ(now.get()->setMode(now.get(), CI_REG_DATA_SIZE, 24), CI_CAMERA_SUCCESS);
    EXPECT_EQ(now.get()->setMode(now.get(), CI_REG_ADDR_SIZE, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(now.get()->setMode(now.get(), CI_REG_DATA_SIZE, 0), CI_CAMERA_ERROR);
}

}  // namespace
