// The sensor-data scanner must accept exactly what sscanf accepts for the
// line formats of the sensor-data files: it is checked against the C
// library on valid lines, on every prefix of them and on many damaged
// variants.
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include <random>
#include <string>
#include <vector>

#include "sensor/sdat_scan.h"

namespace {

using ScanFn = int (*)(const char*, const char*, ...);

// Every output of one call, compared byte for byte.
struct Outputs {
    int i[8];
    int n[2];
    char s[4][1024];
};

struct Case {
    const char* name;
    int (*run)(ScanFn scan, const char* input, Outputs& o);
    std::vector<std::string> samples;
};

#define CASE(fmt, ...) [](ScanFn scan, const char* in, Outputs& o) { return scan(in, fmt, __VA_ARGS__); }

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"key value",
         CASE("%79s = %79s", o.s[0], o.s[1]),
         {"WIDTH = 1920", "SHIP_BASE_ADDRESS = (0x20 0x30)", "  BITS_PER_CLOCK\t=\t12  ", "A=B"}},
        {"quoted name",
         CASE("%79s = \"%255[^\"]", o.s[0], o.s[1]),
         {"SENSORNAME = \"CK0200\"", "SENSORNAME = \"CK 02 00\" x", "SENSORNAME = CK0200"}},
        {"wait list",
         CASE("%79s = %255[^,], %i, (%119[^)]) , %i", o.s[0], o.s[1], &o.i[0], o.s[2], &o.i[1]),
         {"VERSION_REG_WAITFOR = STATUS, 0x3, (1 2 3) , 200", "VERSION_REG_WAITFOR = STATUS, 0x3, (1 2 3)"}},
        {"serial",
         CASE("%i , %i : %i , %i : %i , %n", &o.i[0], &o.i[1], &o.i[2], &o.i[3], &o.i[4], &o.n[0]),
         {" 0x90, 0x3000:16, 0xFFFF:16, 0x5400", "0x90 , 0x0 : 8 , 0xff : 0", "0x90,1:2,3:4,(5 6)"}},
        {"space",
         CASE("%255[^=]= {%255[^,], %i, %511[^}]", o.s[0], o.s[1], &o.i[0], o.s[2]),
         {"CORE = {REG, 0, \"Core\"}", "VARS = {MCU, 0x1, \"\"}", "FAR = {FAR1, 1, \"0x48 16 8\"}"}},
        {"register v1",
         CASE("%255[^=]= {%i, %39[^,], %i, %4[^,], %i, %760[^}]", o.s[0], &o.i[0], o.s[1], &o.i[1], o.s[2], &o.i[2],
              o.s[3]),
         {"EXPOSURE = {0x3012, CORE, 0xFFFF, RW, 0x0100, \"Exposure\", \"Rows\"}", "X={1,S,-1,RO,0,\"\"}",
          "Y = {1, S, 2, READWRITE, 0, \"d\"}"}},
        {"register v2",
         CASE("%255[^=]= {%i, %39[^,], %i, %i, %4[^,], %i, %760[^}]", o.s[0], &o.i[0], o.s[1], &o.i[1], &o.i[2], o.s[2],
              &o.i[3], o.s[3]),
         {"LUT = {0x3100, CORE, 16, 0xFFFF, RW, 0, \"Lut\", \"\"}", "A = {1, S, 2, 3, WO, 4}"}},
        {"bitfield",
         CASE(" {%255[^,], %i, %4[^,], %760[^}]", o.s[0], &o.i[0], o.s[1], o.s[2]),
         {"  {ENABLE, 0x0001, RW, \"Enable\", \"\"}", "{BIT_0 x, 1, RO, \"\"}", "EXPOSURE = {1}"}},
        {"header", CASE("[%255[^]]]", o.s[0]), {"[REGISTERS]", "[]", " [X]", "[OPEN"}},
        {"number", CASE("%i%n", &o.i[0], &o.n[0]), {"0x10 0x20)", "-5", "017", "0x", "0xg", "+ 1", "99999999999"}},
    };
    return all;
}

// Runs one input through both scanners and compares everything they wrote.
void expect_same(const Case& c, const std::string& input) {
    Outputs mine;
    Outputs libc;
    memset(&mine, 0x5A, sizeof mine);
    memset(&libc, 0x5A, sizeof libc);
    int a = c.run(sdat_scan, input.c_str(), mine);
    int b = c.run(sscanf, input.c_str(), libc);
    EXPECT_EQ(a, b) << c.name << " on [" << input << "]";
    EXPECT_EQ(0, memcmp(&mine, &libc, sizeof mine)) << c.name << " outputs differ on [" << input << "]";
}

// Damaged variants: a character replaced, removed or inserted.  Every kind
// of white space is among the characters, and a byte outside ASCII.
std::vector<std::string> variants(const std::string& line, std::mt19937& rng, int count) {
    static const std::string alphabet = " \t\n\v\f\r,={}()[]\":-+x0179aFZ_\xA0";
    std::vector<std::string> out;
    for (int k = 0; k < count && !line.empty(); ++k) {
        std::string v = line;
        size_t at = rng() % v.size();
        char ch = alphabet[rng() % alphabet.size()];
        switch (rng() % 3) {
            case 0:
                v[at] = ch;
                break;
            case 1:
                v.erase(at, 1);
                break;
            default:
                v.insert(at, 1, ch);
                break;
        }
        out.push_back(v);
    }
    return out;
}

}  // namespace

TEST(SensorScan, MatchesTheCLibraryOnEveryFormat) {
    if (sizeof(long) < 8) GTEST_SKIP() << "the C library clamps large %i values where long has 32 bits";
    std::mt19937 rng(20240611);
    for (const Case& c : cases()) {
        for (const std::string& sample : c.samples) {
            for (size_t len = 0; len <= sample.size(); ++len) expect_same(c, sample.substr(0, len));
            for (const std::string& v : variants(sample, rng, 300)) expect_same(c, v);
        }
    }
}

TEST(SensorScan, NumbersKeepTheLow32BitsOnEveryPlatform) {
    const std::pair<const char*, uint32_t> rows[] = {
        {"0xFFFFFFFF", 0xFFFFFFFFu}, {"-1", 0xFFFFFFFFu}, {"0x80000000", 0x80000000u}, {"0x123456789", 0x23456789u}};
    for (const auto& [text, expected] : rows) {
        uint32_t v = 0;
        ASSERT_EQ(1, sdat_scan(text, "%i", &v)) << text;
        EXPECT_EQ(expected, v) << text;
    }
}
