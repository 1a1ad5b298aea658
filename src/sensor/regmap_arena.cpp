// Arenas of register tables (see regmap_arena.h).
#define CK_SOURCE "sensor_data"
#include "sensor/regmap_arena.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <functional>
#include <mutex>
#include <vector>

#include "sensor/bulk_memory.h"

namespace {

// The largest mapping kept after its description is freed, for the next
// one (identification reads one description after another).
const size_t kKeptSpare = size_t{64} << 20;

struct Mapping {
    void* base;
    size_t size;
};

struct Arena {
    ci_reg_data_t* regs;        // the key: the description's register array
    std::vector<Mapping> maps;  // the newest last; older ones still hold bitfields
    ci_bitfield_t* bitfields;   // the bitfield area of the newest mapping
    size_t capacity;            // slots in it
    size_t used;                // slots committed
    size_t ready;               // slots [used, ready) are known to be zero
};

std::mutex g_lock;
std::vector<Arena> g_arenas;
Mapping g_spare{nullptr, 0};

size_t round_up(size_t n, size_t to) { return (n + to - 1) / to * to; }

bool inside(const Mapping& m, const void* p) {
    const char* base = static_cast<const char*>(m.base);
    std::less<const void*> before;
    return !before(p, base) && before(p, base + m.size);
}

Mapping map_fresh(size_t bytes) {
    Mapping m{nullptr, 0};
    m.base = bulk_map(bytes, &m.size);
    return m;
}

// A mapping of at least `bytes`: the spare when it is large enough (*fresh
// false: it holds old data), else a new one.  Called with g_lock held.
Mapping take_mapping(size_t bytes, bool* fresh) {
    if (g_spare.base && g_spare.size >= bytes) {
        Mapping m = g_spare;
        g_spare = {nullptr, 0};
        *fresh = false;
        return m;
    }
    *fresh = true;
    return map_fresh(bytes);
}

// Keeps the larger of m and the spare for the next description.  Called
// with g_lock held.
void give_back(const Mapping& m) {
    if (m.size <= kKeptSpare && m.size > g_spare.size) {
        if (g_spare.base) bulk_unmap(g_spare.base, g_spare.size);
        g_spare = m;
        return;
    }
    bulk_unmap(m.base, m.size);
}

Arena* find(const ci_reg_data_t* regs) {
    if (!regs) return nullptr;
    for (Arena& a : g_arenas)
        if (a.regs == regs) return &a;
    return nullptr;
}

size_t regs_bytes(size_t regs) { return round_up(regs * sizeof(ci_reg_data_t), 64); }

// Lays out `regs` registers and the bitfield area in m and makes it the
// arena's newest mapping.  The register records are zeroed.
void place(Arena* a, const Mapping& m, size_t regs, bool fresh) {
    const size_t offset = regs_bytes(regs);
    a->maps.push_back(m);
    a->regs = static_cast<ci_reg_data_t*>(m.base);
    if (!fresh) memset(m.base, 0, regs * sizeof(ci_reg_data_t));
    a->bitfields = reinterpret_cast<ci_bitfield_t*>(static_cast<char*>(m.base) + offset);
    a->capacity = (m.size - offset) / sizeof(ci_bitfield_t);
    a->used = 0;
    a->ready = fresh ? a->capacity : 0;
}

// Bytes of a mapping for the counts; 0 when they overflow.
size_t arena_bytes(size_t regs, size_t bitfields) {
    if (regs > SIZE_MAX / 2 / sizeof(ci_reg_data_t) || bitfields > SIZE_MAX / 2 / sizeof(ci_bitfield_t)) return 0;
    return regs_bytes(regs) + bitfields * sizeof(ci_bitfield_t);
}

}  // namespace

ci_reg_data_t* regmap_arena_new(size_t regs, size_t bitfields) {
    const size_t bytes = arena_bytes(regs, bitfields);
    if (regs == 0 || bytes == 0) return nullptr;
    std::lock_guard<std::mutex> hold(g_lock);
    bool fresh = false;
    Mapping m = take_mapping(bytes, &fresh);
    if (!m.base) return nullptr;
    Arena a{};
    place(&a, m, regs, fresh);
    g_arenas.push_back(a);
    return a.regs;
}

ci_reg_data_t* regmap_grow_registers(ci_reg_data_t* regs, size_t used, size_t total, size_t bitfields) {
    if (!regmap_arena_owns(regs)) {
        if (total > SIZE_MAX / sizeof *regs) return nullptr;
        return static_cast<ci_reg_data_t*>(realloc(regs, total * sizeof *regs));
    }
    const size_t bytes = arena_bytes(total, bitfields);
    if (bytes == 0 || used > total) return nullptr;
    std::lock_guard<std::mutex> hold(g_lock);
    Arena* a = find(regs);
    bool fresh = false;
    Mapping m = take_mapping(bytes, &fresh);
    if (!m.base) return nullptr;
    place(a, m, total, fresh);
    memcpy(a->regs, regs, used * sizeof *regs);
    return a->regs;
}

bool regmap_arena_owns(const ci_reg_data_t* regs) {
    std::lock_guard<std::mutex> hold(g_lock);
    return find(regs) != nullptr;
}

ci_bitfield_t* regmap_arena_slots(const ci_reg_data_t* regs, size_t want) {
    std::lock_guard<std::mutex> hold(g_lock);
    Arena* a = find(regs);
    if (!a || want > a->capacity - a->used) return nullptr;
    const size_t end = a->used + want;
    if (end > a->ready) {
        memset(a->bitfields + a->ready, 0, (end - a->ready) * sizeof(ci_bitfield_t));
        a->ready = end;
    }
    return a->bitfields + a->used;
}

void regmap_arena_commit(const ci_reg_data_t* regs, size_t n) {
    std::lock_guard<std::mutex> hold(g_lock);
    Arena* a = find(regs);
    if (a && n <= a->capacity - a->used) a->used += n;
}

bool regmap_arena_free(ci_reg_data_t* regs, ci_s32 num_regs) {
    std::vector<Mapping> maps;
    {
        std::lock_guard<std::mutex> hold(g_lock);
        Arena* a = find(regs);
        if (!a) return false;
        maps.swap(a->maps);
        *a = g_arenas.back();
        g_arenas.pop_back();
    }
    for (ci_s32 i = 0; i < num_regs; ++i) {
        const void* bf = regs[i].bitfield;
        bool ours = false;
        for (const Mapping& m : maps) ours = ours || inside(m, bf);
        if (!ours) free(regs[i].bitfield);
    }
    std::lock_guard<std::mutex> hold(g_lock);
    for (const Mapping& m : maps) give_back(m);
    return true;
}
