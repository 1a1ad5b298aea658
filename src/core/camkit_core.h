// Helpers shared by the camera-record files of the core (contexts, open and
// close, thread views, modes).  Not part of the cross-module interface.
#pragma once

#include <stddef.h>
#include <string.h>

#include "core/camkit_private.h"

// Image-file and video-file cameras (and the reserved 0x40 kind) are "file
// cameras": one of them ends the open walk and they get no thread view.
static inline int _is_file_transport(ci_u32 transportType) {
    return transportType == 0x10u || transportType == 0x20u || transportType == 0x40u;
}

// A 32-bit value that lives both in the camera context and in the record
// shared by every opener of the device.
typedef struct _ctx_sg_field_t {
    size_t ctx_offset;
    size_t sg_offset;
} _ctx_sg_field_t;

#define CK_CTX_SG(ctxField, sgField) \
    _ctx_sg_field_t { offsetof(_common_context_t, ctxField), offsetof(_sg_context_t, sgField) }

static inline ci_u32 _load_u32(const void* base, size_t offset) {
    ci_u32 value;
    memcpy(&value, (const char*)base + offset, sizeof value);
    return value;
}

static inline void _store_u32(void* base, size_t offset, ci_u32 value) {
    memcpy((char*)base + offset, &value, sizeof value);
}

// Stores value in the context and, when the camera has one, in the shared
// record.
void _store_mirrored(_common_context_t* ctx, const _ctx_sg_field_t* field, ci_u32 value);

// Whether any registry row holds an open camera.
int _any_camera_open(void);

// The calling thread's table of camera views (nullptr when it has none).
_tl_context_t* _thread_table(void);

// The three per-thread settings of a camera view.
typedef enum _tl_setting_t { CK_TL_ADDR_SIZE, CK_TL_DATA_SIZE, CK_TL_USE_CACHE } _tl_setting_t;
ci_s32* _tl_setting(_tl_context_t* view, _tl_setting_t setting);
// The camera's own (default) view is written by any thread that changes a
// setting and read by threads entering; these two access it atomically.
void _set_default_view(_common_context_t* ctx, _tl_setting_t setting, ci_s32 value);
void _copy_default_view(const _common_context_t* ctx, _tl_context_t* out);
