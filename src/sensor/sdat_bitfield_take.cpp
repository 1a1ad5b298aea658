// The next line of a registers section taken straight from the text when
// it is a bitfield line of the usual shape.  One sweep over the line's
// first 128 characters marks its end, the blanks and commas of its items
// and the quotes and braces of its texts; the line is then read from the
// marks alone.  Where the processor has AVX2 the sweep goes 32 characters
// a step.
#define CK_SOURCE "sensor_data"
#include "core/camkit_private.h"
#include "sensor/sdat_bitfield_items.h"
#include "sensor/sdat_marks.h"
#include "sensor/sdat_register_line.h"

namespace {

using namespace sdat_bitfield;

// The marks of the SDAT_SPAN characters from a line's start: its line
// end, the items' marks of the first SDAT_WINDOW, and the quotes and '}'
// of all of them, two words each.
const size_t SDAT_SPAN = 2 * SDAT_WINDOW;
struct span_marks {
    uint64_t ends[2];
    sdat_marks items;
    uint64_t quotes[2];
    uint64_t braces[2];
};

// The marks of the SDAT_WINDOW characters at p into word `word` of m,
// Group a step (sdat_mark_group, or sdat_wide_mark_group).
template <template <sdat_mark_kind> class Group, bool withItems>
inline void mark_half(const char* p, size_t word, span_marks* m) {
    uint64_t ends = 0, quotes = 0, braces = 0, blanks = 0, commas = 0;
    for (size_t i = 0; i < SDAT_WINDOW; i += Group<SDAT_MARK_ITEMS>::size) {
        const sdat_marks t = Group<SDAT_MARK_TEXTS>::at(p + i);
        quotes |= t.first << i;
        braces |= t.second << i;
        ends |= Group<SDAT_MARK_ENDS>::at(p + i).first << i;
        if (withItems) {
            const sdat_marks g = Group<SDAT_MARK_ITEMS>::at(p + i);
            blanks |= g.first << i;
            commas |= g.second << i;
        }
    }
    m->ends[word] = ends;
    m->quotes[word] = quotes;
    m->braces[word] = braces;
    if (withItems) m->items = sdat_marks{blanks, commas};
}

template <template <sdat_mark_kind> class Group>
inline span_marks mark_span(const char* p) {
    span_marks m;
    mark_half<Group, true>(p, 0, &m);
    mark_half<Group, false>(p + SDAT_WINDOW, 1, &m);
    return m;
}

inline size_t first_mark(const uint64_t* marks) {
    if (marks[0]) return static_cast<size_t>(__builtin_ctzll(marks[0]));
    return marks[1] ? SDAT_WINDOW + static_cast<size_t>(__builtin_ctzll(marks[1])) : SDAT_SPAN;
}

// The SDAT_WINDOW marks from character `from` on (those past the span are
// unmarked).
inline uint64_t marks_from(const uint64_t* marks, size_t from) {
    if (from >= SDAT_WINDOW) return marks[1] >> (from - SDAT_WINDOW);
    return from == 0 ? marks[0] : (marks[0] >> from) | (marks[1] << (SDAT_WINDOW - from));
}

// Reads the line at the reading position into *bf and moves past it when
// it is whole within the span, opens with '{' and its items settle from
// the marks; else returns 0 with nothing read or written.  The marks past
// the line's end (line end and one '\r' before it removed) are dropped.
template <template <sdat_mark_kind> class Group>
inline int take_line(sdat_text* text, ci_bitfield_t* bf) {
    if (text->nulFree != 1 || text->size - text->pos < SDAT_SPAN) return 0;
    const char* p = text->data + text->pos;
    const span_marks m = mark_span<Group>(p);
    const size_t end = first_mark(m.ends);
    if (end == SDAT_SPAN) return 0;
    const size_t length = end > 0 && p[end - 1] == '\r' ? end - 1 : end;
    const uint64_t inLine = length < SDAT_WINDOW ? (1ull << length) - 1 : ~0ull;
    const uint64_t content = ~m.items.first & inLine;
    if (!content || p[__builtin_ctzll(content)] != '{') return 0;
    const sdat_span line{p, length};
    bitfield_items items;
    if (items_from_marks(&line, sdat_marks{m.items.first & inLine, m.items.second & inLine}, &items) != A_BITFIELD)
        return 0;
    fill_items(items, bf);
    const size_t from = static_cast<size_t>(items.parts.rest.text - p);
    const size_t n = length - from < SDAT_WINDOW ? length - from : SDAT_WINDOW;
    const uint64_t inRest = n < SDAT_WINDOW ? (1ull << n) - 1 : ~0ull;
    if (!copy_marked_texts(items.parts.rest.text, n, items.parts.rest.length, marks_from(m.quotes, from) & inRest,
                           marks_from(m.braces, from) & inRest, bf->desc, bf->detail))
        copy_texts(items.parts.rest.text, items.parts.rest.text + items.parts.rest.length, bf->desc, bf->detail);
    text->pos += end + 1;
    return 1;
}

__attribute__((flatten)) int take_narrow(sdat_text* text, ci_bitfield_t* bf) {
    return take_line<sdat_mark_group>(text, bf);
}

#if defined(SDAT_WIDE_MARKS)
__attribute__((target("avx2"), flatten)) int take_wide(sdat_text* text, ci_bitfield_t* bf) {
    return take_line<sdat_wide_mark_group>(text, bf);
}
#endif

}  // namespace

int sdat_take_bitfield_line_as(sdat_text* text, ci_bitfield_t* bf, int wide) {
#if defined(SDAT_WIDE_MARKS)
    if (wide && sdat_wide_marks()) return take_wide(text, bf);
#else
    (void)wide;
#endif
    return take_narrow(text, bf);
}

int sdat_take_bitfield_line(sdat_text* text, ci_bitfield_t* bf) { return sdat_take_bitfield_line_as(text, bf, 1); }
