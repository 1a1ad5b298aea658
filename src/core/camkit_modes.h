// The mode switchboard behind _SetMode/_GetMode: one row per ci_modes value
// with its setter and getter.  Shared by the table and the special handlers.
#pragma once

#include "core/camkit_core.h"

typedef struct _mode_row_t _mode_row_t;
// A setter stores val; a getter writes *out only when it succeeds (with the
// one documented exception of CI_HW_BUFFERING).
typedef ci_error_code (*_mode_set_fn)(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row,
                                      ci_u32 val);
typedef ci_error_code (*_mode_get_fn)(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row,
                                      ci_u32* out);

// A nullptr setter or getter means the mode is unrecognized in that direction.
struct _mode_row_t {
    _mode_set_fn set;
    _mode_get_fn get;
    _ctx_sg_field_t field;  // the value's place in the context / shared record
    _tl_setting_t setting;  // for the per-thread modes
};

// Generic handlers (camkit_modes.cpp).
ci_error_code _mode_not_supported_set(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32);
ci_error_code _mode_not_supported_get(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32*);
ci_error_code _mode_get_context(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32* out);
ci_error_code _mode_set_mirrored(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32 val);
ci_error_code _mode_get_shared_first(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32* out);

// Special handlers (camkit_modes_special.cpp).
ci_error_code _mode_set_unswizzle(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32 val);
ci_error_code _mode_get_swizzle_default(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32* out);
ci_error_code _mode_set_ignored(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32);
ci_error_code _mode_get_data_is_swizzled(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t*,
                                         ci_u32* out);
ci_error_code _mode_set_log_type(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32 val);
ci_error_code _mode_get_log_type(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32* out);
ci_error_code _mode_set_spoof_size(ci_camera_t*, _common_context_t* ctx, const _mode_row_t*, ci_u32 val);
ci_error_code _mode_get_spoof_size(ci_camera_t*, _common_context_t* ctx, const _mode_row_t*, ci_u32* out);
ci_error_code _mode_set_spoof_supported(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32);
ci_error_code _mode_set_hw_buffering(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t*, ci_u32 val);
ci_error_code _mode_get_hw_buffering(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row,
                                     ci_u32* out);
ci_error_code _mode_set_output_clock(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32 val);
ci_error_code _mode_get_output_clock(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32* out);
ci_error_code _mode_set_far_access(ci_camera_t*, _common_context_t* ctx, const _mode_row_t*, ci_u32 val);
ci_error_code _mode_set_invalidate_on_nonzero(ci_camera_t* camera, _common_context_t*, const _mode_row_t*,
                                              ci_u32 val);
ci_error_code _mode_set_invalidate_on_zero(ci_camera_t* camera, _common_context_t*, const _mode_row_t*, ci_u32 val);
ci_error_code _mode_set_hidy(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row, ci_u32 val);
ci_error_code _mode_get_zero(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32* out);
ci_error_code _mode_set_one(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32);
ci_error_code _mode_get_one(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32*);
