// Merging a far sensor's description into the near sensor (see
// ci_ParseFarSensorFile).
#pragma once

#include "core/camkit_private.h"

// Returns false when out of memory.
bool sensor_far_merge(ci_sensor_t* near, const ci_sensor_t* far, const char* id, ci_s32 bus, ci_u32 base);
