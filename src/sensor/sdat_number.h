// The "%i" numbers of the sensor-data readers: an optional sign, then "0x"
// hexadecimal, "0" octal or decimal digits.  "0x" with no hexadecimal digit
// after it reads as 0 and uses the 'x'.  A magnitude out of range saturates
// as strtoll's result does, and the low 32 bits are kept.  Every number of
// a file goes through here, so it is inline.
#pragma once

#include <stdint.h>

// The value of each character as a digit (letters from 10 on), 99 for a
// character that is none.
struct sdat_digit_table {
    unsigned char value[256];
    constexpr sdat_digit_table() : value() {
        for (int c = 0; c < 256; ++c) {
            value[c] = 99;
            if (c >= '0' && c <= '9') value[c] = static_cast<unsigned char>(c - '0');
            if (c >= 'a' && c <= 'z') value[c] = static_cast<unsigned char>(c - 'a' + 10);
            if (c >= 'A' && c <= 'Z') value[c] = static_cast<unsigned char>(c - 'A' + 10);
        }
    }
};
inline constexpr sdat_digit_table sdat_digits{};

inline unsigned sdat_digit_value(char c) { return sdat_digits.value[static_cast<unsigned char>(c)]; }

// Reads one number at p (no white space before it).  inside(q) tells
// whether q is still in the text: a terminated text needs no bound, since
// its NUL is no digit.  Returns the end of the number, or nullptr when
// there is none.
template <typename Inside>
inline const char* sdat_number_at(const char* p, Inside inside, uint32_t* value) {
    const bool negative = inside(p) && *p == '-';
    if (inside(p) && (*p == '-' || *p == '+')) ++p;
    if (!inside(p) || sdat_digit_value(*p) >= 10) return nullptr;
    unsigned base = 10;
    if (p[0] == '0' && inside(p + 1) && (p[1] == 'x' || p[1] == 'X')) {
        base = 16;
        p += 2;
    } else if (p[0] == '0') {
        base = 8;
    }
    const uint64_t limit = negative ? 0x8000000000000000ull : 0x7FFFFFFFFFFFFFFFull;
    const uint64_t safe = 1ull << 58;  // magnitude * 16 + 15 stays below 2^63
    uint64_t magnitude = 0;
    for (unsigned d; inside(p) && (d = sdat_digit_value(*p)) < base; ++p) {
        if (magnitude < safe)
            magnitude = magnitude * base + d;
        else
            magnitude = (magnitude > (limit - d) / base) ? limit : magnitude * base + d;
    }
    *value = static_cast<uint32_t>(negative ? 0ull - magnitude : magnitude);
    return p;
}
