// Creating and removing directories.
#define CK_SOURCE "osal"
#include <dirent.h>
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/base.h"

int osal_create_directory(const char* path) {
    if (!path) {
        errno = EINVAL;
        return -1;
    }
    struct stat st;
    if (stat(path, &st) == 0) {
        if (S_ISDIR(st.st_mode)) return 0;
        errno = ENOTDIR;
        return -1;
    }
    return mkdir(path, 0777) == 0 ? 0 : -1;
}

namespace {

bool is_dot_entry(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// Removes one entry of a directory being emptied.  Symbolic links are
// unlinked, never followed.
int remove_entry(const char* path) {
    struct stat st;
    if (lstat(path, &st) != 0) return -1;
    if (S_ISDIR(st.st_mode)) return osal_remove_directory(path);
    return unlink(path);
}

int remove_contents(DIR* dir, const char* path) {
    char entryPath[PATH_MAX];
    while (struct dirent* entry = readdir(dir)) {
        if (is_dot_entry(entry->d_name)) continue;
        int n = snprintf(entryPath, sizeof entryPath, "%s/%s", path, entry->d_name);
        if (n < 0 || (size_t)n >= sizeof entryPath) {
            errno = ENAMETOOLONG;
            return -1;
        }
        int rc = remove_entry(entryPath);
        if (rc != 0) return rc;
    }
    return 0;
}

}  // namespace

int osal_remove_directory(const char* path) {
    if (!path) return 1;
    DIR* dir = opendir(path);
    if (!dir) return -1;
    int rc = remove_contents(dir, path);
    closedir(dir);
    return rc != 0 ? rc : rmdir(path);
}
