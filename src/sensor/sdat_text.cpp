// Small text helpers of the sensor-data readers: numbers from the front of a
// text, quoted strings, names, description texts and access keywords.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_find.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

// Finds the n-th (0-based) double-quoted text of source.  An unterminated
// quote runs to the end of the text.  Returns false when there is none.
bool quoted_text(const char* source, int n, const char** begin, size_t* length) {
    const char* p = source;
    for (int i = 0;; ++i) {
        const char* open = strchr(p, '"');
        if (!open) return false;
        const char* close = strchr(open + 1, '"');
        if (i == n) {
            *begin = open + 1;
            *length = close ? static_cast<size_t>(close - open - 1) : strlen(open + 1);
            return true;
        }
        if (!close) return false;
        p = close + 1;
    }
}

void copy_bounded(char* dest, size_t size, const char* source, size_t length) {
    if (size == 0) return;
    if (length >= size) length = size - 1;
    memcpy(dest, source, length);
    dest[length] = '\0';
}

}  // namespace

int extract_val(const char** text, ci_u32* value) {
    int used = 0;
    if (sdat_scan(*text, "%i%n", value, &used) != 1) return 0;
    *text += used;
    return 1;
}

int extract_string(char* dest, size_t size, const char* source) {
    const char* begin = nullptr;
    size_t length = 0;
    if (quoted_text(source, 0, &begin, &length)) {
        copy_bounded(dest, size, begin, length);
        return 1;
    }
    osal_strcpy_s(dest, size, source);
    osal_trim(dest);
    return 0;
}

int StringCopyandCheckSpace(char* dest, const char* source) {
    osal_strcpy_s(dest, CI_STRING_LEN, source);
    osal_trim(dest);
    if (dest[0] == '\0') return 0;
    for (const char* p = dest; *p; ++p)
        if (isspace(static_cast<unsigned char>(*p))) return 0;
    return 1;
}

void sdat_descriptions(const char* remainder, char* desc, char* detail) {
    sdat_descriptions_in(remainder, strlen(remainder), desc, detail);
}

void sdat_descriptions_in(const char* remainder, size_t size, char* desc, char* detail) {
    desc[0] = detail[0] = '\0';
    const char* p = remainder;
    const char* end = remainder + size;
    char* texts[] = {desc, detail};
    for (char* text : texts) {
        const char* open = sdat_find_char(p, end, '"');
        if (open == end) return;
        ++open;
        const char* close = sdat_find_char(open, end, '"');
        sdat_copy_text(text, open, static_cast<size_t>(close - open));
        if (close == end) return;
        p = close + 1;
    }
}

ci_u32 sdat_access(const char* text) {
    if (sdat_has_prefix(text, "RO")) return 0;
    if (sdat_has_prefix(text, "WO")) return 2;
    return 1;
}

// Keywords and name prefixes are ASCII; this runs for every register and
// bitfield, so it avoids the locale-aware comparison.
int sdat_has_prefix(const char* text, const char* prefix) {
    for (; *prefix; ++text, ++prefix) {
        char c = *text;
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (c != *prefix) return 0;
    }
    return 1;
}

const char* sdat_skip_separators(const char* p) {
    while (*p == ' ' || *p == '\t' || *p == ',') ++p;
    return p;
}
