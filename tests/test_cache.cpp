// The register cache: validity and volatile marks, invalidation, array-imager
// stores, the address-space selector values kept as cache entries, and the
// MCU access state reset with it.
#include <gtest/gtest.h>

#include "recording_transport.h"
#include "sensor_builder.h"

namespace {

using Words = std::vector<ci_u32>;
using Cached = std::vector<ci_s64>;

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

    void read(const char* name) {
        ci_u32 v = 0;
        EXPECT_EQ(ci_ReadSensorRegStr(cam, name, nullptr, &v), 0) << name;
    }
    // Selector writes as address << 16 | value.
    Words selectorWrites() const {
        Words out;
        for (const BusOp& op : bus.selectorOps()) out.push_back((op.addr << 16) | op.values[0]);
        return out;
    }
    Words currentSpaces() {
        ci_u32 readSpace = 9, writeSpace = 9;
        EXPECT_EQ(ci_CurrentAddrSpace(cam, &readSpace, &writeSpace), 0);
        return {readSpace, writeSpace};
    }
};

TEST_F(Paged, SelectorIsWrittenOncePerRunOfOneSpaceWhenCaching) {
    cam.useCache(1);
    for (const char* name : {"A1", "B1", "A0"}) read(name);
    ci_WriteSensorRegStr(cam, "B1", nullptr, 5);
    ci_WriteSensorRegStr(cam, "A1", nullptr, 6);
    EXPECT_EQ(selectorWrites(), (Words{0x3E0001, 0x3E0000, 0x3F0001}));
    EXPECT_EQ(currentSpaces(), (Words{0, 1}));
    cam.useCache(0);
    bus.clear();
    read("A1");
    read("B1");
    EXPECT_EQ(selectorWrites(), (Words{0x3E0001, 0x3E0001}));
}

TEST_F(Paged, InvalidationForgetsTheSelectorValuesAFailedWriteKeepsThem) {
    cam.useCache(1);
    read("A1");
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(cam), 1u);
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(cam), 0xFFFFFFFFu);
    EXPECT_EQ(_GetCachedWriteAddrSpaceValue(cam), 0xFFFFFFFFu);
    bus.clear();
    read("B1");
    EXPECT_EQ(selectorWrites(), (Words{0x3E0001}));
    bus.failAt(0x3E, CI_I2C_TIMEOUT, 1);
    _getRegisterLock(cam);
    _updateAddrSpace(cam, 2, 1);
    _releaseRegisterLock(cam);
    EXPECT_EQ(cam.cached("SEL_READ"), 2);
}

TEST(SelectorValues, SpacesWithoutSelectorRegistersAreNeverElided) {
    TestCamera cam(
        SensorBuilder().widths(8, 16).selectors(0x3E, 0).space("P0", 0).space("P1", 1).reg("A1", 0x10).in("P1"));
    RecordingTransport bus(cam);
    cam.useCache(1);
    ci_u32 v;
    ci_ReadSensorRegStr(cam, "A1", nullptr, &v);
    ci_InvalidateRegCacheRegName(cam, "A1");
    ci_ReadSensorRegStr(cam, "A1", nullptr, &v);
    ci_WriteSensorRegStr(cam, "A1", nullptr, 1);  // no write selector: selects nothing
    EXPECT_EQ(bus.selectorOps().size(), 2u);
}

TEST(SelectorValues, ArrayImagerSelectsByBitMap) {
    TestCamera cam(pagedSensor(CI_ARRAY_IMAGER_SENSOR));
    RecordingTransport bus(cam);
    _getRegisterLock(cam);
    for (ci_u32 space : {0x0Cu, 0u}) {
        _updateAddrSpace(cam, space, 1);
        _updateAddrSpace(cam, space, 0);
    }
    _updateAddrSpace(cam, 0x10000, 1);
    _releaseRegisterLock(cam);
    const std::vector<BusOp>& ops = bus.ops();
    ASSERT_EQ(ops.size(), 2u);
    EXPECT_EQ((Words{ops[0].addr, ops[0].values[0], ops[1].addr, ops[1].values[0]}), (Words{0x3E, 2, 0x3F, 0x0C}));
    EXPECT_EQ(ops[0].dataBits, 16);
    EXPECT_EQ(_GetCachedReadAddrSpaceValue(cam), 2u);
}

TEST(ArrayImager, StoreByRecordFillsEverySpaceOfItsBitMap) {
    TestCamera cam(SensorBuilder().model(CI_ARRAY_IMAGER_SENSOR).selectors(0x3E, 0x3F).space("S0", 0)
                       .space("S1", 1).space("S4", 4).space("S5", 5).space("ALL", 0xFFFF)
                       .reg("R1", 0x20).in("S1").reg("R4", 0x20).in("S4").reg("R5", 0x20).in("S5")
                       .reg("RALL", 0x20).in("ALL").reg("R0", 0x20).in("S0"));
    auto entries = [&cam] { return Cached{cam.cached("R1"), cam.cached("R4"), cam.cached("R5"), cam.cached("RALL")}; };
    EXPECT_EQ(_SetRegCacheValueReg(cam, cam.reg("R5"), 0x77), 5);
    EXPECT_EQ(entries(), (Cached{0x77, 0x77, -1, -1}));
    EXPECT_EQ(_SetRegCacheValueReg(cam, cam.reg("RALL"), 0x99), 0xFFFF);
    EXPECT_EQ(entries(), (Cached{0x99, 0x99, -1, 0x99}));
    EXPECT_EQ(_SetRegCacheValueReg(cam, cam.reg("R0"), 0x11), 4);  // space 0 is no bit: its own index
}

TEST(Volatile, StoredButNeverServed) {
    TestCamera cam(SensorBuilder().reg("STATUS", 0x01).volatileReg().reg("INDIRECT_DATA", 0x02).reg("PLAIN", 0x03)
                       .reg("LATER", 0x04));
    RecordingTransport bus(cam);
    {
        LogCapture log;
        ci_SetVolatileRegStr(cam, "NOT_THERE");  // ignored silently
        EXPECT_EQ(log.text().find("NOT_THERE"), std::string::npos);
    }
    ci_SetVolatileRegStr(cam, "later");
    cam.useCache(1);
    for (const char* name : {"STATUS", "INDIRECT_DATA", "LATER", "PLAIN"}) {
        ASSERT_EQ(ci_WriteSensorRegStr(cam, name, nullptr, 0x20), 0);
        bus.set(cam.reg(name)->reg_addr, 0x30);
        bus.clear();
        ci_u32 v = 0;
        ci_ReadSensorRegStr(cam, name, nullptr, &v);
        const bool isVolatile = std::string(name) != "PLAIN";
        EXPECT_EQ(v, isVolatile ? 0x30u : 0x20u) << name;
        EXPECT_EQ(bus.calls(), isVolatile ? 1u : 0u) << name;
        const ci_s32 index = _getRegIndex(cam, name);
        ci_u32 raw = 0;  // stored either way
        EXPECT_EQ(_GetRegCacheValueI(cam, index, &raw), isVolatile ? -1 : index);
        EXPECT_EQ(raw, isVolatile ? 0x30u : 0x20u) << name;
    }
}

TEST(Invalidation, SingleEntriesOrEverythingWithTheAccessState) {
    TestCamera cam(SensorBuilder().reg("R0", 0).reg("R1", 1));
    auto both = [&cam] { return Cached{cam.cached("R0"), cam.cached("R1")}; };
    _SetRegCacheValueI(cam, 0, 1);
    _SetRegCacheValueI(cam, 1, 2);
    ci_InvalidateRegCacheRegName(cam, "r1");
    ci_reg_data_t outside = *cam.reg("R0");
    ci_InvalidateRegCacheReg(cam, &outside);  // not one of the description's records
    EXPECT_EQ(both(), (Cached{1, -1}));
    ci_InvalidateRegCacheReg(cam, cam.reg("R0"));
    EXPECT_EQ(both(), (Cached{-1, -1}));

    _SetRegCacheValueI(cam, 0, 1);
    _SetRegCacheValueI(cam, 1, 2);
    _sg_context_t* sg = cam.context()->sg_context;
    sg->current_access_logical = sg->current_phy_region = sg->current_phy_a15 = sg->current_adv_base = 0;
    LogCapture log(CI_LOG_SHIP);
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(both(), (Cached{-1, -1}));
    EXPECT_EQ(sg->current_access_logical & sg->current_phy_region & sg->current_phy_a15 & sg->current_adv_base,
              0xFFFFFFFFu);
    EXPECT_NE(log.text().find("SHIP: Invalidate sensor register cache"), std::string::npos) << log.text();
}

// Stores every entry, invalidates the range and lists the entries left.
std::string leftAfterRange(const SensorBuilder& b, ci_addr_type type, ci_u32 space) {
    TestCamera cam(b);
    const ci_sensor_t* s = cam.sensor();
    for (ci_s32 i = 0; i < s->num_regs; ++i) _SetRegCacheValueI(cam, i, 1);
    _InvalidateRegCacheRange(cam, type, space, 0x10, 0x14);
    std::string out;
    for (ci_s32 i = 0; i < s->num_regs; ++i) {
        if (cam.cached(s->regs[i].unique_desc) >= 0) out += std::string(s->regs[i].unique_desc) + " ";
    }
    return out;
}

TEST(Invalidation, RangeOfOneSpaceOrOfAllTypes) {
    SensorBuilder spaced;
    spaced.selectors(0x3E, 0x3F).space("V1", 1, CI_MCU_ADDR).space("V2", 2, CI_MCU_ADDR).space("S1", 1, CI_SFR_ADDR)
        .reg("V1_LOW", 0x0F).in("V1").reg("V1_IN", 0x10).in("V1").reg("V1_END", 0x14).in("V1")
        .reg("V2_IN", 0x10).in("V2").reg("S1_IN", 0x12).in("S1");
    EXPECT_EQ(leftAfterRange(spaced, CI_MCU_ADDR, 1), "V1_LOW V1_END V2_IN S1_IN ");
    SensorBuilder flat;
    flat.reg("LOW", 0x0F).reg("IN", 0x10).reg("IN2", 0x13).reg("END", 0x14);
    EXPECT_EQ(leftAfterRange(flat, CI_SFR_ADDR, 7), "LOW END ");
}

TEST(CacheEntries, OutOfRangeOrMissingEntriesAreRefused) {
    TestCamera cam(SensorBuilder().reg("R0", 0).reg("R1", 1));
    ci_u32 v = 0xAB;
    EXPECT_EQ(_SetRegCacheValueI(cam, 2, 1), -1);
    EXPECT_EQ(_SetRegCacheValueI(cam, -1, 1), -1);
    EXPECT_EQ(_GetRegCacheValueI(cam, 2, &v), -1);
    EXPECT_EQ(v, 0xABu);
    EXPECT_EQ(_SetRegCacheValueAddr(cam, CI_REG_ADDR, 0, 1, 0x55), 1);
    EXPECT_EQ(_GetRegCacheValueAddr(cam, CI_REG_ADDR, 0, 1, &v), 1);
    EXPECT_EQ(v, 0x55u);
    EXPECT_DEATH(_init_reg_cache(cam), "common_context->reg_cache == \\(\\(void \\*\\)0\\)");

    TestCamera none{SensorBuilder()};
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
    // none, and the device is read although C2 is cached; C2 takes the value.
    bus.set(0x10, 0x52, 2);
    ASSERT_EQ(ci_readSensorRegisters(cam, 2, 0x10, 1, &v), 0);
    EXPECT_EQ(v, 0x52u);
    EXPECT_EQ(bus.dataOps().size(), 1u);
    EXPECT_EQ(currentSpaces()[0], 2u);
    EXPECT_EQ(cam.cached("C2"), 0x52);

    TestCamera withSfr(pagedSensor().reg("SFR_AT_10", 0x10).in("SFR0"));
    RecordingTransport sfrBus(withSfr);
    withSfr.useCache(1);
    _SetRegCacheValueReg(withSfr, withSfr.reg("SFR_AT_10"), 0x5F);
    ASSERT_EQ(ci_readSensorRegisters(withSfr, CI_SFR_ADDR, 0x10, 1, &v), 0);
    EXPECT_EQ(v, 0x5Fu);
    EXPECT_EQ(sfrBus.calls(), 0u);
}

TEST_F(Paged, DeviceRunsFillTheCacheJoiningSpannedRegisters) {
    bus.set(0x11, 0xB1, 1);
    bus.set(0x12, 0x1234, 1);
    bus.set(0x13, 0x5678, 1);
    ci_u32 vals[3];
    ASSERT_EQ(ci_readSensorRegisters(cam, 1, 0x11, 3, vals), 0);
    EXPECT_EQ((Cached{cam.cached("B1"), cam.cached("WIDE1")}), (Cached{0xB1, 0x12345678}));
    // A run that holds only the first word of WIDE1 leaves it alone.
    ci_InvalidateRegCacheRegName(cam, "WIDE1");
    ASSERT_EQ(ci_readSensorRegisters(cam, 1, 0x12, 1, vals), 0);
    EXPECT_EQ(cam.cached("WIDE1"), -1);
    ci_u32 words[] = {0x0A0B, 0x0C0D};
    ASSERT_EQ(ci_writeSensorRegisters(cam, 1, 0x12, 2, words), 0);
    EXPECT_EQ(cam.cached("WIDE1"), 0x0A0B0C0D);
    EXPECT_EQ(currentSpaces()[1], 1u);
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

// (logical, region, address bit 15) as last seen.
Words accessState(TestCamera& cam) {
    const _sg_context_t* sg = cam.context()->sg_context;
    return {sg->current_access_logical, sg->current_phy_region, sg->current_phy_a15};
}

TEST(AccessState, Style44FollowsTheAccessRegistersAndRefreshesOnInvalidation) {
    TestCamera cam(mcuSensor(44));
    RecordingTransport bus(cam);
    ci_WriteSensorRegStr(cam, "ACCESS_CTL_STAT", nullptr, 0xC1);
    ci_WriteSensorRegStr(cam, "MCU_ADDRESS", nullptr, 0x8C14);
    EXPECT_EQ(accessState(cam), (Words{1, 3, 1}));
    ci_WriteSensorRegStr(cam, "PHYSICAL_ADDR_ACCESS", nullptr, 0x1000);
    EXPECT_EQ(accessState(cam)[0], 0u);
    bus.set(0x0982, 0x40);  // a read of the control register: bit 2 clear means logical
    ci_u32 v;
    ci_ReadSensorRegStr(cam, "ACCESS_CTL_STAT", nullptr, &v);
    EXPECT_EQ(accessState(cam), (Words{1, 1, 0}));
    bus.set(0x0982, 0x85);
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(accessState(cam), (Words{0, 2, 1}));
}

TEST(AccessState, Style54UsesTheLogicalAndPhysicalRegisters) {
    TestCamera cam(mcuSensor(54));  // version 1: indirect style 54
    RecordingTransport bus(cam);
    for (const char* name : {"LOGICAL_ADDRESS_ACCESS", "MCU_ADDRESS", "PHYSICAL_ADDRESS_ACCESS", "MCU_ADDRESS"}) {
        ci_WriteSensorRegStr(cam, name, nullptr, 0x0C14);
    }
    EXPECT_EQ(accessState(cam)[0], 0u);
    ci_WriteSensorRegStr(cam, "LOGICAL_ADDRESS_ACCESS", nullptr, 0x0C14);
    EXPECT_EQ(accessState(cam)[0], 1u);
}

TEST(AccessState, AdvancedBaseStyleTracksTheBase) {
    TestCamera cam(mcuSensor(CI_RESERVED_SENSOR43));
    RecordingTransport bus(cam);
    ASSERT_EQ(ci_McuAddrStyle(cam), 71);
    const ci_u32& base = cam.context()->sg_context->current_adv_base;
    ci_WriteSensorRegStr(cam, "ADVANCED_BASE", nullptr, 0x1000);
    EXPECT_EQ(base, 0x1000u);
    bus.set(0x0990, 0x3000);
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(base, 0x3000u);
    bus.failAt(0x0990, CI_I2C_TIMEOUT, -1);  // a failed refresh leaves the base unknown
    ci_InvalidateRegCache(cam);
    EXPECT_EQ(base, 0xFFFFFFFFu);
}

TEST(AccessState, FarAccessIsClosedForAdvancedBaseModels) {
    for (ci_u32 model : {71u, 103u, 110u, 111u, 44u}) {
        TestCamera cam(SensorBuilder().model(model).reg("R", 0));
        ci_setMode(cam, CI_ALLOW_FAR_ACCESS, 1);
        _initialRegModes(cam);
        ci_u32 allow = 9;
        ci_getMode(cam, CI_ALLOW_FAR_ACCESS, &allow);
        EXPECT_EQ(allow, model == 44u ? 1u : 0u) << model;
    }
}

}  // namespace
