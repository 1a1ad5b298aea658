// Board configuration files and chip files: finding the board's file by
// product ID, chip files by name, beside the configuration or by a pattern
// whose chip answers with its version, and the chip records they give.
#include <gtest/gtest.h>

#include <string>

#include "bus_sim.h"
#include "scratch_dir.h"
#include "sensor_builder.h"

namespace {

std::string chipFile(const char* name, ci_u32 base, ci_u32 version) {
    char text[512];
    snprintf(text, sizeof text,
             "[CHIP_DESCRIPTOR]\nCHIPNAME = \"%s\"\nBASE_ADDRESS = 0x%X\nREG_ADDR_SIZE = 16\nREG_DATA_SIZE = 16\n[END]\n"
             "[REGISTERS]\nCHIP_VERSION_REG = {0x0000, CHIP, 0xFFFF, RO, 0x%X, \"Version\", \"\"}\n"
             "CONTROL = {0x0002, CHIP, 0xFFFF, RW, 0x0000, \"Control\", \"\"}\n"
             "    {ENABLE, 0x1, RW, \"Enable\", \"\"}\n[END]\n[NOTES]\nanything = 1\n[END]\n",
             name, base, version);
    return text;
}

struct Board : ::testing::Test {
    BusSim bus;
    TestCamera cam{SensorBuilder().widths(16, 16)};
    ScratchDir dir;
    void SetUp() override {
        bus.attach(cam);
        cam.get()->productID = (ci_product_ids)0x1007;
    }
};

TEST_F(Board, AChipFileGivesItsRecord) {
    const std::string path = dir.write("fpga.cdat", chipFile("MAIN_FPGA", 0x64, 0x1234));
    ci_chip_t chip;
    ASSERT_EQ(ci_ParseChipFile(cam, path.c_str(), &chip), CI_PARSE_SUCCESS);
    EXPECT_STREQ(chip.chipName, "MAIN_FPGA");
    EXPECT_EQ(chip.baseAddr, 0x64u);
    EXPECT_EQ(chip.serial_addr_size, 16u);
    EXPECT_EQ(chip.serial_data_size, 16u);
    ASSERT_EQ(chip.num_regs, 2);
    EXPECT_EQ(chip.regs[0].default_val, 0x1234u);
    EXPECT_EQ(chip.regs[1].reg_addr, 2u);
    ASSERT_EQ(chip.regs[1].num_bitfields, 1);
    EXPECT_STREQ(chip.regs[1].bitfield[0].id, "ENABLE");
    cam.get()->chip = static_cast<ci_chip_t*>(malloc(sizeof chip));
    cam.get()->chip[0] = chip;
    cam.get()->num_chips = 1;
    EXPECT_EQ(ci_FindChip(cam, "main_fpga"), 0);
    _freeChips(cam);
    EXPECT_EQ(cam.get()->chip, nullptr);
    EXPECT_EQ(ci_ParseChipFile(cam, dir.file("none.cdat").c_str(), &chip), CI_PARSE_FILE_ERROR);
    const std::string bad = dir.write("bad.cdat", "[CHIP_DESCRIPTOR]\nREG_ADDR_SIZE = 12\n[END]\n");
    EXPECT_EQ(ci_ParseChipFile(cam, bad.c_str(), &chip), CI_CHIP_DESC_ERROR);
    _freeChips(cam);
}

TEST_F(Board, TheConfigurationListsChipsByNameAndByPattern) {
    dir.write("board_data/CI_1007.cfg",
              "; board 0x1007\nCHIP_FILE = clock.cdat\nCHIP_FILE = \"fpga_*.cdat\"\nCHIP_FILE = missing.cdat\n"
              "OTHER = 1\n");
    dir.write("board_data/clock.cdat", chipFile("CLOCK", 0xD2, 0x0001));
    dir.write("board_data/fpga_a.cdat", chipFile("FPGA_A", 0x64, 0x1111));
    dir.write("board_data/fpga_b.cdat", chipFile("FPGA_B", 0x64, 0x2222));
    bus.addDevice(0x64, 16, 16).seed(0x0000, 0x2222);
    const std::string sensor = dir.write("sensor_data/s.sdat", "");
    char config[CI_MAX_PATH];
    ASSERT_EQ(_getConfigFile(cam, sensor.c_str(), config), 1);
    EXPECT_EQ(std::string(config), dir.file("sensor_data") + "/../board_data/CI_1007.cfg");
    ASSERT_EQ(_parseBoardConfigFile(cam, sensor.c_str()), CI_PARSE_SUCCESS);
    ASSERT_EQ(cam.get()->num_chips, 2);
    EXPECT_STREQ(cam.get()->chip[0].chipName, "CLOCK");
    EXPECT_STREQ(cam.get()->chip[1].chipName, "FPGA_B");  // the one whose version answers
    EXPECT_EQ(ci_FindChip(cam, "FPGA_B"), 1);
}

TEST_F(Board, WithoutAConfigurationTheBoardHasNoChips) {
    char config[CI_MAX_PATH] = "x";
    EXPECT_EQ(_getConfigFile(cam, dir.path().c_str(), config), 0);
    EXPECT_STREQ(config, "");
    EXPECT_EQ(_parseBoardConfigFile(cam, dir.path().c_str()), 0);
    EXPECT_EQ(cam.get()->num_chips, 0);
    EXPECT_EQ(cam.get()->chip, nullptr);
    char d[64];
    _getDirectoryName("a/b/c.cfg", d);
    EXPECT_STREQ(d, "a/b/");
}

}  // namespace
