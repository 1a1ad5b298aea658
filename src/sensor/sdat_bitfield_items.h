// The pieces of a bitfield line's reading that both of its readers use:
// the one that goes from a line (sdat_bitfield_line.cpp) and the one that
// takes the next line straight from the text (sdat_bitfield_take.cpp).
#pragma once

#include <stdint.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_find.h"
#include "sensor/sdat_marks.h"
#include "sensor/sdat_number.h"
#include "sensor/sdat_register_line.h"

namespace sdat_bitfield {

// The items of a bitfield line, and the first word of its name.
struct bitfield_items {
    sdat_bitfield_parts parts;
    sdat_span word;
};

enum found { NOT_A_BITFIELD, A_BITFIELD, UNSETTLED };

// The items from the marks m of the line's first SDAT_WINDOW characters
// (or all of a shorter line), with the rules of the format: blanks, '{',
// the name up to the first ',', ", ", the number, ", ", one to four
// characters up to the next ',', ", ", and the first character of the
// texts, which is not '}'.  No item before the texts holds a ',', so the
// first three commas end the name, the number and the access keyword, and
// every item is found from the marks at once rather than each from the end
// of the one before.  UNSETTLED when an item lies past the window.
inline found items_from_marks(const sdat_span* line, const sdat_marks& m, bitfield_items* items) {
    const char* text = line->text;
    const uint64_t blanks = m.first;
    // Past the end of a short line nothing is marked, and nothing is found.
    const uint64_t inLine = line->length < SDAT_WINDOW ? (1ull << line->length) - 1 : ~0ull;
    const uint64_t others = ~blanks & inLine;
    const uint64_t afterFirst = m.second & (m.second - 1);
    const size_t nameEnd = sdat_next_mark(m.second, 0);
    const size_t numberEnd = sdat_next_mark(afterFirst, 0);
    const size_t rwEnd = sdat_next_mark(afterFirst & (afterFirst - 1), 0);
    const size_t open = sdat_next_mark(others, 0);
    const size_t number = sdat_next_mark(others, nameEnd + 1);
    const size_t rw = sdat_next_mark(others, numberEnd + 1);
    const size_t rest = sdat_next_mark(others, rwEnd + 1);
    if (open == SDAT_WINDOW) return UNSETTLED;
    if (text[open] != '{') return NOT_A_BITFIELD;
    if (nameEnd == SDAT_WINDOW) return UNSETTLED;
    if (nameEnd == open + 1) return NOT_A_BITFIELD;
    if (numberEnd == SDAT_WINDOW) return UNSETTLED;
    const char* stop = text + numberEnd;
    const char* after = sdat_number_at(
        text + number, [stop](const char* q) { return q < stop; }, &items->parts.mask);
    if (after != stop) return NOT_A_BITFIELD;
    if (rwEnd == SDAT_WINDOW) return UNSETTLED;
    if (rwEnd == rw || rwEnd - rw > 4) return NOT_A_BITFIELD;
    if (rest == SDAT_WINDOW) return UNSETTLED;
    if (text[rest] == '}') return NOT_A_BITFIELD;
    const size_t nameStart = sdat_next_mark(others, open + 1);
    const size_t wordEnd = sdat_next_mark(blanks, nameStart);
    items->word = sdat_span{text + nameStart, (wordEnd < nameEnd ? wordEnd : nameEnd) - nameStart};
    items->parts.name = sdat_span{text + open + 1, nameEnd - open - 1};
    items->parts.rw = sdat_span{text + rw, rwEnd - rw};
    const size_t left = line->length - rest;
    items->parts.rest = sdat_span{text + rest, left < 760 ? left : 760};
    return A_BITFIELD;
}

inline char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

// Whether the word begins with prefix (upper-case ASCII), ignoring the
// case of ASCII letters.
inline bool has_prefix(const sdat_span& word, const char* prefix) {
    size_t i = 0;
    for (; prefix[i]; ++i)
        if (i == word.length || upper(word.text[i]) != prefix[i]) return false;
    return true;
}

// "RO" 0, "WO" 2, anything else 1, from the first two characters of the
// access item (one to four characters).
inline ci_u32 access_of(const sdat_span& rw) {
    if (rw.length < 2 || upper(rw.text[1]) != 'O') return 1;
    const char first = upper(rw.text[0]);
    return first == 'R' ? 0 : first == 'W' ? 2 : 1;
}

// The first and second double-quoted texts of the last item, which runs
// from p to its first '}' or to limit.  An unterminated text runs to the
// item's end.
inline void copy_texts(const char* p, const char* limit, char* desc, char* detail) {
    char* texts[] = {desc, detail};
    for (char* text : texts) {
        p = sdat_find_either(p, limit, '"', '}');
        if (p == limit || *p == '}') return;
        const char* close = sdat_find_either(p + 1, limit, '"', '}');
        sdat_copy_text(text, p + 1, static_cast<size_t>(close - p - 1));
        if (close == limit || *close == '}') return;
        p = close + 1;
    }
}

// The same from the marks of the quotes and the '}' among the first n
// characters at p of the item's `left`; false, with nothing copied, when
// the item runs on past them with fewer than four quotes.
inline bool copy_marked_texts(const char* p, size_t n, size_t left, uint64_t quotes, uint64_t braces, char* desc,
                              char* detail) {
    size_t end = n;
    if (braces) {
        end = static_cast<size_t>(__builtin_ctzll(braces));
        quotes &= (1ull << end) - 1;
    } else if (n < left && __builtin_popcountll(quotes) < 4) {
        return false;
    }
    char* texts[] = {desc, detail};
    for (char* text : texts) {
        if (!quotes) break;
        const size_t open = static_cast<size_t>(__builtin_ctzll(quotes));
        quotes &= quotes - 1;
        const size_t close = quotes ? static_cast<size_t>(__builtin_ctzll(quotes)) : end;
        sdat_copy_text(text, p + open + 1, close - open - 1);
        quotes &= quotes - 1;
    }
    return true;
}

// The fields of the record other than the texts.
inline void fill_items(const bitfield_items& items, ci_bitfield_t* bf) {
    sdat_copy_short(bf->id, items.word.text, items.word.length);
    bf->id[items.word.length] = '\0';
    bf->bitmask = items.parts.mask;
    bf->rw = access_of(items.parts.rw);
    bf->datatype = CI_TYPE_UNSIGNED;
    bf->confidential = (has_prefix(items.word, "BIT_") || has_prefix(items.word, "BITS_")) ? 1 : 0;
}

}  // namespace sdat_bitfield
