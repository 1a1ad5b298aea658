// Descriptions read from text files keep their registers and bitfields in
// one arena per description, and an arena freed is reused by the next
// description.  Whatever the arena held before, a record must read as if
// freshly zeroed, and a description that grows or mixes in heap arrays must
// free cleanly (the sanitizer build checks the frees).
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor/regmap_arena.h"

namespace {

std::string registerLine(const std::string& name, const std::string& text) {
    return name + " = {1, 0, 0xFFFF, RW, 0, \"" + text + "\", \"" + text + "\"}\n";
}

std::string bitfieldLines(int n, const std::string& text) {
    std::string out;
    for (int i = 0; i < n; ++i) out += "  {F" + std::to_string(i) + ", 1, RW, \"" + text + "\", \"" + text + "\"}\n";
    return out;
}

// True when every byte after the terminator of the text is zero.
bool zeroAfterText(const ci_string text) {
    const size_t length = strnlen(text, CI_STRING_LEN);
    for (size_t i = length; i < CI_STRING_LEN; ++i)
        if (text[i] != '\0') return false;
    return true;
}

void expectClean(const ci_reg_data_t& reg) {
    EXPECT_TRUE(zeroAfterText(reg.unique_desc) && zeroAfterText(reg.reg_desc) && zeroAfterText(reg.detail))
        << reg.unique_desc;
    for (ci_s32 i = 0; i < reg.num_bitfields; ++i) {
        const ci_bitfield_t& bf = reg.bitfield[i];
        EXPECT_TRUE(zeroAfterText(bf.id) && zeroAfterText(bf.desc) && zeroAfterText(bf.detail))
            << reg.unique_desc << "." << bf.id;
        EXPECT_EQ(0u, bf.minimum + bf.maximum) << reg.unique_desc << "." << bf.id;
    }
}

}  // namespace

TEST(RegmapArena, ARecordReadIntoAReusedArenaReadsAsFreshlyZeroed) {
    ScratchDir dir;
    const std::string noise(200, '#');
    std::string first;
    for (int r = 0; r < 40; ++r) first += registerLine("OLD_" + std::to_string(r), noise) + bitfieldLines(20, noise);
    // The second file has short texts, and a register refused for too many
    // bitfields whose slots the next register then uses.
    const std::string second = registerLine("OVER", "o") + bitfieldLines(34, noise) + registerLine("A", "a") +
                               bitfieldLines(3, "x") + registerLine("B", "") + registerLine("C", "c") +
                               bitfieldLines(1, "");
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.write("first.sdat", sdat_with(sdat_section("REGISTERS", first)))));
    ASSERT_TRUE(regmap_arena_owns(cam.sensor()->regs));
    ASSERT_EQ(CI_PARSE_REG_ERROR, cam.parse(dir.write("second.sdat", sdat_with(sdat_section("REGISTERS", second)))));

    ASSERT_EQ(3, cam.sensor()->num_regs);
    const int fields[] = {3, 0, 1};
    for (int i = 0; i < 3; ++i) {
        const ci_reg_data_t& reg = cam.sensor()->regs[i];
        ASSERT_EQ(fields[i], reg.num_bitfields) << reg.unique_desc;
        EXPECT_EQ(fields[i] == 0, reg.bitfield == nullptr);
        expectClean(reg);
    }
    EXPECT_STREQ("x", cam.reg("A")->bitfield[2].detail);
}

TEST(RegmapArena, ASecondRegistersSectionAndHeapBitfieldsFreeCleanly) {
    ScratchDir dir;
    const std::string text = sdat_with(sdat_section("REGISTERS", registerLine("ONE", "1") + bitfieldLines(2, "b1")) +
                                       sdat_section("REGISTERS", registerLine("TWO", "2") + bitfieldLines(5, "b2")));
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.write("two.sdat", text)));
    ci_sensor_t* sensor = cam.sensor();
    ASSERT_EQ(2, sensor->num_regs);
    EXPECT_TRUE(regmap_arena_owns(sensor->regs)) << "the grown table stays in the arena";
    ASSERT_EQ(2, cam.reg("ONE")->num_bitfields);
    EXPECT_STREQ("b1", cam.reg("ONE")->bitfield[1].desc) << "the first section's bitfields survive the growth";
    EXPECT_STREQ("b2", cam.reg("TWO")->bitfield[4].detail);

    // A register appended with a heap bitfield array, as the far-sensor
    // merge does, is freed with the arena's records.
    ci_reg_data_t* grown = regmap_grow_registers(sensor->regs, 2, 3, 0);
    ASSERT_NE(nullptr, grown);
    sensor->regs = grown;
    ci_reg_data_t& added = sensor->regs[2];
    snprintf(added.unique_desc, sizeof added.unique_desc, "ADDED");
    added.bitfield = static_cast<ci_bitfield_t*>(calloc(2, sizeof(ci_bitfield_t)));
    added.num_bitfields = 2;
    sensor->num_regs = 3;
    EXPECT_STREQ("b1", cam.reg("ONE")->bitfield[0].desc);
    ci_DestructSensor(sensor);
    EXPECT_EQ(nullptr, sensor->regs);
    EXPECT_FALSE(regmap_arena_owns(grown));
}

TEST(RegmapArena, AHostBuiltDescriptionIsFreedFromTheHeap) {
    auto* sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    sensor->regs = static_cast<ci_reg_data_t*>(calloc(2, sizeof(ci_reg_data_t)));
    sensor->num_regs = 2;
    sensor->regs[1].bitfield = static_cast<ci_bitfield_t*>(calloc(3, sizeof(ci_bitfield_t)));
    sensor->regs[1].num_bitfields = 3;
    EXPECT_FALSE(regmap_arena_owns(sensor->regs));
    ci_DestructSensor(sensor);
    EXPECT_EQ(nullptr, sensor->regs);
    free(sensor);
}

namespace {

// The process's virtual size in MiB (mappings merge, so they are not
// counted one by one).
long virtualMiB() {
    const std::string status = scratch_read_file("/proc/self/status");
    const size_t at = status.find("VmSize:");
    return at == std::string::npos ? -1 : strtol(status.c_str() + at + 7, nullptr, 10) / 1024;
}

}  // namespace

// Arenas live outside the heap, where the leak checker does not look:
// descriptions read, refused half-way and read again must not leave
// mappings behind.
TEST(RegmapArena, ReadingAgainAndAgainLeavesNoMappingBehind) {
    ScratchDir dir;
    std::string big;
    for (int r = 0; r < 3000; ++r) big += registerLine("R" + std::to_string(r), "text") + bitfieldLines(4, "f");
    const std::string good = dir.write("good.sdat", sdat_with(sdat_section("REGISTERS", big)));
    const std::string bad =
        dir.write("bad.sdat", sdat_with(sdat_section("REGISTERS", big + registerLine("R0", "duplicate"))));
    ParseCamera cam;
    auto round = [&] {
        EXPECT_EQ(CI_PARSE_SUCCESS, cam.parse(good));
        EXPECT_EQ(CI_DUPLICATE_DESC_ERROR, cam.parse(bad));
        ParseCamera other;
        EXPECT_EQ(CI_PARSE_SUCCESS, other.parse(good));
    };
    round();  // the second camera's arena is kept as the spare from here on
    const long before = virtualMiB();
    ASSERT_GT(before, 0);
    const int rounds = 20;
    for (int i = 0; i < rounds; ++i) round();
    // Each round reads three descriptions into arenas of about 24 MiB (a
    // reading sizes its arena by the lines of the file).  A mapping left
    // behind would add that much a round; the sanitizer build's quarantine
    // of freed heap blocks adds about 1 MiB.
    EXPECT_LT(virtualMiB(), before + 3 * rounds);
}
