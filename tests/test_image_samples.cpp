// Every sample image of data/images opened end to end through
// ci_OpenCameras2 with the image-file bit: the synthetic sensor's size, type
// and registers, and the grabbed frame byte for byte, against what the
// samples' generator (data/tools/gen_image_samples.py) wrote beside them.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "image_camera.h"
#include "test_paths.h"

namespace {

using Sample = ImageSample;

std::string images_dir() { return image_samples_dir(); }

std::vector<Sample> manifest() { return image_samples(); }

std::vector<ci_u8> expected_frame(const Sample& s) {
    const std::string bytes = image_sample_frame(s);
    return std::vector<ci_u8>(bytes.begin(), bytes.end());
}

bool has_extension(const std::string& file, const char* ext) {
    return file.size() > strlen(ext) && file.compare(file.size() - strlen(ext), std::string::npos, ext) == 0;
}

}  // namespace

TEST(ImageSamples, EveryLoaderDeliversWhatTheGeneratorWrote) {
    const std::vector<Sample> samples = manifest();
    ASSERT_GE(samples.size(), 25u);
    for (const char* ext :
         {".bmp", ".ccr", ".dxr", ".csv", ".tab", ".txt", ".itx", ".raw", ".bin", ".jpg", ".png", ".tif", ".tiff"}) {
        bool found = false;
        for (const Sample& s : samples) found = found || has_extension(s.file, ext);
        EXPECT_TRUE(found) << "no sample for " << ext;
    }
    for (const Sample& s : samples) {
        SCOPED_TRACE(s.file);
        if (!image_format_built(s.file)) continue;
        ImageCamera cam(images_dir() + "/" + s.file);
        ASSERT_EQ(cam.result(), CI_CAMERA_SUCCESS);
        ASSERT_NE(cam.get(), nullptr);
        EXPECT_STREQ(cam->transportName, "BMP");
        EXPECT_STREQ(cam->sensor->sensorName, "Bitmap");
        EXPECT_EQ(cam->sensor->width, s.width);
        EXPECT_EQ(cam->sensor->height, s.height);
        EXPECT_EQ((int)cam->sensor->imageType, s.type);
        EXPECT_EQ(cam.reg("PIXEL_ORDER"), s.order);
        EXPECT_EQ(cam.reg("DATA_PEDESTAL"), s.pedestal);
        const std::vector<ci_u8> expected = expected_frame(s);
        ASSERT_FALSE(expected.empty());
        std::vector<ci_u8> frame = cam.grab();
        if (s.type == CI_JPEG) {
            ASSERT_GE(frame.size(), expected.size());
            ci_frame_data_t data{};
            ci_getFrameData(cam.get(), &data);
            EXPECT_EQ(data.imageBytesReturned, expected.size());
            frame.resize(expected.size());
        }
        EXPECT_EQ(frame, expected);
        EXPECT_EQ(cam.grab(), cam.grab()) << "every frame is the same image";
    }
}
