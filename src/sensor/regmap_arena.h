// Register tables of parsed descriptions held in one arena each.
//
// A large description holds tens of megabytes of fixed-size register and
// bitfield records.  Allocated one bitfield array at a time they cost a page
// fault every few records and are handed back to the system at each free.
// The reader instead sizes one mapping for all the registers of a
// description and all their bitfields (its counting pass gives both counts),
// faults it in a huge page at a time just ahead of the records being
// written, and hands out the bitfield arrays from it.  Sizes may be upper
// bounds: the part never reached is address space only.
//
// The public records cannot say where their arrays live, so the arenas are
// known by their register array in a private table: a description whose
// `regs` is not in the table (one a host built from its own heap arrays, or
// one read into heap arrays) is freed element by element as always.  Inside
// an arena-owned table a register may still hold a heap bitfield array (the
// far-sensor merge copies bitfields with malloc); freeing tells the two
// apart by address.
#pragma once

#include <stddef.h>

#include "core/camkit_private.h"

// A table of `regs` registers with room for `bitfields` bitfields, or
// nullptr when no mapping can be made (the caller then uses the heap).  Its
// records are made ready (zeroed) one by one with regmap_arena_register.
ci_reg_data_t* regmap_arena_new(size_t regs, size_t bitfields);

// Record i of a table, zeroed if the table is an arena's and the record
// was never handed out; nullptr when i is past the arena's registers.  For
// a heap table, simply &regs[i].
ci_reg_data_t* regmap_arena_register(ci_reg_data_t* regs, size_t i);

// The arena of an arena-owned table (nullptr for any other table), for the
// reader that fills the description: the four calls below take no lock.
// The handle holds until the table is grown or freed, and only the thread
// filling the description may use it.
typedef struct regmap_arena regmap_arena;
regmap_arena* regmap_arena_of(const ci_reg_data_t* regs);
// As regmap_arena_register, regmap_arena_slots and regmap_arena_commit.
ci_reg_data_t* regmap_arena_record(regmap_arena* arena, size_t i);
ci_bitfield_t* regmap_arena_take(regmap_arena* arena, size_t want);
void regmap_arena_keep(regmap_arena* arena, size_t n);

// Grows a register table to `total` records, keeping the first `used`, with
// room for `bitfields` more bitfields; the records from `used` on are
// zeroed for an arena-owned table (an arena with room enough keeps its
// table in place).  Works for arena-owned and heap tables (realloc) alike;
// nullptr when out of memory (the old table stays).
ci_reg_data_t* regmap_grow_registers(ci_reg_data_t* regs, size_t used, size_t total, size_t bitfields);

// True when the table is the register array of an arena.
bool regmap_arena_owns(const ci_reg_data_t* regs);

// The next `want` bitfield slots of the table's arena, zeroed, or nullptr
// when the arena has fewer left (or the table is not arena-owned).  The
// slots stay free until regmap_arena_commit takes the first n of them; a
// caller that wrote slots it does not commit zeroes them again.
ci_bitfield_t* regmap_arena_slots(const ci_reg_data_t* regs, size_t want);
void regmap_arena_commit(const ci_reg_data_t* regs, size_t n);

// Frees an arena-owned table of num_regs registers: heap bitfield arrays
// among them are freed, the arena released.  Returns false (and does
// nothing) when the table is not arena-owned.
bool regmap_arena_free(ci_reg_data_t* regs, ci_s32 num_regs);
