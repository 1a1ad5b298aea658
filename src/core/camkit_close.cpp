// Closing cameras: each goes back to its transport's close operation and
// leaves its registry row and the calling thread's view table.
#define CK_SOURCE "camkit"
#include <cassert>
#include <cstdlib>
#include <cstring>

#include "core/camkit_core.h"

void ci_CloseCameras(void) {
    for (ci_s32 r = 0; r < CI_NUM_TRANSPORTS; r++) {
        _transport_t* row = &gTransports[r];
        if (row->num_open_cameras > 0 && row->closeCameras != nullptr) {
            row->closeCameras(row->num_open_cameras, row->open_cameras);
        }
        free(row->open_cameras);
        row->open_cameras = nullptr;
        row->num_open_cameras = 0;
    }
    ci_ExitThread();
}

// Later views move down one slot so the table stays in registry order.
static void _forget_thread_views(const ci_camera_t* camera) {
    _tl_context_t* table = _thread_table();
    if (table == nullptr) return;
    ci_s32 slot = 0;
    while (slot < CI_MAX_THREAD_CAMERAS) {
        if (table[slot].pCamera != camera) {
            slot++;
            continue;
        }
        memmove(&table[slot], &table[slot + 1], (size_t)(CI_MAX_THREAD_CAMERAS - 1 - slot) * sizeof *table);
        table[CI_MAX_THREAD_CAMERAS - 1].pCamera = nullptr;
    }
}

// Closes camera if row holds it; returns whether it did.
static int _close_in_row(_transport_t* row, ci_camera_t* camera) {
    for (ci_s32 j = 0; j < row->num_open_cameras; j++) {
        if (row->open_cameras[j] != camera) continue;
        _forget_thread_views(camera);
        ci_camera_t* one[1] = {camera};
        if (row->closeCameras != nullptr) row->closeCameras(1, one);
        row->num_open_cameras--;
        memmove(&row->open_cameras[j], &row->open_cameras[j + 1],
                (size_t)(row->num_open_cameras - j) * sizeof(ci_camera_t*));
        if (row->num_open_cameras == 0) {
            free(row->open_cameras);
            row->open_cameras = nullptr;
        }
        return 1;
    }
    return 0;
}

void ci_CloseCameras2(ci_camera_t** cameras, ci_s32 numCameras) {
    assert(cameras != nullptr || numCameras <= 0);
    for (ci_s32 i = 0; i < numCameras; i++) {
        if (cameras[i] == nullptr) continue;
        for (ci_s32 r = 0; r < CI_NUM_TRANSPORTS; r++) {
            if (_close_in_row(&gTransports[r], cameras[i])) break;
        }
    }
    if (!_any_camera_open()) ci_ExitThread();
}
