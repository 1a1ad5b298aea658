// The command-line tool's value parsing by data type and its argument
// parsing, compiled in from the tool's sources.  Sensor files only give
// hexadecimal registers and unsigned bitfields, so the other types are
// covered here rather than through the tool itself.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../tools/cli_args.cpp"
#include "../tools/cli_format.cpp"

namespace {

using cli::ValueKind;

ValueKind kind_of(ci_data_types type, ci_u32 registerMask) {
    ci_reg_data_t reg = {};
    reg.datatype = type;
    reg.bitmask = registerMask;
    reg.addr_span = 1;
    return cli::register_kind(&reg, nullptr);
}

// The parsed raw field value, or the error text prefixed by "error: ".
std::string parsed(const ValueKind& kind, const std::string& text) {
    ci_u32 value = 0;
    std::string error;
    if (!cli::parse_value(kind, text, value, error)) return "error: " + error;
    return cli::format_hex(value, 32);
}

TEST(CliValues, SignedFixedPointRegisterIsShiftedAndRangeChecked) {
    // fixed8 in bits 19..4: the value moves down for display and back up.
    const ValueKind k = kind_of(CI_TYPE_FIXED8, 0x000FFFF0);
    EXPECT_EQ(k.shift, 4u);
    EXPECT_EQ(k.mask, 0xFFFFu);
    EXPECT_EQ(cli::field_to_register(k, 0xFF80), 0xFF800u);
    EXPECT_EQ(cli::format_value(k, cli::field_from_register(k, 0xFF800)), "-0.500");
    EXPECT_EQ(parsed(k, "-128"), "0x00008000");
    EXPECT_EQ(parsed(k, "127.99609375"), "0x00007FFF");
    EXPECT_EQ(parsed(k, "0x10"), "0x00000010") << "0x gives raw bits";
    EXPECT_EQ(parsed(k, "-128.002"), "error: -128.002 is out of range -128..127.9960938");
    EXPECT_EQ(parsed(k, "1.5x"), "error: '1.5x' is not a hexadecimal number");
    EXPECT_EQ(parsed(k, "1.5e"), "error: '1.5e' is not a number");
}

TEST(CliValues, IntegerTypesHoldOnlyWhatTheFieldCan) {
    const ValueKind s4 = kind_of(CI_TYPE_SIGNED, 0xF);
    EXPECT_EQ(parsed(s4, "-8"), "0x00000008");
    EXPECT_EQ(parsed(s4, "8"), "error: 8 is out of range -8..7");
    EXPECT_EQ(cli::format_value(s4, 0x8), "-8");

    const ValueKind sm = kind_of(CI_TYPE_SIGNMAG, 0xFF);
    EXPECT_EQ(parsed(sm, "-5"), "0x00000085");
    EXPECT_EQ(parsed(sm, "-128"), "error: -128 is out of range -127..127");

    // The full unsigned range, beyond what a signed scan could hold.
    const ValueKind u32 = kind_of(CI_TYPE_UNSIGNED, 0xFFFFFFFF);
    EXPECT_EQ(parsed(u32, "4294967295"), "0xFFFFFFFF");
    EXPECT_EQ(parsed(u32, "4294967296"), "error: 4294967296 is out of range 0..4294967295");
    EXPECT_EQ(parsed(u32, "-"), "error: '-' is not an integer");
    EXPECT_EQ(parsed(u32, ""), "error: empty value");

    const ValueKind uf2 = kind_of(CI_TYPE_UFIXED2, 0x3);
    EXPECT_EQ(parsed(uf2, "0.75"), "0x00000003");
    EXPECT_EQ(parsed(uf2, "1"), "error: 1 is out of range 0..0.75");

    EXPECT_EQ(parsed(kind_of(CI_TYPE_FLOAT16, 0xFFFF), "1.0"), "0x00000010");
}

TEST(CliValues, HexRegistersKeepTheirRawValue) {
    // A hexadecimal register is not shifted, and bits outside its mask are
    // refused whether typed in hexadecimal or decimal.
    const ValueKind k = kind_of(CI_TYPE_HEX, 0xFFFE);
    EXPECT_EQ(k.shift, 0u);
    EXPECT_EQ(cli::format_value(k, cli::field_from_register(k, 0x1200)), "0x1200");
    EXPECT_EQ(parsed(k, "4608"), "0x00001200") << "plain digits are decimal";
    EXPECT_EQ(parsed(k, "0x1201"), "error: 0x1201 does not fit the mask 0x0000FFFE");
    EXPECT_EQ(parsed(k, "4609"), "error: 4609 does not fit the mask 0x0000FFFE");
    EXPECT_EQ(parsed(k, "0x100000000"), "error: 0x100000000 does not fit the mask 0x0000FFFE");

    // A register without a mask covers all the bits of its words.
    ci_sensor_t sensor = {};
    sensor.reg_data_size = 16;
    ci_reg_data_t reg = {};
    reg.addr_span = 2;
    EXPECT_EQ(cli::register_mask(&reg, &sensor), 0xFFFFFFFFu);
    sensor.reg_data_size = 8;
    reg.addr_span = 1;
    EXPECT_EQ(cli::register_mask(&reg, &sensor), 0xFFu);
}

TEST(CliArgs, TransportMasksByNumberOrName) {
    ci_u32 mask = 0;
    EXPECT_TRUE(cli::parse_transport_mask("usb,null", mask));
    EXPECT_EQ(mask, CI_TRANSPORT_USB | CI_TRANSPORT_NULL);
    EXPECT_TRUE(cli::parse_transport_mask("0x10", mask));
    EXPECT_EQ(mask, 0x10u);
    for (const char* bad : {"", "usb,,null", "usb,", "USB", "-1", "0x100000000"})
        EXPECT_FALSE(cli::parse_transport_mask(bad, mask)) << bad;
}

cli::Invocation parse(std::vector<const char*> args, bool ok = true) {
    args.insert(args.begin(), "camkit");
    cli::Invocation inv;
    std::string error;
    EXPECT_EQ(cli::parse_invocation(static_cast<int>(args.size()), args.data(), inv, error), ok) << error;
    return inv;
}

TEST(CliArgs, ChainedCommandsAndOptionsAnywhere) {
    const cli::Invocation inv = parse({"--cache", "set", "A=1", "--fields", "+", "get", "A", "--camera=2", "--log-level",
                                       "5", "--", "--transports"});
    ASSERT_EQ(inv.commands.size(), 2u);
    EXPECT_EQ(inv.commands[0].name, "set");
    EXPECT_EQ(inv.commands[0].args, (std::vector<std::string>{"A=1", "--fields"}));
    EXPECT_EQ(inv.commands[1].name, "get");
    // "--" reaches the command and stops global options after it.
    EXPECT_EQ(inv.commands[1].args, (std::vector<std::string>{"A", "--", "--transports"}));
    EXPECT_TRUE(inv.options.cache);
    EXPECT_EQ(inv.options.camera, 2);
    EXPECT_EQ(inv.options.logLevel, 5);
    EXPECT_EQ(inv.options.transports, cli::kDefaultTransports);

    EXPECT_TRUE(parse({"-h"}).help);
    for (std::vector<const char*> bad : std::vector<std::vector<const char*>>{
             {"+", "list"}, {"list", "+"}, {"list", "+", "+", "get"}, {"--cache=1"}, {"--camera"},
             {"--camera", "-1"}, {"--log-level", "64"}, {"-x", "list"}})
        parse(bad, false);
}

}  // namespace
