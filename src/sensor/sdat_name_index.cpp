// Open-addressing hash of register names folded to upper case.
#define CK_SOURCE "sensor_data"
#include "sensor/sdat_name_index.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

namespace {

// Eight bytes of a name with the case bit (0x20) of every byte cleared:
// names equal but for the case of ASCII letters give equal words.  Other
// bytes may collide too, which costs a comparison only.
uint64_t folded_word(const char* p, size_t n) {
    uint64_t word = 0;
    memcpy(&word, p, n);
    return word & ~UINT64_C(0x2020202020202020);
}

// The folded word of the last length - at (one to seven) characters.  A
// name of eight characters or more gives them from one load that ends with
// the name, shifted down over the characters already hashed: a word put
// together byte by byte in memory and read back whole waits for the bytes'
// stores.
uint64_t tail_word(const char* name, size_t at, size_t length) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    if (length >= 8) return folded_word(name + length - 8, 8) >> (8 * (8 - (length - at)));
#endif
    return folded_word(name + at, length - at);
}

uint64_t mix(uint64_t h, uint64_t word) {
    h ^= word;
    h *= UINT64_C(0x9E3779B97F4A7C15);
    return h ^ (h >> 29);
}

// An empty table of `size` slots (a power of two), or nullptr.
sdat_name_slot* empty_slots(ci_u32 size) {
    auto* slots = static_cast<sdat_name_slot*>(malloc(size * sizeof(sdat_name_slot)));
    if (slots)
        for (ci_u32 i = 0; i < size; ++i) slots[i] = sdat_name_slot{-1, 0};
    return slots;
}

void put(sdat_name_slot* slots, ci_u32 mask, const sdat_name_slot& entry) {
    ci_u32 slot = entry.hash & mask;
    while (slots[slot].index >= 0) slot = (slot + 1) & mask;
    slots[slot] = entry;
}

// Doubles the table; the slots keep each name's hash, so no name is read.
bool grow(sdat_name_index* index) {
    const ci_u32 size = index->mask + 1;
    if (size >= 0x40000000u) return false;
    sdat_name_slot* slots = empty_slots(2 * size);
    if (!slots) return false;
    for (ci_u32 i = 0; i < size; ++i)
        if (index->slots[i].index >= 0) put(slots, 2 * size - 1, index->slots[i]);
    free(index->slots);
    index->slots = slots;
    index->mask = 2 * size - 1;
    return true;
}

}  // namespace

int sdat_name_index_init(sdat_name_index* index, ci_s32 capacity) {
    ci_u32 size = 16;
    while (size < 2u * static_cast<ci_u32>(capacity) && size < 0x40000000u) size *= 2;
    index->slots = empty_slots(size);
    index->mask = size - 1;
    index->count = 0;
    return index->slots != nullptr;
}

void sdat_name_index_free(sdat_name_index* index) {
    free(index->slots);
    index->slots = nullptr;
}

ci_u32 sdat_name_hash(const char* name) { return sdat_name_hash_n(name, strlen(name)); }

ci_u32 sdat_name_hash_n(const char* name, size_t length) {
    uint64_t h = length;
    size_t at = 0;
    for (; length - at >= 8; at += 8) h = mix(h, folded_word(name + at, 8));
    if (at < length) h = mix(h, tail_word(name, at, length));
    h = mix(h, 0);
    return static_cast<ci_u32>(h ^ (h >> 32));
}

ci_s32 sdat_name_index_lookup(const sdat_name_index* index, const ci_reg_data_t* regs, const char* name, ci_u32 hash) {
    for (ci_u32 slot = hash & index->mask;; slot = (slot + 1) & index->mask) {
        const sdat_name_slot& s = index->slots[slot];
        if (s.index < 0) return -1;
        if (s.hash == hash && osal_stricmp(regs[s.index].unique_desc, name) == 0) return s.index;
    }
}

int sdat_name_index_insert(sdat_name_index* index, ci_s32 i, ci_u32 hash) {
    if (2 * (index->count + 1) > index->mask + 1 && !grow(index) && index->count == index->mask) return 0;
    put(index->slots, index->mask, sdat_name_slot{i, hash});
    ++index->count;
    return 1;
}

ci_s32 sdat_name_index_find(const sdat_name_index* index, const ci_reg_data_t* regs, const char* name) {
    return sdat_name_index_lookup(index, regs, name, sdat_name_hash(name));
}

int sdat_name_index_add(sdat_name_index* index, const ci_reg_data_t* regs, ci_s32 i) {
    return sdat_name_index_insert(index, i, sdat_name_hash(regs[i].unique_desc));
}
