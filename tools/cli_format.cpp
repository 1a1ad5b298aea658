#include "cli_format.h"

#include <bit>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace cli {
namespace {

bool known_type(ci_data_types type) { return type >= CI_TYPE_HEX && type <= CI_TYPE_FLOAT16; }

ci_u32 ones(ci_u32 bits) { return bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1u; }

// The library's step between neighbouring values of a type: 1 for the
// integer types, 2^-n for fixed point with n fraction bits, 0 for floats.
double value_step(const ValueKind& kind) { return ci_DataTypeStep(kind.type, kind.mask); }

bool has_hex_marker(const std::string& text) { return text.find_first_of("xX") != std::string::npos; }

bool is_hex_literal(const std::string& text) {
    if (text.size() < 3 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) return false;
    for (size_t i = 2; i < text.size(); ++i) {
        if (!std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
    }
    return true;
}

bool is_integer_literal(const std::string& text) {
    size_t i = (text[0] == '-' || text[0] == '+') ? 1 : 0;
    if (i >= text.size()) return false;
    for (; i < text.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
    }
    return true;
}

bool fits_mask(long long v, ci_u32 mask) {
    return v >= 0 && v <= 0xFFFFFFFFll && (static_cast<ci_u32>(v) & ~mask) == 0;
}

std::string range_text(double lo, double hi) {
    char buf[96];
    std::snprintf(buf, sizeof buf, "%.10g..%.10g", lo, hi);
    return buf;
}

// "0x..." is the raw bits of the field, whatever its type.
bool parse_raw(const ValueKind& kind, const std::string& text, ci_u32& out, std::string& error) {
    if (!is_hex_literal(text) || text.size() > 2 + 16) {
        error = "'" + text + "' is not a hexadecimal number";
        return false;
    }
    const unsigned long long v = std::strtoull(text.c_str() + 2, nullptr, 16);
    if (v > 0xFFFFFFFFull || !fits_mask(static_cast<long long>(v), kind.mask)) {
        error = text + " does not fit the mask " + format_hex(kind.mask, 32);
        return false;
    }
    out = ci_Str2Int(kind.type, text.c_str(), kind.mask);
    return true;
}

// Decimal integers for hex, unsigned, signed and sign-magnitude values.
bool parse_integer(const ValueKind& kind, const std::string& text, ci_u32& out, std::string& error) {
    if (!is_integer_literal(text)) {
        error = "'" + text + "' is not an integer";
        return false;
    }
    errno = 0;
    const long long v = std::strtoll(text.c_str(), nullptr, 10);
    if (kind.type == CI_TYPE_HEX || kind.type == CI_TYPE_UNSIGNED) {
        if (errno == 0 && fits_mask(v, kind.mask)) {
            // Plain digits are decimal for every type: a hexadecimal register
            // takes the same raw value an unsigned one would.  Converted here
            // because the full unsigned range does not fit a signed scan.
            out = static_cast<ci_u32>(v);
            return true;
        }
        const bool hole = errno == 0 && v >= 0 && v <= static_cast<long long>(kind.mask);
        error = hole ? text + " does not fit the mask " + format_hex(kind.mask, 32)
                     : text + " is out of range " + range_text(0, kind.mask);
        return false;
    }
    const double lo = ci_DataTypeMinimum(kind.type, kind.mask);
    const double hi = ci_DataTypeMaximum(kind.type, kind.mask);
    if (errno != 0 || v < lo || v > hi) {
        error = text + " is out of range " + range_text(lo, hi);
        return false;
    }
    out = ci_Str2Int(kind.type, text.c_str(), kind.mask);
    return true;
}

// Decimal numbers with an optional fraction for fixed-point and float values.
bool parse_real(const ValueKind& kind, const std::string& text, ci_u32& out, std::string& error) {
    errno = 0;
    char* end = nullptr;
    const double d = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0' || errno == ERANGE || !std::isfinite(d)) {
        error = "'" + text + "' is not a number";
        return false;
    }
    const double step = value_step(kind);
    if (step > 0) {  // fixed point: the value is rounded to a whole number of steps
        const double lo = ci_DataTypeMinimum(kind.type, kind.mask);
        const double hi = ci_DataTypeMaximum(kind.type, kind.mask);
        const double units = std::floor(d / step + 0.5);
        if (units < lo / step || units > hi / step) {
            error = text + " is out of range " + range_text(lo, hi);
            return false;
        }
    }
    out = ci_Str2Int(kind.type, text.c_str(), kind.mask);
    return true;
}

}  // namespace

ci_u32 register_mask(const ci_reg_data_t* reg, const ci_sensor_t* sensor) {
    if (reg->bitmask != 0) return reg->bitmask;
    const ci_u32 span = reg->addr_span ? reg->addr_span : 1;
    const ci_u32 dataBits = sensor && sensor->reg_data_size ? sensor->reg_data_size : 16;
    return ones(span * dataBits);
}

ValueKind register_kind(const ci_reg_data_t* reg, const ci_sensor_t* sensor) {
    ValueKind kind;
    kind.type = known_type(reg->datatype) ? reg->datatype : CI_TYPE_HEX;
    kind.mask = register_mask(reg, sensor);
    if (kind.type != CI_TYPE_HEX) {
        kind.shift = static_cast<unsigned>(std::countr_zero(kind.mask));
        kind.mask >>= kind.shift;
    }
    return kind;
}

ValueKind bitfield_kind(const ci_bitfield_t* field) {
    ValueKind kind;
    kind.type = known_type(field->datatype) ? field->datatype : CI_TYPE_UNSIGNED;
    kind.shift = field->bitmask ? static_cast<unsigned>(std::countr_zero(field->bitmask)) : 0;
    kind.mask = field->bitmask >> kind.shift;
    return kind;
}

ci_u32 field_from_register(const ValueKind& kind, ci_u32 regValue) { return (regValue >> kind.shift) & kind.mask; }

ci_u32 field_to_register(const ValueKind& kind, ci_u32 fieldValue) { return (fieldValue & kind.mask) << kind.shift; }

std::string format_value(const ValueKind& kind, ci_u32 fieldValue) {
    ci_string text = "";
    ci_Int2Str(kind.type, fieldValue, kind.mask, text, CI_STRING_LEN);
    text[CI_STRING_LEN - 1] = '\0';
    return text;
}

bool parse_value(const ValueKind& kind, const std::string& text, ci_u32& fieldValue, std::string& error) {
    if (text.empty()) {
        error = "empty value";
        return false;
    }
    if (has_hex_marker(text)) return parse_raw(kind, text, fieldValue, error);
    if (value_step(kind) != 1.0) return parse_real(kind, text, fieldValue, error);
    return parse_integer(kind, text, fieldValue, error);
}

std::string format_hex(ci_u32 value, ci_u32 bits) {
    int digits = static_cast<int>((bits + 3) / 4);
    if (digits < 2) digits = 2;
    if (digits > 8) digits = 8;
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%0*X", digits, value);
    return buf;
}

std::string format_address(const ci_sensor_t* sensor, ci_u32 addr) {
    const ci_u32 bits = sensor && sensor->reg_addr_size ? sensor->reg_addr_size : 16;
    return format_hex(addr, bits);
}

const char* addr_type_name(ci_addr_type type) {
    static const char* const kNames[] = {"REG",      "MCU",      "SFR",      "IND",      "FAR1_REG",
                                         "FAR1_MCU", "FAR1_SFR", "FAR2_REG", "FAR2_MCU", "FAR2_SFR"};
    if (type < CI_REG_ADDR || type > CI_FAR2_SFR_ADDR) return "?";
    return kNames[type];
}

}  // namespace cli
