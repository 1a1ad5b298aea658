// The simulated-camera plugin: identification by probing, the frame pattern
// (counter, colour bars, movement, exposure), its preset command, and open
// and close cycles (leaks show under the sanitizer build's leak checker).
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "cli_runner.h"
#include "scratch_dir.h"
#include "sensor_builder.h"

namespace {

const std::string kSensor = std::string(CAMKIT_DATA_DIR) + "/sensor_data/ck_bayer16.sdat";

// 16-bit little-endian sample (x, y) of a 1920-wide raw frame.
unsigned sample(const std::string& raw, unsigned x, unsigned y) {
    const size_t at = ((size_t)y * 1920 + x) * 2;
    return (unsigned char)raw[at] | ((unsigned char)raw[at + 1] << 8);
}

// The first sample (x, y) in row 0 of a 16-bit grey PNG.
unsigned png_sample(const std::string& path, unsigned x, png_uint_32* width, png_uint_32* height) {
    FILE* f = fopen(path.c_str(), "rb");
    if (f == nullptr) return ~0u;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    unsigned value = ~0u;
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, f);
        png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
        *width = png_get_image_width(png, info);
        *height = png_get_image_height(png, info);
        png_bytep row = png_get_rows(png, info)[0];
        if (png_get_bit_depth(png, info) == 16) value = (row[2 * x] << 8) | row[2 * x + 1];
    }
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(f);
    return value;
}

}  // namespace

TEST(Simcam, FramesCarryTheCounterMovingBarsAndFollowTheExposure) {
    CliRunner tool;
    if (!tool.available()) GTEST_SKIP() << "command-line tool not built";
    const ToolResult r = tool.run({"--transports", "plugin", "--plugin", SIMCAM_PLUGIN, "--sensor-data", kSensor,
                                   "grab", "-n", "2", "-o", "f%d.raw", "+", "set", "COARSE_INTEGRATION_TIME=0x200",
                                   "+", "grab", "-o", "half.raw", "+", "grab", "-o", "frame.png"});
    ASSERT_EQ(r.status, 0) << r.err << r.out;
    const std::string f0 = scratch_read_file(tool.dir().file("f0.raw"));
    const std::string f1 = scratch_read_file(tool.dir().file("f1.raw"));
    const std::string half = scratch_read_file(tool.dir().file("half.raw"));
    ASSERT_EQ(f0.size(), 1920u * 1080u * 2u);
    ASSERT_EQ(half.size(), f0.size());
    // Frame counter in the first pixels.
    EXPECT_EQ(sample(f0, 0, 0), 0u);
    EXPECT_EQ(sample(f1, 0, 0), 1u);
    EXPECT_EQ(sample(half, 0, 0), 2u);
    // Bar 0 is white, bar 7 black: green sites (even row, even column) at
    // three quarters of the 12-bit range, and nothing.
    const unsigned white = sample(f0, 100, 2), black = sample(f0, 1900, 2);
    EXPECT_NEAR(white, 0.75 * 4095, 2);
    EXPECT_EQ(black, 0u);
    // The bars move 8 columns a frame: the white/yellow edge at 240 in frame
    // 0 (blue site of a yellow bar is dark) comes 8 columns earlier in frame 1.
    EXPECT_GT(sample(f0, 236, 1), 1000u);  // blue site, still white
    EXPECT_LT(sample(f1, 236, 1), 10u);    // blue site, now yellow
    // Half the exposure, half the level.
    EXPECT_NEAR(sample(half, 100, 2), white / 2.0, 2);
    png_uint_32 w = 0, h = 0;
    const unsigned pngWhite = png_sample(tool.dir().file("frame.png"), 100, &w, &h);
    EXPECT_EQ(w, 1920u);
    EXPECT_EQ(h, 1080u);
    EXPECT_NEAR(pngWhite >> 4, white / 2.0, 2);  // MSB-aligned 12-bit samples
}

TEST(Simcam, OpenCloseCyclesOfFourCamerasReleaseEverything) {
    setenv("SIMCAM_DEVICES", "4", 1);
    for (int cycle = 0; cycle < 10; cycle++) {
        ci_camera_t* cameras[8] = {};
        ci_s32 n = 0;
        ci_OpenCameras2(cameras, &n, kSensor.c_str(), CI_TRANSPORT_PLUGIN, SIMCAM_PLUGIN);
        ASSERT_EQ(n, 4) << "cycle " << cycle;
        ASSERT_NE(cameras[3]->sensor, nullptr);
        EXPECT_STREQ(cameras[3]->sensor->sensorName, "CK0200");  // identified by probing
        std::vector<ci_u8> frame(cameras[0]->sensor->bufferSize);
        ci_startTransport(cameras[cycle % 4]);
        EXPECT_EQ(ci_grabFrame(cameras[cycle % 4], frame.data(), (ci_u32)frame.size()), CI_CAMERA_SUCCESS);
        ci_CloseCameras();
    }
    unsetenv("SIMCAM_DEVICES");
}

TEST(Simcam, PresetCommandOfItsOwn) {
    ci_camera_t* cameras[2] = {};
    ci_s32 n = 0;
    ci_OpenCameras2(cameras, &n, kSensor.c_str(), CI_TRANSPORT_PLUGIN, SIMCAM_PLUGIN);
    ASSERT_EQ(n, 1);
    ci_ini_command_fn command = _ctx(cameras[0])->transportIniCommand;
    ASSERT_NE(command, nullptr);
    EXPECT_EQ(command(cameras[0], "SIM_PATTERN", "flat"), CI_INI_HANDLED_SUCCESS);
    EXPECT_EQ(command(cameras[0], "SIM_PATTERN", "stripes"), CI_INI_HANDLED_ERROR);
    EXPECT_EQ(command(cameras[0], "REG", "0x3000"), CI_INI_KEY_NOT_SUPPORTED);
    std::vector<ci_u8> frame(cameras[0]->sensor->bufferSize);
    ci_startTransport(cameras[0]);
    ASSERT_EQ(ci_grabFrame(cameras[0], frame.data(), (ci_u32)frame.size()), CI_CAMERA_SUCCESS);
    const unsigned far = frame[2 * 1900 + 2 * 1920 * 2] | (frame[2 * 1900 + 2 * 1920 * 2 + 1] << 8);
    EXPECT_NEAR(far, 0.75 * 4095, 2);  // flat: no black bar at the right
    ci_CloseCameras();
}

// Raw accesses from the tool, checked against the simulated device's
// registers: by address in the current space, by serial address with
// explicit sizes, and by mask (the other bits stay).
TEST(Simcam, ToolReachesRegistersByAddressBusAddressAndMask) {
    CliRunner tool;
    if (!tool.available()) GTEST_SKIP() << "command-line tool not built";
    const std::vector<std::string> camera = {"--transports", "plugin", "--plugin", SIMCAM_PLUGIN, "--sensor-data",
                                             kSensor};
    auto run = [&](std::vector<std::string> args) {
        args.insert(args.begin(), camera.begin(), camera.end());
        return tool.run(args);
    };
    ToolResult r = run({"set", "0x3012=0x100", "0x305E&0x7F=3", "+", "get", "COARSE_INTEGRATION_TIME", "GLOBAL_GAIN",
                        "--size", "16/16", "0x20:0x3000", "0x3012&0xF00"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("0x3012 (COARSE_INTEGRATION_TIME) = 0x0100 (was 0x0400)"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("GLOBAL_GAIN = 0x0083"), std::string::npos) << r.out;  // bit 7 kept
    EXPECT_NE(r.out.find("0x20:0x3000 = 0x2C02"), std::string::npos) << r.out;   // the chip version
    EXPECT_NE(r.out.find("0x3012&0xF00 (COARSE_INTEGRATION_TIME) = 1"), std::string::npos) << r.out;
    // A device that is not there, a space that does not exist, bad sizes.
    EXPECT_EQ(run({"get", "0x30:0x3000"}).status, 1);
    EXPECT_EQ(run({"get", "NOSPACE:0x3000"}).status, 1);
    EXPECT_EQ(run({"get", "--size", "12/16", "0x20:0x3000"}).status, 2);
    EXPECT_EQ(run({"set", "0x3012&0x0=1"}).status, 1);
}

TEST(Simcam, DiffAgainstAPresetAndTheDefaultsAndWatch) {
    CliRunner tool;
    if (!tool.available()) GTEST_SKIP() << "command-line tool not built";
    const std::string ini = tool.dir().write("p.ini",
                                             "[Init]\nREG = 0x3012, 0x100 // exposure\nLOAD = Gains\n"
                                             "[Hidden: Gains]\nBITFIELD = 0x305E, 0x7F, 3\n"
                                             "FIELD_WR = GLOBAL_GAIN, DIGITAL_GAIN, 1\n");
    const std::vector<std::string> camera = {"--transports", "plugin", "--plugin", SIMCAM_PLUGIN, "--sensor-data",
                                             kSensor};
    auto run = [&](std::vector<std::string> args) {
        args.insert(args.begin(), camera.begin(), camera.end());
        return tool.run(args);
    };
    ToolResult r = run({"diff", ini + ":init"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("0x3012 (COARSE_INTEGRATION_TIME)  0x0400   0x0100"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("0x305E&0x7F (GLOBAL_GAIN)"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("2 of 3 differ"), std::string::npos) << r.out;  // the digital gain already matches
    r = run({"set", "0x3012=0x100", "0x305E&0x7F=3", "+", "diff", ini + ":INIT"});
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_NE(r.out.find("0 of 3 differ"), std::string::npos);
    // The simulated registers start at their defaults (but for the one
    // register of the sample that overlaps another's second word).
    r = run({"diff", "--defaults"});
    EXPECT_NE(r.out.find("1 of 265 differ"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("GLOBAL_GAIN"), std::string::npos) << r.out;
    r = run({"set", "GLOBAL_GAIN=0x90", "+", "diff", "--defaults"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("GLOBAL_GAIN    0x0090      0x0080"), std::string::npos) << r.out;
    EXPECT_EQ(run({"diff", ini + ":Missing"}).status, 1);
    EXPECT_EQ(run({"diff"}).status, 2);
    // watch prints every value once, then only changes.
    r = run({"watch", "COARSE_INTEGRATION_TIME", "0x20:0x3000", "--count", "3", "--interval", "1"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("COARSE_INTEGRATION_TIME = 0x0400"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("0x20:0x3000 = 0x2C02"), std::string::npos) << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 2);
}
