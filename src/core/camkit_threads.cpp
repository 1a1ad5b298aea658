// Per-thread views of the open cameras.
//
// Register address size, data size and cache use are settings of a thread,
// not of a camera: each thread that entered holds a table of
// CI_MAX_THREAD_CAMERAS views in a thread-local slot.  The table is filled
// from the registry in a fixed order (file cameras excluded), so slot k
// normally names the k-th non-file camera.  A thread without a table, or a
// camera without a slot, uses the view kept in the camera's own context.
#define CK_SOURCE "camkit"
#include <cassert>

#include "core/camkit_core.h"

ci_u32 gTlsContext = OSAL_TLS_UNASSIGNED;

static const _tl_context_t tlContextDefault = {nullptr, 8, 16, 1};

_tl_context_t* _thread_table(void) {
    return (_tl_context_t*)osal_get_thread_local(gTlsContext);
}

int _any_camera_open(void) {
    for (ci_s32 row = 0; row < CI_NUM_TRANSPORTS; row++) {
        if (gTransports[row].num_open_cameras > 0) return 1;
    }
    return 0;
}

void ci_EnterThread(void) {
    if (!_any_camera_open()) return;
    _tl_context_t* table = (_tl_context_t*)osal_alloc_thread_local(&gTlsContext, CI_MAX_THREAD_CAMERAS,
                                                                    sizeof(_tl_context_t), &tlContextDefault);
    if (table == nullptr) return;  // the thread keeps using the contexts' own views
    ci_s32 slot = 0;
    for (ci_s32 row = 0; row < CI_NUM_TRANSPORTS; row++) {
        const _transport_t* transport = &gTransports[row];
        if (_is_file_transport(transport->transport_type)) continue;
        for (ci_s32 i = 0; i < transport->num_open_cameras && slot < CI_MAX_THREAD_CAMERAS; i++, slot++) {
            ci_camera_t* camera = transport->open_cameras[i];
            if (table[slot].pCamera == camera || _ctx(camera) == nullptr) continue;
            _copy_default_view(_ctx(camera), &table[slot]);
            table[slot].pCamera = camera;
        }
    }
}

void ci_ExitThread(void) {
    if (gTlsContext >= OSAL_TLS_UNASSIGNED) return;
    osal_free_thread_local(&gTlsContext);
}

_tl_context_t* _thread_local_context(ci_camera_t* camera) {
    _common_context_t* ctx = _ctx(camera);
    assert(ctx != nullptr);
    _tl_context_t* table = _thread_table();
    if (table == nullptr && gTlsContext < OSAL_TLS_UNASSIGNED) {
        ci_EnterThread();
        table = _thread_table();
    }
    if (table != nullptr) {
        for (ci_s32 slot = 0; slot < CI_MAX_THREAD_CAMERAS; slot++) {
            if (table[slot].pCamera == camera) return &table[slot];
        }
    }
    return &ctx->tl_context;
}

ci_s32 _threadCacheUse(ci_camera_t* camera) {
    _tl_context_t* view = _thread_local_context(camera);
    return view != nullptr ? __atomic_load_n(&view->use_reg_cache, __ATOMIC_RELAXED) : 0;
}

ci_s32* _tl_setting(_tl_context_t* view, _tl_setting_t setting) {
    switch (setting) {
    case CK_TL_ADDR_SIZE: return &view->reg_addr_size;
    case CK_TL_DATA_SIZE: return &view->reg_data_size;
    default: return &view->use_reg_cache;
    }
}

void _set_default_view(_common_context_t* ctx, _tl_setting_t setting, ci_s32 value) {
    __atomic_store_n(_tl_setting(&ctx->tl_context, setting), value, __ATOMIC_RELAXED);
}

void _copy_default_view(const _common_context_t* ctx, _tl_context_t* out) {
    _tl_context_t* view = (_tl_context_t*)&ctx->tl_context;
    out->pCamera = view->pCamera;
    for (int s = CK_TL_ADDR_SIZE; s <= CK_TL_USE_CACHE; s++) {
        _tl_setting_t setting = (_tl_setting_t)s;
        *_tl_setting(out, setting) = __atomic_load_n(_tl_setting(view, setting), __ATOMIC_RELAXED);
    }
}
