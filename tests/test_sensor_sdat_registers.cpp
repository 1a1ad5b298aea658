// The address-space and registers sections of the sectioned sensor-data
// files.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
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
    ci_error_code parse(const std::string& text) { return cam.parse(dir.write("t.sdat", text)); }
    // Spaces and registers in the given line form.
    ci_error_code parse_regs(const std::string& lines, int sdatVersion = 2, const std::string& spaces = kSpaces) {
        std::string version = "SDAT_VERSION = " + std::to_string(sdatVersion) + "\n";
        return parse(sdat_with(sdat_section("OPTIONAL", version) + spaces + sdat_section("REGISTERS", lines)));
    }
    const ci_addr_space_val_t& space(int i) const { return cam.sensor()->addr_space->addr_space_val[i]; }

    ScratchDir dir;
    ParseCamera cam;
};

std::string many_fields(int n) {
    std::string out;
    for (int i = 0; i < n; ++i) out += "  {F" + std::to_string(i) + ", 1, RW, \"\"}\n";
    return out;
}

}  // namespace

TEST_F(SdatRegisters, AddressSpacesWithAndWithoutType) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs(""));
    ASSERT_NE(nullptr, cam.sensor()->addr_space);
    ASSERT_EQ(7, cam.sensor()->addr_space->num_vals);
    EXPECT_STREQ("CORE", space(0).ID);
    EXPECT_STREQ("Sensor core", space(0).name);
    const ci_addr_type types[] = {CI_REG_ADDR, CI_REG_ADDR,      CI_MCU_ADDR,      CI_SFR_ADDR,
                                  CI_REG_ADDR, CI_FAR1_REG_ADDR, CI_FAR2_SFR_ADDR};  // unknown keyword: a register space
    for (int i = 0; i < 7; ++i) EXPECT_EQ(types[i], space(i).type) << space(i).ID;
    EXPECT_EQ(2u, space(1).val);
    EXPECT_STREQ("Page two", space(1).name);
    EXPECT_STREQ("", space(4).name);  // too short to hold a quoted name
    EXPECT_EQ(0x48u, space(5).far_base);
    EXPECT_EQ(16u, space(5).far_addr_size);
    EXPECT_EQ(8u, space(5).far_data_size);
    EXPECT_EQ(16u, space(6).far_data_size);
}

TEST_F(SdatRegisters, AddressSpaceTablesGrowAndMoveTheirRegisters) {
    std::string first = "[ADDR_SPACE]\n";
    for (int i = 0; i < 120; ++i) first += "P" + std::to_string(i) + " = {" + std::to_string(i) + ", \"p\"}\n";
    first += "[END]\n";
    std::string text = sdat_with(first + sdat_section("REGISTERS", "A = {1, P77, 0xFF, RW, 0, \"\", \"\"}\n") +
                                 sdat_section("ADDR_SPACE", "LATE = {MCU, 9, \"late\"}\n") +
                                 sdat_section("REGISTERS", "B = {2, LATE, 0xFF, RW, 0, \"\", \"\"}\n"));
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(text));
    const ci_addr_space_t* table = cam.sensor()->addr_space;
    ASSERT_EQ(121, table->num_vals);
    EXPECT_EQ(&table->addr_space_val[77], cam.reg("A")->addr_space);  // moved with the table
    EXPECT_EQ(77u, cam.reg("A")->reg_space);
    EXPECT_EQ(&table->addr_space_val[120], cam.reg("B")->addr_space);
    EXPECT_EQ(9u, cam.reg("B")->reg_space);
}

TEST_F(SdatRegisters, BadAddressSpaceLinesFailTheFile) {
    LogCapture log;
    EXPECT_EQ(CI_PARSE_ADDR_SPACE_ERROR,
              parse(sdat_with(sdat_section("ADDR_SPACE", "TWO WORDS = {1, \"x\"}\nNOBRACE = 1\nGOOD = {2, \"g\"}\n"))));
    EXPECT_EQ(1, count_of(log.text(), "TWO WORDS = {1, \"x\"} in "));
    EXPECT_EQ(1, count_of(log.text(), "NOBRACE = 1 in "));
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
    EXPECT_EQ(1u, gain->addr_span);
    const ci_reg_data_t* status = cam.reg("STATUS");
    EXPECT_EQ(0xFFFFFFFFu, status->bitmask);
    EXPECT_EQ(0u, status->rw);
    EXPECT_EQ(2u, status->reg_space);
    EXPECT_EQ(&space(1), status->addr_space);
    EXPECT_EQ(2u, cam.reg("CMD")->rw);
    EXPECT_EQ(1u, cam.reg("LOOSE")->rw);
    EXPECT_EQ(&space(0), cam.reg("LOOSE")->addr_space);  // an unknown space falls back to the first
    EXPECT_EQ(4, cam.sensor()->num_regs);

    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs("LUT = {0x100, CORE, 16, 0xFFFF, RW, 0, \"Lut\", \"\"}\n"
                                           "VAR = {0x10, VARS, 4, 0xFF, RW, 0, \"\", \"\"}\n"
                                           "FARREG = {0x10, FAR_A, 2, 0xFF, RW, 0, \"\", \"\"}\n"
                                           "FARSFR = {0x10, FAR_B, 2, 0xFF, RW, 0, \"\", \"\"}\n"
                                           "ZERO = {0x200, CORE, 0, 0xFFFF, RW, 0, \"\", \"\"}\n"));
    EXPECT_EQ(16u, cam.reg("LUT")->addr_span);
    EXPECT_EQ(1u, cam.reg("VAR")->addr_span);  // spans count in plain register spaces only
    EXPECT_EQ(1u, cam.reg("VAR")->reg_space);
    EXPECT_EQ(2u, cam.reg("FARREG")->addr_span);
    EXPECT_EQ(1u, cam.reg("FARSFR")->addr_span);
    EXPECT_EQ(1u, cam.reg("ZERO")->addr_span);
}

TEST_F(SdatRegisters, TextsAndNamesOfRegistersAndBitfields) {
    std::string longText(300, 'd');
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs("RESERVED_MFR_1 = {1, CORE, 1, 0xFFFF, RW, 0, \"" + longText + "\", \"" +
                                           longText.substr(0, 255) +
                                           "\"}\n"
                                           "  {BIT_0, 0x1, RW, \"b\", \"\"}\n"
                                           "  {bits_7_4 extra words, 0xF0, RO, \"nibble\", \"upper\"}\n"
                                           "  {PLAIN, 0xFF00, WO, \"\"}\n"));
    const ci_reg_data_t* reg = cam.reg("reserved_mfr_1");
    ASSERT_NE(nullptr, reg);
    EXPECT_EQ(1u, reg->confidential);
    EXPECT_EQ(std::string(252, 'd') + "...", reg->reg_desc);
    EXPECT_EQ(std::string(255, 'd'), reg->detail);  // 255 characters fit
    ASSERT_EQ(3, reg->num_bitfields);
    EXPECT_EQ(1u, reg->bitfield[0].confidential);  // fields of a reserved register are reserved
    EXPECT_STREQ("bits_7_4", reg->bitfield[1].id);  // the first word only
    EXPECT_EQ(0xF0u, reg->bitfield[1].bitmask);
    EXPECT_EQ(0u, reg->bitfield[1].rw);
    EXPECT_STREQ("nibble", reg->bitfield[1].desc);
    EXPECT_STREQ("upper", reg->bitfield[1].detail);
    EXPECT_EQ(2u, reg->bitfield[2].rw);
}

TEST_F(SdatRegisters, ARegisterHoldsAtMost33Bitfields) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_regs("FULL = {1, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n" + many_fields(33)));
    EXPECT_EQ(33, cam.reg("FULL")->num_bitfields);

    LogCapture log;
    EXPECT_EQ(CI_PARSE_REG_ERROR, parse_regs("OVER = {1, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n" + many_fields(35) +
                                             "NEXT = {2, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n  {N0, 1, RW, \"\"}\n"));
    EXPECT_EQ(nullptr, cam.reg("OVER"));
    ASSERT_NE(nullptr, cam.reg("NEXT"));
    EXPECT_EQ(1, cam.reg("NEXT")->num_bitfields);
    EXPECT_EQ(1, count_of(log.text(), "{F33, 1, RW, \"\"} in "));  // reported once
}

TEST_F(SdatRegisters, DuplicatesAndBadLinesAreReportedAndSkipped) {
    LogCapture log;
    EXPECT_EQ(CI_PARSE_REG_ERROR, parse_regs("A = {1, CORE, 1, 0xFF, RW, 0, \"\", \"\"}\n"
                                             "a = {2, CORE, 1, 0xFF, RW, 0, \"\", \"\"}\n"
                                             "  {DUP_FIELD, 1, RW, \"\"}\n"
                                             "TWO WORDS = {3, CORE, 1, 0xFF, RW, 0, \"\", \"\"}\n"
                                             "B = {4, CORE, 1, 0xFF, RW, 0, \"\", \"\"}\n"));
    EXPECT_EQ(2, cam.sensor()->num_regs);
    EXPECT_EQ(1u, cam.reg("A")->reg_addr);
    EXPECT_EQ(0, cam.reg("A")->num_bitfields);
    EXPECT_EQ(4u, cam.reg("B")->reg_addr);
    std::string text = log.text();
    EXPECT_EQ(1, count_of(text, "a = {2, CORE, 1, 0xFF, RW, 0, \"\", \"\"} in "));
    EXPECT_EQ(1, count_of(text, "{DUP_FIELD, 1, RW, \"\"} in "));  // fails as a register line
    EXPECT_EQ(1, count_of(text, "TWO WORDS = "));

    // Only a duplicate: the file fails with that code.
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR, parse_regs("A = {1, CORE, 1, 0xFF, RW, 0, \"\"}\n"
                                                  "A = {1, CORE, 1, 0xFF, RW, 0, \"\"}\n"));
}

TEST_F(SdatRegisters, LinesWithoutTextsDependOnTheForm) {
    // Form 1 needs the texts: such a line is not counted and not stored.
    EXPECT_EQ(CI_PARSE_REG_ERROR, parse_regs("A = {1, CORE, 0xFF, RW, 0}\nB = {2, CORE, 0xFF, RW, 0, \"\"}\n", 1));
    EXPECT_EQ(nullptr, cam.reg("A"));
    EXPECT_NE(nullptr, cam.reg("B"));
    // Form 2 stores it but does not count it, so the last register finds the
    // array full.
    EXPECT_EQ(CI_PARSE_REG_ERROR, parse_regs("A = {1, CORE, 1, 0xFF, RW, 0}\nB = {2, CORE, 1, 0xFF, RW, 0, \"\"}\n"));
    EXPECT_NE(nullptr, cam.reg("A"));
    EXPECT_EQ(nullptr, cam.reg("B"));
    EXPECT_EQ(1, cam.sensor()->num_regs);
    // A section with nothing to count is empty, and the sections after it
    // are read.
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(sdat_with(sdat_section("REGISTERS", "; nothing here\n") +
                                                sdat_section("OPTIONAL", "SENSOR_VERSION = 7\n"))));
    EXPECT_EQ(0, cam.sensor()->num_regs);
    EXPECT_EQ(7u, cam.sensor()->sensorVersion);
}

TEST_F(SdatRegisters, PageSelectRegistersAreRecordedForPagedModels) {
    const std::string paged = "[CHIP_DESCRIPTOR]\nSENSORNAME = \"CK0900\"\nSHIP_BASE_ADDRESS = 0xBA\n[END]\n";
    const std::string regs = sdat_section("REGISTERS",
                                          "ADDR_SPACE_SEL = {0xF0, CORE, 0x3, RW, 0, \"\", \"\"}\n"
                                          "FAR_SEL = {0x44, FAR_A, 0x3, RW, 0, \"\", \"\"}\n");
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(paged + kSpaces + regs));
    EXPECT_EQ(0xF0u, cam.sensor()->addr_space->reg_addr_read);
    EXPECT_EQ(0xF0u, cam.sensor()->addr_space->reg_addr_write);
    EXPECT_EQ(0u, cam.sensor()->addr_space->far1_reg_addr);

    // The same register on a far bus sets that bus's selector.
    std::string farRegs = sdat_section("REGISTERS", "ADDR_SPACE_SEL = {0x44, FAR_A, 0x3, RW, 0, \"\", \"\"}\n");
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(paged + kSpaces + farRegs));
    EXPECT_EQ(0x44u, cam.sensor()->addr_space->far1_reg_addr);
    EXPECT_EQ(0u, cam.sensor()->addr_space->reg_addr_read);

    // 16-bit register addresses, or a model without page select: nothing.
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(paged + sdat_section("OPTIONAL", "REG_ADDR_SIZE = 16\n") + kSpaces + regs));
    EXPECT_EQ(0u, cam.sensor()->addr_space->reg_addr_read);
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(kSdatDescriptor + std::string(kSpaces) + regs));
    EXPECT_EQ(0u, cam.sensor()->addr_space->reg_addr_write);

    // The index pair of the other kind of paged model.
    const std::string indexed = "[CHIP_DESCRIPTOR]\nSENSORNAME = \"CK1200\"\nSHIP_BASE_ADDRESS = 0xBA\n[END]\n";
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(indexed + kSpaces +
                    sdat_section("REGISTERS",
                                 "2_WIRE_SERIAL_READ_INDEX = {0xFE, CORE, 0x3, RW, 0, \"\", \"\"}\n"
                                 "2_wire_serial_write_index = {0xFD, CORE, 0x3, RW, 0, \"\", \"\"}\n")));
    EXPECT_EQ(0xFEu, cam.sensor()->addr_space->reg_addr_read);
    EXPECT_EQ(0xFDu, cam.sensor()->addr_space->reg_addr_write);
}

TEST_F(SdatRegisters, LaterRegisterSectionsAppend) {
    ASSERT_EQ(
        CI_PARSE_SUCCESS,
        parse(sdat_with(sdat_section("REGISTERS", "A = {1, CORE, 0xFF, RW, 0, \"\", \"\"}\n") +
                        sdat_section("REGISTERS", "B = {2, CORE, 0xFF, RW, 0, \"\", \"\"}\n  {X, 1, RW, \"\"}\n"))));
    ASSERT_EQ(2, cam.sensor()->num_regs);
    EXPECT_STREQ("A", cam.sensor()->regs[0].unique_desc);
    EXPECT_EQ(1, cam.reg("B")->num_bitfields);
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR,
              parse(sdat_with(sdat_section("REGISTERS", "A = {1, CORE, 0xFF, RW, 0, \"\", \"\"}\n") +
                              sdat_section("REGISTERS", "A = {2, CORE, 0xFF, RW, 0, \"\", \"\"}\n"))));
}
