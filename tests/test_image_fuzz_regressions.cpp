// Replays the inputs kept from fuzzing the image-file camera
// (tests/data/fuzz_regressions/imagefile/) and the fuzz target's seeds
// through the same harness: each opens or is refused, never crashes, and
// (under the sanitizers) never reads or writes outside a buffer.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "image_camera.h"
#include "imagefile_input.h"
#include "scratch_dir.h"
#include "test_paths.h"

namespace {

std::vector<std::string> files_in(const std::string& dir) { return ck_files_in(dir); }

ci_error_code replay(const std::string& file, const ScratchDir& dir) {
    const std::string bytes = scratch_read_file(file);
    return camkit_fuzz_open_image(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), dir.path());
}

}  // namespace

TEST(ImageFuzzRegressions, KeptInputsAreRefusedOrOpenCleanly) {
    const std::string dir = std::string(ck_test_source_dir()) + "/tests/data/fuzz_regressions/imagefile";
    const std::vector<std::string> files = files_in(dir);
    ASSERT_FALSE(files.empty()) << "no inputs in " << dir;
    ScratchDir scratch;
    for (const std::string& file : files) {
        const ci_error_code result = replay(file, scratch);
        EXPECT_TRUE(result == CI_CAMERA_SUCCESS || result == 1) << file << " gave " << result;
    }
}

TEST(ImageFuzzRegressions, EverySeedOpens) {
    const std::string dir = std::string(ck_test_source_dir()) + "/fuzz/seeds/fuzz_imagefile";
    const std::vector<std::string> files = files_in(dir);
    ASSERT_FALSE(files.empty());
    ScratchDir scratch;
    for (const std::string& file : files) {
        if (!image_format_built(file)) continue;
        EXPECT_EQ(replay(file, scratch), CI_CAMERA_SUCCESS) << file;
    }
}
