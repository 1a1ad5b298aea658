// Named globals.  On this platform a named block is private to the process:
// every call hands out a fresh zeroed block; the name only has to be valid.
#define CK_SOURCE "osal"
#include <stdlib.h>

#include "base/base.h"

void* osal_alloc_global(const char* name, size_t size, osal_global_handle* handle) {
    void* block = nullptr;
    if (name && *name) block = calloc(1, size ? size : 1);
    if (handle) *handle = block;
    return block;
}

void osal_free_global(osal_global_handle handle, void* ptr) {
    (void)handle;
    free(ptr);
}
