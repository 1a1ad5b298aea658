// Writing sensor descriptions in both forms: reading a written file gives
// the same records, field for field, for the bundled samples, every kept
// fuzz input that parses, and the values only the XML form carries.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bus_sim.h"
#include "cli_runner.h"
#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor_builder.h"
#include "sensor_compare.h"
#include "test_paths.h"

namespace {

std::vector<std::string> files_in(const std::string& dir, const std::string& extension) {
    std::vector<std::string> files;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            std::string name = e->d_name;
            if (name[0] != '.' && name.size() > extension.size() &&
                name.compare(name.size() - extension.size(), extension.size(), extension) == 0)
                files.push_back(dir + "/" + name);
        }
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string join(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

SensorView view(const ParseCamera& cam) { return {cam.sensor(), cam.ctx()}; }

// Reads source, writes it as `as` (".xsdat" or ".sdat"), reads that back and
// returns the differences.
std::string round_trip(const std::string& source, const ScratchDir& dir, const std::string& as) {
    ParseCamera first;
    if (first.parse(source) != CI_PARSE_SUCCESS) return "the source does not parse";
    const std::string written = dir.file("written" + as);
    if (ci_WriteSensorFile(first, written.c_str()) != CI_CAMERA_SUCCESS) return "not written";
    ParseCamera second;
    ci_error_code read = second.parse(written);
    if (read != CI_PARSE_SUCCESS) return "the written file gives " + std::to_string(read);
    return join(sensor_differences(view(first), view(second)));
}

std::string samples_dir() { return std::string(ck_test_data_dir()) + "/sensor_data"; }

TEST(SensorConvert, SamplesRoundTripThroughBothForms) {
    std::vector<std::string> samples = files_in(samples_dir(), ".sdat");
    ASSERT_EQ(3u, samples.size());
    ScratchDir dir;
    for (const std::string& sample : samples) {
        EXPECT_EQ("", round_trip(sample, dir, ".xsdat")) << sample;
        EXPECT_EQ("", round_trip(sample, dir, ".sdat")) << sample;
        // And back from the XML file to the text form.
        ParseCamera cam;
        ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(sample));
        const std::string xml = dir.file("s.xsdat");
        ASSERT_EQ(CI_CAMERA_SUCCESS, ci_WriteSensorFile(cam, xml.c_str()));
        EXPECT_EQ("", round_trip(xml, dir, ".sdat")) << sample;
    }
}

TEST(SensorConvert, CheckedInXmlSamplesMatchTheirTextForm) {
    std::vector<std::string> samples = files_in(samples_dir(), ".sdat");
    for (const std::string& sample : samples) {
        std::string name = sample.substr(sample.rfind('/') + 1);
        std::string xml = samples_dir() + "/xml/" + name.substr(0, name.size() - 5) + ".xsdat";
        ParseCamera text;
        ParseCamera fromXml;
        ASSERT_EQ(CI_PARSE_SUCCESS, text.parse(sample));
        ASSERT_EQ(CI_PARSE_SUCCESS, fromXml.parse(xml)) << xml;
        EXPECT_EQ("", join(sensor_differences(view(text), view(fromXml)))) << xml;
    }
}

TEST(SensorConvert, KeptFuzzInputsThatParseRoundTrip) {
    const std::string kept = std::string(ck_test_source_dir()) + "/tests/data/fuzz_regressions/";
    std::vector<std::string> inputs = files_in(kept + "sdat", ".sdat");
    for (const std::string& input : files_in(kept + "xsdat", ".xsdat")) inputs.push_back(input);
    ScratchDir dir;
    int parsed = 0;
    for (const std::string& input : inputs) {
        ParseCamera cam;
        if (cam.parse(input) != CI_PARSE_SUCCESS) continue;
        ++parsed;
        EXPECT_EQ("", round_trip(input, dir, ".xsdat")) << input;
        // The text form carries what a text file gave.
        if (input.find("/sdat/") != std::string::npos) {
            EXPECT_EQ("", round_trip(input, dir, ".sdat")) << input;
        }
    }
    EXPECT_GE(parsed, 4);
}

// What only the XML form holds (data types, ranges, flags, long
// descriptions, JPEG, page selectors of any address width) and texts that
// need escaping.
TEST(SensorConvert, XmlOnlyValuesAndEscapedTextsRoundTrip) {
    ScratchDir dir;
    const std::string source = dir.write(
        "rich.xsdat",
        "<?xml version='1.0'?>\n<sensor_data>\n"
        "<sensor name='A &amp; B &lt;x&gt;' version_name='Rev &quot;2&quot;&#9;b' image_type='JPEG'"
        " ship_base_address='0x20 0x22' reg_addr_size='16' reg_data_size='32' width='8' height='8'/>\n"
        "<part_number name='P1' reg='ID' serial='0x30' addr='0x10 : 16' mask='0xF : 8' value='1 2'/>\n"
        "<or_match/><version_reg_waitfor reg='W' mask='1' value='1' timeout='-1'/>\n"
        "<extra_match reg='' mask='0' value='3'/>\n"
        "<addr_spaces><space name='S' type='far2_mcu' value='2' desc=' d ' far_base='0x90' far_addr_size='8'"
        " far_data_size='16'/></addr_spaces>\n"
        "<registers><reg name='R' datatype='fixed4' mask='0xFF' range='0x80 0x7F' volatile='Y' confidential='P'>"
        "<bitfield name='F' mask='3' datatype='signed' range='0x2 0x1' confidential='P'>"
        "<detail>line one&#13;\nline\ttwo &amp; &lt;three&gt; \"q\" 'a'</detail></bitfield>"
        "<detail>  padded  </detail></reg></registers>\n"
        "<long_desc reg='R' bitfield='F'>long &amp; &lt;text&gt;\nover lines</long_desc>\n"
        "</sensor_data>\n");
    EXPECT_EQ("", round_trip(source, dir, ".xsdat"));
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(source));
    EXPECT_STREQ("line one\r\nline\ttwo & <three> \"q\" 'a'", cam.reg("R")->bitfield[0].detail);
    EXPECT_STREQ("  padded  ", cam.reg("R")->detail);
    EXPECT_EQ(0x80u, cam.reg("R")->minimum);
}

TEST(SensorConvert, TextsXmlCannotCarryAreRefused) {
    ScratchDir dir;
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS,
              cam.parse(dir.write("c.sdat", sdat_with(sdat_section("REGISTERS", "R = {1, X, 0xFF, RW, 0, \"a\x01b\", "
                                                                                "\"\"}\n")))));
    LogCapture log;
    const std::string out = dir.file("c.xsdat");
    EXPECT_EQ(CI_CAMERA_ERROR, ci_WriteSensorFile(cam, out.c_str()));
    EXPECT_FALSE(scratch_file_exists(out));
    EXPECT_EQ(1, count_of(log.text(), "XML cannot carry"));
    EXPECT_EQ(CI_CAMERA_ERROR, ci_WriteSensorFile(cam, dir.file("c.txt").c_str()));

    // Quotes, braces and line ends break the lines of the sectioned form.
    for (const char* attrs : {"name='A' display_name='say &quot;hi&quot;'", "name='B'><detail>a}b</detail></reg",
                              "name='C D'", "name='E' display_name='two&#10;lines'"}) {
        ParseCamera x;
        ASSERT_EQ(CI_PARSE_SUCCESS, x.parse(dir.write("q.xsdat", "<?xml version='1.0'?><s><sensor ship_base_address='0x20'/>"
                                                                 "<registers><reg " + std::string(attrs) +
                                                                 (attrs[strlen(attrs) - 1] == 'g' ? ">" : "/>") +
                                                                 "</registers></s>")))
            << attrs;
        EXPECT_EQ(CI_CAMERA_ERROR, ci_WriteSensorFile(x, dir.file("q.sdat").c_str())) << attrs;
        EXPECT_FALSE(scratch_file_exists(dir.file("q.sdat")));
    }
    EXPECT_EQ(4, count_of(log.text(), "the sectioned form cannot carry"));
    EXPECT_EQ(CI_PARSE_FILE_ERROR, ci_WriteSensorFile(cam, (dir.path() + "/missing/c.sdat").c_str()));
}

}  // namespace

namespace {

std::string copy_into(const ScratchDir& dir, const std::string& path) {
    return dir.write(path.substr(path.rfind('/') + 1), scratch_read_file(path));
}

// A directory holding text and XML descriptions: each sample device is
// recognised by whichever file describes it.
TEST(SensorConvert, IdentificationSearchesBothForms) {
    ScratchDir mixed;
    copy_into(mixed, samples_dir() + "/xml/ck_page8.xsdat");
    copy_into(mixed, samples_dir() + "/xml/ck_soc.xsdat");
    copy_into(mixed, samples_dir() + "/ck_bayer16.sdat");
    const struct {
        const char* plugged;
        const char* file;
    } rows[] = {{"ck_page8.sdat", "ck_page8.xsdat"}, {"ck_bayer16.sdat", "ck_bayer16.sdat"}};
    for (const auto& row : rows) {
        BusSim bus;
        SimCamera camera(bus);
        bus.addSensorFromFile(samples_dir() + "/" + row.plugged);
        ASSERT_EQ(CI_CAMERA_SUCCESS, _getSensor(camera.get(), mixed.path().c_str())) << row.plugged;
        std::string file = camera->sensor->sensorFileName;
        EXPECT_EQ(row.file, file.substr(file.rfind('/') + 1));
        ParseCamera text;
        ASSERT_EQ(CI_PARSE_SUCCESS, text.parse(samples_dir() + "/" + row.plugged));
        EXPECT_EQ(text.sensor()->num_regs, camera->sensor->num_regs);
        EXPECT_STREQ(text.sensor()->sensorName, camera->sensor->sensorName);
    }
}

TEST(SensorConvertTool, ConvertsBothWaysAndRefusesWhatItCannotRead) {
    CliRunner cli;
    if (!cli.available()) GTEST_SKIP() << "the tool was not built";
    const std::string sample = samples_dir() + "/ck_soc.sdat";
    ToolResult r = cli.run({"convert", sample, "soc.xsdat"});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("-> soc.xsdat"));
    r = cli.run({"convert", cli.dir().file("soc.xsdat"), "soc.sdat"});
    EXPECT_EQ(0, r.status) << r.err;
    ParseCamera original;
    ParseCamera twice;
    ASSERT_EQ(CI_PARSE_SUCCESS, original.parse(sample));
    ASSERT_EQ(CI_PARSE_SUCCESS, twice.parse(cli.dir().file("soc.sdat")));
    EXPECT_EQ("", join(sensor_differences(view(original), view(twice))));

    EXPECT_EQ(2, cli.run({"convert", sample}).status);
    EXPECT_EQ(2, cli.run({"convert", sample, "out.txt"}).status);
    cli.dir().write("bad.xsdat", "<?xml version='1.0'?><sensor_data><registers>");
    r = cli.run({"convert", cli.dir().file("bad.xsdat"), "out.sdat"});
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos, r.err.find("not a sensor data file the reader accepts"));
    EXPECT_FALSE(scratch_file_exists(cli.dir().file("out.sdat")));
}

}  // namespace
