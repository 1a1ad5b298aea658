// A case-insensitive index of register names, used while a registers
// section is read to find duplicates without a quadratic search.
#pragma once

#include "core/camkit_private.h"

typedef struct sdat_name_index {
    ci_s32* slots;  // register indices, -1 for an empty slot
    ci_u32 mask;    // slot count - 1 (a power of two)
} sdat_name_index;

// Room for `capacity` names; returns 0 when out of memory.
int sdat_name_index_init(sdat_name_index* index, ci_s32 capacity);
void sdat_name_index_free(sdat_name_index* index);
// Index of the register called name (ignoring case), or -1.
ci_s32 sdat_name_index_find(const sdat_name_index* index, const ci_reg_data_t* regs, const char* name);
// Adds regs[i] under its unique_desc.
void sdat_name_index_add(sdat_name_index* index, const ci_reg_data_t* regs, ci_s32 i);
