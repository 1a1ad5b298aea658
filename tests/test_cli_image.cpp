// camkit on the image-file camera: "info" describes every sample image and
// "grab -o out.png" writes a picture of it (read back through libpng), whose
// pixels match the frame the samples' generator wrote; a JPEG saved as .jpg
// is the file itself, as .png it is decoded.
#include <gtest/gtest.h>
#include <png.h>

#include <fstream>
#include <sstream>

#include "camkit.h"
#include "cli_runner.h"
#include "image_camera.h"
#include "scratch_dir.h"
#include "test_paths.h"

namespace {

using Sample = ImageSample;

std::string images_dir() { return image_samples_dir(); }

std::vector<Sample> manifest() { return image_samples(); }

// The PNG's pixels in the given format (empty when it cannot be read).
std::vector<uint8_t> png_pixels(const std::string& path, png_uint_32 format, png_uint_32* width, png_uint_32* height) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return {};
    image.format = format;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) return {};
    *width = image.width;
    *height = image.height;
    return pixels;
}

// What an 8-bit grey or B, G, R, X frame looks like as PNG pixels.
std::vector<uint8_t> expected_pixels(const Sample& s) {
    const std::string frame = image_sample_frame(s);
    if (s.type == CI_BAYER_8) return std::vector<uint8_t>(frame.begin(), frame.end());
    std::vector<uint8_t> rgb;
    for (size_t i = 0; i + 3 < frame.size(); i += 4)
        for (int c : {2, 1, 0}) rgb.push_back((uint8_t)frame[i + (size_t)c]);
    return rgb;
}

class CliImage : public ::testing::Test {
protected:
    void SetUp() override {
        if (!tool.available()) GTEST_SKIP() << "command-line tool not built";
    }
    ToolResult run(const Sample& s, std::vector<std::string> args) {
        args.insert(args.begin(), {"--transports", "image", "--sensor-data", images_dir() + "/" + s.file});
        return tool.run(args);
    }
    CliRunner tool;
};

}  // namespace

TEST_F(CliImage, InfoAndGrabWorkOnEverySample) {
    const std::vector<Sample> samples = manifest();
    ASSERT_FALSE(samples.empty());
    for (const Sample& s : samples) {
        SCOPED_TRACE(s.file);
        if (!image_format_built(s.file)) continue;
        ToolResult r = run(s, {"info"});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.out.find("BMP (0x10)"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find(std::to_string(s.width) + " x " + std::to_string(s.height)), std::string::npos) << r.out;
        if (s.type == CI_JPEG) {
            r = run(s, {"grab", "-o", "out.jpg"});
            ASSERT_EQ(r.status, 0) << r.err;
            EXPECT_EQ(scratch_read_file(tool.dir().file("out.jpg")), scratch_read_file(images_dir() + "/" + s.file));
        }
        r = run(s, {"grab", "-o", "out.png"});
        ASSERT_EQ(r.status, 0) << r.err;
        png_uint_32 w = 0, h = 0;
        const bool grey = s.type != CI_RGB32 && s.type != CI_RGB48 && s.type != CI_PNG && s.type != CI_JPEG;
        const std::vector<uint8_t> pixels =
            png_pixels(tool.dir().file("out.png"), grey ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB, &w, &h);
        ASSERT_FALSE(pixels.empty());
        EXPECT_EQ(w, s.width);
        EXPECT_EQ(h, s.height);
        if (s.type == CI_BAYER_8 || s.type == CI_RGB32 || s.type == CI_PNG) {
            EXPECT_EQ(pixels, expected_pixels(s));
        }
    }
}

TEST_F(CliImage, AJpegThatDoesNotDecodeLeavesNoPicture) {
    // Start of image, a frame header for 8 x 8 grey, end of image: the
    // camera keeps it, the decoder finds no scan.
    const std::string jpeg = std::string("\xFF\xD8\xFF\xC0\x00\x0B\x08\x00\x08\x00\x08\x01\x01\x11\x00\xFF\xD9", 17);
    const std::string path = tool.dir().write("broken.jpg", jpeg);
    const ToolResult r = tool.run({"--transports", "image", "--sensor-data", path, "grab", "-o", "b.png"});
    EXPECT_EQ(r.status, 1) << r.out;
    EXPECT_NE(r.err.find("does not decode"), std::string::npos) << r.err;
    EXPECT_FALSE(scratch_file_exists(tool.dir().file("b.png")));
    EXPECT_FALSE(scratch_file_exists(tool.dir().file("b.png.part")));
}
