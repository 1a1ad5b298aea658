// A bitfield line of a registers section read into its record.  Most lines
// of a large sensor's file are bitfield lines, so the items are found from
// the marks of the line's first 64 characters (sdat_marks.h) and the
// quoted texts from those of the last item's, and copied straight into the
// record; nothing is written before the line is known to be a bitfield
// line.  A line the marks do not settle (an item that runs past its
// window, or one missing) is walked item by item (sdat_bitfield_items),
// with the same result.
#define CK_SOURCE "sensor_data"
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_bitfield_items.h"
#include "sensor/sdat_find.h"
#include "sensor/sdat_register_line.h"
#include "sensor/sdat_scan.h"

namespace {

using namespace sdat_bitfield;

// The first word of the name item (blanks around it and inside it are
// allowed).  The item ends at a ',' (or its width, or the line's end), so
// the search for the word's end runs on to the ',' through lineEnd and is
// cut to the item.
sdat_span first_word(const sdat_span& name, const char* lineEnd) {
    const char* p = name.text;
    const char* end = p + name.length;
    while (p < end && sdat_is_blank(*p)) ++p;
    const char* wordEnd = sdat_find_blank_or(p, lineEnd, ',');
    return sdat_span{p, static_cast<size_t>((wordEnd < end ? wordEnd : end) - p)};
}

// Whether the line's first character other than white space is '{', as
// that of every bitfield line is: most other lines are settled here.
bool opens_a_brace(const sdat_span* line) {
    const char* p = line->text;
    const char* end = p + line->length;
    while (p < end && sdat_is_blank(*p)) ++p;
    return p < end && *p == '{';
}

bool find_items(const sdat_span* line, bitfield_items* items) {
    if (!opens_a_brace(line)) return false;
    if (sdat_can_mark(line->length)) {
        const size_t n = line->length < SDAT_WINDOW ? line->length : SDAT_WINDOW;
        const found f = items_from_marks(line, sdat_mark_window<SDAT_MARK_ITEMS>(line->text, n), items);
        if (f != UNSETTLED) return f == A_BITFIELD;
    }
    if (!sdat_bitfield_items(line, &items->parts)) return false;
    items->word = first_word(items->parts.name, line->text + line->length);
    return true;
}

// The texts of the last item (rest), from the marks of the window of the
// line's last SDAT_WINDOW characters when it holds the item's start (most
// lines: its marks are made before the start is known), else from those of
// the item's first characters.
void read_texts(const sdat_span* line, const sdat_span& rest, char* desc, char* detail) {
    const char* lineEnd = line->text + line->length;
    const char* restEnd = rest.text + rest.length;
    if (line->length >= SDAT_WINDOW) {
        const char* window = lineEnd - SDAT_WINDOW;
        sdat_marks m = sdat_mark_window<SDAT_MARK_TEXTS>(window, SDAT_WINDOW);
        if (rest.text < window) {
            window = rest.text;
            m = sdat_mark_window<SDAT_MARK_TEXTS>(window, SDAT_WINDOW);
        }
        const size_t from = static_cast<size_t>(rest.text - window);
        if (copy_marked_texts(rest.text, SDAT_WINDOW - from, rest.length, m.first >> from, m.second >> from, desc,
                              detail))
            return;
    } else if (sdat_can_mark(rest.length)) {
        const sdat_marks m = sdat_mark_window<SDAT_MARK_TEXTS>(rest.text, rest.length);
        if (copy_marked_texts(rest.text, rest.length, rest.length, m.first, m.second, desc, detail)) return;
    }
    copy_texts(rest.text, restEnd, desc, detail);
}

}  // namespace

int sdat_find_bitfield_items(const sdat_span* line, sdat_bitfield_parts* parts, sdat_span* word) {
    bitfield_items items;
    if (!find_items(line, &items)) return 0;
    *parts = items.parts;
    *word = items.word;
    return 1;
}

int sdat_scan_bitfield_view(const sdat_span* line, ci_bitfield_t* bf) {
    bitfield_items items;
    if (!find_items(line, &items)) return 0;
    fill_items(items, bf);
    read_texts(line, items.parts.rest, bf->desc, bf->detail);
    return 1;
}

int sdat_scan_bitfield_line(const char* line, ci_bitfield_t* bf) {
    const sdat_span view{line, strlen(line)};
    return sdat_scan_bitfield_view(&view, bf);
}
