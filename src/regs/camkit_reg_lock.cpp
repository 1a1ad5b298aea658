// The camera's register lock (a recursive mutex in the common context, so
// that a locked function may call another that locks again), and camera
// modes changed for a scope.
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

// ---- temporary camera modes, restored when the scope ends
ScopedMode::ScopedMode(ci_camera_t* camera, ci_modes mode, ci_u32 value)
    : camera_(camera), mode_(mode), saved_(0), restore_(false) {
    restore_ = ci_getMode(camera_, mode_, &saved_) == CI_CAMERA_SUCCESS;
    ci_setMode(camera_, mode_, value);
}

ScopedMode::ScopedMode(ci_camera_t* camera, ci_modes mode)
    : camera_(camera), mode_(mode), saved_(0), restore_(false) {
    restore_ = ci_getMode(camera_, mode_, &saved_) == CI_CAMERA_SUCCESS;
}

ScopedMode::~ScopedMode() {
    if (restore_) {
        ci_setMode(camera_, mode_, saved_);
    }
}
