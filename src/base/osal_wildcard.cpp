// File-name and register-name wildcards.
//
// '?' matches any one character and '*' at the end of the pattern matches
// whatever is left.  A '*' inside the pattern jumps to the FIRST place where
// the following literal segment (up to the next '*') occurs and never
// reconsiders that choice, so "*AB" does not match "xABxAB".  Letters are
// compared without regard to case and the whole name must be consumed.
#define CK_SOURCE "osal"
#include <ctype.h>

#include "base/base.h"

namespace {

bool same_char(char p, char c) {
    return p == '?' || tolower((unsigned char)p) == tolower((unsigned char)c);
}

// Does the segment (pattern up to the next '*' or its end) match at name?
bool segment_matches_at(const char* segment, const char* name) {
    for (; *segment && *segment != '*'; ++segment, ++name) {
        if (!*name || !same_char(*segment, *name)) return false;
    }
    return true;
}

// First position in name where the segment matches, or nullptr.
const char* find_segment(const char* segment, const char* name) {
    for (;; ++name) {
        if (segment_matches_at(segment, name)) return name;
        if (!*name) return nullptr;
    }
}

}  // namespace

int osal_wildcard_match(const char* pattern, const char* name) {
    if (!pattern || !name) return 0;
    while (*pattern) {
        if (*pattern == '*') {
            while (*pattern == '*') ++pattern;
            if (!*pattern) return 1;
            name = find_segment(pattern, name);
            if (!name) return 0;
            continue;
        }
        if (!*name || !same_char(*pattern, *name)) return 0;
        ++pattern;
        ++name;
    }
    return *name == '\0';
}
