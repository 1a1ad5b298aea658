// Line and section reading of the sectioned sensor-data format, and the
// syntax-error report every reader of that format uses.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include "core/camkit_private.h"
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

// Consumes the rest of a physical line that did not fit the buffer.
void discard_rest(FILE* fp) {
    int c;
    while ((c = getc(fp)) != EOF && c != '\n') {
    }
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

}  // namespace

ci_s32 get_line(FILE* fp, char* buffer, ci_s32 size) {
    ci_s32 consumed = 0;
    while (fgets(buffer, size, fp)) {
        ++consumed;
        if (!strip_line_end(buffer)) discard_rest(fp);
        if (!is_ignorable(buffer)) return consumed;
    }
    buffer[0] = '\0';
    return 0;
}

int sdat_next_line(sdat_reader* r, ci_s32 limit) {
    if (limit > SDAT_LINE_MAX) limit = SDAT_LINE_MAX;
    ci_s32 consumed = get_line(r->fp, r->line, limit);
    if (consumed == 0) return 0;
    r->lineNo += consumed;
    return 1;
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

void sdat_syntaxerror(const sdat_reader* r, ci_error_code code) {
    ci_syntaxerror(code, r->line, r->fileName, r->lineNo);
}
