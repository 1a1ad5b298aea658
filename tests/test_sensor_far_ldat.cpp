// Far-sensor files (SUBDEVICES entries and `far_sensor` elements) merged
// into the near sensor, and long-description files in both forms.
#include <gtest/gtest.h>

#include <string>

#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"

namespace {

const char kFarText[] =
    "[CHIP_DESCRIPTOR]\nSENSORNAME = \"FARCAM\"\nSHIP_BASE_ADDRESS = 0x10\n[END]\n"
    "[OPTIONAL]\nREG_ADDR_SIZE = 16\nREG_DATA_SIZE = 8\nSDAT_VERSION = 2\n[END]\n"
    "[ADDR_SPACE]\nCORE = {REG, 0, \"Far core\"}\nVARS = {MCU, 3, \"Far variables\"}\n[END]\n"
    "[REGISTERS]\n"
    "CHIP_VERSION_REG = {0x0000, CORE, 1, 0xFF, RO, 0x55, \"Far version\", \"\"}\n"
    "GAIN = {0x0010, CORE, 2, 0xFF, RW, 0x1, \"Far gain\", \"\"}\n"
    "    {COARSE, 0xF0, RW, \"Coarse\", \"\"}\n"
    "EXPOSURE = {0x0004, VARS, 4, 0xFF, RW, 0x2, \"Far exposure\", \"\"}\n"
    "[END]\n";

const char kNearSpaces[] = "[ADDR_SPACE]\nCORE = {REG, 0, \"Core\"}\n[END]\n";
const char kNearRegs[] =
    "[OPTIONAL]\nSDAT_VERSION = 2\n[END]\n"
    "[REGISTERS]\nCHIP_VERSION_REG = {0x3000, CORE, 1, 0xFFFF, RO, 0x2481, \"Version\", \"\"}\n[END]\n";

class FarSensors : public ::testing::Test {
protected:
    ci_error_code parse(const std::string& name, const std::string& text) { return cam.parse(dir.write(name, text)); }
    const ci_addr_space_val_t* space(const char* id) const { return _get_addr_space(cam.sensor()->addr_space, id); }

    ScratchDir dir;
    ParseCamera cam;
};

TEST_F(FarSensors, SubdevicesMergeTheFarFileIntoTheSensor) {
    dir.write("far.sdat", kFarText);
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse("near.sdat", sdat_with(std::string(kNearSpaces) + kNearRegs +
                                           "[SUBDEVICES]\nF1 = {FAR1, 0x90, \"far.sdat\"}\n[END]\n"
                                           "[REGISTERS]\nAFTER = {0x3010, CORE, 1, 0xFFFF, RW, 0, \"\", \"\"}\n"
                                           "[END]\n")));
    const ci_sensor_t* s = cam.sensor();
    ASSERT_NE(nullptr, s->far1_sensor);
    EXPECT_EQ(nullptr, s->far2_sensor);
    EXPECT_STREQ("FARCAM", s->far1_sensor->sensorName);
    EXPECT_EQ(0x90u, s->far1_sensor->shipAddr);
    EXPECT_EQ(0, s->far1_sensor->num_regs);
    EXPECT_EQ(nullptr, s->far1_sensor->addr_space);

    const ci_addr_space_val_t* core = space("F1_CORE");
    const ci_addr_space_val_t* vars = space("F1_VARS");
    ASSERT_TRUE(core && vars);
    EXPECT_EQ(CI_FAR1_REG_ADDR, core->type);
    EXPECT_EQ(CI_FAR1_MCU_ADDR, vars->type);
    EXPECT_EQ(0x90u, vars->far_base);
    EXPECT_EQ(16u, vars->far_addr_size);
    EXPECT_EQ(8u, vars->far_data_size);
    EXPECT_EQ(3u, vars->val);

    EXPECT_EQ(0x2481u, cam.reg("CHIP_VERSION_REG")->default_val) << "the near register keeps its name";
    EXPECT_EQ(space("CORE"), cam.reg("CHIP_VERSION_REG")->addr_space) << "near registers follow the moved table";
    const ci_reg_data_t* gain = cam.reg("F1_GAIN");
    const ci_reg_data_t* exposure = cam.reg("F1_EXPOSURE");
    ASSERT_TRUE(gain && exposure && cam.reg("F1_CHIP_VERSION_REG"));
    EXPECT_EQ(core, gain->addr_space);
    EXPECT_EQ(2u, gain->addr_span);
    ASSERT_EQ(1, gain->num_bitfields);
    EXPECT_STREQ("COARSE", gain->bitfield[0].id);
    EXPECT_EQ(vars, exposure->addr_space);
    EXPECT_EQ(3u, exposure->reg_space);
    EXPECT_EQ(1u, exposure->addr_span) << "no spans in MCU spaces";
    ASSERT_NE(nullptr, cam.reg("AFTER"));
    EXPECT_EQ(5, s->num_regs);
}

TEST_F(FarSensors, FarSensorElementOfTheXmlForm) {
    dir.write("plain.xsdat",
              "<?xml version='1.0'?><sensor_data><sensor name='TINY' ship_base_address='0x12' reg_data_size='8'/>"
              "<registers><reg name='ID' addr='0' default='7'/></registers></sensor_data>");
    ASSERT_EQ(CI_PARSE_SUCCESS,
              parse("near.xsdat",
                    "<?xml version='1.0'?><sensor_data><sensor name='N' ship_base_address='0x20'/>"
                    "<addr_spaces><space name='CORE'/></addr_spaces>"
                    "<registers><reg name='A' space='CORE'/></registers>"
                    "<far_sensor name='T' connection='far2' base='0x92' sdat='plain.xsdat'/>"
                    "<registers><reg name='B'/><reg name='C'/><reg name='D'/></registers></sensor_data>"));
    const ci_sensor_t* s = cam.sensor();
    ASSERT_NE(nullptr, s->far2_sensor);
    EXPECT_EQ(0x92u, s->far2_sensor->shipAddr);
    const ci_addr_space_val_t* t = space("T");
    ASSERT_NE(nullptr, t) << "a far file without spaces gets one named after the subdevice";
    EXPECT_EQ(CI_FAR2_REG_ADDR, t->type);
    EXPECT_STREQ("TINY", t->name);
    EXPECT_EQ(t, cam.reg("T_ID")->addr_space);
    EXPECT_EQ(7u, cam.reg("T_ID")->default_val);
    EXPECT_EQ(5, s->num_regs);
    EXPECT_NE(nullptr, cam.reg("D"));

    LogCapture log;
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR,
              parse("dup.xsdat",
                    "<?xml version='1.0'?><sensor_data><sensor ship_base_address='0x20'/>"
                    "<far_sensor name='T' connection='FAR1' base='0x92' sdat='plain.xsdat'/>"
                    "<registers><reg name='t_id'/></registers></sensor_data>"))
        << "names of far registers take part in the duplicate check";
}

TEST_F(FarSensors, BadEntriesAndFilesAreReported) {
    LogCapture log;
    EXPECT_EQ(CI_SENSOR_FILE_PARSE_ERROR,
              parse("a.sdat", sdat_with(std::string(kNearSpaces) + "[SUBDEVICES]\nX = {FAR1, 0x90, \"gone.sdat\"}\n"
                                                                      "Y = {FAR3, 0x90, \"far.sdat\"}\n[END]\n")));
    EXPECT_EQ(1, count_of(log.text(), "far-sensor file " + dir.file("gone.sdat") + ": does not parse"));
    EXPECT_EQ(1, count_of(log.text(), "Y = {FAR3, 0x90, \"far.sdat\"} in "));

    // A far file that names itself: the nested entry is not followed.
    dir.write("self.sdat", sdat_with(std::string(kNearSpaces) + "[SUBDEVICES]\nS = {FAR2, 0x94, \"self.sdat\"}\n[END]\n"));
    EXPECT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.file("self.sdat")));
    EXPECT_NE(nullptr, cam.sensor()->far2_sensor);
    EXPECT_EQ(nullptr, space("S_S"));
    EXPECT_EQ(1, count_of(log.text(), "far sensors of a far sensor are not loaded"));
}

class LongDescriptions : public ::testing::Test {
protected:
    std::string text(const char* reg, const char* field = nullptr) {
        char buffer[4096];
        ci_error_code e = ci_GetLongDescription(cam, reg, field, buffer, sizeof buffer);
        return e == CI_CAMERA_SUCCESS ? std::string(buffer) : "<" + std::to_string(e) + ">";
    }

    ScratchDir dir;
    ParseCamera cam;
};

TEST_F(LongDescriptions, TextFileBesideTheSensorFileIsReadOnFirstUse) {
    dir.write("s.ldat",
              "; long descriptions of s.sdat\n"
              "[RESET]\r\n"
              "\n"
              "First paragraph.\n"
              "\n"
              "  Second, indented; not a comment.\n"
              "\n"
              "[END]\n"
              "between sections: ignored\n"
              "[RESET.STREAM]\nStreaming bit.\n[end]\n"
              "[ OTHER ]\nno end\n");
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.write("s.sdat", sdat_with(""))));
    EXPECT_EQ("First paragraph.\n\n  Second, indented; not a comment.", text("reset"));
    EXPECT_EQ("Streaming bit.", text("RESET", "stream"));
    EXPECT_EQ("no end", text("OTHER"));
    EXPECT_EQ("<" + std::to_string(CI_CAMERA_ERROR) + ">", text("MISSING"));
    EXPECT_EQ(3, cam.sensor()->num_long_desc);
}

TEST_F(LongDescriptions, XmlFileAndTheXmlSensorFilesOwn) {
    dir.write("x.ldat",
              "\xEF\xBB\xBF<?xml version='1.0'?><long_descriptions>"
              "<sensor name='ignored'/><reg name='IGNORED'/>"
              "<long_desc reg='R'>R &amp; more</long_desc><long_desc reg='R' bitfield='F'>F</long_desc>"
              "</long_descriptions>");
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.write("x.sdat", sdat_with(""))));
    EXPECT_EQ("R & more", text("R"));
    EXPECT_EQ("F", text("R", "F"));
    EXPECT_EQ(0, cam.sensor()->num_regs);

    // Long descriptions inside the sensor file win: the .ldat is not read.
    dir.write("y.ldat", "[R]\nfrom the ldat\n[END]\n");
    ASSERT_EQ(CI_PARSE_SUCCESS,
              cam.parse(dir.write("y.xsdat", "<?xml version='1.0'?><s><sensor ship_base_address='0x20'/>"
                                             "<long_desc reg='R'>inside</long_desc></s>")));
    EXPECT_EQ("inside", text("R"));
}

TEST_F(LongDescriptions, NoFileAndBadHeaders) {
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.write("n.sdat", sdat_with(""))));
    EXPECT_EQ("<" + std::to_string(CI_CAMERA_ERROR) + ">", text("R"));
    EXPECT_EQ(1, cam.sensor()->num_long_desc) << "one empty entry marks the search as done";
    LogCapture log;
    const std::string bad = dir.write("bad.ldat", "[ .F]\ntext\n[END]\n[R]\nok\n[END]\n");
    EXPECT_EQ(CI_SENSOR_FILE_PARSE_ERROR, ci_ParseLongDescFile(cam, bad.c_str()));
    EXPECT_EQ(1, count_of(log.text(), "[ .F] in " + bad + ":1"));
    EXPECT_EQ(CI_PARSE_FILE_ERROR, ci_ParseLongDescFile(cam, dir.file("none.ldat").c_str()));
}

}  // namespace
