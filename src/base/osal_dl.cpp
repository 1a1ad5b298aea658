// Shared libraries.  A plain file name is looked up in the working
// directory, never on the system's library search path.
#define CK_SOURCE "osal"
#include <dlfcn.h>
#include <limits.h>

#include "base/base.h"

HMODULE osal_LoadLibrary(const char* name) {
    if (!name || !*name) return nullptr;
    char path[PATH_MAX];
    const char* prefix = (name[0] == '.' || name[0] == '/') ? "" : "./";
    int n = snprintf(path, sizeof path, "%s%s", prefix, name);
    if (n < 0 || (size_t)n >= sizeof path) return nullptr;
    HMODULE handle = dlopen(path, RTLD_LAZY);
    if (!handle) {
        const char* why = dlerror();
        CK_LOG(CI_LOG_DEBUG, why ? why : path);
    }
    return handle;
}

void osal_FreeLibrary(HMODULE handle) {
    if (handle) dlclose(handle);
}

void* osal_GetProcAddress(HMODULE handle, const char* name) {
    if (!handle || !name) return nullptr;
    return dlsym(handle, name);
}
