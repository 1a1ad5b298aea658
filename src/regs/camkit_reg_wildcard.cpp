// Register lookup by a name pattern with '?' and '*'.
#define CK_SOURCE "camkit_reg"
#include <cassert>
#include <cstring>

#include "regs/regs_internal.h"

namespace {

// ASCII letters only are folded, as toupper does in the C locale.
char upper(char c) {
    return (c >= 'a' && c <= 'z') ? (char)(c - 'a' + 'A') : c;
}

bool sameLetter(char a, char b) {
    return upper(a) == upper(b);
}

bool segmentAt(const char* name, const char* segment, size_t segmentLen) {
    for (size_t k = 0; k < segmentLen; ++k) {
        if (segment[k] != '?' && !sameLetter(segment[k], name[k])) {
            return false;
        }
    }
    return true;
}

}  // namespace

// Leftmost place in name where the segment matches character by character,
// '?' in the segment matching any one character; NULL when there is none.
const char* _wildcard_strstr(const char* name, const char* segment, size_t segmentLen) {
    if (!name || !segment) {
        return nullptr;
    }
    const size_t nameLen = strlen(name);
    for (size_t at = 0; at + segmentLen <= nameLen; ++at) {
        if (segmentAt(name + at, segment, segmentLen)) {
            return name + at;
        }
    }
    return nullptr;
}

// The same rule as file-name patterns of the OS layer: '*' jumps to the
// leftmost occurrence of the following segment without backtracking.
int _wildcard_match(const char* pattern, const char* name) {
    if (!pattern || !name) {
        return 0;
    }
    return osal_wildcard_match(pattern, name) ? 1 : 0;
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
