// Directory searches: open a directory, then walk the entries whose names
// match a wildcard pattern, one at a time.
#define CK_SOURCE "osal"
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "base/base.h"

namespace {

// Room for the directory, a '/' and the entry name.
constexpr size_t kEntryPathMax = 2 * CI_MAX_PATH + 2;

bool fits_path(const char* text) { return strnlen(text, CI_MAX_PATH) < CI_MAX_PATH; }

bool stat_match(osal_findfile* search) {
    char path[kEntryPathMax];
    snprintf(path, sizeof path, "%s/%s", search->cDirName, search->cFileName);
    struct stat st;
    if (stat(path, &st) != 0) return false;
    search->ftLastWriteTime = st.st_mtime;
    return true;
}

}  // namespace

osal_findfile* osal_open_find_file(char* directory) {
    if (!directory || !fits_path(directory)) return nullptr;
    to_unix_path(directory);
    osal_findfile* search = static_cast<osal_findfile*>(calloc(1, sizeof(osal_findfile)));
    if (!search) return nullptr;
    search->dir = opendir(directory);
    if (!search->dir) {
        free(search);
        return nullptr;
    }
    strcpy(search->cDirName, directory);
    search->hFind = OSAL_INVALID_HANDLE;
    return search;
}

int osal_find_first_file(osal_findfile* search, char* pattern) {
    if (!search || !pattern || !search->dir || !fits_path(pattern)) return 0;
    to_unix_path(pattern);
    if (pattern != search->cFileSubset) strcpy(search->cFileSubset, pattern);
    while (struct dirent* entry = readdir(search->dir)) {
        if (!osal_wildcard_match(search->cFileSubset, entry->d_name)) continue;
        snprintf(search->cFileName, sizeof search->cFileName, "%s", entry->d_name);
        return stat_match(search) ? 1 : 0;
    }
    return 0;
}

int osal_find_next_file(osal_findfile* search) {
    return search ? osal_find_first_file(search, search->cFileSubset) : 0;
}

void osal_close_find_file(osal_findfile* search) {
    if (!search) return;
    if (search->dir) closedir(search->dir);
    free(search);
}
