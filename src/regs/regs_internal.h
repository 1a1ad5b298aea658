// Helpers shared by the files of the register-access module only (lookup,
// cache and read/write core).  Other modules use camkit_private.h.
#pragma once

#include <cassert>
#include <functional>

#include "core/camkit_private.h"
#include "sensor/sensor_traits.h"

// ---------------------------------------------------------------------------
// Name and address index of a sensor description (camkit_reg_index.cpp).
//
// The description records cannot grow fields, so the index lives beside them
// in a process-wide table keyed by the description.  An entry is valid while
// the description's (regs, num_regs, addr_space) are those it was built
// from; otherwise it is rebuilt on the next use.  Whoever frees a
// description's tables drops its index first (_freeSensorRegs does), so that
// new tables at recycled addresses are never mistaken for the old ones.  When
// the index cannot be built (out of memory) the lookups fall back to a linear
// scan with the same answers.
// ---------------------------------------------------------------------------

// Builds (or refreshes) the index of a description ahead of its first use.
void _regIndexBuild(const ci_sensor_t* sensor);

// Index of the first register (in file order) whose name equals name,
// ignoring case; -1 when there is none.
ci_s32 _regIndexFindName(const ci_sensor_t* sensor, const char* name);

// Index of the first register (in file order) at address addr whose address
// space matches (type, space) by the address-space match rule; -1 when there
// is none.  The type is taken as a raw number because some callers probe
// with values that are not address types.
ci_s32 _regIndexFindAddr(ci_camera_t* camera, ci_u32 addr, ci_u32 space, ci_u32 type);

// The address-space match rule with the wanted type as a raw number.
int _addrSpaceMatchRaw(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_u32 type, ci_u32 value);

// Registers whose presence tells which MCU protocol a sensor of a generic
// type speaks.  The index notes once which of them a description has, so
// that the protocol, asked for on every register access, costs no lookups.
enum : ci_u32 {
    CK_MARK_VARIABLE_DATA0 = 1u << 0,        // "MCU_VARIABLE_DATA0"
    CK_MARK_PHYSICAL_ADDR_ACCESS = 1u << 1,  // "PHYSICAL_ADDR_ACCESS"
    CK_MARK_DATA_0 = 1u << 2,                // "MCU_DATA_0"
};
// The marker registers a description has (0 without registers).
ci_u32 _regIndexMarkers(const ci_sensor_t* sensor);

// Registers whose reads or writes change the tracked MCU access state.
enum : ci_u32 {
    CK_ROLE_ACCESS_CTL_STAT = 1u << 0,          // "ACCESS_CTL_STAT"
    CK_ROLE_ADVANCED_BASE = 1u << 1,            // "ADVANCED_BASE"
    CK_ROLE_MCU_ADDRESS = 1u << 2,              // "MCU_ADDRESS"
    CK_ROLE_PHYSICAL_ADDR_ACCESS = 1u << 3,     // "PHYSICAL_ADDR_ACCESS"
    CK_ROLE_PHYSICAL_ADDRESS_ACCESS = 1u << 4,  // "PHYSICAL_ADDRESS_ACCESS"
    CK_ROLE_LOGICAL_ADDRESS_ACCESS = 1u << 5,   // "LOGICAL_ADDRESS_ACCESS"
};
// The role of a register name (0 for none; compared ignoring case).
ci_u32 _regRoleOfName(const char* name);
// The roles of a record: noted in the index for the description's own
// registers, compared by name for any other record.
ci_u32 _regRoles(const ci_sensor_t* sensor, const ci_reg_data_t* reg);

// Index of a record inside a description's register array, or -1 when it
// is not one of them (a temporary record, another description's).
static inline ci_s32 _regIndexOfRecord(const ci_sensor_t* sensor, const ci_reg_data_t* reg) {
    if (!sensor->regs || sensor->num_regs <= 0 || !reg) {
        return -1;
    }
    // std::less gives a total order even for pointers into different arrays.
    const std::less<const ci_reg_data_t*> before;
    const ci_reg_data_t* first = sensor->regs;
    if (before(reg, first) || !before(reg, first + sensor->num_regs)) {
        return -1;
    }
    return (ci_s32)(reg - first);
}

// ---------------------------------------------------------------------------
// Register cache internals (camkit_cache_*.cpp).  All expect the camera lock
// to be held (or the camera to be in set-up).
// ---------------------------------------------------------------------------

// Cache entry array and its length for a camera, or nullptr/0 without a cache.
_regCache* _regCacheEntries(ci_camera_t* camera, ci_s32* count);

// Index of a record inside its camera's sensor description, or -1 when the
// record is not one of the description's registers (a temporary record).
ci_s32 _regCacheIndexOfRecord(ci_camera_t* camera, const ci_reg_data_t* reg);

// ci_GetRegCacheValueReg without taking the lock.
ci_s32 _regCacheGetReg(ci_camera_t* camera, const ci_reg_data_t* reg, ci_u32* val);

// Sets flag on the cache entry at index; nothing without a cache or for an
// index outside it.  Unlike the functions above, it takes the register lock.
void _regCacheMarkEntry(ci_camera_t* camera, ci_s32 index, ci_u32 flag);

// ---------------------------------------------------------------------------
// Read/write core internals.
// ---------------------------------------------------------------------------

// Holds the camera's register lock for the lifetime of the object (what
// _getRegisterLock and _releaseRegisterLock do, inline).  The camera must
// have its context.
class RegisterLock {
public:
    explicit RegisterLock(ci_camera_t* camera) : lock_(lockOf(camera)) { osal_enter_critical_section(lock_); }
    ~RegisterLock() { osal_leave_critical_section(lock_); }
    RegisterLock(const RegisterLock&) = delete;
    RegisterLock& operator=(const RegisterLock&) = delete;

private:
    static osal_mutex* lockOf(ci_camera_t* camera) {
        assert(camera && camera->context);
        return &_ctx(camera)->criticalSection;
    }

    osal_mutex* lock_;
};

// The MCU's mapped windows (style 55's, and style 71's at 0xE000) lie in
// 0x8000..0xFFFF: a plain register elsewhere never shows MCU memory without
// a port, so a read (which never asks the port) need not resolve aliases.
static inline bool _inMappedWindows(ci_u32 addr) {
    return addr >= 0x8000u && addr <= 0xFFFFu;
}

// Address type of a register record (CI_REG_ADDR without an address space).
static inline ci_addr_type _regType(const ci_reg_data_t* reg) {
    return reg->addr_space ? reg->addr_space->type : CI_REG_ADDR;
}

// Joins count words (most significant first, each dataBits wide) into one
// value, and splits a value into count such words.
ci_u32 _joinWords(const ci_u32* words, ci_u32 count, ci_u32 dataBits);
void _splitWords(ci_u32 value, ci_u32 count, ci_u32 dataBits, ci_u32* words);

// Sensor types whose MCU shows its SFRs through the advanced-base window
// (MCU style 71).
bool _advancedBaseType(ci_u32 sensorType);
