// Register and bitfield lines are matched by hand rather than through the
// general scanner.  The line formats define the syntax, so on every line,
// valid or damaged, the answers and the items read must be those of the
// formats: the lenient count (or the register array is sized wrong) and
// the register and bitfield reads.
#include <gtest/gtest.h>
#include <string.h>

#include <memory>
#include <random>
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

// The line in a buffer of its own length, with no terminator: a read past
// the end of a view is caught by the address sanitizer.
int scanExactView(const std::string& line, ci_bitfield_t* bf) {
    std::unique_ptr<char[]> copy(new char[line.size()]);
    memcpy(copy.get(), line.data(), line.size());
    const sdat_span view{copy.get(), line.size()};
    return sdat_scan_bitfield_view(&view, bf);
}

// The line taken straight from a text in which it is followed by a line
// end and more bitfield lines, with both widths of step: either it is
// declined, with nothing read or written, or it is read as the format
// reads the line the reader sees (line end and one '\r' before it removed).
void expectTakenAsFormat(const std::string& line) {
    for (const std::string ending : {"\n", "\r\n"}) {
        std::string body = line + ending;
        while (body.size() < line.size() + 300) body += "  {NEXT,1,RW,\"q,}\"\n";
        const bool cut = ending == "\n" && !line.empty() && line.back() == '\r';
        ci_bitfield_t expected;
        const bool ok = referenceBitfield(cut ? line.substr(0, line.size() - 1) : line, &expected);
        for (int wide = 0; wide < 2; ++wide) {
            std::unique_ptr<char[]> data(new char[body.size()]);
            memcpy(data.get(), body.data(), body.size());
            sdat_text text{data.get(), body.size(), 0, 0, 1};
            ci_bitfield_t got;
            memset(&got, 0, sizeof got);
            const std::string where = (wide ? "wide take: " : "take: ") + line;
            if (!sdat_take_bitfield_line_as(&text, &got, wide)) {
                const ci_bitfield_t zero{};
                EXPECT_EQ(0u, text.pos) << where;
                EXPECT_EQ(0, memcmp(&zero, &got, sizeof got)) << where;
                continue;
            }
            EXPECT_TRUE(ok) << where;
            EXPECT_EQ(line.size() + ending.size(), text.pos) << where;
            EXPECT_STREQ(expected.id, got.id) << where;
            EXPECT_STREQ(expected.desc, got.desc) << where;
            EXPECT_STREQ(expected.detail, got.detail) << where;
            EXPECT_EQ(0, memcmp(&expected, &got, sizeof got)) << where;
        }
    }
}

// Reads the line as a terminated text, as a view and straight from a text,
// and compares the records with the format's, field by field; a line that
// is not a bitfield line leaves the record untouched.  Returns whether the
// line was read (the caller stops at the first failure).
bool expectBitfieldAsFormat(const std::string& line) {
    expectTakenAsFormat(line);
    ci_bitfield_t expected;
    const bool ok = referenceBitfield(line, &expected);
    if (!ok) memset(&expected, 0, sizeof expected);
    for (int asView = 0; asView < 2; ++asView) {
        ci_bitfield_t got;
        memset(&got, 0, sizeof got);
        const int read = asView ? scanExactView(line, &got) : sdat_scan_bitfield_line(line.c_str(), &got);
        const std::string where = (asView ? "view: " : "text: ") + line;
        EXPECT_EQ(ok, read != 0) << where;
        EXPECT_STREQ(expected.id, got.id) << where;
        EXPECT_EQ(expected.bitmask, got.bitmask) << where;
        EXPECT_EQ(expected.rw, got.rw) << where;
        EXPECT_STREQ(expected.desc, got.desc) << where;
        EXPECT_STREQ(expected.detail, got.detail) << where;
        EXPECT_EQ(expected.datatype, got.datatype) << where;
        EXPECT_EQ(expected.confidential, got.confidential) << where;
        // Nothing else is written, not even past a text's terminator.
        EXPECT_EQ(0, memcmp(&expected, &got, sizeof got)) << where;
        if (testing::Test::HasFailure()) break;
    }
    return ok;
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
        expectBitfieldAsFormat(line);
        ASSERT_FALSE(HasFailure());
    }
}

// Lines that probe each directive of the bitfield format and each step
// that follows it: the name's first word, the number, the access keyword,
// the quoted texts and their cut at 252 characters and "...".
TEST(SensorLineShape, TrickyBitfieldLinesReadAsTheFormat) {
    const std::string longName(255, 'N');
    const std::string longText(300, 't');
    std::vector<std::string> lines = {
        "    {FIELD_3_OF_BLOCK_0042, 0x00C0, RW, \"Field 3\", \"Bits 6 and 7 of the register\"}",
        // missing items and characters
        "", "{", "   {", "{,", "{F", "{F,", "{F, ", "{F, 1", "{F, 1,", "{F, 1, RW", "{F, 1, RW,", "{F, 1, RW, ",
        "{F, 1, RW, }", "{F, 1, , \"d\"}", "{, 1, RW, \"d\"}", "{F, , RW, \"d\"}", "F, 1, RW, \"d\"}",
        "x{F, 1, RW, \"d\"}", "{F 1 RW \"d\"}",
        // blanks of every kind everywhere
        "\t\v\f\r {\tF\t,\t1\t,\tRW\t,\t\"d\"\t}", "{ \t F \t , \v 1 , \f ro , \r \"d\" }",
        "{   , 1, RW, x}", "{two words here, 1, RW, x}", "{\tlead, 1, RW, x}", "{ F, 1 , RW, x}",
        // names and access keywords at and beyond their widths
        "{" + longName + ", 1, RW, x}", "{" + longName + "N, 1, RW, x}", "{ " + longName + ", 1, RW, x}",
        "{" + std::string(254, ' ') + "W, 1, RW, x}", "{F, 1, READ, x}", "{F, 1, READW, x}", "{F, 1, RO  , x}",
        "{F, 1, R, x}", "{F, 1, ro, x}", "{F, 1, wo, x}", "{F, 1, Wo, x}", "{F, 1, rO, x}", "{F, 1, ROX, x}",
        "{F, 1, W O, x}", "{F, 1, RW}", "{F, 1, {R}, x}",
        // numbers
        "{F, 0x, RW, x}", "{F, 0X, RW, x}", "{F, 0xg, RW, x}", "{F, 0x1F, RW, x}", "{F, 0XfF, RW, x}",
        "{F, 017, RW, x}", "{F, 018, RW, x}", "{F, 08, RW, x}", "{F, 0, RW, x}", "{F, 42, RW, x}", "{F, -1, RW, x}",
        "{F, +7, RW, x}", "{F, -, RW, x}", "{F, +, RW, x}", "{F, --1, RW, x}", "{F, - 1, RW, x}", "{F, x1, RW, x}",
        "{F, 0xFFFFFFFF, RW, x}", "{F, 0x1FFFFFFFF, RW, x}", "{F, 99999999999999999999999, RW, x}",
        "{F, -99999999999999999999999, RW, x}", "{F, -9223372036854775808, RW, x}",
        "{F, 9223372036854775807, RW, x}", "{F, 0x8000000000000000, RW, x}", "{F, 0777777777777777777777777, RW, x}",
        "{F, 12abc, RW, x}", "{F, 1 2, RW, x}", "{F, 0x10,RW,x}", "{F,0x10, RW, x}",
        // quoted texts
        "{F, 1, RW, \"\"}", "{F, 1, RW, \"\", \"\"}", "{F, 1, RW, \"d\"}", "{F, 1, RW, \"d}",
        "{F, 1, RW, \"d\", \"e}", "{F, 1, RW, \"d\", \"e\", \"f\"}", "{F, 1, RW, d, e}", "{F, 1, RW, \"}\"}",
        "{F, 1, RW, \"a}b\", \"c\"}", "{F, 1, RW, \"a\", \"b}c\"}", "{F, 1, RW, \"a\\\", \"b\"}",
        "{F, 1, RW, \"a\"\"b\"}", "{F, 1, RW, \"a\" x \"b\" y}", "{F, 1, RW, \"", "{F, 1, RW, \"\"\"",
        "{F, 1, RW, \"" + longText + "\", \"" + longText + "\"}",
        "{F, 1, RW, \"" + std::string(251, 'a') + "\"}", "{F, 1, RW, \"" + std::string(252, 'a') + "\"}",
        "{F, 1, RW, \"" + std::string(255, 'a') + "\"}", "{F, 1, RW, \"" + std::string(256, 'a') + "\"}",
        "{F, 1, RW, \"" + std::string(257, 'a') + "\"}", "{F, 1, RW, \"" + longText,
        "{F, 1, RW, \"a\", \"" + std::string(700, 'b') + "\"}", "{F, 1, RW, " + std::string(759, 'r') + "\"x\"}",
        "{F, 1, RW, " + std::string(758, 'r') + "\"x\"}", "{F, 1, RW, \"" + std::string(758, 'r') + "\"}",
        "{F, 1, RW, " + std::string(900, 'r') + "}",
        // carriage returns
        "{F, 1, RW, \"d\", \"e\"}\r", "{F, 1, RW, \"d\r\", \"e\"}", "{F, 1, RW, \"d\", \"e\r", "{F\r, 1, RW, x}\r",
        "{F, 1, RW\r, x}", "{F, 1, RW, \r", "{F, 1, RW,\r\"d\"}",
        // name prefixes that mark a field confidential
        "{BIT_0, 1, RW, x}", "{bits_3, 1, RW, x}", "{Bit_, 1, RW, x}", "{BITS, 1, RW, x}", "{BIT, 1, RW, x}",
        "{ BITS_X Y, 1, RW, x}", "{XBIT_0, 1, RW, x}",
    };
    // The texts' quotes and the item's end on each side of 64 characters
    // into the last item, and eight characters into each of its words.
    for (size_t at = 0; at < 72; ++at) {
        const std::string filler(at, 'f');
        lines.push_back("{F, 1, RW, " + filler + "}\"a\"");
        lines.push_back("{F, 1, RW, \"" + filler + "\"x\"d\"}");
        lines.push_back("{F, 1, RW, \"d\", \"" + filler + "\"" + std::string(80, 'g') + "}");
        lines.push_back("{F, 1, RW, \"d\" \"e\" " + filler + "\"" + std::string(80, 'g'));
        lines.push_back("{F, 1, RW, \"d\", \"" + filler);
    }
    // Each item on each side of the line's 64th character: padding of
    // 0 to 71 characters at each place (@), with and without a tail that
    // makes the line long.
    const std::vector<std::string> padded = {
        "@{F, 0x10, RW, \"d\", \"e\"}", "{@F, 1, RW, x}", "{F@, 1, RW, x}", "{F G@, 1, RW, x}",
        "{F,@1, RW, x}",  "{F, 0x@1, RW, x}",  "{F, 1@, RW, x}",  "{F, 1,@RW, x}",
        "{F, 1, R@, x}",  "{F, 1, RW,@x}",     "{F, 1, RW,@}",    "{F, 1, RW, \"d@\", \"e\"}",
    };
    for (const std::string& form : padded) {
        const size_t at = form.find('@');
        for (size_t pad = 0; pad < 72; ++pad) {
            const char before = at > 0 ? form[at - 1] : ' ';
            const char filler = before == 'x' ? '0' : (before == 'G' || before == 'R') ? 'n' : ' ';
            const std::string line = form.substr(0, at) + std::string(pad, filler) + form.substr(at + 1);
            lines.push_back(line);
            lines.push_back(line + std::string(70, 'z'));
            lines.push_back(line + std::string(70, '\t'));
        }
    }
    int accepted = 0;
    for (const std::string& line : lines) {
        accepted += expectBitfieldAsFormat(line);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(accepted, 2000);
    EXPECT_LT(accepted, static_cast<int>(lines.size()) - 30);
}

// Near the end of the text (a buffer of exactly its size, so that the
// address sanitizer sees any read past it), or with a NUL somewhere in it,
// a line is left to the usual reading.
TEST(SensorLineShape, ALineIsTakenOnlyWithRoomAfterItAndNoNulInTheText) {
    const std::string line = "  {F, 0x10, RW, \"d\", \"e\"}\n";
    for (size_t size = line.size(); size < 200; ++size) {
        std::string body = line + std::string(size - line.size(), 'x');
        for (int nulFree = 0; nulFree < 2; ++nulFree) {
            std::unique_ptr<char[]> data(new char[size]);
            memcpy(data.get(), body.data(), size);
            sdat_text text{data.get(), size, 0, 0, nulFree};
            ci_bitfield_t got;
            memset(&got, 0, sizeof got);
            const int taken = sdat_take_bitfield_line(&text, &got);
            EXPECT_EQ(nulFree == 1 && size >= 128, taken != 0) << size;
            EXPECT_EQ(taken ? line.size() : 0u, text.pos) << size;
            EXPECT_STREQ(taken ? "e" : "", got.detail) << size;
        }
    }
}

// Lines put together at random from fragments of valid and damaged items,
// so that the damage meets every directive in every combination.
TEST(SensorLineShape, RandomBitfieldLinesReadAsTheFormat) {
    const std::vector<std::vector<std::string>> slots = {
        {"", "", "    ", "\t", " \v\f", "x", "\r"},
        {"{", "{", "{", "", "}", "{{"},
        {"FIELD_3_OF_BLOCK_0042", "F", "", "  two words ", "BIT_0", "bits_1", std::string(255, 'n'),
         std::string(256, 'n'), "\t", "a\"b", "x}y"},
        {", ", ",", " ,", ",\t\t", "", ";", ",,"},
        {"0x00C0", "0x", "0X1f", "017", "09", "-1", "+5", "-", "99999999999999999999", "-9223372036854775809",
         "0xFFFFFFFFF", "1e3", "", " 7", "0xg"},
        {", ", ",", " , ", "", ",,"},
        {"RW", "RO", "ro", "wo", "Wo", "R", "READW", "", "RO ", "W,", "rw\t"},
        {", ", ",", "", " ,\r", "}"},
        {"\"Field 3\"", "\"", "\"\"", "\"a}b\"", "x", "", "\"" + std::string(300, 't') + "\"",
         "\"" + std::string(253, 'u') + "\"", "\"\r\""},
        {", ", ",", "", " \"", "}"},
        {"\"Bits 6 and 7 of the register\"", "\"", "\"d", "\"" + std::string(600, 'v') + "\"", "", "x y"},
        {"}", "}", "", "}\r", "\r", "} trailing", "\""},
    };
    std::mt19937 random(20261125);
    int accepted = 0;
    const int kLines = 100000;
    for (int i = 0; i < kLines; ++i) {
        std::string line;
        for (const std::vector<std::string>& fragments : slots) {
            // Mostly the slot's first (valid) fragment, else one of its
            // others; now and then one of another slot, or the slot twice.
            const int roll = static_cast<int>(random() % 100);
            const std::vector<std::string>& from = roll < 4 ? slots[random() % slots.size()] : fragments;
            line += roll < 60 && roll >= 4 ? from[0] : from[random() % from.size()];
            if (roll == 99) line += fragments[random() % fragments.size()];
        }
        accepted += expectBitfieldAsFormat(line);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(accepted, kLines / 10);
    EXPECT_LT(accepted, kLines - kLines / 10);
}

}  // namespace
