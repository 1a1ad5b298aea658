// The camera context's life cycle and the record shared by a device's openers.
#include <gtest/gtest.h>

#include <cstdlib>

#include "core/camkit_core.h"
#include "fake_transport.h"

namespace {

const char* gDeviceName = "";
const char* deviceName(ci_camera_t*) { return gDeviceName; }

struct BareCamera {
    BareCamera() { ci_InitCameraContext(&camera); }
    ~BareCamera() { ci_FreeCameraContext(&camera); }
    ci_camera_t camera = {};
};

TEST(ContextTest, InitReplacesAnExistingContextAndFreeClearsIt) {
    BareCamera bare;
    _ctx(&bare.camera)->bitsPerClock = 99;
    ci_InitCameraContext(&bare.camera);  // the old one is released (the leak checker would see it)
    ASSERT_NE(_ctx(&bare.camera), nullptr);
    EXPECT_NE(_ctx(&bare.camera)->bitsPerClock, 99u);
    ci_FreeCameraContext(&bare.camera);
    EXPECT_EQ(bare.camera.context, nullptr);
    ci_FreeCameraContext(&bare.camera);  // nothing left to free
}

TEST(ContextTest, SharedNamesComeFromDeviceAndSensorFile) {
    FakeTransports fake;
    fake.script(0x1).count = 1;
    fake.script(0x1).withSensor = true;
    fake.script(0x1).sensorFile = "/data/sensors\\v2/My Sensor.v1.sdat";
    ci_camera_t* cam = nullptr;
    ci_s32 n = 0;
    ASSERT_EQ(ci_OpenCameras2(&cam, &n, "s", 0x1, ""), 0);
    const _common_context_t* ctx = _ctx(cam);
    // The fake names its first device "fake.1 dev 0".
    EXPECT_STREQ(ctx->mutex_name, "mutex_fake_1_dev_0");
    EXPECT_STREQ(ctx->context_name, "context_fake_1_dev_0");
    EXPECT_STREQ(ctx->reg_cache_name, "regcache_fake_1_dev_0_My_Sensor_v1_sdat");
}

TEST(ContextTest, LongDeviceNamesAreCutToTheField) {
    BareCamera bare;
    std::string longName(400, 'd');
    gDeviceName = longName.c_str();
    _common_context_t* ctx = _ctx(&bare.camera);
    ctx->getDeviceName = deviceName;
    _init_global_context(&bare.camera);
    EXPECT_EQ(std::string(ctx->mutex_name), "mutex_" + std::string(249, 'd'));
    EXPECT_EQ(std::string(ctx->reg_cache_name), "regcache_" + std::string(246, 'd'));
    gDeviceName = "";
}

TEST(ContextTest, FirstOpenerSeedsTheSharedRecord) {
    // The settings handed from the first opener to the others.
#define HANDED(field) {offsetof(_common_context_t, field), offsetof(_sg_context_t, field)}
    const std::pair<size_t, size_t> handed[] = {
        HANDED(bitsPerClock), HANDED(clocksPerPixel), HANDED(pixclk_polarity), HANDED(lsbAligned),
        HANDED(hw_buffering), HANDED(rxType),         HANDED(rxLanes),         HANDED(rxBitDepth),
        HANDED(rxMode),       HANDED(rxClass),        HANDED(rxSyncCode),      HANDED(rxEmbeddedData),
        HANDED(rxVirtualChannel), HANDED(rxMsbFirst), HANDED(stereoMode),      HANDED(hidy),
    };
#undef HANDED
    BareCamera bare;
    _common_context_t* ctx = _ctx(&bare.camera);
    ctx->getDeviceName = deviceName;  // empty name: a private record
    ci_u32 distinct = 1000;
    for (const auto& [ctxOffset, sgOffset] : handed) _store_u32(ctx, ctxOffset, distinct++);
    ctx->rxCcir656 = 1;  // mirrored by its mode, not handed on here
    _init_global_context(&bare.camera);
    _sg_context_t* sg = ctx->sg_context;
    ASSERT_NE(sg, nullptr);
    EXPECT_STREQ(ctx->mutex_name, "");
    distinct = 1000;
    for (const auto& [ctxOffset, sgOffset] : handed) EXPECT_EQ(_load_u32(sg, sgOffset), distinct++);
    EXPECT_EQ(sg->rxCcir656, 0u);

    _init_global_context(&bare.camera);  // already set up: kept
    EXPECT_EQ(ctx->sg_context, sg);
    _free_global_context(&bare.camera);
    EXPECT_EQ(ctx->sg_context, nullptr);
}

}  // namespace
