// The tool's preset commands, run on the simulated camera (whose registers
// keep what is written).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli_runner.h"
#include "scratch_dir.h"
#include "test_paths.h"

namespace {

struct CliPreset : ::testing::Test {
    CliRunner cli;

    void SetUp() override {
        if (!cli.available()) GTEST_SKIP() << "the tool is not built";
    }
    ToolResult camkit(std::vector<std::string> args) {
        std::vector<std::string> all{"--transports", "plugin", "--plugin", SIMCAM_PLUGIN, "--sensor-data",
                                     std::string(ck_test_data_dir()) + "/sensor_data/ck_bayer16.sdat"};
        all.insert(all.end(), args.begin(), args.end());
        return cli.run(all);
    }
};

TEST_F(CliPreset, RunsAPresetLineByLineAndShowsEachOutcome) {
    const std::string ini = cli.dir().write("p.ini",
                                            "[Init]\n"
                                            "REG = 0x3012, 0x0123  // exposure\n"
                                            "LOAD = Hidden: Gain\n"
                                            "STATE = 1\n"
                                            "[Hidden: Gain]\n"
                                            "FIELD_WR = GLOBAL_GAIN, ANALOG_GAIN, 3\n"
                                            "[Bad]\n"
                                            "DELAY = 0\n"
                                            "REG = 0x3012, 1\n");
    ToolResult r = camkit({"preset", "--file", ini, "Init", "+", "get", "COARSE_INTEGRATION_TIME",
                           "GLOBAL_GAIN.ANALOG_GAIN"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("[Init]\n  ok            REG=0x3012, 0x0123\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("    ok            FIELD_WR=GLOBAL_GAIN, ANALOG_GAIN, 3"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("not supported STATE=1"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("3 lines done, 0 failed"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("COARSE_INTEGRATION_TIME = 0x0123"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("GLOBAL_GAIN.ANALOG_GAIN = 3"), std::string::npos) << r.out;

    r = camkit({"preset", "--file", ini, "Bad"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("INI_LOAD_ERROR: DELAY value out of range: DELAY=0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("1 line done, 1 failed"), std::string::npos) << r.out;
}

TEST_F(CliPreset, ListsPresetsAndSavesRegistersThatLoadBack) {
    const std::string ini = cli.dir().write("p.ini", "[Init]\nREG=0x3012,1\n[Hidden: Quiet]\nREG=0x3012,2\n");
    const ToolResult list = camkit({"presets", "--file", ini});
    EXPECT_EQ(list.status, 0) << list.err;
    EXPECT_EQ(list.out, "Init\nQuiet  (hidden)\n");

    const std::string saved = cli.dir().file("saved.ini");
    ToolResult r = camkit({"set", "COARSE_INTEGRATION_TIME=0x777", "+", "save-regs", saved});
    ASSERT_EQ(r.status, 0) << r.err;
    r = camkit({"save-regs", saved});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("exists: not overwritten"), std::string::npos) << r.err;
    r = camkit({"preset", "--file", saved, "Saved Registers CK0200", "+", "get", "COARSE_INTEGRATION_TIME"});
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_NE(r.out.find("COARSE_INTEGRATION_TIME = 0x0777"), std::string::npos) << r.out;
}

TEST_F(CliPreset, TheSamplePresetsInitialiseTheSampleSensors) {
    for (const char* sensor : {"ck_bayer16", "ck_page8", "ck_soc"}) {
        const std::string data = std::string(ck_test_data_dir()) + "/sensor_data/" + sensor + ".sdat";
        const ToolResult r = cli.run({"--transports", "plugin", "--plugin", SIMCAM_PLUGIN, "--sensor-data", data,
                                      "preset", "Kite Initialization"});
        EXPECT_EQ(r.status, 0) << sensor << "\n" << r.out << r.err;
        EXPECT_NE(r.out.find(" done, 0 failed"), std::string::npos) << sensor << "\n" << r.out;
        // The null camera reads every register as 0: the identity check stops the preset.
        const ToolResult null = cli.run({"--transports", "null", "--sensor-data", data, "preset", "Kite Initialization"});
        EXPECT_EQ(null.status, 1) << sensor;
        EXPECT_NE(null.out.find("skipped       LOAD="), std::string::npos) << sensor << "\n" << null.out;
    }
}

TEST_F(CliPreset, SaveImageGrabsNumberedFrames) {
    const std::string shot = cli.dir().file("shot.raw");
    const std::string ini = cli.dir().write("p.ini", "[Shots]\nIMAGE = BAYER-8, 64, 48\nSAVE_IMAGE = " + shot + ", 2\n");
    const ToolResult r = camkit({"preset", "--file", ini, "Shots"});
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    for (const char* name : {"shot0.raw", "shot1.raw"}) {
        EXPECT_EQ(scratch_read_file(cli.dir().file(name)).size(), 64u * 48u) << name;
    }
    EXPECT_FALSE(scratch_file_exists(shot));
}

TEST_F(CliPreset, AMissingPresetOrFileIsAnError) {
    const std::string ini = cli.dir().write("p.ini", "[Init]\nREG=0x3012,1\n");
    ToolResult r = camkit({"preset", "--file", ini, "Nope"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("INI_LOAD_ERROR"), std::string::npos) << r.err;
    r = camkit({"presets", "--file", cli.dir().file("none.ini")});
    EXPECT_EQ(r.status, 1);
}

}  // namespace
