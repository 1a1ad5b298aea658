#include "cli_args.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace cli {
namespace {

struct OptionSpec {
    const char* name;
    bool takesValue;
    bool (*apply)(Invocation& inv, const std::string& value, std::string& error);
};

// Paths end up in the library's fixed text fields; longer ones are refused
// rather than cut.  A log file name needs room for the number it is given.
constexpr size_t kMaxSensorPath = CI_STRING_LEN - 1;
constexpr size_t kMaxLogPath = CI_STRING_LEN - 16;

// A path option: not empty and at most `limit` characters.  `need` starts
// the message that refuses any other value.
bool set_path(std::string& field, const std::string& value, size_t limit, const char* need, std::string& error) {
    if (value.empty() || value.size() > limit) {
        error = std::string(need) + " of at most " + std::to_string(limit) + " characters";
        return false;
    }
    field = value;
    return true;
}

bool set_sensor_data(Invocation& inv, const std::string& value, std::string& error) {
    return set_path(inv.options.sensorData, value, kMaxSensorPath, "--sensor-data needs a directory or file", error);
}

bool set_transports(Invocation& inv, const std::string& value, std::string& error) {
    inv.options.transportsGiven = true;
    if (parse_transport_mask(value, inv.options.transports)) return true;
    error = "--transports: '" + value + "' is not a mask or a list of usb, plugin, image, video, null, all";
    return false;
}

bool set_camera(Invocation& inv, const std::string& value, std::string& error) {
    if (parse_s32(value, inv.options.camera) && inv.options.camera >= 0) return true;
    error = "--camera: '" + value + "' is not a camera index";
    return false;
}

bool set_log(Invocation& inv, const std::string& value, std::string& error) {
    return set_path(inv.options.logFile, value, kMaxLogPath, "--log needs a file name", error);
}

bool set_log_level(Invocation& inv, const std::string& value, std::string& error) {
    ci_s32 level = 0;
    if (parse_s32(value, level) && level >= 0 && level <= CI_LOG_ALL) {
        inv.options.logLevel = level;
        return true;
    }
    error = "--log-level: '" + value + "' is not a level mask from 0 to 63";
    return false;
}

bool set_plugin(Invocation& inv, const std::string& value, std::string&) {
    inv.options.plugin = value;
    return true;
}

bool set_cache(Invocation& inv, const std::string&, std::string&) {
    inv.options.cache = true;
    return true;
}

bool set_no_demo(Invocation& inv, const std::string&, std::string&) {
    inv.options.noDemo = true;
    return true;
}

bool set_debug(Invocation& inv, const std::string&, std::string&) {
    inv.options.debug = true;
    return true;
}

bool set_time(Invocation& inv, const std::string&, std::string&) {
    inv.options.time = true;
    return true;
}

bool set_json(Invocation& inv, const std::string&, std::string&) {
    inv.options.json = true;
    return true;
}

bool set_version(Invocation& inv, const std::string&, std::string&) {
    inv.version = true;
    return true;
}

const OptionSpec kOptions[] = {
    {"--sensor-data", true, set_sensor_data},
    {"--transports", true, set_transports},
    {"--camera", true, set_camera},
    {"--plugin", true, set_plugin},
    {"--log", true, set_log},
    {"--log-level", true, set_log_level},
    {"--cache", false, set_cache},
    {"--no-demo", false, set_no_demo},
    {"--debug", false, set_debug},
    {"--time", false, set_time},
    {"--json", false, set_json},
    {"--version", false, set_version},
};

// Splits "--name=value"; returns the option whose name matches, or null.
const OptionSpec* find_option(const std::string& arg, std::string& inlineValue, bool& hasInline) {
    const size_t eq = arg.find('=');
    const std::string name = arg.substr(0, eq);
    hasInline = eq != std::string::npos;
    inlineValue = hasInline ? arg.substr(eq + 1) : std::string();
    for (const OptionSpec& spec : kOptions) {
        if (name == spec.name) return &spec;
    }
    return nullptr;
}

struct TransportName {
    const char* name;
    ci_u32 mask;
};

const TransportName kTransportNames[] = {
    {"usb", CI_TRANSPORT_USB},       {"plugin", CI_TRANSPORT_PLUGIN},
    {"image", CI_TRANSPORT_IMAGE_FILE}, {"video", CI_TRANSPORT_VIDEO_FILE},
    {"null", CI_TRANSPORT_NULL},     {"all", kDefaultTransports},
};

bool transport_name_mask(const std::string& name, ci_u32& mask) {
    for (const TransportName& t : kTransportNames) {
        if (name == t.name) {
            mask |= t.mask;
            return true;
        }
    }
    return false;
}

// Applies one global option at argv[i]; advances i past a separate value.
bool apply_option(const OptionSpec& spec, int argc, const char* const* argv, int& i, const std::string& inlineValue,
                  bool hasInline, Invocation& inv, std::string& error) {
    if (!spec.takesValue) {
        if (hasInline) {
            error = std::string(spec.name) + " takes no value";
            return false;
        }
        return spec.apply(inv, std::string(), error);
    }
    if (hasInline) return spec.apply(inv, inlineValue, error);
    if (i + 1 >= argc) {
        error = std::string(spec.name) + " needs a value";
        return false;
    }
    ++i;
    return spec.apply(inv, argv[i], error);
}

// An argument that is not a global option: a command's argument, the
// command name itself, or the global help flag.
bool place_word(const std::string& arg, bool inCommand, bool plain, Invocation& out, std::string& error) {
    if (inCommand) {
        out.commands.back().args.push_back(arg);
    } else if (!plain && is_help_flag(arg)) {
        out.help = true;
    } else if (!plain && arg.size() > 1 && arg[0] == '-') {
        error = "unknown option '" + arg + "'";
        return false;
    } else {
        if (out.commands.empty()) out.commands.push_back(Command());
        out.commands.back().name = arg;
    }
    return true;
}

}  // namespace

bool is_help_flag(const std::string& arg) { return arg == "-h" || arg == "--help"; }

bool parse_u32(const std::string& text, ci_u32& out) {
    if (text.empty() || text[0] == '-' || text[0] == '+') return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (errno != 0 || *end != '\0' || v > 0xFFFFFFFFull) return false;
    out = static_cast<ci_u32>(v);
    return true;
}

bool parse_s32(const std::string& text, ci_s32& out) {
    if (text.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(text.c_str(), &end, 0);
    if (errno != 0 || *end != '\0' || v < INT32_MIN || v > INT32_MAX) return false;
    out = static_cast<ci_s32>(v);
    return true;
}

bool parse_transport_mask(const std::string& text, ci_u32& out) {
    if (parse_u32(text, out)) return true;
    ci_u32 mask = 0;
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(',', start);
        if (comma == std::string::npos) comma = text.size();
        if (!transport_name_mask(text.substr(start, comma - start), mask)) return false;
        start = comma + 1;
    }
    out = mask;
    return true;
}

bool parse_invocation(int argc, const char* const* argv, Invocation& out, std::string& error) {
    out = Invocation();
    bool plain = false;  // after "--" in the current segment
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "+") {
            if (out.commands.empty() || out.commands.back().name.empty()) {
                error = "'+' must stand between two commands";
                return false;
            }
            out.commands.push_back(Command());
            plain = false;
            continue;
        }
        const bool inCommand = !out.commands.empty() && !out.commands.back().name.empty();
        if (!plain && arg == "--") {
            // The command sees it too, to stop its own option parsing.
            if (inCommand) out.commands.back().args.push_back(arg);
            plain = true;
            continue;
        }
        if (!plain && arg.rfind("--", 0) == 0) {
            std::string inlineValue;
            bool hasInline = false;
            if (const OptionSpec* spec = find_option(arg, inlineValue, hasInline)) {
                if (!apply_option(*spec, argc, argv, i, inlineValue, hasInline, out, error)) return false;
                continue;
            }
        }
        if (!place_word(arg, inCommand, plain, out, error)) return false;
    }
    if (!out.commands.empty() && out.commands.back().name.empty()) {
        error = "'+' must be followed by a command";
        return false;
    }
    return true;
}

}  // namespace cli
