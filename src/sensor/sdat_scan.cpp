// A small scanf for the sensor-data readers (see sdat_scan.h).
#include "sensor/sdat_scan.h"

#include <assert.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "sensor/sdat_number.h"

namespace {

struct scan_state {
    const char* in;     // next input character
    const char* start;  // beginning of the input (for %n)
    int stored;         // conversions stored so far
};

inline bool is_blank(char c) { return sdat_is_blank(c); }

inline void skip_blanks(scan_state& s) {
    while (is_blank(*s.in)) ++s.in;
}

// Reads the decimal width of a conversion; 0 when none is given.
int read_width(const char** f) {
    int width = 0;
    while (**f >= '0' && **f <= '9') {
        width = width * 10 + (**f - '0');
        ++*f;
    }
    return width;
}

// Parses the set of a %[ conversion starting after '['.  *f is left after the
// closing ']'.  Returns the set's characters through set/setLen.
void read_set(const char** f, bool* negate, const char** set, size_t* setLen) {
    const char* p = *f;
    *negate = (*p == '^');
    if (*negate) ++p;
    const char* first = p;
    if (*p == ']') ++p;  // a leading ']' belongs to the set
    while (*p && *p != ']') ++p;
    *set = first;
    *setLen = static_cast<size_t>(p - first);
    *f = *p ? p + 1 : p;
}

// One %i, with the rules of scanf (sdat_number.h).  Returns false on a
// matching failure.
bool convert_int(scan_state& s, uint32_t* out) {
    skip_blanks(s);
    const char* p = sdat_number_at(s.in, [](const char*) { return true; }, out);
    if (!p) return false;
    s.in = p;
    return true;
}

// Consumes the n characters at the input, copying them to out unless out is
// null (a suppressed conversion).  An empty run is a matching failure.
bool take_run(scan_state& s, char* out, int n) {
    if (n == 0) return false;
    if (out) {
        memcpy(out, s.in, static_cast<size_t>(n));
        out[n] = '\0';
    }
    s.in += n;
    return true;
}

// Length of the run of non-blank characters at in, at most width.
int word_run(const char* in, int width) {
    int n = 0;
    while (n < width && in[n] && !is_blank(in[n])) ++n;
    return n;
}

// Length of the run of characters of a %[ set at in, at most width.
int set_run(const char* in, int width, bool negate, const char* set, size_t setLen) {
    if (negate && setLen == 1) {  // the common "%[^c]"
        size_t length = strnlen(in, static_cast<size_t>(width));
        const void* stop = memchr(in, set[0], length);
        return static_cast<int>(stop ? static_cast<const char*>(stop) - in : static_cast<ptrdiff_t>(length));
    }
    int n = 0;
    while (n < width && in[n] && (memchr(set, in[n], setLen) != nullptr) != negate) ++n;
    return n;
}

// The destination of a conversion: the next argument, or none when the
// conversion is suppressed.
template <typename T>
T* destination(va_list* ap, bool suppressed) {
    return suppressed ? nullptr : va_arg(*ap, T*);
}

// Runs one conversion whose '%' has been consumed; *f is advanced past it.
// Returns 1 stored, 0 nothing stored (%n, or a suppressed conversion), -1
// failure.
int convert(scan_state& s, const char** f, va_list* ap) {
    bool suppressed = (**f == '*');
    if (suppressed) ++*f;
    int width = read_width(f);
    char kind = *(*f)++;
    int stored = suppressed ? 0 : 1;
    switch (kind) {
        case 'n':
            *va_arg(*ap, int*) = static_cast<int>(s.in - s.start);
            return 0;
        case 'i': {
            uint32_t ignored = 0;
            uint32_t* out = destination<uint32_t>(ap, suppressed);
            return convert_int(s, out ? out : &ignored) ? stored : -1;
        }
        case 's':
            assert(width > 0 && "sdat_scan: %s needs a width");
            skip_blanks(s);
            return take_run(s, destination<char>(ap, suppressed), word_run(s.in, width)) ? stored : -1;
        case '[': {
            assert(width > 0 && "sdat_scan: %[ needs a width");
            bool negate = false;
            const char* set = nullptr;
            size_t setLen = 0;
            read_set(f, &negate, &set, &setLen);
            int n = set_run(s.in, width, negate, set, setLen);
            return take_run(s, destination<char>(ap, suppressed), n) ? stored : -1;
        }
        default:
            assert(!"sdat_scan: unsupported conversion");
            return -1;
    }
}

// True when the input is used up at a point where a conversion needs it.
bool input_ends_before(const scan_state& s, char kind) {
    const char* p = s.in;
    if (kind != '[')
        while (is_blank(*p)) ++p;
    return *p == '\0';
}

// The conversion letter of the directive at f (after '%', any '*' and the
// width).
char conversion_kind(const char* f) {
    if (*f == '*') ++f;
    while (*f >= '0' && *f <= '9') ++f;
    return *f;
}

enum step { STEP_ON, STEP_MISMATCH, STEP_END_OF_INPUT };

// One directive of the format at *f: blanks, a literal character or a
// conversion.
step run_directive(scan_state& s, const char** f, va_list* ap) {
    if (is_blank(**f)) {
        skip_blanks(s);
        ++*f;
        return STEP_ON;
    }
    if (**f != '%' || (*f)[1] == '%') {
        char literal = **f;
        *f += (literal == '%') ? 2 : 1;
        if (literal == '%') skip_blanks(s);
        if (*s.in == '\0') return STEP_END_OF_INPUT;
        if (*s.in != literal) return STEP_MISMATCH;
        ++s.in;
        return STEP_ON;
    }
    ++*f;
    char kind = conversion_kind(*f);
    if (kind != 'n' && input_ends_before(s, kind)) return STEP_END_OF_INPUT;
    int r = convert(s, f, ap);
    if (r < 0) return STEP_MISMATCH;
    s.stored += r;
    return STEP_ON;
}

}  // namespace

int sdat_scan(const char* text, const char* format, ...) {
    scan_state s{text, text, 0};
    va_list ap;
    va_start(ap, format);
    step last = STEP_ON;
    for (const char* f = format; *f && last == STEP_ON;) last = run_directive(s, &f, &ap);
    va_end(ap);
    return (last == STEP_END_OF_INPUT && s.stored == 0) ? -1 : s.stored;
}

const char* sdat_scan_int(const char* text, uint32_t* value) {
    scan_state s{text, text, 0};
    if (input_ends_before(s, 'i') || !convert_int(s, value)) return nullptr;
    return s.in;
}
