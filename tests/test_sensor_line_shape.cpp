// The counting pass of a registers section classifies lines without
// scanning them in full; it must give the same answer as the scan formats
// of the lenient count on every line, valid or damaged, or the register
// array is sized wrong.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sensor/sdat_register_line.h"
#include "sensor/sdat_scan.h"

namespace {

bool scannedAsRegister(const std::string& line, int version) {
    int end = -1;
    if (version < 2)
        sdat_scan(line.c_str(), "%*255[^=]= {%*i, %*255[^,], %*i, %*255[^,], %*i, %*760[^}]%n", &end);
    else
        sdat_scan(line.c_str(), "%*255[^=]= {%*i, %*255[^,], %*i, %*i, %*255[^,], %*i, %*760[^}]%n", &end);
    return end >= 0;
}

bool scannedAsBitfield(const std::string& line) {
    int end = -1;
    sdat_scan(line.c_str(), " {%*255[^,], %*i, %*4[^,], %*760[^}]%n", &end);
    return end >= 0;
}

// Valid lines of both register forms and bitfields, with every prefix,
// every one-character deletion and substitutions by the characters the
// formats care about.
std::vector<std::string> damagedLines() {
    const std::vector<std::string> valid = {
        "EXPOSURE = {0x3012, CORE, 0xFFFF, RW, 0x0010, \"Coarse exposure\", \"Rows\"}",
        "EXPOSURE = {0x3012, CORE, 4, 0xFFFF, RW, 0x0010, \"Coarse exposure\", \"Rows\"}",
        "GAIN={-1,0,+017,RO,0x,\"\"}",
        "  {BIT_ENABLE, 0x0001, RW, \"Enable\", \"Starts streaming\"}",
        "{F,-0X8,WO,x}",
        std::string(255, 'N') + "={1, S, 1, RW, 0, \"d\"}",
        std::string(256, 'N') + "={1, S, 1, RW, 0, \"d\"}",
        "{" + std::string(255, 'B') + ", 1, RW, \"d\"}",
        "{" + std::string(256, 'B') + ", 1, RW, \"d\"}",
        "{B, 1, READW, \"d\"}",
        "R = {1, " + std::string(300, 's') + ", 1, RW, 0, \"d\"}",
    };
    const std::string swaps = ",={} \t0x9-+G\"";
    std::vector<std::string> lines;
    for (const std::string& v : valid) {
        for (size_t i = 0; i <= v.size(); ++i) lines.push_back(v.substr(0, i));
        for (size_t i = 0; i < v.size(); ++i) {
            lines.push_back(v.substr(0, i) + v.substr(i + 1));
            for (char c : swaps) lines.push_back(v.substr(0, i) + c + v.substr(i + 1));
        }
    }
    return lines;
}

TEST(SensorLineShape, CountingPassClassifiesLikeTheScanFormats) {
    int registers = 0;
    int bitfields = 0;
    for (const std::string& line : damagedLines()) {
        for (int version : {1, 2}) {
            const bool expected = scannedAsRegister(line, version);
            registers += expected;
            ASSERT_EQ(sdat_counts_as_register(line.c_str(), version) != 0, expected)
                << "register, version " << version << ": " << line;
        }
        const bool expected = scannedAsBitfield(line);
        bitfields += expected;
        ASSERT_EQ(sdat_is_bitfield_line(line.c_str()) != 0, expected) << "bitfield: " << line;
    }
    // Both answers occur often enough for the comparison to mean something.
    EXPECT_GT(registers, 500);
    EXPECT_GT(bitfields, 500);
}

}  // namespace
