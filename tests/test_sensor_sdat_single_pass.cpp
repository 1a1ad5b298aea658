// A registers section without faults is read in one pass; a section with a
// line to report is read again the usual way (a count that reports every
// bad line, then the reading).  Both ways must give the same description,
// and a file with faults must log exactly what it always logged.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/camkit_private.h"
#include "log_capture.h"
#include "scratch_dir.h"
#include "sdat_camera.h"
#include "sensor/regmap_arena.h"
#include "sensor_compare.h"

namespace {

const char* const kHead =
    "[OPTIONAL]\nSDAT_VERSION = 2\n[END]\n"
    "[ADDR_SPACE]\nCORE = {REG, 0, \"Core\"}\nVARS = {MCU, 1, \"Variables\"}\nFAR_A = {FAR1, 5, \"0x48 16 8\"}\n"
    "[END]\n";

std::string registersFile(const std::string& lines) { return sdat_with(kHead + sdat_section("REGISTERS", lines)); }

// Register lines of many shapes: spans, spaces, one text or two, texts too
// long, lines cut, blanks and tabs, comments and blank lines between, CR line ends,
// a page selector in a far space, and registers with 0 to 33 bitfields.
std::string variedLines() {
    std::string out;
    const std::string longText(300, 'x');
    for (int r = 0; r < 120; ++r) {
        const std::string name = "REG_" + std::to_string(r);
        const char* space = r % 3 == 0 ? "CORE" : (r % 3 == 1 ? "VARS" : "FAR_A");
        const std::string texts =
            r % 7 == 0 ? ", \"only one text\""
                       : ", \"Register " + std::to_string(r) + "\", \"" + (r % 5 == 0 ? longText : "detail") + "\"";
        const std::string pad = r % 5 == 1 ? " \t" : "";  // blanks after the space and the access
        out += (r % 4 == 0 ? "\t" : "") + name + " = {0x" + std::to_string(1000 + r) + ", " + space + pad + ", " +
               std::to_string(1 + r % 3) + ", 0xFFFF, " + (r % 2 ? "RO" : "rw") + pad + ", " + std::to_string(r) +
               texts + "}" + (r % 6 == 0 ? "\r\n" : "\n");
        if (r % 10 == 0) out += "; a comment\n\n   // another\n";
        for (int b = 0; b < (r * 7) % 34; ++b)
            out += "  {F" + std::to_string(b) + (b % 5 == 0 ? "  extra words" : "") + ", " +
                   std::to_string(1 << (b % 16)) + ", " + (b % 3 ? "WO" : "RW") + ", \"Field " + std::to_string(b) +
                   "\", \"" + (b % 9 == 0 ? longText : "bits") + "\"}\n";
    }
    out += "FAR1_PAGE = {0x3, FAR_A, 1, 0xFF, RW, 0, \"Far page\", \"Far page\"}\n";
    out += std::string("CUT = {0x7, CORE, 1, 0xFF, RW, 0, \"") + std::string(1500, 'c') + "\", \"\"}\n";
    return out;
}

// The registers part of the differences between two descriptions.
std::vector<std::string> registerDifferences(const ParseCamera& a, const ParseCamera& b) {
    std::vector<std::string> out;
    for (const std::string& line : sensor_differences({a.sensor(), a.ctx()}, {b.sensor(), b.ctx()}))
        if (line.find("regs") != std::string::npos) out.push_back(line);
    return out;
}

}  // namespace

TEST(SdatSinglePass, ASectionReadInOnePassEqualsTheSameSectionReadTwice) {
    ScratchDir dir;
    const std::string lines = variedLines();
    ParseCamera once;
    ASSERT_EQ(CI_PARSE_SUCCESS, once.parse(dir.write("once.sdat", registersFile(lines))));
    ASSERT_EQ(122, once.sensor()->num_regs);
    EXPECT_TRUE(regmap_arena_owns(once.sensor()->regs));
    EXPECT_EQ(33, once.reg("REG_29")->num_bitfields);

    // A bad line at the end makes the reader count the section and read it
    // again; every register before it must come out the same.
    ParseCamera twice;
    ASSERT_EQ(CI_PARSE_REG_ERROR, twice.parse(dir.write("twice.sdat", registersFile(lines + "NOT A REGISTER\n"))));
    ASSERT_EQ(122, twice.sensor()->num_regs);
    for (const std::string& d : registerDifferences(once, twice)) ADD_FAILURE() << d;
}

TEST(SdatSinglePass, BadLinesAreReportedByTheCountFirstThenByTheReading) {
    ScratchDir dir;
    const std::string good = "A = {1, CORE, 1, 0xFF, RW, 0, \"a\", \"a\"}\n  {FA, 1, RW, \"f\", \"f\"}\n";
    const std::string lines = good + "FIRST BAD LINE\n" + "B = {2, CORE, 1, 0xFF, RW, 0, \"b\", \"b\"}\n" +
                              "SECOND BAD LINE\n" + "C = {3, CORE, 1, 0xFF, RW, 0, \"c\", \"c\"}\n";
    LogCapture log;
    ParseCamera cam;
    EXPECT_EQ(CI_PARSE_REG_ERROR, cam.parse(dir.write("bad.sdat", registersFile(lines))));
    const std::string text = log.text();
    const size_t first = text.find("FIRST BAD LINE");
    const size_t second = text.find("SECOND BAD LINE");
    ASSERT_NE(std::string::npos, first);
    ASSERT_NE(std::string::npos, second);
    EXPECT_LT(first, second);
    const size_t firstAgain = text.find("FIRST BAD LINE", first + 1);
    ASSERT_NE(std::string::npos, firstAgain) << text;
    EXPECT_LT(second, firstAgain) << "the count reports both lines before the reading reports any\n" << text;
    EXPECT_NE(std::string::npos, text.find("SECOND BAD LINE", firstAgain)) << text;
    EXPECT_EQ(0, count_of(text, "DUPLICATE")) << "registers read before the bad line are stored once\n" << text;
    ASSERT_EQ(3, cam.sensor()->num_regs);
    EXPECT_STREQ("FA", cam.reg("A")->bitfield[0].id);
}

TEST(SdatSinglePass, FaultsFoundLateStillGiveTheirUsualCodes) {
    ScratchDir dir;
    std::string many;
    for (int i = 0; i < 200; ++i)
        many += "R" + std::to_string(i) + " = {" + std::to_string(i) + ", CORE, 1, 1, RW, 0, \"\"}\n";
    std::string tooMany = "WIDE = {999, CORE, 1, 1, RW, 0, \"\"}\n";
    for (int b = 0; b < 34; ++b) tooMany += "  {F" + std::to_string(b) + ", 1, RW, \"\", \"\"}\n";
    struct Case {
        const char* what;
        std::string tail;
        ci_error_code code;
        ci_s32 regs;
    } cases[] = {
        {"a duplicate name", "r7 = {7, CORE, 1, 1, RW, 0, \"\"}\n", CI_DUPLICATE_DESC_ERROR, 200},
        {"a register with 34 bitfields", tooMany, CI_PARSE_REG_ERROR, 200},
        {"a name with a blank", "TWO WORDS = {7, CORE, 1, 1, RW, 0, \"\"}\n", CI_PARSE_REG_ERROR, 200},
        // The count reports a register without texts and leaves no room
        // for it, so the reading refuses it too.
        {"a register without texts", "BARE = {7, CORE, 1, 1, RW, 0}\n", CI_PARSE_REG_ERROR, 200},
        {"a bitfield line before any register", "", CI_PARSE_REG_ERROR, 200},
    };
    for (const Case& c : cases) {
        const std::string lines = c.tail.empty() ? "  {EARLY, 1, RW, \"\", \"\"}\n" + many : many + c.tail;
        ParseCamera cam;
        EXPECT_EQ(c.code, cam.parse(dir.write("late.sdat", registersFile(lines)))) << c.what;
        EXPECT_EQ(c.regs, cam.sensor()->num_regs) << c.what;
    }
}

TEST(SdatSinglePass, ADescriptionReadOverALargerOneLeavesNoStaleRecords) {
    ScratchDir dir;
    ParseCamera cam;
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.write("big.sdat", registersFile(variedLines()))));
    const std::string small = "ONLY = {1, CORE, 1, 0xFF, RW, 0, \"o\", \"o\"}\n  {ONE, 1, RW, \"f\", \"\"}\n";
    ASSERT_EQ(CI_PARSE_SUCCESS, cam.parse(dir.write("small.sdat", registersFile(small))));
    ASSERT_EQ(1, cam.sensor()->num_regs);
    const ci_reg_data_t& reg = cam.sensor()->regs[0];
    EXPECT_STREQ("ONLY", reg.unique_desc);
    EXPECT_EQ('\0', reg.unique_desc[5]) << "the old name's bytes are cleared";
    ASSERT_EQ(1, reg.num_bitfields);
    EXPECT_STREQ("", reg.bitfield[0].detail);
    EXPECT_EQ('\0', reg.bitfield[0].detail[1]);
    EXPECT_EQ(0u, reg.bitfield[0].minimum);
}
