// Command-line parsing: global options, and the command segments of an
// invocation (commands chained with a lone "+").
#pragma once

#include <string>
#include <vector>

#include "camkit.h"

namespace cli {

enum ExitCode { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

// Transports opened when none are named: every transport but the null one.
constexpr ci_u32 kDefaultTransports = 0xFFFFu;

struct Options {
    std::string sensorData;           // empty: the library's sensor-data directory
    ci_u32 transports = kDefaultTransports;
    bool transportsGiven = false;     // --transports named them
    std::string plugin;               // --plugin: a plugin file or directory
    ci_s32 camera = 0;
    std::string logFile;              // empty: no log file named
    ci_s32 logLevel = -1;             // -1: not given
    bool cache = false;               // answer reads from the register cache
    bool noDemo = false;              // never fall back to the demo camera
    bool debug = false;               // the library's log at every level on stderr too
    bool time = false;                // how long opening and each command took
    bool json = false;                // one JSON document on stdout
};

// One command and its own arguments (its local options included).
struct Command {
    std::string name;
    std::vector<std::string> args;
};

struct Invocation {
    Options options;
    std::vector<Command> commands;
    bool help = false;
    bool version = false;
};

// Parses argv.  Global options may stand anywhere; an argument "--" makes
// every later argument of its segment a plain argument.  Returns false with
// a message in `error` on a usage error.
bool parse_invocation(int argc, const char* const* argv, Invocation& out, std::string& error);

// Whole-text number parsers: decimal, 0x hexadecimal or 0 octal.
bool parse_u32(const std::string& text, ci_u32& out);
bool parse_s32(const std::string& text, ci_s32& out);

// A transport mask: a number, or a comma list of the names usb, plugin,
// image, video, null and all (all = every transport but null).
bool parse_transport_mask(const std::string& text, ci_u32& out);

// True when `arg` asks for help ("-h" or "--help").
bool is_help_flag(const std::string& arg);

}  // namespace cli
