// Plain registers that show MCU memory: the mapped windows of styles 55 and
// 71 and the data port of the indirect styles.
#include <gtest/gtest.h>

#include <cstring>

#include "mcu_sim.h"

namespace {

TEST(McuAlias, MappedWindowFollowsTheLogicalOrPhysicalState) {
    McuCamera c(55, McuSim::sensor(55).reg("B14", 0x14, 0xFF).in("VAR3").reg("S8010", 0x8010, 0xFFFF).in("SFR1"));
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x8C14, 0, CI_REG_ADDR), c.cam.reg("B14"));
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x0C14, 0, CI_REG_ADDR), nullptr);
    // A write through the window moves the variable's own width and is cached as the variable.
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSensorRegAddr(c, CI_REG_ADDR, 0, 0x8C14, 0, 0x5A), 0);
    ASSERT_EQ(c.sim.log().size(), 1u);
    EXPECT_EQ(c.sim.log()[0].bits, 8u);
    EXPECT_EQ(c.sim.var(3, 0x14, 1), 0x5Au);
    EXPECT_EQ(c.cached("B14"), 0x5A);

    ASSERT_EQ(ci_WriteSfr(c, 1, 0x8000, 2, 0), 0);  // physical, region 1, address bit 15 set
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x8010, 0, CI_REG_ADDR), c.cam.reg("S8010"));
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x8C14, 0, CI_REG_ADDR), nullptr);
}

TEST(McuAlias, AdvancedBaseWindowShowsTheCurrentPage) {
    McuCamera c(71, McuSim::sensor(71).reg("S1234", 0x1234, 0xFFFF).in("SFR0"));
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x1000, 2, 0), 0);
    EXPECT_EQ(ci_FindRegisterAddr(c, 0xE234, 0, CI_REG_ADDR), c.cam.reg("S1234"));
    ASSERT_EQ(ci_WriteSensorRegAddr(c, CI_REG_ADDR, 0, 0xE234, 0, 0xBEEF), 0);
    EXPECT_EQ(c.cached("S1234"), 0xBEEF);
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x2000, 2, 0), 0);  // another page: no longer shown
    EXPECT_EQ(ci_FindRegisterAddr(c, 0xE234, 0, CI_REG_ADDR), nullptr);
}

// Writes of the address and data registers by name (as presets do) update
// the cached variables behind the auto-incrementing port.
TEST(McuAlias, DataPortWritesUpdateTheVariablesItPointsAt) {
    McuCamera c(44, McuSim::sensor(44).reg("V14", 0x14).in("VAR3").reg("V16", 0x16).in("VAR3")
                        .reg("Q18", 0x18, 0xFFFFFFFF).in("VAR3"));
    ASSERT_EQ(ci_WriteSensorRegStr(c, "MCU_ADDRESS", "", 0x0C14), 0);
    ASSERT_EQ(ci_WriteSensorRegStr(c, "MCU_DATA_0", "", 0x4321), 0);
    ASSERT_EQ(ci_WriteSensorRegStr(c, "MCU_DATA_0", "", 0x1111), 0);
    EXPECT_EQ(c.cached("V14"), 0x4321);
    EXPECT_EQ(c.cached("V16"), 0x1111);
    // One port word carries only half of a four-byte variable: its entry is dropped.
    ASSERT_EQ(ci_WriteVar(c, 3, 0x18, 4, 0x01020304), 0);
    ASSERT_EQ(c.cached("Q18"), 0x01020304);
    ASSERT_EQ(ci_WriteSensorRegStr(c, "MCU_ADDRESS", "", 0x0C18), 0);
    ASSERT_EQ(ci_WriteSensorRegStr(c, "MCU_DATA_0", "", 0xAAAA), 0);
    EXPECT_EQ(c.cached("Q18"), -1);
}

// The access state follows every register named like the protocol's control
// register, whatever its case and wherever it stands in the file.
TEST(McuAlias, ControlRegisterReadsTrackTheStateUnderAnySpelling) {
    McuCamera c(55, McuSim::sensor(55).reg("B14", 0x14, 0xFF).in("VAR3")
                        .reg("access_ctl_stat", McuSim::kCtl).reg("PORT_POINTER", McuSim::kAddr));
    ci_reg_data_t* spelled = nullptr;
    for (ci_s32 i = 0; i < c.cam.sensor()->num_regs; ++i) {
        if (strcmp(c.cam.sensor()->regs[i].unique_desc, "access_ctl_stat") == 0) spelled = &c.cam.sensor()->regs[i];
    }
    ASSERT_NE(spelled, nullptr);
    ASSERT_NE(spelled, c.cam.reg("ACCESS_CTL_STAT"));
    ASSERT_EQ(ci_WriteSfr(c, 1, 0x8000, 2, 0), 0);  // physical state
    ASSERT_EQ(ci_FindRegisterAddr(c, 0x8C14, 0, CI_REG_ADDR), nullptr);
    // The device goes logical through a register the tracking does not watch...
    ASSERT_EQ(ci_WriteSensorRegStr(c, "PORT_POINTER", "", 0x0C14), 0);
    ASSERT_EQ(ci_FindRegisterAddr(c, 0x8C14, 0, CI_REG_ADDR), nullptr);
    // ... and a read of the control register under its other spelling tells.
    c.cam.useCache(0);
    ci_u32 status = 0;
    ASSERT_EQ(ci_ReadSensorReg(c, spelled, &status), 0);
    EXPECT_EQ(status & 0x4u, 0u);
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x8C14, 0, CI_REG_ADDR), c.cam.reg("B14"));
}

}  // namespace
