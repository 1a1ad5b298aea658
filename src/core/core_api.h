// What the core (transport registry, contexts and modes, identification,
// image types) offers the other modules.
#pragma once

#include "core/camkit_records.h"

// ---------------------------------------------------------------------------
// Transport registry (core: camkit)
// ---------------------------------------------------------------------------
typedef ci_error_code (*ci_open_cameras_fn)(ci_camera_t** cameras, ci_s32* numCameras, const char* sensorDirOrFile,
                                            const char* pluginName);
typedef void (*ci_close_cameras_fn)(ci_s32 numCameras, ci_camera_t** cameras);

typedef struct _transport_t {
    ci_u32 transport_type;
    ci_s32 num_open_cameras;
    ci_s32 num_open_transports;
    ci_camera_t** open_cameras;
    ci_open_cameras_fn openCameras;
    ci_close_cameras_fn closeCameras;
} _transport_t;

#define CI_NUM_TRANSPORTS 5
extern _transport_t gTransports[CI_NUM_TRANSPORTS];
extern volatile ci_u32 g_cancel_all_probes;
extern ci_u32 gTlsContext;
ci_s32 _retSizeofTransportArray(void);

// Transport entry points (transport/*).  A transport that is not built yet
// answers "no camera found".
ci_error_code BMP_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void BMP_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code AVI_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void AVI_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code DLL_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void DLL_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code NUL_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void NUL_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code _CILIBUSB_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void USB_Bulk_CloseCameras(ci_s32 n, ci_camera_t** cameras);

// ---------------------------------------------------------------------------
// Camera contexts and modes (core: camkit, camkit_modes)
// ---------------------------------------------------------------------------
void _init_common_context(ci_camera_t* camera);
void _free_common_context(ci_camera_t* camera);
void _init_global_context(ci_camera_t* camera);
void _free_global_context(ci_camera_t* camera);
_tl_context_t* _thread_local_context(ci_camera_t* camera);
// The calling thread's cache setting (0 device, 1 cache when valid, 2 cache
// only).  Threads that never entered share the camera's own view, which any
// of them may change, so the setting is read atomically.
ci_s32 _threadCacheUse(ci_camera_t* camera);
// Saves a camera mode, sets a new value, and restores the saved value when
// it goes out of scope.  A mode the camera cannot read is left alone.
class ScopedMode {
public:
    ScopedMode(ci_camera_t* camera, ci_modes mode, ci_u32 value);
    // Only saves the mode (the caller changes it as it goes).
    ScopedMode(ci_camera_t* camera, ci_modes mode);
    ~ScopedMode();
    ScopedMode(const ScopedMode&) = delete;
    ScopedMode& operator=(const ScopedMode&) = delete;

private:
    ci_camera_t* camera_;
    ci_modes mode_;
    ci_u32 saved_;
    bool restore_;
};
ci_error_code _SetMode(ci_camera_t* camera, ci_modes mode, ci_u32 val);
ci_error_code _GetMode(ci_camera_t* camera, ci_modes mode, ci_u32* val);
// Board output clock (CI_OUTPUT_CLOCK_FREQ).
ci_error_code _setOutputClockFreq(ci_camera_t* camera, ci_u32 freq);
ci_error_code _getOutputClockFreq(ci_camera_t* camera, ci_u32* freq);

// ---------------------------------------------------------------------------
// Sensor identification (core: camkit_ident)
// ---------------------------------------------------------------------------
ci_error_code _getSensor(ci_camera_t* camera, const char* sensorDirOrFile);
ci_error_code _findMatch(ci_camera_t* camera, const char* dir, const char* filter, ci_s32 ignore,
                         ci_s32 addrSize);
ci_s32 _checkSensorMatch(ci_camera_t* camera, ci_s32 chipVersionOnly);
ci_s32 _checkExtraDescr(ci_camera_t* camera, ci_s32 term);
ci_s32 _versionResetIf(ci_camera_t* camera, ci_s32 term);
ci_s32 _checkFuseRev(ci_camera_t* camera, ci_s32 term);
ci_s32 _checkExtraSerialMatch(ci_camera_t* camera, ci_s32 term);
void _setUnusedBase(ci_camera_t* camera, ci_u32 base);
ci_s32 _unusedBase(ci_camera_t* camera, ci_u32 base);
void _resetBaseMap(ci_camera_t* camera);

// ---------------------------------------------------------------------------
// Image types and frame post-processing (core: camkit_image)
// ---------------------------------------------------------------------------
typedef enum swizzle_sit_t { SWIZSIT_UNNEEDED = 0, SWIZSIT_HW_CAN = 1, SWIZSIT_NEEDED = 2 } swizzle_sit_t;
void _updateImageType(ci_camera_t* camera);
swizzle_sit_t _swizzle_situation(ci_camera_t* camera);
ci_u32 _swizzleDefault(ci_camera_t* camera);
ci_error_code _set_unswizzle_mode(ci_camera_t* camera, ci_u32 value);
void _unSwizzleBuffer(ci_camera_t* camera, ci_u8* buffer);
void _repackLsbAligned8(ci_camera_t* camera, ci_u8* buffer);
void _mergeDeepBayer(ci_camera_t* camera, ci_u8* buffer);
ci_u32 _pixelBits(ci_camera_t* camera);
ci_u32 _bytesPerClock(ci_camera_t* camera);
ci_u32 _pixelBytes(ci_camera_t* camera);
// The rules behind the three above, for a sensor record that is not (yet)
// attached to a camera (the sensor-data readers use them while parsing).
ci_u32 _pixelBitsFor(ci_image_types type, ci_u32 bitsPerClock, ci_u32 clocksPerPixel);
// The sample depth a 10-, 12- or 14-bit Bayer type names (its zoom and
// HDR forms included); 0 for every other type.
ci_u32 _bayerTypeDepth(ci_image_types type);
ci_u32 _pixelBytesFor(ci_image_types type, ci_u32 pixelBits, ci_u32 bitsPerClock, ci_u32 clocksPerPixel);
