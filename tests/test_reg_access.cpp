// The register read/write core, observed through the bus traffic it makes.
#include <gtest/gtest.h>

#include "recording_transport.h"
#include "regs/regs_internal.h"
#include "sensor_builder.h"

namespace {

using Kind = BusOp::Kind;
using Words = std::vector<ci_u32>;

// 8-bit addresses, 16-bit data (address step 1), no address spaces.
SensorBuilder plainSensor(ci_u32 addrBits = 8) {
    SensorBuilder b;
    b.widths(addrBits, 16).shipAddr(0x48)
        .reg("WIDE", 0x10, 0xFFFFFFFF).span(2)
        .reg("CTRL", 0x20).field("MODE", 0x0C).field("ENABLE", 0x01)
        .reg("GAIN", 0x21)
        .reg("RESET", 0x22).rw(2)
        .reg("STATUS", 0x23).volatileReg();
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
    ASSERT_EQ(bus.calls(), 1u);
    EXPECT_EQ(bus.ops()[0].kind, Kind::SensorRead);
    EXPECT_EQ(bus.ops()[0].count, 2u);

    bus.clear();
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "wide", "", 0xAABBCCDD), 0);
    ASSERT_EQ(bus.calls(), 1u);
    EXPECT_EQ(bus.ops()[0].kind, Kind::SensorWrite);
    EXPECT_EQ(bus.ops()[0].addr, 0x10u);
    EXPECT_EQ(bus.ops()[0].values, (Words{0xAABB, 0xCCDD}));
    cam.useCache(1);  // the whole value is cached
    bus.clear();
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "WIDE", nullptr, &v), 0);
    EXPECT_EQ(v, 0xAABBCCDDu);
    EXPECT_EQ(bus.calls(), 0u);

    TestCamera quad(SensorBuilder().widths(8, 8).reg("QUAD", 0x40, 0xFFFFFFFF).span(4));
    RecordingTransport quadBus(quad);
    ASSERT_EQ(ci_WriteSensorRegStr(quad, "QUAD", "", 0x11223344), 0);
    EXPECT_EQ(quadBus.ops().at(0).values, (Words{0x11, 0x22, 0x33, 0x44}));
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
    for (const Case k : {Case{3, nack, -1, nack, 4}, Case{3, nack, 2, 0, 3}, Case{3, timeout, 1, timeout, 1},
                         Case{0, nack, 1, nack, 1}}) {
        TestCamera cam(plainSensor());
        RecordingTransport bus(cam);
        bus.set(0x21, 0x55);
        ci_setMode(cam, CI_NACK_RETRIES, k.retries);
        bus.failNext(k.failure, k.times);
        ci_u32 v = 99;
        EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("GAIN"), &v), k.result) << k.retries << "/" << k.times;
        EXPECT_EQ(v, k.result ? 0u : 0x55u);
        EXPECT_EQ(bus.calls(), k.calls) << k.retries << "/" << k.times;
    }
}

TEST_F(Plain, BitfieldMissesSendNothingAndReadFailuresStopTheWrite) {
    EXPECT_EQ(ci_WriteSensorRegStr(cam, "CTRL", "NOPE", 1), CI_CAMERA_ERROR);
    ci_u32 v = 7;
    EXPECT_EQ(ci_ReadSensorRegStr(cam, "CTRL", "NOPE", &v), CI_CAMERA_ERROR);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(ci_ReadSensorRegStr(cam, "NOREG", nullptr, &v), CI_CAMERA_ERROR);
    EXPECT_EQ(bus.calls(), 0u);
    bus.failNext(CI_I2C_TIMEOUT, 1);
    EXPECT_EQ(ci_WriteSensorRegStr(cam, "CTRL", "MODE", 1), CI_I2C_TIMEOUT);
    ASSERT_EQ(bus.calls(), 1u);
    EXPECT_TRUE(bus.ops()[0].isRead());
}

// A bitfield write keeps the other bits and lets overflow carry into them.
// The old value it starts from: the cache on 8-bit address sensors, the
// device otherwise; the cache setting is restored after.
TEST(BitfieldWrite, KeepsOtherBitsStartingFromTheCacheOnEightBitAddressSensors) {
    for (ci_u32 addrBits : {8u, 16u}) {
        TestCamera cam(plainSensor(addrBits));
        RecordingTransport bus(cam);
        ci_WriteSensorReg(cam, cam.reg("CTRL"), 0xF3);  // cached
        bus.set(0x20, 0x00);                           // changed behind the cache
        bus.clear();
        ci_WriteSensorRegStr(cam, "CTRL", "MODE", 5);
        EXPECT_EQ(bus.get(0x20), addrBits == 8 ? 0xF7u : 0x14u);
        size_t reads = 0;
        for (const BusOp& op : bus.ops()) reads += op.isRead();
        EXPECT_EQ(reads, addrBits == 8 ? 0u : 1u);
        ci_u32 mode = 9;
        ci_getMode(cam, CI_USE_REG_CACHE, &mode);
        EXPECT_EQ(mode, 0u);
        ci_u32 v = 0;
        ASSERT_EQ(ci_ReadSensorRegStr(cam, "CTRL", "mode", &v), 0);
        EXPECT_EQ(v, 1u);  // the two-bit field kept 5's low bits
    }
    EXPECT_EQ(_BitValue(0x80000000u, 0x80000000u), 1u);
    EXPECT_DEATH(_BitValue(1, 0), "mask");
}

TEST_F(Plain, CachedReadsSendNothingUncachedReadsAlwaysGo) {
    bus.set(0x21, 0x31);
    ci_u32 v = 0;
    cam.useCache(1);
    ci_ReadSensorReg(cam, gain, &v);
    ci_ReadSensorReg(cam, gain, &v);
    EXPECT_EQ(bus.calls(), 1u);
    cam.useCache(0);
    ci_ReadSensorReg(cam, gain, &v);
    EXPECT_EQ(bus.calls(), 2u);
    // A failed write leaves the cached value as it was.
    bus.failNext(CI_I2C_TIMEOUT, 1);
    ci_WriteSensorReg(cam, gain, 0x77);
    cam.useCache(1);
    bus.clear();
    ci_ReadSensorReg(cam, gain, &v);
    EXPECT_EQ(v, 0x31u);
    // Cache-only mode: a miss fails without traffic.
    cam.useCache(2);
    v = 5;
    EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("CTRL"), &v), CI_CAMERA_ERROR);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(bus.calls(), 0u);
}

TEST_F(Plain, BatchReadReportsEachEntryAndReturnsTheLast) {
    bus.set(0x21, 0x21);
    bus.failAt(0x23, CI_I2C_TIMEOUT, -1);
    ci_reg_data_t* regs[] = {cam.reg("STATUS"), gain, nullptr, cam.reg("RESET")};  // RESET is write-only
    ci_u32 vals[4] = {9, 9, 9, 9};
    ci_error_code results[4] = {9, 9, 9, 9};
    EXPECT_EQ(ci_ReadSensorRegs(cam, 4, regs, vals, results), 0);
    EXPECT_EQ((Words{vals[0], vals[1], vals[2], vals[3]}), (Words{0, 0x21, 0, 0}));
    EXPECT_EQ((std::vector<ci_error_code>(results, results + 4)),
              (std::vector<ci_error_code>{CI_I2C_TIMEOUT, 0, 0, 0}));
    EXPECT_EQ(bus.calls(), 2u);
    ci_reg_data_t* reversed[] = {gain, cam.reg("STATUS")};
    EXPECT_EQ(ci_ReadSensorRegs(cam, 2, reversed, vals, nullptr), CI_I2C_TIMEOUT);
    EXPECT_EQ(ci_ReadSensorRegs(cam, 2, nullptr, vals, nullptr), CI_CAMERA_ERROR);
}

TEST_F(Plain, BatchWriteZeroesTheValuesOfFailedEntries) {
    bus.failAt(0x21, CI_I2C_TIMEOUT, -1);
    ci_reg_data_t* regs[] = {gain, cam.reg("CTRL")};
    ci_u32 vals[] = {5, 6};
    ci_error_code results[3];
    EXPECT_EQ(ci_WriteSensorRegs(cam, 2, regs, vals, results), 0);
    EXPECT_EQ(results[0], CI_I2C_TIMEOUT);
    EXPECT_EQ((Words{vals[0], vals[1]}), (Words{0, 6}));
    EXPECT_EQ(bus.get(0x20), 6u);

    const char* names[] = {"CTRL", "GAIN", "CTRL"};
    const char* fields[] = {"MODE", "", "NOPE"};
    ci_u32 more[] = {2, 7, 1};
    EXPECT_EQ(ci_WriteSensorRegsStr(cam, 3, names, fields, more, results), CI_CAMERA_ERROR);
    EXPECT_EQ(bus.get(0x20), 0x0Au);
    EXPECT_EQ((Words{more[0], more[1], more[2]}), (Words{2, 0, 0}));
    EXPECT_EQ((std::vector<ci_error_code>(results, results + 3)),
              (std::vector<ci_error_code>{0, CI_I2C_TIMEOUT, CI_CAMERA_ERROR}));
}

TEST_F(Plain, BatchReadByNameReadsOnlyEntriesWithAnExistingBitfield) {
    bus.set(0x20, 0x0D);
    const char* names[] = {"CTRL", "GAIN", "CTRL", "CTRL"};
    const char* fields[] = {"MODE", "", "ENABLE", "NOPE"};
    ci_u32 vals[4];
    ci_error_code results[4];
    EXPECT_EQ(ci_ReadSensorRegsStr(cam, 4, names, fields, vals, results), 0);
    EXPECT_EQ((Words{vals[0], vals[1], vals[2], vals[3]}), (Words{3, 0, 1, 0}));
    EXPECT_EQ(bus.calls(), 2u);
    for (const BusOp& op : bus.ops()) EXPECT_EQ(op.addr, 0x20u);
    EXPECT_EQ(ci_ReadSensorRegsStr(cam, 1, names, nullptr, vals, results), CI_CAMERA_ERROR);
}

TEST_F(Plain, AddressedAccessUsesTheRegistersOwnRecordOrATemporaryOne) {
    bus.set(0x10, 0x0102);
    bus.set(0x11, 0x0304);
    ci_u32 v = 0;
    // Natural width (0) of WIDE: two words, cached under WIDE.
    ASSERT_EQ(ci_ReadSensorRegAddr(cam, CI_REG_ADDR, 0, 0x10, 0, &v), 0);
    EXPECT_EQ(v, 0x01020304u);
    // One word only: a temporary record that has no cache entry.
    ASSERT_EQ(ci_ReadSensorRegAddr(cam, CI_REG_ADDR, 0, 0x10, 1, &v), 0);
    EXPECT_EQ(v, 0x0102u);
    EXPECT_EQ(bus.ops().back().count, 1u);
    ci_u32 cached = 0;
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("WIDE"), &cached), 0);
    EXPECT_EQ(cached, 0x01020304u);
    // An address no register has.
    ASSERT_EQ(ci_WriteSensorRegAddr(cam, CI_REG_ADDR, 0, 0x70, 2, 0x11112222), 0);
    EXPECT_EQ(bus.ops().back().values, (Words{0x1111, 0x2222}));

    ci_addr_type types[] = {CI_REG_ADDR, CI_REG_ADDR};
    ci_u32 spaces[] = {0, 0}, addrs[] = {0x70, 0x10}, vals[2];
    ci_s32 widths[] = {1, 0};
    ci_error_code results[2];
    EXPECT_EQ(ci_ReadSensorRegsAddr(cam, 2, types, spaces, addrs, widths, vals, results), 0);
    EXPECT_EQ((Words{vals[0], vals[1]}), (Words{0x1111, 0x01020304}));
    // The addressed batch write zeroes the values it was given.
    ci_u32 writes[] = {7, 8};
    EXPECT_EQ(ci_WriteSensorRegsAddr(cam, 2, types, spaces, addrs, nullptr, writes, results), 0);
    EXPECT_EQ((Words{writes[0], writes[1], bus.get(0x70), bus.get(0x10)}), (Words{0, 0, 0, 0}));
}

TEST(TemporaryRecord, WidthAndSpaceFollowTheAddressType) {
    TestCamera cam(SensorBuilder().selectors(0x3F, 0x3F).space("P0", 0).space("VARS", 2, CI_MCU_ADDR)
                       .reg("V16", 0x10, 0xFFFF).in("VARS"));
    ci_reg_data_t temp;
    ci_addr_space_val_t space;
    ci_reg_data_t* own = cam.reg("V16");
    EXPECT_EQ(_makeRegDataStruct(cam, CI_MCU_ADDR, 2, 0x10, 0, &temp, &space), own);
    EXPECT_EQ(_makeRegDataStruct(cam, CI_MCU_ADDR, 2, 0x10, 2, &temp, &space), own);
    ASSERT_EQ(_makeRegDataStruct(cam, CI_MCU_ADDR, 2, 0x10, 1, &temp, &space), &temp);
    EXPECT_EQ(temp.bitmask, 0xFFu);
    EXPECT_EQ(temp.addr_space, &cam.sensor()->addr_space->addr_space_val[1]);
    // No space of the table matches: a temporary one.
    _makeRegDataStruct(cam, CI_SFR_ADDR, 4, 0x20, 4, &temp, &space);
    EXPECT_EQ(temp.bitmask, 0xFFFFFFFFu);
    EXPECT_EQ(temp.addr_space, &space);
    EXPECT_EQ(space.type, CI_SFR_ADDR);
    EXPECT_EQ(space.val, 4u);
    _makeRegDataStruct(cam, CI_FAR1_REG_ADDR, 0, 0x20, 3, &temp, &space);
    EXPECT_EQ(temp.addr_span, 3u);
}

TEST(AddressIncrement, FollowsWidthsModelsAndFarSpaces) {
    struct Case {
        ci_u32 model, addrBits, dataBits, expected;
    };
    for (const Case c : {Case{0, 16, 8, 1}, Case{0, 16, 16, 2}, Case{0, 8, 16, 1}, Case{35, 8, 8, 2},
                         Case{37, 16, 16, 1}, Case{45, 16, 16, 1}}) {
        TestCamera cam(SensorBuilder().model(c.model).widths(c.addrBits, c.dataBits).reg("R", 0));
        EXPECT_EQ(ci_GetAddrIncrement(cam, CI_REG_ADDR), c.expected) << c.model << " " << c.addrBits << "/"
                                                                     << c.dataBits;
        EXPECT_EQ(ci_GetAddrIncrement(cam, CI_MCU_ADDR), 1u);
    }
    TestCamera cam(SensorBuilder().widths(16, 16).selectors(0, 0).space("F1", 0, CI_FAR1_REG_ADDR, 0x30, 16, 16)
                       .space("F2", 0, CI_FAR2_REG_ADDR, 0x32, 16, 8).reg("R", 0));
    EXPECT_EQ(ci_GetAddrIncrement(cam, CI_FAR1_REG_ADDR), 2u);
    EXPECT_EQ(ci_GetAddrIncrement(cam, CI_FAR2_REG_ADDR), 1u);
    EXPECT_EQ(_regDataSize(cam, CI_FAR2_REG_ADDR), 8u);
    EXPECT_EQ(ci_GetAddrIncrement(nullptr, CI_REG_ADDR), 1u);
}

TEST_F(Plain, DirectTransfersUseTheSensorAddressWidthAndTheGivenDataWidth) {
    ci_setMode(cam, CI_REG_ADDR_SIZE, 16);
    ci_setMode(cam, CI_REG_DATA_SIZE, 8);
    ci_u32 vals[2] = {0xA, 0xB};
    ASSERT_EQ(_writeDirectVarsNocache(cam, 0x8C14, 32, 2, vals), 0);
    ASSERT_EQ(bus.calls(), 1u);
    const BusOp& op = bus.ops()[0];
    EXPECT_EQ(op.kind, Kind::RegsWrite);
    EXPECT_EQ(op.base, 0x48u);
    EXPECT_EQ(op.addr, 0x8C14u);
    EXPECT_EQ(op.addrBits, 8);
    EXPECT_EQ(op.dataBits, 32);
    ASSERT_EQ(_readDirectVarsNocache(cam, 0x8C14, 16, 2, vals), 0);
    EXPECT_EQ(bus.ops().back().dataBits, 16);
    ci_u32 addrSize = 0, dataSize = 0;  // the thread's widths are restored
    ci_getMode(cam, CI_REG_ADDR_SIZE, &addrSize);
    ci_getMode(cam, CI_REG_DATA_SIZE, &dataSize);
    EXPECT_EQ(addrSize, 16u);
    EXPECT_EQ(dataSize, 8u);
}

TEST_F(Plain, ValueForPresetsUsesTheGivenCacheSettingAndRestoresIt) {
    ci_WriteSensorReg(cam, gain, 0x65);
    bus.set(0x21, 0x66);
    EXPECT_EQ(_GetRegisterValue(cam, gain, 1), 0x65);
    EXPECT_EQ(_GetRegisterValue(cam, gain, 0), 0x66);
    ci_u32 mode = 9;
    ci_getMode(cam, CI_USE_REG_CACHE, &mode);
    EXPECT_EQ(mode, 0u);
    bus.failNext(CI_I2C_TIMEOUT, 1);
    EXPECT_EQ(_GetRegisterValue(cam, gain, 0), -1);
    EXPECT_EQ(_GetRegisterValue(cam, nullptr, 0), -1);
}

TEST_F(Plain, GenericEntryPointsRetryAndReachTheHooks) {
    ci_setMode(cam, CI_NACK_RETRIES, 1);
    bus.failNext(CI_I2C_NACK_ERROR, 1);
    ASSERT_EQ(ci_writeRegister(cam, 0x90, 0x05, 0x99), 0);
    EXPECT_EQ(bus.getRaw(0x90, 0x05), 0x99u);
    EXPECT_EQ(bus.calls(), 2u);
    ci_u32 vals[2] = {1, 1};
    bus.failNext(CI_I2C_TIMEOUT, 1);
    EXPECT_EQ(ci_readRegisters(cam, 0x90, 0x05, 2, vals), CI_I2C_TIMEOUT);
    EXPECT_EQ(vals[0] + vals[1], 0u);
    EXPECT_EQ(_common_readSystemRegistersNolock(cam, CI_MCU_ADDR, 0, 0, 16, 1, vals), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_sendCommand(cam, 1, 0, nullptr, nullptr, 0, nullptr, nullptr), CI_CAMERA_NOT_SUPPORTED);
}

}  // namespace
