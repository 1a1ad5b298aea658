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
// allowed); the item is at most 255 characters, so the word fits.
void copy_first_word(const sdat_span& name, char* id) {
    const char* p = name.text;
    const char* end = p + name.length;
    while (p < end && sdat_is_blank(*p)) ++p;
    const size_t n = static_cast<size_t>(sdat_find_blank(p, end) - p);
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

// Copies the quoted text from p (after its opening quote) to its closing
// quote, the end of the item ('}') or limit into text (a ci_string); a
// text that does not fit keeps its first 252 characters followed by "...".
// Returns where the text stopped.
const char* copy_quoted(const char* p, const char* limit, char* text) {
    const char* close = sdat_find_either(p, limit, '"', '}');
    const size_t n = static_cast<size_t>(close - p);
    if (n < CI_STRING_LEN) {
        sdat_copy_short(text, p, n);
        text[n] = '\0';
    } else {
        const size_t kept = CI_STRING_LEN - 4;
        memcpy(text, p, kept);
        memcpy(text + kept, "...", 4);
    }
    return close;
}

// The first and second double-quoted texts of the last item, which runs to
// its first '}' or to limit.  An unterminated text runs to the item's end.
void copy_texts(const char* p, const char* limit, char* desc, char* detail) {
    char* texts[] = {desc, detail};
    for (char* text : texts) {
        p = sdat_find_either(p, limit, '"', '}');
        if (p == limit || *p == '}') return;
        p = copy_quoted(p + 1, limit, text);
        if (p == limit || *p == '}') return;
        ++p;
    }
}

}  // namespace

int sdat_scan_bitfield_view(const sdat_span* line, ci_bitfield_t* bf) {
    sdat_bitfield_parts parts;
    if (!sdat_bitfield_items(line, &parts)) return 0;
    copy_first_word(parts.name, bf->id);
    bf->bitmask = parts.mask;
    bf->rw = access_of(parts.rw);
    copy_texts(parts.rest.text, parts.rest.text + parts.rest.length, bf->desc, bf->detail);
    bf->datatype = CI_TYPE_UNSIGNED;
    bf->confidential = (sdat_has_prefix(bf->id, "BIT_") || sdat_has_prefix(bf->id, "BITS_")) ? 1 : 0;
    return 1;
}

int sdat_scan_bitfield_line(const char* line, ci_bitfield_t* bf) {
    const sdat_span view{line, strlen(line)};
    return sdat_scan_bitfield_view(&view, bf);
}
