// MCU variables through every access style, checked in the simulated
// microcontroller's memory and in the register cache.
#include <gtest/gtest.h>

#include "mcu_sim.h"

namespace {

using Writes = std::vector<std::pair<ci_u32, ci_u32>>;
constexpr ci_u32 A = McuSim::kAddr, D = McuSim::kData;

std::vector<McuSim::Transfer> startingAt(const McuSim& sim, ci_u32 addr) {
    std::vector<McuSim::Transfer> out;
    for (const auto& t : sim.log()) {
        if (t.addr == addr && t.kind != McuSim::System) out.push_back(t);
    }
    return out;
}

TEST(McuStyle, FollowsSensorTypeVersionAndRegisters) {
    struct Case {
        ci_u32 type, version;
        const char* reg;
        ci_s32 direct, addr;
    };
    const Case cases[] = {{0, 1, "MCU_VARIABLE_DATA0", 55, 55}, {19, 1, "PHYSICAL_ADDR_ACCESS", 0, 44},
                          {0, 1, "MCU_DATA_0", 0, 16},         {0, 1, "OTHER", 0, 0},
                          {54, 1, "OTHER", 0, 54},             {54, 2, "OTHER", 55, 55},
                          {16, 1, "OTHER", 0, 16},             {62, 1, "OTHER", 0, 44},
                          {115, 1, "OTHER", 55, 55},           {110, 1, "OTHER", 71, 71},
                          {116, 1, "OTHER", 0, 0}};
    for (const Case& k : cases) {
        TestCamera cam(SensorBuilder().model(k.type).version(k.version).reg(k.reg, 0x10));
        EXPECT_EQ(ci_McuDirectStyle(cam), k.direct) << "type " << k.type;
        EXPECT_EQ(ci_McuAddrStyle(cam), k.addr) << "type " << k.type;
    }
}

TEST(McuStyle, DirectAccessModeOffTurnsAMappedSensorIndirect) {
    McuCamera c(55);
    ASSERT_EQ(ci_setMode(c, CI_DIRECT_VAR_ACCESS, 0), 0);
    EXPECT_EQ(ci_McuDirectStyle(c), 0);
    EXPECT_EQ(ci_McuAddrStyle(c), 54);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 2, 0x1234), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{A, 0x0C14}, {D, 0x1234}}));
    EXPECT_EQ(c.sim.var(3, 0x14, 2), 0x1234u);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteVar(c, 3, 0x15, 1, 0x7E), 0);  // only type 54 version 1 leaves byte access
    EXPECT_EQ(c.sim.writes(), (Writes{{A, 0x8C15}, {D, 0x7E00}}));
    EXPECT_EQ(c.sim.var(3, 0x14, 2), 0x127Eu);
}

// Driver 3, offset 0x14 through the address/data port of each indirect style.
TEST(McuVar, IndirectStylesAddressTheVariableAndMoveItsValue) {
    struct Case {
        int style;
        ci_u32 byteWord, wordWord, byteOnBus;
    };
    const Case cases[] = {{44, 0x8C14, 0x0C14, 0x5A}, {16, 0xA314, 0x2314, 0x5A}, {54, 0x8C14, 0x0C14, 0x5A00}};
    for (const Case& k : cases) {
        SCOPED_TRACE(k.style);
        McuCamera c(k.style);
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 1, 0x5A), 0);
        const Writes w = c.sim.writes();
        ASSERT_GE(w.size(), 2u);
        EXPECT_EQ(w[0], std::make_pair(A, k.byteWord));
        EXPECT_EQ(w[1], std::make_pair(D, k.byteOnBus));
        EXPECT_EQ(c.sim.var(3, 0x14, 1), 0x5Au);
        // Type 54 version 1 leaves byte access again; other sensors do not.
        const std::vector<ci_u32> addrWrites = c.sim.writesTo(A);
        EXPECT_EQ(addrWrites.size(), k.style == 54 ? 2u : 1u);
        EXPECT_EQ(addrWrites.back() & 0x8000, k.style == 54 ? 0u : 0x8000u);

        ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 2, 0xBEEF), 0);
        EXPECT_EQ(c.sim.writesTo(A).back(), k.wordWord);
        EXPECT_EQ(c.sim.var(3, 0x14, 2), 0xBEEFu);

        c.sim.setVar(3, 0x18, 1, 0xA5);
        EXPECT_EQ(c.readVar(3, 0x18, 1), 0xA5);
        EXPECT_EQ(c.readVar(3, 0x14, 0), 0xBEEF);  // width 0 means 2
    }
}

TEST(McuVar, FourBytesTravelAsTwoWordsThroughBothDataRegisters) {
    for (int style : {16, 44, 54}) {
        SCOPED_TRACE(style);
        McuCamera c(style);
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteVar(c, 1, 0x20, 4, 0x12345678), 0);
        const auto data = startingAt(c.sim, D);
        ASSERT_EQ(data.size(), 1u);
        EXPECT_EQ(data[0].values, (std::vector<ci_u32>{0x1234, 0x5678}));
        EXPECT_EQ(c.sim.var(1, 0x20, 4), 0x12345678u);
        EXPECT_EQ(c.cached(style == 54 ? "MCU_VARIABLE_DATA0" : "MCU_DATA_0"), 0x1234);  // the data registers follow
        EXPECT_EQ(c.cached(style == 54 ? "MCU_VARIABLE_DATA1" : "MCU_DATA_1"), 0x5678);
        c.sim.setVar(1, 0x30, 4, 0xCAFEF00D);
        EXPECT_EQ(c.readVar(1, 0x30, 4), 0xCAFEF00D);
    }
}

TEST(McuVar, ReadVarsReadsEveryWidthStepUpToTheEndOffset) {
    McuCamera c(44);
    for (ci_u32 o = 0; o < 12; o += 2) c.sim.setVar(2, o, 2, 0x1000 + o);
    struct Case {
        ci_u32 end;
        ci_s32 width;
        ci_u32 count;
    };
    for (const Case& k : {Case{8, 2, 4}, Case{7, 2, 4}, Case{9, 4, 3}, Case{0, 2, 0}}) {
        ci_u32 vals[6] = {0, 0, 0, 0, 0, 0xDEAD};
        c.sim.clearLog();
        ASSERT_EQ(ci_ReadVars(c, 2, 0, k.end, k.width, vals), 0);
        EXPECT_EQ(c.sim.writesTo(A).size(), k.count) << k.end;
        EXPECT_EQ(vals[5], 0xDEADu);
        if (k.width == 2 && k.count) {
            EXPECT_EQ(vals[k.count - 1], 0x1000 + 2 * (k.count - 1));
        }
    }
}

TEST(McuVar, MappedStyleWritesDirectlyAndSwitchesToLogicalOnlyWhenNeeded) {
    McuCamera c(55);
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x10, 2, 0), 0);  // leaves the window in physical state
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 2, 0xBEEF), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{A, 0x0C14}, {0x8C14, 0xBEEF}}));
    EXPECT_EQ(c.sim.var(3, 0x14, 2), 0xBEEFu);

    c.sim.clearLog();
    ASSERT_EQ(ci_WriteVar(c, 3, 0x15, 1, 0x7E), 0);
    ASSERT_EQ(ci_WriteVar(c, 3, 0x20, 4, 0x12345678), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{0x8C15, 0x7E}, {0x8C20, 0x12345678}}));
    EXPECT_EQ(c.sim.log()[0].bits, 8u);
    EXPECT_EQ(c.sim.log()[1].bits, 32u);
    EXPECT_EQ(c.readVar(3, 0x14, 2), 0xBE7E);
}

// The direct multi-read caches with a counter that steps by the width but
// indexes values by counter / width: only the first half of four words.
TEST(McuVar, MappedMultiReadCachesOnlyTheLeadingValues) {
    McuCamera c(55,
                McuSim::sensor(55).reg("W10", 0x10).in("VAR3").reg("W12", 0x12).in("VAR3")
                    .reg("W14", 0x14).in("VAR3").reg("W16", 0x16).in("VAR3"));
    for (ci_u32 i = 0; i < 4; ++i) c.sim.setVar(3, 0x10 + 2 * i, 2, 0xA0 + i);
    ci_u32 vals[4] = {};
    ASSERT_EQ(ci_ReadVars(c, 3, 0x10, 0x18, 2, vals), 0);
    EXPECT_EQ(vals[3], 0xA3u);
    EXPECT_EQ((std::vector<ci_s64>{c.cached("W10"), c.cached("W12"), c.cached("W14"), c.cached("W16")}),
              (std::vector<ci_s64>{0xA0, 0xA1, -1, -1}));
}

TEST(McuBurst, ThirtyThreeBytesGoAsTwoChunksAndASingleByte) {
    for (int style : {44, 16, 54}) {
        SCOPED_TRACE(style);
        McuCamera c(style);
        ci_u32 vals[33];
        for (ci_u32 i = 0; i < 33; ++i) vals[i] = 0x30 + 7 * i;
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteVarBurst(c, 2, 0x40, 33, 1, vals), 0);
        std::vector<ci_u32> offsets, sizes;
        for (ci_u32 word : c.sim.writesTo(A)) offsets.push_back(word & 0x1FF);
        for (const auto& t : startingAt(c.sim, D)) sizes.push_back((ci_u32)t.values.size());
        ASSERT_GE(offsets.size(), 3u);
        EXPECT_EQ(std::vector<ci_u32>(offsets.begin(), offsets.begin() + 3), (std::vector<ci_u32>{0x40, 0x50, 0x60}));
        EXPECT_EQ(sizes, (std::vector<ci_u32>{16, 16, 1}));
        for (ci_u32 i = 0; i < 33; ++i) ASSERT_EQ(c.sim.var(2, 0x40 + i, 1), vals[i] & 0xFF) << i;
    }
}

TEST(McuBurst, WordsAndQuadsFillWholeChunks) {
    McuCamera c(44);
    ci_u32 vals[9];
    for (ci_u32 i = 0; i < 9; ++i) vals[i] = 0x1111 * (i + 1);
    ASSERT_EQ(ci_WriteVarBurst(c, 1, 0x100, 9, 2, vals), 0);
    ASSERT_EQ(ci_WriteVarBurst(c, 1, 0x200, 5, 4, vals), 0);
    EXPECT_EQ(c.sim.writesTo(A), (std::vector<ci_u32>{0x0500, 0x0510, 0x0600, 0x0610}));
    for (ci_u32 i = 0; i < 9; ++i) EXPECT_EQ(c.sim.var(1, 0x100 + 2 * i, 2), vals[i]);
    for (ci_u32 i = 0; i < 5; ++i) EXPECT_EQ(c.sim.var(1, 0x200 + 4 * i, 4), vals[i]);

    McuCamera direct(55);
    direct.sim.clearLog();
    ASSERT_EQ(ci_WriteVarBurst(direct, 1, 0x100, 9, 2, vals), 0);
    ASSERT_EQ(startingAt(direct.sim, 0x8500).size(), 1u);
    EXPECT_EQ(direct.sim.var(1, 0x110, 2), vals[8]);
}

TEST(McuBurst, ReturnsTheLastChunksResultAndIgnoresTheOddByte) {
    McuCamera c(44);
    ci_u32 vals[33];
    for (ci_u32 i = 0; i < 33; ++i) vals[i] = i + 1;
    c.sim.failAt(D, CI_I2C_TIMEOUT);  // first chunk
    EXPECT_EQ(ci_WriteVarBurst(c, 2, 0x00, 33, 1, vals), 0);
    EXPECT_EQ(c.sim.var(2, 0x00, 1), 0u);
    EXPECT_EQ(c.sim.var(2, 0x10, 1), 17u);
    c.sim.failAt(D, CI_I2C_TIMEOUT, 1, 1);  // the odd byte after one chunk
    EXPECT_EQ(ci_WriteVarBurst(c, 2, 0x80, 17, 1, vals), 0);
    EXPECT_EQ(c.sim.var(2, 0x90, 1), 0u);
    c.sim.failAt(D, CI_I2C_TIMEOUT, 1, 1);  // the second, last chunk
    EXPECT_EQ(ci_WriteVarBurst(c, 2, 0xC0, 32, 1, vals), CI_I2C_TIMEOUT);
}

TEST(McuCache, WritesAreCachedAndBurstsInvalidateTheirWidthTimesCountRange) {
    McuCamera c(44,
                McuSim::sensor(44).reg("V40", 0x40, 0xFF).in("VAR2").reg("V50", 0x50, 0xFF).in("VAR2")
                    .reg("V61", 0x61, 0xFF).in("VAR2"));
    c.cam.useCache(1);
    ASSERT_EQ(ci_WriteVar(c, 2, 0x40, 1, 0x111), 0);  // the byte is cached, not the wider argument
    ASSERT_EQ(ci_WriteVar(c, 2, 0x50, 1, 0x22), 0);
    ASSERT_EQ(ci_WriteVar(c, 2, 0x61, 1, 0x33), 0);
    c.sim.clearLog();
    EXPECT_EQ(c.readVar(2, 0x40, 1), 0x11);
    EXPECT_EQ(c.sim.transfers(), 0u);

    ci_u32 vals[33] = {};
    ASSERT_EQ(ci_WriteVarBurst(c, 2, 0x40, 4, 0, vals), 0);  // width 0: nothing invalidated
    EXPECT_EQ(c.cached("V40"), 0x11);
    ASSERT_EQ(ci_WriteVarBurst(c, 2, 0x40, 33, 1, vals), 0);  // [0x40, 0x61)
    EXPECT_EQ((std::vector<ci_s64>{c.cached("V40"), c.cached("V50"), c.cached("V61")}),
              (std::vector<ci_s64>{-1, -1, 0x33}));

    c.cam.useCache(2);
    c.sim.clearLog();
    ci_u32 v = 7;
    EXPECT_EQ(ci_ReadVar(c, 2, 0x40, 1, &v), CI_CAMERA_ERROR);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(c.sim.transfers(), 0u);
}

TEST(McuVar, TransportSystemRegistersTakePrecedenceAndTheirResultIsFinal) {
    McuCamera c(44, McuSim::sensor(44).reg("V14", 0x14, 0xFFFF).in("VAR3"));
    c.sim.enableSystemRegisters(c);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 2, 0x1234), 0);
    ASSERT_EQ(c.sim.log().size(), 1u);
    const McuSim::Transfer& t = c.sim.log()[0];
    EXPECT_TRUE(t.kind == McuSim::System && t.type == CI_MCU_ADDR && t.space == 3 && t.bits == 16);
    EXPECT_EQ(c.sim.var(3, 0x14, 2), 0x1234u);
    EXPECT_EQ(c.cached("V14"), -1);
    c.sim.failAt(0x14, CI_I2C_TIMEOUT);
    c.sim.clearLog();
    EXPECT_EQ(c.readVar(3, 0x14, 2), -1);
    EXPECT_EQ(c.sim.log().size(), 1u);
}

TEST(McuVar, RefusesWhatTheSensorCannotDoWithoutTraffic) {
    McuCamera none(0);
    McuCamera noData(44, SensorBuilder().model(44).reg("MCU_ADDRESS", A));
    McuCamera advanced(71);
    ci_u32 v = 9;
    for (McuCamera* c : {&none, &noData, &advanced}) {
        c->sim.clearLog();
        EXPECT_EQ(ci_WriteVar(*c, 1, 0, 2, 1), CI_CAMERA_ERROR);
        EXPECT_EQ(ci_ReadVar(*c, 1, 0, 2, &v), CI_CAMERA_ERROR);
        EXPECT_EQ(v, 0u);
        EXPECT_EQ(c->sim.transfers(), 0u);
    }
    McuCamera ok(44);
    EXPECT_EQ(ci_WriteVar(ok, 1, 0, 3, 1), CI_CAMERA_ERROR);
    EXPECT_EQ(ci_ReadVar(nullptr, 1, 0, 2, &v), CI_CAMERA_ERROR);
}

}  // namespace
