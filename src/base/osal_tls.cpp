// Thread-local storage: every thread owns two pointer slots, empty when the
// thread starts.  A caller-owned index variable names one slot; it is
// assigned on first use from the calling thread's free slots.
#define CK_SOURCE "osal"
#include <stdlib.h>
#include <string.h>

#include "base/base.h"

namespace {

OSAL_THREAD_LOCAL void* t_slots[OSAL_TLS_SLOTS] = {};

// Picks the last empty slot of the calling thread, or OSAL_TLS_NONE.
ci_u32 pick_free_slot() {
    ci_u32 chosen = OSAL_TLS_NONE;
    for (ci_u32 i = 0; i < OSAL_TLS_SLOTS; ++i) {
        if (!t_slots[i]) chosen = i;
    }
    return chosen;
}

void* new_block(ci_u32 count, size_t size, const void* init_data) {
    void* block = calloc(count ? count : 1, size ? size : 1);
    if (!block || !init_data) return block;
    for (ci_u32 i = 0; i < count; ++i) memcpy(static_cast<char*>(block) + i * size, init_data, size);
    return block;
}

}  // namespace

void* osal_alloc_thread_local(ci_u32* index, ci_u32 count, size_t size, const void* init_data) {
    if (!index) return nullptr;
    if (*index == OSAL_TLS_UNASSIGNED) *index = pick_free_slot();
    if (*index >= OSAL_TLS_SLOTS) return nullptr;
    void*& slot = t_slots[*index];
    if (!slot) slot = new_block(count, size, init_data);
    return slot;
}

void* osal_get_thread_local(ci_u32 index) {
    return index < OSAL_TLS_SLOTS ? t_slots[index] : nullptr;
}

void osal_free_thread_local(ci_u32* index) {
    if (!index || *index >= OSAL_TLS_SLOTS) return;
    free(t_slots[*index]);
    t_slots[*index] = nullptr;
}
