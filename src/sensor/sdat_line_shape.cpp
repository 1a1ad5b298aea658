// Register and bitfield lines are read with the scan formats
//   register   "%255[^=]= {%i, %39[^,], %i, %4[^,], %i, %760[^}]"
//              (sdat_version 2 and above: "%i, " for the span after the
//              space; the description texts may then be missing)
//   bitfield   " {%255[^,], %i, %4[^,], %760[^}]"
// and counted with the lenient form of the register format (255 characters
// for the space and the access).  These are the line kinds of a large
// sensor, so they are matched here directive by directive by hand, with
// the same rules as sdat_scan: the items are found in place and only the
// ones kept are copied.  The counting pass stops as soon as the answer is
// known: a text item needs one character only there, so the description
// texts are never walked.
#define CK_SOURCE "sensor_data"
#include <string.h>

#include "sensor/sdat_find.h"
#include "sensor/sdat_number.h"
#include "sensor/sdat_register_line.h"
#include "sensor/sdat_scan.h"

namespace {

bool is_hex_digit(char c) { return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }

// One directive each; after a mismatch (the end of the line is one)
// nothing more matches.  The line holds no NUL; nothing past its end is
// read.
class Shape {
public:
    explicit Shape(const sdat_span& line) : p_(line.text), end_(line.text + line.length) {}

    // A blank in a format: any white space.
    Shape& blanks() {
        while (p_ < end_ && sdat_is_blank(*p_)) ++p_;
        return *this;
    }
    // A literal character.
    Shape& lit(char c) {
        ok_ = ok_ && p_ < end_ && *p_ == c;
        if (ok_) ++p_;
        return *this;
    }
    // "%W[^stop]": one to W characters other than stop.
    Shape& run(char stop, int width, sdat_span* out = nullptr) {
        if (!ok_) return *this;
        const char* at = sdat_find_either(p_, p_ + room(width), stop, stop);
        const size_t n = static_cast<size_t>(at - p_);
        ok_ = n > 0;
        if (out) *out = sdat_span{p_, n};
        p_ = at;
        return *this;
    }
    // "%W[^stop]" as the last directive, the caller walking the run itself:
    // out gets the W characters (fewer at the line end) the run may take,
    // the first of which must not be stop.
    Shape& open_run(char stop, int width, sdat_span* out) {
        ok_ = ok_ && p_ < end_ && *p_ != stop;
        if (ok_) *out = sdat_span{p_, room(width)};
        return *this;
    }
    // "%W[^stop]" as the last directive of a form test: one character is
    // enough.
    Shape& last_run(char stop) {
        ok_ = ok_ && p_ < end_ && *p_ != stop;
        return *this;
    }
    // "%i".
    Shape& number(ci_u32* out = nullptr) {
        if (!ok_) return *this;
        blanks();
        if (!out) return skip_number();
        const char* end = end_;
        const char* after = sdat_number_at(p_, [end](const char* q) { return q < end; }, out);
        ok_ = after != nullptr;
        if (ok_) p_ = after;
        return *this;
    }
    // ", " between items.
    Shape& comma() { return lit(',').blanks(); }
    bool matched() const { return ok_; }

private:
    // The characters a run of at most width characters may take.
    size_t room(int width) const {
        const size_t left = static_cast<size_t>(end_ - p_);
        return left < static_cast<size_t>(width) ? left : static_cast<size_t>(width);
    }
    // A number whose value is not wanted: a sign, then the digits of the
    // base its prefix gives ("0x" hexadecimal, "0" octal, else decimal);
    // "0x" alone counts as a number, as in a scan.
    Shape& skip_number() {
        if (p_ < end_ && (*p_ == '-' || *p_ == '+')) ++p_;
        ok_ = p_ < end_ && *p_ >= '0' && *p_ <= '9';
        if (!ok_) return *this;
        if (p_[0] == '0' && end_ - p_ >= 2 && (p_[1] == 'x' || p_[1] == 'X')) {
            p_ += 2;
            while (p_ < end_ && is_hex_digit(*p_)) ++p_;
        } else if (*p_ == '0') {
            while (p_ < end_ && *p_ >= '0' && *p_ <= '7') ++p_;
        } else {
            while (p_ < end_ && *p_ >= '0' && *p_ <= '9') ++p_;
        }
        return *this;
    }

    const char* p_;
    const char* end_;
    bool ok_ = true;
};

void copy_span(char* dest, const sdat_span& span) {
    if (span.length > 0) memcpy(dest, span.text, span.length);
    dest[span.length] = '\0';
}

sdat_span whole(const char* line) { return sdat_span{line, strlen(line)}; }

}  // namespace

int sdat_view_counts_as_register(const sdat_span* line, ci_s32 sdatVersion) {
    // Most lines of a section are bitfield lines, without an '='.
    if (sdat_find_char(line->text, line->text + line->length, '=') == line->text + line->length) return 0;
    Shape s(*line);
    s.run('=', 255).lit('=').blanks().lit('{').number().comma().run(',', 255).comma().number().comma();
    if (sdatVersion >= 2) s.number().comma();
    s.run(',', 255).comma().number().comma().last_run('}');
    return s.matched();
}

int sdat_counts_as_register(const char* line, ci_s32 sdatVersion) {
    const sdat_span view = whole(line);
    return sdat_view_counts_as_register(&view, sdatVersion);
}

int sdat_view_is_bitfield_line(const sdat_span* line) {
    sdat_bitfield_parts parts;
    sdat_span word;
    return sdat_find_bitfield_items(line, &parts, &word);
}

int sdat_is_bitfield_line(const char* line) {
    const sdat_span view = whole(line);
    return sdat_view_is_bitfield_line(&view);
}

int sdat_split_register_line(const sdat_span* line, ci_s32 sdatVersion, sdat_register_parts* parts) {
    *parts = sdat_register_parts{};
    parts->span = 1;
    Shape s(*line);
    s.run('=', 255, &parts->name).lit('=').blanks().lit('{').number(&parts->addr).comma();
    s.run(',', 39, &parts->space).comma();
    if (sdatVersion >= 2) s.number(&parts->span).comma();
    s.number(&parts->mask).comma().run(',', 4, &parts->rw).comma().number(&parts->def);
    if (!s.matched()) return 0;
    s.comma().run('}', 760, &parts->rest);
    if (s.matched()) return 1;
    parts->rest = sdat_span{line->text + line->length, 0};
    return sdatVersion >= 2;  // the texts may be missing there
}

int sdat_scan_register_line(const char* line, ci_s32 sdatVersion, sdat_register_line* l) {
    const sdat_span view = whole(line);
    sdat_register_parts parts;
    if (!sdat_split_register_line(&view, sdatVersion, &parts)) return 0;
    copy_span(l->name, parts.name);
    l->addr = parts.addr;
    copy_span(l->space, parts.space);
    l->span = parts.span;
    l->mask = parts.mask;
    copy_span(l->rw, parts.rw);
    l->def = parts.def;
    copy_span(l->rest, parts.rest);
    return 1;
}

int sdat_bitfield_items(const sdat_span* line, sdat_bitfield_parts* parts) {
    Shape s(*line);
    s.blanks().lit('{').run(',', 255, &parts->name).comma().number(&parts->mask).comma();
    s.run(',', 4, &parts->rw).comma().open_run('}', 760, &parts->rest);
    return s.matched();
}

int sdat_split_bitfield_line(const sdat_span* line, sdat_bitfield_parts* parts) {
    if (!sdat_bitfield_items(line, parts)) return 0;
    const void* stop = memchr(parts->rest.text, '}', parts->rest.length);
    if (stop) parts->rest.length = static_cast<size_t>(static_cast<const char*>(stop) - parts->rest.text);
    return 1;
}
