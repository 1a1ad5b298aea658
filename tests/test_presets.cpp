// The preset runner, observed through the bus traffic and the line observer:
// section lookup, line rules, handlers, nesting, polls, conditions and the
// register commands.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "log_capture.h"
#include "presets/presets_internal.h"
#include "transport/transport_common.h"
#include "recording_transport.h"
#include "sensor_builder.h"
#include "test_paths.h"

namespace {

SensorBuilder presetSensor() {
    SensorBuilder b;
    b.name("PRESETSENSOR").widths(16, 16).shipAddr(0x20)
        .reg("EXPOSURE", 0x3012)
        .reg("CONTROL", 0x301A).field("RESET", 0x0001).field("MODE", 0x00F0)
        .reg("GAIN", 0x305E).field("ANALOG", 0x007F)
        .reg("STATUS", 0x3100).volatileReg()
        .reg("RO_ID", 0x3000);
    return b;
}

struct Line {
    std::string section, line;
    ci_s32 depth;
    ci_ini_outcome outcome;
    ci_error_code result;
    std::string message;
};

void observe(void* user, ci_camera_t*, const char* section, ci_s32 depth, const char* line, ci_ini_outcome outcome,
             ci_error_code result, const char* message) {
    static_cast<std::vector<Line>*>(user)->push_back(Line{section, line, depth, outcome, result, message});
}

struct Presets : ::testing::Test {
    TestCamera cam{presetSensor()};
    RecordingTransport bus{cam};
    ScratchDir dir;
    std::vector<Line> lines;

    void SetUp() override {
        cam.sensor()->regs[4].rw = 0;  // RO_ID is read-only
        ci_SetIniLineObserver(observe, &lines);
    }
    void TearDown() override { ci_SetIniLineObserver(nullptr, nullptr); }

    std::string ini(const std::string& text, const std::string& name = "p.ini") { return dir.write(name, text); }
    ci_error_code run(const std::string& file, const char* preset) { return ci_LoadINIPreset(cam, file.c_str(), preset); }

    std::vector<ci_u32> writesTo(ci_u32 addr) const {
        std::vector<ci_u32> out;
        for (const BusOp& op : bus.ops()) {
            if (!op.isRead() && op.addr == addr && !op.values.empty()) out.push_back(op.values[0]);
        }
        return out;
    }
    size_t readsOf(ci_u32 addr) const {
        return (size_t)std::count_if(bus.ops().begin(), bus.ops().end(),
                                     [addr](const BusOp& op) { return op.isRead() && op.addr == addr; });
    }
    std::vector<ci_ini_outcome> outcomes() const {
        std::vector<ci_ini_outcome> out;
        for (const Line& l : lines) out.push_back(l.outcome);
        return out;
    }
};

TEST_F(Presets, LinesRunInOrderCommentsStrippedEmptyValuesSkipped) {
    bus.set(0x301A, 0x0000);
    const std::string f = ini("[Other]\nREG = 0x3012, 0x9999\n"
                              "[Init]\n"
                              "REG = 0x3012, 0x0100 // exposure\n"
                              "REG_WITHOUT_VALUE =\n"
                              "a line without an equals sign\n"
                              "BITFIELD = 0x301A, 0x00F0, 0x13\n"
                              "reg = 0x305E, 12\n");
    LogCapture log;
    ASSERT_EQ(run(f, "init"), CI_INI_SUCCESS);
    EXPECT_EQ(writesTo(0x3012), (std::vector<ci_u32>{0x0100}));
    // Only the bits of the mask change: 0x13 shifted is 0x130, cut to 0x30.
    EXPECT_EQ(bus.get(0x301A), 0x0030u);
    EXPECT_EQ(bus.get(0x305E), 12u);
    EXPECT_EQ(outcomes(), (std::vector<ci_ini_outcome>{CI_INI_LINE_DONE, CI_INI_LINE_SKIPPED, CI_INI_LINE_DONE,
                                                       CI_INI_LINE_DONE}));
    EXPECT_EQ(lines[0].line, "REG=0x3012, 0x0100");
}

TEST_F(Presets, SpaceOperandBecomesCurrentForLaterLines) {
    SensorBuilder b = presetSensor();
    b.selectors(0x3FF0, 0x3FF0).space("CORE", 0).space("AUX", 4);
    TestCamera spaced(b);
    RecordingTransport spacedBus(spaced);
    const std::string f = ini("[S]\nREG = 0x3012, 1\nREG = AUX, 0x3012, 2\nREG = 0x3014, 3\nREG = 0, 0x3014, 4\n");
    ASSERT_EQ(ci_LoadINIPreset(spaced, f.c_str(), "S"), CI_INI_SUCCESS);
    EXPECT_EQ(spacedBus.get(0x3012, 0), 1u);
    EXPECT_EQ(spacedBus.get(0x3012, 4), 2u);
    EXPECT_EQ(spacedBus.get(0x3014, 4), 3u);
    EXPECT_EQ(spacedBus.get(0x3014, 0), 4u);
}

TEST_F(Presets, HiddenPresetsAreFoundByTheirPlainName) {
    const std::string f = ini("[Hidden: Sensor Reset]\nREG = 0x3012, 1\n[Hidden:Quiet]\nREG = 0x3012, 2\n");
    EXPECT_EQ(run(f, "Sensor Reset"), CI_INI_SUCCESS);
    EXPECT_EQ(run(f, "sensor reset"), CI_INI_SUCCESS);
    EXPECT_EQ(run(f, "Quiet"), CI_INI_SUCCESS);
    EXPECT_EQ(run(f, "Hidden: Sensor Reset"), CI_INI_SUCCESS);
    EXPECT_EQ(writesTo(0x3012), (std::vector<ci_u32>{1, 1, 2, 1}));
    // A name that already says "Hidden:" is looked up only as given.
    LogCapture log;
    EXPECT_EQ(run(f, "Hidden: Quiet"), CI_INI_LOAD_ERROR);
    EXPECT_NE(log.text().find("Preset not found"), std::string::npos);
}

TEST_F(Presets, MissingFileOrSectionAndPythonSections) {
    EXPECT_EQ(run(dir.file("none.ini"), "Init"), CI_INI_LOAD_ERROR);
    const ci_u64 reads = _iniFileReads();
    EXPECT_EQ(run(dir.file("none.ini"), "Python: Script"), 0);
    EXPECT_EQ(_iniFileReads(), reads);
    EXPECT_TRUE(lines.empty());
}

TEST_F(Presets, SelfLoadStopsAtDepth16AndTheOuterPresetGoesOn) {
    const std::string f = ini("[Loop]\nLOAD = Loop\nREG = 0x3012, 7\n");
    LogCapture log;
    ASSERT_EQ(run(f, "Loop"), CI_INI_SUCCESS);
    // Depths 0..15 each run their REG after the nested LOAD returns.
    EXPECT_EQ(writesTo(0x3012).size(), 16u);
    EXPECT_NE(log.text().find("Failed recursive call check: Loop"), std::string::npos);
    EXPECT_EQ(lines.back().depth, 0);
    EXPECT_EQ(lines.back().outcome, CI_INI_LINE_DONE);
}

TEST_F(Presets, LoadOfAnotherFileIsRelativeToTheCurrentFile) {
    ini("[Part]\nREG = 0x3012, 5\n", "sub/other.ini");
    const std::string f = ini("[Top]\nLOAD = sub/other.ini, Part\nLOAD = \nLOAD = , Part\n");
    LogCapture log;
    ASSERT_EQ(run(f, "Top"), CI_INI_SUCCESS);
    EXPECT_EQ(writesTo(0x3012), (std::vector<ci_u32>{5}));
    EXPECT_NE(log.text().find("Error parsing LOAD command"), std::string::npos);
}

TEST_F(Presets, AFileIsReadOnceForManyNestedLoadsAndAgainWhenItChanges) {
    std::string text = "[Top]\n";
    for (int i = 0; i < 100; ++i) text += "LOAD = Leaf\n";
    text += "[Leaf]\nREG = 0x3012, 1\n";
    const std::string f = ini(text);
    const ci_u64 before = _iniFileReads();
    ASSERT_EQ(run(f, "Top"), CI_INI_SUCCESS);
    EXPECT_EQ(_iniFileReads() - before, 1u);
    EXPECT_EQ(writesTo(0x3012).size(), 100u);
    ini(text + "REG = 0x3012, 2\n");
    bus.clear();
    ASSERT_EQ(run(f, "Leaf"), CI_INI_SUCCESS);
    EXPECT_EQ(_iniFileReads() - before, 2u);
    EXPECT_EQ(writesTo(0x3012), (std::vector<ci_u32>{1, 2}));
}

ci_error_code g_handlerAnswer = CI_INI_NOT_HANDLED;
std::vector<std::string> g_handled;

ci_error_code appHandler(ci_camera_t*, const char* key, const char* value) {
    g_handled.push_back(std::string("app:") + key + "=" + value);
    return g_handlerAnswer;
}

ci_error_code transportHandler(ci_camera_t*, const char* key, const char* value) {
    g_handled.push_back(std::string("transport:") + key + "=" + value);
    return osal_stricmp(key, "BOARD_CMD") == 0 ? CI_INI_HANDLED_SUCCESS : CI_INI_NOT_HANDLED;
}

TEST_F(Presets, HandlersSeeEachLineFirstAndAHandledLineHidesTheBuiltIn) {
    const std::string f = ini("[H]\nBOARD_CMD = 1\nREG = 0x3012, 3\n");
    cam.context()->transportIniCommand = transportHandler;
    ASSERT_EQ(ci_SetIniCommandHandler(cam, appHandler), 0);
    for (ci_error_code answer : {CI_INI_NOT_HANDLED, CI_INI_HANDLED_SUCCESS, CI_INI_HANDLED_ERROR}) {
        g_handlerAnswer = answer;
        g_handled.clear();
        bus.clear();
        lines.clear();
        ASSERT_EQ(run(f, "H"), CI_INI_SUCCESS);
        EXPECT_EQ(g_handled, (std::vector<std::string>{"transport:BOARD_CMD=1", "transport:REG=0x3012, 3",
                                                       "app:REG=0x3012, 3"}));
        const bool builtIn = answer == CI_INI_NOT_HANDLED;
        EXPECT_EQ(writesTo(0x3012).size(), builtIn ? 1u : 0u) << answer;
        EXPECT_EQ(lines[1].outcome, answer == CI_INI_HANDLED_ERROR ? CI_INI_LINE_FAILED : CI_INI_LINE_DONE);
    }
    ci_SetIniCommandHandler(cam, nullptr);
    cam.context()->transportIniCommand = nullptr;
}

TEST_F(Presets, ErrorIfStopsOnlyWhenItsConditionHolds) {
    const std::string f = ini("[E]\n"
                              "ERROR_IF = CONTROL, MODE == 3, \"Sensor is in mode 3, stop\"\n"
                              "REG = 0x3012, 1\n"
                              "[F]\n"
                              "ERROR_IF = EXPOSURE > 0x10 \"no comma\"\n"
                              "ERROR_IF = NO_SUCH_REG == 1, \"x\"\n"
                              "ERROR_IF = EXPOSURE ~ 1, \"x\"\n"
                              "ERROR_IF = CONTROL, MODE != 3, \"fine\"\n"
                              "REG = 0x3012, 2\n");
    bus.set(0x301A, 0x0030);
    LogCapture log;
    ASSERT_EQ(run(f, "E"), CI_INI_SUCCESS);
    EXPECT_TRUE(writesTo(0x3012).empty());
    EXPECT_NE(log.text().find("Sensor is in mode 3, stop: ERROR_IF="), std::string::npos);
    EXPECT_EQ(outcomes(), (std::vector<ci_ini_outcome>{CI_INI_LINE_FAILED, CI_INI_LINE_SKIPPED}));
    ASSERT_EQ(run(f, "F"), CI_INI_SUCCESS);
    EXPECT_EQ(writesTo(0x3012), (std::vector<ci_u32>{2}));
    const std::string text = log.text();
    EXPECT_NE(text.find("Error parsing ERROR_IF command"), std::string::npos);
    EXPECT_NE(text.find("Error reading register in ERROR_IF command"), std::string::npos);
    EXPECT_NE(text.find("Error parsing condition in ERROR_IF command"), std::string::npos);
}

TEST_F(Presets, ErrorIfReadsTheDeviceNotTheCache) {
    cam.useCache(1);
    bus.set(0x301A, 0x0000);
    ci_u32 v = 0;
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "CONTROL", "", &v), 0);  // cached as 0
    bus.set(0x301A, 0x0030);
    const std::string f = ini("[E]\nERROR_IF = CONTROL, MODE == 3, \"stop\"\nREG = 0x3012, 1\n");
    ASSERT_EQ(run(f, "E"), CI_INI_SUCCESS);
    EXPECT_TRUE(writesTo(0x3012).empty());
    ci_u32 mode = 9;
    ASSERT_EQ(ci_getMode(cam, CI_USE_REG_CACHE, &mode), 0);
    EXPECT_EQ(mode, 1u);
}

TEST_F(Presets, PollRegReadsAtMostTimeoutMoreTimes) {
    const std::string f = ini("[P]\nPOLL_REG = 0x3100, 0x0300, ==2, DELAY=1, TIMEOUT=3\n"
                              "[Q]\nPOLL_REG = 0x3100, 0x0300, !=2, DELAY=1, TIMEOUT=3\n"
                              "[R]\nPOLL_REG = 0x3100, 0x0300, ==2, DELAY=1\n");
    bus.set(0x3100, 0x0200);
    LogCapture log;
    ASSERT_EQ(run(f, "P"), CI_INI_SUCCESS);
    EXPECT_EQ(readsOf(0x3100), 4u);
    EXPECT_EQ(lines.back().result, CI_INI_POLLREG_TIMEOUT);
    EXPECT_NE(log.text().find("Time Out in POLLREG Command"), std::string::npos);
    bus.clear();
    ASSERT_EQ(run(f, "Q"), CI_INI_SUCCESS);
    EXPECT_EQ(readsOf(0x3100), 1u);
    EXPECT_EQ(lines.back().outcome, CI_INI_LINE_DONE);
    ASSERT_EQ(run(f, "R"), CI_INI_SUCCESS);
    EXPECT_NE(log.text().find("Error parsing POLLREG command"), std::string::npos);
}

TEST_F(Presets, PollFieldTakesValuesInTheFieldsDataType) {
    const std::string f = ini("[P]\nPOLL_FIELD = CONTROL, MODE == 2, DELAY=1, TIMEOUT=5\n"
                              "[Bad]\nPOLL_FIELD = CONTROL, MODE == x, DELAY=1, TIMEOUT=5\n"
                              "POLL_FIELD = CONTROL, MODE == 2, DELAY=x, TIMEOUT=5\n"
                              "POLL_FIELD = CONTROL, NOPE == 2, DELAY=1, TIMEOUT=5\n");
    bus.set(0x301A, 0x0020);
    ASSERT_EQ(run(f, "P"), CI_INI_SUCCESS);
    EXPECT_EQ(readsOf(0x301A), 6u);
    LogCapture log;
    ASSERT_EQ(run(f, "Bad"), CI_INI_SUCCESS);
    const std::string text = log.text();
    EXPECT_NE(text.find("Error parsing POLL_FIELD condition value"), std::string::npos);
    EXPECT_NE(text.find("Error parsing POLL_FIELD, invalid value"), std::string::npos);
    EXPECT_NE(text.find("Error parsing POLL_FIELD command"), std::string::npos);
}

TEST_F(Presets, ConditionsChooseTheLoadOrTheElseLoadBranch) {
    const std::string f = ini("[If]\n"
                              "IF_REG = 0x301A, 0x00F0, ==3, LOAD=Yes, ELSELOAD=No\n"
                              "IF_FIELD = CONTROL, MODE >= 4, LOAD=Yes, ELSELOAD=No\n"
                              "IF_FIELD = CONTROL, MODE >= 4, LOAD=Yes\n"
                              "IF_SERIAL = 0x20, 0x301A, 0x00F0, <= 3, LOAD=Yes\n"
                              "IF_REG = 0x301A, 0x00F0, ==3, ELSELOAD=No\n"
                              "[Yes]\nREG = 0x3012, 1\n[No]\nREG = 0x3012, 2\n");
    bus.set(0x301A, 0x0030);
    LogCapture log;
    ASSERT_EQ(run(f, "If"), CI_INI_SUCCESS);
    EXPECT_EQ(writesTo(0x3012), (std::vector<ci_u32>{1, 2, 1}));
    EXPECT_NE(log.text().find("Error parsing IFREG command"), std::string::npos);
}

TEST_F(Presets, FieldWriteByNameWithValuesInTheDataTypeAndItsErrors) {
    const std::string f = ini("[W]\nFIELD_WR = CONTROL, MODE, 5\nFIELD_WR = EXPOSURE, 0x200\n"
                              "FIELD_WR = NOPE, 1\nFIELD_WR = CONTROL, NOPE, 1\nFIELD_WR = GAIN, ANALOG, 200\n"
                              "DATATYPE = GAIN, ANALOG, ufixed2\nFIELD_WR = GAIN, ANALOG, 2.5\n");
    bus.set(0x301A, 0x0001);
    LogCapture log;
    ASSERT_EQ(run(f, "W"), CI_INI_SUCCESS);
    EXPECT_EQ(bus.get(0x301A), 0x0051u);
    EXPECT_EQ(bus.get(0x3012), 0x0200u);
    EXPECT_EQ(bus.get(0x305E), 10u);  // 2.5 in two fraction bits
    const std::string text = log.text();
    EXPECT_NE(text.find("Register does not exist in FIELDWR command"), std::string::npos);
    EXPECT_NE(text.find("Bitfield does not exist in FIELDWR command"), std::string::npos);
    EXPECT_NE(text.find("Invalid value in FIELDWR command: FIELD_WR=GAIN, ANALOG, 200"), std::string::npos);
}

TEST_F(Presets, SavedRegistersLoadBackAsAPreset) {
    bus.set(0x3012, 0x0123);
    bus.set(0x301A, 0x00A1);
    bus.set(0x305E, 0x0042);
    bus.set(0x3000, 0x2C02);
    const std::string out = dir.file("saved.ini");
    const std::string f = ini("[Save]\nSAVE_REGS = " + out + ", Bring-up\n");
    ASSERT_EQ(run(f, "Save"), CI_INI_SUCCESS);
    const std::string saved = scratch_read_file(out);
    EXPECT_EQ(saved.rfind("[Saved Registers Bring-up]\n", 0), 0u) << saved;
    EXPECT_NE(saved.find("FIELD_WR= EXPOSURE, 0x123\n"), std::string::npos);
    EXPECT_EQ(saved.find("RO_ID"), std::string::npos);
    for (ci_u32 a : {0x3012u, 0x301Au, 0x305Eu}) bus.set(a, 0);
    ASSERT_EQ(run(out, "Saved Registers Bring-up"), CI_INI_SUCCESS);
    EXPECT_EQ(bus.get(0x3012), 0x0123u);
    EXPECT_EQ(bus.get(0x301A), 0x00A1u);
    EXPECT_EQ(bus.get(0x305E), 0x0042u);
    // A second save does not overwrite the first.
    ASSERT_EQ(run(f, "Save"), CI_INI_SUCCESS);
    EXPECT_EQ(scratch_read_file(out), saved);
    EXPECT_TRUE(scratch_file_exists(dir.file("saved0.ini")));
}

TEST_F(Presets, UnsupportedKeysAreLoggedAndSkipped) {
    const std::string f = ini("[U]\nSTATE = 1\nFAR1_VAR = 1, 2, 3\nFROBNICATE = 1\nREG = 0x3012, 1\n");
    LogCapture log;
    ASSERT_EQ(run(f, "U"), CI_INI_SUCCESS);
    EXPECT_EQ(outcomes(), (std::vector<ci_ini_outcome>{CI_INI_LINE_NOT_SUPPORTED, CI_INI_LINE_NOT_SUPPORTED,
                                                       CI_INI_LINE_NOT_SUPPORTED, CI_INI_LINE_DONE}));
    EXPECT_NE(log.text().find("Key Not Supported - ignored: FROBNICATE=1"), std::string::npos);
}

TEST_F(Presets, CommandErrorsAreLoggedWithTheirLineAndTheSectionGoesOn) {
    struct Case {
        const char* line;
        const char* message;
    };
    const Case cases[] = {
        {"DELAY = 0", "DELAY value out of range"},
        {"DELAY = 5001", "DELAY value out of range"},
        {"REG = 0x3012", "Error parsing REG command"},
        {"REG = 0x3012, zz", "Invalid value in REG Command"},
        {"BITFIELD = 0x3012, 0, 1", "Invalid value in BITFIELD command"},
        {"BITFIELD = 1", "Error parsing BITFIELD command"},
        {"VAR = 1, 2", "Error parsing VAR command"},
        {"SFR = 1, x", "Invalid value in SFR command"},
        {"MEM = 1", "Error parsing MEM command"},
        {"IND = q, 1", "Invalid value in IND command"},
        {"SERIAL_REG = 0x20, 1, 2, 12, 8", "Error parsing SERIAL_REG command"},
        {"SENSOR_BASE = 0x100", "Invalid value in SENSOR_BASE command"},
        {"IMAGE = BAYER-9", "Invalid value in IMAGE command"},
        {"XMCLK = 0.5", "XMCLK value out of range"},
        {"DATATYPE = GAIN, fancy", "Unknown data type keyword in DATATYPE command"},
        {"DATATYPE = NOPE, ufixed1", "Unknown register name in DATATYPE command"},
        {"LOAD_PROM = 0xA0, BOGUS", "Unknown load type (second parameter) in LOAD_PROM Command"},
        {"FAR1 = 1", "Error parsing FAR_REG command"},
        {"POLL_VAR = 1, 2, ==1", "Error parsing POLL_VAR command"},
    };
    std::string text = "[Errors]\n";
    for (const Case& c : cases) text += std::string(c.line) + "\n";
    text += "REG = 0x3012, 9\n";
    const std::string f = ini(text);
    LogCapture log;
    ASSERT_EQ(run(f, "Errors"), CI_INI_SUCCESS);
    const std::string logged = log.text();
    for (const Case& c : cases) {
        EXPECT_NE(logged.find(c.message), std::string::npos) << c.line;
    }
    ASSERT_EQ(lines.size(), std::size(cases) + 1);
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(lines[i].outcome, CI_INI_LINE_FAILED) << cases[i].line;
    EXPECT_EQ(writesTo(0x3012), (std::vector<ci_u32>{9}));
}

TEST_F(Presets, RegisterFailuresReachTheObserverButNotTheResult) {
    bus.failAt(0x3012, CI_I2C_NACK_ERROR, -1);
    const std::string f = ini("[F]\nREG = 0x3012, 1\nREG_BURST = 0x3014, 1, 2, 3\n");
    ASSERT_EQ(run(f, "F"), CI_INI_SUCCESS);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].outcome, CI_INI_LINE_FAILED);
    EXPECT_EQ(lines[1].outcome, CI_INI_LINE_DONE);
    EXPECT_EQ(bus.get(0x3016), 2u);
    EXPECT_EQ(bus.get(0x3018), 3u);
}

TEST_F(Presets, ImageSetsTheFormatAndSize) {
    cam.get()->updateFrameSize = _transport_update_frame_size;
    const std::string f = ini("[I]\nIMAGE = YCBCR, 320, 240\n");
    ASSERT_EQ(run(f, "I"), CI_INI_SUCCESS);
    EXPECT_EQ(cam.sensor()->imageType, CI_YCBCR);
    EXPECT_EQ(cam.sensor()->width, 320u);
    EXPECT_EQ(cam.sensor()->height, 240u);
    EXPECT_EQ(cam.sensor()->bufferSize, 320u * 240u * 2u);
}

TEST(PresetFrames, ImageSizesTheFrameAndTheNullCameraCannotSaveOne) {
    ScratchDir dir;
    ci_camera_t* cams[2] = {};
    ci_s32 n = 0;
    const std::string sensor = std::string(ck_test_data_dir()) + "/sensor_data/ck_bayer16.sdat";
    ASSERT_EQ(ci_OpenCameras2(cams, &n, sensor.c_str(), CI_TRANSPORT_NULL, ""), 0);
    ASSERT_EQ(n, 1);
    const std::string f = dir.write("p.ini", "[Shots]\nIMAGE = BAYER-8, 64, 48\nSAVE_IMAGE = " + dir.file("shot.raw") +
                                                 "\n[Deep]\nIMAGE = BAYER-8+4\n");
    LogCapture log;
    ASSERT_EQ(ci_LoadINIPreset(cams[0], f.c_str(), "Shots"), CI_INI_SUCCESS);
    EXPECT_EQ(cams[0]->sensor->imageType, CI_BAYER_8);
    EXPECT_EQ(cams[0]->sensor->bufferSize, 64u * 48u);
    EXPECT_FALSE(scratch_file_exists(dir.file("shot0.raw")));
    EXPECT_NE(log.text().find("Failed to capture an image in SAVE_IMAGE command"), std::string::npos);
    ASSERT_EQ(ci_LoadINIPreset(cams[0], f.c_str(), "Deep"), CI_INI_SUCCESS);
    EXPECT_EQ(cams[0]->sensor->imageType, CI_BAYER_12);
    EXPECT_EQ(cams[0]->sensor->bufferSize, 64u * 48u * 2u);
    ci_CloseCameras2(cams, n);
}

TEST(PresetText, ConditionsAndNumbers) {
    ConditionOp op = COND_NONE;
    std::string n;
    ASSERT_TRUE(_FindIntFromStr(" >= 0x10 ", &op, &n));
    EXPECT_EQ(op, COND_GE);
    EXPECT_EQ(n, "0x10");
    EXPECT_FALSE(_FindIntFromStr("=> 1", &op, &n));
    EXPECT_FALSE(_FindIntFromStr("==", &op, &n));
    EXPECT_TRUE(_CheckCondition(5, 5, COND_LE));
    EXPECT_FALSE(_CheckCondition(5, 5, COND_LT));
    ci_u32 v = 0;
    EXPECT_TRUE(_Str2Int("0xFFFFFFFF", &v));
    EXPECT_FALSE(_Str2Int("0x100000000", &v));
    EXPECT_FALSE(_Str2Int("-1", &v));
    EXPECT_FALSE(_Str2Int("0x", &v));
    EXPECT_FALSE(_Str2Int("12ab", &v));
    EXPECT_EQ(_operands(" a , \"b, c\" ,"), (std::vector<std::string>{"a", "\"b, c\"", ""}));
    EXPECT_EQ(_Str2Key("poll_reg"), KEY_POLL_REG);
    EXPECT_EQ(_Str2Key("I2C_REG"), KEY_SERIAL_REG);
    EXPECT_EQ(_Str2Key("UNKNOWN"), KEY_UNKNOWN);
    EXPECT_STREQ(_Key2Str(KEY_FAR2), "FAR2");
}

TEST(PresetDefaultFile, SearchOrderBesideTheSensorFileThenAppsDataThenTheReleasedName) {
    ScratchDir root;
    TestCamera cam{presetSensor()};
    snprintf(cam.sensor()->sensorFileName, sizeof cam.sensor()->sensorFileName, "%s",
             root.file("sensor_data/CK-DEV.sdat").c_str());
    char out[512];
    EXPECT_EQ(ci_DefaultIniFile(cam, out, sizeof out), CI_INI_LOAD_ERROR);
    EXPECT_EQ(std::string(out), root.file("sensor_data/CK-DEV.ini"));
    const std::vector<std::string> order{"apps_data/CK.ini", "sensor_data/CK.ini", "apps_data/CK-DEV.ini",
                                         "sensor_data/CK-DEV.ini"};
    for (const std::string& name : order) {
        root.write(name, "[Kite Initialization]\n");
        ASSERT_EQ(ci_DefaultIniFile(cam, out, sizeof out), 0);
        EXPECT_EQ(std::string(out), root.file(name));
        char tiny[8];
        EXPECT_EQ(ci_DefaultIniFile(cam, tiny, sizeof tiny), CI_BUFFER_SIZE_ERROR);
    }
    // The default file runs the default preset.
    RecordingTransport bus(cam);
    root.write("sensor_data/CK-DEV.ini", "[Kite Initialization]\nREG = 0x3012, 4\n");
    ASSERT_EQ(ci_LoadINIPreset(cam, nullptr, nullptr), CI_INI_SUCCESS);
    EXPECT_EQ(bus.get(0x3012), 4u);
}

}  // namespace
