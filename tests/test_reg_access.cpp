// The register read/write core, observed through the bus traffic it makes.
#include <gtest/gtest.h>

#include "recording_transport.h"
#include "regs/regs_internal.h"
#include "sensor_builder.h"

namespace {

using Kind = BusOp::Kind;

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
    EXPECT_EQ(bus.ops()[0].values, (std::vector<ci_u32>{0xAABB, 0xCCDD}));
    // The whole value is cached.
    cam.useCache(1);
    bus.clear();
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "WIDE", nullptr, &v), 0);
    EXPECT_EQ(v, 0xAABBCCDDu);
    EXPECT_EQ(bus.calls(), 0u);
}

TEST(SpannedWords, ByteWideWordsOfAFourWordRegister) {
    SensorBuilder b;
    b.widths(8, 8).reg("QUAD", 0x40, 0xFFFFFFFF).span(4);
    TestCamera cam(b);
    RecordingTransport bus(cam);
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "QUAD", "", 0x11223344), 0);
    EXPECT_EQ(bus.ops().at(0).values, (std::vector<ci_u32>{0x11, 0x22, 0x33, 0x44}));
    EXPECT_EQ(_joinWords(bus.ops().at(0).values.data(), 4, 8), 0x11223344u);
}

TEST_F(Plain, NackIsRetriedNackRetriesTimesMore) {
    ci_setMode(cam, CI_NACK_RETRIES, 3);
    bus.set(0x21, 0x55);
    bus.failNext(CI_I2C_NACK_ERROR, -1);
    ci_u32 v = 99;
    EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("GAIN"), &v), CI_I2C_NACK_ERROR);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(bus.calls(), 4u);
}

TEST_F(Plain, RetriesStopAtTheFirstAnswerThatIsNotANack) {
    ci_setMode(cam, CI_NACK_RETRIES, 3);
    bus.set(0x21, 0x55);
    bus.failNext(CI_I2C_NACK_ERROR, 2);
    ci_u32 v = 0;
    EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("GAIN"), &v), 0);
    EXPECT_EQ(v, 0x55u);
    EXPECT_EQ(bus.calls(), 3u);

    bus.clear();
    bus.failNext(CI_I2C_TIMEOUT, 1);
    EXPECT_EQ(ci_WriteSensorReg(cam, cam.reg("GAIN"), 1), CI_I2C_TIMEOUT);
    EXPECT_EQ(bus.calls(), 1u);

    bus.clear();
    ci_setMode(cam, CI_NACK_RETRIES, 0);
    bus.failNext(CI_I2C_NACK_ERROR, 1);
    EXPECT_EQ(ci_WriteSensorReg(cam, cam.reg("GAIN"), 1), CI_I2C_NACK_ERROR);
    EXPECT_EQ(bus.calls(), 1u);
}

TEST(BitfieldWrite, KeepsTheOtherBitsAndCarriesOverflow) {
    TestCamera cam(plainSensor(16));  // reads the old value from the device
    RecordingTransport bus(cam);
    bus.set(0x20, 0xF3);
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "CTRL", "MODE", 5), 0);
    EXPECT_EQ(bus.get(0x20), 0xF7u);
    bus.set(0x20, 0x00);
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "CTRL", "MODE", 5), 0);
    EXPECT_EQ(bus.get(0x20), 0x14u);

    ci_u32 v = 0;
    bus.set(0x20, 0xF7);
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "CTRL", "mode", &v), 0);
    EXPECT_EQ(v, 1u);
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

// Which old value a bitfield write starts from depends on the address width.
ci_u32 bitfieldWriteOverStaleCache(ci_u32 addrBits, size_t* reads) {
    TestCamera cam(plainSensor(addrBits));
    RecordingTransport bus(cam);
    ci_WriteSensorReg(cam, cam.reg("CTRL"), 0xF3);  // cached
    bus.set(0x20, 0x00);                           // changed behind the cache
    bus.clear();
    ci_WriteSensorRegStr(cam, "CTRL", "MODE", 5);
    *reads = 0;
    for (const BusOp& op : bus.ops()) *reads += op.isRead();
    ci_u32 mode = 9;
    ci_getMode(cam, CI_USE_REG_CACHE, &mode);
    EXPECT_EQ(mode, 0u) << "cache setting restored";
    return bus.get(0x20);
}

TEST(BitfieldWrite, EightBitAddressSensorsStartFromTheCache) {
    size_t reads = 0;
    EXPECT_EQ(bitfieldWriteOverStaleCache(8, &reads), 0xF7u);
    EXPECT_EQ(reads, 0u);
    EXPECT_EQ(bitfieldWriteOverStaleCache(16, &reads), 0x14u);
    EXPECT_EQ(reads, 1u);
}

TEST_F(Plain, CacheOnlyModeMissSendsNothing) {
    cam.useCache(2);
    ci_u32 v = 5;
    EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("GAIN"), &v), CI_CAMERA_ERROR);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(bus.calls(), 0u);
    ASSERT_EQ(ci_WriteSensorReg(cam, cam.reg("GAIN"), 0x42), 0);
    bus.clear();
    EXPECT_EQ(ci_ReadSensorReg(cam, cam.reg("GAIN"), &v), 0);
    EXPECT_EQ(v, 0x42u);
    EXPECT_EQ(bus.calls(), 0u);
}

TEST_F(Plain, CachedReadsSendNothingUncachedReadsAlwaysGo) {
    bus.set(0x21, 0x31);
    ci_u32 v = 0;
    cam.useCache(1);
    ci_ReadSensorReg(cam, cam.reg("GAIN"), &v);
    ci_ReadSensorReg(cam, cam.reg("GAIN"), &v);
    EXPECT_EQ(bus.calls(), 1u);
    cam.useCache(0);
    ci_ReadSensorReg(cam, cam.reg("GAIN"), &v);
    EXPECT_EQ(bus.calls(), 2u);
    // A failed write leaves the cached value as it was.
    bus.failNext(CI_I2C_TIMEOUT, 1);
    ci_WriteSensorReg(cam, cam.reg("GAIN"), 0x77);
    cam.useCache(1);
    bus.clear();
    ci_ReadSensorReg(cam, cam.reg("GAIN"), &v);
    EXPECT_EQ(v, 0x31u);
    EXPECT_EQ(bus.calls(), 0u);
}

TEST_F(Plain, BatchReadReportsEachEntryAndReturnsTheLast) {
    bus.set(0x21, 0x21);
    bus.failAt(0x23, CI_I2C_TIMEOUT, -1);
    ci_reg_data_t* regs[] = {cam.reg("STATUS"), cam.reg("GAIN"), nullptr, cam.reg("RESET")};
    ci_u32 vals[4] = {9, 9, 9, 9};
    ci_error_code results[4] = {9, 9, 9, 9};
    EXPECT_EQ(ci_ReadSensorRegs(cam, 4, regs, vals, results), 0);
    EXPECT_EQ(results[0], CI_I2C_TIMEOUT);
    EXPECT_EQ(vals[0], 0u);
    EXPECT_EQ(results[1], 0);
    EXPECT_EQ(vals[1], 0x21u);
    EXPECT_EQ(results[2], 0);
    EXPECT_EQ(vals[2], 0u);
    EXPECT_EQ(results[3], 0);  // write-only: not read
    EXPECT_EQ(vals[3], 0u);
    EXPECT_EQ(bus.calls(), 2u);
    // The last read performed decides the result.
    ci_reg_data_t* reversed[] = {cam.reg("GAIN"), cam.reg("STATUS")};
    EXPECT_EQ(ci_ReadSensorRegs(cam, 2, reversed, vals, nullptr), CI_I2C_TIMEOUT);
    EXPECT_EQ(ci_ReadSensorRegs(cam, 2, nullptr, vals, nullptr), CI_CAMERA_ERROR);
}

TEST_F(Plain, BatchWriteZeroesTheValuesOfFailedEntries) {
    bus.failAt(0x21, CI_I2C_TIMEOUT, -1);
    ci_reg_data_t* regs[] = {cam.reg("GAIN"), cam.reg("CTRL")};
    ci_u32 vals[] = {5, 6};
    ci_error_code results[3];
    EXPECT_EQ(ci_WriteSensorRegs(cam, 2, regs, vals, results), 0);
    EXPECT_EQ(results[0], CI_I2C_TIMEOUT);
    EXPECT_EQ(vals[0], 0u);
    EXPECT_EQ(vals[1], 6u);
    EXPECT_EQ(bus.get(0x20), 6u);

    const char* names[] = {"CTRL", "GAIN", "CTRL"};
    const char* fields[] = {"MODE", "", "NOPE"};
    ci_u32 more[] = {2, 7, 1};
    EXPECT_EQ(ci_WriteSensorRegsStr(cam, 3, names, fields, more, results), CI_CAMERA_ERROR);
    EXPECT_EQ(bus.get(0x20), 0x0Au);
    EXPECT_EQ((std::vector<ci_u32>{more[0], more[1], more[2]}), (std::vector<ci_u32>{2, 0, 0}));
    EXPECT_EQ((std::vector<ci_error_code>{results[0], results[1], results[2]}),
              (std::vector<ci_error_code>{0, CI_I2C_TIMEOUT, CI_CAMERA_ERROR}));
}

TEST_F(Plain, BatchReadByNameReadsOnlyEntriesWithAnExistingBitfield) {
    bus.set(0x20, 0x0D);
    const char* names[] = {"CTRL", "GAIN", "CTRL", "CTRL"};
    const char* fields[] = {"MODE", "", "ENABLE", "NOPE"};
    ci_u32 vals[4];
    ci_error_code results[4];
    EXPECT_EQ(ci_ReadSensorRegsStr(cam, 4, names, fields, vals, results), 0);
    EXPECT_EQ((std::vector<ci_u32>{vals[0], vals[1], vals[2], vals[3]}), (std::vector<ci_u32>{3, 0, 1, 0}));
    EXPECT_EQ(bus.calls(), 2u);
    for (const BusOp& op : bus.ops()) EXPECT_EQ(op.addr, 0x20u);
    EXPECT_EQ(ci_ReadSensorRegsStr(cam, 1, names, nullptr, vals, results), CI_CAMERA_ERROR);
}

TEST_F(Plain, AddressedBatchWriteDeliberatelyWritesZeros) {
    bus.set(0x20, 0xEE);
    bus.set(0x21, 0xEE);
    ci_addr_type types[] = {CI_REG_ADDR, CI_REG_ADDR};
    ci_u32 spaces[] = {0, 0};
    ci_u32 addrs[] = {0x20, 0x21};
    ci_u32 vals[] = {7, 8};
    ci_error_code results[] = {9, 9};
    EXPECT_EQ(ci_WriteSensorRegsAddr(cam, 2, types, spaces, addrs, nullptr, vals, results), 0);
    EXPECT_EQ(vals[0], 0u);
    EXPECT_EQ(vals[1], 0u);
    EXPECT_EQ(bus.get(0x20), 0u);
    EXPECT_EQ(bus.get(0x21), 0u);
    EXPECT_EQ(results[1], 0);
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
    EXPECT_EQ(bus.ops().back().values, (std::vector<ci_u32>{0x1111, 0x2222}));

    ci_addr_type types[] = {CI_REG_ADDR, CI_REG_ADDR};
    ci_u32 spaces[] = {0, 0};
    ci_u32 addrs[] = {0x70, 0x10};
    ci_s32 widths[] = {1, 0};
    ci_u32 vals[2];
    ci_error_code results[2];
    EXPECT_EQ(ci_ReadSensorRegsAddr(cam, 2, types, spaces, addrs, widths, vals, results), 0);
    EXPECT_EQ(vals[0], 0x1111u);
    EXPECT_EQ(vals[1], 0x01020304u);
}

TEST(TemporaryRecord, WidthAndSpaceFollowTheAddressType) {
    SensorBuilder b;
    b.selectors(0x3F, 0x3F).space("P0", 0).space("VARS", 2, CI_MCU_ADDR).reg("V16", 0x10, 0xFFFF).in("VARS");
    TestCamera cam(b);
    ci_reg_data_t temp;
    ci_addr_space_val_t space;
    ci_reg_data_t* own = cam.reg("V16");
    EXPECT_EQ(_makeRegDataStruct(cam, CI_MCU_ADDR, 2, 0x10, 0, &temp, &space), own);
    EXPECT_EQ(_makeRegDataStruct(cam, CI_MCU_ADDR, 2, 0x10, 2, &temp, &space), own);
    ci_reg_data_t* byte = _makeRegDataStruct(cam, CI_MCU_ADDR, 2, 0x10, 1, &temp, &space);
    ASSERT_EQ(byte, &temp);
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
    _makeRegDataStruct(cam, CI_MCU_ADDR, 2, 0x30, 0, &temp, &space);
    EXPECT_EQ(temp.bitmask, 0xFFFFu);
}

TEST(AddressIncrement, FollowsWidthsModelsAndFarSpaces) {
    struct Case {
        ci_u32 model, addrBits, dataBits, expected;
    };
    for (const Case c : {Case{0, 16, 8, 1}, Case{0, 16, 16, 2}, Case{0, 8, 16, 1}, Case{35, 8, 8, 2},
                         Case{37, 16, 16, 1}, Case{45, 16, 16, 1}}) {
        SensorBuilder b;
        b.model(c.model).widths(c.addrBits, c.dataBits).reg("R", 0);
        TestCamera cam(b);
        EXPECT_EQ(ci_GetAddrIncrement(cam, CI_REG_ADDR), c.expected) << c.model << " " << c.addrBits << "/"
                                                                     << c.dataBits;
        EXPECT_EQ(ci_GetAddrIncrement(cam, CI_MCU_ADDR), 1u);
    }
    SensorBuilder far;
    far.widths(16, 16).selectors(0, 0).space("F1", 0, CI_FAR1_REG_ADDR, 0x30, 16, 16)
        .space("F2", 0, CI_FAR2_REG_ADDR, 0x32, 16, 8).reg("R", 0);
    TestCamera cam(far);
    EXPECT_EQ(ci_GetAddrIncrement(cam, CI_FAR1_REG_ADDR), 2u);
    EXPECT_EQ(ci_GetAddrIncrement(cam, CI_FAR2_REG_ADDR), 1u);
    EXPECT_EQ(_regDataSize(cam, CI_FAR2_REG_ADDR), 8u);
    EXPECT_EQ(_regAddrSize(cam, CI_MCU_ADDR), 0u);
    EXPECT_EQ(_regAddrSize(cam, CI_REG_ADDR), 16u);
    EXPECT_EQ(ci_GetAddrIncrement(nullptr, CI_REG_ADDR), 1u);
}

TEST(BitArithmetic, FieldsMoveByTheMasksTrailingZeros) {
    EXPECT_EQ(_BitValue(0x80000000u, 0x80000000u), 1u);
    EXPECT_EQ(_BitMaskAdjust(0x0C, 5, 1), 0x04u);
    EXPECT_EQ(_BitMaskAdjust(0x0C, 0xF7, 0), 1u);
    EXPECT_DEATH(_BitValue(1, 0), "mask");
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
    ci_u32 addrSize = 0, dataSize = 0;
    ci_getMode(cam, CI_REG_ADDR_SIZE, &addrSize);
    ci_getMode(cam, CI_REG_DATA_SIZE, &dataSize);
    EXPECT_EQ(addrSize, 16u);
    EXPECT_EQ(dataSize, 8u);
}

TEST_F(Plain, ValueForPresetsUsesTheGivenCacheSettingAndRestoresIt) {
    bus.set(0x21, 0x66);
    ci_WriteSensorReg(cam, cam.reg("GAIN"), 0x65);
    bus.set(0x21, 0x66);
    EXPECT_EQ(_GetRegisterValue(cam, cam.reg("GAIN"), 1), 0x65);
    EXPECT_EQ(_GetRegisterValue(cam, cam.reg("GAIN"), 0), 0x66);
    ci_u32 mode = 9;
    ci_getMode(cam, CI_USE_REG_CACHE, &mode);
    EXPECT_EQ(mode, 0u);
    bus.failNext(CI_I2C_TIMEOUT, 1);
    EXPECT_EQ(_GetRegisterValue(cam, cam.reg("GAIN"), 0), -1);
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
