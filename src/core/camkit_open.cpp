// Opening cameras: the walk over the transport registry.
//
// Rows are tried in registry order.  Every camera a transport finds is
// appended to its row's list and gets the shared device record and the
// register cache.  A file camera (image or video) ends the walk: playing a
// file back excludes probing real hardware.  When nothing opens, the most
// telling failure (the largest code any transport gave) is reported.
#define CK_SOURCE "camkit"
#include <cassert>
#include <cstdlib>
#include <cstring>

#include "core/camkit_core.h"

volatile ci_u32 g_cancel_all_probes = 0;

static void _set_cancel_flag(ci_u32 value) { __atomic_store_n(&g_cancel_all_probes, value, __ATOMIC_RELAXED); }

void ci_CancelProbe(void) { _set_cancel_flag(1); }

// Runs of directory delimiters collapse to one, except that a path may begin
// with two (a network share).
static char* _clean_sensor_path(const char* path) {
    size_t length = strlen(path);
    char* clean = (char*)malloc(length + 1);
    if (clean == nullptr) return nullptr;
    size_t out = 0;
    for (size_t i = 0; i < length; i++) {
        if (i > 0 && osal_dirdelim(path[i]) && osal_dirdelim(path[i + 1])) continue;
        clean[out++] = path[i];
    }
    clean[out] = '\0';
    return clean;
}

// Appends the n cameras a transport found to its row; returns how many were
// kept (0 when the list cannot grow: the transport closes them again).
static ci_s32 _register_cameras(_transport_t* row, ci_camera_t** found, ci_s32 n) {
    size_t size = (size_t)(row->num_open_cameras + n) * sizeof(ci_camera_t*);
    ci_camera_t** list = (ci_camera_t**)realloc(row->open_cameras, size);
    if (list == nullptr) {
        if (row->closeCameras != nullptr) row->closeCameras(n, found);
        CK_ERR(CI_CAMERA_ERROR, "cannot grow the list of open cameras");
        return 0;
    }
    row->open_cameras = list;
    for (ci_s32 i = 0; i < n; i++) {
        list[row->num_open_cameras++] = found[i];
        _init_global_context(found[i]);
        _init_reg_cache(found[i]);
    }
    return n;
}

// Calls each selected transport; returns the largest error code seen while
// nothing was open.
static ci_error_code _walk_registry(ci_camera_t** cameras, ci_s32* numCameras, const char* path, ci_u32 mask,
                                    const char* pluginName) {
    ci_error_code largest = CI_CAMERA_SUCCESS;
    for (ci_s32 r = 0; r < CI_NUM_TRANSPORTS; r++) {
        _transport_t* row = &gTransports[r];
        if ((row->transport_type & mask) == 0 || row->openCameras == nullptr) continue;
        ci_s32 n = 0;
        ci_error_code rc = row->openCameras(&cameras[*numCameras], &n, path, pluginName);
        if (n > 0) n = _register_cameras(row, &cameras[*numCameras], n);
        if (n > 0) *numCameras += n;
        if (*numCameras == 0 && rc > largest) largest = rc;
        if (n > 0 && _is_file_transport(row->transport_type)) break;
    }
    return largest;
}

ci_error_code ci_OpenCameras2(ci_camera_t** cameras, ci_s32* numCameras, const char* sensorDirOrFile,
                              ci_u32 transportMask, const char* pluginName) {
    assert(cameras != nullptr && numCameras != nullptr);
    char* path = _clean_sensor_path(sensorDirOrFile != nullptr ? sensorDirOrFile : ci_SensorData());
    if (path == nullptr) return CK_ERR(CI_CAMERA_ERROR, "out of memory");
    _set_cancel_flag(0);
    *numCameras = 0;
    ci_error_code largest =
        _walk_registry(cameras, numCameras, path, transportMask, pluginName != nullptr ? pluginName : "");
    _set_cancel_flag(0);
    free(path);
    if (*numCameras == 0) return largest;
    for (ci_s32 i = 0; i < *numCameras; i++) {
        if (cameras[i]->sensor != nullptr) osal_expandpath(cameras[i]->sensor->sensorFileName, 255);
    }
    ci_EnterThread();
    return CI_CAMERA_SUCCESS;
}

ci_error_code ci_OpenCameras(ci_camera_t** cameras, ci_s32* numCameras, const char* sensorDirOrFile) {
    return ci_OpenCameras2(cameras, numCameras, sensorDirOrFile, 0xFFFF, "");
}
