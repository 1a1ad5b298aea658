// Register and bitfield lookup by name, in the sensor and in the board's
// chip descriptions.  Lookups read the description only: no device access,
// no camera lock.
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
