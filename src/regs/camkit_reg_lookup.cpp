// Register and bitfield lookup by name, by name pattern and by address within
// an address space, in the sensor and in the board's chip descriptions (lookups read the description only: no
// device access, no camera lock), and the value of a found register for the
// preset interpreter and identification.
#define CK_SOURCE "camkit_reg"
#include <cassert>
#include <cstdio>

#include "regs/regs_internal.h"

namespace {

ci_reg_data_t* chipLookup(ci_camera_t* camera, ci_s32 chip, const char* name) {
    if (!camera->chip || chip < 0 || chip >= camera->num_chips) {
        return nullptr;
    }
    const ci_chip_t& c = camera->chip[chip];
    for (ci_s32 i = 0; c.regs && i < c.num_regs; ++i) {
        if (osal_stricmp(c.regs[i].unique_desc, name) == 0) {
            return &c.regs[i];
        }
    }
    return nullptr;
}

const char* text(const char* s) {
    return s ? s : "";
}

}  // namespace

ci_reg_data_t* _registerLookup(ci_camera_t* camera, ci_s32 chip, const char* name) {
    if (!camera || !name || !*name) {
        return nullptr;
    }
    if (chip != -1) {
        return chipLookup(camera, chip, name);
    }
    ci_sensor_t* sensor = camera->sensor;
    const ci_s32 index = _regIndexFindName(sensor, name);
    return index >= 0 ? &sensor->regs[index] : nullptr;
}

ci_bitfield_t* _bitfieldLookup(ci_reg_data_t* reg, const char* name) {
    if (!reg || !name || !*name || !reg->bitfield) {
        return nullptr;
    }
    for (ci_s32 i = 0; i < reg->num_bitfields; ++i) {
        if (osal_stricmp(reg->bitfield[i].id, name) == 0) {
            return &reg->bitfield[i];
        }
    }
    return nullptr;
}

ci_s32 _getRegIndex(ci_camera_t* camera, const char* name) {
    return camera ? _regIndexFindName(camera->sensor, name) : -1;
}

void _cantfindit(const char* regName, const char* bitfieldName) {
    // Names fit the 256-character string type; the buffer holds two of them.
    char message[2 * CI_STRING_LEN + 32];
    if (bitfieldName) {
        snprintf(message, sizeof message, "Can't find bitfield %s::%s", text(regName), bitfieldName);
    } else {
        snprintf(message, sizeof message, "Can't find register %s", text(regName));
    }
    CK_ERR(CI_CAMERA_ERROR, message);
}

ci_s32 ci_ExistsRegister(ci_camera_t* camera, const char* regName) {
    return ci_ExistsRegister2(camera, -1, regName);
}

ci_s32 ci_ExistsRegister2(ci_camera_t* camera, ci_s32 chip, const char* regName) {
    return _registerLookup(camera, chip, regName) != nullptr;
}

ci_s32 ci_ExistsBitfield(ci_camera_t* camera, const char* regName, const char* bitfieldName) {
    return ci_ExistsBitfield2(camera, -1, regName, bitfieldName);
}

ci_s32 ci_ExistsBitfield2(ci_camera_t* camera, ci_s32 chip, const char* regName, const char* bitfieldName) {
    return _bitfieldLookup(_registerLookup(camera, chip, regName), bitfieldName) != nullptr;
}

ci_reg_data_t* ci_FindRegister(ci_camera_t* camera, const char* regName) {
    ci_reg_data_t* reg = _registerLookup(camera, -1, regName);
    if (!reg) {
        _cantfindit(regName, nullptr);
    }
    return reg;
}

ci_bitfield_t* ci_FindBitfield(ci_camera_t* camera, const char* regName, const char* bitfieldName) {
    ci_bitfield_t* field = _bitfieldLookup(_registerLookup(camera, -1, regName), bitfieldName);
    if (!field) {
        _cantfindit(regName, bitfieldName);
    }
    return field;
}

ci_reg_data_t* ci_FindRegister2(ci_camera_t* camera, ci_s32 chip, const char* regName) {
    assert(camera);
    if (!regName || !*regName) {
        return nullptr;
    }
    ci_reg_data_t* reg = _registerLookup(camera, chip, regName);
    if (!reg) {
        _cantfindit(regName, nullptr);
    }
    return reg;
}

// The chip argument is deliberately not used: every description is walked,
// the sensor first and then the chips in order, and the last one that has a
// register of that name gives the answer (its bitfield, or none).
ci_bitfield_t* ci_FindBitfield2(ci_camera_t* camera, ci_s32 chip, const char* regName, const char* bitfieldName) {
    (void)chip;
    assert(camera);
    if (!regName || !*regName) {
        return nullptr;
    }
    ci_bitfield_t* field = nullptr;
    const ci_s32 chips = camera->chip ? camera->num_chips : 0;
    for (ci_s32 c = -1; c < chips; ++c) {
        if (ci_reg_data_t* reg = _registerLookup(camera, c, regName)) {
            field = _bitfieldLookup(reg, bitfieldName);
        }
    }
    if (!field) {
        _cantfindit(regName, bitfieldName);
    }
    return field;
}

ci_s32 ci_FindChip(ci_camera_t* camera, const char* chipName) {
    if (!camera || !chipName || !*chipName) {
        return -1;
    }
    const ci_sensor_t* sensor = camera->sensor;
    if (sensor && (osal_stricmp(sensor->sensorName, chipName) == 0 || osal_stricmp(sensor->partNumber, chipName) == 0)) {
        return -1;
    }
    for (ci_s32 i = 0; camera->chip && i < camera->num_chips; ++i) {
        if (osal_stricmp(camera->chip[i].chipName, chipName) == 0) {
            return i;
        }
    }
    return -2;
}

// ---- by a name pattern with '?' and '*'
// The rule of file-name patterns of the OS layer: '?' matches any one
// character, '*' jumps to the leftmost occurrence of the following segment
// without backtracking, letters are compared without regard to case.
int _wildcard_match(const char* pattern, const char* name) {
    return osal_wildcard_match(pattern, name);
}

ci_reg_data_t* ci_FindRegisterWildcard(ci_camera_t* camera, const char* pattern, ci_s32* position) {
    assert(camera && camera->sensor);
    if (!pattern) {
        return nullptr;
    }
    ci_sensor_t* sensor = camera->sensor;
    const ci_s32 start = (position && *position > 0) ? *position : 0;
    for (ci_s32 i = start; sensor->regs && i < sensor->num_regs; ++i) {
        if (_wildcard_match(pattern, sensor->regs[i].unique_desc)) {
            if (position) {
                *position = i + 1;
            }
            return &sensor->regs[i];
        }
    }
    return nullptr;
}

// ---- one register value for the preset interpreter and identification,
// with the cache setting chosen by the caller.  A register holding
// 0xFFFFFFFF cannot be told from a failure; callers accept this.
ci_s32 _GetRegisterValue(ci_camera_t* camera, ci_reg_data_t* reg, ci_s32 useCache) {
    if (!camera || !reg) {
        return -1;
    }
    ci_u32 value = 0;
    ci_error_code rc;
    {
        ScopedMode cacheUse(camera, CI_USE_REG_CACHE, (ci_u32)useCache);
        rc = ci_ReadSensorReg(camera, reg, &value);
    }
    return rc == CI_CAMERA_SUCCESS ? (ci_s32)value : -1;
}

// ---- by address within an address space
namespace {

bool noSelectors(const ci_sensor_t* sensor) {
    const ci_addr_space_t* table = sensor ? sensor->addr_space : nullptr;
    return !table || (table->reg_addr_read == 0 && table->reg_addr_write == 0);
}

// Types whose address spaces are not told apart by value.
bool anySpaceValue(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_u32 type) {
    switch (type) {
    case CI_REG_ADDR:
        return noSelectors(camera ? camera->sensor : nullptr);
    case CI_SFR_ADDR: {
        const ci_s32 style = ci_McuAddrStyle(camera);
        return style == CK_MCU_16 || style == CK_MCU_44 || style == CK_MCU_71;
    }
    case CI_IND_ADDR:
        return true;
    case CI_FAR1_REG_ADDR:
    case CI_FAR2_REG_ADDR:
        return space->far_addr_size > 8;
    default:
        return false;
    }
}

}  // namespace

int _addrSpaceMatchRaw(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_u32 type, ci_u32 value) {
    if (!space) {
        return 1;
    }
    if ((ci_u32)space->type != type) {
        return 0;
    }
    return anySpaceValue(camera, space, type) || space->val == value;
}

int _addr_space_match(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_addr_type type, ci_u32 value) {
    return _addrSpaceMatchRaw(camera, space, (ci_u32)type, value);
}

ci_reg_data_t* ci_FindRegisterAddr(ci_camera_t* camera, ci_u32 regAddr, ci_u32 addrSpace, ci_addr_type addrType) {
    assert(camera && camera->sensor);
    ci_sensor_t* sensor = camera->sensor;
    ci_s32 index = _regIndexFindAddr(camera, regAddr, addrSpace, (ci_u32)addrType);
    // An array imager's registers of every space answer in space 0 too.
    if (index < 0 && addrSpace != 0 && ci_IsArrayImager(camera)) {
        index = _regIndexFindAddr(camera, regAddr, 0, (ci_u32)addrType);
    }
    if (index >= 0) {
        return &sensor->regs[index];
    }
    if (addrType != CI_REG_ADDR) {
        return nullptr;
    }
    // A plain register address may be an MCU data port that currently shows
    // a variable: answer with the variable's record.
    ci_reg_data_t temp;
    ci_addr_space_val_t tempSpace;
    ci_reg_data_t* reg = _makeRegDataStruct(camera, CI_REG_ADDR, addrSpace, regAddr, 0, &temp, &tempSpace);
    ci_reg_data_t* var = nullptr;
    _findRamAlias(camera, reg, 1, &var);
    return var;
}
