// A bitfield line of a registers section read into its record.  Most lines
// of a large sensor's file are bitfield lines, so the record is filled in
// one forward walk: the items are found in place, the name's first word and
// the two quoted texts are copied straight into the record, and nothing is
// written before the line is known to be a bitfield line.
#define CK_SOURCE "sensor_data"
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_find.h"
#include "sensor/sdat_register_line.h"
#include "sensor/sdat_scan.h"

namespace {

// The first word of the name item (blanks around it and inside it are
// allowed); the item is at most 255 characters, so the word fits.  The
// item ends at a ',' (or its width, or the line's end), so the search for
// the word's end runs on to the ',' through lineEnd and is cut to the item.
void copy_first_word(const sdat_span& name, const char* lineEnd, char* id) {
    const char* p = name.text;
    const char* end = p + name.length;
    while (p < end && sdat_is_blank(*p)) ++p;
    const char* wordEnd = sdat_find_blank_or(p, lineEnd, ',');
    const size_t n = static_cast<size_t>((wordEnd < end ? wordEnd : end) - p);
    sdat_copy_short(id, p, n);
    id[n] = '\0';
}

char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

// "RO" 0, "WO" 2, anything else 1, from the first two characters of the
// access item (one to four characters).
ci_u32 access_of(const sdat_span& rw) {
    if (rw.length < 2 || upper(rw.text[1]) != 'O') return 1;
    const char first = upper(rw.text[0]);
    return first == 'R' ? 0 : first == 'W' ? 2 : 1;
}

// Copies a quoted text of n characters into text (a ci_string); a text
// that does not fit keeps its first 252 characters followed by "...".
void copy_text(char* text, const char* p, size_t n) {
    if (n < CI_STRING_LEN) {
        sdat_copy_short(text, p, n);
        text[n] = '\0';
        return;
    }
    const size_t kept = CI_STRING_LEN - 4;
    memcpy(text, p, kept);
    memcpy(text + kept, "...", 4);
}

// The first and second double-quoted texts of the last item, which runs
// from p to its first '}' or to limit.  An unterminated text runs to the
// item's end.
void copy_texts(const char* p, const char* limit, char* desc, char* detail) {
    char* texts[] = {desc, detail};
    for (char* text : texts) {
        p = sdat_find_either(p, limit, '"', '}');
        if (p == limit || *p == '}') return;
        const char* close = sdat_find_either(p + 1, limit, '"', '}');
        copy_text(text, p + 1, static_cast<size_t>(close - p - 1));
        if (close == limit || *close == '}') return;
        p = close + 1;
    }
}

// The same from the marks of the quotes and the '}' among the item's first
// 64 characters, which settle the texts of most lines; false, with nothing
// copied, when the item runs on past them with fewer than four quotes.
bool copy_marked_texts(const char* p, const char* limit, char* desc, char* detail) {
    const size_t left = static_cast<size_t>(limit - p);
    const size_t n = left < 64 ? left : 64;
    uint64_t quotes = 0;
    uint64_t braces = 0;
    sdat_mark_two(p, n, '"', '}', &quotes, &braces);
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
        copy_text(text, p + open + 1, close - open - 1);
        quotes &= quotes - 1;
    }
    return true;
}

}  // namespace

int sdat_scan_bitfield_view(const sdat_span* line, ci_bitfield_t* bf) {
    sdat_bitfield_parts parts;
    if (!sdat_bitfield_items(line, &parts)) return 0;
    copy_first_word(parts.name, line->text + line->length, bf->id);
    bf->bitmask = parts.mask;
    bf->rw = access_of(parts.rw);
    const char* restEnd = parts.rest.text + parts.rest.length;
    if (!copy_marked_texts(parts.rest.text, restEnd, bf->desc, bf->detail))
        copy_texts(parts.rest.text, restEnd, bf->desc, bf->detail);
    bf->datatype = CI_TYPE_UNSIGNED;
    bf->confidential = (sdat_has_prefix(bf->id, "BIT_") || sdat_has_prefix(bf->id, "BITS_")) ? 1 : 0;
    return 1;
}

int sdat_scan_bitfield_line(const char* line, ci_bitfield_t* bf) {
    const sdat_span view{line, strlen(line)};
    return sdat_scan_bitfield_view(&view, bf);
}
