// A register or a bitfield named on the command line as NAME or NAME.FIELD.
#pragma once

#include <string>

#include "camkit.h"
#include "cli_format.h"

namespace cli {

// Register address and data sizes of a raw bus access ("--size 8/16"); 0
// takes the sensor's.
struct BusSizes {
    ci_u32 addrBits = 0;
    ci_u32 dataBits = 0;
};
bool parse_bus_sizes(const std::string& text, BusSizes& sizes, std::string& error);

enum class TargetForm {
    Named,         // NAME or NAME.FIELD of the sensor description
    SpaceAddress,  // 0x3012 (the current address space) or SPACE:0x3012
    BusAddress,    // SHIP:REG, a device on the bus that no description names
};

struct Target {
    TargetForm form = TargetForm::Named;
    ci_reg_data_t* reg = nullptr;
    ci_bitfield_t* field = nullptr;  // null for a whole register
    ValueKind kind;
    std::string label;               // the names as the sensor data spells them
    // Address forms: where, and "&MASK" bits (0: the whole register).
    ci_addr_type type = CI_REG_ADDR;
    ci_u32 space = 0;
    ci_u32 ship = 0;
    ci_u32 addr = 0;
    ci_u32 mask = 0;
    BusSizes sizes;
};

// Finds the register (and bitfield) named by `text`; names are compared
// without regard to case.  Addresses are taken as typed: "0x3012",
// "CORE:0x3012", "0x20:0x3000" (serial address : register) and any of them
// with "&MASK" for the bits of a mask.  On failure `error` says what is
// missing.
bool resolve_target(ci_camera_t* camera, const std::string& text, Target& target, std::string& error,
                    const BusSizes& sizes = BusSizes());

// The address forms (cli_target_addr.cpp).
bool is_address_text(const std::string& text);
bool resolve_address(ci_camera_t* camera, const std::string& text, const BusSizes& sizes, Target& target,
                     std::string& error);
ci_error_code read_address(ci_camera_t* camera, const Target& target, ci_u32& raw);
ci_error_code write_address(ci_camera_t* camera, const Target& target, ci_u32 raw);

bool target_readable(const Target& target);
bool target_writable(const Target& target);

// Read and write the target's value as a right-aligned field (see cli_format.h).
ci_error_code read_target(ci_camera_t* camera, const Target& target, ci_u32& value);
ci_error_code write_target(ci_camera_t* camera, const Target& target, ci_u32 value);

}  // namespace cli
