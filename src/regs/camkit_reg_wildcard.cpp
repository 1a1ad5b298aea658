// Register lookup by a name pattern with '?' and '*'.
#define CK_SOURCE "camkit_reg"
#include <cassert>

#include "regs/regs_internal.h"

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
