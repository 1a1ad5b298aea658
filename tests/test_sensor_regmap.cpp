// Register map model: keyword and name lookups, freeing a description, the
// sensor-type table and its extension by sensor_types.txt.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <set>
#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor/sensor_types.h"
#include "sensor_builder.h"

namespace {

ci_sensor_types type_of(const char* name) { return _sensorTypeFromName(name); }

// Resets the process-wide user rows around each test.
class SensorTypes : public ::testing::Test {
protected:
    void SetUp() override { _resetSensorTypeRows(); }
    void TearDown() override { _resetSensorTypeRows(); }

    // The page-select registers of a model as "read/write".
    std::string pages(ci_u32 type) {
        const char* r = "";
        const char* w = "";
        _pageSelectRegs(static_cast<ci_sensor_types>(type), &r, &w);
        return std::string(r) + "/" + w;
    }
};

}  // namespace

TEST(RegisterMap, LookupsIgnoreCaseAndTakeTheFirstMatch) {
    const field_desc_t fields[] = {{7, "MCU"}, {2, "SFR"}, {9, "mcu"}};
    EXPECT_EQ(7, get_field("mcu", fields, 3));
    EXPECT_EQ(2, get_field("Sfr", fields, 3));
    EXPECT_EQ(-1, get_field("SFR", fields, 1));  // only the rows given are searched
    EXPECT_EQ(-1, get_field("MC", fields, 3));   // whole words only

    ci_reg_data_t regs[3] = {};
    strcpy(regs[0].unique_desc, "GAIN");
    strcpy(regs[1].unique_desc, "Exposure");
    strcpy(regs[2].unique_desc, "exposure");
    EXPECT_EQ(1, _regId(regs, 3, "EXPOSURE"));
    EXPECT_EQ(0, _regId(regs, 3, "gain"));
    EXPECT_EQ(-1, _regId(regs, 2, "GAINS"));
    EXPECT_EQ(-1, _regId(regs, 0, "GAIN"));

    ci_addr_space_val_t vals[2] = {};
    strcpy(vals[0].ID, "Core");
    strcpy(vals[1].ID, "CORE");
    vals[1].val = 5;
    ci_addr_space_t table = {};
    table.num_vals = 2;
    table.addr_space_val = vals;
    EXPECT_EQ(&vals[0], _get_addr_space(&table, "core"));
    EXPECT_EQ(nullptr, _get_addr_space(&table, "IFP"));
    EXPECT_EQ(nullptr, _get_addr_space(nullptr, "X"));
}

// Freeing must release every table (checked by the leak sanitizer) and leave
// the record reusable; a camera's sensor pointer is cleared.
TEST(RegisterMap, DestroyingASensorFreesItsTablesAndKeepsTheRecord) {
    ci_DestructSensor(nullptr);
    SensorBuilder b;
    b.selectors(0xF0, 0xF0).space("CORE", 0).space("VARS", 1, CI_MCU_ADDR);
    b.reg("GAIN", 0x10).field("ANALOG", 0x7F).reg("EXPOSURE", 0x12).in("VARS");
    b.longDesc("GAIN", nullptr, "Gain of all colours").longDesc("GAIN", "ANALOG", "Analog part");
    ci_sensor_t* sensor = b.build();
    sensor->far1_sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    ci_DestructSensor(sensor);
    EXPECT_EQ(0, sensor->num_regs);
    EXPECT_EQ(nullptr, sensor->regs);
    EXPECT_EQ(nullptr, sensor->addr_space);
    EXPECT_EQ(0, sensor->num_long_desc);
    EXPECT_EQ(nullptr, sensor->far1_sensor);
    ci_DestructSensor(sensor);  // twice is harmless
    free(sensor);

    ParseCamera cam;
    cam.get()->sensor = SensorBuilder().reg("ONLY", 1).build();
    _freeSensor(cam);
    EXPECT_EQ(nullptr, cam.sensor());
}

TEST_F(SensorTypes, TheBuiltInTableNamesEveryModelWithSpecialBehaviour) {
    // System-on-chip models, MCU styles, address steps, the array imager,
    // swizzled sensors, the companion-board check and board quirks.
    const ci_u32 behaviour[] = {1,  3,  5,  6,  7,  8,  10, 13, 14, 16,  19,  20,  22,  23,  24,  26, 28,
                                29, 35, 37, 38, 39, 44, 45, 46, 47, 49,  53,  54,  55,  56,  61,  62, 66,
                                68, 71, 72, 74, 75, 76, 79, 95, 99, 103, 104, 105, 106, 110, 111, 115};
    std::set<ci_u32> named;
    std::set<std::string> names;
    for (size_t i = 0; i < g_numSensorTypeRows; ++i) {
        named.insert(g_sensorTypeRows[i].type);
        EXPECT_TRUE(names.insert(g_sensorTypeRows[i].name).second) << "duplicate " << g_sensorTypeRows[i].name;
        EXPECT_GT(g_sensorTypeRows[i].type, 0);
        EXPECT_LT(g_sensorTypeRows[i].type, CI_NUM_SENSOR_TYPES);
    }
    for (ci_u32 code : behaviour) EXPECT_TRUE(named.count(code)) << "no model name for type " << code;
    EXPECT_EQ(230u, g_numSensorTypeRows);

    EXPECT_EQ(2, type_of("CK0200"));
    EXPECT_EQ(2, type_of("ck-0200"));
    EXPECT_EQ(54, type_of("cks5400soc"));
    EXPECT_EQ(CI_ARRAY_IMAGER_SENSOR, type_of("CKA10500"));
    EXPECT_EQ(CI_UNKNOWN_SENSOR, type_of("CK0200X"));
    EXPECT_EQ(CI_UNKNOWN_SENSOR, type_of(""));
}

TEST_F(SensorTypes, SevenModelsSelectPages) {
    int bySelector = 0;
    int byIndex = 0;
    for (ci_u32 type = 0; type <= 120; ++type) {
        const std::string p = pages(type);
        const bool selector = p == "ADDR_SPACE_SEL/ADDR_SPACE_SEL";
        const bool index = p == "2_WIRE_SERIAL_READ_INDEX/2_WIRE_SERIAL_WRITE_INDEX";
        EXPECT_TRUE(selector || index || p == "/") << type << " " << p;
        bySelector += selector;
        byIndex += index;
    }
    EXPECT_EQ(6, bySelector);
    EXPECT_EQ(1, byIndex);

    ParseCamera cam;
    EXPECT_STREQ("", _get_AddressSpaceReg_read(cam));  // no sensor yet
    cam.get()->sensor = SensorBuilder().model(type_of("CK0900")).build();
    EXPECT_STREQ("ADDR_SPACE_SEL", _get_AddressSpaceReg_read(cam));
    EXPECT_STREQ("ADDR_SPACE_SEL", _get_AddressSpaceReg_write(cam));
    cam.sensor()->sensorType = type_of("CK1200");
    EXPECT_STREQ("2_WIRE_SERIAL_READ_INDEX", _get_AddressSpaceReg_read(cam));
    EXPECT_STREQ("2_WIRE_SERIAL_WRITE_INDEX", _get_AddressSpaceReg_write(cam));
}

TEST_F(SensorTypes, ADirectoryFileAddsAndOverridesRows) {
    ScratchDir dir;
    dir.write("sensor_types.txt",
              "; our own sensors\n"
              "# more comments\n"
              "\n"
              "LAB_IMAGER = 0x14            // a new name for an existing code\n"
              "CK0200 = 37                  # overrides the built-in row\n"
              "\"LAB CAM 2\" = 116, PAGE_REG\n"
              "LAB_CAM_3 = 117, RD_INDEX, WR_INDEX\n"
              "LAB_CAM_4 = 5, NONE\n"
              "BROKEN LINE\n"
              "OUT_OF_RANGE = 128\n"
              "TOO_MANY = 7, A, B, C\n"
              "LAB_CAM_5 = 9x\n");
    LogCapture log;
    _loadSensorTypeFile(dir.path().c_str());
    EXPECT_EQ(20, type_of("lab_imager"));
    EXPECT_EQ(37, type_of("CK0200"));
    EXPECT_EQ(2, type_of("CK-0200"));  // the other spelling keeps its code
    EXPECT_EQ(116, type_of("lab cam 2"));
    EXPECT_EQ("PAGE_REG/PAGE_REG", pages(116));
    EXPECT_EQ("RD_INDEX/WR_INDEX", pages(117));
    EXPECT_EQ("/", pages(5));  // NONE takes the built-in page select away
    EXPECT_EQ("ADDR_SPACE_SEL/ADDR_SPACE_SEL", pages(6));
    EXPECT_EQ(CI_UNKNOWN_SENSOR, type_of("OUT_OF_RANGE"));
    EXPECT_EQ(CI_UNKNOWN_SENSOR, type_of("TOO_MANY"));
    EXPECT_EQ(CI_UNKNOWN_SENSOR, type_of("LAB_CAM_5"));
    std::string text = log.text();
    std::string file = dir.file("sensor_types.txt");
    EXPECT_EQ(1, count_of(text, "BROKEN LINE in " + file + ":9"));
    EXPECT_EQ(1, count_of(text, "in " + file + ":10"));
    EXPECT_EQ(1, count_of(text, "in " + file + ":11"));
    EXPECT_EQ(1, count_of(text, "in " + file + ":12"));
}

TEST_F(SensorTypes, TheParserReadsTheFileOfItsDirectoryOnce) {
    ScratchDir dir;
    dir.write("sensor_types.txt", "LAB_SOC = 54\n");
    std::string text = sdat_with("");
    text.replace(text.find("CK0200"), 6, "LAB_SOC");
    std::string path = dir.write("lab.sdat", text);
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(path));
    EXPECT_EQ(54, cam.sensor()->sensorType);

    // Read once per directory: a later change is not seen.
    dir.write("sensor_types.txt", "LAB_SOC = 55\n");
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(path));
    EXPECT_EQ(54, cam.sensor()->sensorType);
}
