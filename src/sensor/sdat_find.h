// Searches of the sensor-data readers over runs of a line, eight characters
// a step: most runs are a few dozen characters, too short for a library
// call to pay and long enough that a byte loop is the larger cost.
#pragma once

#include <stdint.h>
#include <string.h>

#include "sensor/sdat_scan.h"

// The high bit of each byte of word that equals c; above the lowest byte
// that does, a byte may be flagged that does not (a borrow carries into
// it), so only the lowest flag is exact.
inline uint64_t sdat_bytes_equal(uint64_t word, char c) {
    const uint64_t ones = 0x0101010101010101ull;
    const uint64_t x = word ^ (ones * static_cast<unsigned char>(c));
    return (x - ones) & ~x & 0x8080808080808080ull;
}

// The high bit of each byte of word that is white space (sdat_is_blank);
// only the lowest flag is exact.
inline uint64_t sdat_bytes_blank(uint64_t word) {
    const uint64_t ones = 0x0101010101010101ull;
    const uint64_t highs = 0x8080808080808080ull;
    // Each byte with its high bit set stays at 0x80 or above after the
    // subtractions, so no borrow crosses bytes: the high bit tells b >= 9,
    // b >= 14, for the bytes below 0x80.
    const uint64_t raised = word | highs;
    const uint64_t controls = (raised - ones * 9) & ~(raised - ones * 14) & ~word & highs;
    return controls | sdat_bytes_equal(word, ' ');
}

// The first character in [p, limit) that is a or b, or limit.
inline const char* sdat_find_either(const char* p, const char* limit, char a, char b) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    for (; limit - p >= 8; p += 8) {
        uint64_t word;
        memcpy(&word, p, sizeof word);
        const uint64_t hits = sdat_bytes_equal(word, a) | sdat_bytes_equal(word, b);
        if (hits) return p + (__builtin_ctzll(hits) >> 3);
    }
#endif
    while (p < limit && *p != a && *p != b) ++p;
    return p;
}

// The first white space character in [p, limit), or limit.
inline const char* sdat_find_blank(const char* p, const char* limit) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    for (; limit - p >= 8; p += 8) {
        uint64_t word;
        memcpy(&word, p, sizeof word);
        const uint64_t hits = sdat_bytes_blank(word);
        if (hits) return p + (__builtin_ctzll(hits) >> 3);
    }
#endif
    while (p < limit && !sdat_is_blank(*p)) ++p;
    return p;
}

// Copies n characters with eight-character moves (the last one may
// overlap the one before); a library call, or the string move a compiler
// makes of a memcpy of unknown length, costs more for the short texts of a
// line.
inline void sdat_copy_short(char* dest, const char* source, size_t n) {
    if (n < 8) {
        for (size_t i = 0; i < n; ++i) dest[i] = source[i];
        return;
    }
    uint64_t word;
    for (size_t i = 0; i + 8 < n; i += 8) {
        memcpy(&word, source + i, sizeof word);
        memcpy(dest + i, &word, sizeof word);
    }
    memcpy(&word, source + n - 8, sizeof word);
    memcpy(dest + n - 8, &word, sizeof word);
}
