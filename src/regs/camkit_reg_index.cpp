// Name and address index of sensor descriptions.
//
// Lookups keep their first-match, case-insensitive meaning, but big sensors
// must not make them slow, so each description gets two open-addressing
// tables built in one pass over its registers:
//  - names: case-folded name hash -> index of the first register of that name
//    (with the head of the name, so that most lookups read no record);
//  - addresses: register address -> the run of register indices at that
//    address, in file order, each with its address space (the candidates are
//    then checked against the wanted address space by the caller's rule
//    without reading their records);
// and notes which of the MCU marker registers the description has and which
// registers play a part in the MCU access-state tracking (their roles), so
// that neither costs a name comparison on the access path.
// The tables live in a process-wide map keyed by the description, guarded by
// a reader/writer lock; a stale entry (the description's register array,
// count, address-space table or its array of values changed) is rebuilt on
// use.  The names, addresses and spaces of the records themselves are fixed
// once a description is loaded.  Each thread also
// remembers the last index it used, valid while the table's generation (bumped
// at every change of the table) is the one it saw, so that repeated lookups
// on one description take no lock at all.
#define CK_SOURCE "camkit_reg"
#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "regs/regs_internal.h"

namespace {

// A name slot keeps the head of the name, so that a lookup of a name that
// fits there reads the slot alone and not the register record (records are
// large: on a big sensor each one read is a cache miss of its own).
constexpr size_t kNameHead = 20;

// Two slots per cache line.
struct alignas(32) NameSlot {
    ci_u32 hash;
    ci_u32 length;  // of the name, so that most mismatches need no comparison
    ci_s32 index;   // -1: empty
    char head[kNameHead];
};

// A register that lives at an address: its index and address space, so that
// the candidates of an address are checked without reading their records.
struct AddrCandidate {
    ci_s32 index;
    const ci_addr_space_val_t* space;
};

// The run of candidates at one address; the first is kept in the slot
// itself (most addresses have one register).
struct AddrSlot {
    ci_u32 addr;
    ci_s32 count;  // 0: empty
    ci_s32 start;  // of the run in RegIndex::byAddr
    AddrCandidate first;
};

struct RegIndex {
    const ci_reg_data_t* regs = nullptr;
    ci_s32 numRegs = 0;
    const ci_addr_space_t* addrSpace = nullptr;
    const ci_addr_space_val_t* spaceVals = nullptr;
    ci_s32 numSpaceVals = 0;
    std::vector<NameSlot> names;
    std::vector<AddrSlot> addrs;
    std::vector<AddrCandidate> byAddr;
    // The few registers with a part in the tracking (most have none), so that
    // asking after any register reads one short list, not a table entry.
    std::vector<std::pair<ci_s32, ci_u32>> roles;  // register index, CK_ROLE_* bits
    ci_u32 markers = 0;

    // The index keeps the records' address-space pointers, so a new array of
    // address-space values makes it stale too.
    bool matches(const ci_sensor_t* sensor) const {
        return regs == sensor->regs && numRegs == sensor->num_regs && addrSpace == sensor->addr_space &&
               (!addrSpace || (spaceVals == addrSpace->addr_space_val && numSpaceVals == addrSpace->num_vals));
    }
};

using IndexPtr = std::shared_ptr<const RegIndex>;

std::shared_mutex gIndexLock;
std::unordered_map<const ci_sensor_t*, IndexPtr> gIndexes;
std::atomic<ci_u64> gGeneration{0};

// The thread's last index.  The part read on every lookup is plain data, so
// that it costs no thread-local initialisation check; the owning pointer
// beside it keeps that index alive while the thread may still use it.
struct RecentIndex {
    const ci_sensor_t* sensor;
    ci_u64 generation;
    const RegIndex* index;
};
OSAL_THREAD_LOCAL RecentIndex tRecent = {nullptr, 0, nullptr};
thread_local IndexPtr tRecentOwner;

// Eight bytes of a text as one word.
inline ci_u64 word8(const char* p) {
    ci_u64 word;
    memcpy(&word, p, 8);
    return word;
}

// Spreads every bit of h over the low bits the tables use.
inline ci_u32 finish(ci_u64 h) {
    h ^= h >> 33;
    h *= 0xFF51AFD7ED558CCDull;
    h ^= h >> 33;
    h *= 0xC4CEB9FE1A85EC53ull;
    h ^= h >> 33;
    return (ci_u32)h;
}

// Hash of a name that is the same for names equal without regard to case:
// bit 5 of every byte (the case bit of ASCII letters) is cleared before
// mixing.  Other characters may collide that way; candidates are always
// compared in full.  Eight bytes are mixed at a time; the last (partial)
// group of a name of eight bytes or more is the word that ends the name,
// overlapping the one before.
inline ci_u32 nameHash(const char* name, size_t len) {
    constexpr ci_u64 kFold = 0xDFDFDFDFDFDFDFDFull;
    constexpr ci_u64 kMul = 0x9E3779B97F4A7C15ull;
    ci_u64 h = kMul ^ len;
    // Each step is a bijection of h; finish() then spreads the high bits.
    auto mix = [&h](ci_u64 word) { h = (h ^ (word & kFold)) * kMul; };
    if (len < 8) {
        ci_u64 tail = 0;
        for (size_t k = 0; k < len; ++k) {
            tail |= (ci_u64)(ci_u8)name[k] << (8 * k);
        }
        mix(tail);
    } else {
        size_t i = 0;
        for (; i + 8 <= len; i += 8) {
            mix(word8(name + i));
        }
        if (i < len) {
            mix(word8(name + len - 8));
        }
    }
    return finish(h);
}

// Register addresses are often all even or multiples of four: every bit is
// mixed into the low ones.
inline ci_u32 addrHash(ci_u32 addr) {
    return finish(addr);
}

// A power of two with at least `spare` times as many slots as entries.
size_t tableSize(ci_s32 entries, double spare) {
    size_t size = 16;
    while ((double)size < (double)entries * spare) {
        size <<= 1;
    }
    return size;
}

bool sameName(const ci_reg_data_t& reg, const char* name) {
    return osal_stricmp(reg.unique_desc, name) == 0;
}

size_t nameLength(const ci_reg_data_t& reg) {
    return strnlen(reg.unique_desc, sizeof reg.unique_desc);
}

// Byte equality of two short texts, eight bytes at a time (names are a few
// dozen bytes: a library call would cost more than the comparison).
bool sameBytes(const char* a, const char* b, size_t len) {
    if (len < 8) {
        return memcmp(a, b, len) == 0;
    }
    size_t i = 0;
    for (; i + 8 <= len; i += 8) {
        if (word8(a + i) != word8(b + i)) {
            return false;
        }
    }
    return i == len || word8(a + len - 8) == word8(b + len - 8);
}

// Names of equal length: callers mostly spell a name as the file does, so
// the exact comparison usually settles it before any case folding.
bool sameNameOfLength(const ci_reg_data_t& reg, const char* name, size_t len) {
    return sameBytes(reg.unique_desc, name, len) || osal_strnicmp(reg.unique_desc, name, len) == 0;
}

// The names of the registers the access-state tracking watches.
constexpr struct {
    ci_u32 role;
    const char* name;
} kRoleNames[] = {
    {CK_ROLE_ACCESS_CTL_STAT, "ACCESS_CTL_STAT"},
    {CK_ROLE_ADVANCED_BASE, "ADVANCED_BASE"},
    {CK_ROLE_MCU_ADDRESS, "MCU_ADDRESS"},
    {CK_ROLE_PHYSICAL_ADDR_ACCESS, "PHYSICAL_ADDR_ACCESS"},
    {CK_ROLE_PHYSICAL_ADDRESS_ACCESS, "PHYSICAL_ADDRESS_ACCESS"},
    {CK_ROLE_LOGICAL_ADDRESS_ACCESS, "LOGICAL_ADDRESS_ACCESS"},
};

void buildRoles(RegIndex& index) {
    for (ci_s32 i = 0; i < index.numRegs; ++i) {
        if (const ci_u32 roles = _regRoleOfName(index.regs[i].unique_desc)) {
            index.roles.emplace_back(i, roles);
        }
    }
}

void buildNames(RegIndex& index) {
    index.names.assign(tableSize(index.numRegs, 1.5), NameSlot{0, 0, -1, {}});
    const size_t mask = index.names.size() - 1;
    for (ci_s32 i = 0; i < index.numRegs; ++i) {
        const ci_reg_data_t& reg = index.regs[i];
        const size_t len = nameLength(reg);
        const ci_u32 h = nameHash(reg.unique_desc, len);
        size_t slot = h & mask;
        // The first occurrence of a name wins: a later duplicate is not stored.
        while (index.names[slot].index >= 0) {
            const NameSlot& s = index.names[slot];
            if (s.hash == h && s.length == len && sameNameOfLength(index.regs[s.index], reg.unique_desc, len)) {
                break;
            }
            slot = (slot + 1) & mask;
        }
        if (index.names[slot].index < 0) {
            NameSlot& s = index.names[slot];
            s = NameSlot{h, (ci_u32)len, i, {}};
            memcpy(s.head, reg.unique_desc, std::min(len, kNameHead));
        }
    }
}

void buildAddrs(RegIndex& index) {
    const ci_reg_data_t* regs = index.regs;
    index.byAddr.resize((size_t)index.numRegs);
    for (ci_s32 i = 0; i < index.numRegs; ++i) {
        index.byAddr[(size_t)i] = AddrCandidate{i, regs[i].addr_space};
    }
    std::stable_sort(index.byAddr.begin(), index.byAddr.end(), [regs](const AddrCandidate& a, const AddrCandidate& b) {
        return regs[a.index].reg_addr < regs[b.index].reg_addr;
    });
    index.addrs.assign(tableSize(index.numRegs, 2.0), AddrSlot{0, 0, 0, AddrCandidate{-1, nullptr}});
    const size_t mask = index.addrs.size() - 1;
    for (ci_s32 start = 0; start < index.numRegs;) {
        const ci_u32 addr = regs[index.byAddr[(size_t)start].index].reg_addr;
        ci_s32 end = start + 1;
        while (end < index.numRegs && regs[index.byAddr[(size_t)end].index].reg_addr == addr) {
            ++end;
        }
        size_t slot = addrHash(addr) & mask;
        while (index.addrs[slot].count != 0) {
            slot = (slot + 1) & mask;
        }
        index.addrs[slot] = AddrSlot{addr, end - start, start, index.byAddr[(size_t)start]};
        start = end;
    }
}

// The name of the slot equals name (of length len, the slot's length): from
// the head alone when the name fits there.
bool slotNameIs(const RegIndex& index, const NameSlot& s, const char* name, size_t len) {
    if (len <= kNameHead) {
        return sameBytes(s.head, name, len) || osal_strnicmp(s.head, name, len) == 0;
    }
    return sameNameOfLength(index.regs[s.index], name, len);
}

inline ci_s32 probeName(const RegIndex& index, const char* name) {
    const size_t len = strlen(name);
    const ci_u32 h = nameHash(name, len);
    const size_t mask = index.names.size() - 1;
    for (size_t slot = h & mask; index.names[slot].index >= 0; slot = (slot + 1) & mask) {
        const NameSlot& s = index.names[slot];
        if (s.hash == h && s.length == len && slotNameIs(index, s, name, len)) {
            return s.index;
        }
    }
    return -1;
}

// The marker bits of the names find(name) locates (an index >= 0).
template <typename Find>
ci_u32 markersBy(Find find) {
    static const struct {
        ci_u32 bit;
        const char* name;
    } kMarkers[] = {
        {CK_MARK_VARIABLE_DATA0, "MCU_VARIABLE_DATA0"},
        {CK_MARK_PHYSICAL_ADDR_ACCESS, "PHYSICAL_ADDR_ACCESS"},
        {CK_MARK_DATA_0, "MCU_DATA_0"},
    };
    ci_u32 markers = 0;
    for (const auto& marker : kMarkers) {
        if (find(marker.name) >= 0) {
            markers |= marker.bit;
        }
    }
    return markers;
}

// Callers guarantee a register array with at least one record.
IndexPtr makeIndex(const ci_sensor_t* sensor) {
    auto index = std::make_shared<RegIndex>();
    index->regs = sensor->regs;
    index->numRegs = sensor->num_regs;
    index->addrSpace = sensor->addr_space;
    index->spaceVals = sensor->addr_space ? sensor->addr_space->addr_space_val : nullptr;
    index->numSpaceVals = sensor->addr_space ? sensor->addr_space->num_vals : 0;
    buildNames(*index);
    buildAddrs(*index);
    buildRoles(*index);
    index->markers = markersBy([&index](const char* name) { return probeName(*index, name); });
    return index;
}

// The sensor's index when it is current, else null.
IndexPtr currentIndex(const ci_sensor_t* sensor) {
    std::shared_lock<std::shared_mutex> lock(gIndexLock);
    auto found = gIndexes.find(sensor);
    if (found == gIndexes.end() || !found->second || !found->second->matches(sensor)) {
        return nullptr;
    }
    return found->second;
}

// The sensor's current index, built when missing or stale; null when it
// cannot be built.
IndexPtr freshIndex(const ci_sensor_t* sensor) {
    if (IndexPtr index = currentIndex(sensor)) {
        return index;
    }
    try {
        std::unique_lock<std::shared_mutex> lock(gIndexLock);
        IndexPtr& entry = gIndexes[sensor];
        if (!entry || !entry->matches(sensor)) {
            entry = makeIndex(sensor);
            gGeneration.fetch_add(1, std::memory_order_acq_rel);
        }
        return entry;
    } catch (...) {
        return nullptr;
    }
}

const AddrSlot* probeAddr(const RegIndex& index, ci_u32 addr) {
    const size_t mask = index.addrs.size() - 1;
    for (size_t slot = addrHash(addr) & mask; index.addrs[slot].count != 0; slot = (slot + 1) & mask) {
        if (index.addrs[slot].addr == addr) {
            return &index.addrs[slot];
        }
    }
    return nullptr;
}

bool addrCandidate(ci_camera_t* camera, const ci_reg_data_t& reg, ci_u32 addr, ci_u32 space, ci_u32 type) {
    return reg.reg_addr == addr && _addrSpaceMatchRaw(camera, reg.addr_space, type, space);
}

// The registers of the index at an address are those of its run; only their
// address spaces remain to be checked.
ci_s32 firstAt(ci_camera_t* camera, const RegIndex& index, ci_u32 addr, ci_u32 space, ci_u32 type) {
    const AddrSlot* run = probeAddr(index, addr);
    if (!run) {
        return -1;
    }
    for (ci_s32 k = 0; k < run->count; ++k) {
        const AddrCandidate& c = k == 0 ? run->first : index.byAddr[(size_t)(run->start + k)];
        if (_addrSpaceMatchRaw(camera, c.space, type, space)) {
            return c.index;
        }
    }
    return -1;
}

ci_s32 scanName(const ci_sensor_t* sensor, const char* name) {
    for (ci_s32 i = 0; i < sensor->num_regs; ++i) {
        if (sameName(sensor->regs[i], name)) {
            return i;
        }
    }
    return -1;
}

ci_s32 scanAddr(ci_camera_t* camera, ci_u32 addr, ci_u32 space, ci_u32 type) {
    const ci_sensor_t* sensor = camera->sensor;
    for (ci_s32 i = 0; i < sensor->num_regs; ++i) {
        if (addrCandidate(camera, sensor->regs[i], addr, space, type)) {
            return i;
        }
    }
    return -1;
}

// The sensor's current index made the thread's last one; null when it
// cannot be built.  Out of line: the common case below stays small.
__attribute__((noinline)) const RegIndex* refreshRecent(const ci_sensor_t* sensor, ci_u64 generation) {
    IndexPtr index = freshIndex(sensor);
    if (!index) {
        return nullptr;
    }
    tRecent = RecentIndex{sensor, generation, index.get()};
    tRecentOwner = std::move(index);
    return tRecent.index;
}

// The sensor's current index, from the thread's last one when the table has
// not changed since; null when it cannot be built.
inline const RegIndex* indexFor(const ci_sensor_t* sensor) {
    const ci_u64 generation = gGeneration.load(std::memory_order_acquire);
    const RecentIndex& recent = tRecent;
    if (__builtin_expect(recent.sensor == sensor && recent.generation == generation, 1) &&
        recent.index->matches(sensor)) {
        return recent.index;
    }
    return refreshRecent(sensor, generation);
}

// Answers from the index (building it first when needed), else by scanning.
template <typename Query, typename Scan>
auto lookup(const ci_sensor_t* sensor, Query query, Scan scan) -> decltype(scan()) {
    if (const RegIndex* index = indexFor(sensor)) {
        return query(*index);
    }
    return scan();
}

}  // namespace

void _regIndexBuild(const ci_sensor_t* sensor) {
    if (sensor && sensor->regs && sensor->num_regs > 0) {
        freshIndex(sensor);
    }
}

void _regIndexDrop(const ci_sensor_t* sensor) {
    IndexPtr dropped;  // released after the lock
    std::unique_lock<std::shared_mutex> lock(gIndexLock);
    auto found = gIndexes.find(sensor);
    if (found != gIndexes.end()) {
        dropped = std::move(found->second);
        gIndexes.erase(found);
        gGeneration.fetch_add(1, std::memory_order_acq_rel);
    }
}

ci_s32 _regIndexFindName(const ci_sensor_t* sensor, const char* name) {
    if (!sensor || !name || !sensor->regs || sensor->num_regs <= 0) {
        return -1;
    }
    return lookup(
        sensor, [name](const RegIndex& index) { return probeName(index, name); },
        [sensor, name] { return scanName(sensor, name); });
}

ci_s32 _regIndexFindAddr(ci_camera_t* camera, ci_u32 addr, ci_u32 space, ci_u32 type) {
    const ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    if (!sensor || !sensor->regs || sensor->num_regs <= 0) {
        return -1;
    }
    auto query = [=](const RegIndex& index) { return firstAt(camera, index, addr, space, type); };
    return lookup(sensor, query, [=] { return scanAddr(camera, addr, space, type); });
}

ci_u32 _regRoleOfName(const char* name) {
    for (const auto& known : kRoleNames) {
        if (osal_stricmp(name, known.name) == 0) {
            return known.role;
        }
    }
    return 0;
}

ci_u32 _regRoles(const ci_sensor_t* sensor, const ci_reg_data_t* reg) {
    const ci_s32 i = sensor ? _regIndexOfRecord(sensor, reg) : -1;
    if (i >= 0) {
        if (const RegIndex* index = indexFor(sensor)) {
            for (const auto& [at, roles] : index->roles) {
                if (at == i) {
                    return roles;
                }
            }
            return 0;
        }
    }
    return _regRoleOfName(reg->unique_desc);
}

ci_u32 _regIndexMarkers(const ci_sensor_t* sensor) {
    if (!sensor || !sensor->regs || sensor->num_regs <= 0) {
        return 0;
    }
    return lookup(
        sensor, [](const RegIndex& index) { return index.markers; },
        [sensor] { return markersBy([sensor](const char* name) { return scanName(sensor, name); }); });
}
