// Large blocks of zeroed memory (see bulk_memory.h).
#include "sensor/bulk_memory.h"

#include <sys/mman.h>
#include <unistd.h>

void bulk_populate(void* at, size_t bytes) {
#ifdef MADV_POPULATE_WRITE
    if (madvise(at, bytes, MADV_POPULATE_WRITE) == 0) return;
#endif
    const long page = sysconf(_SC_PAGESIZE);
    const size_t step = page > 0 ? static_cast<size_t>(page) : 4096;
    for (size_t offset = 0; offset < bytes; offset += step) static_cast<volatile char*>(at)[offset] = 0;
}

void* bulk_reserve(size_t bytes, size_t* size) {
    const size_t step = BULK_STEP;
    *size = (bytes + step - 1) / step * step;
    if (bytes == 0 || *size < bytes) return nullptr;
    void* base = mmap(nullptr, *size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (base == MAP_FAILED) return nullptr;
    madvise(base, *size, MADV_HUGEPAGE);
    return base;
}

void* bulk_map(size_t bytes, size_t* size) {
    void* base = bulk_reserve(bytes, size);
    if (base) bulk_populate(base, *size);
    return base;
}

void bulk_unmap(void* block, size_t size) {
    if (block) munmap(block, size);
}
