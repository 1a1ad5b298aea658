// Operands that name what a command works on: address spaces, registers and
// bitfields by name, values in a register's data type; and the by-address
// reader and bitfield writer of the register commands.
#define CK_SOURCE "camkit_ini"
#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "presets/presets_internal.h"

bool _parseSpace(ci_camera_t* camera, const std::string& text, ci_u32* space) {
    if (_Str2Int(text, space)) return true;
    const ci_addr_space_t* table = camera->sensor ? camera->sensor->addr_space : nullptr;
    for (ci_s32 i = 0; table && table->addr_space_val && i < table->num_vals; ++i) {
        const ci_addr_space_val_t& v = table->addr_space_val[i];
        if (osal_stricmp(v.ID, text.c_str()) == 0 || osal_stricmp(v.name, text.c_str()) == 0) {
            *space = v.val;
            return true;
        }
    }
    return false;
}

void _noteFailure(PresetRun& run, ci_error_code rc) {
    if (rc != CI_CAMERA_SUCCESS && run.firstFailure == CI_CAMERA_SUCCESS) run.firstFailure = rc;
}

ci_error_code _SetBitfieldAddr(PresetRun& run, ci_addr_type type, ci_u32 space, ci_u32 address, ci_s32 is8,
                               ci_u32 mask, ci_u32 value) {
    ci_camera_t* camera = run.camera;
    if (!camera->sensor) return CI_INI_SUCCESS;
    ci_reg_data_t* reg = ci_FindRegisterAddr(camera, address, space, type);
    auto write = [&](ci_u32 v) {
        return reg ? ci_WriteSensorReg(camera, reg, v) : ci_WriteSensorRegAddr(camera, type, space, address, is8, v);
    };
    if (mask == 0 || mask == 0xFFFFFFFFu) {
        _noteFailure(run, write(value));
        return CI_INI_SUCCESS;
    }
    ci_u32 old = 0;
    ci_error_code rc;
    {
        ScopedMode cache(camera, CI_USE_REG_CACHE, camera->sensor->reg_addr_size == 8 ? 1u : 0u);
        rc = reg ? ci_ReadSensorReg(camera, reg, &old) : ci_ReadSensorRegAddr(camera, type, space, address, is8, &old);
    }
    _noteFailure(run, rc);
    _noteFailure(run, write((old & ~mask) | _BitMaskAdjust(mask, value, 1)));
    return CI_INI_SUCCESS;
}

ci_u32 _GetRegisterAdjustValue(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 address, ci_u32 mask) {
    if (!camera->sensor) return 0;
    ci_u32 value = 0xFFFFFFFFu;
    ci_reg_data_t* reg = ci_FindRegisterAddr(camera, address, space, type);
    if (reg) {
        value = (ci_u32)_GetRegisterValue(camera, reg, 0);
    } else {
        ScopedMode cache(camera, CI_USE_REG_CACHE, 0);
        if (ci_ReadSensorRegAddr(camera, type, space, address, 0, &value) != CI_CAMERA_SUCCESS) value = 0xFFFFFFFFu;
    }
    return _BitValue(value, mask);
}

bool _namedTarget(ci_camera_t* camera, const std::vector<std::string>& names, NamedTarget* target) {
    if (names.empty() || names.size() > 2 || names[0].empty()) return false;
    target->reg = ci_FindRegister(camera, names[0].c_str());
    target->field = nullptr;
    if (!target->reg) return false;
    if (names.size() == 2 && !names[1].empty()) {
        target->field = ci_FindBitfield(camera, names[0].c_str(), names[1].c_str());
        if (!target->field) return false;
    }
    return true;
}

ci_error_code _readNamedUncached(ci_camera_t* camera, const NamedTarget& target, ci_u32* value) {
    ScopedMode cache(camera, CI_USE_REG_CACHE, 0);
    return ci_ReadSensorRegStr(camera, target.reg->unique_desc, target.field ? target.field->id : "", value);
}

// The widest raw value of a register or bitfield.
static ci_u32 largestValue(const NamedTarget& target) {
    if (target.field) return _BitValue(target.field->bitmask, target.field->bitmask);
    return target.reg->bitmask ? target.reg->bitmask : 0xFFFFFFFFu;
}

bool _parseTargetValue(const NamedTarget& target, const std::string& text, ci_u32* value) {
    if (_Str2Int(text, value)) return *value <= largestValue(target);
    errno = 0;
    char* end = nullptr;
    const double d = strtod(text.c_str(), &end);
    if (text.empty() || *end || errno || !std::isfinite(d)) return false;
    const ci_u32 mask = largestValue(target);
    if (d < ci_DataTypeMinimum(target.datatype(), mask) || d > ci_DataTypeMaximum(target.datatype(), mask)) {
        return false;
    }
    *value = ci_Str2Int(target.datatype(), text.c_str(), mask);
    return true;
}
