// Line and section reading of the sectioned sensor-data format, and the
// syntax-error report every reader of that format uses.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_find.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

const char* skip_blanks(const char* p) {
    while (*p && isspace(static_cast<unsigned char>(*p))) ++p;
    return p;
}

// Blank lines and whole-line comments (';' or "//" as first non-blank).
bool is_ignorable(const char* line) {
    const char* p = skip_blanks(line);
    return *p == '\0' || *p == ';' || (p[0] == '/' && p[1] == '/');
}

bool is_ignorable(const sdat_span& line) {
    const char* p = line.text;
    const char* end = p + line.length;
    while (p < end && sdat_is_blank(*p)) ++p;
    return p == end || *p == ';' || (end - p >= 2 && p[0] == '/' && p[1] == '/');
}

// The two sources of lines.  read_chunk works as fgets: it copies up to
// size - 1 characters, through the first line end, and fails only at the
// end of the input.  discard_rest consumes the rest of a physical line.
bool read_chunk(FILE* fp, char* buffer, ci_s32 size) { return fgets(buffer, size, fp) != nullptr; }

void discard_rest(FILE* fp) {
    int c;
    while ((c = getc(fp)) != EOF && c != '\n') {
    }
}

bool read_chunk(sdat_text* text, char* buffer, ci_s32 size) {
    if (size <= 0 || text->pos >= text->size) return false;
    const char* p = text->data + text->pos;
    size_t n = text->size - text->pos;
    if (n > static_cast<size_t>(size) - 1) n = static_cast<size_t>(size) - 1;
    const void* end = memchr(p, '\n', n);
    if (end) n = static_cast<size_t>(static_cast<const char*>(end) - p) + 1;
    memcpy(buffer, p, n);
    buffer[n] = '\0';
    text->pos += n;
    return true;
}

void discard_rest(sdat_text* text) {
    const char* p = text->data + text->pos;
    const void* end = memchr(p, '\n', text->size - text->pos);
    text->pos = end ? static_cast<size_t>(static_cast<const char*>(end) - text->data) + 1 : text->size;
}

// Removes the line end ("\n", "\r\n") in place.  Returns false when the
// buffer holds no line end (the line was cut, or is the last one).
bool strip_line_end(char* buffer) {
    size_t len = strlen(buffer);
    bool complete = len > 0 && buffer[len - 1] == '\n';
    if (complete) buffer[--len] = '\0';
    if (len > 0 && buffer[len - 1] == '\r') buffer[--len] = '\0';
    return complete;
}

// One physical line into buffer, cut to size - 1 characters, line end
// removed; false at the end of the input.
template <typename Source>
bool physical_line(Source* source, char* buffer, ci_s32 size) {
    if (!read_chunk(source, buffer, size)) return false;
    if (!strip_line_end(buffer)) discard_rest(source);
    return true;
}

template <typename Source>
ci_s32 next_content_line(Source* source, char* buffer, ci_s32 size) {
    ci_s32 consumed = 0;
    while (physical_line(source, buffer, size)) {
        ++consumed;
        if (!is_ignorable(buffer)) return consumed;
    }
    buffer[0] = '\0';
    return 0;
}

// The next physical line of the text in place, when physical_line would
// give it whole: it ends within size - 1 characters and holds no NUL (a
// NUL would end the copied line early).  Line end removed.
bool physical_line_in_place(sdat_text* text, ci_s32 size, sdat_span* view) {
    if (size <= 1 || text->pos >= text->size) return false;
    const char* p = text->data + text->pos;
    size_t n = text->size - text->pos;
    if (n > static_cast<size_t>(size) - 1) n = static_cast<size_t>(size) - 1;
    const char* end = sdat_find_char(p, p + n, '\n');
    if (end == p + n) return false;
    size_t length = static_cast<size_t>(end - p);
    if (text->nulFree < 0) text->nulFree = memchr(p, '\0', text->size - text->pos) == nullptr;
    if (!text->nulFree && memchr(p, '\0', length)) return false;
    text->pos += length + 1;
    if (length > 0 && p[length - 1] == '\r') --length;
    *view = sdat_span{p, length};
    return true;
}

}  // namespace

ci_s32 get_line(FILE* fp, char* buffer, ci_s32 size) { return next_content_line(fp, buffer, size); }

ci_s32 sdat_text_line(sdat_text* text, char* buffer, ci_s32 size) { return next_content_line(text, buffer, size); }

int sdat_next_line(sdat_reader* r, ci_s32 limit) {
    if (limit > SDAT_LINE_MAX) limit = SDAT_LINE_MAX;
    ci_s32 consumed = sdat_text_line(&r->text, r->line, limit);
    if (consumed == 0) return 0;
    r->lineNo += consumed;
    return 1;
}

int sdat_next_view(sdat_reader* r, ci_s32 limit, sdat_span* view) {
    if (limit > SDAT_LINE_MAX) limit = SDAT_LINE_MAX;
    ci_s32 consumed = 0;
    for (;;) {
        if (physical_line_in_place(&r->text, limit, view)) {
            ++consumed;
            if (is_ignorable(*view)) continue;
        } else {
            if (!physical_line(&r->text, r->line, limit)) {
                r->line[0] = '\0';
                return 0;
            }
            ++consumed;
            if (is_ignorable(r->line)) continue;
            *view = sdat_span{r->line, strlen(r->line)};
        }
        r->lineNo += consumed;
        return 1;
    }
}

void sdat_hold_view(sdat_reader* r, const sdat_span* view) {
    if (view->text == r->line) return;
    memcpy(r->line, view->text, view->length);
    r->line[view->length] = '\0';
}

int sdat_view_ends_section(const sdat_span* view) {
    return view->length >= 5 && view->text[0] == '[' && osal_strnicmp(view->text, "[END]", 5) == 0;
}

int end_section(const char* line) { return line[0] == '[' && osal_strnicmp(line, "[END]", 5) == 0; }

int get_section(sdat_reader* r, char* name, size_t size) {
    char header[CI_STRING_LEN];
    while (sdat_next_line(r, SDAT_LINE_MAX)) {
        // A stray "[END]" between sections is not a header.
        if (end_section(r->line)) continue;
        if (sdat_scan(r->line, "[%255[^]]]", header) == 1) {
            snprintf(name, size, "%s", osal_trim(header));
            return 1;
        }
    }
    return 0;
}

void parse_unknown(sdat_reader* r) {
    while (sdat_next_line(r, SDAT_LINE_MAX) && !end_section(r->line)) {
    }
}

void ci_syntaxerror(ci_error_code code, const char* line, const char* fileName, ci_s32 lineNumber) {
    char message[SDAT_LINE_MAX + 2 * CI_MAX_PATH];
    snprintf(message, sizeof message, "%s in %s:%d", line ? line : "", fileName ? fileName : "",
             static_cast<int>(lineNumber));
    CK_ERR(code, message);
}

ci_error_code sdat_syntaxerror(const sdat_reader* r, ci_error_code code) {
    ci_syntaxerror(code, r->line, r->fileName, r->lineNo);
    return code;
}
