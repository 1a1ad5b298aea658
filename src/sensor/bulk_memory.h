// Large blocks of zeroed memory faulted in at once: on huge pages where the
// system has them, a few faults instead of one per 4 KiB page.  Used for
// the register arenas and for the text of large sensor-data files.
#pragma once

#include <stddef.h>

// A block of at least `bytes`; *size receives its real size.  nullptr when
// it cannot be mapped.
void* bulk_map(size_t bytes, size_t* size);
void bulk_unmap(void* block, size_t size);
