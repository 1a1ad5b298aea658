// Large blocks of zeroed memory: on huge pages where the system has them, a
// few faults instead of one per 4 KiB page.  Used for the register arenas
// and for the text of large sensor-data files.
#pragma once

#include <stddef.h>

// The granule in which bulk_populate faults memory in (a huge page).
enum { BULK_STEP = 2 << 20 };

// A block of at least `bytes`, faulted in at once; *size receives its real
// size.  nullptr when it cannot be mapped.
void* bulk_map(size_t bytes, size_t* size);
// The same, reserved only: the caller faults parts in with bulk_populate
// before it uses them (a page cleared just before it is written is still in
// the cache when the writes come), and parts never used cost nothing.
void* bulk_reserve(size_t bytes, size_t* size);
// Faults in [at, at + bytes) of a reserved block, zeroed.
void bulk_populate(void* at, size_t bytes);
void bulk_unmap(void* block, size_t size);
