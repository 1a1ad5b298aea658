// Per-thread views of a camera: address size, data size and cache use are
// settings of the calling thread.
#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

#include "core/camkit_private.h"
#include "fake_transport.h"

namespace {

ci_u32 modeOf(ci_camera_t* camera, ci_modes mode) {
    ci_u32 value = 0;
    EXPECT_EQ(ci_getMode(camera, mode, &value), 0);
    return value;
}

class ThreadViewTest : public ::testing::Test {
protected:
    ci_camera_t* open(ci_u32 flag) {
        fake_.script(flag).count = 1;
        ci_camera_t* camera = nullptr;
        ci_s32 n = 0;
        EXPECT_EQ(ci_OpenCameras2(&camera, &n, "s", flag, ""), 0);
        return camera;
    }
    FakeTransports fake_;
};

TEST_F(ThreadViewTest, EnteredThreadsKeepTheirOwnSettings) {
    ci_camera_t* cam = open(0x1);
    constexpr int kThreads = 4;
    std::barrier sync(kThreads);
    std::vector<ci_u32> seen(kThreads * 3);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++) {
        threads.emplace_back([&, t] {
            ci_EnterThread();
            sync.arrive_and_wait();  // all views exist before anyone changes one
            ci_setMode(cam, CI_REG_ADDR_SIZE, 8 * (t + 1));
            ci_setMode(cam, CI_REG_DATA_SIZE, 100 + t);
            ci_setMode(cam, CI_USE_REG_CACHE, t % 3);
            sync.arrive_and_wait();  // all settings made before anyone reads
            seen[3 * t] = modeOf(cam, CI_REG_ADDR_SIZE);
            seen[3 * t + 1] = modeOf(cam, CI_REG_DATA_SIZE);
            seen[3 * t + 2] = modeOf(cam, CI_USE_REG_CACHE);
            ci_ExitThread();
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int t = 0; t < kThreads; t++) {
        EXPECT_EQ(seen[3 * t], 8u * (t + 1)) << "thread " << t;
        EXPECT_EQ(seen[3 * t + 1], 100u + t) << "thread " << t;
        EXPECT_EQ(seen[3 * t + 2], (ci_u32)(t % 3)) << "thread " << t;
    }
    EXPECT_EQ(modeOf(cam, CI_REG_ADDR_SIZE), 8u);  // the opener's own view is untouched
}

TEST_F(ThreadViewTest, LateThreadsStartFromTheDefaultAndFileCamerasShareOneView) {
    const std::pair<ci_u32, ci_u32> cases[] = {{0x4, 16}, {0x10, 32}};  // camera row, value seen after
    for (const auto& [flag, after] : cases) {
        ci_camera_t* cam = open(flag);
        ASSERT_EQ(ci_setMode(cam, CI_REG_ADDR_SIZE, 16), 0);
        ci_u32 seen = 0;
        std::thread([&] {
            seen = modeOf(cam, CI_REG_ADDR_SIZE);  // enters on first use
            ci_setMode(cam, CI_REG_ADDR_SIZE, 32);
            ci_ExitThread();
        }).join();
        EXPECT_EQ(seen, 16u) << flag;
        EXPECT_EQ(modeOf(cam, CI_REG_ADDR_SIZE), after) << flag;
    }
}

}  // namespace
