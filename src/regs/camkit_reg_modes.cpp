// Temporary camera modes.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

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
