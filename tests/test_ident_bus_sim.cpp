// The simulated bus the identification tests rely on: a device seeded from a
// sensor data file answers the camera's register accesses like the sensor.
#include "test_ident_support.h"

namespace {

using BusSimulator = IdentTest;

TEST_F(BusSimulator, SeedsEveryBusWordOfTheFilesRegisters) {
    BusDevice& dev = plug("sim/wide.sdat");
    EXPECT_EQ(dev.base(), 0x20u);
    EXPECT_EQ(dev.addrBits(), 16u);
    EXPECT_EQ(dev.dataBits(), 16u);
    EXPECT_EQ(dev.peek(0x3000), 0x0401u);
    EXPECT_EQ(dev.peek(0x3010), 0x1234u) << "high word first";
    EXPECT_EQ(dev.peek(0x3012), 0x5678u) << "16-bit words of a 16-bit-address device are 2 addresses apart";

    parse("sim/wide.sdat");
    ci_u32 value = 0;
    EXPECT_EQ(ci_ReadSensorRegStr(camera.get(), "FRAME_COUNT", "", &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 0x12345678u);
    EXPECT_EQ(ci_WriteSensorRegStr(camera.get(), "GAIN", "", 0x1FF), CI_CAMERA_SUCCESS);
    EXPECT_EQ(dev.peek(0x3020), 0x1FFu) << "the register file is the device's, not the mask's";
}

}  // namespace
