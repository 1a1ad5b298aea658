// A case-insensitive index of register names, used while a registers
// section is read to find duplicates without a quadratic search.
#pragma once

#include "core/camkit_private.h"

// One slot: a register index (-1 for an empty slot) and the hash of its
// name, so that a probe compares names only when the hashes agree (the
// register records are large and mostly out of cache).
typedef struct sdat_name_slot {
    ci_s32 index;
    ci_u32 hash;
} sdat_name_slot;

typedef struct sdat_name_index {
    sdat_name_slot* slots;
    ci_u32 mask;   // slot count - 1 (a power of two)
    ci_u32 count;  // names held; the table doubles when it is half full
} sdat_name_index;

// Room for `capacity` names before the table first grows; returns 0 when
// out of memory.
int sdat_name_index_init(sdat_name_index* index, ci_s32 capacity);
void sdat_name_index_free(sdat_name_index* index);
// The hash the index files a name under (equal for names that differ only
// in the case of ASCII letters).
ci_u32 sdat_name_hash(const char* name);
// The same for the `length` characters at name.
ci_u32 sdat_name_hash_n(const char* name, size_t length);
// The same two calls for a caller that has the name's hash already.
ci_s32 sdat_name_index_lookup(const sdat_name_index* index, const ci_reg_data_t* regs, const char* name, ci_u32 hash);
int sdat_name_index_insert(sdat_name_index* index, ci_s32 i, ci_u32 hash);
// Starts fetching the first slot a lookup of the hash reads.
inline void sdat_name_index_prefetch(const sdat_name_index* index, ci_u32 hash) {
    __builtin_prefetch(&index->slots[hash & index->mask]);
}
// Index of the register called name (ignoring case), or -1.
ci_s32 sdat_name_index_find(const sdat_name_index* index, const ci_reg_data_t* regs, const char* name);
// Adds regs[i] under its unique_desc.  Returns 0 when the table is full and
// cannot grow (out of memory); the name is then not added.
int sdat_name_index_add(sdat_name_index* index, const ci_reg_data_t* regs, ci_s32 i);
