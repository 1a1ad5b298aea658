// The register read/write core, observed through the bus traffic it makes.
#include <gtest/gtest.h>

#include "recording_transport.h"
#include "sensor_builder.h"

namespace {

using Words = std::vector<ci_u32>;

// 8-bit addresses, 16-bit data (address step 1), no address spaces.
SensorBuilder plainSensor(ci_u32 addrBits = 8) {
    SensorBuilder b;
    b.widths(addrBits, 16).shipAddr(0x48)
        .reg("WIDE", 0x10, 0xFFFFFFFF).span(2)
        .reg("CTRL", 0x20).field("MODE", 0x0C)
        .reg("GAIN", 0x21)
        .reg("STATUS", 0x23);
    return b;
}

struct Plain : ::testing::Test {
    TestCamera cam{plainSensor()};
    RecordingTransport bus{cam};
    ci_reg_data_t* gain = cam.reg("GAIN");
};

TEST_F(Plain, SpanTwoRegisterJoinsAndSplitsItsWords) {
    bus.set(0x10, 0x1234);
    bus.set(0x11, 0x5678);
    ci_u32 v = 0;
    ASSERT_EQ(ci_ReadSensorReg(cam, cam.reg("WIDE"), &v), 0);
    EXPECT_EQ(v, 0x12345678u);
    EXPECT_EQ(bus.calls(), 1u);
    bus.clear();
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "wide", "", 0xAABBCCDD), 0);
    ASSERT_EQ(bus.calls(), 1u);
    EXPECT_EQ(bus.ops()[0].addr, 0x10u);
    EXPECT_EQ(bus.ops()[0].values, (Words{0xAABB, 0xCCDD}));
}

TEST(Retries, NacksAreRetriedNackRetriesTimesMoreOtherErrorsNever) {
    struct Case {
        ci_u32 retries;
        ci_error_code failure;
        int times;
        ci_error_code result;
        size_t calls;
    };
    const ci_error_code nack = CI_I2C_NACK_ERROR, timeout = CI_I2C_TIMEOUT;
    for (const Case k : {Case{3, nack, -1, nack, 4}, Case{3, nack, 2, 0, 3}, Case{3, timeout, 1, timeout, 1}}) {
        TestCamera cam(plainSensor());
        RecordingTransport bus(cam);
        bus.set(0x21, 0x55);
        ci_setMode(cam, CI_NACK_RETRIES, k.retries);
        bus.failNext(k.failure, k.times);
        ci_u32 v = 99;
        EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("GAIN"), &v), k.result) << k.times;
        EXPECT_EQ(v, k.result ? 0u : 0x55u);
        EXPECT_EQ(bus.calls(), k.calls) << k.times;
    }
}

// The old value a bitfield write starts from: the cache on 8-bit address
// sensors, the device otherwise.
TEST(BitfieldWrite, KeepsOtherBitsStartingFromTheCacheOnEightBitAddressSensors) {
    for (ci_u32 addrBits : {8u, 16u}) {
        TestCamera cam(plainSensor(addrBits));
        RecordingTransport bus(cam);
        ci_WriteSensorReg(cam, cam.reg("CTRL"), 0xF3);  // cached
        bus.set(0x20, 0x00);                           // changed behind the cache
        ci_WriteSensorRegStr(cam, "CTRL", "MODE", 5);
        EXPECT_EQ(bus.get(0x20), addrBits == 8 ? 0xF7u : 0x14u) << addrBits;
    }
}

TEST_F(Plain, CachedReadsSendNothingAndCacheOnlyMissesFail) {
    bus.set(0x21, 0x31);
    ci_u32 v = 0;
    cam.useCache(1);
    ci_ReadSensorReg(cam, gain, &v);
    ci_ReadSensorReg(cam, gain, &v);
    EXPECT_EQ(bus.calls(), 1u);
    cam.useCache(0);
    ci_ReadSensorReg(cam, gain, &v);
    EXPECT_EQ(bus.calls(), 2u);
    cam.useCache(2);
    v = 5;
    EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("CTRL"), &v), CI_CAMERA_ERROR);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(bus.calls(), 2u);
}

TEST_F(Plain, BatchesReportEachEntryAndReturnTheLastResult) {
    bus.set(0x21, 0x21);
    bus.failAt(0x23, CI_I2C_TIMEOUT, -1);
    ci_reg_data_t* regs[] = {cam.reg("STATUS"), gain};
    ci_u32 vals[2] = {9, 9};
    ci_error_code results[2] = {9, 9};
    EXPECT_EQ(ci_ReadSensorRegs(cam, 2, regs, vals, results), 0);
    EXPECT_EQ((Words{vals[0], vals[1]}), (Words{0, 0x21}));
    EXPECT_EQ(results[0], CI_I2C_TIMEOUT);
    EXPECT_EQ(results[1], 0);

    // The addressed batch write zeroes the values it was given.
    ci_addr_type types[] = {CI_REG_ADDR, CI_REG_ADDR};
    ci_u32 spaces[] = {0, 0}, addrs[] = {0x70, 0x21}, writes[] = {7, 8};
    EXPECT_EQ(ci_WriteSensorRegsAddr(cam, 2, types, spaces, addrs, nullptr, writes, results), 0);
    EXPECT_EQ((Words{writes[0], writes[1], bus.get(0x70), bus.get(0x21)}), (Words{0, 0, 0, 0}));
}

}  // namespace
