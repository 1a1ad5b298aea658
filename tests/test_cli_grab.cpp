// camkit grab on the video camera: frames written as PNG, TIFF, raw and JPEG
// files and read back (PNG through libpng) against what the sample video
// holds; bad output names and formats fail without leaving files.
#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include "cli_runner.h"

#ifdef CAMKIT_HAVE_FFMPEG
#include "avi_writer.h"
#include "scratch_dir.h"

namespace {

// RGB rows of a PNG file (empty when it cannot be read).
std::vector<uint8_t> png_rgb(const std::string& path, png_uint_32* width, png_uint_32* height) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return {};
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> rgb(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr)) return {};
    *width = image.width;
    *height = image.height;
    return rgb;
}

std::vector<uint8_t> bgr_to_rgb(std::vector<uint8_t> bgr) {
    for (size_t i = 0; i + 2 < bgr.size(); i += 3) std::swap(bgr[i], bgr[i + 2]);
    return bgr;
}

class CliGrab : public ::testing::Test {
protected:
    void SetUp() override {
        if (!tool.available()) GTEST_SKIP() << "command-line tool not built";
    }
    std::string video(const AviSpec& spec, std::vector<std::vector<uint8_t>>* packets = nullptr) {
        const std::string path = tool.dir().file("clip.avi");
        EXPECT_EQ(avi_write(path, spec, packets), "");
        return path;
    }
    ToolResult grab(const std::string& clip, std::vector<std::string> args) {
        args.insert(args.begin(), {"--transports", "video", "--sensor-data", clip, "grab"});
        return tool.run(args);
    }
    CliRunner tool;
};

}  // namespace

TEST_F(CliGrab, TenFramesBecomeTenPngFilesOfThePattern) {
    const AviSpec spec{AviSpec::Dib, 64, 32, 10, false, true};
    const ToolResult r = grab(video(spec), {"-n", "10", "-o", "f%d.png"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("10 frames grabbed, 0 failed"), std::string::npos) << r.out;
    for (int n = 0; n < 10; n++) {
        png_uint_32 w = 0, h = 0;
        const std::vector<uint8_t> rgb = png_rgb(tool.dir().file("f" + std::to_string(n) + ".png"), &w, &h);
        ASSERT_EQ(w, 64u) << n;
        ASSERT_EQ(h, 32u) << n;
        // Playback advances before each frame: the first grab is frame 1.
        EXPECT_EQ(rgb, bgr_to_rgb(avi_pattern(spec, (n + 1) % 10))) << "file " << n;
        EXPECT_NE(r.out.find("frame " + std::to_string(n) + ": number " + std::to_string((n + 1) % 10)),
                  std::string::npos);
    }
}

TEST_F(CliGrab, RawTiffAndJpegKeepTheBytes) {
    const AviSpec dib{AviSpec::Dib, 16, 8, 2, false, false};
    ToolResult r = grab(video(dib), {"-n", "2", "-o", "frame.raw"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string raw = scratch_read_file(tool.dir().file("frame_1.raw"));  // no %d: NAME_n
    const std::vector<uint8_t> expected = avi_pattern(dib, 0);
    EXPECT_EQ(std::vector<uint8_t>(raw.begin(), raw.end()), expected);
    r = grab(video(dib), {"-o", "frame.tif"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(scratch_read_file(tool.dir().file("frame.tif")).substr(0, 2), "II");

    std::vector<std::vector<uint8_t>> packets;
    const AviSpec jpeg{AviSpec::Mjpeg, 32, 16, 3, false, false};
    r = grab(video(jpeg, &packets), {"-n", "2", "-o", "j%02d.jpg"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (int n = 0; n < 2; n++) {
        const std::string bytes = scratch_read_file(tool.dir().file("j0" + std::to_string(n) + ".jpg"));
        EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.end()), packets[(size_t)n + 1]) << n;
    }
    // As a picture a JPEG frame is decoded.
    r = grab(video(jpeg), {"-o", "j.png"});
    ASSERT_EQ(r.status, 0) << r.err;
    png_uint_32 w = 0, h = 0;
    EXPECT_FALSE(png_rgb(tool.dir().file("j.png"), &w, &h).empty());
    EXPECT_EQ(w, 32u);
    EXPECT_EQ(h, 16u);
}

TEST_F(CliGrab, BadNamesAndFormatsFailWithoutLeavingFiles) {
    const std::string clip = video(AviSpec{AviSpec::Mjpeg, 32, 16, 2, false, false});
    const struct {
        std::vector<std::string> args;
        int status;
        const char* file;
    } cases[] = {
        {{"-o", "out%s.png"}, 2, nullptr},  // a conversion other than %d
        {{"-o", "a%d%d.png"}, 2, nullptr},  // two numbers
        {{"-n", "0"}, 2, nullptr},
        {{"-n", "x"}, 2, nullptr},
        {{"-o", "frame.bmp"}, 1, "frame.bmp"},  // not a format we write
    };
    for (const auto& c : cases) {
        const ToolResult r = grab(clip, c.args);
        EXPECT_EQ(r.status, c.status) << c.args.back() << ": " << r.err;
        if (c.file != nullptr) {
            EXPECT_NE(access(tool.dir().file(c.file).c_str(), F_OK), 0) << c.file;
            EXPECT_NE(access(tool.dir().file(std::string(c.file) + ".part").c_str(), F_OK), 0) << c.file;
        }
    }
}

#else
TEST(CliGrab, NeedsFFmpeg) { GTEST_SKIP() << "built without FFmpeg's libraries"; }
#endif
