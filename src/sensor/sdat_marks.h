// What each character of a window of 64 characters of a line is, one bit
// per character: white space and commas, or quotes and '}'.  The
// items of a line are then found from these marks with a few bit
// operations, where a walk from item to item would wait for each search
// before starting the next.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "sensor/sdat_find.h"

inline constexpr size_t SDAT_WINDOW = 64;

// Bit i of each mask stands for character i of the window: the white
// space and commas of a line's items, or the quotes and the '}' of its
// texts.
typedef struct sdat_marks {
    uint64_t first;
    uint64_t second;
} sdat_marks;

enum sdat_mark_kind { SDAT_MARK_ITEMS, SDAT_MARK_TEXTS };

// The marks of the SDAT_WINDOW characters at p, all of them in the text:
// white space (sdat_is_blank) and ',' for SDAT_MARK_ITEMS, '"' and '}'
// for SDAT_MARK_TEXTS.
template <sdat_mark_kind kind>
inline sdat_marks sdat_mark_window(const char* p) {
    sdat_marks m{0, 0};
#if defined(__SSE2__)
    const auto bits = [](__m128i flags) {
        return static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(flags)));
    };
    for (size_t i = 0; i < SDAT_WINDOW; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        if (kind == SDAT_MARK_ITEMS) {
            // '\t' to '\r': nine to thirteen, so v - 9 is at most 4 (unsigned).
            const __m128i shifted = _mm_sub_epi8(v, _mm_set1_epi8(9));
            const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(shifted, _mm_set1_epi8(4)), shifted);
            m.first |= bits(_mm_or_si128(controls, _mm_cmpeq_epi8(v, _mm_set1_epi8(' ')))) << i;
            m.second |= bits(_mm_cmpeq_epi8(v, _mm_set1_epi8(','))) << i;
        } else {
            m.first |= bits(_mm_cmpeq_epi8(v, _mm_set1_epi8('"'))) << i;
            m.second |= bits(_mm_cmpeq_epi8(v, _mm_set1_epi8('}'))) << i;
        }
    }
#else
    for (size_t i = 0; i < SDAT_WINDOW; i += 8) {
        const uint64_t word = sdat_word_at(p + i, 8);
        if (kind == SDAT_MARK_ITEMS) {
            m.first |= sdat_gather_flags(sdat_bytes_blank(word)) << i;
            m.second |= sdat_gather_flags(sdat_bytes_equal(word, ',')) << i;
        } else {
            m.first |= sdat_gather_flags(sdat_bytes_equal(word, '"')) << i;
            m.second |= sdat_gather_flags(sdat_bytes_equal(word, '}')) << i;
        }
    }
#endif
    return m;
}

// The index of the first mark at or after from; SDAT_WINDOW when none.
inline size_t sdat_next_mark(uint64_t marks, size_t from) {
    if (from >= SDAT_WINDOW) return SDAT_WINDOW;
    const uint64_t after = marks & (~0ull << from);
    return after ? static_cast<size_t>(__builtin_ctzll(after)) : SDAT_WINDOW;
}
