// The XML form of sensor-data files: attributes, probe terms, address
// spaces, registers and bitfields, character data as the parser delivers it,
// and the reports of bad files.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

const char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const char kSensor[] =
    "<sensor name=\"CK0200\" width=\"640\" height=\"480\" image_type=\"BAYER\" bits_per_clock=\"10\""
    " reg_addr_size=\"16\" reg_data_size=\"16\" ship_base_address=\"0x20\"/>\n";

// A file: the sensor element and body inside the root element.
std::string xsdat(const std::string& body, const std::string& sensor = kSensor) {
    return kHead + std::string("<sdat>\n") + sensor + body + "</sdat>\n";
}

class Xsdat : public ::testing::Test {
protected:
    ci_error_code parse(const std::string& text, const char* name = "t.xsdat") {
        return cam.parse(dir.write(name, text));
    }
    const _probe_term_t& term(int i) const { return cam.ctx()->probe_term[i]; }

    ScratchDir dir;
    ParseCamera cam;
};

TEST_F(Xsdat, AttributeValuesAreTrimmed) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("<addr_spaces><space name=' CORE ' type=' MCU ' value=' 3 ' desc='  Core  '/></addr_spaces>\n"
                          "<registers><reg name='  GAIN\t' addr=' 0x3012 ' space=' CORE ' rw=' RO'"
                          " display_name='  Analog gain ' datatype=' signed ' mask=' 0xFF '/></registers>\n",
                          "<sensor name=' CK0200 ' width=' 640 ' ship_base_address=' 0x20  0x30 '"
                          " image_type=' YCBCR '/>\n")));
    const ci_sensor_t* s = cam.sensor();
    EXPECT_STREQ("CK0200", s->sensorName);
    EXPECT_EQ(640u, s->width);
    EXPECT_EQ(2, cam.ctx()->num_shipAddrs);
    EXPECT_EQ(0x30u, cam.ctx()->shipAddr[1]);
    EXPECT_EQ(CI_YCBCR, s->imageType);
    ASSERT_EQ(1, s->addr_space->num_vals);
    EXPECT_STREQ("CORE", s->addr_space->addr_space_val[0].ID);
    EXPECT_STREQ("Core", s->addr_space->addr_space_val[0].name);
    EXPECT_EQ(CI_MCU_ADDR, s->addr_space->addr_space_val[0].type);
    const ci_reg_data_t* r = cam.reg("GAIN");
    ASSERT_NE(nullptr, r);
    EXPECT_STREQ("GAIN", r->unique_desc);
    EXPECT_STREQ("Analog gain", r->reg_desc);
    EXPECT_EQ(0x3012u, r->reg_addr);
    EXPECT_EQ(3u, r->reg_space);
    EXPECT_EQ(0u, r->rw);
    EXPECT_EQ(CI_TYPE_SIGNED, r->datatype);
    EXPECT_EQ(0xFFu, r->bitmask);
}

TEST_F(Xsdat, RegisterDefaultsAndAttributes) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("<registers>\n"
                          "<reg name='A' addr='1'/>\n"
                          "<reg name='B' addr='2' span='4' mask='-1' default='0x12' rw='wo' datatype='ufixed8'"
                          " range='0x10 2.5' volatile='yes' confidential='Partial'/>\n"
                          "<reg name='C' confidential='Y' datatype='nonsense' volatile='no'/>\n"
                          "</registers>\n",
                          "<sensor name='X' reg_data_size='8' ship_base_address='0x20'/>")));
    const ci_reg_data_t* a = cam.reg("A");
    const ci_reg_data_t* b = cam.reg("B");
    const ci_reg_data_t* c = cam.reg("C");
    ASSERT_TRUE(a && b && c);
    EXPECT_EQ(0xFFu, a->bitmask) << "mask from the 8-bit data size";
    EXPECT_EQ(1u, a->rw);
    EXPECT_EQ(1u, a->addr_span);
    EXPECT_EQ(CI_TYPE_UNSIGNED, a->datatype);
    EXPECT_EQ(nullptr, a->addr_space);
    EXPECT_EQ(0xFFFFFFFFu, b->bitmask);
    EXPECT_EQ(4u, b->addr_span);
    EXPECT_EQ(0x12u, b->default_val);
    EXPECT_EQ(2u, b->rw);
    EXPECT_EQ(CI_TYPE_UFIXED8, b->datatype);
    EXPECT_EQ(0x10u, b->minimum) << "hexadecimal text is the raw value";
    EXPECT_EQ(0x280u, b->maximum) << "2.5 in 8 fraction bits";
    EXPECT_EQ(1u, b->volat);
    EXPECT_EQ(2u, b->confidential);
    EXPECT_EQ(1u, c->confidential);
    EXPECT_EQ(0u, c->volat);
    EXPECT_EQ(CI_TYPE_UNSIGNED, c->datatype);
}

TEST_F(Xsdat, DefaultMaskFollowsTheDataSize) {
    const struct {
        const char* size;
        ci_u32 mask;
    } rows[] = {{"8", 0xFFu}, {"16", 0xFFFFu}, {"32", 0xFFFFFFFEu}};
    for (const auto& row : rows) {
        ASSERT_EQ(CI_PARSE_SUCCESS,
                  parse(xsdat("<registers><reg name='R'/></registers>",
                              std::string("<sensor reg_data_size='") + row.size + "' ship_base_address='0x20'/>")));
        EXPECT_EQ(row.mask, cam.reg("R")->bitmask) << row.size;
    }
}

TEST_F(Xsdat, SpacesOfRegisters) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("<addr_spaces>\n"
                          "  <space name='P0' value='0'/><space name='P1' value='1'/>\n"
                          "  <space name='F1' type='far1' value='7' far_base='0x90' far_addr_size='16' "
                          "far_data_size='8'/>\n"
                          "</addr_spaces>\n"
                          "<registers>\n"
                          "  <reg name='IN_P1' space='p1' span='3'/>\n"
                          "  <reg name='UNKNOWN' space='NOPE'/>\n"
                          "  <reg name='NONE_GIVEN'/>\n"
                          "</registers>\n")));
    const ci_addr_space_t* t = cam.sensor()->addr_space;
    ASSERT_EQ(3, t->num_vals);
    EXPECT_EQ(CI_FAR1_REG_ADDR, t->addr_space_val[2].type);
    EXPECT_EQ(0x90u, t->addr_space_val[2].far_base);
    EXPECT_EQ(16u, t->addr_space_val[2].far_addr_size);
    EXPECT_EQ(8u, t->addr_space_val[2].far_data_size);
    EXPECT_EQ(&t->addr_space_val[1], cam.reg("IN_P1")->addr_space);
    EXPECT_EQ(1u, cam.reg("IN_P1")->reg_space);
    EXPECT_EQ(3u, cam.reg("IN_P1")->addr_span);
    EXPECT_EQ(&t->addr_space_val[0], cam.reg("UNKNOWN")->addr_space) << "an unknown space gives the first entry";
    EXPECT_EQ(0u, cam.reg("UNKNOWN")->reg_space);
    EXPECT_EQ(&t->addr_space_val[2], cam.reg("NONE_GIVEN")->addr_space) << "no space: the last entry";
    EXPECT_EQ(7u, cam.reg("NONE_GIVEN")->reg_space);
}

TEST_F(Xsdat, SpansOnlyInPlainRegisterSpaces) {
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(xsdat("<addr_spaces><space name='V' type='MCU' value='1'/></addr_spaces>"
                                            "<registers><reg name='VAR' span='8'/></registers>")));
    EXPECT_EQ(1u, cam.reg("VAR")->addr_span);
}

TEST_F(Xsdat, DetailGoesToTheBitfieldInsideOneElseToTheRegister) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("<registers>\n"
                          "<reg name='CTRL' mask='0xFF'>\n"
                          "  <bitfield name='EN' mask='0x1' rw='RO' display_name='Enable' datatype='signed'/>\n"
                          "  <bitfield name='MODE' mask='0x6' confidential='Y'><detail>field text</detail></bitfield>\n"
                          "  <detail>register text</detail>\n"
                          "</reg>\n"
                          "<reg name='NEXT'><detail>next</detail></reg>\n"
                          "</registers>\n")));
    const ci_reg_data_t* r = cam.reg("CTRL");
    ASSERT_NE(nullptr, r);
    ASSERT_EQ(2, r->num_bitfields);
    EXPECT_STREQ("EN", r->bitfield[0].id);
    EXPECT_EQ(0u, r->bitfield[0].rw);
    EXPECT_STREQ("Enable", r->bitfield[0].desc);
    EXPECT_EQ(CI_TYPE_SIGNED, r->bitfield[0].datatype);
    EXPECT_STREQ("", r->bitfield[0].detail);
    EXPECT_EQ(1u, r->bitfield[1].rw);
    EXPECT_EQ(1u, r->bitfield[1].confidential);
    EXPECT_STREQ("field text", r->bitfield[1].detail);
    EXPECT_STREQ("register text", r->detail);
    EXPECT_STREQ("next", cam.reg("NEXT")->detail);
    EXPECT_EQ(0, cam.reg("NEXT")->num_bitfields);
    EXPECT_EQ(nullptr, cam.reg("NEXT")->bitfield);
}

TEST_F(Xsdat, BitfieldArraysGrowPastTheirFirstRoom) {
    std::string fields;
    for (int i = 0; i < 40; ++i) fields += "<bitfield name='B" + std::to_string(i) + "' mask='1'/>";
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(xsdat("<registers><reg name='WIDE'>" + fields + "</reg></registers>")));
    ASSERT_EQ(40, cam.reg("WIDE")->num_bitfields);
    EXPECT_STREQ("B39", cam.reg("WIDE")->bitfield[39].id);
}

// Entities and CDATA sections arrive as separate pieces of character data,
// and so does text that crosses the reader's buffer boundary.
TEST_F(Xsdat, CharacterDataInPiecesIsJoined) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("<registers><reg name='E' display_name='say &quot;hi&quot; &amp; go'>"
                          "<detail>&lt;a&gt; &amp; &#65;&#x42;<![CDATA[<raw>&amp;]]> end</detail></reg></registers>")));
    EXPECT_STREQ("<a> & AB<raw>&amp; end", cam.reg("E")->detail);
    EXPECT_STREQ("say \"hi\" & go", cam.reg("E")->reg_desc);

    // A detail of 400 characters, made of numbered words with an entity in
    // each, placed across the 16 KiB read boundary: the first 255 characters
    // are kept, in order.
    std::string expected;
    std::string encoded;
    for (int i = 0; expected.size() < 400; ++i) {
        std::string word = std::to_string(i) + "&";
        expected += word;
        encoded += std::to_string(i) + "&amp;";
    }
    std::string head = kHead + std::string("<sdat>\n") + kSensor + "<registers><reg name='LONG'><detail>";
    std::string pad = "<!--" + std::string(16384 - head.size() - 100 - 7, '.') + "-->";
    head = kHead + std::string("<sdat>\n") + kSensor + pad + "<registers><reg name='LONG'><detail>";
    ASSERT_LT(head.size(), 16384u);
    ASSERT_GT(head.size() + encoded.size(), 16384u);
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(head + encoded + "</detail></reg></registers></sdat>\n"));
    EXPECT_EQ(expected.substr(0, 255), cam.reg("LONG")->detail);
}

TEST_F(Xsdat, ByteOrderMarkAndNameDoNotMatter) {
    const std::string text = xsdat("<registers><reg name='R'/></registers>");
    EXPECT_EQ(CI_PARSE_SUCCESS, parse("\xEF\xBB\xBF" + text, "bom.xsdat"));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse("\xEF\xBB\xBF" + text, "bom.sdat"));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(text, "plain.SDAT"));
    ASSERT_NE(nullptr, cam.reg("R"));
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse(kHead + std::string("<sdat/>"), "empty.xsdat"));
}

TEST_F(Xsdat, ProbeTermsAndTheFifthOrMatch) {
    std::string body =
        "<extra_match reg='ROM_REV' mask='0xFF' value='7 8'/>\n"
        "<version_reg_write reg='FUSE' mask='1' value='1'/>\n"
        "<version_reg_waitfor reg='READY' mask='0x6' value='2 4' timeout='70'/>\n"
        "<version_reg_waitfor reg='DONE' mask='1' value='1'/>\n"
        "<version_reg_read reg='REV' mask='0xF0' value='0x20 0x30'/>\n"
        "<version_reg_resetif reg='BOOT' mask='1' value='0'/>\n";
    for (int i = 1; i <= 4; ++i) body += "<or_match/><extra_match reg='T" + std::to_string(i) + "'/>\n";
    LogCapture log;
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(xsdat(body)));
    EXPECT_EQ(CI_MAX_PROBE_TERMS, cam.ctx()->num_probe_term);
    EXPECT_STREQ("ROM_REV", term(0).extra_desc_reg);
    EXPECT_EQ(0xFFu, term(0).extra_desc_mask);
    EXPECT_EQ(2, term(0).num_extra_desc_val);
    EXPECT_EQ(8u, term(0).extra_desc_val[1]);
    ASSERT_EQ(3, term(0).num_version_reg_write);
    EXPECT_EQ(-1, term(0).version_reg_write[0].timeout);
    EXPECT_EQ(70, term(0).version_reg_write[1].timeout);
    EXPECT_EQ(4u, term(0).version_reg_write[1].value[1]);
    EXPECT_EQ(500, term(0).version_reg_write[2].timeout);
    ASSERT_EQ(1, term(0).num_version_reg_read);
    EXPECT_EQ(0x30u, term(0).version_reg_read[0].value[1]);
    EXPECT_STREQ("BOOT", term(0).version_reg_resetif.regName);
    EXPECT_STREQ("T1", term(1).extra_desc_reg);
    EXPECT_STREQ("T3", term(3).extra_desc_reg) << "the fourth term is filled by the elements after the third or_match";
    EXPECT_EQ(1, count_of(log.text(), "<or_match> in ")) << "the fifth term is reported";
    EXPECT_EQ(0, count_of(log.text(), "T4"));
}

TEST_F(Xsdat, ExtraMatchWithSerialIsASerialMatch) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("<extra_match serial='0x90' addr='0x31FE : 8' mask='0x0F' value='3 5'/>\n"
                          "<extra_match reg='ID' mask='3' value='1'/>\n"
                          "<or_match/><extra_match serial='0x92' reg='IGNORED' addr='0x10' mask='0xFF : 16'/>\n")));
    const _extraSerialMatch& m = term(0).extra_serial_match[0];
    ASSERT_EQ(1, term(0).num_serial_match);
    EXPECT_EQ(0x90u, m.baseAddr);
    EXPECT_EQ(0x31FEu, m.regAddr);
    EXPECT_EQ(8u, m.addrSize);
    EXPECT_EQ(0x0Fu, m.mask);
    EXPECT_EQ(8u, m.dataSize) << "data size 8 until given";
    ASSERT_EQ(2, m.numValues);
    EXPECT_EQ(5u, m.value[1]);
    EXPECT_STREQ("ID", term(0).extra_desc_reg);
    EXPECT_EQ(3u, term(0).extra_desc_mask);
    const _extraSerialMatch& m2 = term(1).extra_serial_match[0];
    ASSERT_EQ(1, term(1).num_serial_match);
    EXPECT_EQ(16u, m2.addrSize) << "address size 16 until given";
    EXPECT_EQ(16u, m2.dataSize);
    EXPECT_STREQ("", term(1).extra_desc_reg);
}

TEST_F(Xsdat, PartNumbers) {
    std::string body = "<part_number name='PN-A'/>\n"
                       "<part_number name='PN-B' serial='0x48' addr='0x3000 : 16' mask='0xFFF0' value='0x10 0x20'/>\n"
                       "<part_number name='PN-C' reg='CHIP_ID' mask='0xFF : 8' value='9'/>\n"
                       "<part_number/><part_number name='FIFTH'/>\n";
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(xsdat(body)));
    const _common_context_t* c = cam.ctx();
    ASSERT_EQ(CI_MAX_PART_NUMBERS, c->num_partNumbers);
    EXPECT_STREQ("PN-A", cam.sensor()->partNumber);
    EXPECT_EQ(8u, c->partNumber[0].addrSize);
    EXPECT_EQ(16u, c->partNumber[0].dataSize);
    EXPECT_EQ(0x48u, c->partNumber[1].baseAddr);
    EXPECT_EQ(0x3000u, c->partNumber[1].regAddr);
    EXPECT_EQ(16u, c->partNumber[1].addrSize);
    EXPECT_EQ(0xFFF0u, c->partNumber[1].mask);
    EXPECT_EQ(16u, c->partNumber[1].dataSize);
    EXPECT_EQ(2, c->partNumber[1].numValues);
    EXPECT_STREQ("CHIP_ID", c->partNumber[2].regName);
    EXPECT_EQ(8u, c->partNumber[2].dataSize);
    EXPECT_STREQ("", c->partNumber[3].partNumber);
}

TEST_F(Xsdat, ListLimitsAreReportedUnderTheElementName) {
    LogCapture log;
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse(xsdat("<part_number name='P' value='1 2 3 4 5 6 7 8 9 10 11'/>")));
    EXPECT_EQ(1, count_of(log.text(), "<part_number> in "));
    EXPECT_EQ(CI_MAX_VALUES, cam.ctx()->partNumber[0].numValues);
    std::string writes;
    for (int i = 0; i < 11; ++i) writes += "<version_reg_write reg='W' mask='1' value='1'/>";
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse(xsdat(writes)));
    EXPECT_EQ(1, count_of(log.text(), "<version_reg_write name=\"W\"> in "));
    EXPECT_EQ(CI_MAX_VERSION_REG_WRITES, term(0).num_version_reg_write);
}

TEST_F(Xsdat, DuplicateRegisterIsReportedAndNotAdded) {
    LogCapture log;
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR,
              parse(xsdat("<registers>\n<reg name='A' addr='1'/>\n<reg name='a' addr='2'/>\n<reg name='B'/>"
                          "</registers>")));
    EXPECT_EQ(1, cam.sensor()->num_regs);
    EXPECT_EQ(1u, cam.reg("A")->reg_addr);
    EXPECT_EQ(nullptr, cam.reg("B")) << "the parse stops at the end of the duplicate";
    EXPECT_EQ(1, count_of(log.text(), "<reg name=\"a\"> in " + dir.file("t.xsdat") + ":6"));
}

TEST_F(Xsdat, ManyRegistersGrowTheArray) {
    std::string regs;
    for (int i = 0; i < 300; ++i) regs += "<reg name='R" + std::to_string(i) + "' addr='" + std::to_string(i) + "'/>";
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(xsdat("<registers>" + regs + "</registers>")));
    ASSERT_EQ(300, cam.sensor()->num_regs);
    EXPECT_EQ(299u, cam.reg("R299")->reg_addr);
}

TEST_F(Xsdat, MalformedXmlIsReportedWithItsPlace) {
    LogCapture log;
    EXPECT_EQ(CI_SENSOR_FILE_PARSE_ERROR, parse(xsdat("<registers><reg name='A'></registers>")));
    EXPECT_EQ(1, count_of(log.text(), "XML parsing error: \"mismatched tag\" Code: 7 Line: 4 Col: "));
}

TEST_F(Xsdat, EarlyRejectsOfTheSensorElement) {
    LogCapture log;
    EXPECT_EQ(CI_SENSOR_DOES_NOT_MATCH, parse(xsdat("", "<sensor name='X'/>")));
    EXPECT_EQ(1, count_of(log.text(), "Early reject: There is no SHIP_BASE_ADDRESS"));
    std::string many;
    for (int i = 0; i < 16; ++i) many += std::to_string(0x20 + 2 * i) + " ";
    EXPECT_EQ(CI_SENSOR_FILE_PARSE_ERROR, parse(xsdat("", "<sensor ship_base_address='" + many + "'/>")));
    EXPECT_EQ(1, count_of(log.text(), "Early reject: Too many alternate SHIP base addresses"));
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(xsdat("", "<sensor ship_base_address='" + many.substr(0, 45) + "'/>")));
}

TEST_F(Xsdat, SensorValuesAndDerivedSizes) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("", "<sensor name='CK0200' part_number='PN' version='3' version_name='Rev 2' width='640'"
                              " height='480' full_width='700' image_type='BAYER' bits_per_clock='12'"
                              " clocks_per_pixel='1' pixel_clock_polarity='0' ship_base_address='0x20'/>")));
    const ci_sensor_t* s = cam.sensor();
    EXPECT_EQ(3u, s->sensorVersion);
    EXPECT_STREQ("Rev 2", s->versionName);
    EXPECT_STREQ("PN", s->partNumber);
    EXPECT_EQ(700u, s->fullWidth);
    EXPECT_EQ(480u, s->fullHeight);
    EXPECT_EQ(CI_BAYER_12, s->imageType);
    EXPECT_EQ(12u, s->pixelBits);
    EXPECT_EQ(640u * 480u * s->pixelBytes, s->bufferSize);
    EXPECT_EQ(0, cam.ctx()->pixclk_polarity);
    ASSERT_EQ(CI_PARSE_SUCCESS, parse(xsdat("", "<sensor image_type='jpeg' ship_base_address='0x20'/>")));
    EXPECT_EQ(CI_JPEG, cam.sensor()->imageType);
}

TEST_F(Xsdat, LongDescriptions) {
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse(xsdat("<registers><reg name='A'><long_desc>about &amp; A</long_desc>"
                          "<bitfield name='F' mask='1'><long_desc>about F</long_desc></bitfield></reg></registers>"
                          "<long_desc reg='B' bitfield='G'>" + std::string(3000, 'x') + "</long_desc>")));
    const ci_sensor_t* s = cam.sensor();
    ASSERT_EQ(3, s->num_long_desc);
    EXPECT_STREQ("A", s->long_desc[0].regName);
    EXPECT_EQ(nullptr, s->long_desc[0].bitfieldName);
    EXPECT_STREQ("about & A", s->long_desc[0].longDesc);
    EXPECT_STREQ("F", s->long_desc[1].bitfieldName);
    EXPECT_STREQ("B", s->long_desc[2].regName);
    EXPECT_EQ(3000u, strlen(s->long_desc[2].longDesc));
}

}  // namespace
