// The descriptor and optional sections of the sectioned sensor-data files.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

class SdatSections : public ::testing::Test {
protected:
    // Parses a file made of the given text; returns the parser's code.
    ci_error_code parse(const std::string& text) { return cam.parse(dir.write("t.sdat", text)); }
    ci_error_code parse_optional(const std::string& lines) { return parse(sdat_with(sdat_section("OPTIONAL", lines))); }
    const _probe_term_t& term(int i) const { return cam.ctx()->probe_term[i]; }

    ScratchDir dir;
    ParseCamera cam;
};

}  // namespace

TEST_F(SdatSections, DescriptorKeysFillTheRecordAndTheContext) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse("[chip_descriptor]\n"
                                      "SENSORNAME = \"CK 0200 lab\"\n"
                                      "RAW_WIDTH = 0x500\n"
                                      "RAW_HEIGHT = 960\n"
                                      "RAW_IMAGE_TYPE = bayer\n"
                                      "RAW_BITS_PER_CLOCK = 8\n"
                                      "RAW_CLOCKS_PER_PIXEL = 2\n"
                                      "PIXEL_CLOCK_POLARITY = 0\n"
                                      "I2C_BASE_ADDRESS = 0x48\n"
                                      "IMAGE_WIDTH = 17\n"
                                      "IMAGE_HEIGHT = 19\n"
                                      "[END]\n"));
    const ci_sensor_t* s = cam.sensor();
    EXPECT_STREQ("CK 0200 lab", s->sensorName);
    EXPECT_EQ(1280u, s->width);
    EXPECT_EQ(1280u, s->fullWidth);
    EXPECT_EQ(960u, s->fullHeight);
    EXPECT_EQ(8u, cam.ctx()->rxBitDepth);
    EXPECT_EQ(2u, cam.ctx()->clocksPerPixel);
    EXPECT_EQ(0x48u, s->shipAddr);
    EXPECT_EQ(CI_BAYER_16, s->imageType);  // refined by depth
    EXPECT_EQ(1280u * 960u * 2u, s->bufferSize);
}

TEST_F(SdatSections, BayerTypesAreRefinedByDepth) {
    struct Row {
        const char* type;
        int bits, clocks;
        ci_image_types expect;
        ci_u32 hidy;
    } rows[] = {
        {"BAYER", 10, 2, CI_BAYER_20, 0},       {"BAYER", 9, 1, CI_BAYER_10, 0},
        {"BAYER_HDR", 10, 1, CI_BAYER_10, 1},   {"BAYER_HDR", 11, 1, CI_BAYER_12_HDR, 1},
        {"BAYER_HDR", 8, 2, CI_BAYER_16, 1},
        {"BAYER_IHDR", 12, 1, CI_BAYER_10_IHDR, 0},
        {"YCBCR", 8, 2, CI_YCBCR, 0},
        {"BAYER_STEREO", 16, 1, CI_BAYER_STEREO, 0},
        {"JPEG", 8, 1, CI_IMAGE_TYPE_NOT_FOUND, 0},  // the text form has no JPEG keyword
    };
    for (const Row& row : rows) {
        std::string text = "[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = 0x20\nIMAGE_TYPE = " + std::string(row.type) +
                           "\nBITS_PER_CLOCK = " + std::to_string(row.bits) +
                           "\nCLOCKS_PER_PIXEL = " + std::to_string(row.clocks) + "\n[END]\n";
        ASSERT_EQ(CI_PARSE_SUCCESS, parse(text)) << row.type;
        EXPECT_EQ(row.expect, cam.sensor()->imageType) << row.type << " " << row.bits << "x" << row.clocks;
        EXPECT_EQ(row.hidy, cam.ctx()->hidy) << row.type;
        if (row.expect == CI_BAYER_STEREO) {
            EXPECT_EQ(8u, cam.sensor()->pixelBits) << "stereo Bayer counts 8 bits";
        }
    }
}

TEST_F(SdatSections, BaseAddressListsAreLimitedToFifteenGoodValues) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse("[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = (0x10 0x12)\n"
                                      "SHIP_BASE_ADDRESS = (0x20  0x30)\n[END]\n"));
    EXPECT_EQ(2, cam.ctx()->num_shipAddrs);  // each line starts the list afresh
    EXPECT_EQ(0x20u, cam.ctx()->shipAddr[0]);
    EXPECT_EQ(0x30u, cam.ctx()->shipAddr[1]);
    EXPECT_EQ(0x20u, cam.sensor()->shipAddr);

    std::string fifteen = "(2 4 6 8 10 12 14 16 18 20 22 24 26 28 30";
    ASSERT_EQ(CI_PARSE_SUCCESS, parse("[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = " + fifteen + ")\n[END]\n"));
    EXPECT_EQ(15, cam.ctx()->num_shipAddrs);
    LogCapture log;
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse("[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = " + fifteen + " 32 34)\n[END]\n"));
    EXPECT_EQ(16, cam.ctx()->num_shipAddrs);
    EXPECT_EQ(1, count_of(log.text(), "30 32 34) in "));
}

TEST_F(SdatSections, DescriptorErrors) {
    // An unknown key fails the file after the whole section is read.
    LogCapture log;
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse("[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = 0x20\nCOLOUR = RED\n"
                                        "WIDTH = 33\n[END]\n"));
    EXPECT_EQ(33u, cam.sensor()->width);
    EXPECT_EQ(1, count_of(log.text(), "COLOUR = RED in "));
    // A line without key and value ends the section at once.
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse("[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = 0x20\nWIDTH=44\nHEIGHT = 55\n"
                                        "[END]\n"));
    EXPECT_EQ(0u, cam.sensor()->height);
    // Values that do not scan.
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse("[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = 0x20\nWIDTH = wide\n[END]\n"));
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse("[CHIP_DESCRIPTOR]\nSHIP_BASE_ADDRESS = 0x20\nSENSORNAME = CK0200\n[END]\n"));
    // A file without a descriptor.
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse(sdat_section("OPTIONAL", "REG_ADDR_SIZE = 16\n")));
}

TEST_F(SdatSections, PartNumbersInEveryForm) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_optional("PART_NUMBER = \"CK-A\"\n"
                                               "PART_NUMBER = \"CK-B\" SENSOR FUSE_REV , 0x00F0, (0x10 0x20)\n"
                                               "PART_NUMBER = \"CK-C\" serial 0x90, 0x31FE:16, 0x000F:8, 3\n"
                                               "PART_NUMBER = \"CK-D\" OTHER 1, 2\n"
                                               "PART_NUMBER = \"CK-E\" SERIAL 0x90, 0x31FE\n"
                                               "PART_NUMBER = \"CK-F\" SENSOR R, 1\n"
                                               "PART_NUMBER = \"CK-G\"\n"));
    const _common_context_t* ctx = cam.ctx();
    ASSERT_EQ(4, ctx->num_partNumbers);
    EXPECT_STREQ("CK-A", cam.sensor()->partNumber);
    EXPECT_STREQ("", ctx->partNumber[0].regName);
    const _partNumberData& bySensor = ctx->partNumber[1];
    EXPECT_STREQ("FUSE_REV", bySensor.regName);
    EXPECT_EQ(0xF0u, bySensor.mask);
    ASSERT_EQ(2, bySensor.numValues);
    EXPECT_EQ(0x20u, bySensor.value[1]);
    const _partNumberData& bySerial = ctx->partNumber[2];
    EXPECT_EQ(0x90u, bySerial.baseAddr);
    EXPECT_EQ(0x31FEu, bySerial.regAddr);
    EXPECT_EQ(16u, bySerial.addrSize);
    EXPECT_EQ(0xFu, bySerial.mask);
    EXPECT_EQ(8u, bySerial.dataSize);
    EXPECT_EQ(3u, bySerial.value[0]);
    // CK-D (unknown word) and CK-E (numbers do not scan) were not added;
    // CK-F is the fourth and CK-G one too many.
    EXPECT_STREQ("CK-F", ctx->partNumber[3].partNumber);
}

TEST_F(SdatSections, ValueListLimitsDifferByKey) {
    const std::string nine = "(1 2 3 4 5 6 7 8 9";
    const std::string ten = nine + " 10";
    const std::string eleven = ten + " 11";
    struct Row {
        std::string line;
        bool ok;
    } rows[] = {
        {"PART_NUMBER = \"P\" SENSOR R, 1, " + nine + ")", true},
        {"PART_NUMBER = \"P\" SENSOR R, 1, " + ten + ")", false},
        {"EXTRA_SERIAL_REG = 0x30, 0:8, 0xFF:8, " + nine + ")", true},
        {"EXTRA_SERIAL_REG = 0x30, 0:8, 0xFF:8, " + ten + ")", false},
        {"EXTRA_DESC_VAL = " + ten + ")", true},
        {"EXTRA_DESC_VAL = " + eleven + ")", false},
        {"VERSION_REG_READ = R, 0xFF, " + ten + ")", true},
        {"VERSION_REG_READ = R, 0xFF, " + eleven + ")", false},
        {"VERSION_REG_RESETIF = R, 0xFF, " + ten + ")", true},
        {"VERSION_REG_RESETIF = R, 0xFF, " + eleven + ")", false},
        {"VERSION_REG_WAITFOR = R, 0xFF, " + ten + "), 50", true},
        {"VERSION_REG_WAITFOR = R, 0xFF, " + eleven + "), 50", false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.ok ? CI_PARSE_SUCCESS : CI_CHIP_DESC_ERROR, parse_optional(row.line + "\n")) << row.line;
    // An overflowing list keeps what fits.
    parse_optional("EXTRA_DESC_VAL = " + eleven + ")\n");
    EXPECT_EQ(10, term(0).num_extra_desc_val);
    EXPECT_EQ(10u, term(0).extra_desc_val[9]);
    parse_optional("PART_NUMBER = \"P\" SENSOR R, 1, " + ten + ")\n");
    EXPECT_EQ(10, cam.ctx()->partNumber[0].numValues);
}

TEST_F(SdatSections, VersionRegistersAndOtherProbeKeys) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_optional("VERSION_REG_WRITE = FUSE_CTRL , 0x0001, 1\n"
                                               "VERSION_REG_WAITFOR = FUSE_STATUS, 0x1, 1\n"
                                               "VERSION_REG_WAITFOR = FUSE_STATUS, 0x1, 1, 20\n"
                                               "VERSION_REG_WAITFOR = FUSE_STATUS, 0x6, (2 4) , 70\n"
                                               "VERSION_REG_READ = FUSE_REV, 0xF0, 0x20\n"
                                               "VERSION_REG_READ = FUSE_REV2, 0xF0, (0x20 0x30)\n"
                                               "VERSION_REG_RESETIF = BOOT, 1, 0\n"
                                               "EXTRA_DESC_REG = \"ROM_REV\"\n"
                                               "EXTRA_DESC_MASK = 0xFF\n"
                                               "EXTRA_DESC_VAL = 7\n"
                                               "EXTRA_SERIAL_REG = 0x48, 0x00:8, 0xFF:0\n"
                                               "SENSOR_VERSION = 3\n"
                                               "VERSION_NAME = \"Rev2\"\n"
                                               "FULL_WIDTH = 700\n"
                                               "FULL_HEIGHT = 500\n"
                                               "REG_ADDR_SIZE = 16\n"
                                               "REG_DATA_SIZE = 8\n"
                                               "SDAT_VERSION = 2\n"
                                               "SOME_OTHER_TOOL_KEY = 5\n"));
    const _probe_term_t& t = term(0);
    ASSERT_EQ(4, t.num_version_reg_write);  // a wait is a write entry with a time-out
    EXPECT_STREQ("FUSE_CTRL", t.version_reg_write[0].regName);
    EXPECT_EQ(-1, t.version_reg_write[0].timeout);
    EXPECT_EQ(500, t.version_reg_write[1].timeout);
    EXPECT_EQ(20, t.version_reg_write[2].timeout);
    ASSERT_EQ(2, t.version_reg_write[3].numValues);
    EXPECT_EQ(4u, t.version_reg_write[3].value[1]);
    ASSERT_EQ(2, t.num_version_reg_read);
    EXPECT_EQ(0x30u, t.version_reg_read[1].value[1]);
    EXPECT_STREQ("BOOT", t.version_reg_resetif.regName);
    EXPECT_STREQ("ROM_REV", t.extra_desc_reg);
    EXPECT_EQ(7u, t.extra_desc_val[0]);
    ASSERT_EQ(1, t.num_serial_match);
    EXPECT_EQ(0u, t.extra_serial_match[0].dataSize);
    EXPECT_EQ(0, t.extra_serial_match[0].numValues);
    const ci_sensor_t* s = cam.sensor();
    EXPECT_EQ(3u, s->sensorVersion);
    EXPECT_EQ(500u, s->fullHeight);
    EXPECT_EQ(16u, s->reg_addr_size);
    EXPECT_EQ(8u, s->reg_data_size);
    EXPECT_EQ(2, cam.ctx()->sdat_version);
    EXPECT_STREQ("Rev2", s->versionName);
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_optional("VERSION_NAME = \"Rev 2\"\n"));
    EXPECT_STREQ("Rev", cam.sensor()->versionName);
}

TEST_F(SdatSections, EntryCountsAreBounded) {
    std::string lines;
    for (int i = 0; i < 12; ++i) lines += "VERSION_REG_WRITE = W" + std::to_string(i) + ", 1, 1\n";
    for (int i = 0; i < 6; ++i) lines += "VERSION_REG_READ = R" + std::to_string(i) + ", 1, 1\n";
    for (int i = 0; i < 6; ++i) lines += "EXTRA_SERIAL_REG = " + std::to_string(i) + ", 0:8, 1:8, 1\n";
    ASSERT_EQ(CI_PARSE_SUCCESS, parse_optional(lines));
    EXPECT_EQ(10, term(0).num_version_reg_write);
    EXPECT_STREQ("W9", term(0).version_reg_write[9].regName);
    EXPECT_EQ(4, term(0).num_version_reg_read);
    EXPECT_EQ(4, term(0).num_serial_match);
    EXPECT_EQ(3u, term(0).extra_serial_match[3].baseAddr);
}

TEST_F(SdatSections, OrMatchStartsATermForTheNextSection) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(sdat_with(sdat_section("OPTIONAL", "EXTRA_DESC_REG = A\nOR_MATCH\nEXTRA_DESC_MASK = 3\n") +
                              sdat_section("OPTIONAL", "EXTRA_DESC_REG = B\nOR_MATCH\n") +
                              sdat_section("OPTIONAL", "EXTRA_DESC_REG = C\n"))));
    EXPECT_EQ(3, cam.ctx()->num_probe_term);
    EXPECT_STREQ("A", term(0).extra_desc_reg);
    EXPECT_EQ(3u, term(0).extra_desc_mask);  // the rest of a section stays in its term
    EXPECT_STREQ("B", term(1).extra_desc_reg);
    EXPECT_STREQ("C", term(2).extra_desc_reg);
    // The next file starts again with one cleared term.
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(sdat_with("")));
    EXPECT_EQ(1, cam.ctx()->num_probe_term);
    EXPECT_STREQ("", term(1).extra_desc_reg);
}

TEST_F(SdatSections, OptionalErrors) {
    LogCapture log;
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse_optional("REG_ADDR_SIZE = 12\nREG_DATA_SIZE = 16\n"));
    EXPECT_EQ(12u, cam.sensor()->reg_addr_size);  // stored anyway
    EXPECT_EQ(1, count_of(log.text(), "REG_ADDR_SIZE = 12 in "));
    EXPECT_EQ(1, count_of(log.text(), "register address size should be 8, 16 or 32"));
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse_optional("REG_DATA_SIZE = 7\n"));
    EXPECT_EQ(1, count_of(log.text(), "register data size should be 8, 16 or 32"));
    // A key without value ends the section; later keys are not read.
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse_optional("SENSOR_VERSION\nFULL_WIDTH = 9\n"));
    EXPECT_EQ(640u, cam.sensor()->fullWidth);
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse_optional("VERSION_REG_WRITE = R, 1\n"));
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse_optional("EXTRA_SERIAL_REG = 0x48, 0x00:8\n"));
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse_optional("VERSION_REG_READ = R, 1, none\n"));
}

TEST_F(SdatSections, AFifthProbeTermIsASyntaxErrorOfTheFile) {
    std::string text = sdat_with("");
    for (int i = 0; i < 5; ++i) text += sdat_section("OPTIONAL", "OR_MATCH\nEXTRA_DESC_MASK = 3\n");
    LogCapture log;
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse(text));
    EXPECT_EQ(CI_MAX_PROBE_TERMS, cam.ctx()->num_probe_term);
    EXPECT_EQ(1, count_of(log.text(), "OR_MATCH in "));
}
