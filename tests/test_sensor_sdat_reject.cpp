// Early rejects: during a sensor search a file is given up as soon as it
// cannot describe the connected hardware.  Driven through a simulated bus.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "bus_sim.h"
#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

std::string descriptor(const char* name, const char* ship, const char* imageType = "BAYER") {
    return "[CHIP_DESCRIPTOR]\nSENSORNAME = \"" + std::string(name) + "\"\nIMAGE_TYPE = " + imageType + "\n" +
           (ship ? "SHIP_BASE_ADDRESS = " + std::string(ship) + "\n" : std::string()) + "[END]\n";
}

// CHIP_VERSION_REG, a register, the page selector and one more.
const std::string kVersionFirst = sdat_section("REGISTERS",
                                               "CHIP_VERSION_REG = {0x00, CORE, 0xFFFF, RO, 0x1234, \"\", \"\"}\n"
                                               "MIDDLE = {0x01, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n"
                                               "ADDR_SPACE_SEL = {0xF0, CORE, 0x3, RW, 0, \"\", \"\"}\n"
                                               "LAST = {0x02, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n");
const std::string kSpace = sdat_section("ADDR_SPACE", "CORE = {REG, 0, \"core\"}\n");

class SdatReject : public ::testing::Test {
protected:
    SdatReject() : cam(bus) {}

    ci_error_code parse(const std::string& text) {
        return ci_ParseSensorFile(cam.get(), dir.write("r.sdat", text).c_str(), nullptr);
    }
    // Parses with the switches the sensor search sets.
    ci_error_code parse_searching(const std::string& text) {
        cam.ctx()->match_chip_version_reg = 1;
        return parse(text);
    }
    ci_s32 stored() const { return cam->sensor ? cam->sensor->num_regs : -1; }

    BusSim bus;
    SimCamera cam;
    ScratchDir dir;
    LogCapture log;
};

}  // namespace

TEST_F(SdatReject, BaseAddressesMustExistAndAnswer) {
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(descriptor("CK0200", nullptr)));
    EXPECT_EQ(
        1, count_of(log.text(), "Early reject: There is no SHIP_BASE_ADDRESS, or no device at the base address(es)"));

    _setUnusedBase(cam.get(), 0x20);
    _setUnusedBase(cam.get(), 0x30);
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(descriptor("CK0200", "(0x20 0x30)")));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(descriptor("CK0200", "(0x20 0x30 0x36)")));
    EXPECT_EQ(2, count_of(log.text(), "Early reject: There is no SHIP_BASE_ADDRESS"));
}

TEST_F(SdatReject, SystemOnChipFilters) {
    const std::string soc = descriptor("CKS5400SOC", "0x90", "YCBCR");
    const std::string plain = descriptor("CK0200", "0x20");
    cam.ctx()->match_soc_only = 1;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(plain));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(soc));
    cam.ctx()->match_soc_only = 0;
    cam.ctx()->match_no_soc = 1;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(soc));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(plain));
    EXPECT_EQ(1, count_of(log.text(), "Early reject: Wanted SOC and file is not SOC"));
    EXPECT_EQ(1, count_of(log.text(), "Early reject: Wanted non-SOC and file is SOC"));
}

TEST_F(SdatReject, AddressSizeIsCheckedAfterEachOptionalSection) {
    cam.ctx()->match_addr_size = 16;
    const std::string wide = sdat_section("OPTIONAL", "REG_ADDR_SIZE = 16\n");
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(sdat_with(wide)));
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(sdat_with(sdat_section("OPTIONAL", "REG_DATA_SIZE = 8\n") + wide)));
    EXPECT_EQ(1, count_of(log.text(), "Early reject: Register address size does not match"));
}

TEST_F(SdatReject, ChipVersionIsMatchedRightAfterItsRegister) {
    const std::string file = descriptor("CK0200", "0x20") + kSpace + kVersionFirst;
    bus.addDevice(0x20, 8, 16).seed(0x00, 0x9999);
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse_searching(file));
    EXPECT_EQ(1, stored());  // nothing after the version register was read
    EXPECT_EQ(1, count_of(log.text(), "Early reject: CHIP_VERSION_REG does not match"));
    EXPECT_EQ(1, cam.ctx()->match_chip_version_reg);

    bus.device(0x20)->seed(0x00, 0x1234);
    EXPECT_EQ(CI_PARSE_SUCCESS, parse_searching(file));
    EXPECT_EQ(4, stored());
    EXPECT_EQ(0, cam.ctx()->match_chip_version_reg);  // matched once, not again

    // Outside a search the hardware is not consulted.
    bus.device(0x20)->seed(0x00, 0x9999);
    cam.ctx()->match_chip_version_reg = 0;
    bus.clearLog();
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(file));
    EXPECT_EQ(0, bus.transactionsAt(0x20));
}

TEST_F(SdatReject, PagedSystemOnChipWaitsForItsPageSelector) {
    // Model 5 is a system-on-chip that selects pages with ADDR_SPACE_SEL.
    bus.addDevice(0x48, 8, 16).seed(0x00, 0x9999);
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse_searching(descriptor("CKS0500SOC", "0x48") + kSpace + kVersionFirst));
    EXPECT_EQ(3, stored());  // checked once the selector was known

    // With the selector first, the version register is checked at once.
    const std::string selectorFirst = sdat_section("REGISTERS",
                                                   "ADDR_SPACE_SEL = {0xF0, CORE, 0x3, RW, 0, \"\", \"\"}\n"
                                                   "CHIP_VERSION_REG = {0x00, CORE, 0xFFFF, RO, 0x1234, \"\", \"\"}\n"
                                                   "LAST = {0x02, CORE, 0xFFFF, RW, 0, \"\", \"\"}\n");
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse_searching(descriptor("CKS0500SOC", "0x48") + kSpace + selectorFirst));
    EXPECT_EQ(2, stored());

    // With 16-bit register addresses the selector is not waited for.
    const std::string wide = sdat_section("OPTIONAL", "REG_ADDR_SIZE = 16\n");
    bus.addDevice(0x48, 16, 16).seed(0x00, 0x9999);
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH,
              parse_searching(descriptor("CKS0500SOC", "0x48") + wide + kSpace + kVersionFirst));
    EXPECT_EQ(1, stored());
}

TEST_F(SdatReject, TheCamerasOwnSensorIsPutBack) {
    ci_sensor_t* own = SensorBuilder().name("OWN").build();
    cam->sensor = own;
    ci_sensor_t* other = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    bus.addDevice(0x20, 8, 16).seed(0x00, 0x1234);
    cam.ctx()->match_chip_version_reg = 1;
    cam.ctx()->match_soc_only = 1;
    std::string path = dir.write("o.sdat", descriptor("CKS0500SOC", "0x20") + kSpace + kVersionFirst);
    EXPECT_EQ(CI_PARSE_SUCCESS, ci_ParseSensorFile(cam.get(), path.c_str(), other));
    EXPECT_EQ(own, cam->sensor);
    EXPECT_STREQ("OWN", cam->sensor->sensorName);
    EXPECT_EQ(4, other->num_regs);
    EXPECT_EQ(0, cam.ctx()->match_chip_version_reg);
    ci_DestructSensor(other);
    free(other);
}
