// The command-line tool's value parsing by data type, compiled in from the
// tool's sources.  Sensor files only give hexadecimal registers and unsigned
// bitfields, so the other types are covered here rather than through the tool.
#include <gtest/gtest.h>

#include <string>

#include "../tools/cli_args.cpp"
#include "../tools/cli_format.cpp"

namespace {

cli::ValueKind kind_of(ci_data_types type, ci_u32 registerMask) {
    ci_reg_data_t reg = {};
    reg.datatype = type;
    reg.bitmask = registerMask;
    reg.addr_span = 1;
    return cli::register_kind(&reg, nullptr);
}

TEST(CliValues, ParsedByDataTypeAndCheckedAgainstTheField) {
    const struct {
        ci_data_types type;
        ci_u32 mask;
        const char* text;
        const char* result;  // the raw field value, or the error text
    } cases[] = {
        {CI_TYPE_FIXED8, 0x000FFFF0, "-128", "0x00008000"},
        {CI_TYPE_FIXED8, 0x000FFFF0, "127.99609375", "0x00007FFF"},
        {CI_TYPE_FIXED8, 0x000FFFF0, "0x10", "0x00000010"},  // 0x gives raw bits
        {CI_TYPE_FIXED8, 0x000FFFF0, "-128.002", "-128.002 is out of range -128..127.9960938"},
        {CI_TYPE_FIXED8, 0x000FFFF0, "1.5e", "'1.5e' is not a number"},
        {CI_TYPE_SIGNED, 0xF, "-8", "0x00000008"},
        {CI_TYPE_SIGNED, 0xF, "8", "8 is out of range -8..7"},
        {CI_TYPE_SIGNMAG, 0xFF, "-5", "0x00000085"},
        {CI_TYPE_SIGNMAG, 0xFF, "-128", "-128 is out of range -127..127"},
        {CI_TYPE_UNSIGNED, 0xFFFFFFFF, "4294967295", "0xFFFFFFFF"},
        {CI_TYPE_UNSIGNED, 0xFFFFFFFF, "4294967296", "4294967296 is out of range 0..4294967295"},
        {CI_TYPE_UFIXED2, 0x3, "1", "1 is out of range 0..0.75"},
        {CI_TYPE_FLOAT16, 0xFFFF, "1.0", "0x00000010"},
        {CI_TYPE_HEX, 0xFFFE, "4608", "0x00001200"},  // plain digits are decimal
        {CI_TYPE_HEX, 0xFFFE, "4609", "4609 does not fit the mask 0x0000FFFE"},
        {CI_TYPE_HEX, 0xFFFE, "0x100000000", "0x100000000 does not fit the mask 0x0000FFFE"},
    };
    for (const auto& c : cases) {
        ci_u32 value = 0;
        std::string error;
        const bool ok = cli::parse_value(kind_of(c.type, c.mask), c.text, value, error);
        EXPECT_EQ(ok ? cli::format_hex(value, 32) : error, c.result) << c.text;
    }
}

TEST(CliValues, ShiftedFieldsMoveIntoPlaceAndBackForDisplay) {
    const cli::ValueKind k = kind_of(CI_TYPE_FIXED8, 0x000FFFF0);
    EXPECT_EQ(cli::field_to_register(k, 0xFF80), 0xFF800u);
    EXPECT_EQ(cli::format_value(k, cli::field_from_register(k, 0xFF800)), "-0.500");
    const cli::ValueKind hex = kind_of(CI_TYPE_HEX, 0xFFFE);  // hexadecimal registers are not shifted
    EXPECT_EQ(cli::format_value(hex, cli::field_from_register(hex, 0x1200)), "0x1200");
}

}  // namespace
