// Opening and closing cameras through the transport registry.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/camkit_core.h"
#include "fake_transport.h"

namespace {

constexpr ci_u32 kAllRows = 0x10 | 0x20 | 0x4 | 0x10000 | 0x1;

class OpenTest : public ::testing::Test {
protected:
    ci_error_code open(ci_u32 mask, const char* path = "sensors") {
        return ci_OpenCameras2(cams_, &n_, path, mask, "plug");
    }
    const _transport_t& row(ci_u32 flag) const {
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
    EXPECT_EQ(fake_.calls()[0].plugin, "plug");

    EXPECT_EQ(ci_OpenCameras(cams_, &n_, "sensors"), 0);  // every row but 0x10000
    EXPECT_EQ(fake_.openedRows(), (std::vector<ci_u32>{0x10, 0x20, 0x4, 0x10000, 0x1, 0x10, 0x20, 0x4, 0x1}));
    EXPECT_EQ(fake_.calls().back().plugin, "");

    size_t before = fake_.calls().size();
    EXPECT_EQ(open(0), 0);
    EXPECT_EQ(fake_.calls().size(), before);
    fake_.script(0x10000).count = 1;
    EXPECT_EQ(open(0x10000), 0);
    EXPECT_EQ(fake_.calls().size(), before + 1);
    EXPECT_EQ(n_, 1);
    EXPECT_EQ(cams_[0]->transportType, 0x10000u);
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

TEST_F(OpenTest, OtherRowsAccumulateInOrder) {
    fake_.script(0x4).count = 2;
    fake_.script(0x1).count = 1;
    ASSERT_EQ(open(kAllRows), 0);
    ASSERT_EQ(n_, 3);
    EXPECT_EQ(cams_[2]->transportType, 0x1u);
    EXPECT_EQ(row(0x4).num_open_cameras, 2);
    EXPECT_EQ(row(0x4).open_cameras[1], cams_[1]);
    EXPECT_EQ(row(0x1).open_cameras[0], cams_[2]);

    // A second open appends to the rows' lists.
    ci_camera_t* more[4] = {};
    ci_s32 count = 0;
    ASSERT_EQ(ci_OpenCameras2(more, &count, "s", 0x1, ""), 0);
    ASSERT_EQ(row(0x1).num_open_cameras, 2);
    EXPECT_EQ(row(0x1).open_cameras[0], cams_[2]);
    EXPECT_EQ(row(0x1).open_cameras[1], more[0]);
}

TEST_F(OpenTest, ResultCode) {
    // Nothing opened: the largest code any transport gave.
    fake_.script(0x10).result = CI_SENSOR_DOES_NOT_MATCH;
    fake_.script(0x20).result = CI_GRAB_FRAME_ERROR;
    fake_.script(0x4).result = CI_I2C_TIMEOUT;
    fake_.script(0x1).result = CI_CAMERA_ERROR;
    EXPECT_EQ(open(kAllRows), CI_I2C_TIMEOUT);
    EXPECT_EQ(n_, 0);

    // A camera found anywhere makes the open succeed, whatever came before
    // or after.
    fake_.script(0x1).count = 1;
    EXPECT_EQ(open(kAllRows), 0);
    EXPECT_EQ(n_, 1);
    fake_.script(0x1) = FakeRowScript{};
    fake_.script(0x4).count = 1;
    fake_.script(0x1).result = CI_CAMERA_TIMEOUT;
    EXPECT_EQ(open(kAllRows), 0);
}

TEST_F(OpenTest, SensorPathCollapsesDelimiterRuns) {
    const std::pair<std::string, std::string> cases[] = {
        {"a//b///c", "a/b/c"},   {"//server//share", "//server/share"}, {"///x", "//x"},
        {"a\\\\b/\\c", "a\\b\\c"}, {"dir/", "dir/"},                       {"", ""},
    };
    for (const auto& [given, cleaned] : cases) {
        open(0x1, given.c_str());
        EXPECT_EQ(fake_.calls().back().path, cleaned) << given;
    }
    open(0x1, nullptr);
    EXPECT_EQ(fake_.calls().back().path, ci_SensorData());
}

TEST_F(OpenTest, CancelFlagIsClearedAroundTheWalk) {
    ci_CancelProbe();
    EXPECT_EQ(g_cancel_all_probes, 1u);
    fake_.script(0x20).cancelDuringOpen = true;
    open(kAllRows);
    EXPECT_EQ(fake_.calls()[0].cancelFlag, 0u);
    EXPECT_EQ(fake_.calls()[2].cancelFlag, 1u);  // seen by the rows after the cancel
    EXPECT_EQ(g_cancel_all_probes, 0u);
}

TEST_F(OpenTest, OpenedCamerasGetSharedRecordCacheAndAThreadViewUnlessFileCameras) {
    fake_.script(0x10).count = 1;
    ASSERT_EQ(open(0x10), 0);
    ci_camera_t* file = cams_[0];
    fake_.script(0x4).count = 1;
    fake_.script(0x1).count = 2;
    fake_.script(0x1).withSensor = true;
    ASSERT_EQ(open(0x4 | 0x1), 0);
    EXPECT_NE(_ctx(cams_[2])->sg_context, nullptr);
    EXPECT_EQ(_ctx(cams_[2])->num_cache_regs, 2);
    _tl_context_t* table = _thread_table();
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < 3; i++) EXPECT_EQ(table[i].pCamera, cams_[i]);
    EXPECT_EQ(table[3].pCamera, nullptr);
    EXPECT_EQ(_thread_local_context(file), &_ctx(file)->tl_context);
    EXPECT_EQ(_thread_local_context(cams_[2]), &table[2]);
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
    EXPECT_EQ(row(0x1).open_cameras, nullptr);
    EXPECT_EQ(_thread_table(), nullptr);
    EXPECT_EQ(fake_.liveCameras(), 0);
}

TEST_F(OpenTest, CloseCamerasClosesEveryRowOnceAndIsRepeatable) {
    fake_.script(0x4).count = 2;
    fake_.script(0x1).count = 1;
    ASSERT_EQ(open(kAllRows), 0);
    size_t before = fake_.calls().size();
    ci_CloseCameras();
    ASSERT_EQ(fake_.calls().size(), before + 2);
    EXPECT_EQ(fake_.calls()[before].count, 2);
    EXPECT_EQ(fake_.liveCameras(), 0);
    EXPECT_EQ(_thread_table(), nullptr);
    for (const _transport_t& r : gTransports) EXPECT_EQ(r.num_open_cameras, 0);
    ci_CloseCameras();
    EXPECT_EQ(fake_.calls().size(), before + 2);
}

}  // namespace
