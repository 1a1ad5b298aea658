// Camera modes whose effect is more than storing a value: swizzling,
// error-log level, spoofed frame size, hardware buffering, far-bus bases,
// cache invalidation on power/reset/shutdown, dynamic range, output clock.
#define CK_SOURCE "camkit"
#include <cassert>

#include "core/camkit_modes.h"
#include "sensor/sensor_traits.h"

ci_error_code _mode_set_unswizzle(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32 val) {
    return _set_unswizzle_mode(camera, val);
}

ci_error_code _mode_get_swizzle_default(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32* out) {
    *out = _swizzleDefault(camera);
    return CI_CAMERA_SUCCESS;
}

// Whether frames reach the application still swizzled: 0 in order, 1
// swizzled, 2 swizzled the way one sensor family packs its pixels.
static ci_u32 _data_is_swizzled(ci_camera_t* camera, const _common_context_t* ctx) {
    swizzle_sit_t situation = _swizzle_situation(camera);
    if (situation == SWIZSIT_UNNEEDED) return 0;
    if (ctx->unswizzle_mode == CI_SW_UNSWIZZLE || ctx->unswizzle_mode == CI_ANY_UNSWIZZLE) return 0;
    if (ctx->unswizzle_mode == CI_HW_UNSWIZZLE && situation == SWIZSIT_HW_CAN) return 0;
    return _sensorTraits(camera->sensor != nullptr ? (ci_u32)camera->sensor->sensorType : 0u).swizzle;
}

ci_error_code _mode_set_ignored(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32) {
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_get_data_is_swizzled(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t*,
                                         ci_u32* out) {
    *out = _data_is_swizzled(camera, ctx);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_set_log_type(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32 val) {
    if ((ci_s32)val == _GetErrorLogLevel()) return CI_CAMERA_SUCCESS;
    assert(val <= ((1 | 2) | (4 | 8 | 16 | 32)));
    if (_SetErrorLogLevel((ci_s32)val) != 0) return CK_ERR(CI_CAMERA_ERROR, "");
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_get_log_type(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32* out) {
    *out = (ci_u32)_GetErrorLogLevel();
    return CI_CAMERA_SUCCESS;
}

// The spoofed frame size is packed as height << 16 | width.
ci_error_code _mode_set_spoof_size(ci_camera_t*, _common_context_t* ctx, const _mode_row_t*, ci_u32 val) {
    if (ctx->sg_context != nullptr) {
        ctx->sg_context->spoof_height = val >> 16;
        ctx->sg_context->spoof_width = val & 0xFFFFu;
    }
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_get_spoof_size(ci_camera_t*, _common_context_t* ctx, const _mode_row_t*, ci_u32* out) {
    const _sg_context_t* sg = ctx->sg_context;
    *out = sg != nullptr ? (sg->spoof_height << 16) + sg->spoof_width : (ctx->_spoof_height << 16) + ctx->_spoof_width;
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_set_spoof_supported(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32) {
    return CK_ERR(CI_CAMERA_ERROR, "CI_SPOOF_SUPPORTED is read-only");
}

ci_error_code _mode_set_hw_buffering(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t*, ci_u32 val) {
    if (ctx->setHardwareBuffering == nullptr) return CI_CAMERA_SUCCESS;
    return CK_ERR(ctx->setHardwareBuffering(camera, val), "");
}

// The current setting is reported even by a board that cannot change it.
ci_error_code _mode_get_hw_buffering(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row,
                                     ci_u32* out) {
    _mode_get_shared_first(camera, ctx, row, out);
    return ctx->setHardwareBuffering != nullptr ? CI_CAMERA_SUCCESS : CI_CAMERA_NOT_SUPPORTED;
}

ci_error_code _mode_set_output_clock(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32 val) {
    return _setOutputClockFreq(camera, val);
}

ci_error_code _mode_get_output_clock(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32* out) {
    return _getOutputClockFreq(camera, out);
}

// Values 2..255 are eight-bit bus addresses to admit on the far bus (bit
// (a >> 1) & 31 of word (a >> 6) & 3); any other value switches the
// far-bus check off (non-zero) or on (zero).
ci_error_code _mode_set_far_access(ci_camera_t*, _common_context_t* ctx, const _mode_row_t*, ci_u32 val) {
    if (val >= 2 && val <= 255) {
        if (ctx->sg_context != nullptr) ctx->sg_context->farBaseMap[(val >> 6) & 3] |= 1u << ((val >> 1) & 31);
    } else {
        ctx->allow_far_access = (ci_s32)val;
    }
    return CI_CAMERA_SUCCESS;
}

// Powering the sensor up, and releasing reset or shutdown, bring its
// registers back to their defaults: the cache no longer reflects them.
ci_error_code _mode_set_invalidate_on_nonzero(ci_camera_t* camera, _common_context_t*, const _mode_row_t*,
                                              ci_u32 val) {
    if (val != 0) ci_InvalidateRegCache(camera);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_set_invalidate_on_zero(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32 val) {
    if (val == 0) ci_InvalidateRegCache(camera);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_set_hidy(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row, ci_u32 val) {
    _mode_set_mirrored(camera, ctx, row, val);
    _updateImageType(camera);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_get_zero(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32* out) {
    *out = 0;
    return CI_CAMERA_SUCCESS;
}

// The grab time-out belongs to the board's transport; the store refuses it
// without logging.
ci_error_code _mode_set_one(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32) { return CI_CAMERA_ERROR; }

ci_error_code _mode_get_one(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32*) { return CI_CAMERA_ERROR; }
