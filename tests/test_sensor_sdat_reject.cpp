// Early rejects: during a sensor search a file is given up as soon as it
// cannot describe the connected hardware.  Driven through a simulated bus.
#include <gtest/gtest.h>

#include <string>

#include "bus_sim.h"
#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

std::string descriptor(const char* name, const char* ship, const char* imageType = "BAYER") {
    return "[CHIP_DESCRIPTOR]\nSENSORNAME = \"" + std::string(name) + "\"\nIMAGE_TYPE = " + imageType + "\n" +
           (ship ? "SHIP_BASE_ADDRESS = " + std::string(ship) + "\n" : std::string()) + "[END]\n";
}

class SdatReject : public ::testing::Test {
protected:
    SdatReject() : cam(bus) {}

    ci_error_code parse(const std::string& text) {
        return ci_ParseSensorFile(cam.get(), dir.write("r.sdat", text).c_str(), nullptr);
    }
    int rejects(const std::string& reason) const { return count_of(log.text(), "Early reject: " + reason); }

    BusSim bus;
    SimCamera cam;
    ScratchDir dir;
    LogCapture log;
};

}  // namespace

TEST_F(SdatReject, SomeBaseAddressMustAnswer) {
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(descriptor("CK0200", nullptr)));
    _setUnusedBase(cam.get(), 0x20);
    _setUnusedBase(cam.get(), 0x30);
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(descriptor("CK0200", "(0x20 0x30)")));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(descriptor("CK0200", "(0x20 0x30 0x36)")));
    EXPECT_EQ(2, rejects("There is no SHIP_BASE_ADDRESS, or no device at the base address(es)"));
}

TEST_F(SdatReject, SystemOnChipWantedOrUnwanted) {
    const std::string soc = descriptor("CKS5400SOC", "0x90", "YCBCR");
    const std::string plain = descriptor("CK0200", "0x20");
    cam.ctx()->match_soc_only = 1;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(plain));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(soc));
    cam.ctx()->match_soc_only = 0;
    cam.ctx()->match_no_soc = 1;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(soc));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(plain));
    EXPECT_EQ(1, rejects("Wanted SOC and file is not SOC"));
    EXPECT_EQ(1, rejects("Wanted non-SOC and file is SOC"));
}

TEST_F(SdatReject, AddressSizeIsCheckedAfterEachOptionalSection) {
    cam.ctx()->match_addr_size = 16;
    const std::string wide = sdat_section("OPTIONAL", "REG_ADDR_SIZE = 16\n");
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(sdat_with(wide)));
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(sdat_with(sdat_section("OPTIONAL", "REG_DATA_SIZE = 8\n") + wide)));
    EXPECT_EQ(1, rejects("Register address size does not match"));
}

TEST_F(SdatReject, ChipVersionIsMatchedRightAfterItsRegister) {
    const std::string file = descriptor("CK0200", "0x20") + sdat_section("ADDR_SPACE", "CORE = {REG, 0, \"c\"}\n") +
                             sdat_section("REGISTERS",
                                          "CHIP_VERSION_REG = {0x00, CORE, 0xFFFF, RO, 0x1234, \"\", \"\"}\n"
                                          "LAST = {0x02, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n");
    BusDevice& dev = bus.addDevice(0x20, 8, 16).seed(0x00, 0x9999);
    cam.ctx()->match_chip_version_reg = 1;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(file));
    EXPECT_EQ(1, cam->sensor->num_regs) << "nothing after the version register was read";
    EXPECT_EQ(1, rejects("CHIP_VERSION_REG does not match"));

    dev.seed(0x00, 0x1234);
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(file));
    EXPECT_EQ(2, cam->sensor->num_regs);
    EXPECT_EQ(0, cam.ctx()->match_chip_version_reg) << "matched once, not again";

    dev.seed(0x00, 0x9999);
    bus.clearLog();
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(file)) << "outside a search the hardware is not consulted";
    EXPECT_EQ(0, bus.transactionsAt(0x20));
}

// During a search the register count stops at the register that may run
// the chip-version match: a refused file is not read further (its later
// bad lines go unreported), a matching one is counted and read in full.
TEST_F(SdatReject, ARefusedFileIsNotCountedPastItsVersionRegister) {
    const std::string fields = "  {LOW, 0x00FF, RW, \"low\", \"\"}\n  {HIGH, 0xFF00, RW, \"high\", \"\"}\n";
    std::string after;
    for (int i = 0; i < 40; ++i)
        after += "R" + std::to_string(i) + " = {" + std::to_string(2 * i + 4) + ", CORE, 0xFFFF, RW, 0, \"\", \"\"}\n" +
                 fields;
    const std::string file =
        descriptor("CK0200", "0x20") + sdat_section("ADDR_SPACE", "CORE = {REG, 0, \"c\"}\n") +
        sdat_section("REGISTERS", "FIRST = {0x02, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n" + fields +
                                      "chip_version_reg = {0x00, CORE, 0xFFFF, RO, 0x1234, \"\", \"\"}\n" + fields +
                                      "BAD LINE\n" + after);
    BusDevice& dev = bus.addDevice(0x20, 8, 16).seed(0x00, 0x9999);
    cam.ctx()->match_chip_version_reg = 1;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(file));
    EXPECT_EQ(2, cam->sensor->num_regs);
    EXPECT_EQ(0, count_of(log.text(), "BAD LINE in "));

    dev.seed(0x00, 0x1234);
    EXPECT_EQ(CI_PARSE_REG_ERROR, parse(file)) << "the bad line fails the file as outside a search";
    EXPECT_EQ(2, count_of(log.text(), "BAD LINE in ")) << "reported by the count and by the reading";
    ASSERT_EQ(42, cam->sensor->num_regs);
    for (const char* name : {"FIRST", "CHIP_VERSION_REG", "R39"}) {
        const ci_reg_data_t* reg =
            &cam->sensor->regs[_regId(cam->sensor->regs, cam->sensor->num_regs, const_cast<char*>(name))];
        ASSERT_EQ(2, reg->num_bitfields) << name;
        EXPECT_STREQ("high", reg->bitfield[1].desc) << name;
    }
}

TEST_F(SdatReject, APagedSystemOnChipIsMatchedAtItsPageSelector) {
    const std::string file = descriptor("CKS5400SOC", "0x90", "YCBCR") +
                             sdat_section("ADDR_SPACE", "CORE = {REG, 0, \"c\"}\n") +
                             sdat_section("REGISTERS",
                                          "CHIP_VERSION_REG = {0x00, CORE, 0xFFFF, RO, 0x1234, \"\", \"\"}\n"
                                          "MIDDLE = {0x02, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n"
                                          "ADDR_SPACE_SEL = {0xF0, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n"
                                          "LAST = {0x04, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n");
    BusDevice& dev = bus.addDevice(0x90, 8, 16).seed(0x00, 0x9999);
    cam.ctx()->match_chip_version_reg = 1;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(file));
    EXPECT_EQ(3, cam->sensor->num_regs) << "refused at the page selector";
    dev.seed(0x00, 0x1234);
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(file));
    EXPECT_EQ(4, cam->sensor->num_regs);
}
