// Arenas of register tables (see regmap_arena.h).
#define CK_SOURCE "sensor_data"
#include "sensor/regmap_arena.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "sensor/bulk_memory.h"

namespace {

// The largest mapping kept after its description is freed, for the next
// one (identification reads one description after another).
const size_t kKeptSpare = size_t{256} << 20;

}  // namespace

struct regmap_mapping {
    void* base;
    size_t size;
};

// A part of a mapping, handed out from its start on: `offset` bytes into
// the mapping, `bytes` long.  Bytes [0, ready) of it are zeroed and faulted
// in; the rest is made so only when asked for: a fresh mapping (all zero
// still) is faulted in a huge page of the mapping at a time, a reused one
// is cleared just where the records go.
struct regmap_region {
    char* mapping;
    size_t offset;
    size_t bytes;
    size_t ready;
    bool fresh;

    char* base() const { return mapping + offset; }

    void prepare(size_t end) {
        if (end <= ready) return;
        if (fresh) {
            const size_t step = BULK_STEP;
            const size_t upTo = (offset + end + step - 1) / step * step - offset;
            end = upTo < bytes ? upTo : bytes;
            bulk_populate(base() + ready, end - ready);
        } else {
            memset(base() + ready, 0, end - ready);
        }
        ready = end;
    }
};

struct regmap_arena {
    ci_reg_data_t* regs;               // the key: the description's register array
    std::vector<regmap_mapping> maps;  // the newest last; older ones still hold bitfields
    size_t regCapacity;                // records the register part of the newest mapping holds
    regmap_region regArea;             // that part
    regmap_region fieldArea;           // and its bitfield part
    size_t capacity;                   // bitfield slots in the newest mapping
    size_t used;                       // slots committed
};

namespace {

using Mapping = regmap_mapping;
using Region = regmap_region;
using Arena = regmap_arena;

std::mutex g_lock;
std::vector<std::unique_ptr<Arena>> g_arenas;  // each stays where it is while it lives
Mapping g_spare{nullptr, 0};

size_t round_up(size_t n, size_t to) { return (n + to - 1) / to * to; }

bool inside(const Mapping& m, const void* p) {
    const char* base = static_cast<const char*>(m.base);
    std::less<const void*> before;
    return !before(p, base) && before(p, base + m.size);
}

Mapping map_fresh(size_t bytes) {
    Mapping m{nullptr, 0};
    m.base = bulk_reserve(bytes, &m.size);
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
    for (const std::unique_ptr<Arena>& a : g_arenas)
        if (a->regs == regs) return a.get();
    return nullptr;
}

size_t regs_bytes(size_t regs) { return round_up(regs * sizeof(ci_reg_data_t), 64); }

// Lays out `regs` registers and the bitfield area in m and makes it the
// arena's newest mapping; nothing in it is ready yet.
void place(Arena* a, const Mapping& m, size_t regs, bool fresh) {
    const size_t offset = regs_bytes(regs);
    char* base = static_cast<char*>(m.base);
    a->maps.push_back(m);
    a->regs = static_cast<ci_reg_data_t*>(m.base);
    a->regCapacity = regs;
    a->regArea = Region{base, 0, offset, 0, fresh};
    a->fieldArea = Region{base, offset, m.size - offset, 0, fresh};
    a->capacity = (m.size - offset) / sizeof(ci_bitfield_t);
    a->used = 0;
}

ci_bitfield_t* field_slots(const Arena& a) { return reinterpret_cast<ci_bitfield_t*>(a.fieldArea.base()); }

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
    auto a = std::make_unique<Arena>();
    place(a.get(), m, regs, fresh);
    g_arenas.push_back(std::move(a));
    return g_arenas.back()->regs;
}

regmap_arena* regmap_arena_of(const ci_reg_data_t* regs) {
    std::lock_guard<std::mutex> hold(g_lock);
    return find(regs);
}

ci_reg_data_t* regmap_arena_record(regmap_arena* a, size_t i) {
    if (i >= a->regCapacity) return nullptr;
    a->regArea.prepare((i + 1) * sizeof(ci_reg_data_t));
    return a->regs + i;
}

ci_bitfield_t* regmap_arena_take(regmap_arena* a, size_t want) {
    if (want > a->capacity - a->used) return nullptr;
    a->fieldArea.prepare((a->used + want) * sizeof(ci_bitfield_t));
    return field_slots(*a) + a->used;
}

void regmap_arena_keep(regmap_arena* a, size_t n) {
    if (n <= a->capacity - a->used) a->used += n;
}

ci_reg_data_t* regmap_arena_register(ci_reg_data_t* regs, size_t i) {
    std::lock_guard<std::mutex> hold(g_lock);
    Arena* a = find(regs);
    return a ? regmap_arena_record(a, i) : regs + i;
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
    if (total <= a->regCapacity && bitfields <= a->capacity - a->used) {
        a->regArea.prepare(total * sizeof *regs);
        return regs;
    }
    bool fresh = false;
    Mapping m = take_mapping(bytes, &fresh);
    if (!m.base) return nullptr;
    place(a, m, total, fresh);
    a->regArea.prepare(total * sizeof *regs);
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
    return a ? regmap_arena_take(a, want) : nullptr;
}

void regmap_arena_commit(const ci_reg_data_t* regs, size_t n) {
    std::lock_guard<std::mutex> hold(g_lock);
    Arena* a = find(regs);
    if (a) regmap_arena_keep(a, n);
}

bool regmap_arena_free(ci_reg_data_t* regs, ci_s32 num_regs) {
    std::vector<Mapping> maps;
    {
        std::lock_guard<std::mutex> hold(g_lock);
        Arena* a = find(regs);
        if (!a) return false;
        maps.swap(a->maps);
        for (std::unique_ptr<Arena>& held : g_arenas)
            if (held.get() == a) held.swap(g_arenas.back());
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
