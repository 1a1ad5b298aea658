// Writers of sensor descriptions: the sectioned text form and the XML form
// of what a reader put into a sensor record and the identification data of
// the camera's context.  Reading a written file gives the same records.
#pragma once

#include <stdio.h>

#include "core/camkit_private.h"

// What is written.
typedef struct sensor_source {
    const ci_sensor_t* sensor;
    const _common_context_t* ctx;
} sensor_source;

// Each returns CI_CAMERA_SUCCESS, or an error code after logging why.
ci_error_code sensor_write_text(FILE* fp, const sensor_source* src);
ci_error_code sensor_write_xml(FILE* fp, const sensor_source* src);

// ---- keywords both forms use (sensor_write_keys.cpp)
// The image-type keyword that reads back as the sensor's type at its pixel
// depth, or null for a type no keyword gives.
const char* sensor_image_keyword(const sensor_source* src);
const char* sensor_access_keyword(ci_u32 rw);
const char* sensor_space_keyword(ci_addr_type type);
// The address-space ID that places reg where it is (a name no entry has
// when the register sits in the table's first entry as an unknown space, or
// when there is no table).
const char* sensor_space_of(const ci_reg_data_t* reg);
// Whether the bits per clock were given: the key sets the receiver depth
// too, which otherwise keeps the camera's own value.
int sensor_bits_per_clock_given(const _common_context_t* ctx);
// Registers read before the address spaces have none; they are written
// before the address-space table.  The number of such leading registers.
ci_s32 sensor_regs_before_spaces(const ci_sensor_t* sensor);
// A write entry (rather than one to wait for).
int sensor_is_plain_write(const _versionRegWrite* w);
