// Large blocks of zeroed memory (see bulk_memory.h).
#include "sensor/bulk_memory.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

const size_t kHugePage = size_t{2} << 20;

void prefault(void* base, size_t size) {
#ifdef MADV_POPULATE_WRITE
    if (madvise(base, size, MADV_POPULATE_WRITE) == 0) return;
#endif
    const long page = sysconf(_SC_PAGESIZE);
    const size_t step = page > 0 ? static_cast<size_t>(page) : 4096;
    for (size_t at = 0; at < size; at += step) static_cast<volatile char*>(base)[at] = 0;
}

}  // namespace

void* bulk_map(size_t bytes, size_t* size) {
    *size = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    if (bytes == 0 || *size < bytes) return nullptr;
    void* base = mmap(nullptr, *size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) return nullptr;
    madvise(base, *size, MADV_HUGEPAGE);
    prefault(base, *size);
    return base;
}

void bulk_unmap(void* block, size_t size) {
    if (block) munmap(block, size);
}
