// Register lookup: by name, in chips, by pattern, by address, and long
// descriptions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "sensor_builder.h"

namespace {

std::string nameOf(const ci_reg_data_t* reg) {
    return reg ? reg->unique_desc : "(none)";
}

SensorBuilder namedSensor() {
    SensorBuilder b;
    b.name("CKTEST").partNumber("CK-0300")
        .reg("CHIP_VERSION_REG", 0x00).field("REVISION", 0x0F)
        .reg("Gain", 0x10).field("ANALOG", 0x7F)
        .reg("GAIN", 0x12).field("DIGITAL", 0xFF00)
        .reg("Exposure", 0x14);
    return b;
}

TEST(RegisterByName, IgnoresCaseMatchesWholeNamesAndTakesTheFirst) {
    TestCamera cam(namedSensor());
    EXPECT_EQ(nameOf(_registerLookup(cam, -1, "chip_version_reg")), "CHIP_VERSION_REG");
    EXPECT_EQ(_registerLookup(cam, -1, "CHIP_VERSION"), nullptr);
    EXPECT_EQ(_registerLookup(cam, -1, "CHIP_VERSION_REG_"), nullptr);
    // Two registers of one name: the earlier in file order.
    EXPECT_EQ(_registerLookup(cam, -1, "gain"), &cam.sensor()->regs[1]);
    EXPECT_EQ(_getRegIndex(cam, "GAIN"), 1);
    EXPECT_EQ(_getRegIndex(cam, "nothing"), -1);
    EXPECT_TRUE(_getRegIndex(cam, nullptr) == -1 && !_registerLookup(cam, -1, "") &&
                !_registerLookup(nullptr, -1, "GAIN") && !_bitfieldLookup(nullptr, "ANALOG"));
    // The bitfield comes from the first register of the name only.
    EXPECT_TRUE(ci_ExistsBitfield(cam, "GAIN", "analog"));
    EXPECT_FALSE(ci_ExistsBitfield(cam, "GAIN", "DIGITAL"));
}

TEST(RegisterByName, OnlyTheFindFamilyLogsMisses) {
    TestCamera cam(namedSensor());
    LogCapture log;
    EXPECT_FALSE(ci_ExistsRegister(cam, "MISSING"));
    EXPECT_FALSE(ci_ExistsBitfield(cam, "GAIN", "MISSING"));
    EXPECT_EQ(_registerLookup(cam, 0, "GAIN"), nullptr);
    EXPECT_EQ(log.text().find("Can't find"), std::string::npos) << log.text();

    EXPECT_EQ(ci_FindRegister(cam, "MISSING_REG"), nullptr);
    EXPECT_EQ(ci_FindBitfield(cam, "Gain", "MISSING_FIELD"), nullptr);
    EXPECT_NE(ci_FindBitfield(cam, "Gain", "analog"), nullptr);
    const std::string text = log.text();
    EXPECT_NE(text.find("Can't find register MISSING_REG"), std::string::npos) << text;
    EXPECT_NE(text.find("Can't find bitfield Gain::MISSING_FIELD"), std::string::npos) << text;
    EXPECT_NE(text.find("camkit_reg"), std::string::npos) << text;
    // The message of the longest names is complete.
    const std::string reg(255, 'R'), field(255, 'F');
    _cantfindit(reg.c_str(), field.c_str());
    EXPECT_NE(log.text().find("Can't find bitfield " + reg + "::" + field), std::string::npos);
}

SensorBuilder sensorWithChips() {
    SensorBuilder b = namedSensor();
    b.chip("BOARD", 0xBA).reg("GAIN", 0x01).field("OTHER", 0x3)
        .chip("FPGA", 0xC0).reg("CTRL", 0x02).field("GO", 0x1)
        .chip("PLL", 0xD2).reg("GAIN", 0x03).field("ANALOG", 0xF0);
    return b;
}

TEST(Chips, ChipsAreNamedAndSearchedByIndex) {
    TestCamera cam(sensorWithChips());
    for (const char* sensor : {"ck-0300", "CKTEST", ""}) EXPECT_EQ(ci_FindChip(cam, sensor), -1) << sensor;
    EXPECT_EQ(ci_FindChip(cam, "fpga"), 1);
    EXPECT_EQ(ci_FindChip(cam, "UNKNOWN"), -2);
    // Registers are looked up in the chip given.
    EXPECT_EQ(ci_FindRegister2(cam, 1, "ctrl"), &cam.get()->chip[1].regs[0]);
    for (ci_s32 other : {-1, 3, -2}) EXPECT_EQ(ci_FindRegister2(cam, other, "CTRL"), nullptr) << other;
    EXPECT_TRUE(ci_ExistsBitfield2(cam, 0, "GAIN", "OTHER"));
    EXPECT_FALSE(ci_ExistsBitfield2(cam, 1, "GAIN", "OTHER"));
    LogCapture log;
    EXPECT_EQ(ci_FindRegister2(cam, 1, ""), nullptr);
    EXPECT_EQ(ci_FindRegister2(cam, 1, nullptr), nullptr);
    EXPECT_EQ(log.text().find("Can't find"), std::string::npos);
}

TEST(Chips, FindBitfield2WalksEveryDescriptionAndKeepsTheLastRegisterFound) {
    TestCamera cam(sensorWithChips());
    // GAIN exists in the sensor, chip 0 and chip 2: chip 2's answers,
    // whatever chip is asked for.
    ci_bitfield_t* analog = ci_FindBitfield2(cam, 0, "GAIN", "ANALOG");
    ASSERT_NE(analog, nullptr);
    EXPECT_EQ(analog, &cam.get()->chip[2].regs[0].bitfield[0]);
    // Chip 0 has OTHER, but chip 2's GAIN (the last) lacks it.
    LogCapture log;
    EXPECT_EQ(ci_FindBitfield2(cam, 0, "GAIN", "OTHER"), nullptr);
    EXPECT_NE(log.text().find("Can't find bitfield GAIN::OTHER"), std::string::npos);
    // A register only the sensor has is found through any chip index.
    EXPECT_NE(ci_FindBitfield2(cam, 5, "CHIP_VERSION_REG", "REVISION"), nullptr);
    // Without chips, the sensor is searched.
    TestCamera plain(namedSensor());
    EXPECT_EQ(ci_FindBitfield2(plain, 5, "Gain", "ANALOG"), &plain.sensor()->regs[1].bitfield[0]);
}

struct PatternCase {
    const char* pattern;
    const char* name;
    bool matches;
};

TEST(Wildcard, LeftmostSegmentWithoutBacktracking) {
    const PatternCase cases[] = {
        {"*", "ANYTHING", true},       {"*", "", true},           {"R?", "R1", true},
        {"R?", "R", false},            {"R?", "R12", false},      {"*_GAIN", "RED_GAIN", true},
        {"*_GAIN", "RED_GAIN_X", false}, {"*AB", "xABxAB", false}, {"*AB*", "xABxAB", true},
        {"a*", "ABC", true},           {"*b?d", "xxBcD", true},   {"*?", "", false},
        {"A*C*E", "AxxCxxE", true},    {"A*C*E", "AxxCxxEx", false}, {"", "", true},
        {"", "A", false},              {"ABC", "abc", true},      {"AB", "ABC", false},
    };
    for (const PatternCase& c : cases) {
        EXPECT_EQ(_wildcard_match(c.pattern, c.name) != 0, c.matches) << c.pattern << " vs " << c.name;
        EXPECT_EQ(osal_wildcard_match(c.pattern, c.name) != 0, c.matches) << c.pattern << " vs " << c.name;
    }
    EXPECT_FALSE(_wildcard_match(nullptr, "A"));
    EXPECT_FALSE(_wildcard_match("A", nullptr));
}

TEST(Wildcard, PositionEnumeratesEachMatchOnce) {
    TestCamera cam(SensorBuilder().reg("RED_GAIN", 1).reg("EXPOSURE", 2).reg("BLUE_GAIN", 3).reg("GREEN_GAIN", 4)
                       .reg("MODE", 5));
    ci_s32 position = 0;
    std::string seen;
    while (ci_reg_data_t* reg = ci_FindRegisterWildcard(cam, "*_gain", &position)) {
        seen += std::string(reg->unique_desc) + "@" + std::to_string(position) + " ";
    }
    EXPECT_EQ(seen, "RED_GAIN@1 BLUE_GAIN@3 GREEN_GAIN@4 ");
    EXPECT_EQ(position, 4);
    EXPECT_EQ(nameOf(ci_FindRegisterWildcard(cam, "*_GAIN", nullptr)), "RED_GAIN");
    EXPECT_EQ(ci_FindRegisterWildcard(cam, nullptr, &position), nullptr);
}

// One register per address-space row of the match rule.
SensorBuilder spacedSensor(ci_u32 model, ci_u32 selector) {
    SensorBuilder b;
    b.model(model).selectors(selector, selector)
        .space("PAGE0", 0).space("PAGE3", 3)
        .space("SFR1", 1, CI_SFR_ADDR).space("IND", 7, CI_IND_ADDR)
        .space("FAR8", 2, CI_FAR1_REG_ADDR, 0x30, 8, 8).space("FAR16", 2, CI_FAR2_REG_ADDR, 0x32, 16, 16)
        .reg("LOOSE", 0x50).noSpace()
        .reg("P0", 0x60).in("PAGE0")
        .reg("P3", 0x60).in("PAGE3")
        .reg("SFR", 0x70).in("SFR1")
        .reg("IND", 0x80).in("IND")
        .reg("FAR8", 0x90).in("FAR8")
        .reg("FAR16", 0x90).in("FAR16");
    return b;
}

TEST(RegisterByAddress, SpaceValueMattersOnlyWhereTheRuleSays) {
    TestCamera cam(spacedSensor(0, 0x3F));
    TestCamera noSelectors(spacedSensor(0, 0));
    TestCamera indirectPort(spacedSensor(16, 0x3F));  // MCU style 16
    // A register without a space answers for every type and value.
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x50, 9, CI_SFR_ADDR)), "LOOSE");
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x50, 0, CI_REG_ADDR)), "LOOSE");
    // Plain registers with selectors: by value.
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x60, 3, CI_REG_ADDR)), "P3");
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x60, 0, CI_REG_ADDR)), "P0");
    EXPECT_EQ(ci_FindRegisterAddr(cam, 0x60, 5, CI_REG_ADDR), nullptr);
    // ... without selectors: any value.
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(noSelectors, 0x60, 5, CI_REG_ADDR)), "P0");
    EXPECT_EQ(_GetRegCacheIndex(noSelectors, 0x60, 3, CI_REG_ADDR), 1);
    // The type must agree.
    EXPECT_EQ(ci_FindRegisterAddr(cam, 0x60, 0, CI_MCU_ADDR), nullptr);
    // SFRs without an MCU style: by value.
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x70, 1, CI_SFR_ADDR)), "SFR");
    EXPECT_EQ(ci_FindRegisterAddr(cam, 0x70, 2, CI_SFR_ADDR), nullptr);
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(indirectPort, 0x70, 2, CI_SFR_ADDR)), "SFR");  // any in style 16
    // Indirect registers: any value.
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x80, 99, CI_IND_ADDR)), "IND");
    // Far registers: any value above 8 address bits, else by value.
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x90, 77, CI_FAR2_REG_ADDR)), "FAR16");
    EXPECT_EQ(ci_FindRegisterAddr(cam, 0x90, 77, CI_FAR1_REG_ADDR), nullptr);
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x90, 2, CI_FAR1_REG_ADDR)), "FAR8");
    EXPECT_EQ(ci_FindRegisterAddr(cam, 0x99, 0, CI_FAR1_REG_ADDR), nullptr);
}

TEST(RegisterByAddress, ArrayImagerFallsBackToSpaceZero) {
    for (ci_u32 model : {(ci_u32)CI_ARRAY_IMAGER_SENSOR, 0u}) {
        TestCamera cam(SensorBuilder().model(model).selectors(0x3F, 0x3F).space("P0", 0).space("P1", 1)
                           .space("P3", 3).reg("ONLY0", 0x10).in("P0").reg("ONLY1", 0x20).in("P1"));
        EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x10, 3, CI_REG_ADDR)), model ? "ONLY0" : "(none)");
        EXPECT_EQ(ci_FindRegisterAddr(cam, 0x20, 3, CI_REG_ADDR), nullptr);
    }
}

// Big descriptions go through the index; its answers must be those of a
// scan in file order, including after the description's tables change.
TEST(RegisterIndex, AgreesWithFileOrderOnABigSensor) {
    SensorBuilder b;
    b.selectors(0x3F, 0x3F).space("P0", 0).space("P1", 1);
    for (int i = 0; i < 3000; ++i) {
        const std::string n = "REG_" + std::to_string(i % 2000);  // names 0..999 appear twice
        b.reg(n.c_str(), (ci_u32)(i % 1500) * 2).in(i % 3 ? "P0" : "P1");
    }
    TestCamera cam(b);
    const ci_sensor_t* s = cam.sensor();
    for (int i = 0; i < 2000; i += 37) {
        const std::string n = "reg_" + std::to_string(i);
        EXPECT_EQ(_getRegIndex(cam, n.c_str()), i) << n;
    }
    for (ci_u32 addr = 0; addr < 3000; addr += 2 * 41) {
        for (ci_u32 space = 0; space < 2; ++space) {
            ci_s32 expected = -1;
            for (ci_s32 i = 0; i < s->num_regs && expected < 0; ++i) {
                if (s->regs[i].reg_addr == addr && s->regs[i].reg_space == space) expected = i;
            }
            EXPECT_EQ(_GetRegCacheIndex(cam, addr, space, CI_REG_ADDR), expected) << addr << "/" << space;
        }
    }
    EXPECT_EQ(_GetRegCacheIndex(cam, 1, 0, CI_REG_ADDR), -1);
}

TEST(RegisterIndex, FollowsAReplacedRegisterTable) {
    TestCamera cam(SensorBuilder().reg("OLD", 0x10));
    ASSERT_EQ(_getRegIndex(cam, "OLD"), 0);
    ci_sensor_t* s = cam.sensor();
    auto* regs = static_cast<ci_reg_data_t*>(calloc(2, sizeof(ci_reg_data_t)));
    strcpy(regs[0].unique_desc, "FIRST");
    strcpy(regs[1].unique_desc, "NEW");
    regs[1].reg_addr = 0x10;
    free(s->regs);
    s->regs = regs;
    s->num_regs = 2;
    EXPECT_EQ(_getRegIndex(cam, "OLD"), -1);
    EXPECT_EQ(_getRegIndex(cam, "new"), 1);
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x10, 0, CI_REG_ADDR)), "NEW");
    // Dropping the index is harmless: the next lookup rebuilds it.
    _regIndexDrop(s);
    EXPECT_EQ(_getRegIndex(cam, "FIRST"), 0);
}

SensorBuilder describedSensor() {
    SensorBuilder b;
    b.reg("AE", 1).reg("AWB", 2)
        .longDesc(nullptr, nullptr, "orphan")
        .longDesc("AE", nullptr, "auto exposure")
        .longDesc("ae", "SPEED", "how fast")
        .longDesc("AWB", "", "white balance")
        .longDesc("AE", "TARGET", "separated from the run");
    return b;
}

// The description found, or "-" and what is left in the buffer when none is.
std::string describe(TestCamera& cam, const char* reg, const char* field) {
    char buf[64] = "stale";
    return ci_GetLongDescription(cam, reg, field, buf, sizeof buf) == 0 ? buf : "-" + std::string(buf);
}

TEST(LongDescription, TakesTheRegisterOrFieldEntryOfTheRegistersRun) {
    TestCamera cam(describedSensor());
    EXPECT_EQ(describe(cam, "ae", nullptr), "auto exposure");
    EXPECT_EQ(describe(cam, "AE", "speed"), "how fast");
    EXPECT_EQ(describe(cam, "AWB", ""), "white balance");
    EXPECT_EQ(describe(cam, "AE", "TARGET"), "-");  // the run of AE ended at AWB
    EXPECT_EQ(describe(cam, "NONE", nullptr), "-");
    EXPECT_EQ(describe(cam, "", nullptr), "-");
    char buf[8] = "xyz";  // a buffer of one character is not even cleared
    EXPECT_EQ(ci_GetLongDescription(cam, "AE", nullptr, buf, 1), 1);
    EXPECT_STREQ(buf, "xyz");
    // A sensor without entries gets one placeholder, once.
    TestCamera bare(SensorBuilder().reg("AE", 1));
    EXPECT_EQ(describe(bare, "AE", nullptr), "-");
    EXPECT_EQ(describe(bare, "AE", nullptr), "-");
    ASSERT_EQ(bare.sensor()->num_long_desc, 1);
    EXPECT_EQ(bare.sensor()->long_desc[0].regName, nullptr);
}

}  // namespace
