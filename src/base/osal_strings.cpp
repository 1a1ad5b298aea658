// Case-insensitive comparison and bounded string helpers.
#define CK_SOURCE "osal"
#include <ctype.h>
#include <string.h>

#include "base/base.h"

namespace {

// ASCII case folding as a table: no locale lookup per byte.
struct FoldTable {
    unsigned char lower[256];
    constexpr FoldTable() : lower() {
        for (int c = 0; c < 256; ++c) lower[c] = (unsigned char)(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    }
};
constexpr FoldTable kFold;

// Compares at most n bytes.  Equal bytes go on; unequal bytes are compared
// lower-cased.  The result is the difference of the last bytes compared.
int compare_nocase(const char* a, const char* b, size_t n) {
    if (a == b) return 0;
    if (!a) return -1;
    if (!b) return 1;
    const unsigned char* pa = (const unsigned char*)a;
    const unsigned char* pb = (const unsigned char*)b;
    for (size_t i = 0; i < n; ++i) {
        const unsigned char ca = pa[i], cb = pb[i];
        if (ca != cb) {
            const int la = kFold.lower[ca], lb = kFold.lower[cb];
            if (la != lb) return la - lb;
        } else if (ca == 0) {
            return 0;
        }
    }
    return 0;
}

}  // namespace

int osal_stricmp(const char* a, const char* b) { return compare_nocase(a, b, (size_t)-1); }

int osal_strnicmp(const char* a, const char* b, size_t n) { return compare_nocase(a, b, n); }

// Appends at most count characters of source.  When the result would not
// fit, the destination is emptied and 1 returned, so that a truncated text
// is never mistaken for a complete one.
int osal_strncat_s(char* destination, size_t capacity, const char* source, size_t count) {
    if (!destination || capacity == 0) return 1;
    size_t used = strnlen(destination, capacity);
    size_t add = source ? strnlen(source, count) : 0;
    if (!source || used + add + 1 > capacity) {
        destination[0] = '\0';
        return 1;
    }
    memcpy(destination + used, source, add);
    destination[used + add] = '\0';
    return 0;
}

// Copies source; a text longer than the capacity is cut to fit.
int osal_strcpy_s(char* destination, size_t capacity, const char* source) {
    if (!destination || !source) return -1;
    if (capacity == 0) return 0;
    size_t len = strnlen(source, capacity - 1);
    memcpy(destination, source, len);
    destination[len] = '\0';
    return 0;
}

// Appends source; what does not fit in the capacity is cut off.
int strcat_s(char* destination, size_t capacity, const char* source) {
    if (!destination || !source) return -1;
    size_t used = strnlen(destination, capacity);
    if (used >= capacity) return 0;
    size_t len = strnlen(source, capacity - used - 1);
    memcpy(destination + used, source, len);
    destination[used + len] = '\0';
    return 0;
}
