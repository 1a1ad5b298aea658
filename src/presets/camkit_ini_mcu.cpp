// Microcontroller commands: variables (VAR, VAR8, VAR32), special-function
// registers (SFR, SFR8), memory by physical address (MEM, MEM8, MEM32) and
// indirect registers (IND).
#define CK_SOURCE "camkit_ini"
#include "presets/presets_internal.h"

namespace {

struct Messages {
    const char* parse;
    const char* invalid;
};

// Parses count numeric operands; logs the command's message and returns
// false when that fails.
bool parseNumbers(PresetRun& run, const std::string& value, size_t count, const Messages& m, ci_u32* out,
                  ci_error_code* rc) {
    const std::vector<std::string> ops = _operands(value);
    if (ops.size() != count) {
        *rc = ci_ini_error(m.parse, run.line);
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        if (!_Str2Int(ops[i], &out[i])) {
            *rc = ci_ini_error(m.invalid, run.line);
            return false;
        }
    }
    return true;
}

ci_s32 widthOf(ciTKey key) {
    switch (key) {
        case KEY_VAR8:
        case KEY_SFR8:
        case KEY_MEM8: return 1;
        case KEY_VAR32:
        case KEY_MEM32: return 4;
        default: return 2;
    }
}

ci_error_code writeAt(PresetRun& run, ci_addr_type type, ci_u32 space, ci_u32 address, ci_s32 width, ci_u32 v) {
    _noteFailure(run, ci_WriteSensorRegAddr(run.camera, type, space, address, width, v));
    return CI_INI_SUCCESS;
}

}  // namespace

// VAR = driver, offset, value
ci_error_code _CmdVar(PresetRun& run, ciTKey key, const std::string& value) {
    ci_u32 v[3];
    ci_error_code rc;
    if (!parseNumbers(run, value, 3, {"Error parsing VAR command", "Invalid value in VAR command"}, v, &rc)) return rc;
    return writeAt(run, CI_MCU_ADDR, v[0], v[1], widthOf(key), v[2]);
}

// SFR = [space,] offset, value   (space 0 when not given)
ci_error_code _CmdSfr(PresetRun& run, ciTKey key, const std::string& value) {
    const Messages m{"Error parsing SFR command", "Invalid value in SFR command"};
    const size_t count = _operands(value).size() == 3 ? 3 : 2;
    ci_u32 v[3] = {0, 0, 0};
    ci_error_code rc;
    if (!parseNumbers(run, value, count, m, count == 3 ? v : v + 1, &rc)) return rc;
    return writeAt(run, CI_SFR_ADDR, v[0], v[1], widthOf(key), v[2]);
}

// MEM = address, value: the upper half of the address is the memory region,
// the lower half the offset in it.
ci_error_code _CmdMem(PresetRun& run, ciTKey key, const std::string& value) {
    ci_u32 v[2];
    ci_error_code rc;
    if (!parseNumbers(run, value, 2, {"Error parsing MEM command", "Invalid value in MEM command"}, v, &rc)) return rc;
    return writeAt(run, CI_SFR_ADDR, v[0] >> 16, v[0] & 0xFFFFu, widthOf(key), v[1]);
}

// IND = offset, value
ci_error_code _CmdInd(PresetRun& run, ciTKey, const std::string& value) {
    ci_u32 v[2];
    ci_error_code rc;
    if (!parseNumbers(run, value, 2, {"Error parsing IND command", "Invalid value in IND command"}, v, &rc)) return rc;
    _noteFailure(run, ci_WriteInd(run.camera, v[0], v[1]));
    return CI_INI_SUCCESS;
}
