// The camkit tool with simulated USB boards (the tool runs as a child of
// the test and sees the same mocked bus).
#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cli_runner.h"
#include "test_paths.h"
#include "usb_board_sim.h"

namespace {

std::string page8() { return std::string(ck_test_data_dir()) + "/sensor_data/ck_page8.sdat"; }

// The samples of a 16-bit grey PNG file (empty when it is not one).
std::vector<ci_u16> png_grey16(const std::string& path, png_uint_32* width, png_uint_32* height) {
    FILE* f = fopen(path.c_str(), "rb");
    if (f == nullptr) return {};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    std::vector<ci_u16> samples;
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, f);
        png_read_info(png, info);
        *width = png_get_image_width(png, info);
        *height = png_get_image_height(png, info);
        if (png_get_bit_depth(png, info) == 16 && png_get_color_type(png, info) == PNG_COLOR_TYPE_GRAY) {
            std::vector<png_byte> row(png_get_rowbytes(png, info));
            for (png_uint_32 y = 0; y < *height; y++) {
                png_read_row(png, row.data(), nullptr);
                for (png_uint_32 x = 0; x < *width; x++) samples.push_back((ci_u16)(row[2 * x] << 8 | row[2 * x + 1]));
            }
        }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(f);
    return samples;
}

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

// Five frames of the board's Bayer pattern become five 16-bit grey PNG
// files holding the 10-bit samples at the top of each 16-bit value.
TEST_F(UsbCli, GrabWritesTheBoardsFramesAsPngFiles) {
    ScopedVendorIds ids("0xC0DE");
    UsbTestbed bed;
    UsbBoardConfig config;
    config.productId = 0x100E;
    config.usbGeneration = 3;
    config.maxPacketSize = 1024;
    config.markerPacketSize = 256;
    UsbBoard& board = bed.addBoard(config);
    board.addSensor(page8(), 0xBA, 8, 16);
    const ci_u32 width = 1280, height = 1024;
    board.setPattern(FramePattern::Bayer, width);
    board.setFrameSize(width * height * 2);
    const ToolResult r =
        cli.run({"--transports", "usb", "--sensor-data", page8(), "grab", "-n", "5", "-o", "frame%d.png"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("5 frames grabbed, 0 failed"), std::string::npos) << r.out;
    for (ci_u32 n = 0; n < 5; n++) {
        SCOPED_TRACE(n);
        png_uint_32 w = 0, h = 0;
        const std::vector<ci_u16> got = png_grey16(cli.dir().file("frame" + std::to_string(n) + ".png"), &w, &h);
        ASSERT_EQ(w, width);
        ASSERT_EQ(h, height);
        ASSERT_EQ(got.size(), (size_t)width * height);
        const std::vector<ci_u8> sent = board.frameBytes(n + 1);
        for (size_t i = 0; i < got.size(); i++) {
            const ci_u16 sample = (ci_u16)((sent[2 * i] | sent[2 * i + 1] << 8) & 0x3FF);
            ASSERT_EQ(got[i], sample << 6) << "pixel " << i;
        }
        EXPECT_NE(r.out.find("frame " + std::to_string(n) + ": number " + std::to_string(n + 1)), std::string::npos)
            << r.out;
    }
}

}  // namespace
