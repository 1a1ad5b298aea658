// The camkit tool with simulated USB boards (the tool runs as a child of
// the test and sees the same mocked bus).
#include <gtest/gtest.h>

#include <string>

#include "cli_runner.h"
#include "test_paths.h"
#include "usb_board_sim.h"

namespace {

std::string page8() { return std::string(ck_test_data_dir()) + "/sensor_data/ck_page8.sdat"; }

class UsbCli : public ::testing::Test {
protected:
    void SetUp() override {
        if (!UsbTestbed::available()) GTEST_SKIP() << "not running under umockdev-wrapper";
        if (!cli.available()) GTEST_SKIP() << "the camkit tool is not built";
    }
    CliRunner cli;
};

TEST_F(UsbCli, ListShowsTheBoardsOfTheKnownVendors) {
    ScopedVendorIds ids("0xC0DE");
    UsbTestbed bed;
    UsbBoardConfig config;
    config.productId = 0x100E;
    config.fwVersion = 42;
    config.usbGeneration = 3;
    bed.addBoard(config).addSensor(page8(), 0xBA, 8, 16);
    UsbBoardConfig foreign;
    foreign.vendorId = 0x1234;
    bed.addBoard(foreign);
    const ToolResult r = cli.run({"--transports", "usb", "--sensor-data", page8(), "list"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("USB 3.0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("C0DE:100E fw 42"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("CK0900"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("1234:"), std::string::npos) << r.out;
}

TEST_F(UsbCli, WithoutVendorIdsTheToolSaysHowToNameThem) {
    UsbTestbed bed;
    bed.addBoard().addSensor(page8(), 0xBA, 8, 16);
    for (const char* value : {static_cast<const char*>(nullptr), "0xC0DE"}) {
        ScopedVendorIds ids(value);
        const ToolResult r = cli.run({"--transports", "usb", "--sensor-data", page8(), "list"});
        const bool hinted = r.err.find("set CI_USB_VENDOR_IDS") != std::string::npos;
        EXPECT_EQ(hinted, value == nullptr) << r.err;
        EXPECT_EQ(r.status, value == nullptr ? 1 : 0) << r.err;
    }
}

}  // namespace
