// The sensor description of a camera that plays back a file: a name, a
// frame size and pixel format, and a few 16-bit registers at addresses 0..n-1
// on ship address 0 that carry the playback state.  The file-backed
// transports (still image, video) describe themselves this way.
#ifndef CAMKIT_SYNTHETIC_SENSOR_H
#define CAMKIT_SYNTHETIC_SENSOR_H

#include "core/camkit_private.h"

typedef struct _synthetic_reg_t {
    const char* name;         // unique_desc
    const char* displayName;  // reg_desc
    ci_u32 rw;                // 0 read-only, 1 read-write
    ci_u32 bitmask;
} _synthetic_reg_t;

typedef struct _synthetic_sensor_t {
    const char* sensorName;
    ci_u32 width, height;
    ci_u32 pixelBytes, pixelBits;
    ci_image_types imageType;
    const _synthetic_reg_t* regs;
    ci_s32 numRegs;
} _synthetic_sensor_t;

// Allocates camera->sensor from the template: full and current size, zoom 1,
// 8-bit register addresses and 16-bit data, sensor type CI_BITMAP_SENSOR,
// file name `path` and part number the path after its last backslash.
ci_error_code _synthetic_sensor_create(ci_camera_t* camera, const _synthetic_sensor_t* tmpl, const char* path);

// The register file index a synthetic register access reaches, or -1 when
// the access goes elsewhere (another ship address or an address past the
// last register): such reads give 0 and writes are dropped.
ci_s32 _synthetic_reg_index(const ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_s32 numRegs);

#endif
