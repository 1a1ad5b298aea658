// Searches of the sensor-data readers over runs of a line, eight characters
// a step: most runs are a few dozen characters, too short for a library
// call to pay and long enough that a byte loop is the larger cost.  The
// searches read words in the byte order of a little-endian machine and go
// byte by byte elsewhere.
#pragma once

#include <stdint.h>
#include <string.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "camkit.h"
#include "sensor/sdat_scan.h"

// The high bit of each byte of word that equals c.  A byte of the xor is
// zero when neither its low seven bits nor its high bit are set; the
// addition stays within each byte.
inline uint64_t sdat_bytes_equal(uint64_t word, char c) {
    const uint64_t lows = 0x7F7F7F7F7F7F7F7Full;
    const uint64_t x = word ^ (0x0101010101010101ull * static_cast<unsigned char>(c));
    return ~(((x & lows) + lows) | x) & ~lows;
}

// The high bit of each byte of word that is white space (sdat_is_blank).
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

// The eight characters at p as a word, the first in its low byte.
inline uint64_t sdat_word_at(const char* p) {
    uint64_t word = 0;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    memcpy(&word, p, sizeof word);
#else
    for (size_t i = 0; i < 8; ++i) word |= static_cast<uint64_t>(static_cast<unsigned char>(p[i])) << (8 * i);
#endif
    return word;
}

// The high bits of the bytes of flags gathered into the low eight bits,
// the first byte's into bit 0.
inline uint64_t sdat_gather_flags(uint64_t flags) { return ((flags >> 7) * 0x0102040810204080ull) >> 56; }

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

// The first character c in [p, limit), or limit: memchr without the call,
// for the searches that run once a line (a line is some dozens of
// characters).
inline const char* sdat_find_char(const char* p, const char* limit, char c) {
#if defined(__SSE2__)
    const __m128i wanted = _mm_set1_epi8(c);
    const auto hits_at = [wanted](const char* q) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
        return static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, wanted))));
    };
    // Most lines end within the first 64 or 128 characters: four groups a
    // step, so that the loop ends once or twice.
    for (; limit - p >= 64; p += 64) {
        const uint64_t hits = hits_at(p) | hits_at(p + 16) << 16 | hits_at(p + 32) << 32 | hits_at(p + 48) << 48;
        if (hits) return p + __builtin_ctzll(hits);
    }
    for (; limit - p >= 16; p += 16) {
        const uint64_t hits = hits_at(p);
        if (hits) return p + __builtin_ctzll(hits);
    }
#endif
    return sdat_find_either(p, limit, c, c);
}

// The first character in [p, limit) that is white space or stop, or limit.
inline const char* sdat_find_blank_or(const char* p, const char* limit, char stop) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    for (; limit - p >= 8; p += 8) {
        uint64_t word;
        memcpy(&word, p, sizeof word);
        const uint64_t hits = sdat_bytes_blank(word) | sdat_bytes_equal(word, stop);
        if (hits) return p + (__builtin_ctzll(hits) >> 3);
    }
#endif
    while (p < limit && !sdat_is_blank(*p) && *p != stop) ++p;
    return p;
}

// Copies n characters with eight-character moves (the last one may
// overlap the one before); a library call, or the string move a compiler
// makes of a memcpy of unknown length, costs more for the short texts of a
// line.
inline void sdat_copy_short(char* dest, const char* source, size_t n) {
    if (n < 8) {
        if (n >= 4) {
            memcpy(dest, source, 4);
            memcpy(dest + n - 4, source + n - 4, 4);
        } else if (n >= 2) {
            memcpy(dest, source, 2);
            memcpy(dest + n - 2, source + n - 2, 2);
        } else if (n == 1) {
            dest[0] = source[0];
        }
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

// Copies a description text of n characters into a ci_string; a text that
// does not fit keeps its first 252 characters followed by "...".
inline void sdat_copy_text(char* dest, const char* source, size_t n) {
    const size_t room = CI_STRING_LEN;
    if (n < room) {
        sdat_copy_short(dest, source, n);
        dest[n] = '\0';
        return;
    }
    const size_t kept = room - 4;
    memcpy(dest, source, kept);
    memcpy(dest + kept, "...", 4);
}
