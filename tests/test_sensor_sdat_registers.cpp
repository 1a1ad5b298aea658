// The address-space and registers sections of the sensor-data files.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

const char* const kSpaces =
    "[ADDR_SPACE]\n"
    "CORE = {REG, 0, \"Sensor core\"}\n"
    "PAGE2 = {2, \"Page two\"}\n"
    "VARS = {mcu, 1, \"Variables\"}\n"
    "MEMORY = {MEM, 3, \"x\"}\n"
    "ODD = {WHATEVER, 4, \"\"}\n"
    "FAR_A = {FAR1, 5, \"0x48 16 8\"}\n"
    "FAR_B = {FAR2_SFR, 6, \"0x4A 8 16\"}\n"
    "[END]\n";

class SdatRegisters : public ::testing::Test {
protected:
    // The spaces above and registers in the given line form.
    ci_error_code parse_regs(const std::string& lines, int sdatVersion = 2) {
        const std::string version = "SDAT_VERSION = " + std::to_string(sdatVersion) + "\n";
        return cam.parse(dir.write(
            "t.sdat", sdat_with(sdat_section("OPTIONAL", version) + kSpaces + sdat_section("REGISTERS", lines))));
    }
    const ci_addr_space_val_t& space(int i) const { return cam.sensor()->addr_space->addr_space_val[i]; }

    ScratchDir dir;
    ParseCamera cam;
};

std::string fields(int n) {
    std::string out;
    for (int i = 0; i < n; ++i) out += "  {F" + std::to_string(i) + ", 1, RW, \"\"}\n";
    return out;
}

}  // namespace

TEST_F(SdatRegisters, AddressSpacesWithAndWithoutTypeAndFarTriples) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs(""));
    ASSERT_EQ(7, cam.sensor()->addr_space->num_vals);
    const ci_addr_type types[] = {CI_REG_ADDR, CI_REG_ADDR,      CI_MCU_ADDR,      CI_SFR_ADDR,
                                  CI_REG_ADDR, CI_FAR1_REG_ADDR, CI_FAR2_SFR_ADDR};  // unknown keyword: a register space
    for (int i = 0; i < 7; ++i) EXPECT_EQ(types[i], space(i).type) << space(i).ID;
    EXPECT_STREQ("CORE", space(0).ID);
    EXPECT_STREQ("Sensor core", space(0).name);
    EXPECT_EQ(2u, space(1).val);
    EXPECT_STREQ("Page two", space(1).name);
    EXPECT_EQ(0x48u, space(5).far_base);
    EXPECT_EQ(16u, space(5).far_addr_size);
    EXPECT_EQ(8u, space(5).far_data_size);
    EXPECT_EQ(16u, space(6).far_data_size);
}

TEST_F(SdatRegisters, RegisterLinesOfBothForms) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs("GAIN = {0x3012, CORE, 0xFFFF, RW, 0x0080, \"Gain\", \"Times 128\"}\n"
                                           "STATUS = {0x20, PAGE2, -1, ro, 7, \"Status\"}\n"
                                           "CMD = {0x21, PAGE2, 0xFF, WO , 0, \"\", \"\"}\n"
                                           "LOOSE = {0x22, NOSUCH, 0xFF, R, 0, \"\", \"\"}\n",
                                           1));
    const ci_reg_data_t* gain = cam.reg("gain");
    ASSERT_NE(nullptr, gain);
    EXPECT_EQ(0x3012u, gain->reg_addr);
    EXPECT_EQ(0xFFFFu, gain->bitmask);
    EXPECT_EQ(0x80u, gain->default_val);
    EXPECT_EQ(1u, gain->rw);
    EXPECT_STREQ("Gain", gain->reg_desc);
    EXPECT_STREQ("Times 128", gain->detail);
    const ci_reg_data_t* status = cam.reg("STATUS");
    EXPECT_EQ(0xFFFFFFFFu, status->bitmask);
    EXPECT_EQ(0u, status->rw);
    EXPECT_EQ(&space(1), status->addr_space);
    EXPECT_EQ(2u, cam.reg("CMD")->rw);
    EXPECT_EQ(&space(0), cam.reg("LOOSE")->addr_space) << "an unknown space falls back to the first";

    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs("LUT = {0x100, CORE, 16, 0xFFFF, RW, 0, \"Lut\", \"\"}\n"
                                           "VAR = {0x10, VARS, 4, 0xFF, RW, 0, \"\", \"\"}\n"
                                           "FARREG = {0x10, FAR_A, 2, 0xFF, RW, 0, \"\", \"\"}\n"));
    EXPECT_EQ(16u, cam.reg("LUT")->addr_span);
    EXPECT_EQ(0xFFFFu, cam.reg("LUT")->bitmask);
    EXPECT_EQ(1u, cam.reg("VAR")->addr_span) << "spans count in plain register spaces only";
    EXPECT_EQ(2u, cam.reg("FARREG")->addr_span);
}

TEST_F(SdatRegisters, BitfieldLinesAndCutTexts) {
    const std::string longText(300, 'd');
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs("RESERVED_MFR_1 = {1, CORE, 1, 0xFFFF, RW, 0, \"" + longText + "\", \"" +
                                           longText.substr(0, 255) +
                                           "\"}\n"
                                           "  {BIT_0, 0x1, RW, \"b\", \"\"}\n"
                                           "  {bits_7_4 extra words, 0xF0, RO, \"nibble\", \"upper\"}\n"));
    const ci_reg_data_t* reg = cam.reg("reserved_mfr_1");
    ASSERT_NE(nullptr, reg);
    EXPECT_EQ(std::string(252, 'd') + "...", reg->reg_desc);
    EXPECT_EQ(std::string(255, 'd'), reg->detail) << "255 characters fit";
    ASSERT_EQ(2, reg->num_bitfields);
    EXPECT_EQ(1u, reg->bitfield[0].confidential) << "fields of a reserved register are reserved";
    EXPECT_STREQ("bits_7_4", reg->bitfield[1].id) << "the first word only";
    EXPECT_EQ(0xF0u, reg->bitfield[1].bitmask);
    EXPECT_EQ(0u, reg->bitfield[1].rw);
    EXPECT_STREQ("nibble", reg->bitfield[1].desc);
    EXPECT_STREQ("upper", reg->bitfield[1].detail);
}

TEST_F(SdatRegisters, ARegisterHoldsAtMost33Bitfields) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs("FULL = {1, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n" + fields(33)));
    EXPECT_EQ(33, cam.reg("FULL")->num_bitfields);

    LogCapture log;
    EXPECT_EQ(CI_PARSE_REG_ERROR, parse_regs("OVER = {1, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n" + fields(35) +
                                             "NEXT = {2, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n  {N0, 1, RW, \"\"}\n"));
    EXPECT_EQ(nullptr, cam.reg("OVER"));
    ASSERT_NE(nullptr, cam.reg("NEXT"));
    EXPECT_EQ(1, cam.reg("NEXT")->num_bitfields);
    EXPECT_EQ(1, count_of(log.text(), "{F33, 1, RW, \"\"} in ")) << "reported once";
}

// Names are told apart ignoring the case of ASCII letters only: a second
// "Block_7" among many registers is refused, while names that differ in a
// byte outside ASCII (letters of some single-byte code page, whatever case
// they look like) are two registers.
TEST_F(SdatRegisters, DuplicateNamesIgnoreTheCaseOfAsciiLettersOnly) {
    std::string lines;
    for (int i = 0; i < 300; ++i)
        lines += "BLOCK_" + std::to_string(i) + " = {" + std::to_string(i) + ", CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n";
    lines += "Block_7 = {999, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n";
    lines += "CAF\xC9 = {1000, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n";
    lines += "caf\xE9 = {1001, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n";
    LogCapture log;
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR, parse_regs(lines));
    EXPECT_EQ(302, cam.sensor()->num_regs);
    EXPECT_EQ(7u, cam.reg("block_7")->reg_addr);
    EXPECT_EQ(1, count_of(log.text(), "Block_7 = {999"));
    ASSERT_NE(nullptr, cam.reg("CAF\xC9"));
    ASSERT_NE(nullptr, cam.reg("caf\xE9"));
    EXPECT_EQ(1001u, cam.reg("caf\xE9")->reg_addr);
}

// A name and its copy in the other case clash at every length, the part
// past the last whole eight characters included.
TEST_F(SdatRegisters, DuplicateNamesClashAtEveryLength) {
    std::string lines;
    std::string name;
    for (int length = 1; length <= 40; ++length) {
        name += static_cast<char>((length % 2 ? 'a' : 'A') + length % 26);
        std::string other = name;
        other.back() = static_cast<char>(other.back() ^ 0x20);
        lines += name + " = {" + std::to_string(length) + ", CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n";
        lines += other + "_X = {" + std::to_string(100 + length) + ", CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n";
        lines += other + " = {" + std::to_string(200 + length) + ", CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n";
    }
    LogCapture log;
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR, parse_regs(lines));
    EXPECT_EQ(80, cam.sensor()->num_regs);
    EXPECT_EQ(40, count_of(log.text(), ", CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}"));
}
