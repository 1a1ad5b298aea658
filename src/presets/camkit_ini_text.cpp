// Text helpers of the preset language: tokens, operands, numbers,
// conditions, error lines and numbered file names.
#define CK_SOURCE "camkit_ini"
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "presets/presets_internal.h"

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isOperatorChar(char c) {
    return c == '=' || c == '!' || c == '<' || c == '>';
}

}  // namespace

char* _StringTrim(char* text) {
    return osal_trim(text);
}

std::string _trimmed(const std::string& text) {
    size_t b = 0, e = text.size();
    while (b < e && isBlank(text[b])) ++b;
    while (e > b && isBlank(text[e - 1])) --e;
    return text.substr(b, e - b);
}

ci_s32 _StringTokenize(const std::string& text, std::string& out, const char* delimiters, ci_s32 position) {
    out.clear();
    if (position < 0 || (size_t)position >= text.size()) return -1;
    bool quoted = false;
    size_t i = (size_t)position;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') quoted = !quoted;
        if (!quoted && strchr(delimiters, c)) break;
        out.push_back(c);
    }
    return (ci_s32)(i < text.size() ? i + 1 : text.size());
}

std::vector<std::string> _operands(const std::string& value) {
    std::vector<std::string> out;
    out.reserve(4);
    const char* p = value.c_str();
    const char* end = p + value.size();
    for (;;) {
        const char* start = p;
        bool quoted = false;
        while (p < end && (quoted || *p != ',')) {
            if (*p == '"') quoted = !quoted;
            ++p;
        }
        const char* b = start;
        const char* e = p;
        while (b < e && isBlank(*b)) ++b;
        while (e > b && isBlank(e[-1])) --e;
        out.emplace_back(b, (size_t)(e - b));
        if (p >= end) return out;
        ++p;  // the comma
    }
}

bool _Str2Int(const std::string& text, ci_u32* value) {
    const char* p = text.c_str();
    const char* end = p + text.size();
    while (p < end && isBlank(*p)) ++p;
    while (end > p && isBlank(end[-1])) --end;
    const bool hex = end - p > 2 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X');
    if (hex) p += 2;
    if (p == end) return false;
    ci_u64 v = 0;
    for (; p < end; ++p) {
        const char c = *p;
        ci_u32 digit;
        if (c >= '0' && c <= '9') {
            digit = (ci_u32)(c - '0');
        } else if (hex && c >= 'a' && c <= 'f') {
            digit = (ci_u32)(c - 'a' + 10);
        } else if (hex && c >= 'A' && c <= 'F') {
            digit = (ci_u32)(c - 'A' + 10);
        } else {
            return false;
        }
        v = v * (hex ? 16 : 10) + digit;
        if (v > 0xFFFFFFFFull) return false;
    }
    *value = (ci_u32)v;
    return true;
}

bool _ValidValue(const std::string& text) {
    ci_u32 ignored;
    return _Str2Int(text, &ignored);
}

size_t _conditionStart(const std::string& text) {
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') quoted = !quoted;
        if (!quoted && isOperatorChar(text[i])) return i;
    }
    return std::string::npos;
}

bool _FindIntFromStr(const std::string& condition, ConditionOp* op, std::string* number) {
    static const struct {
        const char* text;
        ConditionOp op;
    } kOps[] = {{"==", COND_EQ}, {"!=", COND_NE}, {">=", COND_GE}, {"<=", COND_LE}, {">", COND_GT}, {"<", COND_LT}};
    const std::string t = _trimmed(condition);
    for (const auto& k : kOps) {
        const size_t n = strlen(k.text);
        if (t.compare(0, n, k.text) == 0) {
            *op = k.op;
            *number = _trimmed(t.substr(n));
            return !number->empty();
        }
    }
    return false;
}

bool _CheckCondition(ci_u32 value, ci_u32 number, ConditionOp op) {
    switch (op) {
        case COND_EQ: return value == number;
        case COND_NE: return value != number;
        case COND_GT: return value > number;
        case COND_LT: return value < number;
        case COND_GE: return value >= number;
        case COND_LE: return value <= number;
        default: return false;
    }
}

bool _namedOperand(const std::string& operand, const char* key, std::string* value) {
    const size_t eq = operand.find('=');
    if (eq == std::string::npos) return false;
    if (osal_stricmp(_trimmed(operand.substr(0, eq)).c_str(), key) != 0) return false;
    *value = _trimmed(operand.substr(eq + 1));
    return true;
}

ci_error_code ci_ini_error(const char* message, const char* line) {
    char text[1024];
    snprintf(text, sizeof text, "%s: %s", message ? message : "", line ? line : "");
    _setLastIniMessage(text);
    return CK_ERR(CI_INI_LOAD_ERROR, text);
}

void _nextFileN(char* name, size_t size) {
    osal_next_file_name(name, size);
}
