// Reading a section of an INI file, and the one-key-per-section profile
// lookup built on it.
#define CK_SOURCE "osal"
#include <stdlib.h>
#include <string.h>

#include "base/base.h"

namespace {

constexpr size_t kMaxLine = 4096;
constexpr size_t kProfileBuffer = 65536;

// Reads one line of at most kMaxLine characters; the rest of a longer line
// is skipped.  Returns false at end of file.
bool read_line(FILE* file, char* line) {
    if (!fgets(line, kMaxLine + 1, file)) return false;
    if (!strchr(line, '\n')) {
        int c;
        while ((c = fgetc(file)) != EOF && c != '\n') {
        }
    }
    return true;
}

// A header line begins with '[' and contains ']'; its name is the trimmed
// text between them (cut into line).
const char* header_name(char* line) {
    if (line[0] != '[') return nullptr;
    char* close = strchr(line, ']');
    if (!close) return nullptr;
    *close = '\0';
    return osal_trim(line + 1);
}

bool find_section(FILE* file, char* line, const char* section) {
    while (read_line(file, line)) {
        const char* name = header_name(osal_trim(line));
        if (name && osal_stricmp(name, section) == 0) return true;
    }
    return false;
}

// Appends the kept lines up to the next header, each with its terminator,
// and the final terminator of the list.  Returns the bytes written.
size_t copy_section(FILE* file, char* line, char* buffer, size_t size) {
    size_t used = 0;
    while (read_line(file, line)) {
        if (header_name(osal_trim(line))) break;
        size_t len = remove_sec_whitespace(line);
        if (len == 0) continue;
        int64_t left = (int64_t)size - 2 - (int64_t)used;
        if (left < 0) break;
        size_t n = len < (size_t)left ? len : (size_t)left;
        memcpy(buffer + used, line, n);
        buffer[used + n] = '\0';
        used += n + 1;
    }
    buffer[used++] = '\0';
    return used;
}

void copy_bounded(char* out, size_t max, const char* text) {
    size_t len = strnlen(text, max - 1);
    memcpy(out, text, len);
    out[len] = '\0';
}

}  // namespace

size_t osal_getsection(const char* section, char* buffer, size_t size, const char* fileName) {
    if (!section || !buffer || !fileName || size < 1) return 0;
    buffer[0] = '\0';
    FILE* file = fopen(fileName, "r");
    if (!file) return 0;
    char* line = static_cast<char*>(malloc(kMaxLine + 1));
    size_t used = 0;
    if (line && find_section(file, line, section)) used = copy_section(file, line, buffer, size);
    free(line);
    fclose(file);
    return used;
}

// Only the first entry of the section is examined, and it matches when it
// begins with the key: configuration files read this way hold one key per
// section.
size_t osal_getprivateprofilestring(const char* section, const char* key, const char* defaultValue, char* out,
                                    size_t string_max, const char* fileName) {
    if (!out || string_max == 0) return 0;
    const char* value = defaultValue ? defaultValue : "";
    char* entries = static_cast<char*>(malloc(kProfileBuffer));
    if (entries && key && osal_getsection(section, entries, kProfileBuffer, fileName) > 0 &&
        osal_strnicmp(entries, key, strlen(key)) == 0) {
        const char* eq = strchr(entries, '=');
        if (eq) value = eq + 1;
    }
    copy_bounded(out, string_max, value);
    free(entries);
    return strlen(out);
}

int osal_scan_sections(const char* fileName, osal_section_visitor visit, void* user) {
    if (!fileName || !visit) return 0;
    FILE* file = fopen(fileName, "r");
    if (!file) return 0;
    char* line = static_cast<char*>(malloc(kMaxLine + 1));
    bool inSection = false;
    while (line && read_line(file, line)) {
        const char* name = header_name(osal_trim(line));
        if (name) {
            visit(user, name, nullptr);
            inSection = true;
        } else if (inSection && remove_sec_whitespace(line) > 0) {
            visit(user, nullptr, line);
        }
    }
    const int ok = line != nullptr;
    free(line);
    fclose(file);
    return ok;
}
