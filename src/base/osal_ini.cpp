// Line cleaning for INI sections: trimming, comments and "key = value"
// normalisation.
#define CK_SOURCE "osal"
#include <ctype.h>
#include <string.h>

#include "base/base.h"

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool is_trim_blank(char c) { return is_blank(c) || c == '\r' || c == '\n'; }

// Ends the line at the first ';' or "//", whichever comes first.
void cut_comment(char* line) {
    for (char* p = line; *p; ++p) {
        if (*p == ';' || (p[0] == '/' && p[1] == '/')) {
            *p = '\0';
            return;
        }
    }
}

// Removes trailing blanks and characters that cannot be printed.
size_t trim_right_unprintable(char* text, size_t len) {
    while (len > 0 && (is_blank(text[len - 1]) || !isprint((unsigned char)text[len - 1]))) --len;
    text[len] = '\0';
    return len;
}

// Copies the key (white space removed) and the '=' from src to dst; returns
// where the value starts in src.
const char* squeeze_key(const char* src, char** dst) {
    char* out = *dst;
    while (*src != '=') {
        if (!isspace((unsigned char)*src)) *out++ = *src;
        ++src;
    }
    *out++ = '=';
    *dst = out;
    return src + 1;
}

}  // namespace

char* osal_trim(char* text) {
    if (!text) return text;
    size_t start = 0;
    while (is_trim_blank(text[start])) ++start;
    size_t len = strlen(text + start);
    while (len > 0 && is_trim_blank(text[start + len - 1])) --len;
    memmove(text, text + start, len);
    text[len] = '\0';
    return text;
}

// Cleans one section line in place into "key=value"; returns its length, or
// 0 for a line to be ignored (empty, comment only, or without '=').
size_t remove_sec_whitespace(char* line) {
    if (!line) return 0;
    cut_comment(line);
    const char* src = line;
    while (is_blank(*src)) ++src;
    size_t len = trim_right_unprintable(const_cast<char*>(src), strlen(src));
    if (len == 0 || !memchr(src, '=', len)) {
        line[0] = '\0';
        return 0;
    }
    char* out = line;
    src = squeeze_key(src, &out);
    while (is_blank(*src)) ++src;
    size_t valueLen = strlen(src);
    memmove(out, src, valueLen + 1);
    return (size_t)(out - line) + valueLen;
}
