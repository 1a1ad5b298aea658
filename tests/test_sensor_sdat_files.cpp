// Whole sensor-data files: the bundled samples, the entry checks, XML
// dispatch, section handling, line numbers in messages and hostile lines.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"
#include "test_paths.h"

namespace {

std::string sample(const char* name) { return std::string(ck_test_data_dir()) + "/sensor_data/" + name; }

class SdatFiles : public ::testing::Test {
protected:
    ci_error_code parse(const std::string& text, const char* name = "t.sdat") {
        return cam.parse(dir.write(name, text));
    }

    ScratchDir dir;
    ParseCamera cam;
};

}  // namespace

// The bundled samples exercise every section on realistic sizes.
TEST_F(SdatFiles, TheSamplesParse) {
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(sample("ck_bayer16.sdat")));
    EXPECT_GT(cam.sensor()->num_regs, 300);
    EXPECT_EQ(2u, cam.reg("FRAME_COUNT")->addr_span);
    EXPECT_EQ(11, cam.reg("RESET_REGISTER")->num_bitfields);

    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(sample("ck_page8.sdat")));
    EXPECT_EQ(0xF0u, cam.sensor()->addr_space->reg_addr_read);
    EXPECT_EQ(2u, cam.reg("HIST_BIN_3")->reg_space);

    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(sample("ck_soc.sdat")));
    const _common_context_t* ctx = cam.ctx();
    EXPECT_TRUE(ci_IsSOC(cam));
    EXPECT_EQ(2, ctx->num_probe_term);
    EXPECT_EQ(3, ctx->num_partNumbers);
    EXPECT_EQ(0x48u, ctx->probe_term[1].extra_serial_match[0].baseAddr);
    EXPECT_EQ(CI_MCU_ADDR, cam.reg("AE_TARGET")->addr_space->type);
    EXPECT_EQ(CI_SFR_ADDR, cam.reg("SFR_RAM_PATCH_0")->addr_space->type);
}

TEST_F(SdatFiles, EntryChecks) {
    std::string good = dir.write("ok.SDAT", sdat_with(""));
    EXPECT_EQ(CI_PARSE_SUCCESS, cam.parse(good));
    EXPECT_EQ(CI_CAMERA_ERROR, ci_ParseSensorFile(nullptr, good.c_str(), nullptr));
    EXPECT_EQ(CI_CAMERA_ERROR, ci_ParseSensorFile(cam, nullptr, nullptr));
    EXPECT_EQ(CI_CAMERA_ERROR, cam.parse(dir.write("sensor.txt", sdat_with(""))));
    EXPECT_EQ(CI_CAMERA_ERROR, cam.parse(dir.write("sensor", sdat_with(""))));

    LogCapture log;
    EXPECT_EQ(CI_PARSE_FILE_ERROR, cam.parse(dir.file("absent.sdat")));
    EXPECT_EQ(1, count_of(log.text(), "unable to open file " + dir.file("absent.sdat")));
    ci_camera_t bare = {};
    EXPECT_EQ(CI_CAMERA_ERROR, ci_ParseSensorFile(&bare, good.c_str(), nullptr));
    EXPECT_EQ(1, count_of(log.text(), "Must have a valid pCamera->context"));
    EXPECT_EQ(nullptr, bare.sensor);
}

TEST_F(SdatFiles, XmlFilesGoToTheXmlReaderWhateverTheirName) {
    LogCapture log;
    const std::string xml = "<?xml version=\"1.0\"?>\n<sensor name=\"x\"/>\n";
    EXPECT_EQ(CI_SENSOR_FILE_PARSE_ERROR, parse(xml, "a.xsdat"));
    EXPECT_EQ(CI_SENSOR_FILE_PARSE_ERROR, parse(xml, "b.sdat"));
    EXPECT_EQ(CI_SENSOR_FILE_PARSE_ERROR, parse("\xEF\xBB\xBF" + xml, "c.sdat"));
    EXPECT_EQ(1, count_of(log.text(), "XML sensor data files are not supported in this build: " + dir.file("c.sdat")));
    // A byte-order mark before a text file is skipped; "<?xm" is not XML.
    EXPECT_EQ(CI_PARSE_SUCCESS, parse("\xEF\xBB\xBF" + sdat_with(""), "d.sdat"));
    EXPECT_EQ(CI_CHIP_DESC_ERROR, parse("<?xm", "e.sdat"));
}

TEST_F(SdatFiles, MessagesGiveThePhysicalLineNumber) {
    LogCapture log;
    std::string text =
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
        "[END]\r\n"
        "[OPTIONAL]\r\n"
        "\r\n"
        "BAD_LINE\r\n";  // 15
    std::string path = dir.write("lines.sdat", text);
    EXPECT_EQ(CI_DUPLICATE_DESC_ERROR, cam.parse(path));
    EXPECT_EQ(1, count_of(log.text(), "A = {2, CORE, 0xFF, RW, 0, \"\", \"\"} in " + path + ":11"));
    EXPECT_EQ(1u, cam.reg("A")->reg_addr);

    text.replace(text.find("A = {2"), 5, "B = {2");
    path = dir.write("lines.sdat", text);
    EXPECT_EQ(CI_CHIP_DESC_ERROR, cam.parse(path));
    EXPECT_EQ(1, count_of(log.text(), "BAD_LINE in " + path + ":15"));
}

TEST_F(SdatFiles, UnknownSectionsAreReportedAndSkipped) {
    LogCapture log;
    std::string path = dir.write("u.sdat", sdat_with("[LENS_DATA]\nthis is = {not, a register}\n[end]\n"
                                                     "[REGISTERS]\nA = {1, CORE, 0xFF, RW, 0, \"\", \"\"}\n[END]\n"));
    EXPECT_EQ(CI_PARSE_SUCCESS, cam.parse(path));
    EXPECT_EQ(1, count_of(log.text(), "[LENS_DATA] in " + path + ":9"));
    EXPECT_EQ(1, count_of(log.text(), "in " + path));
    EXPECT_EQ(1, cam.sensor()->num_regs);
}

TEST_F(SdatFiles, FarSensorEntriesAreSkippedWithoutFailing) {
    LogCapture log;
    const std::string far = sdat_section("SUBDEVICES", "LENS = {FAR1, 0x48, \"lens.sdat\"}\nGARBAGE\n");
    EXPECT_EQ(CI_PARSE_SUCCESS,
              parse(sdat_with(sdat_section("ADDR_SPACE", "CORE = {REG, 0, \"c\"}\n") + far +
                              sdat_section("REGISTERS", "A = {1, CORE, 0xFF, RW, 0, \"\", \"\"}\n"))));
    EXPECT_EQ(1, count_of(log.text(), "far-sensor files are not supported in this build: lens.sdat"));
    EXPECT_EQ(1, count_of(log.text(), "GARBAGE in "));
    EXPECT_EQ(1, cam.sensor()->num_regs);
    // Without address spaces the section is passed over.
    EXPECT_EQ(CI_PARSE_SUCCESS, parse(sdat_with(far)));
    EXPECT_EQ(1, count_of(log.text(), "lens.sdat"));
}

TEST_F(SdatFiles, LongAndHostileLinesAreCutSafely) {
    std::string huge(5000, 'x');
    std::string text = "[CHIP_DESCRIPTOR]\nSENSORNAME = \"" + huge + "\"\nSHIP_BASE_ADDRESS = 0x20\n" + "WIDTH = 1" +
                       std::string(3000, '0') + "\n" + "[END]\n[REGISTERS]\n" + huge + " = {1, " + huge + ", 1, " +
                       huge + ", 0, \"" + huge + "\"}\nB = {2, CORE, 0xFF, RW, 0, \"" + huge + "\", \"" + huge +
                       "\"}\n[END]\n";
    text += std::string("[OPTIONAL]\nPART_NUMBER = \"") + huge + "\" SENSOR " + huge + "\n[END]\n";
    LogCapture log;
    EXPECT_NE(CI_PARSE_SUCCESS, parse(text));
    // The name line was cut at the descriptor's limit of 249 characters.
    EXPECT_EQ(249u - strlen("SENSORNAME = \""), strlen(cam.sensor()->sensorName));
    const ci_reg_data_t* b = cam.reg("B");
    ASSERT_NE(nullptr, b);
    EXPECT_EQ(255u, strlen(b->reg_desc));
}

TEST_F(SdatFiles, ARecordCanBeGivenAndIsRefilledCleanly) {
    ci_sensor_t* given = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    std::string path = dir.write("g.sdat", sdat_with(sdat_section("ADDR_SPACE", "CORE = {REG, 0, \"c\"}\n") +
                                                     sdat_section("REGISTERS",
                                                                  "A = {1, CORE, 0xFF, RW, 0, \"\", \"\"}\n"
                                                                  "  {F, 1, RW, \"\"}\n")));
    ASSERT_EQ(CI_PARSE_SUCCESS, ci_ParseSensorFile(cam, path.c_str(), given));
    EXPECT_EQ(nullptr, cam.sensor());  // the camera's own record is untouched
    EXPECT_EQ(1, given->num_regs);
    EXPECT_STREQ(path.c_str(), given->sensorFileName);
    // Parsing again replaces the tables (the leak checker sees the old ones go).
    ASSERT_EQ(CI_PARSE_SUCCESS, ci_ParseSensorFile(cam, path.c_str(), given));
    EXPECT_EQ(1, given->num_regs);
    ci_DestructSensor(given);
    free(given);
}
