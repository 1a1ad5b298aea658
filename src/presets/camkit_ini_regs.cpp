// Register commands: REG, REG_BURST, BITFIELD, FIELD_WR, SERIAL_REG,
// SENSOR_BASE and the far-bus registers FAR1 and FAR2.
#define CK_SOURCE "camkit_ini"
#include "presets/presets_internal.h"

namespace {

// Numbers of operands[first..] into out; false when one is not a number.
bool numbers(const std::vector<std::string>& operands, size_t first, std::vector<ci_u32>* out) {
    out->clear();
    out->reserve(operands.size());
    for (size_t i = first; i < operands.size(); ++i) {
        ci_u32 v;
        if (!_Str2Int(operands[i], &v)) return false;
        out->push_back(v);
    }
    return true;
}

// "[space,] address, rest..." of REG and BITFIELD (own numbers, at most 3):
// with one operand more than the command's own, the first names the space,
// which becomes current.
bool spaceAndNumbers(PresetRun& run, const std::vector<std::string>& ops, size_t own, ci_u32* space,
                     ci_u32 (&values)[3], bool* parsed) {
    *parsed = ops.size() == own || ops.size() == own + 1;
    if (!*parsed) return false;
    const size_t first = ops.size() - own;
    ci_u32 s = run.space;
    if (first == 1 && !_parseSpace(run.camera, ops[0], &s)) return false;
    for (size_t i = 0; i < own; ++i) {
        if (!_Str2Int(ops[first + i], &values[i])) return false;
    }
    *space = s;
    run.space = s;
    return true;
}

bool validWidth(ci_u32 bits) {
    return bits == 8 || bits == 16 || bits == 32;
}

}  // namespace

ci_error_code _CmdReg(PresetRun& run, ciTKey, const std::string& value) {
    ci_u32 space = 0;
    ci_u32 v[3];
    bool parsed = false;
    if (!spaceAndNumbers(run, _operands(value), 2, &space, v, &parsed)) {
        return ci_ini_error(parsed ? "Invalid value in REG Command" : "Error parsing REG command", run.line);
    }
    return _SetBitfieldAddr(run, CI_REG_ADDR, space, v[0], 0, 0xFFFFFFFFu, v[1]);
}

ci_error_code _CmdBitfield(PresetRun& run, ciTKey, const std::string& value) {
    ci_u32 space = 0;
    ci_u32 v[3];
    bool parsed = false;
    if (!spaceAndNumbers(run, _operands(value), 3, &space, v, &parsed)) {
        return ci_ini_error(parsed ? "Invalid value in BITFIELD command" : "Error parsing BITFIELD command",
                            run.line);
    }
    if (v[1] == 0) return ci_ini_error("Invalid value in BITFIELD command", run.line);
    return _SetBitfieldAddr(run, CI_REG_ADDR, space, v[0], 0, v[1], v[2]);
}

ci_error_code _CmdRegBurst(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    std::vector<ci_u32> v;
    if (ops.size() < 2 || !numbers(ops, 0, &v)) return ci_ini_error("Error parsing REG_BURST command", run.line);
    _noteFailure(run, ci_writeSensorRegisters(run.camera, run.space, v[0], (ci_u32)(v.size() - 1), v.data() + 1));
    return CI_INI_SUCCESS;
}

ci_error_code _CmdFieldWr(PresetRun& run, ciTKey, const std::string& value) {
    std::vector<std::string> ops = _operands(value);
    if (ops.size() < 2 || ops.size() > 3) return ci_ini_error("Error parsing FIELDWR command", run.line);
    const std::string text = ops.back();
    ops.pop_back();
    NamedTarget target;
    if (!ci_FindRegister(run.camera, ops[0].c_str())) {
        return ci_ini_error("Register does not exist in FIELDWR command", run.line);
    }
    if (!_namedTarget(run.camera, ops, &target)) {
        return ci_ini_error("Bitfield does not exist in FIELDWR command", run.line);
    }
    ci_u32 v = 0;
    if (!_parseTargetValue(target, text, &v)) return ci_ini_error("Invalid value in FIELDWR command", run.line);
    _noteFailure(run, ci_WriteSensorRegStr(run.camera, target.reg->unique_desc, target.field ? target.field->id : "",
                                           v));
    return CI_INI_SUCCESS;
}

ci_error_code _CmdSerialReg(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    std::vector<ci_u32> v;
    if ((ops.size() != 3 && ops.size() != 5) || !numbers(ops, 0, &v) ||
        (v.size() == 5 && (!validWidth(v[3]) || !validWidth(v[4])))) {
        return ci_ini_error("Error parsing SERIAL_REG command", run.line);
    }
    ScopedMode addrSize(run.camera, CI_REG_ADDR_SIZE);
    ScopedMode dataSize(run.camera, CI_REG_DATA_SIZE);
    if (v.size() == 5) {
        ci_setMode(run.camera, CI_REG_ADDR_SIZE, v[3]);
        ci_setMode(run.camera, CI_REG_DATA_SIZE, v[4]);
    }
    _noteFailure(run, ci_writeRegister(run.camera, v[0], v[1], v[2]));
    return CI_INI_SUCCESS;
}

ci_error_code _CmdSensorBase(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    if (ops.size() != 1 || ops[0].empty()) return ci_ini_error("Error parsing SENSOR_BASE command", run.line);
    ci_u32 base = 0;
    if (!_Str2Int(ops[0], &base) || base == 0 || base > 0xFF) {
        return ci_ini_error("Invalid value in SENSOR_BASE command", run.line);
    }
    if (run.camera->sensor) run.camera->sensor->shipAddr = base;
    return CI_INI_SUCCESS;
}

// FAR1 / FAR2 = address, value  or  address, mask, value (only the bits of
// mask change).
ci_error_code _CmdFarReg(PresetRun& run, ciTKey key, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    if (ops.size() != 2 && ops.size() != 3) return ci_ini_error("Error parsing FAR_REG command", run.line);
    std::vector<ci_u32> v;
    if (!numbers(ops, 0, &v) || (v.size() == 3 && v[1] == 0)) {
        return ci_ini_error("Invalid value in FAR_REG command", run.line);
    }
    const ci_addr_type bus = key == KEY_FAR1 ? CI_FAR1_REG_ADDR : CI_FAR2_REG_ADDR;
    ci_u32 word = v.back();
    if (v.size() == 3) {
        ci_u32 old = 0;
        const ci_error_code rc = ci_ReadFarReg(run.camera, bus, v[0], &old);
        if (rc != CI_CAMERA_SUCCESS) {
            _noteFailure(run, rc);
            return CI_INI_SUCCESS;
        }
        word = (old & ~v[1]) | _BitMaskAdjust(v[1], v[2], 1);
    }
    _noteFailure(run, ci_WriteFarReg(run.camera, bus, v[0], word));
    return CI_INI_SUCCESS;
}
