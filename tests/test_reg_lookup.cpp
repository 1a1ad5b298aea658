// Register lookup: in chips, by pattern, by address and through the index.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "sensor_builder.h"

namespace {

std::string nameOf(const ci_reg_data_t* reg) {
    return reg ? reg->unique_desc : "-";
}

TEST(Chips, FindBitfield2WalksEveryDescriptionAndKeepsTheLastRegisterFound) {
    SensorBuilder b;
    b.reg("CHIP_VERSION_REG", 0x00).field("REVISION", 0x0F).reg("GAIN", 0x12).field("ANALOG", 0x7F)
        .chip("BOARD", 0xBA).reg("GAIN", 0x01).field("OTHER", 0x3)
        .chip("PLL", 0xD2).reg("GAIN", 0x03).field("ANALOG", 0xF0);
    TestCamera cam(b);
    // GAIN exists in the sensor and both chips: the last chip's answers,
    // whatever chip is asked for.
    EXPECT_EQ(ci_FindBitfield2(cam, 0, "GAIN", "ANALOG"), &cam.get()->chip[1].regs[0].bitfield[0]);
    EXPECT_EQ(ci_FindBitfield2(cam, 0, "GAIN", "OTHER"), nullptr);
    EXPECT_NE(ci_FindBitfield2(cam, 5, "CHIP_VERSION_REG", "REVISION"), nullptr);
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
    TestCamera style16(spacedSensor(16, 0x3F));
    TestCamera arrayImager(spacedSensor(CI_ARRAY_IMAGER_SENSOR, 0x3F));
    struct Case {
        TestCamera* cam;
        ci_u32 addr, space;
        ci_addr_type type;
        const char* found;
    };
    const Case cases[] = {
        {&cam, 0x50, 9, CI_SFR_ADDR, "LOOSE"},        // no space: any type and value
        {&cam, 0x60, 3, CI_REG_ADDR, "P3"},           // plain with selectors: by value
        {&cam, 0x60, 5, CI_REG_ADDR, "-"},
        {&noSelectors, 0x60, 5, CI_REG_ADDR, "P0"},   // ... without selectors: any value
        {&arrayImager, 0x60, 5, CI_REG_ADDR, "P0"},   // array imager: falls back to space 0
        {&cam, 0x60, 0, CI_MCU_ADDR, "-"},            // the type must agree
        {&cam, 0x70, 2, CI_SFR_ADDR, "-"},            // SFRs: by value...
        {&style16, 0x70, 2, CI_SFR_ADDR, "SFR"},      // ... any in style 16
        {&cam, 0x80, 99, CI_IND_ADDR, "IND"},         // indirect: any value
        {&cam, 0x90, 77, CI_FAR2_REG_ADDR, "FAR16"},  // far above 8 address bits: any value
        {&cam, 0x90, 77, CI_FAR1_REG_ADDR, "-"},      // ... else by value
        {&cam, 0x90, 2, CI_FAR1_REG_ADDR, "FAR8"},
    };
    for (const Case& k : cases) {
        EXPECT_EQ(nameOf(ci_FindRegisterAddr(*k.cam, k.addr, k.space, k.type)), k.found)
            << std::hex << k.addr << " space " << k.space << " type " << k.type;
    }
}

// Big descriptions go through the index; its answers must be those of a
// scan in file order.
TEST(RegisterIndex, AgreesWithFileOrderOnABigSensor) {
    SensorBuilder b;
    b.selectors(0x3F, 0x3F).space("P0", 0).space("P1", 1);
    for (int i = 0; i < 3000; ++i) {
        const std::string n = "REG_" + std::to_string(i % 2000);  // names 0..999 appear twice
        b.reg(n.c_str(), (ci_u32)(i % 1500) * 2).in(i % 3 ? "P0" : "P1");
    }
    TestCamera cam(b);
    const ci_sensor_t* s = cam.sensor();
    for (int i = 0; i < 2000; i += 37) EXPECT_EQ(_getRegIndex(cam, ("reg_" + std::to_string(i)).c_str()), i);
    for (ci_u32 addr = 0; addr < 3000; addr += 2 * 41) {
        for (ci_u32 space = 0; space < 2; ++space) {
            ci_s32 expected = -1;
            for (ci_s32 i = 0; i < s->num_regs && expected < 0; ++i) {
                if (s->regs[i].reg_addr == addr && s->regs[i].reg_space == space) expected = i;
            }
            EXPECT_EQ(_GetRegCacheIndex(cam, addr, space, CI_REG_ADDR), expected) << addr << "/" << space;
        }
    }
}

// Names of every length around the hashing and comparison steps (words of
// eight bytes, the head the index keeps of each name), alike in all but
// their last character or their case, must still find their own register.
TEST(RegisterIndex, TellsApartNamesThatDifferLateOrOnlyInCase) {
    SensorBuilder b;
    std::vector<std::string> names;
    for (size_t len = 1; len <= 45; ++len) {
        for (char last : {'A', 'B'}) {
            names.push_back(std::string(len - 1, 'X') + last);
            b.reg(names.back().c_str(), (ci_u32)names.size());
        }
    }
    b.reg("Mixed_Case_Name_Longer_Than_Twenty", 0x500).reg("MIXED_CASE_NAME_LONGER_THAN_TWENTY", 0x502);
    TestCamera cam(b);
    for (size_t i = 0; i < names.size(); ++i) {
        std::string lower = names[i];
        for (char& c : lower) c = (char)tolower((unsigned char)c);
        EXPECT_EQ(_getRegIndex(cam, names[i].c_str()), (ci_s32)i) << names[i];
        EXPECT_EQ(_getRegIndex(cam, lower.c_str()), (ci_s32)i) << lower;
    }
    // The earlier of two names equal but for case answers both spellings.
    EXPECT_EQ(nameOf(ci_FindRegister(cam, "mixed_case_NAME_longer_than_twenty")), "Mixed_Case_Name_Longer_Than_Twenty");
    EXPECT_EQ(_getRegIndex(cam, "XXXXXXXXXXXXXXXXXXXXXC"), -1);
    EXPECT_EQ(_getRegIndex(cam, "XXXXXXXXXXXXXXXXXXXXXAA"), -1);
}

// A description whose address-space values move to a new array (as when a
// far sensor's spaces are appended) must not be answered from the records'
// old space pointers.
TEST(RegisterIndex, FollowsAddressSpaceValuesToTheirNewArray) {
    TestCamera cam(spacedSensor(0, 0x3F));
    ci_sensor_t* s = cam.sensor();
    ASSERT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x60, 3, CI_REG_ADDR)), "P3");
    ci_addr_space_t* table = s->addr_space;
    ci_addr_space_val_t* old = table->addr_space_val;
    const size_t n = (size_t)table->num_vals;
    auto* moved = static_cast<ci_addr_space_val_t*>(malloc(n * sizeof(ci_addr_space_val_t)));
    ASSERT_NE(moved, nullptr);
    memcpy(moved, old, n * sizeof *moved);
    for (size_t i = 0; i < n; ++i) {
        if (moved[i].type == CI_REG_ADDR) moved[i].val ^= 3;  // PAGE0 becomes value 3, PAGE3 value 0
    }
    for (ci_s32 i = 0; i < s->num_regs; ++i) {
        if (s->regs[i].addr_space) s->regs[i].addr_space = moved + (s->regs[i].addr_space - old);
    }
    memset(old, 0xA5, n * sizeof *old);
    free(old);
    table->addr_space_val = moved;
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x60, 3, CI_REG_ADDR)), "P0");
    EXPECT_EQ(nameOf(ci_FindRegisterAddr(cam, 0x60, 0, CI_REG_ADDR)), "P3");
}

}  // namespace
