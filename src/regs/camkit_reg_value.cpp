// One register value for the preset interpreter and identification, with
// the cache setting chosen by the caller.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

// A register holding 0xFFFFFFFF cannot be told from a failure; callers
// accept this.
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
