// MCU variables and SFRs through the access styles, checked in the simulated
// microcontroller's memory and in the register cache.
#include <gtest/gtest.h>

#include "mcu_sim.h"

namespace {

using Writes = std::vector<std::pair<ci_u32, ci_u32>>;
using Words = std::vector<ci_u32>;
constexpr ci_u32 A = McuSim::kAddr, D = McuSim::kData;

// Sizes of the runs into the data port.
Words portRuns(const McuSim& sim) {
    Words out;
    for (const auto& t : sim.log()) {
        if (t.write && t.addr == D) out.push_back((ci_u32)t.values.size());
    }
    return out;
}

// Driver 3, offset 0x14 through the address/data port of each indirect style.
TEST(McuVar, IndirectStylesAddressTheVariableAndMoveItsValue) {
    struct Case {
        int style;
        ci_u32 byteWord, wordWord, byteOnBus;
    };
    for (const Case k : {Case{44, 0x8C14, 0x0C14, 0x5A}, Case{16, 0xA314, 0x2314, 0x5A},
                         Case{54, 0x8C14, 0x0C14, 0x5A00}}) {
        SCOPED_TRACE(k.style);
        McuCamera c(k.style);
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 1, 0x5A), 0);
        const Writes w = c.sim.writes();
        ASSERT_GE(w.size(), 2u);
        EXPECT_EQ(Writes(w.begin(), w.begin() + 2), (Writes{{A, k.byteWord}, {D, k.byteOnBus}}));
        EXPECT_EQ(c.sim.var(3, 0x14, 1), 0x5Au);
        ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 2, 0xBEEF), 0);
        EXPECT_EQ(c.sim.writesTo(A).back(), k.wordWord);
        c.sim.setVar(3, 0x18, 1, 0xA5);
        EXPECT_EQ(c.readVar(3, 0x18, 1), 0xA5);
    }
}

TEST(McuVar, FourBytesTravelAsTwoWords) {
    for (int style : {16, 44, 54}) {
        SCOPED_TRACE(style);
        McuCamera c(style);
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteVar(c, 1, 0x20, 4, 0x12345678), 0);
        EXPECT_EQ(c.sim.writesTo(D), (Words{0x1234, 0x5678}));
        EXPECT_EQ(c.sim.var(1, 0x20, 4), 0x12345678u);
        c.sim.setVar(1, 0x30, 4, 0xCAFEF00D);
        EXPECT_EQ(c.readVar(1, 0x30, 4), 0xCAFEF00D);
    }
}

TEST(McuVar, MappedStyleWritesDirectlyAndSwitchesToLogicalOnlyWhenNeeded) {
    McuCamera c(55);
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x10, 2, 0), 0);  // leaves the window in physical state
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteVar(c, 3, 0x14, 2, 0xBEEF), 0);
    ASSERT_EQ(ci_WriteVar(c, 3, 0x15, 1, 0x7E), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{A, 0x0C14}, {0x8C14, 0xBEEF}, {0x8C15, 0x7E}}));
    EXPECT_EQ(c.sim.var(3, 0x14, 2), 0xBE7Eu);
}

TEST(McuSfr, AdvancedBaseWindowPagesIn4KiB) {
    McuCamera c(71);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x1234, 2, 0xBEEF), 0);
    EXPECT_EQ(c.sim.writes(), (Writes{{McuSim::kAdvBase, 0}, {McuSim::kAdvBase + 2, 0x1000}, {0xE234, 0xBEEF}}));
    EXPECT_EQ(c.sim.sfr(0, 0x1234, 2), 0xBEEFu);

    for (ci_u32 i = 0; i < 8; ++i) c.sim.setSfr(0, 0x1FF8 + 4 * i, 4, 0x11110000 + i);
    ci_u32 vals[8] = {};
    c.sim.clearLog();
    ASSERT_EQ(ci_ReadSfrs(c, 0, 0x1FF8, 0x2018, 4, vals), 0);
    Words reads;  // (first window address, values) of each read
    for (const auto& t : c.sim.log()) {
        if (!t.write) reads.insert(reads.end(), {t.addr, (ci_u32)t.values.size()});
    }
    EXPECT_EQ(reads, (Words{0xEFF8, 2, 0xE000, 6}));
    for (ci_u32 i = 0; i < 8; ++i) EXPECT_EQ(vals[i], 0x11110000 + i);
}

TEST(McuBurst, ThirtyThreeBytesGoAsTwoChunksAndASingleByte) {
    for (int style : {44, 16, 54}) {
        SCOPED_TRACE(style);
        McuCamera c(style);
        ci_u32 vals[33];
        for (ci_u32 i = 0; i < 33; ++i) vals[i] = 0x30 + 7 * i;
        c.sim.clearLog();
        ASSERT_EQ(ci_WriteVarBurst(c, 2, 0x40, 33, 1, vals), 0);
        EXPECT_EQ(portRuns(c.sim), (Words{16, 16, 1}));
        for (ci_u32 i = 0; i < 33; ++i) ASSERT_EQ(c.sim.var(2, 0x40 + i, 1), vals[i] & 0xFF) << i;
    }
}

TEST(McuCache, BurstsInvalidateTheirWidthTimesCountRange) {
    McuCamera c(44, McuSim::sensor(44).reg("V40", 0x40, 0xFF).in("VAR2").reg("V50", 0x50, 0xFF).in("VAR2")
                        .reg("V61", 0x61, 0xFF).in("VAR2"));
    c.cam.useCache(1);
    ASSERT_EQ(ci_WriteVar(c, 2, 0x40, 1, 0x11), 0);
    ASSERT_EQ(ci_WriteVar(c, 2, 0x50, 1, 0x22), 0);
    ASSERT_EQ(ci_WriteVar(c, 2, 0x61, 1, 0x33), 0);
    ci_u32 vals[33] = {};
    ASSERT_EQ(ci_WriteVarBurst(c, 2, 0x40, 33, 1, vals), 0);  // [0x40, 0x61)
    EXPECT_EQ((std::vector<ci_s64>{c.cached("V40"), c.cached("V50"), c.cached("V61")}),
              (std::vector<ci_s64>{-1, -1, 0x33}));
}

}  // namespace
