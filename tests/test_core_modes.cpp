// The generic mode store behind ci_setMode / ci_getMode, and the public
// wrappers over the transport's operations.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/camkit_core.h"
#include "fake_transport.h"
#include "scratch_dir.h"

namespace {

// Keeps the error log open (severe and ordinary errors) while alive.
class LogCapture {
public:
    LogCapture() { ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, dir_.file("modes.txt").c_str()); }
    ~LogCapture() { ci_CloseErrorLog(); }
    std::string text() const {
        char name[CI_STRING_LEN] = {};
        ci_GetErrorLogFileName(name);
        return scratch_read_file(name);
    }
    int count(const std::string& needle) const {
        std::string all = text();
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
        ctx_ = _ctx(cam_);
        sg_ = ctx_->sg_context;
        ASSERT_NE(sg_, nullptr);
    }
    ci_u32 get(ci_modes mode) {
        ci_u32 value = 0xDEADBEEF;
        EXPECT_EQ(ci_getMode(cam_, mode, &value), 0) << mode;
        return value;
    }

    FakeTransports fake_;
    ci_camera_t* cam_ = nullptr;
    _common_context_t* ctx_ = nullptr;
    _sg_context_t* sg_ = nullptr;
};

TEST_F(ModesTest, MirroredModesReachBothRecords) {
    const std::pair<ci_modes, size_t> mirrored[] = {
        {CI_PIXCLK_POLARITY, offsetof(_sg_context_t, pixclk_polarity)},
        {CI_BITS_PER_CLOCK, offsetof(_sg_context_t, bitsPerClock)},
        {CI_CLOCKS_PER_PIXEL, offsetof(_sg_context_t, clocksPerPixel)},
        {CI_RX_TYPE, offsetof(_sg_context_t, rxType)},
        {CI_RX_LANES, offsetof(_sg_context_t, rxLanes)},
        {CI_RX_BIT_DEPTH, offsetof(_sg_context_t, rxBitDepth)},
        {CI_RX_MODE, offsetof(_sg_context_t, rxMode)},
        {CI_RX_CLASS, offsetof(_sg_context_t, rxClass)},
        {CI_RX_SYNC_CODE, offsetof(_sg_context_t, rxSyncCode)},
        {CI_RX_EMBEDDED_DATA, offsetof(_sg_context_t, rxEmbeddedData)},
        {CI_RX_VIRTUAL_CHANNEL, offsetof(_sg_context_t, rxVirtualChannel)},
        {CI_RX_MSB_FIRST, offsetof(_sg_context_t, rxMsbFirst)},
        {CI_STEREO_MODE, offsetof(_sg_context_t, stereoMode)},
        {CI_LSB_ALIGNED, offsetof(_sg_context_t, lsbAligned)},
        {CI_RX_CCIR656, offsetof(_sg_context_t, rxCcir656)},
        {CI_RX_INTERLACED, offsetof(_sg_context_t, rxInterlaced)},
        {CI_OUTPUT_PORT, offsetof(_sg_context_t, rxOutputPort)},
        {CI_PIXEL_PACK, offsetof(_sg_context_t, pixelPack)},
    };
    // Distinct values for every mode at once, so crossed wiring shows.
    for (const auto& [mode, offset] : mirrored) ASSERT_EQ(ci_setMode(cam_, mode, 100 + mode), 0);
    for (const auto& [mode, offset] : mirrored) {
        EXPECT_EQ(get(mode), 100u + mode) << "mode " << mode;
        EXPECT_EQ(_load_u32(sg_, offset), 100u + mode) << "mode " << mode;
    }
}

TEST_F(ModesTest, UnrecognizedModesLogAndLeaveTheValue) {
    LogCapture log;
    const int unknownSet[] = {6, 8, 9, 10, 20, 27, 45, 58, 59, 60, 63, 1000, -1};
    for (int mode : unknownSet) EXPECT_EQ(ci_setMode(cam_, (ci_modes)mode, 1), CI_CAMERA_ERROR) << mode;
    const int unknownGet[] = {8, 9, 10, 13, 20, 27, 45, 63, -1};
    for (int mode : unknownGet) {
        ci_u32 value = 77;
        EXPECT_EQ(ci_getMode(cam_, (ci_modes)mode, &value), CI_CAMERA_ERROR) << mode;
        EXPECT_EQ(value, 77u);
    }
    EXPECT_EQ(log.count("unrecognized mode in setMode()"), 13);
    EXPECT_EQ(log.count("unrecognized mode in getMode()"), 9);
}

TEST_F(ModesTest, NotSupportedModesAreSilent) {
    LogCapture log;
    const int setOnly[] = {25, 30, 31, 32, 44, 46, 47, 48, 50, 52, 57};
    for (int mode : setOnly) EXPECT_EQ(ci_setMode(cam_, (ci_modes)mode, 1), CI_CAMERA_NOT_SUPPORTED) << mode;
    const int getOnly[] = {18, 19, 25, 28, 30, 32, 44, 46, 47, 48, 50, 52, 57, 58, 59, 60};
    for (int mode : getOnly) {
        ci_u32 value = 77;
        EXPECT_EQ(ci_getMode(cam_, (ci_modes)mode, &value), CI_CAMERA_NOT_SUPPORTED) << mode;
        EXPECT_EQ(value, 77u);
    }
    // The grab time-out is refused with 1, also without a log line.
    ci_u32 value = 77;
    EXPECT_EQ(ci_setMode(cam_, CI_GRABFRAME_TIMEOUT, 5), CI_CAMERA_ERROR);
    EXPECT_EQ(ci_getMode(cam_, CI_GRABFRAME_TIMEOUT, &value), CI_CAMERA_ERROR);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(log.text().find("ERROR"), std::string::npos) << log.text();
    EXPECT_EQ(get(CI_SIMUL_REG_FRAMEGRAB), 0u);
}

TEST_F(ModesTest, SpoofSizeIsPackedHeightAndWidth) {
    EXPECT_EQ(ci_setMode(cam_, CI_SPOOF_SIZE, 0x01E00280), 0);
    EXPECT_EQ(sg_->spoof_width, 640u);
    EXPECT_EQ(sg_->spoof_height, 480u);
    EXPECT_EQ(get(CI_SPOOF_SIZE), 0x01E00280u);

    LogCapture log;
    EXPECT_EQ(ci_setMode(cam_, CI_SPOOF_SUPPORTED, 1), CI_CAMERA_ERROR);
    EXPECT_NE(log.text().find("CI_SPOOF_SUPPORTED is read-only"), std::string::npos);
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
    struct Case {
        ci_modes mode;
        ci_u32 value;
        bool invalidates;
    };
    const Case cases[] = {
        {CI_SENSOR_POWER, 0, false},    {CI_SENSOR_POWER, 1, true},    {CI_SENSOR_RESET, 1, false},
        {CI_SENSOR_RESET, 0, true},     {CI_SENSOR_SHUTDOWN, 1, false}, {CI_SENSOR_SHUTDOWN, 0, true},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(_SetRegCacheValueI(cam_, 1, 42), 1);
        EXPECT_EQ(ci_setMode(cam_, c.mode, c.value), 0);
        ci_u32 value = 0;
        EXPECT_EQ(_GetRegCacheValueI(cam_, 1, &value), c.invalidates ? -1 : 1) << c.mode << "=" << c.value;
    }
}

TEST_F(ModesTest, ErrorLogType) {
    {
        LogCapture log;
        EXPECT_EQ(get(CI_ERROR_LOG_TYPE), 3u);
        EXPECT_EQ(ci_setMode(cam_, CI_ERROR_LOG_TYPE, 3), 0);
        EXPECT_EQ(ci_setMode(cam_, CI_ERROR_LOG_TYPE, 63), 0);
        EXPECT_EQ(get(CI_ERROR_LOG_TYPE), 63u);
        EXPECT_DEATH(ci_setMode(cam_, CI_ERROR_LOG_TYPE, 64),
                     "val <= \\(\\(1 \\| 2\\) \\| \\(4 \\| 8 \\| 16 \\| 32\\)\\)");
    }
    // Without a log there is no level to change.
    EXPECT_EQ(ci_setMode(cam_, CI_ERROR_LOG_TYPE, 5), CI_CAMERA_ERROR);
}

ci_u32 gBufferingValue;
ci_error_code bufferingHook(ci_camera_t*, ci_u32 value) {
    gBufferingValue = value;
    return value == 9 ? CI_I2C_NACK_ERROR : CI_CAMERA_SUCCESS;
}

TEST_F(ModesTest, HardwareBufferingNeedsTheTransportHook) {
    sg_->hw_buffering = 3;
    EXPECT_EQ(ci_setMode(cam_, CI_HW_BUFFERING, 1), 0);
    ci_u32 value = 0;
    EXPECT_EQ(ci_getMode(cam_, CI_HW_BUFFERING, &value), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(value, 3u);  // reported even so

    ctx_->setHardwareBuffering = bufferingHook;
    EXPECT_EQ(ci_setMode(cam_, CI_HW_BUFFERING, 2), 0);
    EXPECT_EQ(gBufferingValue, 2u);
    EXPECT_EQ(ci_setMode(cam_, CI_HW_BUFFERING, 9), CI_I2C_NACK_ERROR);
    EXPECT_EQ(get(CI_HW_BUFFERING), 3u);
}

TEST_F(ModesTest, SharedOnlyModes) {
    const std::pair<ci_modes, ci_u32*> shared[] = {
        {CI_XDMA_LOGICAL, &sg_->current_access_logical},
        {CI_XDMA_PHY_A15, &sg_->current_phy_a15},
        {CI_XDMA_PHY_REGION, &sg_->current_phy_region},
        {CI_XDMA_ADV_BASE, &sg_->current_adv_base},
    };
    for (const auto& [mode, field] : shared) ASSERT_EQ(ci_setMode(cam_, mode, 10 + mode), 0);
    for (const auto& [mode, field] : shared) {
        EXPECT_EQ(*field, 10u + mode);
        EXPECT_EQ(get(mode), 10u + mode);
    }
    // A camera whose shared record is not set up yet refuses them.
    ctx_->sg_context = nullptr;
    ci_u32 value = 5;
    EXPECT_EQ(ci_setMode(cam_, CI_XDMA_LOGICAL, 1), CI_CAMERA_ERROR);
    EXPECT_EQ(ci_getMode(cam_, CI_XDMA_ADV_BASE, &value), CI_CAMERA_ERROR);
    EXPECT_EQ(value, 5u);
    ctx_->sg_context = sg_;
}

TEST_F(ModesTest, HidyIsReadFromTheSharedRecordAndRetypesTheImage) {
    cam_->sensor->imageType = CI_BAYER_10;
    cam_->sensor->pixelBits = 10;
    cam_->sensor->zoomFactor = 1;
    EXPECT_EQ(ci_setMode(cam_, CI_HIDY, 1), 0);
    EXPECT_EQ(ctx_->hidy, 1u);
    EXPECT_EQ(cam_->sensor->imageType, CI_BAYER_10_IHDR);
    sg_->hidy = 0;
    EXPECT_EQ(get(CI_HIDY), 0u);
}

TEST_F(ModesTest, DataIsSwizzled) {
    struct Case {
        ci_product_ids product;
        ci_unswizzle_modes mode;
        ci_sensor_types type;
        ci_u32 expected;
    };
    const Case cases[] = {
        {CI_UNKNOWN_PRODUCT, CI_NO_UNSWIZZLE, CI_UNKNOWN_SENSOR, 0},  // data arrives in order
        {CI_KITE_1, CI_SW_UNSWIZZLE, CI_UNKNOWN_SENSOR, 0},
        {CI_KITE_1, CI_ANY_UNSWIZZLE, CI_UNKNOWN_SENSOR, 0},
        {CI_KITE_1, CI_NO_UNSWIZZLE, CI_UNKNOWN_SENSOR, 1},
        {CI_KITE_1, CI_HW_UNSWIZZLE, CI_UNKNOWN_SENSOR, 1},  // the board cannot
        {CI_KITE_1, CI_NO_UNSWIZZLE, CI_RESERVED_SENSOR43, 2},
        {CI_KITE_1, CI_NO_UNSWIZZLE, CI_RESERVED_SENSOR71, 0},
        {CI_KITE_1, CI_NO_UNSWIZZLE, CI_RESERVED_SENSOR79, 0},
        {CI_KITE_3, CI_HW_UNSWIZZLE, CI_UNKNOWN_SENSOR, 0},  // the board can
        {CI_KITE_3, CI_NO_UNSWIZZLE, CI_UNKNOWN_SENSOR, 1},
    };
    for (const Case& c : cases) {
        cam_->productID = c.product;
        ctx_->unswizzle_mode = c.mode;
        cam_->sensor->sensorType = c.type;
        EXPECT_EQ(get(CI_DATA_IS_SWIZZLED), c.expected) << c.product << "/" << c.mode << "/" << c.type;
    }
    EXPECT_EQ(ci_setMode(cam_, CI_DATA_IS_SWIZZLED, 1), 0);
}

// ---------------------------------------------------------------- wrappers

ci_error_code transportSetMode(ci_camera_t*, ci_modes, ci_u32 val) { return val == 7 ? 0 : CI_CAMERA_TIMEOUT; }
ci_error_code transportGetMode(ci_camera_t*, ci_modes, ci_u32* val) {
    *val = 4242;
    return 0;
}

TEST_F(ModesTest, TransportModeOperationsComeFirst) {
    cam_->setMode = transportSetMode;
    cam_->getMode = transportGetMode;
    EXPECT_EQ(ci_setMode(cam_, CI_BITS_PER_CLOCK, 5), CI_CAMERA_TIMEOUT);
    EXPECT_EQ(ctx_->bitsPerClock, 8u);
    EXPECT_EQ(get(CI_BITS_PER_CLOCK), 4242u);
}

TEST_F(ModesTest, MissingOperationsAreNotSupported) {
    ci_camera_t bare = {};
    bare.context = ctx_;
    ci_u32 value = 0;
    EXPECT_EQ(ci_startTransport(&bare), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_readRegister(&bare, 0, 0, &value), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_initTransport(&bare, 8, 1, 0, 0, 0), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_readSystemRegisters(&bare, CI_MCU_ADDR, 0, 0, 8, 1, &value), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_writeSystemRegisters(&bare, CI_MCU_ADDR, 0, 0, 8, 1, &value), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_sendCommand(&bare, 1, 0, nullptr, &value, 0, nullptr, &value), CI_CAMERA_NOT_SUPPORTED);

    fake_.bus().regs[{0x20, 3}] = 0x1234;
    EXPECT_EQ(ci_readRegister(cam_, 0x20, 3, &value), 0);
    EXPECT_EQ(value, 0x1234u);
    EXPECT_STREQ(ci_GetDriverInfoString(cam_), "fake driver 1");
}

}  // namespace
