// The far bus: which devices answer the probe, and the far-base test.
#include <gtest/gtest.h>

#include "mcu_sim.h"

namespace {

using Words = std::vector<ci_u32>;

TEST(McuFarBase, AllowFlagDecides) {
    McuCamera c(16);
    EXPECT_EQ(_testFarBase(c, 0x90), 0);  // allowed by default
    struct Case {
        ci_u32 allow, base;
        ci_error_code result;
    };
    for (const Case k : {Case{0, 0x90, CI_I2C_NACK_ERROR}, Case{0x90, 0x90, 0}, Case{0x90, 0x91, 0},
                         Case{0x90, 0x92, CI_I2C_NACK_ERROR}}) {
        ASSERT_EQ(ci_setMode(c, CI_ALLOW_FAR_ACCESS, k.allow), 0);
        EXPECT_EQ(_testFarBase(c, k.base), k.result) << std::hex << k.allow << " " << k.base;
    }
}

TEST(McuFarProbe, MasterMarksTheDevicesThatAnswer) {
    McuCamera c(71);
    c.sim.addFarDevice(0x20);
    c.sim.addFarDevice(0x90);
    ASSERT_EQ(ci_ProbeFarBus(c), 0);
    const ci_u32* m = c.shared()->farBaseMap;
    EXPECT_EQ((Words{m[0], m[1], m[2], m[3]}), (Words{1u << 16, 0, 1u << 8, 0}));
    EXPECT_EQ(c.cam.context()->allow_far_access, 0);
    EXPECT_EQ(_testFarBase(c, 0x90), 0);
    EXPECT_EQ(_testFarBase(c, 0x92), CI_I2C_NACK_ERROR);
}

}  // namespace
