// Special-function registers in every style, the advanced-base window's 4 KiB
// paging, and the indirect register port.
#include <gtest/gtest.h>

#include "mcu_sim.h"

namespace {

using Writes = std::vector<std::pair<ci_u32, ci_u32>>;
constexpr ci_u32 A = McuSim::kAddr, D = McuSim::kData, P = McuSim::kPhys, C = McuSim::kCtl;
constexpr ci_u32 ADV_HI = McuSim::kAdvBase, ADV_LO = McuSim::kAdvBase + 2;

TEST(McuSfr, IndirectStylesSelectThePhysicalAddress) {
    struct Case {
        int style;
        ci_u32 space, offset;
        int width;
        ci_u32 value;
        Writes traffic;
    };
    const Case cases[] = {{44, 0, 0x9234, 2, 0xCAFE, {{C, 1}, {P, 0x1234}, {D, 0xCAFE}}},
                          {44, 0, 0x0200, 4, 0x12345678, {{C, 0}, {P, 0x0200}, {D, 0x1234}}},
                          {54, 2, 0x0100, 1, 0x5A, {{C, 0x80}, {P, 0x8100}, {D, 0x5A00}}},
                          {16, 0, 0x0456, 1, 0x77, {{A, 0x8456}, {D, 0x77}}}};
    for (const Case& k : cases) {
        SCOPED_TRACE(k.style);
        McuCamera c(k.style);
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteSfr(c, k.space, k.offset, k.width, k.value), 0);
        const Writes w = c.sim.writes();
        ASSERT_GE(w.size(), k.traffic.size());
        EXPECT_EQ(Writes(w.begin(), w.begin() + (long)k.traffic.size()), k.traffic);
        EXPECT_EQ(c.sim.sfr(k.space, k.offset, k.width), k.value);
        c.sim.setSfr(k.space, k.offset, k.width, k.value ^ 0x11);
        EXPECT_EQ(c.readSfr(k.space, k.offset, k.width), k.value ^ 0x11);
        if (k.style == 54) {
            EXPECT_EQ(c.sim.writesTo(P).back() & 0x8000, 0u);  // byte access left again
        }
    }
}

TEST(McuSfr, BurstsChunkAtSixteenBytesWithTheControlWordEachTime) {
    McuCamera c(44);
    ci_u32 vals[19];
    for (ci_u32 i = 0; i < 19; ++i) vals[i] = 0x80 + i;
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSfrBurst(c, 0, 0x300, 19, 1, vals), 0);
    EXPECT_EQ(c.sim.writesTo(P), (std::vector<ci_u32>{0x8300, 0x8310, 0x8312}));
    EXPECT_EQ(c.sim.writesTo(C).size(), 3u);
    for (ci_u32 i = 0; i < 19; ++i) ASSERT_EQ(c.sim.sfr(0, 0x300 + i, 1), vals[i]);
}

TEST(McuSfr, MappedStyleSwitchesRegionAndStateOnlyWhenTheyDiffer) {
    McuCamera c(55);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSfr(c, 1, 0x8010, 2, 0xABCD), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{C, 0x41}, {P, 0x0010}, {0x8010, 0xABCD}}));
    EXPECT_EQ(c.sim.sfr(1, 0x8010, 2), 0xABCDu);

    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSfr(c, 1, 0x8020, 2, 0x1111), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{0x8020, 0x1111}}));

    ASSERT_EQ(ci_WriteVar(c, 0, 0, 2, 0), 0);  // back to logical state
    c.sim.clearLog();
    ci_u32 vals[2] = {};
    c.sim.setSfr(1, 0x8022, 2, 0x2222);
    ASSERT_EQ(ci_ReadSfrs(c, 1, 0x8020, 0x8024, 2, vals), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{P, 0x0020}}));
    EXPECT_EQ(vals[0], 0x1111u);
    EXPECT_EQ(vals[1], 0x2222u);

    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSfr(c, 2, 0x0010, 2, 0x3333), 0);  // other region, address bit 15 clear
    EXPECT_EQ(c.sim.writesTo(C), (std::vector<ci_u32>{0x80}));
    EXPECT_EQ(c.sim.sfr(2, 0x0010, 2), 0x3333u);
}

TEST(McuSfr, AdvancedBaseWindowPagesIn4KiB) {
    McuCamera c(71);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x1234, 2, 0xBEEF), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{ADV_HI, 0}, {ADV_LO, 0x1000}, {0xE234, 0xBEEF}}));
    EXPECT_EQ(c.sim.sfr(0, 0x1234, 2), 0xBEEFu);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x1236, 2, 0x0102), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{0xE236, 0x0102}}));

    for (ci_u32 i = 0; i < 8; ++i) c.sim.setSfr(0, 0x1FF8 + 4 * i, 4, 0x11110000 + i);
    ci_u32 vals[8] = {};
    c.sim.clearLog();
    ASSERT_EQ(ci_ReadSfrs(c, 0, 0x1FF8, 0x2018, 4, vals), 0);
    std::vector<McuSim::Transfer> reads;
    for (const auto& t : c.sim.log()) {
        if (t.kind == McuSim::Raw && !t.write) reads.push_back(t);
    }
    ASSERT_EQ(reads.size(), 2u);
    EXPECT_EQ(reads[0].addr, 0xEFF8u);
    EXPECT_EQ(reads[0].values.size(), 2u);
    EXPECT_EQ(reads[1].addr, 0xE000u);
    EXPECT_EQ(reads[1].values.size(), 6u);
    EXPECT_EQ(reads[1].bits, 32u);
    EXPECT_EQ(c.sim.writesTo(ADV_LO), (std::vector<ci_u32>{0x2000}));
    for (ci_u32 i = 0; i < 8; ++i) EXPECT_EQ(vals[i], 0x11110000 + i);

    for (ci_u32& v : vals) v = ~v;
    ASSERT_EQ(ci_WriteSfrBurst(c, 0, 0x2FF8, 8, 4, vals), 0);
    for (ci_u32 i = 0; i < 8; ++i) EXPECT_EQ(c.sim.sfr(0, 0x2FF8 + 4 * i, 4), vals[i]);

    c.sim.failAt(0xE000, CI_I2C_TIMEOUT);
    EXPECT_EQ(ci_ReadSfrs(c, 0, 0x1FF8, 0x2018, 4, vals), CI_I2C_TIMEOUT);
    c.sim.clearLog();
    EXPECT_EQ(ci_ReadSfr(c, 0, 0x1FFE, 4, vals), CI_CAMERA_ERROR);  // would run past the window
    EXPECT_EQ(c.sim.transfers(), 0u);
}

TEST(McuSfr, SuccessfulAccessesAreCachedPerSpace) {
    McuCamera c(55, McuSim::sensor(55).reg("S1", 0x8010, 0xFFFF).in("SFR1").reg("S2", 0x8010, 0xFFFF).in("SFR2"));
    c.cam.useCache(1);
    ASSERT_EQ(ci_WriteSfr(c, 1, 0x8010, 2, 0x1111), 0);
    ASSERT_EQ(ci_WriteSfr(c, 2, 0x8010, 2, 0x2222), 0);
    c.sim.clearLog();
    ci_u32 v = 0;
    ASSERT_EQ(ci_ReadSensorRegStr(c, "S1", "", &v), 0);
    EXPECT_EQ(v, 0x1111u);
    EXPECT_EQ(c.readSfr(2, 0x8010, 2), 0x2222);
    EXPECT_EQ(c.sim.transfers(), 0u);
}

TEST(McuInd, PortWithEitherNamingAndTheSwappedCacheProbe) {
    for (bool alternative : {false, true}) {
        SensorBuilder b = McuSim::sensor(16);
        McuSim::addIndirect(b, alternative);
        McuCamera c(16, b);
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteInd(c, 0x42, 0x1234), 0);
        EXPECT_EQ(c.sim.writes(), (Writes{{McuSim::kIndAddr, 0x42}, {McuSim::kIndData, 0x1234}}));
        EXPECT_EQ(c.sim.ind(0x42), 0x1234u);
        c.sim.setInd(0x43, 0x5678);
        ci_u32 vals[2] = {};
        ASSERT_EQ(ci_ReadInds(c, 0x42, 0x44, vals), 0);
        EXPECT_EQ(vals[1], 0x5678u);
        EXPECT_EQ(c.sim.log().back().addr, alternative ? McuSim::kIndRead : McuSim::kIndData);
    }

    SensorBuilder b = McuSim::sensor(16);
    McuSim::addIndirect(b, false);
    b.reg("PLAIN42", 0x42);
    McuCamera c(16, b);
    c.cam.useCache(1);
    ASSERT_EQ(ci_WriteInd(c, 0x42, 0x1111), 0);
    c.sim.setInd(0x42, 0x9999);
    ci_u32 v = 0;
    ASSERT_EQ(ci_ReadInd(c, 0x42, &v), 0);
    EXPECT_EQ(v, 0x9999u);  // the indirect entry is never probed by address
    ASSERT_EQ(ci_WriteSensorRegStr(c, "PLAIN42", "", 0x7777), 0);
    c.sim.clearLog();
    ASSERT_EQ(ci_ReadInd(c, 0x42, &v), 0);
    EXPECT_EQ(v, 0x7777u);  // ... but a plain register at that address answers
    EXPECT_EQ(c.sim.transfers(), 0u);

    McuCamera none(16);
    EXPECT_EQ(ci_WriteInd(none, 1, 1), CI_CAMERA_ERROR);
    EXPECT_EQ(ci_ReadInd(none, 1, &v), CI_CAMERA_ERROR);
}

}  // namespace
