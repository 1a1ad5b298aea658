// Flow commands: LOAD, DELAY and ERROR_IF, and the poll and branch plumbing
// the conditional commands share.
#define CK_SOURCE "camkit_ini"
#include "presets/presets_internal.h"

namespace {

constexpr ci_u32 kMaxDelayMs = 5000;

std::string directoryOf(const std::string& file) {
    const size_t slash = file.find_last_of('/');
    return slash == std::string::npos ? "." : file.substr(0, slash);
}

}  // namespace

ci_error_code _CmdLoad(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    if (ops.empty() || ops.size() > 2 || ops.back().empty() || ops[0].empty()) {
        return ci_ini_error("Error parsing LOAD command", run.line);
    }
    if (ops.size() == 1) return _LoadSection(run.camera, run.file.c_str(), ops[0].c_str(), run.depth + 1);
    const std::string file = ops[0][0] == '/' ? ops[0] : directoryOf(run.file) + "/" + ops[0];
    return _LoadSection(run.camera, file.c_str(), ops[1].c_str(), run.depth + 1);
}

ci_error_code _CmdDelay(PresetRun& run, ciTKey, const std::string& value) {
    ci_u32 ms = 0;
    if (!_Str2Int(value, &ms) || ms < 1 || ms > kMaxDelayMs) return ci_ini_error("DELAY value out of range", run.line);
    osal_sleep((ci_s32)ms);
    return CI_INI_SUCCESS;
}

bool _parsePollTiming(const std::string& delayOperand, const std::string& timeoutOperand, PollSpec* spec) {
    std::string delay, timeout;
    if (!_namedOperand(delayOperand, "DELAY", &delay) || !_Str2Int(delay, &spec->delayMs)) return false;
    if (!_namedOperand(timeoutOperand, "TIMEOUT", &timeout) || !_Str2Int(timeout, &spec->timeout)) return false;
    return spec->delayMs <= kMaxDelayMs;
}

bool _parsePoll(const std::vector<std::string>& operands, size_t first, PollSpec* spec) {
    if (operands.size() != first + 3) return false;
    std::string number;
    if (!_FindIntFromStr(operands[first], &spec->op, &number) || !_Str2Int(number, &spec->number)) return false;
    return _parsePollTiming(operands[first + 1], operands[first + 2], spec);
}

bool _runBranch(PresetRun& run, const std::vector<std::string>& operands, size_t first, bool condition) {
    std::string load, elseLoad;
    const size_t n = operands.size() - first;
    if (n < 1 || n > 2 || !_namedOperand(operands[first], "LOAD", &load)) return false;
    if (n == 2 && !_namedOperand(operands[first + 1], "ELSELOAD", &elseLoad)) return false;
    const std::string& target = condition ? load : elseLoad;
    if (!target.empty()) _LoadSection(run.camera, run.file.c_str(), target.c_str(), run.depth + 1);
    return true;
}

// ERROR_IF = REGISTER[, BITFIELD] condition, "message"
ci_error_code _CmdErrorIf(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    if (ops.size() < 2 || ops.size() > 3) return ci_ini_error("Error parsing ERROR_IF command", run.line);
    std::string message = ops.back();
    if (message.size() >= 2 && message.front() == '"' && message.back() == '"') {
        message = message.substr(1, message.size() - 2);
    }
    const std::string& last = ops[ops.size() - 2];
    const size_t at = _conditionStart(last);
    if (at == std::string::npos) return ci_ini_error("Error parsing condition in ERROR_IF command", run.line);
    std::vector<std::string> names(ops.begin(), ops.end() - 2);
    names.push_back(_trimmed(last.substr(0, at)));
    ConditionOp op = COND_NONE;
    std::string numberText;
    ci_u32 number = 0;
    if (!_FindIntFromStr(last.substr(at), &op, &numberText) || !_Str2Int(numberText, &number)) {
        return ci_ini_error("Error parsing condition in ERROR_IF command", run.line);
    }
    NamedTarget target;
    ci_u32 v = 0;
    if (!_namedTarget(run.camera, names, &target) || _readNamedUncached(run.camera, target, &v) != CI_CAMERA_SUCCESS) {
        return ci_ini_error("Error reading register in ERROR_IF command", run.line);
    }
    if (!_CheckCondition(v, number, op)) return 1;
    ci_ini_error(message.c_str(), run.line);
    return 0;
}
