#pragma once
// Field-by-field comparison of two sensor descriptions with the
// identification data read with them (the file name and the text form's
// line-form version aside).  Each difference is one line naming the field.
#include <string>
#include <vector>

#include "core/camkit_private.h"

struct SensorView {
    const ci_sensor_t* sensor;
    const _common_context_t* ctx;
};

std::vector<std::string> sensor_differences(SensorView a, SensorView b);
