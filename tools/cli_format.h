// How register and bitfield values are shown and parsed.
//
// A value is handled as a right-aligned field: its data type, its mask
// shifted down to bit 0, and the shift that takes it out of the register.
// Hexadecimal registers are the exception: they keep their raw, unshifted
// value (an engineer compares them with a datasheet), so their shift is 0
// and their mask is the register's own.
#pragma once

#include <string>

#include "camkit.h"

namespace cli {

struct ValueKind {
    ci_data_types type = CI_TYPE_HEX;
    ci_u32 mask = 0xFFFFFFFFu;   // the field's mask after the shift
    unsigned shift = 0;          // bit position of the field in the register
};

// The mask of a register, or all the bits of its words when the file gives 0.
ci_u32 register_mask(const ci_reg_data_t* reg, const ci_sensor_t* sensor);

ValueKind register_kind(const ci_reg_data_t* reg, const ci_sensor_t* sensor);
ValueKind bitfield_kind(const ci_bitfield_t* field);

// The field's value taken out of a register value, and put back.
ci_u32 field_from_register(const ValueKind& kind, ci_u32 regValue);
ci_u32 field_to_register(const ValueKind& kind, ci_u32 fieldValue);

// Text of a field value by its data type.
std::string format_value(const ValueKind& kind, ci_u32 fieldValue);

// Parses a value typed by a person: "0x..." gives the raw bits for every
// type; otherwise the number is decimal (with a fraction for fixed-point and
// floating types).  Rejects text that is not a number of that form and
// numbers that the field cannot hold.  On failure `error` says why.
bool parse_value(const ValueKind& kind, const std::string& text, ci_u32& fieldValue, std::string& error);

// "0x%0*X" with as many digits as `bits` needs (8 bits: 2 digits).
std::string format_hex(ci_u32 value, ci_u32 bits);

// Digits a register address of the sensor needs.
std::string format_address(const ci_sensor_t* sensor, ci_u32 addr);

const char* addr_type_name(ci_addr_type type);

}  // namespace cli
