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

enum sdat_mark_kind { SDAT_MARK_ITEMS, SDAT_MARK_TEXTS, SDAT_MARK_ENDS };

// The marks of one group of characters (16 with SSE2, else 8).
template <sdat_mark_kind kind>
struct sdat_mark_group {
#if defined(__SSE2__)
    static const size_t size = 16;
    // The group at p, all of it in the text.
    static sdat_marks at(const char* p) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if (kind == SDAT_MARK_ITEMS) {
            // '\t' to '\r': nine to thirteen, so v - 9 is at most 4 (unsigned).
            const __m128i shifted = _mm_sub_epi8(v, _mm_set1_epi8(9));
            const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(shifted, _mm_set1_epi8(4)), shifted);
            return sdat_marks{bits(_mm_or_si128(controls, _mm_cmpeq_epi8(v, _mm_set1_epi8(' ')))),
                              bits(_mm_cmpeq_epi8(v, _mm_set1_epi8(',')))};
        }
        if (kind == SDAT_MARK_ENDS) return sdat_marks{bits(_mm_cmpeq_epi8(v, _mm_set1_epi8('\n'))), 0};
        return sdat_marks{bits(_mm_cmpeq_epi8(v, _mm_set1_epi8('"'))), bits(_mm_cmpeq_epi8(v, _mm_set1_epi8('}')))};
    }

private:
    static uint64_t bits(__m128i flags) {
        return static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(flags)));
    }
#else
    static const size_t size = 8;
    static sdat_marks at(const char* p) {
        const uint64_t word = sdat_word_at(p);
        if (kind == SDAT_MARK_ITEMS)
            return sdat_marks{sdat_gather_flags(sdat_bytes_blank(word)),
                              sdat_gather_flags(sdat_bytes_equal(word, ','))};
        if (kind == SDAT_MARK_ENDS) return sdat_marks{sdat_gather_flags(sdat_bytes_equal(word, '\n')), 0};
        return sdat_marks{sdat_gather_flags(sdat_bytes_equal(word, '"')),
                          sdat_gather_flags(sdat_bytes_equal(word, '}'))};
    }
#endif
};

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define SDAT_WIDE_MARKS 1
// The same, 32 characters a group, for the processors with AVX2: only
// code built for them (a function with the "avx2" target, chosen when
// sdat_wide_marks() says so) may use it.
template <sdat_mark_kind kind>
struct sdat_wide_mark_group {
    static const size_t size = 32;
    __attribute__((target("avx2"))) static sdat_marks at(const char* p) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        if (kind == SDAT_MARK_ITEMS) {
            const __m256i shifted = _mm256_sub_epi8(v, _mm256_set1_epi8(9));
            const __m256i controls = _mm256_cmpeq_epi8(_mm256_min_epu8(shifted, _mm256_set1_epi8(4)), shifted);
            return sdat_marks{bits(_mm256_or_si256(controls, _mm256_cmpeq_epi8(v, _mm256_set1_epi8(' ')))),
                              bits(_mm256_cmpeq_epi8(v, _mm256_set1_epi8(',')))};
        }
        if (kind == SDAT_MARK_ENDS) return sdat_marks{bits(_mm256_cmpeq_epi8(v, _mm256_set1_epi8('\n'))), 0};
        return sdat_marks{bits(_mm256_cmpeq_epi8(v, _mm256_set1_epi8('"'))),
                          bits(_mm256_cmpeq_epi8(v, _mm256_set1_epi8('}')))};
    }

private:
    __attribute__((target("avx2"))) static uint64_t bits(__m256i flags) {
        return static_cast<uint64_t>(static_cast<uint32_t>(_mm256_movemask_epi8(flags)));
    }
};

// Whether the processor runs the code of sdat_wide_mark_group.
inline bool sdat_wide_marks() {
    static const bool wide = __builtin_cpu_supports("avx2");
    return wide;
}
#endif

// The marks of the n characters at p (at least one group's worth, at most
// SDAT_WINDOW), all of them in the text: white space (sdat_is_blank) and
// ',' for SDAT_MARK_ITEMS, '"' and '}' for SDAT_MARK_TEXTS.  Nothing past
// them is read: the last group is the one that ends with the n-th
// character, and its marks of characters already marked are dropped.
template <sdat_mark_kind kind>
inline sdat_marks sdat_mark_window(const char* p, size_t n) {
    typedef sdat_mark_group<kind> group;
    sdat_marks m{0, 0};
    for (size_t i = 0; i < n; i += group::size) {
        const size_t at = i + group::size <= n ? i : n - group::size;
        const sdat_marks g = group::at(p + at);
        m.first |= (g.first >> (i - at)) << i;
        m.second |= (g.second >> (i - at)) << i;
    }
    return m;
}

// Whether n characters are enough for sdat_mark_window.
inline bool sdat_can_mark(size_t n) { return n >= sdat_mark_group<SDAT_MARK_ITEMS>::size; }

// The index of the first mark at or after from; SDAT_WINDOW when none.
inline size_t sdat_next_mark(uint64_t marks, size_t from) {
    if (from >= SDAT_WINDOW) return SDAT_WINDOW;
    const uint64_t after = marks & (~0ull << from);
    return after ? static_cast<size_t>(__builtin_ctzll(after)) : SDAT_WINDOW;
}
