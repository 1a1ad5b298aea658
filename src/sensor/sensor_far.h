// Far-sensor files: a sensor reached through a far bus of the near sensor
// (the SUBDEVICES section of the text form, the `far_sensor` element of the
// XML form).  The far file is an ordinary sensor-data file in either form.
#pragma once

#include "core/camkit_private.h"

// Reads the far file (a name without '/' is looked up beside the near
// sensor's own file) and merges it into near: its address spaces are
// appended as spaces of far bus `bus` (1 or 2) at serial address `base`,
// with IDs "<id>_<ID>" (or "<id>" for a file without address spaces), its
// registers are appended with names "<id>_<NAME>" pointing at those spaces,
// and a copy of its record without tables becomes near's far1_sensor or
// far2_sensor with shipAddr = base.  Far sensors of a far sensor are not
// loaded.  Returns CI_PARSE_SUCCESS, or an error code after logging why.
ci_error_code ci_ParseFarSensorFile(ci_camera_t* camera, ci_sensor_t* near, const char* id, ci_s32 bus, ci_u32 base,
                                    const char* fileName);
// Bus number of "FAR1" / "FAR2" (ignoring case), 0 for anything else.
ci_s32 sensor_far_bus(const char* keyword);
