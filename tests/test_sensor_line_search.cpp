// The searches and marks the sensor-data readers run over a line a group of
// characters at a time must answer as a byte-by-byte look would, at every
// position and length, and read nothing past the text: each text here is
// a buffer of its own length, so a read past it is caught by the address
// sanitizer.
#include <gtest/gtest.h>
#include <string.h>

#include <random>
#include <string>
#include <vector>

#include "sensor/sdat_find.h"
#include "sensor/sdat_marks.h"
#include "sensor/sdat_scan.h"

namespace {

// Characters the searches must tell apart: the ones they look for, the
// other white space and the control characters next to it, and bytes above
// 0x7F that differ from those only in their high bit.
const std::string kAlphabet = std::string("a,\"} \t\v\f\r\n=\x08\x0E\x1F") + "\x89\x8E\xA0\xAC\xFD\x7F";

std::vector<char> randomText(std::mt19937& random, size_t length) {
    std::vector<char> text(length);
    for (char& c : text) c = kAlphabet[random() % kAlphabet.size()];
    return text;
}

const char* firstOf(const char* p, const char* limit, const std::string& wanted) {
    while (p < limit && wanted.find(*p) == std::string::npos) ++p;
    return p;
}

const char* firstBlankOr(const char* p, const char* limit, char stop) {
    while (p < limit && !sdat_is_blank(*p) && *p != stop) ++p;
    return p;
}

TEST(SensorLineSearch, SearchesFindTheFirstCharacterAsAByteLoopDoes) {
    std::mt19937 random(7);
    for (size_t length = 0; length < 200; ++length) {
        for (int round = 0; round < 20; ++round) {
            const std::vector<char> text = randomText(random, length);
            const char* p = text.data();
            const char* end = p + length;
            for (size_t from = 0; from <= length; from += 1 + length / 8) {
                const char* start = p + from;
                ASSERT_EQ(firstOf(start, end, "\n"), sdat_find_char(start, end, '\n')) << length << " " << from;
                ASSERT_EQ(firstOf(start, end, "\"}"), sdat_find_either(start, end, '"', '}')) << length << " " << from;
                ASSERT_EQ(firstBlankOr(start, end, ','), sdat_find_blank_or(start, end, ',')) << length << " " << from;
            }
        }
    }
}

TEST(SensorLineSearch, ShortCopiesWriteTheCharactersAndNothingAfterThem) {
    std::mt19937 random(11);
    for (size_t n = 0; n < 256; ++n) {
        const std::vector<char> source = randomText(random, n);
        char dest[300];
        memset(dest, 0x55, sizeof dest);
        sdat_copy_short(dest, source.data(), n);
        ASSERT_EQ(std::string(source.begin(), source.end()), std::string(dest, n)) << n;
        for (size_t i = n; i < sizeof dest; ++i) ASSERT_EQ(0x55, dest[i]) << n << " " << i;
    }
}

template <sdat_mark_kind kind>
void expectMarksOfEveryCharacter(bool (*isFirst)(char), bool (*isSecond)(char)) {
    std::mt19937 random(13);
    for (size_t n = SDAT_WINDOW; n > 0 && sdat_can_mark(n); --n) {
        for (int round = 0; round < 50; ++round) {
            const std::vector<char> text = randomText(random, n);
            const sdat_marks m = sdat_mark_window<kind>(text.data(), n);
            uint64_t first = 0;
            uint64_t second = 0;
            for (size_t i = 0; i < n; ++i) {
                first |= static_cast<uint64_t>(isFirst(text[i])) << i;
                second |= static_cast<uint64_t>(isSecond(text[i])) << i;
            }
            ASSERT_EQ(first, m.first) << n;
            ASSERT_EQ(second, m.second) << n;
        }
    }
}

TEST(SensorLineSearch, MarksFlagEachCharacterOfTheWindowAndNoneBeyond) {
    expectMarksOfEveryCharacter<SDAT_MARK_ITEMS>([](char c) { return sdat_is_blank(c); },
                                                 [](char c) { return c == ','; });
    expectMarksOfEveryCharacter<SDAT_MARK_TEXTS>([](char c) { return c == '"'; }, [](char c) { return c == '}'; });
    EXPECT_FALSE(sdat_can_mark(0));
    EXPECT_TRUE(sdat_can_mark(SDAT_WINDOW));
}

}  // namespace
