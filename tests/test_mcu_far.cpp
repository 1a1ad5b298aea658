// The far bus: probing which devices answer, the far-base test, and far
// register transfers through the transport or the sensor's bus master.
#include <gtest/gtest.h>

#include "mcu_sim.h"

namespace {

constexpr ci_u32 CTL = McuSim::kMasterCtl, TX = McuSim::kTx, COUNT = McuSim::kTxCount;

size_t readsAt(const McuSim& sim, ci_u32 addr) {
    size_t n = 0;
    for (const auto& t : sim.log()) n += (!t.write && t.addr == addr) ? t.values.size() : 0;
    return n;
}

// The bus-master registers written: transmit words 0 and 1, byte count, control.
using Traffic = std::vector<std::vector<ci_u32>>;
Traffic masterWrites(const McuSim& sim) {
    return {sim.writesTo(TX), sim.writesTo(TX + 2), sim.writesTo(COUNT), sim.writesTo(CTL)};
}

std::vector<ci_u32> map(McuCamera& c) {
    const ci_u32* m = c.shared()->farBaseMap;
    return {m[0], m[1], m[2], m[3]};
}

TEST(McuFarBase, AllowFlagOrProbeMapDecides) {
    McuCamera c(16);
    EXPECT_EQ(_testFarBase(c, 0x90), 0);  // far access allowed by default
    ASSERT_EQ(ci_setMode(c, CI_ALLOW_FAR_ACCESS, 0), 0);
    EXPECT_EQ(_testFarBase(c, 0x90), CI_I2C_NACK_ERROR);
    ASSERT_EQ(ci_setMode(c, CI_ALLOW_FAR_ACCESS, 0x90), 0);
    EXPECT_EQ(_testFarBase(c, 0x90), 0);
    EXPECT_EQ(_testFarBase(c, 0x91), 0);  // same seven-bit address
    EXPECT_EQ(_testFarBase(c, 0x92), CI_I2C_NACK_ERROR);
    _sg_context_t* sg = c.shared();
    c.cam.context()->sg_context = nullptr;
    EXPECT_EQ(_testFarBase(c, 0x90), CI_I2C_NACK_ERROR);
    c.cam.context()->sg_context = sg;

    ASSERT_EQ(ci_ProbeFarBus(c), 0);  // a sensor that cannot be probed: everything present
    EXPECT_EQ(map(c), (std::vector<ci_u32>{~0u, ~0u, ~0u, ~0u}));
}

TEST(McuFarProbe, SixteenBitMasterMarksTheDevicesThatAnswer) {
    McuCamera c(71);
    c.sim.addFarDevice(0x20);
    c.sim.addFarDevice(0x90);
    c.sim.clearLog();
    ASSERT_EQ(ci_ProbeFarBus(c), 0);
    EXPECT_EQ(map(c), (std::vector<ci_u32>{1u << 16, 0, 1u << 8, 0}));
    EXPECT_EQ(c.cam.context()->allow_far_access, 0);
    ASSERT_EQ(c.sim.probedBases().size(), 127u);
    EXPECT_EQ(c.sim.probedBases().front(), 2u);
    EXPECT_EQ(c.sim.probedBases().back(), 254u);
    // Page 0x94000; the first base, data count and start of the 16-bit master.
    std::vector<ci_u32> first;
    for (ci_u32 reg : {McuSim::kAdvBase, 0xE006u, 0xE00Au, 0xE002u}) first.push_back(c.sim.writesTo(reg).at(0));
    EXPECT_EQ(first, (std::vector<ci_u32>{0x9, 2, 0, 0x11}));
    EXPECT_EQ(readsAt(c.sim, 0xE002), 127u * 3u);  // two busy polls, then done
    EXPECT_EQ(_testFarBase(c, 0x90), 0);
    EXPECT_EQ(_testFarBase(c, 0x92), CI_I2C_NACK_ERROR);

    c.sim.busyReads = -1;  // a master that never finishes: nobody is present
    c.sim.clearLog();
    ASSERT_EQ(ci_ProbeFarBus(c), 0);
    EXPECT_EQ(map(c), (std::vector<ci_u32>{0, 0, 0, 0}));
    EXPECT_EQ(readsAt(c.sim, 0xE002), 127u * 50u);
}

TEST(McuFarProbe, ThirtyTwoBitMasterOfLaterSensors) {
    McuCamera c(71, McuSim::sensor(71, 103));
    c.sim.addFarDevice(0x6C);
    c.sim.clearLog();
    ASSERT_EQ(ci_ProbeFarBus(c), 0);
    EXPECT_EQ(map(c), (std::vector<ci_u32>{0, 1u << 22, 0, 0}));
    EXPECT_EQ(c.sim.writesTo(0xE008).front(), 2u);
    EXPECT_EQ(c.sim.writesTo(0xE000).front(), 1u);
    for (const auto& t : c.sim.log()) {
        if (t.kind == McuSim::Raw) {
            ASSERT_EQ(t.bits, 32u);
        }
    }
}

SensorBuilder farSensor(bool withMaster) {
    SensorBuilder b = McuSim::sensor(16);
    if (withMaster) McuSim::addFarMaster(b);
    b.space("FAR1", 0, CI_FAR1_REG_ADDR, 0x90, 8, 16).space("FAR2", 0, CI_FAR2_REG_ADDR, 0x94, 8, 16);
    b.reg("FAR_GAIN", 0x12).in("FAR1").reg("FAR_OTHER", 0x20).in("FAR2").reg("FAR_WIDE", 0x30).in("FAR1").span(2);
    return b;
}

TEST(McuFarReg, BusMasterTransactionsCarryAddressThenDataMsbFirst) {
    McuCamera c(16, farSensor(true));
    c.sim.addFarDevice(0x90);
    c.sim.setFar(0x90, 0x12, 2, 0xBEEF);
    c.sim.clearLog();
    ci_u32 v = 0;
    ASSERT_EQ(ci_ReadSensorRegStr(c, "FAR_GAIN", "", &v), 0);
    EXPECT_EQ(v, 0xBEEFu);
    EXPECT_EQ(masterWrites(c.sim), (Traffic{{0x1200}, {}, {1}, {0x9023}}));  // control: base, 2 bytes back, read, start

    c.sim.clearLog();
    ASSERT_EQ(ci_WriteFarReg(c, CI_FAR1_REG_ADDR, 0x12, 0x1234), 0);
    EXPECT_EQ(c.sim.far(0x90, 0x12, 2), 0x1234u);
    EXPECT_EQ(masterWrites(c.sim), (Traffic{{0x1212}, {0x3400}, {3}, {0x9001}}));

    c.sim.setFar(0x90, 0x30, 4, 0x01020304);  // two far words: four bytes in one transaction
    c.sim.clearLog();
    ASSERT_EQ(ci_ReadSensorRegStr(c, "FAR_WIDE", "", &v), 0);
    EXPECT_EQ(v, 0x01020304u);
    EXPECT_EQ(c.sim.writesTo(CTL), (std::vector<ci_u32>{0x9043}));

    ci_u32 vals[2] = {};
    ASSERT_EQ(ci_ReadFarRegs(c, CI_FAR1_REG_ADDR, 0x12, 2, vals), 0);
    EXPECT_EQ((std::vector<ci_u32>{vals[0], vals[1]}), (std::vector<ci_u32>{0x1234, 0x3400}));
}

TEST(McuFarReg, FailuresComeFromTheProbeMapTheBusOrTheSensor) {
    McuCamera c(16, farSensor(true));
    ci_u32 v = 0;
    ASSERT_EQ(ci_setMode(c, CI_ALLOW_FAR_ACCESS, 0), 0);
    c.sim.clearLog();
    EXPECT_EQ(ci_ReadSensorRegStr(c, "FAR_GAIN", "", &v), CI_I2C_NACK_ERROR);  // never answered the probe
    EXPECT_EQ(c.sim.transfers(), 0u);

    ASSERT_EQ(ci_setMode(c, CI_ALLOW_FAR_ACCESS, 0x94), 0);  // marked, but nobody on the bus
    EXPECT_EQ(ci_ReadSensorRegStr(c, "FAR_OTHER", "", &v), CI_I2C_NACK_ERROR);
    c.sim.addFarDevice(0x94);
    c.sim.busyReads = -1;
    EXPECT_EQ(ci_WriteSensorRegStr(c, "FAR_OTHER", "", 1), CI_I2C_TIMEOUT);

    McuCamera bare(16, farSensor(false));
    EXPECT_EQ(ci_ReadSensorRegStr(bare, "FAR_GAIN", "", &v), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_ReadFarReg(bare, CI_FAR1_MCU_ADDR, 0x12, &v), CI_CAMERA_ERROR);
}

TEST(McuFarReg, TransportSystemRegistersAndBatchedFarReads) {
    McuCamera c(16, farSensor(false));
    c.sim.enableSystemRegisters(c);
    c.sim.addFarDevice(0x90);
    c.sim.setFar(0x90, 0x12, 2, 0xBEEF);
    ci_reg_data_t* regs[3] = {c.cam.reg("FAR_GAIN"), c.cam.reg("MCU_ADDRESS"), nullptr};
    ci_u32 vals[3] = {0, 0, 0};
    ci_error_code results[3] = {99, 99, 99};
    c.sim.clearLog();
    _getRegisterLock(c);
    EXPECT_EQ(_ReadSensorRegs_FarOnlyNoLock(c, 3, regs, vals, results), 0);
    _releaseRegisterLock(c);
    EXPECT_EQ(vals[0], 0xBEEFu);
    EXPECT_EQ((std::vector<ci_error_code>{results[0], results[1]}), (std::vector<ci_error_code>{0, 99}));
    ASSERT_EQ(c.sim.log().size(), 1u);
    const McuSim::Transfer& t = c.sim.log()[0];
    EXPECT_TRUE(t.kind == McuSim::System && t.type == CI_FAR1_REG_ADDR && t.space == 0x90 && t.bits == 16);
}

}  // namespace
