// The camkit command-line tool, run as a subprocess on the null camera.
//
// The tool is found through $CAMKIT_CLI or next to the tests' build
// directory (../tools/camkit); the tests are skipped when it is not built.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "cli_runner.h"
#include "scratch_dir.h"
#include "test_paths.h"

namespace {

// A small sensor with every kind of register the commands treat apart.
const char kSensor[] =
    "[CHIP_DESCRIPTOR]\n"
    "SENSORNAME = \"CKCLITEST\"\n"
    "WIDTH = 640\n"
    "HEIGHT = 480\n"
    "IMAGE_TYPE = BAYER\n"
    "BITS_PER_CLOCK = 10\n"
    "CLOCKS_PER_PIXEL = 1\n"
    "SHIP_BASE_ADDRESS = 0x20\n"
    "[END]\n"
    "[OPTIONAL]\n"
    "REG_ADDR_SIZE = 16\n"
    "REG_DATA_SIZE = 16\n"
    "[END]\n"
    "[ADDR_SPACE]\n"
    "CORE = {REG, 0, \"Core registers\"}\n"
    "[END]\n"
    "[REGISTERS]\n"
    "CHIP_VERSION_REG = {0x3000, CORE, 0xFFFF, RO, 0x2604, \"Chip version\" \"\"}\n"
    "TEST_GAIN = {0x3010, CORE, 0xFFFF, RW, 0x0010, \"Analog gain\" \"\"}\n"
    "TEST_CTRL = {0x3012, CORE, 0x0FFF, RW, 0x0000, \"Control\" \"\"}\n"
    " {MODE, 0x00F0, RW, \"Operating mode\" \"\"}\n"
    " {ENABLE, 0x0001, RW, \"Enable\" \"\"}\n"
    " {BIT_SECRET, 0x0800, RW, \"Hidden bit\" \"\"}\n"
    "TEST_COUNT = {0x3014, CORE, 0xFFFF, RW, 0x0000, \"Counter\" \"\"}\n"
    "TEST_RESET = {0x3016, CORE, 0x0001, WO, 0x0000, \"Soft reset\" \"\"}\n"
    "[END]\n";

const char kDemoName[] = "ck_bayer16.sdat";

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

std::string tool_path() { return cli_tool_path(); }

std::string quoted(const std::string& arg) { return shell_quoted(arg); }

std::string bundled_demo() { return std::string(ck_test_data_dir()) + "/sensor_data/" + kDemoName; }

// The line of a table whose first column is `name` ("" when there is none).
std::string row_of(const std::string& text, const std::string& name) {
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);)
        if (l.compare(0, name.size() + 1, name + " ") == 0) return l;
    return std::string();
}

bool has_line(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

// The blank-separated words of a line.
std::vector<std::string> cells(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string w; in >> w;) words.push_back(w);
    return words;
}

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        tool_ = tool_path();
        if (access(tool_.c_str(), X_OK) != 0) GTEST_SKIP() << "command-line tool not built: " << tool_;
        sensor_ = dir_.write("cktest.sdat", kSensor);
    }

    // Runs the tool in the scratch directory with CI_HOME and CI_HOME_DEV
    // unset unless `env` sets them ("NAME=value ...").
    ToolRun run(const std::vector<std::string>& args, const std::string& env = "") const {
        std::string cmd = "cd " + quoted(dir_.path()) + " && env -u CI_HOME -u CI_HOME_DEV " + env + " " + quoted(tool_);
        for (const std::string& a : args) cmd += " " + quoted(a);
        const std::string out = dir_.file("stdout.txt"), err = dir_.file("stderr.txt");
        cmd += " >" + quoted(out) + " 2>" + quoted(err);
        const int rc = std::system(cmd.c_str());
        return ToolRun{WIFEXITED(rc) ? WEXITSTATUS(rc) : -1, scratch_read_file(out), scratch_read_file(err)};
    }

    // The null camera on the test sensor, then the given arguments.
    ToolRun on_sensor(std::vector<std::string> args) const {
        args.insert(args.begin(), {"--transports", "null", "--sensor-data", sensor_});
        return run(args);
    }

    ScratchDir dir_;
    std::string tool_;
    std::string sensor_;
};

}  // namespace

TEST_F(Cli, FallsBackToTheDemoCameraFoundThroughCiHome) {
    if (access(bundled_demo().c_str(), R_OK) != 0) GTEST_SKIP() << "no bundled demo sensor yet";
    mkdir(dir_.file("home").c_str(), 0755);
    mkdir(dir_.file("home/sensor_data").c_str(), 0755);
    const std::string copy = dir_.write(std::string("home/sensor_data/") + kDemoName, scratch_read_file(bundled_demo()));

    // A plain run finds no board here, so a demo camera (the simulated one
    // when its plugin is built, else the null camera) is opened on the copy
    // under $CI_HOME rather than on the bundled file.
    ToolRun r = run({"list"}, "CI_HOME=" + quoted(dir_.file("home")));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("no camera found; using the "), std::string::npos) << r.err;
    EXPECT_NE(row_of(r.out, "0").find(copy), std::string::npos) << r.out;

    // Asked for by name, transports that find nothing are a failure: no
    // stand-in camera.
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"--no-demo", "list"}, {"--transports", "0", "list"}, {"--transports", "usb", "list"}}) {
        r = run(args, "CI_HOME=" + quoted(dir_.file("home")));
        EXPECT_EQ(r.status, 1) << args[0];
        EXPECT_EQ(r.err.find("using the"), std::string::npos) << r.err;
        EXPECT_NE(r.err.find("no camera found"), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }

}

TEST_F(Cli, SetThenGetRoundTripsThroughTheCache) {
    // The null camera drops writes: only the cache shows the value written.
    ToolRun r = on_sensor({"--cache", "set", "TEST_GAIN=0x1234", "+", "get", "test_gain"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(has_line(r.out, "TEST_GAIN = 0x1234 (was 0x0000)")) << r.out;
    EXPECT_TRUE(has_line(r.out, "TEST_GAIN = 0x1234")) << r.out;

    r = on_sensor({"set", "TEST_GAIN=0x1234", "+", "get", "TEST_GAIN"});
    EXPECT_TRUE(has_line(r.out, "TEST_GAIN = 0x0000")) << r.out;

    // A bitfield is shifted into place and shown shifted down.
    r = on_sensor({"--cache", "set", "TEST_CTRL.mode=5", "+", "get", "TEST_CTRL.MODE", "TEST_CTRL"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(has_line(r.out, "TEST_CTRL.MODE = 5")) << r.out;
    EXPECT_TRUE(has_line(r.out, "TEST_CTRL = 0x0050")) << r.out;
}

TEST_F(Cli, ValuesAreParsedByDataTypeAndChecked) {
    // Plain digits are decimal even for a hexadecimal register; 0x is
    // hexadecimal for an unsigned bitfield.
    ToolRun r = on_sensor({"--cache", "set", "TEST_COUNT=100", "TEST_CTRL.MODE=0xA", "+", "get", "TEST_COUNT",
                       "TEST_CTRL.MODE"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(has_line(r.out, "TEST_COUNT = 0x0064")) << r.out;
    EXPECT_TRUE(has_line(r.out, "TEST_CTRL.MODE = 10")) << r.out;

    const struct {
        const char* arg;
        const char* why;
    } bads[] = {{"TEST_CTRL.MODE=16", "out of range"}, {"TEST_GAIN=abc", "not an integer"},
                {"TEST_CTRL=0x1000", "does not fit"}, {"TEST_GAIN", "not NAME=VALUE"}};
    for (const auto& bad : bads) {
        // The good assignment before the bad one is not written either.
        r = on_sensor({"--cache", "set", "TEST_COUNT=7", bad.arg});
        EXPECT_EQ(r.status, 2) << bad.arg;
        EXPECT_NE(r.err.find(bad.why), std::string::npos) << bad.arg << ": " << r.err;
        EXPECT_EQ(r.out, "") << bad.arg;
    }
}

TEST_F(Cli, BadNamesAndAccessFailWithTheErrorSymbol) {
    ToolRun r = on_sensor({"get", "TEST_GAIN", "FOO"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_line(r.err, "camkit: get FOO: CAMERA_ERROR (Camera Error): no register FOO")) << r.err;
    EXPECT_TRUE(has_line(r.out, "TEST_GAIN = 0x0000")) << "the good name is still read: " << r.out;

    const struct {
        std::vector<std::string> args;
        const char* message;
    } bads[] = {
        {{"get", "TEST_CTRL.NOPE"}, "CAMERA_ERROR (Camera Error): no bitfield TEST_CTRL.NOPE"},
        {{"get", "TEST_RESET"}, "TEST_RESET is write-only"},
        {{"set", "CHIP_VERSION_REG=1"}, "CHIP_VERSION_REG is read-only"},
    };
    for (const auto& bad : bads) {
        r = on_sensor(bad.args);
        EXPECT_EQ(r.status, 1) << bad.message;
        EXPECT_NE(r.err.find(bad.message), std::string::npos) << r.err;
    }
}

TEST_F(Cli, RegsMatchesAPatternAndShowsBitfields) {
    ToolRun r = on_sensor({"--cache", "set", "TEST_CTRL=0x0153", "+", "regs", "test_c*", "--fields"});
    ASSERT_EQ(r.status, 0) << r.err;
    r.out = r.out.substr(r.out.find("NAME "));  // the table after the set's report
    using Cells = std::vector<std::string>;
    EXPECT_EQ(cells(row_of(r.out, "TEST_CTRL")), (Cells{"TEST_CTRL", "0x3012", "CORE", "0x0153", "Control"})) << r.out;
    EXPECT_EQ(cells(row_of(r.out, "  MODE")), (Cells{"MODE", "0x00F0", "5", "Operating", "mode"})) << r.out;
    EXPECT_EQ(cells(row_of(r.out, "  ENABLE")), (Cells{"ENABLE", "0x0001", "1", "Enable"})) << r.out;
    EXPECT_NE(row_of(r.out, "TEST_COUNT"), "") << r.out;
    EXPECT_EQ(row_of(r.out, "TEST_GAIN"), "") << r.out;
    EXPECT_EQ(row_of(r.out, "  BIT_SECRET"), "") << "confidential bitfield shown: " << r.out;
}

TEST_F(Cli, UsageErrorsExitWithTwoOtherFailuresWithOne) {
    ToolRun r = run({"frobnicate"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("unknown command 'frobnicate'"), std::string::npos) << r.err;
    r = on_sensor({"--camera", "3", "list"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("no camera 3 (1 opened)"), std::string::npos) << r.err;
}

TEST_F(Cli, NamedFilesThatCannotServeFailWithTheReason) {
    const struct {
        std::vector<std::string> args;
        int status;
        const char* says;
    } cases[] = {
        {{"--sensor-data", dir_.file("missing.sdat"), "info"}, 1, "No such file or directory"},
        {{"--sensor-data", "/dev/zero", "info"}, 1, "is not a sensor data file"},
        {{"--sensor-data", dir_.write("bad.sdat", "[CHIP_DESCRIPTOR]\nWIDTH = x\n"), "info"}, 1,
         "is not a sensor data file"},
        {{"--log", dir_.file("no/such/dir/x.log"), "list"}, 2, "cannot write a log in"},
        {{"--transports", "null", "get", "TEST_GAIN"}, 1, "no camera found"},
    };
    for (const auto& c : cases) {
        const ToolRun r = run(c.args);
        EXPECT_EQ(r.status, c.status) << c.args[1];
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        EXPECT_EQ(r.err.find("using the"), std::string::npos) << r.err;  // no stand-in camera
        EXPECT_EQ(r.out, "") << c.args[1];
    }
}

TEST_F(Cli, DescribeShowsTheDescriptionOfRegistersAndBitfields) {
    ToolRun r = on_sensor({"describe", "test_ctrl", "TEST_CTRL.MODE"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(row_of(r.out, "address").find("0x3012"), std::string::npos) << r.out;
    EXPECT_NE(row_of(r.out, "space").find("CORE (0, REG"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("mask              0x0FFF (bits 11..0)"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("mask              0x00F0 (bits 7..4)"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("register          TEST_CTRL at 0x3012"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("display name      Operating mode"), std::string::npos) << r.out;
    r = on_sensor({"describe", "TEST_RESET"});
    EXPECT_NE(row_of(r.out, "access").find("write-only"), std::string::npos) << r.out;
    r = on_sensor({"describe", "NO_SUCH_REG"});
    EXPECT_EQ(r.status, 1);
}

TEST_F(Cli, VarsAndSfrsListOnlyTheirAddressSpaces) {
    const std::string soc = std::string(ck_test_data_dir()) + "/sensor_data/ck_soc.sdat";
    ToolRun vars = run({"--transports", "null", "--sensor-data", soc, "vars"});
    ToolRun sfrs = run({"--transports", "null", "--sensor-data", soc, "sfrs"});
    ASSERT_EQ(vars.status, 0) << vars.err;
    ASSERT_EQ(sfrs.status, 0) << sfrs.err;
    EXPECT_NE(vars.out.find("MON_MAJOR_VERSION"), std::string::npos);
    EXPECT_EQ(vars.out.find("SFR_GPIO_DATA"), std::string::npos);
    EXPECT_NE(sfrs.out.find("SFR_GPIO_DATA"), std::string::npos);
    EXPECT_EQ(sfrs.out.find("MON_MAJOR_VERSION"), std::string::npos);
    EXPECT_EQ(on_sensor({"vars"}).status, 1);  // a sensor without a microcontroller
}

TEST_F(Cli, DebugEchoesTheLibraryLogAndTimeReportsEachStep) {
    ToolRun r = on_sensor({"--debug", "--time", "get", "TEST_GAIN", "+", "get", "TEST_COUNT"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("DEBUG: parsing file"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("camkit: time: open "), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("camkit: time: get "), std::string::npos) << r.err;
    EXPECT_NE(r.out.find("TEST_COUNT = "), std::string::npos);
    r = on_sensor({"get", "TEST_GAIN"});
    EXPECT_EQ(r.err, "");  // neither without the options
}

TEST_F(Cli, ShellCompletionOffersCommandsAndTheCamerasRegisterNames) {
    const std::string script = std::string(ck_test_source_dir()) + "/tools/camkit.bash-completion";
    const std::string toolDir = tool_.substr(0, tool_.rfind('/'));
    auto complete = [&](const std::string& words, int cword) {
        const std::string program = "PATH=" + quoted(toolDir) + ":$PATH; source " + quoted(script) +
                                    "; COMP_WORDS=(" + words + "); COMP_CWORD=" + std::to_string(cword) +
                                    "; _camkit; printf '%s\\n' \"${COMPREPLY[@]}\"";
        const std::string out = dir_.file("completion.txt");
        const std::string cmd = "bash -c " + quoted(program) + " >" + quoted(out) + " 2>/dev/null";
        EXPECT_EQ(std::system(cmd.c_str()), 0);
        return scratch_read_file(out);
    };
    EXPECT_EQ(complete("camkit de", 1), "describe\ndemo\n");  // in the order of the command list
    EXPECT_EQ(complete(std::string("camkit --transports null --sensor-data ") + ::quoted(sensor_) + " get TEST_C", 6),
              "TEST_CTRL\nTEST_COUNT\n");
    EXPECT_EQ(complete(std::string("camkit --transports null --sensor-data ") + ::quoted(sensor_) + " get TEST_CTRL.E", 6),
              "TEST_CTRL.ENABLE\n");
    EXPECT_EQ(complete("camkit --transports n", 2), "null\n");
}

TEST_F(Cli, AddressesReachTheRegistersTheDescriptionNames) {
    // The null camera drops writes: its register cache shows what reached
    // which register, by address, by space and by mask.
    ToolRun r = on_sensor({"--cache", "set", "0x3010=0x1234", "CORE:0x3012=0x0F0", "0x3012&0x1=1", "+", "get",
                           "TEST_GAIN", "TEST_CTRL", "TEST_CTRL.MODE", "TEST_CTRL.ENABLE", "0x3012&0xF0"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("0x3010 (TEST_GAIN) = 0x1234 (was 0x0000)"), std::string::npos) << r.out;
    EXPECT_TRUE(has_line(r.out, "TEST_GAIN = 0x1234")) << r.out;
    EXPECT_TRUE(has_line(r.out, "TEST_CTRL = 0x00F1")) << r.out;  // the masked write kept the other bits
    EXPECT_TRUE(has_line(r.out, "TEST_CTRL.MODE = 15")) << r.out;
    EXPECT_TRUE(has_line(r.out, "TEST_CTRL.ENABLE = 1")) << r.out;
    EXPECT_TRUE(has_line(r.out, "0x3012&0xF0 (TEST_CTRL) = 15")) << r.out;
    EXPECT_EQ(on_sensor({"get", "NOSPACE:0x3010"}).status, 1);
    EXPECT_EQ(on_sensor({"get", "0x3010&0"}).status, 1);
    EXPECT_EQ(on_sensor({"set", "0x3010&0x1=2"}).status, 2);  // does not fit the mask
}
