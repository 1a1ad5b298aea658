// The register cache: address-space selector values, array-imager stores,
// volatile registers and invalidation.
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
        .space("P0", 0).space("P1", 1)
        .reg("SEL_READ", 0x3E).in("P0")
        .reg("SEL_WRITE", 0x3F).in("P0")
        .reg("A0", 0x10).in("P0")
        .reg("A1", 0x10).in("P1")
        .reg("B1", 0x11).in("P1");
    return b;
}

// Selector writes (or all calls) as address << 16 | value.
Words selectorWrites(const RecordingTransport& bus, bool all = false) {
    Words out;
    for (const BusOp& op : all ? bus.ops() : bus.selectorOps()) out.push_back((op.addr << 16) | op.values[0]);
    return out;
}

TEST(SelectorValues, WrittenOncePerRunOfOneSpaceAndAgainAfterInvalidation) {
    TestCamera cam(pagedSensor());
    RecordingTransport bus(cam);
    cam.useCache(1);
    ci_u32 v = 0;
    for (const char* name : {"A1", "B1", "A0"}) ci_ReadSensorRegStr(cam, name, nullptr, &v);
    ci_WriteSensorRegStr(cam, "B1", nullptr, 5);
    ci_WriteSensorRegStr(cam, "A1", nullptr, 6);
    EXPECT_EQ(selectorWrites(bus), (Words{0x3E0001, 0x3E0000, 0x3F0001}));
    ci_InvalidateRegCache(cam);
    bus.clear();
    ci_ReadSensorRegStr(cam, "A0", nullptr, &v);
    EXPECT_EQ(selectorWrites(bus), (Words{0x3E0000}));
}

TEST(ArrayImager, SelectsAndStoresByBitMap) {
    TestCamera cam(pagedSensor(CI_ARRAY_IMAGER_SENSOR));
    RecordingTransport bus(cam);
    _getRegisterLock(cam);
    for (ci_u32 space : {0x0Cu, 0u}) {
        _updateAddrSpace(cam, space, 1);
        _updateAddrSpace(cam, space, 0);
    }
    _releaseRegisterLock(cam);
    EXPECT_EQ(selectorWrites(bus, true), (Words{0x3E0002, 0x3F000C}));

    TestCamera map(SensorBuilder().model(CI_ARRAY_IMAGER_SENSOR).selectors(0x3E, 0x3F).space("S1", 1)
                       .space("S4", 4).space("S5", 5).space("ALL", 0xFFFF)
                       .reg("R1", 0x20).in("S1").reg("R4", 0x20).in("S4").reg("R5", 0x20).in("S5")
                       .reg("RALL", 0x20).in("ALL"));
    auto entries = [&map] { return Cached{map.cached("R1"), map.cached("R4"), map.cached("R5"), map.cached("RALL")}; };
    _SetRegCacheValueReg(map, map.reg("R5"), 0x77);
    EXPECT_EQ(entries(), (Cached{0x77, 0x77, -1, -1}));
    _SetRegCacheValueReg(map, map.reg("RALL"), 0x99);
    EXPECT_EQ(entries(), (Cached{0x99, 0x99, -1, 0x99}));
}

TEST(Volatile, StoredButNeverServed) {
    TestCamera cam(SensorBuilder().reg("STATUS", 0x01).volatileReg().reg("INDIRECT_DATA", 0x02).reg("PLAIN", 0x03)
                       .reg("LATER", 0x04));
    RecordingTransport bus(cam);
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
    }
}

TEST(Invalidation, RangeOfOneSpaceOrOfAllTypes) {
    SensorBuilder spaced;
    spaced.selectors(0x3E, 0x3F).space("V1", 1, CI_MCU_ADDR).space("V2", 2, CI_MCU_ADDR).space("S1", 1, CI_SFR_ADDR)
        .reg("V1_LOW", 0x0F).in("V1").reg("V1_IN", 0x10).in("V1").reg("V1_END", 0x14).in("V1")
        .reg("V2_IN", 0x10).in("V2").reg("S1_IN", 0x12).in("S1");
    SensorBuilder flat;
    flat.reg("LOW", 0x0F).reg("IN", 0x10).reg("IN2", 0x13).reg("END", 0x14);
    struct Case {
        const SensorBuilder* sensor;
        ci_addr_type type;
        ci_u32 space;
        std::string left;
    };
    for (const Case& k : {Case{&spaced, CI_MCU_ADDR, 1, "V1_LOW V1_END V2_IN S1_IN "},
                          Case{&flat, CI_SFR_ADDR, 7, "LOW END "}}) {
        TestCamera cam(*k.sensor);
        const ci_sensor_t* s = cam.sensor();
        for (ci_s32 i = 0; i < s->num_regs; ++i) _SetRegCacheValueI(cam, i, 1);
        _InvalidateRegCacheRange(cam, k.type, k.space, 0x10, 0x14);
        std::string left;
        for (ci_s32 i = 0; i < s->num_regs; ++i) {
            if (cam.cached(s->regs[i].unique_desc) >= 0) left += std::string(s->regs[i].unique_desc) + " ";
        }
        EXPECT_EQ(left, k.left);
    }
}

}  // namespace
