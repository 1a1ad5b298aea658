// A register or a bitfield named on the command line as NAME or NAME.FIELD.
#pragma once

#include <string>

#include "camkit.h"
#include "cli_format.h"

namespace cli {

struct Target {
    ci_reg_data_t* reg = nullptr;
    ci_bitfield_t* field = nullptr;  // null for a whole register
    ValueKind kind;
    std::string label;               // the names as the sensor data spells them
};

// Finds the register (and bitfield) named by `text`; names are compared
// without regard to case.  On failure `error` says what is missing.
bool resolve_target(ci_camera_t* camera, const std::string& text, Target& target, std::string& error);

bool target_readable(const Target& target);
bool target_writable(const Target& target);

// Read and write the target's value as a right-aligned field (see cli_format.h).
ci_error_code read_target(ci_camera_t* camera, const Target& target, ci_u32& value);
ci_error_code write_target(ci_camera_t* camera, const Target& target, ci_u32 value);

}  // namespace cli
