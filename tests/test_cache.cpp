// The register cache: validity and volatile marks, invalidation, array-imager
// stores, the address-space selector values kept as cache entries, and the
// MCU access state reset with it.
#include <gtest/gtest.h>

#include "recording_transport.h"
#include "sensor_builder.h"

namespace {

using Kind = BusOp::Kind;

// Selector registers at 0x3E (read) and 0x3F (write), in the first space.
SensorBuilder pagedSensor(ci_u32 model = 0) {
    SensorBuilder b;
    b.model(model).widths(8, 16).selectors(0x3E, 0x3F)
        .space("P0", 0).space("P1", 1).space("P2", 2).space("SFR0", 0, CI_SFR_ADDR)
        .reg("SEL_READ", 0x3E).in("P0")
        .reg("SEL_WRITE", 0x3F).in("P0")
        .reg("A0", 0x10).in("P0")
        .reg("A1", 0x10).in("P1")
        .reg("B1", 0x11).in("P1")
        .reg("WIDE1", 0x12, 0xFFFFFFFF).in("P1").span(2)
        .reg("C2", 0x10).in("P2");
    return b;
}

struct Paged : ::testing::Test {
    TestCamera cam{pagedSensor()};
    RecordingTransport bus{cam};

    ci_u32 read(const char* name) {
        ci_u32 v = 0;
        EXPECT_EQ(ci_ReadSensorRegStr(cam, name, nullptr, &v), 0) << name;
        return v;
    }
    std::vector<ci_u32> selectorWrites() const {
        std::vector<ci_u32> out;
        for (const BusOp& op : bus.selectorOps()) out.push_back((op.addr << 16) | op.values[0]);
        return out;
    }
};

TEST_F(Paged, SelectorIsWrittenOncePerRunOfOneSpace) {
    cam.useCache(1);
    read("A1");
    read("B1");
    read("A0");
    ci_WriteSensorRegStr(cam, "B1", nullptr, 5);
    ci_WriteSensorRegStr(cam, "A1", nullptr, 6);
    EXPECT_EQ(selectorWrites(), (std::vector<ci_u32>{0x3E0001, 0x3E0000, 0x3F0001}));
    ci_u32 readSpace = 9, writeSpace = 9;
    ASSERT_EQ(ci_CurrentAddrSpace(cam, &readSpace, &writeSpace), 0);
    EXPECT_EQ(readSpace, 0u);
    EXPECT_EQ(writeSpace, 1u);
}

TEST_F(Paged, WithoutTheCacheTheSelectorIsAlwaysWritten) {
    read("A1");
    read("B1");
    EXPECT_EQ(selectorWrites(), (std::vector<ci_u32>{0x3E0001, 0x3E0001}));
}

TEST_F(Paged, InvalidationForgetsTheSelectorValues) {
    cam.useCache(1);
    read("A1");
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(cam), 1u);
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(cam), 0xFFFFFFFFu);
    EXPECT_EQ(_GetCachedWriteAddrSpaceValue(cam), 0xFFFFFFFFu);
    bus.clear();
    read("B1");
    EXPECT_EQ(selectorWrites(), (std::vector<ci_u32>{0x3E0001}));
}

TEST_F(Paged, SelectorValueIsKeptEvenWhenItsWriteFails) {
    bus.failAt(0x3E, CI_I2C_TIMEOUT, 1);
    _getRegisterLock(cam);
    _updateAddrSpace(cam, 2, 1);
    _releaseRegisterLock(cam);
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(cam), 2u);
    ci_u32 cached = 0;
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("SEL_READ"), &cached), 0);
    EXPECT_EQ(cached, 2u);
}

TEST(SelectorValues, SpacesWithoutSelectorRegistersAreNeverElided) {
    SensorBuilder b;
    b.widths(8, 16).selectors(0x3E, 0).space("P0", 0).space("P1", 1).reg("A1", 0x10).in("P1");
    TestCamera cam(b);
    RecordingTransport bus(cam);
    cam.useCache(1);
    ci_u32 v;
    ci_ReadSensorRegStr(cam, "A1", nullptr, &v);
    ci_InvalidateRegCacheRegName(cam, "A1");
    ci_ReadSensorRegStr(cam, "A1", nullptr, &v);
    EXPECT_EQ(bus.selectorOps().size(), 2u);
    // No write selector: writes select nothing.
    ci_WriteSensorRegStr(cam, "A1", nullptr, 1);
    EXPECT_EQ(bus.selectorOps().size(), 2u);
}

TEST(SelectorValues, ArrayImagerSelectsByBitMap) {
    TestCamera cam(pagedSensor(CI_ARRAY_IMAGER_SENSOR));
    RecordingTransport bus(cam);
    _getRegisterLock(cam);
    _updateAddrSpace(cam, 0x0C, 1);
    _updateAddrSpace(cam, 0x0C, 0);
    _updateAddrSpace(cam, 0, 1);
    _updateAddrSpace(cam, 0, 0);
    _updateAddrSpace(cam, 0x10000, 1);
    _releaseRegisterLock(cam);
    const std::vector<BusOp>& ops = bus.ops();
    ASSERT_EQ(ops.size(), 2u);
    EXPECT_EQ(ops[0].addr, 0x3Eu);
    EXPECT_EQ(ops[0].values[0], 2u);
    EXPECT_EQ(ops[1].addr, 0x3Fu);
    EXPECT_EQ(ops[1].values[0], 0x0Cu);
    EXPECT_EQ(ops[0].dataBits, 16);
    ci_u32 dataSize = 0;
    ci_getMode(cam, CI_REG_DATA_SIZE, &dataSize);
    EXPECT_EQ(dataSize, 16u);
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(cam), 2u);
}

TEST(ArrayImager, StoreByRecordFillsEverySpaceOfItsBitMap) {
    SensorBuilder b;
    b.model(CI_ARRAY_IMAGER_SENSOR).selectors(0x3E, 0x3F).space("S0", 0).space("S1", 1).space("S4", 4)
        .space("S5", 5).space("ALL", 0xFFFF)
        .reg("R1", 0x20).in("S1").reg("R4", 0x20).in("S4").reg("R5", 0x20).in("S5").reg("RALL", 0x20).in("ALL")
        .reg("R0", 0x20).in("S0");
    TestCamera cam(b);
    EXPECT_EQ(_SetRegCacheValueReg(cam, cam.reg("R5"), 0x77), 5);
    ci_u32 v = 0;
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("R1"), &v), 0);
    EXPECT_EQ(v, 0x77u);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("R4"), &v), 0);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("R5"), &v), 1);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("RALL"), &v), 1);

    EXPECT_EQ(_SetRegCacheValueReg(cam, cam.reg("RALL"), 0x99), 0xFFFF);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("RALL"), &v), 0);
    EXPECT_EQ(v, 0x99u);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("R4"), &v), 0);
    EXPECT_EQ(v, 0x99u);
    // Space 0 is no bit: stored by its own index.
    EXPECT_EQ(_SetRegCacheValueReg(cam, cam.reg("R0"), 0x11), 4);
}

TEST(Volatile, StoredButNeverServed) {
    SensorBuilder b;
    b.reg("STATUS", 0x01).volatileReg().reg("INDIRECT_DATA", 0x02).reg("PLAIN", 0x03).reg("LATER", 0x04);
    TestCamera cam(b);
    RecordingTransport bus(cam);
    ci_SetVolatileRegStr(cam, "later");
    cam.useCache(1);
    for (const char* name : {"STATUS", "INDIRECT_DATA", "LATER", "PLAIN"}) {
        bus.set(cam.reg(name)->reg_addr, 0x10);
        ASSERT_EQ(ci_WriteSensorRegStr(cam, name, nullptr, 0x20), 0);
        bus.set(cam.reg(name)->reg_addr, 0x30);
        bus.clear();
        ci_u32 v = 0;
        ci_ReadSensorRegStr(cam, name, nullptr, &v);
        const bool isVolatile = std::string(name) != "PLAIN";
        EXPECT_EQ(v, isVolatile ? 0x30u : 0x20u) << name;
        EXPECT_EQ(bus.calls(), isVolatile ? 1u : 0u) << name;
        ci_u32 raw = 0;
        EXPECT_EQ(_GetRegCacheValueI(cam, _getRegIndex(cam, name), &raw), isVolatile ? -1 : _getRegIndex(cam, name));
        EXPECT_EQ(raw, isVolatile ? 0x30u : 0x20u) << "the value is stored either way";
    }
}

TEST(Volatile, UnknownNameIsIgnoredSilently) {
    SensorBuilder b;
    b.reg("R", 1);
    TestCamera cam(b);
    LogCapture log;
    ci_SetVolatileRegStr(cam, "NOT_THERE");
    EXPECT_EQ(log.text().find("NOT_THERE"), std::string::npos);
}

TEST(Invalidation, EveryEntryAndTheAccessStateAreForgottenAndLogged) {
    SensorBuilder b;
    b.reg("R0", 0).reg("R1", 1);
    TestCamera cam(b);
    _SetRegCacheValueI(cam, 0, 1);
    _SetRegCacheValueI(cam, 1, 2);
    _sg_context_t* sg = cam.context()->sg_context;
    sg->current_access_logical = sg->current_phy_region = sg->current_phy_a15 = sg->current_adv_base = 0;
    LogCapture log(CI_LOG_SHIP);
    ci_InvalidateRegCache(cam);
    ci_u32 v;
    EXPECT_EQ(_GetRegCacheValueI(cam, 0, &v), -1);
    EXPECT_EQ(_GetRegCacheValueI(cam, 1, &v), -1);
    EXPECT_EQ(sg->current_access_logical & sg->current_phy_region & sg->current_phy_a15 & sg->current_adv_base,
              0xFFFFFFFFu);
    EXPECT_NE(log.text().find("SHIP: Invalidate sensor register cache"), std::string::npos) << log.text();
}

TEST(Invalidation, SingleRegisterByRecordOrName) {
    SensorBuilder b;
    b.reg("R0", 0).reg("R1", 1);
    TestCamera cam(b);
    _SetRegCacheValueI(cam, 0, 1);
    _SetRegCacheValueI(cam, 1, 2);
    ci_InvalidateRegCacheRegName(cam, "r1");
    ci_u32 v;
    EXPECT_EQ(_GetRegCacheValueI(cam, 0, &v), 0);
    EXPECT_EQ(_GetRegCacheValueI(cam, 1, &v), -1);
    ci_reg_data_t outside = *cam.reg("R0");
    ci_InvalidateRegCacheReg(cam, &outside);  // not one of the description's records
    EXPECT_EQ(_GetRegCacheValueI(cam, 0, &v), 0);
    ci_InvalidateRegCacheReg(cam, cam.reg("R0"));
    EXPECT_EQ(_GetRegCacheValueI(cam, 0, &v), -1);
}

void storeAll(TestCamera& cam) {
    for (ci_s32 i = 0; i < cam.sensor()->num_regs; ++i) _SetRegCacheValueI(cam, i, 1);
}

std::string validNames(TestCamera& cam) {
    std::string out;
    ci_u32 v;
    for (ci_s32 i = 0; i < cam.sensor()->num_regs; ++i) {
        if (_GetRegCacheValueI(cam, i, &v) >= 0) out += std::string(cam.sensor()->regs[i].unique_desc) + " ";
    }
    return out;
}

TEST(Invalidation, RangeOfOneSpaceOrOfAllTypes) {
    SensorBuilder spaced;
    spaced.selectors(0x3E, 0x3F).space("V1", 1, CI_MCU_ADDR).space("V2", 2, CI_MCU_ADDR).space("S1", 1, CI_SFR_ADDR)
        .reg("V1_LOW", 0x0F).in("V1").reg("V1_IN", 0x10).in("V1").reg("V1_END", 0x14).in("V1")
        .reg("V2_IN", 0x10).in("V2").reg("S1_IN", 0x12).in("S1");
    TestCamera cam(spaced);
    storeAll(cam);
    _InvalidateRegCacheRange(cam, CI_MCU_ADDR, 1, 0x10, 0x14);
    EXPECT_EQ(validNames(cam), "V1_LOW V1_END V2_IN S1_IN ");

    SensorBuilder flat;
    flat.reg("LOW", 0x0F).reg("IN", 0x10).reg("IN2", 0x13).reg("END", 0x14);
    TestCamera other(flat);
    storeAll(other);
    _InvalidateRegCacheRange(other, CI_SFR_ADDR, 7, 0x10, 0x14);
    EXPECT_EQ(validNames(other), "LOW END ");
}

TEST(CacheEntries, OutOfRangeOrMissingEntriesAreRefused) {
    SensorBuilder b;
    b.reg("R0", 0).reg("R1", 1);
    TestCamera cam(b);
    ci_u32 v = 0xAB;
    EXPECT_EQ(_SetRegCacheValueI(cam, 2, 1), -1);
    EXPECT_EQ(_SetRegCacheValueI(cam, -1, 1), -1);
    EXPECT_EQ(_GetRegCacheValueI(cam, 2, &v), -1);
    EXPECT_EQ(v, 0xABu);
    EXPECT_EQ(_SetRegCacheValueAddr(cam, CI_REG_ADDR, 0, 1, 0x55), 1);
    EXPECT_EQ(_GetRegCacheValueAddr(cam, CI_REG_ADDR, 0, 1, &v), 1);
    EXPECT_EQ(v, 0x55u);
    EXPECT_DEATH(_init_reg_cache(cam), "common_context->reg_cache == \\(\\(void \\*\\)0\\)");

    SensorBuilder empty;
    TestCamera none(empty);
    EXPECT_EQ(none.context()->reg_cache, nullptr);
    EXPECT_EQ(_SetRegCacheValueI(none, 0, 1), -1);
    EXPECT_EQ(_GetRegCacheValueI(none, 0, &v), -1);
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(none), 0u);  // no address spaces either
}

// The device-run read probes the cache with the space value as the address
// type and 0 as the space value.
TEST_F(Paged, DeviceRunCacheProbeUsesTheSpaceAsTheType) {
    cam.useCache(1);
    ci_WriteSensorRegStr(cam, "A0", nullptr, 0x40);
    ci_WriteSensorRegStr(cam, "C2", nullptr, 0x42);
    bus.clear();
    ci_u32 v = 0;
    ASSERT_EQ(ci_readSensorRegisters(cam, 0, 0x10, 1, &v), 0);
    EXPECT_EQ(v, 0x40u);
    EXPECT_TRUE(bus.dataOps().empty());
    // Space 2: the probe looks for an SFR-type register of space 0, finds
    // none, and the device is read although C2 is cached.
    bus.set(0x10, 0x52, 2);
    ASSERT_EQ(ci_readSensorRegisters(cam, 2, 0x10, 1, &v), 0);
    EXPECT_EQ(v, 0x52u);
    EXPECT_EQ(bus.dataOps().size(), 1u);
    ci_u32 readSpace = 0;
    ci_CurrentAddrSpace(cam, &readSpace, nullptr);
    EXPECT_EQ(readSpace, 2u);
    // The value read went into C2's entry.
    ci_u32 cached = 0;
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("C2"), &cached), 0);
    EXPECT_EQ(cached, 0x52u);
}

TEST(DeviceRun, ProbeFindsAnSfrRegisterOfSpaceZeroAtTheAddress) {
    SensorBuilder b = pagedSensor();
    b.reg("SFR_AT_10", 0x10).in("SFR0");
    TestCamera cam(b);
    RecordingTransport bus(cam);
    cam.useCache(1);
    _SetRegCacheValueReg(cam, cam.reg("SFR_AT_10"), 0x5F);
    ci_u32 v = 0;
    ASSERT_EQ(ci_readSensorRegisters(cam, CI_SFR_ADDR, 0x10, 1, &v), 0);
    EXPECT_EQ(v, 0x5Fu);
    EXPECT_EQ(bus.calls(), 0u);
}

TEST_F(Paged, DeviceRunsFillTheCacheJoiningSpannedRegisters) {
    bus.set(0x11, 0xB1, 1);
    bus.set(0x12, 0x1234, 1);
    bus.set(0x13, 0x5678, 1);
    ci_u32 vals[3];
    ASSERT_EQ(ci_readSensorRegisters(cam, 1, 0x11, 3, vals), 0);
    ci_u32 v = 0;
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("B1"), &v), 0);
    EXPECT_EQ(v, 0xB1u);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("WIDE1"), &v), 0);
    EXPECT_EQ(v, 0x12345678u);
    // A run that holds only the first word of WIDE1 leaves it alone.
    ci_InvalidateRegCacheRegName(cam, "WIDE1");
    ASSERT_EQ(ci_readSensorRegisters(cam, 1, 0x12, 1, vals), 0);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("WIDE1"), &v), 1);

    ci_u32 words[] = {0x0A0B, 0x0C0D};
    ASSERT_EQ(ci_writeSensorRegisters(cam, 1, 0x12, 2, words), 0);
    EXPECT_EQ(ci_GetRegCacheValueReg(cam, cam.reg("WIDE1"), &v), 0);
    EXPECT_EQ(v, 0x0A0B0C0Du);
    ci_u32 writeSpace = 0;
    ci_CurrentAddrSpace(cam, nullptr, &writeSpace);
    EXPECT_EQ(writeSpace, 1u);
}

// MCU access-state tracking by the writes and reads of the access registers.
SensorBuilder mcuSensor(ci_u32 model) {
    SensorBuilder b;
    b.model(model).widths(16, 16)
        .reg("ACCESS_CTL_STAT", 0x0982).reg("PHYSICAL_ADDR_ACCESS", 0x098A).reg("MCU_ADDRESS", 0x098C)
        .reg("PHYSICAL_ADDRESS_ACCESS", 0x098A).reg("LOGICAL_ADDRESS_ACCESS", 0x098E)
        .reg("ADVANCED_BASE", 0x0990, 0xFFFFFFFF);
    return b;
}

TEST(AccessState, Style44FollowsTheAccessRegisters) {
    TestCamera cam(mcuSensor(44));
    RecordingTransport bus(cam);
    ASSERT_EQ(ci_McuAddrStyle(cam), 44);
    _sg_context_t* sg = cam.context()->sg_context;
    ci_WriteSensorRegStr(cam, "ACCESS_CTL_STAT", nullptr, 0xC1);
    EXPECT_EQ(sg->current_phy_region, 3u);
    EXPECT_EQ(sg->current_phy_a15, 1u);
    ci_WriteSensorRegStr(cam, "MCU_ADDRESS", nullptr, 0x8C14);
    EXPECT_EQ(sg->current_access_logical, 1u);
    ci_WriteSensorRegStr(cam, "PHYSICAL_ADDR_ACCESS", nullptr, 0x1000);
    EXPECT_EQ(sg->current_access_logical, 0u);
    // A read of the control register: bit 2 clear means logical.
    bus.set(0x0982, 0x40);
    ci_u32 v;
    ci_ReadSensorRegStr(cam, "ACCESS_CTL_STAT", nullptr, &v);
    EXPECT_EQ(sg->current_access_logical, 1u);
    EXPECT_EQ(sg->current_phy_region, 1u);
    EXPECT_EQ(sg->current_phy_a15, 0u);
    bus.set(0x0982, 0x04);
    ci_ReadSensorRegStr(cam, "ACCESS_CTL_STAT", nullptr, &v);
    EXPECT_EQ(sg->current_access_logical, 0u);
}

TEST(AccessState, Style54UsesTheLogicalAndPhysicalRegisters) {
    TestCamera cam(mcuSensor(54));  // version 1: indirect style 54
    RecordingTransport bus(cam);
    const ci_u32& logical = cam.context()->sg_context->current_access_logical;
    for (const char* name : {"LOGICAL_ADDRESS_ACCESS", "MCU_ADDRESS", "PHYSICAL_ADDRESS_ACCESS", "MCU_ADDRESS"}) {
        ci_WriteSensorRegStr(cam, name, nullptr, 0x0C14);
    }
    EXPECT_EQ(logical, 0u);
    ci_WriteSensorRegStr(cam, "LOGICAL_ADDRESS_ACCESS", nullptr, 0x0C14);
    EXPECT_EQ(logical, 1u);
}

TEST(AccessState, InvalidationRefreshesFromTheDevice) {
    TestCamera cam(mcuSensor(44), [](ci_camera_t* c) { new RecordingTransport(c); });
    auto* bus = static_cast<RecordingTransport*>(cam.context()->transport_context);
    // The set-up invalidation already read the control register.
    ASSERT_EQ(bus->dataOps().size(), 1u);
    EXPECT_EQ(bus->dataOps()[0].addr, 0x0982u);
    bus->set(0x0982, 0x85);
    ci_InvalidateRegCache(cam);
    _sg_context_t* sg = cam.context()->sg_context;
    EXPECT_EQ(sg->current_phy_region, 2u);
    EXPECT_EQ(sg->current_phy_a15, 1u);
    EXPECT_EQ(sg->current_access_logical, 0u);
    delete bus;
}

TEST(AccessState, AdvancedBaseStyleTracksTheBase) {
    TestCamera cam(mcuSensor(CI_RESERVED_SENSOR43));
    RecordingTransport bus(cam);
    ASSERT_EQ(ci_McuAddrStyle(cam), 71);
    _sg_context_t* sg = cam.context()->sg_context;
    ci_WriteSensorRegStr(cam, "ADVANCED_BASE", nullptr, 0x1000);
    EXPECT_EQ(sg->current_adv_base, 0x1000u);
    bus.set(0x0990, 0x3000);
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(sg->current_adv_base, 0x3000u);
    // A failed refresh leaves the base unknown.
    bus.failAt(0x0990, CI_I2C_TIMEOUT, -1);
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(sg->current_adv_base, 0xFFFFFFFFu);
}

TEST(AccessState, FarAccessIsClosedForAdvancedBaseModels) {
    for (ci_u32 model : {71u, 103u, 110u, 111u, 44u}) {
        SensorBuilder b;
        b.model(model).reg("R", 0);
        TestCamera cam(b);
        ci_setMode(cam, CI_ALLOW_FAR_ACCESS, 1);
        _initialRegModes(cam);
        ci_u32 allow = 9;
        ci_getMode(cam, CI_ALLOW_FAR_ACCESS, &allow);
        EXPECT_EQ(allow, model == 44u ? 1u : 0u) << model;
    }
}

}  // namespace
