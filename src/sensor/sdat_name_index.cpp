// Open-addressing hash of register names folded to upper case.
#define CK_SOURCE "sensor_data"
#include "sensor/sdat_name_index.h"

#include <stdlib.h>

namespace {

// Folds ASCII letters only, as osal_stricmp compares.
ci_u32 folded_hash(const char* name) {
    ci_u32 h = 2166136261u;  // FNV-1a
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(name); *p; ++p) {
        const unsigned char c = *p;
        h ^= static_cast<ci_u32>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
        h *= 16777619u;
    }
    return h;
}

}  // namespace

int sdat_name_index_init(sdat_name_index* index, ci_s32 capacity) {
    ci_u32 size = 16;
    while (size < 2u * static_cast<ci_u32>(capacity) && size < 0x40000000u) size *= 2;
    index->slots = static_cast<sdat_name_slot*>(malloc(size * sizeof *index->slots));
    index->mask = size - 1;
    if (!index->slots) return 0;
    for (ci_u32 i = 0; i < size; ++i) index->slots[i] = sdat_name_slot{-1, 0};
    return 1;
}

void sdat_name_index_free(sdat_name_index* index) {
    free(index->slots);
    index->slots = nullptr;
}

ci_s32 sdat_name_index_find(const sdat_name_index* index, const ci_reg_data_t* regs, const char* name) {
    const ci_u32 hash = folded_hash(name);
    for (ci_u32 slot = hash & index->mask;; slot = (slot + 1) & index->mask) {
        const sdat_name_slot& s = index->slots[slot];
        if (s.index < 0) return -1;
        if (s.hash == hash && osal_stricmp(regs[s.index].unique_desc, name) == 0) return s.index;
    }
}

void sdat_name_index_add(sdat_name_index* index, const ci_reg_data_t* regs, ci_s32 i) {
    const ci_u32 hash = folded_hash(regs[i].unique_desc);
    ci_u32 slot = hash & index->mask;
    while (index->slots[slot].index >= 0) slot = (slot + 1) & index->mask;
    index->slots[slot] = sdat_name_slot{i, hash};
}
