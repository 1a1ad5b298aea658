// Plain registers that show MCU memory: the mapped windows of styles 55 and
// 71 and the data port of the indirect styles.
#include <gtest/gtest.h>

#include "mcu_sim.h"

namespace {

ci_error_code writeReg(McuCamera& c, const char* name, ci_u32 v) {
    return ci_WriteSensorRegStr(c, name, "", v);
}

TEST(McuAlias, MappedWindowFollowsTheLogicalOrPhysicalState) {
    McuCamera c(55, McuSim::sensor(55).reg("B14", 0x14, 0xFF).in("VAR3").reg("S8010", 0x8010, 0xFFFF).in("SFR1"));
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x8C14, 0, CI_REG_ADDR), c.cam.reg("B14"));
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x0C14, 0, CI_REG_ADDR), nullptr);

    // A write through the window moves the variable's own width and is
    // cached as the variable.
    c.cam.useCache(1);
    c.sim.clearLog();
    ASSERT_EQ(ci_WriteSensorRegAddr(c, CI_REG_ADDR, 0, 0x8C14, 0, 0x5A), 0);
    ASSERT_EQ(c.sim.log().size(), 1u);
    EXPECT_EQ(c.sim.log()[0].bits, 8u);
    EXPECT_EQ(c.sim.var(3, 0x14, 1), 0x5Au);
    ci_u32 v = 0;
    EXPECT_EQ(c.readVar(3, 0x14, 1), 0x5A);
    EXPECT_EQ(c.sim.log().size(), 1u);

    c.cam.useCache(0);
    c.sim.setVar(3, 0x14, 1, 0x66);
    ASSERT_EQ(ci_ReadSensorRegAddr(c, CI_REG_ADDR, 0, 0x8C14, 0, &v), 0);
    EXPECT_EQ(v, 0x66u);
    EXPECT_EQ(c.sim.log().back().bits, 8u);

    ASSERT_EQ(ci_WriteSfr(c, 1, 0x8000, 2, 0), 0);  // physical, region 1, address bit 15 set
    EXPECT_EQ(ci_FindRegisterAddr(c, 0x8010, 0, CI_REG_ADDR), c.cam.reg("S8010"));

    // Unknown state: the read-side query does not guess, the write side asks
    // the device.
    c.shared()->current_access_logical = 0xFFFFFFFF;
    ci_reg_data_t temp{};
    temp.reg_addr = 0x8010;
    ci_reg_data_t* var = nullptr;
    EXPECT_EQ(_findRamAlias(c, &temp, 1, &var), 0);
    EXPECT_EQ(_findRamAlias(c, &temp, 0, &var), 55);
    EXPECT_EQ(var, c.cam.reg("S8010"));
}

TEST(McuAlias, AdvancedBaseWindowShowsTheCurrentPage) {
    McuCamera c(71, McuSim::sensor(71).reg("S1234", 0x1234, 0xFFFF).in("SFR0"));
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x1000, 2, 0), 0);
    EXPECT_EQ(ci_FindRegisterAddr(c, 0xE234, 0, CI_REG_ADDR), c.cam.reg("S1234"));
    EXPECT_EQ(ci_FindRegisterAddr(c, 0xF234, 0, CI_REG_ADDR), nullptr);
    ASSERT_EQ(ci_WriteSensorRegAddr(c, CI_REG_ADDR, 0, 0xE234, 0, 0xBEEF), 0);
    EXPECT_EQ(c.sim.sfr(0, 0x1234, 2), 0xBEEFu);
    EXPECT_EQ(c.cached("S1234"), 0xBEEF);
    ASSERT_EQ(ci_WriteSfr(c, 0, 0x2000, 2, 0), 0);  // another page: no longer shown
    EXPECT_EQ(ci_FindRegisterAddr(c, 0xE234, 0, CI_REG_ADDR), nullptr);
}

// Presets write "MCU_ADDRESS" and then the data register by name; the
// variables behind the auto-incrementing port follow in the cache.
TEST(McuAlias, DataPortWritesUpdateTheVariablesItPointsAt) {
    McuCamera c(44,
                McuSim::sensor(44).reg("V14", 0x14).in("VAR3").reg("V16", 0x16).in("VAR3")
                    .reg("Q18", 0x18, 0xFFFFFFFF).in("VAR3"));
    ci_reg_data_t* var = nullptr;
    EXPECT_EQ(_findRamAlias(c, c.cam.reg("MCU_DATA_0"), 1, &var), 0);  // reads never resolve a port

    ASSERT_EQ(writeReg(c, "MCU_ADDRESS", 0x0C14), 0);
    ASSERT_EQ(writeReg(c, "MCU_DATA_0", 0x4321), 0);
    ASSERT_EQ(writeReg(c, "MCU_DATA_0", 0x1111), 0);
    EXPECT_EQ(c.sim.var(3, 0x14, 2), 0x4321u);
    EXPECT_EQ(c.sim.var(3, 0x16, 2), 0x1111u);
    EXPECT_EQ(c.cached("V14"), 0x4321);
    EXPECT_EQ(c.cached("V16"), 0x1111);

    // One port word carries only half of a four-byte variable: its entry is
    // dropped rather than overwritten.
    ASSERT_EQ(ci_WriteVar(c, 3, 0x18, 4, 0x01020304), 0);
    ASSERT_EQ(c.cached("Q18"), 0x01020304);
    ASSERT_EQ(writeReg(c, "MCU_ADDRESS", 0x0C18), 0);
    ASSERT_EQ(writeReg(c, "MCU_DATA_0", 0xAAAA), 0);
    EXPECT_EQ(c.cached("Q18"), -1);
    EXPECT_EQ(c.sim.var(3, 0x18, 4), 0xAAAA0304u);
}

TEST(McuAlias, PortWordsNameVariablesOrSfrsByStyle) {
    McuCamera c16(16, McuSim::sensor(16).reg("V14", 0x14).in("VAR3").reg("S456", 0x456).in("SFR0"));
    ASSERT_EQ(writeReg(c16, "MCU_ADDRESS", 0x2314), 0);
    ASSERT_EQ(writeReg(c16, "MCU_DATA_0", 0x1234), 0);
    ASSERT_EQ(writeReg(c16, "MCU_ADDRESS", 0x0456), 0);
    ASSERT_EQ(writeReg(c16, "MCU_DATA_0", 0x4444), 0);
    EXPECT_EQ(c16.cached("V14"), 0x1234);
    EXPECT_EQ(c16.cached("S456"), 0x4444);
    EXPECT_EQ(c16.sim.sfr(0, 0x456, 2), 0x4444u);

    // Style 54 carries a byte in the upper half of the data word: the byte
    // variable is dropped from the cache, not stored as the word's low byte.
    McuCamera c54(54, McuSim::sensor(54).reg("B14", 0x14, 0xFF).in("VAR3"));
    ASSERT_EQ(ci_WriteVar(c54, 3, 0x14, 1, 0x11), 0);
    ASSERT_EQ(c54.cached("B14"), 0x11);
    ASSERT_EQ(writeReg(c54, "LOGICAL_ADDRESS_ACCESS", 0x8C14), 0);
    ASSERT_EQ(writeReg(c54, "MCU_VARIABLE_DATA0", 0x5A00), 0);
    EXPECT_EQ(c54.sim.var(3, 0x14, 1), 0x5Au);
    EXPECT_EQ(c54.cached("B14"), -1);
}

}  // namespace
