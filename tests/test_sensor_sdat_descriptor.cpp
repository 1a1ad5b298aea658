// Sensor-data files: the descriptor and optional sections, list limits,
// probe terms, XML dispatch and line numbers in messages.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

class SdatSections : public ::testing::Test {
protected:
    ci_error_code parse(const std::string& text, const char* name = "t.sdat") {
        return cam.parse(dir.write(name, text));
    }
    ci_error_code parse_optional(const std::string& lines) { return parse(sdat_with(sdat_section("OPTIONAL", lines))); }
    ci_error_code parse_descriptor(const std::string& lines) {
        return parse(sdat_section("CHIP_DESCRIPTOR", "SHIP_BASE_ADDRESS = 0x20\n" + lines));
    }
    const _probe_term_t& term(int i) const { return cam.ctx()->probe_term[i]; }

    ScratchDir dir;
    ParseCamera cam;
};

std::string n(long long value) { return std::to_string(value); }

struct View {
    const ci_sensor_t* s;
    const _common_context_t* c;
    const _probe_term_t& t() const { return c->probe_term[0]; }
};

}  // namespace

TEST_F(SdatSections, EachKeyFillsItsField) {
    const struct {
        bool descriptor;
        const char* lines;
        std::string (*field)(View);
        std::string expected;
    } rows[] = {
        {true, "SENSORNAME = \"CK 0200 lab\"", [](View v) { return std::string(v.s->sensorName); }, "CK 0200 lab"},
        {true, "RAW_WIDTH = 0x500", [](View v) { return n(v.s->width) + "/" + n(v.s->fullWidth); }, "1280/1280"},
        {true, "RAW_HEIGHT = 960", [](View v) { return n(v.s->fullHeight); }, "960"},
        {true, "RAW_BITS_PER_CLOCK = 8", [](View v) { return n(v.c->rxBitDepth); }, "8"},
        {true, "CLOCKS_PER_PIXEL = 2", [](View v) { return n(v.c->clocksPerPixel); }, "2"},
        {true, "I2C_BASE_ADDRESS = 0x48", [](View v) { return n(v.s->shipAddr); }, "72"},
        {true, "SHIP_BASE_ADDRESS = (0x10 0x12)\nSHIP_BASE_ADDRESS = (0x30  0x34)",
         [](View v) { return n(v.c->num_shipAddrs) + "/" + n(v.c->shipAddr[1]) + "/" + n(v.s->shipAddr); }, "2/52/48"},
        {true, "IMAGE_TYPE = bayer_hdr\nBITS_PER_CLOCK = 11",
         [](View v) { return n(v.s->imageType) + "/" + n(v.c->hidy); }, n(CI_BAYER_12_HDR) + "/1"},
        {false, "SENSOR_VERSION = 3", [](View v) { return n(v.s->sensorVersion); }, "3"},
        {false, "VERSION_NAME = \"Rev 2\"", [](View v) { return std::string(v.s->versionName); }, "Rev"},
        {false, "FULL_WIDTH = 700", [](View v) { return n(v.s->fullWidth); }, "700"},
        {false, "REG_ADDR_SIZE = 16\nREG_DATA_SIZE = 8",
         [](View v) { return n(v.s->reg_addr_size) + "/" + n(v.s->reg_data_size); }, "16/8"},
        {false, "SDAT_VERSION = 2", [](View v) { return n(v.c->sdat_version); }, "2"},
        {false, "VERSION_REG_WRITE = FUSE_CTRL , 0x0001, 1\nVERSION_REG_WAITFOR = S, 0x6, (2 4) , 70",
         [](View v) {
             const auto& w = v.t().version_reg_write;
             return std::string(w[0].regName) + "/" + n(w[0].timeout) + "/" + n(w[1].timeout) + "/" + n(w[1].value[1]);
         },
         "FUSE_CTRL/-1/70/4"},
        {false, "VERSION_REG_WAITFOR = S, 0x1, 1", [](View v) { return n(v.t().version_reg_write[0].timeout); }, "500"},
        {false, "VERSION_REG_READ = FUSE_REV2, 0xF0, (0x20 0x30)",
         [](View v) { return n(v.t().num_version_reg_read) + "/" + n(v.t().version_reg_read[0].value[1]); }, "1/48"},
        {false, "VERSION_REG_RESETIF = BOOT, 1, 0",
         [](View v) { return std::string(v.t().version_reg_resetif.regName); }, "BOOT"},
        {false, "EXTRA_DESC_REG = \"ROM_REV\"\nEXTRA_DESC_MASK = 0xFF\nEXTRA_DESC_VAL = 7",
         [](View v) { return v.t().extra_desc_reg + ("/" + n(v.t().extra_desc_mask)) + "/" + n(v.t().extra_desc_val[0]); },
         "ROM_REV/255/7"},
        {false, "EXTRA_SERIAL_REG = 0x90, 0x31FE:16, 0x000F:8, 3",
         [](View v) {
             const auto& m = v.t().extra_serial_match[0];
             return n(m.baseAddr) + "/" + n(m.regAddr) + "/" + n(m.addrSize) + "/" + n(m.mask) + "/" + n(m.dataSize) +
                    "/" + n(m.value[0]);
         },
         "144/12798/16/15/8/3"},
        {false, "PART_NUMBER = \"CK-B\" SENSOR FUSE_REV , 0x00F0, (0x10 0x20)",
         [](View v) {
             const auto& p = v.c->partNumber[0];
             return v.s->partNumber + ("/" + std::string(p.regName)) + "/" + n(p.mask) + "/" + n(p.value[1]);
         },
         "CK-B/FUSE_REV/240/32"},
        {false, "PART_NUMBER = \"CK-C\" serial 0x90, 0x31FE:16, 0x000F:8, 3",
         [](View v) { return n(v.c->partNumber[0].baseAddr) + "/" + n(v.c->partNumber[0].dataSize); }, "144/8"},
    };
    for (const auto& row : rows) {
        ASSERT_EQ(row.descriptor ? parse_descriptor(std::string(row.lines) + "\n") : parse_optional(std::string(row.lines) + "\n"),
                  CI_PARSE_SUCCESS)
            << row.lines;
        EXPECT_EQ(row.field(View{cam.sensor(), cam.ctx()}), row.expected) << row.lines;
    }
}

TEST_F(SdatSections, ListLimitsAndBadLines) {
    const std::string nine = "(1 2 3 4 5 6 7 8 9";
    const std::string ten = nine + " 10";
    const std::string eleven = ten + " 11";
    const std::string fifteen = "(2 4 6 8 10 12 14 16 18 20 22 24 26 28 30";
    const struct {
        bool descriptor;
        std::string line;
        bool ok;
    } rows[] = {
        {false, "EXTRA_DESC_VAL = " + ten + ")", true},
        {false, "EXTRA_DESC_VAL = " + eleven + ")", false},
        {false, "VERSION_REG_WAITFOR = R, 0xFF, " + ten + "), 50", true},
        {false, "VERSION_REG_WAITFOR = R, 0xFF, " + eleven + "), 50", false},
        {false, "PART_NUMBER = \"P\" SENSOR R, 1, " + nine + ")", true},
        {false, "PART_NUMBER = \"P\" SENSOR R, 1, " + ten + ")", false},
        {false, "EXTRA_SERIAL_REG = 0x30, 0:8, 0xFF:8, " + nine + ")", true},
        {false, "EXTRA_SERIAL_REG = 0x30, 0:8, 0xFF:8, " + ten + ")", false},
        {false, "REG_ADDR_SIZE = 12", false},
        {true, "COLOUR = RED", false},
        {true, "WIDTH=44", false},
        {true, "SHIP_BASE_ADDRESS = " + fifteen + ")", true},
        {true, "SHIP_BASE_ADDRESS = " + fifteen + " 32 34)", false},
    };
    for (const auto& row : rows) {
        const std::string line = row.line + "\n";
        EXPECT_EQ(row.descriptor ? parse_descriptor(line) : parse_optional(line),
                  row.ok ? CI_PARSE_SUCCESS : CI_CHIP_DESC_ERROR)
            << row.line;
    }
    EXPECT_EQ(cam.ctx()->num_shipAddrs, 16) << "an overflowing list keeps what fits";
    parse_optional("EXTRA_DESC_VAL = " + eleven + ")\n");
    EXPECT_EQ(term(0).num_extra_desc_val, 10);
    EXPECT_EQ(term(0).extra_desc_val[9], 10u);
}

TEST_F(SdatSections, OrMatchStartsATermForTheNextSectionUpToFour) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(sdat_with(sdat_section("OPTIONAL", "EXTRA_DESC_REG = A\nOR_MATCH\nEXTRA_DESC_MASK = 3\n") +
                              sdat_section("OPTIONAL", "EXTRA_DESC_REG = B\n"))));
    EXPECT_EQ(2, cam.ctx()->num_probe_term);
    EXPECT_EQ(3u, term(0).extra_desc_mask) << "the rest of a section stays in its term";
    EXPECT_STREQ("B", term(1).extra_desc_reg);

    std::string text = sdat_with("");
    for (int i = 0; i < 5; ++i) text += sdat_section("OPTIONAL", "OR_MATCH\nEXTRA_DESC_MASK = 3\n");
    LogCapture log;
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse(text));
    EXPECT_EQ(CI_MAX_PROBE_TERMS, cam.ctx()->num_probe_term);
    EXPECT_EQ(1, count_of(log.text(), "OR_MATCH in "));
}

TEST_F(SdatSections, XmlFilesGoToTheXmlReaderWhateverTheirName) {
#ifndef CAMKIT_HAVE_EXPAT
    GTEST_SKIP() << "built without the XML reader";
#endif
    LogCapture log;
    const std::string xml = "<?xml version=\"1.0\"?>\n<sensor name=\"x\" ship_base_address=\"0x20\"/>\n";
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(xml, "b.sdat"));
    EXPECT_STREQ("x", cam.sensor()->sensorName);
    EXPECT_EQ(CI_PARSE_SUCCESS, parse("\xEF\xBB\xBF" + xml, "c.sdat"));
    EXPECT_EQ(0, count_of(log.text(), "not supported"));
    // A byte-order mark before a text file is skipped; "<?xm" is not XML.
    EXPECT_EQ(CI_PARSE_SUCCESS, parse("\xEF\xBB\xBF" + sdat_with(""), "d.sdat"));
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse("<?xm", "e.sdat"));
}

TEST_F(SdatSections, MessagesGiveThePhysicalLineNumber) {
    LogCapture log;
    const std::string text =
        "; header comment\r\n"   // 1
        "\r\n"                   // 2
        "[CHIP_DESCRIPTOR]\r\n"  // 3
        "   ; indented comment\r\n"
        "SHIP_BASE_ADDRESS = 0x20\r\n"  // 5
        "// slashes\r\n"
        "[END]\r\n"        // 7
        "[REGISTERS]\r\n"  // 8
        "A = {1, CORE, 0xFF, RW, 0, \"\", \"\"}\r\n"
        "\t// comment between register lines\r\n"     // 10
        "A = {2, CORE, 0xFF, RW, 0, \"\", \"\"}\r\n"  // 11
        "[END]\r\n";
    const std::string path = dir.write("lines.sdat", text);
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR, cam.parse(path));
    EXPECT_EQ(1, count_of(log.text(), "A = {2, CORE, 0xFF, RW, 0, \"\", \"\"} in " + path + ":11"));
}
