// The camera's register lock: a recursive mutex in the common context, so
// that a locked function may call another that locks again.
#define CK_SOURCE "camkit_reg"
#include <cassert>

#include "regs/regs_internal.h"

void _getRegisterLock(ci_camera_t* camera) {
    assert(camera && camera->context);
    osal_enter_critical_section(&_ctx(camera)->criticalSection);
}

void _releaseRegisterLock(ci_camera_t* camera) {
    assert(camera && camera->context);
    osal_leave_critical_section(&_ctx(camera)->criticalSection);
}
