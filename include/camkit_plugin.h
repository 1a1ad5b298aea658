/* camkit plugin interface: what a transport plugin exports and what the
 * library hands it.
 *
 * A plugin is a shared library ("*.so", also found as "*.dll") that the
 * plugin transport loads.  It exports C functions with the names below; only
 * an open entry ("OpenCameraDLL" or "InitCamera2DLL"), "StartTransportDLL"
 * and "StopTransportDLL" are required, every other one has a default in the
 * library.  The plugin is opened once per device index (0, 1, 2, ...) until
 * its open entry fails or the library holds 50 cameras; the open entry
 * identifies the sensor through the `getSensor` helper.
 *
 * Register hooks are called with the camera's lock held.  A plugin that does
 * not export the sensor-register hooks gets the library's: they set the
 * thread's register address and data sizes to the sensor's, select the
 * register's page when the sensor has page selectors, and call the plugin's
 * plain register read or write at the sensor's serial address.
 *
 * A plugin compiles against this header alone (it includes camkit.h).
 */
#ifndef CAMKIT_PLUGIN_H
#define CAMKIT_PLUGIN_H

#include <stdint.h>

#include "camkit.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define CI_PLUGIN_EXPORT __attribute__((visibility("default")))
#else
#define CI_PLUGIN_EXPORT
#endif

/* Fields of a camera reachable through the helper table's setContext and
 * getContext.  `value` points at: a ci_u32 (BITS_PER_CLOCK,
 * CLOCKS_PER_PIXEL, PIXCLK_POLARITY), a void* (PRIVATE_DATA: the plugin's own
 * state of the camera), an intptr_t (APP_HWND: a host window handle), a
 * ci_string (DRIVER_INFO). */
typedef enum ci_context_fields {
    CI_CONTEXT_BITS_PER_CLOCK = 1,
    CI_CONTEXT_CLOCKS_PER_PIXEL = 2,
    CI_CONTEXT_PIXCLK_POLARITY = 3,
    CI_CONTEXT_PRIVATE_DATA = 4,
    CI_CONTEXT_APP_HWND = 5,
    CI_CONTEXT_DRIVER_INFO = 6,
    _CI_CONTEXT_FIELDS_32BIT = 0x7FFFFFFF
} ci_context_fields;

/* Device hooks beyond the camera record's function table. */
typedef ci_error_code (*ci_read_system_registers_fn)(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace,
                                                     ci_u32 startAddr, ci_u32 dataSize, ci_u32 count,
                                                     ci_u32* vals);
typedef ci_error_code (*ci_write_system_registers_fn)(ci_camera_t* camera, ci_addr_type addrType,
                                                      ci_u32 addrSpace, ci_u32 startAddr, ci_u32 dataSize,
                                                      ci_u32 count, ci_u32* vals);
typedef ci_error_code (*ci_send_command_fn)(ci_camera_t* camera, ci_u32 command, ci_u32 paramSize,
                                            const ci_u8* paramBuffer, ci_u32* statusCode, ci_u32 resultSize,
                                            ci_u8* resultBuffer, ci_u32* bytesReturned);
typedef void (*ci_notify_callback_fn)(ci_camera_t* camera, ci_notify_codes code);
typedef ci_u32 (*ci_set_notify_callback_fn)(ci_camera_t* camera, ci_notify_callback_fn callback);
typedef ci_error_code (*ci_enable_device_notification_fn)(ci_camera_t* camera, intptr_t windowHandle);
typedef ci_error_code (*ci_disable_device_notification_fn)(ci_camera_t* camera);
typedef ci_error_code (*ci_match_dev_change_msg_fn)(ci_camera_t* camera, ci_u32 message, void* data);
typedef const char* (*ci_get_device_name_fn)(ci_camera_t* camera);
/* A plugin's preset command handler is a ci_ini_command_fn (camkit.h). */

/* The helper table, handed to "SetHelpersDLL" before the first open. */
typedef struct ci_transport_helpers_t {
    /* Identifies the sensor of a camera whose register hooks work: probes
     * the sensor data files of the directory (or the one file) and hangs the
     * matching description on camera->sensor. */
    ci_error_code (*getSensor)(ci_camera_t* camera, const char* sensorDirOrFile);
    /* Recomputes the sensor's image type from the clocking settings. */
    void (*updateImageType)(ci_camera_t* camera);
    ci_error_code (*errorLog)(ci_error_code code, ci_s32 level, const char* text, const char* source,
                              const char* function, ci_s32 line);
    void (*log)(ci_s32 logType, const char* text, const char* source, const char* function, ci_s32 line);
    /* The library's own mode store, for plugins that handle a few modes. */
    ci_error_code (*setMode)(ci_camera_t* camera, ci_modes mode, ci_u32 value);
    ci_error_code (*getMode)(ci_camera_t* camera, ci_modes mode, ci_u32* value);
    ci_error_code (*setContext)(ci_camera_t* camera, ci_context_fields field, const void* value);
    ci_error_code (*getContext)(ci_camera_t* camera, ci_context_fields field, void* value);
    /* The library's frame-size update (size, pixel format, buffer size). */
    ci_error_code (*updateFrameSize)(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 bitsPerClock,
                                     ci_s32 clocksPerPixel);
    /* Frame post-processing of a grabbed buffer, in place. */
    void (*unswizzleBuffer)(ci_camera_t* camera, ci_u8* buffer);
    void (*mergeDeepBayer)(ci_camera_t* camera, ci_u8* buffer);
    /* Reads a register or bitfield of the camera's sensor by name (the
     * bitfield name may be empty), with the camera's lock and cache rules. */
    ci_error_code (*readReg)(ci_camera_t* camera, const char* regName, const char* bitfieldName, ci_u32* value);
    /* A setting of the camera's board: key KEY of section [BOARD] in the
     * camera description file (*.cam) that named the plugin, copied into
     * value (at most size bytes with the terminating zero).
     * CI_CAMERA_NOT_SUPPORTED when there is no such file or key. */
    ci_error_code (*getBoardConfig)(ci_camera_t* camera, const char* key, char* value, ci_u32 size);
    void* _reserved5;
    void* _reserved6;
    void* _reserved7;
} ci_transport_helpers_t;

/* Entry points, by their exported names. */
typedef void (*ci_plugin_set_helpers_fn)(const ci_transport_helpers_t* helpers);        /* "SetHelpersDLL" */
typedef ci_error_code (*ci_plugin_open_fn)(ci_camera_t* camera, const char* sensorDirOrFile,
                                           ci_s32 deviceIndex); /* "OpenCameraDLL", "InitCamera2DLL" */
typedef ci_error_code (*ci_plugin_close_fn)(ci_camera_t* camera);                        /* "CloseCameraDLL" */
typedef ci_error_code (*ci_plugin_reg_control_fn)(ci_camera_t* camera, ci_u32 control, ci_u32* value);
typedef ci_s32 (*ci_plugin_query_fn)(ci_camera_t* camera); /* "PlayCapableDLL", "IsViewfinderDLL" */
/* The others take the camera function table's types: "StartTransportDLL"
 * and "StopTransportDLL" ci_start_transport_fn / ci_stop_transport_fn,
 * "ReadSensorRegistersDLL" ci_read_sensor_registers_fn, "ReadRegisterDLL"
 * ci_read_register_fn, "ReadRegistersDLL" ci_read_registers_fn (and their
 * Write forms), "GrabFrameDLL" ci_grab_frame_fn, "GetFrameDataDLL"
 * ci_get_frame_data_fn, "UpdateFrameSizeDLL" ci_update_frame_size_fn,
 * "UpdateBufferSizeDLL" ci_update_buffer_size_fn, "SetModeDLL" and
 * "GetModeDLL" ci_set_mode_fn / ci_get_mode_fn, "InitTransportDLL"
 * ci_init_transport_fn, "SendCommandDLL" ci_send_command_fn,
 * "ReadSystemRegistersDLL" / "WriteSystemRegistersDLL",
 * "IniFileCommandDLL" ci_ini_command_fn, "GetDeviceNameDLL"
 * ci_get_device_name_fn, "RegControlDLL" ci_plugin_reg_control_fn, and the
 * device-notification hooks "SetNotifyCallbackDLL",
 * "EnableDeviceNotificationDLL", "MatchDevChangeMsgDLL",
 * "DisableDeviceNotificationDLL". */

#ifdef __cplusplus
}
#endif

#endif
