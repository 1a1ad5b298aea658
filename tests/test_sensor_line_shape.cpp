// Register and bitfield lines are matched by hand rather than through the
// general scanner.  The line formats define the syntax, so on every line,
// valid or damaged, the answers and the items read must be those of the
// formats: the lenient count (or the register array is sized wrong) and
// the register and bitfield reads.
#include <gtest/gtest.h>
#include <string.h>

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

// The items of a register line as the format reads them.
bool referenceRegister(const std::string& line, int version, sdat_register_line* l) {
    memset(l, 0, sizeof *l);
    l->span = 1;
    if (version < 2)
        return sdat_scan(line.c_str(), "%255[^=]= {%i, %39[^,], %i, %4[^,], %i, %760[^}]", l->name, &l->addr, l->space,
                         &l->mask, l->rw, &l->def, l->rest) == 7;
    return sdat_scan(line.c_str(), "%255[^=]= {%i, %39[^,], %i, %i, %4[^,], %i, %760[^}]", l->name, &l->addr, l->space,
                     &l->span, &l->mask, l->rw, &l->def, l->rest) >= 7;
}

std::string itemsOf(const sdat_register_line& l) {
    return std::string(l.name) + "|" + std::to_string(l.addr) + "|" + l.space + "|" + std::to_string(l.span) + "|" +
           std::to_string(l.mask) + "|" + l.rw + "|" + std::to_string(l.def) + "|" + l.rest;
}

// The bitfield record as the format and the first word of the name give it.
bool referenceBitfield(const std::string& line, ci_bitfield_t* bf) {
    char name[256], rw[5], rest[761];
    ci_u32 mask = 0;
    memset(bf, 0, sizeof *bf);
    if (sdat_scan(line.c_str(), " {%255[^,], %i, %4[^,], %760[^}]", name, &mask, rw, rest) != 4) return false;
    sdat_scan(name, "%255s", bf->id);
    bf->bitmask = mask;
    bf->rw = sdat_access(rw);
    sdat_descriptions(rest, bf->desc, bf->detail);
    bf->datatype = CI_TYPE_UNSIGNED;
    bf->confidential = (sdat_has_prefix(bf->id, "BIT_") || sdat_has_prefix(bf->id, "BITS_")) ? 1 : 0;
    return true;
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
        "R = {0xFFFFFFFFF, " + std::string(39, 's') + ", 99999999999, RW, -1, \"" + std::string(300, 't') + "\"}",
        "R = {1, S, 1, 2, RW, 0}",
        "  { two words , 0x10, RO, \"a\" \"b\"}",
        "{" + std::string(3, ' ') + ", 1, RW, x}",
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

TEST(SensorLineShape, RegisterAndBitfieldLinesReadTheItemsOfTheFormats) {
    for (const std::string& line : damagedLines()) {
        for (int version : {1, 2}) {
            sdat_register_line expected;
            sdat_register_line got;
            memset(&got, 0, sizeof got);
            const bool ok = referenceRegister(line, version, &expected);
            ASSERT_EQ(ok, sdat_scan_register_line(line.c_str(), version, &got) != 0)
                << "register, version " << version << ": " << line;
            if (ok) {
                ASSERT_EQ(itemsOf(expected), itemsOf(got)) << line;
            }
        }
        ci_bitfield_t expected;
        ci_bitfield_t got;
        memset(&got, 0, sizeof got);
        const bool ok = referenceBitfield(line, &expected);
        ASSERT_EQ(ok, sdat_scan_bitfield_line(line.c_str(), &got) != 0) << "bitfield: " << line;
        if (ok) {
            ASSERT_EQ(0, memcmp(&expected, &got, sizeof got)) << "bitfield: " << line;
        }
    }
}

}  // namespace
