// Paths, file attributes and the working directory.
#define CK_SOURCE "osal"
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/base.h"

void to_unix_path(char* text) {
    if (!text) return;
    for (; *text; ++text) {
        if (*text == '\\') *text = '/';
    }
}

int osal_dirdelim(char c) { return c == '\\' || c == '/'; }

int osal_filetime_older(osal_time_t t1, osal_time_t t2) { return t1 < t2; }

int osal_get_file_attributes(char* path) {
    if (!path) return -1;
    to_unix_path(path);
    struct stat st;
    if (stat(path, &st) != 0) return -1;
    return (int)st.st_mode;
}

// Resolves name to an absolute path without symbolic links.  The result is
// bounded by maximum so that a short buffer is never overrun.
int osal_fullpath(const char* name, char* resolved, size_t maximum) {
    if (!name || !resolved) return EINVAL;
    char* full = realpath(name, nullptr);
    if (!full) return errno;
    size_t len = strlen(full);
    int rc = 1;
    if (len < maximum) {
        memcpy(resolved, full, len + 1);
    } else {
        rc = ENAMETOOLONG;
    }
    free(full);
    return rc;
}

size_t osal_getcwd(char* buffer, size_t size) {
    if (!buffer || size == 0 || !getcwd(buffer, size)) return 0;
    return strlen(buffer);
}

int osal_setcwd(const char* path) { return path && chdir(path) == 0 ? 1 : 0; }

int osal_unlink(const char* path) { return path ? unlink(path) : -1; }

void osal_expandpath(char* path, size_t size) {
    // Paths are used exactly as given on this platform.
    (void)path;
    (void)size;
}

const char* osal_userHomeDir(void) {
    // Deliberately the unexpanded text: the default log directory is "~"
    // relative to the working directory.
    return "~";
}
