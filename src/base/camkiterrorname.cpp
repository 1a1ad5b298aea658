// Naming of the error log files: splitting the base name the host gives and
// choosing which of the five numbered files to write next.
#define CK_SOURCE "camkiterrorlog"
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "base/camkiterrorlog_internal.h"

namespace {

bool stops_scan(char c) { return c == '.' || c == '/' || isdigit((unsigned char)c); }

void copy_prefix(char* out, const char* text, size_t len) {
    memcpy(out, text, len);
    out[len] = '\0';
}

// Decimal value of text[0..len), saturated to the range of ci_s32.
ci_s32 parse_digits(const char* text, size_t len) {
    ci_s64 value = 0;
    for (size_t i = 0; i < len && value <= INT32_MAX; ++i) value = value * 10 + (text[i] - '0');
    return value > INT32_MAX ? INT32_MAX : (ci_s32)value;
}

struct FileRecord {
    osal_time_t written;
    ci_s32 number;
};

// Collects (last write, number) of the existing files numbered 0..4.
int collect_records(const char* base, const char* ext, FileRecord* records) {
    const char* slash = strrchr(base, '/');
    const char* name = slash ? slash + 1 : base;
    char dir[CI_MAX_PATH];
    char pattern[CI_MAX_PATH];
    if (slash) {
        if ((size_t)(name - base) >= sizeof dir) return 0;
        copy_prefix(dir, base, (size_t)(name - base));
    } else {
        strcpy(dir, ".");
    }
    int n = snprintf(pattern, sizeof pattern, "%s*%s", name, ext);
    if (n < 0 || (size_t)n >= sizeof pattern) return 0;
    osal_findfile* search = osal_open_find_file(dir);
    if (!search) return 0;
    int count = 0;
    size_t nameLen = strlen(name);
    for (int found = osal_find_first_file(search, pattern); found && count < CI_ERRORLOG_MAX_FILES;
         found = osal_find_next_file(search)) {
        long number = strtol(search->cFileName + nameLen, nullptr, 10);
        if (number < 0 || number >= CI_ERRORLOG_MAX_FILES) continue;
        records[count++] = FileRecord{search->ftLastWriteTime, (ci_s32)number};
    }
    osal_close_find_file(search);
    return count;
}

ci_s32 oldest_number(const FileRecord* records, int count) {
    const FileRecord* oldest = &records[0];
    for (int i = 1; i < count; ++i) {
        if (osal_filetime_older(records[i].written, oldest->written)) oldest = &records[i];
    }
    return oldest->number;
}

ci_s32 smallest_unused(const FileRecord* records, int count) {
    for (ci_s32 number = 0; number < CI_ERRORLOG_MAX_FILES; ++number) {
        bool used = false;
        for (int i = 0; i < count; ++i) used = used || records[i].number == number;
        if (!used) return number;
    }
    return 0;
}

}  // namespace

void _FragmentErrorFileName(const char* name, ci_string base, ci_s32* number, ci_string ext) {
    *number = 0;
    if (!name || !*name) {
        snprintf(base, CI_STRING_LEN, "%s%cerror_", osal_userHomeDir(), '/');
        strcpy(ext, ".txt");
        return;
    }
    size_t len = strnlen(name, CI_STRING_LEN - 1);
    size_t i = len - 1;
    while (i > 0 && !stops_scan(name[i])) --i;
    size_t cut = len;
    ext[0] = '\0';
    if (name[i] == '.') {
        copy_prefix(ext, name + i, len - i);
        cut = i;
    } else if (name[i] == '/') {
        strcpy(ext, ".txt");
    }
    size_t start = cut;
    while (start > 0 && isdigit((unsigned char)name[start - 1])) --start;
    *number = parse_digits(name + start, cut - start);
    copy_prefix(base, name, start);
}

ci_s32 _findErrorFileOrder(const char* base, const char* ext) {
    FileRecord records[CI_ERRORLOG_MAX_FILES];
    int count = collect_records(base, ext, records);
    if (count == 0) return 0;
    if (count == CI_ERRORLOG_MAX_FILES) return oldest_number(records, count);
    return smallest_unused(records, count);
}
