// The one way to build and tear down a camera record.
//
// A transport is a const table of operations (`_transport_ops_t`) plus its
// own functions.  `_transport_new_camera` allocates the record and its common
// context, stamps the identity the table names, points the camera's register
// slots at the locking generic routines and installs the table's hooks; the
// transport then adds its private context and identifies the sensor.
// `_transport_free_camera` undoes all of it in the fixed order: the
// transport's private context, the sensor description, the common context,
// the record.  Null entries in the table keep the core's defaults.
#ifndef CAMKIT_TRANSPORT_COMMON_H
#define CAMKIT_TRANSPORT_COMMON_H

#include "core/camkit_private.h"

typedef struct _transport_ops_t {
    // Identity stamped on every camera of the transport.
    ci_u32 transportType;          // CI_TRANSPORT_* bit
    const char* transportName;     // camera->transportName
    const char* productName;       // default camera->productName
    const char* driverInfo;        // default ctx->driverInfo
    // The camera's function table (null: not supported / core default).
    ci_start_transport_fn startTransport;
    ci_stop_transport_fn stopTransport;
    ci_grab_frame_fn grabFrame;
    ci_get_frame_data_fn getFrameData;
    ci_update_frame_size_fn updateFrameSize;
    ci_update_buffer_size_fn updateBufferSize;
    ci_set_mode_fn setMode;        // null: the core's _SetMode
    ci_get_mode_fn getMode;        // null: the core's _GetMode
    ci_init_transport_fn initTransport;
    // Device hooks called with the camera lock held (null: the core's
    // defaults where one exists, else not supported).
    ci_read_sensor_registers_fn readSensorRegistersNolock;
    ci_write_sensor_registers_fn writeSensorRegistersNolock;
    ci_read_register_fn readRegisterNolock;
    ci_write_register_fn writeRegisterNolock;
    ci_read_registers_fn readRegistersNolock;
    ci_write_registers_fn writeRegistersNolock;
    ci_read_system_registers_fn readSystemRegistersNolock;
    ci_write_system_registers_fn writeSystemRegistersNolock;
    ci_send_command_fn sendCommandNolock;
    ci_set_hardware_unswizzle_fn setHardwareUnswizzle;
    ci_set_hardware_buffering_fn setHardwareBuffering;
    ci_get_device_name_fn getDeviceName;
    ci_ini_command_fn transportIniCommand;
    // Frees what the transport hung on ctx->transport_context (null: free()).
    void (*freeTransportContext)(ci_camera_t* camera, void* transportContext);
} _transport_ops_t;

// A zeroed camera with its common context, identity and hooks from `ops`,
// and `transportContext` (owned from now on) as its private state.  Null when
// memory runs out (then `transportContext` has been released through ops).
ci_camera_t* _transport_new_camera(const _transport_ops_t* ops, void* transportContext);

// Re-applies the table's hooks to a camera whose context exists (a test
// double or transport that rebuilt its context).
void _transport_apply_ops(ci_camera_t* camera, const _transport_ops_t* ops);

// Takes back what _transport_apply_ops installed: the device hooks still
// pointing at the table's functions, and the transport context (not freed).
// The camera is left without a device.
void _transport_clear_ops(ci_camera_t* camera, const _transport_ops_t* ops);

// The transport's private state of a camera built by _transport_new_camera.
void* _transport_context(const ci_camera_t* camera);

// Frees everything _transport_new_camera built plus the sensor description.
// Safe on null and on a half-built camera.
void _transport_free_camera(const _transport_ops_t* ops, ci_camera_t* camera);

// Frees `n` cameras of one transport (the registry's close hook body).
void _transport_free_cameras(const _transport_ops_t* ops, ci_s32 n, ci_camera_t** cameras);

// A getFrameData operation for transports that keep the last frame's data in
// the common context (ctx->frame_data).
ci_error_code _transport_get_frame_data(ci_camera_t* camera, ci_frame_data_t* frameData);

// The library's frame-size update: a zero leaves that value; pixel bits and
// bytes follow the clocking of the common context, the image type is
// recomputed and the buffer holds width x height pixels.
ci_error_code _transport_update_frame_size(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 nBitsPerClock,
                                           ci_s32 nClocksPerPixel);

// A getMode operation for cameras whose register reads never disturb a
// frame (no device, or a file): CI_SIMUL_REG_FRAMEGRAB reads 1, every other
// mode comes from the core's store.
ci_error_code _transport_get_mode_simultaneous(ci_camera_t* camera, ci_modes mode, ci_u32* val);

// camera->sensor->shipAddr, or 0 when no sensor is attached.
ci_u32 _transport_sensor_base(const ci_camera_t* camera);

// Allocates camera->sensor and reads the sensor data file `path` into it
// (no probing): the null and file-backed cameras describe their sensor this
// way.  CI_SENSOR_FILE_PARSE_ERROR when the file does not parse.
ci_error_code _transport_load_sensor_file(ci_camera_t* camera, const char* path);

#endif
