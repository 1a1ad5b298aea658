// Conditional commands: the polls (POLL_REG, POLL_VAR, POLL_FIELD) and the
// branches (IF_REG, IF_FIELD, IF_SERIAL).
//
// A poll reads its value, and while the condition holds sleeps DELAY
// milliseconds and reads again, at most TIMEOUT times; a condition still
// holding after the last read is a time-out.  A branch runs its LOAD= preset
// when the condition holds and its ELSELOAD= preset (if any) when it does not.
#define CK_SOURCE "camkit_ini"
#include <functional>

#include "presets/presets_internal.h"

namespace {

// Operands split around the condition: what comes before it (the condition
// may share an operand with the last of those), and the condition followed
// by the remaining operands.
struct Split {
    std::vector<std::string> lead;
    std::vector<std::string> tail;
};

bool splitAtCondition(const std::string& value, Split* split) {
    const std::vector<std::string> ops = _operands(value);
    for (size_t i = 0; i < ops.size(); ++i) {
        const size_t at = _conditionStart(ops[i]);
        if (at == std::string::npos) continue;
        split->lead.assign(ops.begin(), ops.begin() + (ptrdiff_t)i);
        const std::string before = _trimmed(ops[i].substr(0, at));
        if (!before.empty()) split->lead.push_back(before);
        split->tail.assign(1, ops[i].substr(at));
        split->tail.insert(split->tail.end(), ops.begin() + (ptrdiff_t)i + 1, ops.end());
        return true;
    }
    return false;
}

bool allNumbers(const std::vector<std::string>& ops, std::vector<ci_u32>* out) {
    out->clear();
    for (const std::string& o : ops) {
        ci_u32 v;
        if (!_Str2Int(o, &v)) return false;
        out->push_back(v);
    }
    return true;
}

using Reader = std::function<bool(ci_u32*)>;

ci_error_code poll(PresetRun& run, const PollSpec& spec, const Reader& read, const char* what,
                   const char* readFailure) {
    ci_u32 v = 0;
    if (!read(&v)) return ci_ini_error(readFailure, run.line);
    for (ci_u32 count = 0; _CheckCondition(v, spec.number, spec.op); ++count) {
        if (count >= spec.timeout) {
            char message[1200];
            snprintf(message, sizeof message, "Time Out in %s Command: %s", what, run.line);
            _setLastIniMessage(message);
            CK_ERR(CI_INI_POLLREG_TIMEOUT, message);
            return CI_INI_POLLREG_TIMEOUT;
        }
        osal_sleep((ci_s32)spec.delayMs);
        if (!read(&v)) return ci_ini_error(readFailure, run.line);
    }
    return CI_INI_SUCCESS;
}

// "[space,] address, mask" of POLL_REG and IF_REG.
bool addressOperands(PresetRun& run, const std::vector<std::string>& lead, ci_u32* space, ci_u32* address,
                     ci_u32* mask) {
    if (lead.size() != 2 && lead.size() != 3) return false;
    const size_t first = lead.size() - 2;
    *space = run.space;
    if (first == 1 && !_parseSpace(run.camera, lead[0], space)) return false;
    return _Str2Int(lead[first], address) && _Str2Int(lead[first + 1], mask) && *mask != 0;
}

Reader registerReader(PresetRun& run, ci_u32 space, ci_u32 address, ci_u32 mask) {
    return [&run, space, address, mask](ci_u32* v) {
        *v = _GetRegisterAdjustValue(run.camera, CI_REG_ADDR, space, address, mask);
        return true;
    };
}

Reader namedReader(PresetRun& run, const NamedTarget& target) {
    return [&run, target](ci_u32* v) { return _readNamedUncached(run.camera, target, v) == CI_CAMERA_SUCCESS; };
}

// The condition of a named target, its number in the target's data type.
bool namedCondition(const NamedTarget& target, const std::string& text, ConditionOp* op, ci_u32* number) {
    std::string numberText;
    return _FindIntFromStr(text, op, &numberText) && _parseTargetValue(target, numberText, number);
}

}  // namespace

// POLL_REG = [space,] address, mask, condition, DELAY=ms, TIMEOUT=n
ci_error_code _CmdPollReg(PresetRun& run, ciTKey, const std::string& value) {
    Split s;
    ci_u32 space = 0, address = 0, mask = 0;
    PollSpec spec;
    if (!splitAtCondition(value, &s) || !addressOperands(run, s.lead, &space, &address, &mask) ||
        !_parsePoll(s.tail, 0, &spec)) {
        return ci_ini_error("Error parsing POLLREG command", run.line);
    }
    return poll(run, spec, registerReader(run, space, address, mask), "POLLREG", "Error parsing POLLREG command");
}

// POLL_VAR = driver, offset[, width in bytes], condition, DELAY=ms, TIMEOUT=n
ci_error_code _CmdPollVar(PresetRun& run, ciTKey, const std::string& value) {
    Split s;
    std::vector<ci_u32> v;
    PollSpec spec;
    if (!splitAtCondition(value, &s) || (s.lead.size() != 2 && s.lead.size() != 3) || !allNumbers(s.lead, &v) ||
        (v.size() == 3 && v[2] != 1 && v[2] != 2 && v[2] != 4) || !_parsePoll(s.tail, 0, &spec)) {
        return ci_ini_error("Error parsing POLL_VAR command", run.line);
    }
    const ci_s32 width = v.size() == 3 ? (ci_s32)v[2] : 2;
    Reader read = [&run, v, width](ci_u32* out) {
        ScopedMode cache(run.camera, CI_USE_REG_CACHE, 0);
        return ci_ReadSensorRegAddr(run.camera, CI_MCU_ADDR, v[0], v[1], width, out) == CI_CAMERA_SUCCESS;
    };
    return poll(run, spec, read, "POLL_VAR", "Error executing POLL_VAR command");
}

// POLL_FIELD = REGISTER[, BITFIELD] condition, DELAY=ms, TIMEOUT=n
ci_error_code _CmdPollField(PresetRun& run, ciTKey, const std::string& value) {
    Split s;
    NamedTarget target;
    if (!splitAtCondition(value, &s) || s.tail.size() != 3 || !_namedTarget(run.camera, s.lead, &target)) {
        return ci_ini_error("Error parsing POLL_FIELD command", run.line);
    }
    PollSpec spec;
    if (!namedCondition(target, s.tail[0], &spec.op, &spec.number)) {
        return ci_ini_error("Error parsing POLL_FIELD condition value", run.line);
    }
    if (!_parsePollTiming(s.tail[1], s.tail[2], &spec)) {
        return ci_ini_error("Error parsing POLL_FIELD, invalid value", run.line);
    }
    return poll(run, spec, namedReader(run, target), "POLL_FIELD", "Error evaluating POLL_FIELD condition");
}

// IF_REG = [space,] address, mask, condition, LOAD=preset[, ELSELOAD=preset]
ci_error_code _CmdIfReg(PresetRun& run, ciTKey, const std::string& value) {
    Split s;
    ci_u32 space = 0, address = 0, mask = 0, number = 0;
    ConditionOp op = COND_NONE;
    std::string numberText;
    if (!splitAtCondition(value, &s) || !addressOperands(run, s.lead, &space, &address, &mask) ||
        !_FindIntFromStr(s.tail[0], &op, &numberText) || !_Str2Int(numberText, &number)) {
        return ci_ini_error("Error parsing IFREG command", run.line);
    }
    const ci_u32 v = _GetRegisterAdjustValue(run.camera, CI_REG_ADDR, space, address, mask);
    if (!_runBranch(run, s.tail, 1, _CheckCondition(v, number, op))) {
        return ci_ini_error("Error parsing IFREG command", run.line);
    }
    return CI_INI_SUCCESS;
}

// IF_FIELD = REGISTER[, BITFIELD] condition, LOAD=preset[, ELSELOAD=preset]
ci_error_code _CmdIfField(PresetRun& run, ciTKey, const std::string& value) {
    Split s;
    NamedTarget target;
    ConditionOp op = COND_NONE;
    ci_u32 number = 0, v = 0;
    if (!splitAtCondition(value, &s) || s.tail.size() < 2 || !_namedTarget(run.camera, s.lead, &target) ||
        !namedCondition(target, s.tail[0], &op, &number)) {
        return ci_ini_error("Error parsing IF_FIELD command", run.line);
    }
    if (_readNamedUncached(run.camera, target, &v) != CI_CAMERA_SUCCESS) {
        return ci_ini_error("Error parsing IF_FIELD command", run.line);
    }
    if (!_runBranch(run, s.tail, 1, _CheckCondition(v, number, op))) {
        return ci_ini_error("Error parsing IF_FIELD command", run.line);
    }
    return CI_INI_SUCCESS;
}

// IF_SERIAL = device base, address, mask, condition, LOAD=preset[, ELSELOAD=preset]
// (read with the calling thread's register address and data sizes)
ci_error_code _CmdIfSerial(PresetRun& run, ciTKey, const std::string& value) {
    Split s;
    std::vector<ci_u32> v;
    ConditionOp op = COND_NONE;
    std::string numberText;
    ci_u32 number = 0;
    if (!splitAtCondition(value, &s) || s.lead.size() != 3 || !allNumbers(s.lead, &v) || v[2] == 0 ||
        !_FindIntFromStr(s.tail[0], &op, &numberText) || !_Str2Int(numberText, &number) || s.tail.size() < 2) {
        return ci_ini_error("Error parsing IF_SERIAL command", run.line);
    }
    ci_u32 word = 0;
    if (ci_readRegister(run.camera, v[0], v[1], &word) != CI_CAMERA_SUCCESS) {
        return ci_ini_error("Couldn't read the register for IF_SERIAL command", run.line);
    }
    if (!_runBranch(run, s.tail, 1, _CheckCondition(_BitValue(word, v[2]), number, op))) {
        return ci_ini_error("Error parsing IF_SERIAL command", run.line);
    }
    return CI_INI_SUCCESS;
}
