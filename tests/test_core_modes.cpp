// The generic mode store behind ci_setMode / ci_getMode.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_core.h"
#include "fake_transport.h"
#include "log_capture.h"
#include "scratch_dir.h"

namespace {

// Keeps the error log open (severe and ordinary errors) while alive.
class LogCapture {
public:
    LogCapture() { ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, dir_.file("modes.txt").c_str()); }
    ~LogCapture() { ci_CloseErrorLog(); }
    int count(const std::string& needle) const {
        std::string all = scratch_read_file(dir_.file("modes0.txt"));
        int n = 0;
        for (size_t at = all.find(needle); at != std::string::npos; at = all.find(needle, at + 1)) n++;
        return n;
    }

private:
    ScratchDir dir_;
};

class ModesTest : public ::testing::Test {
protected:
    void SetUp() override {
        fake_.script(0x1).count = 1;
        fake_.script(0x1).withSensor = true;
        ci_s32 n = 0;
        ASSERT_EQ(ci_OpenCameras2(&cam_, &n, "s", 0x1, ""), 0);
        sg_ = _ctx(cam_)->sg_context;
        ASSERT_NE(sg_, nullptr);
    }
    ci_u32 get(ci_modes mode) {
        ci_u32 value = 0xDEADBEEF;
        EXPECT_EQ(ci_getMode(cam_, mode, &value), 0) << mode;
        return value;
    }

    FakeTransports fake_;
    ci_camera_t* cam_ = nullptr;
    _sg_context_t* sg_ = nullptr;
};

TEST_F(ModesTest, MirroredModesReachBothRecords) {
#define M(mode, field) {mode, offsetof(_sg_context_t, field)}
    const std::pair<ci_modes, size_t> mirrored[] = {
        M(CI_PIXCLK_POLARITY, pixclk_polarity), M(CI_BITS_PER_CLOCK, bitsPerClock),
        M(CI_CLOCKS_PER_PIXEL, clocksPerPixel), M(CI_RX_TYPE, rxType),
        M(CI_RX_LANES, rxLanes),                M(CI_RX_BIT_DEPTH, rxBitDepth),
        M(CI_RX_MODE, rxMode),                  M(CI_RX_CLASS, rxClass),
        M(CI_RX_SYNC_CODE, rxSyncCode),         M(CI_RX_EMBEDDED_DATA, rxEmbeddedData),
        M(CI_RX_VIRTUAL_CHANNEL, rxVirtualChannel), M(CI_RX_MSB_FIRST, rxMsbFirst),
        M(CI_STEREO_MODE, stereoMode),          M(CI_LSB_ALIGNED, lsbAligned),
        M(CI_RX_CCIR656, rxCcir656),            M(CI_RX_INTERLACED, rxInterlaced),
        M(CI_OUTPUT_PORT, rxOutputPort),        M(CI_PIXEL_PACK, pixelPack),
    };
#undef M
    // Distinct values for every mode at once, so crossed wiring shows.
    for (const auto& [mode, offset] : mirrored) ASSERT_EQ(ci_setMode(cam_, mode, 100 + mode), 0);
    for (const auto& [mode, offset] : mirrored) {
        EXPECT_EQ(get(mode), 100u + mode) << "mode " << mode;
        EXPECT_EQ(_load_u32(sg_, offset), 100u + mode) << "mode " << mode;
    }
}

// Every get below must fail and leave the caller's value alone.
TEST_F(ModesTest, UnrecognizedModesAreLoggedNotSupportedOnesAreSilent) {
    LogCapture log;
    auto getFails = [&](int mode, ci_error_code code) {
        ci_u32 value = 77;
        EXPECT_EQ(ci_getMode(cam_, (ci_modes)mode, &value), code) << mode;
        EXPECT_EQ(value, 77u) << mode;
    };
    for (int mode : {25, 30, 31, 32, 44, 46, 47, 48, 50, 52, 57})
        EXPECT_EQ(ci_setMode(cam_, (ci_modes)mode, 1), CI_CAMERA_NOT_SUPPORTED) << mode;
    for (int mode : {18, 19, 25, 28, 30, 32, 44, 46, 47, 48, 50, 52, 57, 58, 59, 60})
        getFails(mode, CI_CAMERA_NOT_SUPPORTED);
    // The grab time-out is refused with 1, also without a log line.
    EXPECT_EQ(ci_setMode(cam_, CI_GRABFRAME_TIMEOUT, 5), CI_CAMERA_ERROR);
    getFails(CI_GRABFRAME_TIMEOUT, CI_CAMERA_ERROR);
    EXPECT_EQ(log.count("ERROR"), 0);
    EXPECT_EQ(get(CI_SIMUL_REG_FRAMEGRAB), 0u);

    for (int mode : {6, 8, 9, 10, 20, 27, 45, 58, 59, 60, 63, 1000, -1})
        EXPECT_EQ(ci_setMode(cam_, (ci_modes)mode, 1), CI_CAMERA_ERROR) << mode;
    for (int mode : {8, 9, 10, 13, 20, 27, 45, 63, -1}) getFails(mode, CI_CAMERA_ERROR);
    EXPECT_EQ(log.count("unrecognized mode in setMode()"), 13);
    EXPECT_EQ(log.count("unrecognized mode in getMode()"), 9);
}

TEST_F(ModesTest, SpoofSizeIsPackedHeightAndWidth) {
    EXPECT_EQ(ci_setMode(cam_, CI_SPOOF_SIZE, 0x01E00280), 0);
    EXPECT_EQ(sg_->spoof_width, 640u);
    EXPECT_EQ(sg_->spoof_height, 480u);
    EXPECT_EQ(get(CI_SPOOF_SIZE), 0x01E00280u);
}

TEST_F(ModesTest, FarAccessMarksBusAddressesOrSwitchesTheCheck) {
    EXPECT_EQ(ci_setMode(cam_, CI_ALLOW_FAR_ACCESS, 0x90), 0);
    EXPECT_EQ(sg_->farBaseMap[2], 1u << 8);
    EXPECT_EQ(ci_setMode(cam_, CI_ALLOW_FAR_ACCESS, 2), 0);
    EXPECT_EQ(ci_setMode(cam_, CI_ALLOW_FAR_ACCESS, 255), 0);
    EXPECT_EQ(sg_->farBaseMap[0], 1u << 1);
    EXPECT_EQ(sg_->farBaseMap[3], 1u << 31);
    EXPECT_EQ(get(CI_ALLOW_FAR_ACCESS), 1u);  // addresses leave the switch alone
    for (ci_u32 value : {0u, 1u, 256u}) {
        EXPECT_EQ(ci_setMode(cam_, CI_ALLOW_FAR_ACCESS, value), 0);
        EXPECT_EQ(get(CI_ALLOW_FAR_ACCESS), value);
    }
}

TEST_F(ModesTest, PowerResetShutdownInvalidateTheCache) {
    const struct {
        ci_modes mode;
        ci_u32 value;
        bool invalidates;
    } cases[] = {
        {CI_SENSOR_POWER, 0, false},    {CI_SENSOR_POWER, 1, true},    {CI_SENSOR_RESET, 1, false},
        {CI_SENSOR_RESET, 0, true},     {CI_SENSOR_SHUTDOWN, 1, false}, {CI_SENSOR_SHUTDOWN, 0, true},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(_SetRegCacheValueI(cam_, 1, 42), 1);
        EXPECT_EQ(ci_setMode(cam_, c.mode, c.value), 0);
        ci_u32 value = 0;
        EXPECT_EQ(_GetRegCacheValueI(cam_, 1, &value), c.invalidates ? -1 : 1) << c.mode << "=" << c.value;
    }
}

}  // namespace
