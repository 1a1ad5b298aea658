// Opening and closing cameras through the transport registry.
#include <gtest/gtest.h>

#include <vector>

#include "core/camkit_core.h"
#include "fake_transport.h"

namespace {

constexpr ci_u32 kAllRows = 0x10 | 0x20 | 0x4 | 0x10000 | 0x1;

class OpenTest : public ::testing::Test {
protected:
    ci_error_code open(ci_u32 mask) { return ci_OpenCameras2(cams_, &n_, "sensors", mask, "plug"); }
    static const _transport_t& row(ci_u32 flag) {
        for (const _transport_t& r : gTransports)
            if (r.transport_type == flag) return r;
        ADD_FAILURE() << "no row with flag " << flag;
        return gTransports[0];
    }

    FakeTransports fake_;
    ci_camera_t* cams_[16] = {};
    ci_s32 n_ = -1;
};

TEST_F(OpenTest, MaskSelectsRowsWalkedInRegistryOrder) {
    EXPECT_EQ(open(kAllRows), 0);
    EXPECT_EQ(n_, 0);
    EXPECT_EQ(fake_.openedRows(), (std::vector<ci_u32>{0x10, 0x20, 0x4, 0x10000, 0x1}));
    EXPECT_EQ(ci_OpenCameras(cams_, &n_, "sensors"), 0);  // every row but 0x10000
    EXPECT_EQ(fake_.openedRows(), (std::vector<ci_u32>{0x10, 0x20, 0x4, 0x10000, 0x1, 0x10, 0x20, 0x4, 0x1}));
}

TEST_F(OpenTest, FileCameraEndsTheWalk) {
    for (ci_u32 file : {0x10u, 0x20u}) {
        FakeTransports fake;
        fake.script(file).count = 1;
        fake.script(0x4).count = 1;
        fake.script(0x1).count = 1;
        ASSERT_EQ(ci_OpenCameras(cams_, &n_, "x.bmp"), 0);
        EXPECT_EQ(fake.openedRows().back(), file);
        ASSERT_EQ(n_, 1);
        EXPECT_EQ(cams_[0]->transportType, file);
    }
}

TEST_F(OpenTest, NothingOpenedGivesTheLargestCodeAnyCameraGivesSuccess) {
    fake_.script(0x10).result = CI_SENSOR_DOES_NOT_MATCH;
    fake_.script(0x20).result = CI_GRAB_FRAME_ERROR;
    fake_.script(0x4).result = CI_I2C_TIMEOUT;
    fake_.script(0x1).result = CI_CAMERA_ERROR;
    EXPECT_EQ(open(kAllRows), CI_I2C_TIMEOUT);
    EXPECT_EQ(n_, 0);
    fake_.script(0x4).count = 1;  // a camera before a failing row
    EXPECT_EQ(open(kAllRows), 0);
    EXPECT_EQ(n_, 1);
}

TEST_F(OpenTest, ClosingOneOfTwoKeepsTheOther) {
    fake_.script(0x1).count = 2;
    ASSERT_EQ(open(0x1), 0);
    ci_camera_t* first = cams_[0];
    ci_camera_t* second = cams_[1];
    ASSERT_EQ(ci_setMode(second, CI_REG_ADDR_SIZE, 16), 0);

    ci_CloseCameras2(&first, 1);
    EXPECT_EQ(fake_.liveCameras(), 1);
    ASSERT_EQ(row(0x1).num_open_cameras, 1);
    EXPECT_EQ(row(0x1).open_cameras[0], second);
    // The thread table survives and the view moved down with its camera.
    _tl_context_t* table = _thread_table();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0].pCamera, second);
    EXPECT_EQ(table[1].pCamera, nullptr);
    ci_u32 size = 0;
    EXPECT_EQ(ci_getMode(second, CI_REG_ADDR_SIZE, &size), 0);
    EXPECT_EQ(size, 16u);

    ci_CloseCameras2(&second, 1);
    EXPECT_EQ(row(0x1).num_open_cameras, 0);
    EXPECT_EQ(_thread_table(), nullptr);
    EXPECT_EQ(fake_.liveCameras(), 0);
}

}  // namespace
