// The video-file camera, end to end through the public interface: sample
// videos are written by the set-up (uncompressed DIB, MJPEG, FFV1, and a
// streamed file with neither index nor frame count), opened with the
// video-file bit, and their frames compared with what the writer stored.
#include <dirent.h>
#include <gtest/gtest.h>

#include <vector>

#include "log_capture.h"
#include "sensor_builder.h"

#ifdef CAMKIT_HAVE_FFMPEG
#include "avi_writer.h"
#include "transport/avi_reader.h"

extern "C" {
#include <libavutil/mem.h>
}

namespace {

struct VideoCamera {
    ci_camera_t* camera = nullptr;
    ci_s32 n = 0;
    ci_error_code result = CI_CAMERA_ERROR;
    explicit VideoCamera(const std::string& path) {
        ci_camera_t* cameras[4] = {};
        result = ci_OpenCameras2(cameras, &n, path.c_str(), CI_TRANSPORT_VIDEO_FILE, "");
        camera = n > 0 ? cameras[0] : nullptr;
        if (camera != nullptr) {
            ci_WriteSensorRegStr(camera, "FRAME_TIME_MS", "", 10);
            ci_startTransport(camera);
        }
    }
    ~VideoCamera() { ci_CloseCameras(); }
    ci_u32 reg(const char* name) const {
        ci_u32 v = 0xDEAD;
        EXPECT_EQ(ci_ReadSensorRegStr(camera, name, "", &v), CI_CAMERA_SUCCESS);
        return v;
    }
    std::vector<uint8_t> grab(ci_u32 size) const {
        std::vector<uint8_t> frame(size, 0xEE);
        EXPECT_EQ(ci_grabFrame(camera, frame.data(), size), CI_CAMERA_SUCCESS);
        return frame;
    }
};

std::string writeSample(const ScratchDir& dir, const std::string& name, const AviSpec& spec,
                        std::vector<std::vector<uint8_t>>* packets = nullptr) {
    const std::string path = dir.file(name);
    const std::string error = avi_write(path, spec, packets);
    EXPECT_EQ(error, "") << name;
    return path;
}

}  // namespace

TEST(VideoFile, RegistersClampAndDropWritesToReadOnlyOnes) {
    ScratchDir dir;
    VideoCamera cam(writeSample(dir, "clip.avi", AviSpec{}));
    ASSERT_NE(cam.camera, nullptr);
    EXPECT_STREQ(cam.camera->transportName, "AVI");
    EXPECT_STREQ(cam.camera->sensor->sensorName, "AVI");
    EXPECT_EQ(cam.camera->sensor->width, 32u);
    EXPECT_EQ(cam.camera->sensor->imageType, CI_RGB24);
    EXPECT_EQ(cam.reg("NUM_FRAMES"), 4u);
    ci_WriteSensorRegStr(cam.camera, "FRAME_TIME_MS", "", 5);
    EXPECT_EQ(cam.reg("FRAME_TIME_MS"), 10u);
    ci_WriteSensorRegStr(cam.camera, "FRAME_TIME_MS", "", 5000);
    EXPECT_EQ(cam.reg("FRAME_TIME_MS"), 4000u);
    ci_WriteSensorRegStr(cam.camera, "FRAME_TIME_MS", "", 10);
    ci_WriteSensorRegStr(cam.camera, "NUM_FRAMES", "", 99);
    EXPECT_EQ(cam.reg("NUM_FRAMES"), 4u);
    ci_WriteSensorRegStr(cam.camera, "CUR_FRAME", "", 77);
    EXPECT_EQ(cam.reg("CUR_FRAME"), 3u);
}

TEST(VideoFile, PlaysInALoopAndSeeksExactlyToTheWrittenFrame) {
    ScratchDir dir;
    const AviSpec spec{AviSpec::Dib, 32, 16, 3, false, true};
    VideoCamera cam(writeSample(dir, "loop.avi", spec));
    ASSERT_NE(cam.camera, nullptr);
    const ci_u32 size = 32 * 16 * 3;
    std::vector<ci_u32> order;
    for (int i = 0; i < 4; i++) {
        const std::vector<uint8_t> frame = cam.grab(size);
        order.push_back(cam.reg("CUR_FRAME"));
        EXPECT_EQ(frame, avi_pattern(spec, (int)order.back())) << "grab " << i;
    }
    EXPECT_EQ(order, (std::vector<ci_u32>{1, 2, 0, 1}));
    // Out of order: the frame after the one written comes next, not a
    // neighbour of the previous position.
    for (ci_u32 written : {0u, 2u, 1u}) {
        ci_WriteSensorRegStr(cam.camera, "CUR_FRAME", "", written);
        const ci_u32 expected = (written + 1) % 3;
        EXPECT_EQ(cam.grab(size), avi_pattern(spec, (int)expected)) << "after writing " << written;
        EXPECT_EQ(cam.reg("CUR_FRAME"), expected);
    }
}

TEST(VideoFile, EachKindDeliversWhatTheWriterStored) {
    ScratchDir dir;
    for (AviSpec::Codec codec : {AviSpec::Dib, AviSpec::Ffv1, AviSpec::Mjpeg}) {
        for (int variant = 0; variant < 3; variant++) {
            const bool streamed = variant == 1, bottomUp = variant != 2 && codec == AviSpec::Dib;
            SCOPED_TRACE(testing::Message() << "codec " << codec << " variant " << variant);
            const AviSpec spec{codec, 48, 32, 5, streamed, bottomUp};
            std::vector<std::vector<uint8_t>> packets;
            VideoCamera cam(writeSample(dir, "k" + std::to_string(codec) + std::to_string(variant) + ".avi", spec,
                                        &packets));
            ASSERT_NE(cam.camera, nullptr);
            EXPECT_EQ(cam.reg("NUM_FRAMES"), 5u);  // the streamed header says 0
            for (int i = 1; i <= 6; i++) {
                const int f = i % 5;
                if (codec != AviSpec::Mjpeg) {
                    EXPECT_EQ(cam.grab(48 * 32 * 3), avi_pattern(spec, f)) << "frame " << f;
                    continue;
                }
                EXPECT_EQ(cam.camera->sensor->imageType, CI_JPEG);
                std::vector<uint8_t> frame = cam.grab(1 << 16);
                ci_frame_data_t info{};
                ci_getFrameData(cam.camera, &info);
                ASSERT_EQ(info.imageBytesReturned, packets[f].size()) << "frame " << f;
                frame.resize(info.imageBytesReturned);
                EXPECT_EQ(frame, packets[f]) << "frame " << f;
            }
        }
    }
}

TEST(VideoFile, BadFilesFailTheOpenWithALogLine) {
    ScratchDir dir;
    LogCapture log;
    const std::string good = writeSample(dir, "good.avi", AviSpec{});
    const std::string bytes = scratch_read_file(good);
    const std::string truncated = dir.write("truncated.avi", bytes.substr(0, bytes.size() / 3));
    std::string corrupt = bytes;
    for (size_t i = 16; i < corrupt.size(); i += 7) corrupt[i] = (char)(corrupt[i] ^ 0x5A);
    const struct {
        std::string path;
        ci_error_code result;
    } cases[] = {
        {dir.write("clip.mov", bytes), (ci_error_code)1},
        {dir.write("text.avi", "not a video at all"), (ci_error_code)1},
        {dir.write("corrupt.avi", corrupt), (ci_error_code)1},
        {dir.file("missing.avi"), (ci_error_code)1},
        {dir.path(), (ci_error_code)1},
    };
    for (const auto& c : cases) {
        VideoCamera cam(c.path);
        EXPECT_EQ(cam.result, c.result) << c.path;
        EXPECT_EQ(cam.n, 0) << c.path;
    }
    EXPECT_NE(log.text().find("not an AVI file"), std::string::npos);
    EXPECT_NE(log.text().find("File does not exist"), std::string::npos);
    // A truncated file may still open with the frames it has; every grab
    // then either delivers a frame or fails, and never reads past the file.
    VideoCamera cut(truncated);
    for (int i = 0; cut.camera != nullptr && i < 6; i++) {
        std::vector<uint8_t> frame(32 * 16 * 3);
        ci_grabFrame(cut.camera, frame.data(), (ci_u32)frame.size());
    }
}

// Inputs the container fuzzer found hostile, replayed the way it reads them.
TEST(VideoFile, FuzzRegressionsAreRefusedOrPlayedSafely) {
    av_max_alloc(64u << 20);  // as the fuzzer runs: a single huge request is refused
    const std::string dir = std::string(CAMKIT_SOURCE_DIR) + "/tests/data/fuzz_regressions/avi";
    DIR* d = opendir(dir.c_str());
    ASSERT_NE(d, nullptr);
    int replayed = 0;
    while (dirent* e = readdir(d)) {
        if (e->d_name[0] == '.') continue;
        const std::string bytes = scratch_read_file(dir + "/" + e->d_name);
        std::string error;
        std::unique_ptr<AviReader> reader =
            _AVI_open_reader_memory(reinterpret_cast<const ci_u8*>(bytes.data()), bytes.size(), &error);
        for (ci_u32 i : {1u, 0u, 2u}) {
            ci_u32 n = 0;
            if (reader != nullptr && i < reader->info().numFrames) reader->frame(i, &n);
        }
        replayed++;
    }
    closedir(d);
    EXPECT_GT(replayed, 0);
}

#else
TEST(VideoFile, NeedsFFmpeg) { GTEST_SKIP() << "built without FFmpeg's libraries"; }
#endif
