// Opening files, numbered file names and saving raw image buffers.
#define CK_SOURCE "osal"
#include <limits.h>
#include <string.h>
#include <sys/stat.h>

#include "base/base.h"

namespace {

// Numbers tried before giving up on finding an unused name.
constexpr int kMaxFileNumber = 100000;

bool file_exists(const char* path) {
    struct stat st;
    return stat(path, &st) == 0;
}

// Offset of the extension ('.' after the last path delimiter), or the end.
size_t extension_offset(const char* name) {
    size_t len = strlen(name);
    for (size_t i = len; i > 0; --i) {
        char c = name[i - 1];
        if (c == '.') return i - 1;
        if (osal_dirdelim(c)) break;
    }
    return len;
}

}  // namespace

int fopen_s(FILE** file, const char* name, const char* mode) {
    if (!file) return -1;
    *file = (name && mode) ? fopen(name, mode) : nullptr;
    return *file ? 0 : -1;
}

// "img.raw" becomes the first of "img0.raw", "img1.raw", ... that does not
// exist yet.  The name is left as it is when no numbered name fits.
void osal_next_file_name(char* name, size_t size) {
    if (!name || size == 0) return;
    size_t dot = strnlen(name, size) < size ? extension_offset(name) : size;
    if (dot >= size) return;
    char candidate[PATH_MAX];
    for (int n = 0; n < kMaxFileNumber; ++n) {
        int len = snprintf(candidate, sizeof candidate, "%.*s%d%s", (int)dot, name, n, name + dot);
        if (len < 0 || (size_t)len >= size || (size_t)len >= sizeof candidate) return;
        if (!file_exists(candidate)) {
            memcpy(name, candidate, (size_t)len + 1);
            return;
        }
    }
}

int osal_saveImage(const char* name, const void* buffer, size_t n) {
    if (!name) return 0;
    ci_string fileName;
    snprintf(fileName, sizeof fileName, "%s", name);
    osal_next_file_name(fileName, sizeof fileName);
    FILE* file = fopen(fileName, "wb");
    if (!file) return 0;
    if (buffer && n) fwrite(buffer, 1, n, file);
    fclose(file);
    return 0;
}
