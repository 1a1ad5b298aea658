#include "cli_commands.h"

namespace cli {

const std::vector<CommandSpec>& all_commands() {
    static const std::vector<CommandSpec> kCommands = {
        {"list", "list", "list the cameras that were opened",
         "Opens the cameras and prints one line for each: index (for --camera),\n"
         "transport, product, sensor, part number, register count and the sensor\n"
         "data file that describes it.\n",
         true, run_list},
        {"info", "info", "details of the selected camera and its sensor",
         "Prints the product, firmware, transport and driver of the selected camera,\n"
         "and its sensor: name, type code, version, part number, image type, size,\n"
         "bits per pixel, serial address, register address and data sizes and the\n"
         "address spaces of the register map.\n",
         true, run_info},
        {"regs", "regs [PATTERN] [--fields] [--all] [--limit N]", "dump the registers whose names match PATTERN",
         "Reads and prints every register whose name matches PATTERN (default '*';\n"
         "'*' matches any text, '?' one character, case is ignored): name, address,\n"
         "address space, value and description.  Values are shown by the register's\n"
         "data type; a register that cannot be read shows the error's symbol, a\n"
         "write-only register is not read.\n"
         "\n"
         "  --fields   also print each bitfield: name, mask, value and description\n"
         "  --all      include the registers and bitfields marked confidential\n"
         "  --limit N  print at most N registers\n",
         true, run_regs},
        {"vars", "vars [PATTERN] [--fields] [--all] [--limit N]", "microcontroller variables matching PATTERN",
         "As 'regs', for the variables of a system-on-chip sensor's microcontroller\n"
         "(the registers of its MCU address spaces).\n",
         true, run_vars},
        {"sfrs", "sfrs [PATTERN] [--fields] [--all] [--limit N]", "special-function registers matching PATTERN",
         "As 'regs', for the special-function registers of a system-on-chip\n"
         "sensor's microcontroller (the registers of its SFR address spaces).\n",
         true, run_sfrs},
        {"describe", "describe NAME[.FIELD]...", "what the sensor description says of a register or bitfield",
         "Prints everything the sensor description holds about each register or\n"
         "bitfield: address, address space and its type, span, mask and bit range,\n"
         "access, default, data type and range, volatile and confidential marks,\n"
         "display name, detail and long description; for a bitfield, its register.\n"
         "Nothing is read from the device.\n",
         true, run_describe},
        {"get", "get [--size A/D] NAME[.FIELD]|ADDRESS...", "read registers or bitfields",
         "Reads each register or bitfield and prints 'NAME = value' (or\n"
         "'NAME.FIELD = value'), the value shown by its data type.  Names are those\n"
         "of the sensor data and are compared without regard to case.\n"
         "\n"
         "Registers can also be named by address: 0x3012 (in the current address\n"
         "space), CORE:0x3012 (in a named space), 0x20:0x3000 (serial address and\n"
         "register of any device on the bus, with --size ADDRESS/DATA bits such as\n"
         "8/16; the sensor's sizes otherwise), and any of them followed by &MASK\n"
         "for the bits of a mask (0x301A&0x4).\n",
         true, run_get},
        {"set", "set [--size A/D] NAME[.FIELD]|ADDRESS=VALUE...", "write registers or bitfields",
         "Writes each value and prints 'NAME = value (was old)', the value read back\n"
         "after the write.  Every argument is checked before anything is written.\n"
         "VALUE is read by the data type of the register or bitfield: decimal for\n"
         "every type ('-3' for signed types, '1.25' for fixed-point and floating\n"
         "types), and '0x...' for the raw bits of any type.  A value the register\n"
         "or bitfield cannot hold is refused.  A bitfield is written by\n"
         "read-modify-write of its register.  Addresses are taken as 'get' takes\n"
         "them; an ADDRESS&MASK is written by read-modify-write as well.\n",
         true, run_set},
        {"grab", "grab [-n COUNT] [-o FILE]", "grab frames and write them to image files",
         "Starts the camera's transport, grabs COUNT frames (default 1) and, with -o,\n"
         "writes each to FILE: .png (8- or 16-bit grey for raw and Bayer data, RGB\n"
         "for colour types), .tif or .tiff (the same layouts), .raw (the bytes as\n"
         "grabbed) or .jpg (JPEG frames).  A %d in FILE (or %04d) becomes the\n"
         "frame's sequence number from 0; without one, several frames are written\n"
         "as NAME_0.png, NAME_1.png, ...  Prints each frame's number and size, then\n"
         "the frames grabbed and failed and the frame rate; on a terminal, a\n"
         "progress line replaces the per-frame lines when COUNT > 1.\n"
         "\n"
         "  -n, --count COUNT   frames to grab\n"
         "  -o, --output FILE   where to write them\n",
         true, run_grab},
        {"watch", "watch NAME[.FIELD]|ADDRESS... [--interval MS] [--count N]", "print register values as they change",
         "Reads the registers (or bitfields, or addresses as 'get' takes them) every\n"
         "MS milliseconds (default 100) and prints a line, with the time since the\n"
         "start, for each value that changed; the first round prints them all.\n"
         "Runs until interrupted, or for N rounds.\n",
         true, run_watch},
        {"diff", "diff FILE.ini:SECTION | diff --defaults", "registers that differ from a preset or the defaults",
         "Compares the current values with what a preset section writes (its REG,\n"
         "BITFIELD and FIELD_WR lines, following LOADs of sections of the same\n"
         "file) or, with --defaults, with the defaults of the sensor description\n"
         "(readable registers that are neither volatile nor confidential).  Prints\n"
         "the registers that differ and a count; exits 0 when none differ, 1 when\n"
         "some do or a value could not be read.\n",
         true, run_diff},
        {"preset", "preset [--file INI] NAME", "run a preset and show what each line did",
         "Runs the preset (INI section) NAME of INI, by default the sensor's preset\n"
         "file (beside its sensor data file, or in the apps_data directory next to\n"
         "it), and prints each line with its outcome: ok, error (with the error's\n"
         "symbol and message), skipped or not supported; lines of nested presets\n"
         "are indented under their section.  A preset stored as 'Hidden: NAME' is\n"
         "found by NAME.  Exits 0 when every line succeeded, 1 otherwise.\n"
         "docs/PRESETS.md describes the preset language.\n"
         "\n"
         "  --file INI   the preset file\n",
         true, run_preset},
        {"presets", "presets [--file INI]", "list the presets of a preset file",
         "Prints the presets (sections) of INI, by default the sensor's preset file,\n"
         "in file order; presets the applications hide ('Hidden: NAME') are marked.\n"
         "\n"
         "  --file INI   the preset file\n",
         true, run_presets},
        {"save-regs", "save-regs FILE", "save the read-write registers as a preset",
         "Reads every read-write register of the sensor description and writes them\n"
         "to FILE as the preset [Saved Registers SENSOR], one 'FIELD_WR= NAME, 0xVALUE'\n"
         "line each; 'camkit preset --file FILE \"Saved Registers SENSOR\"' writes them\n"
         "back.  An existing FILE is not overwritten.\n",
         true, run_save_regs},
        {"names", "names [PREFIX]", "register and bitfield names, for scripts and completion",
         "Prints the names of the registers of the sensor description that start\n"
         "with PREFIX (case ignored), one a line; once PREFIX holds a register's\n"
         "name and a dot, the register's bitfields as NAME.FIELD.  Confidential\n"
         "names are left out.  The shell completion uses it.\n",
         true, run_names},
        {"demo", "demo", "a short tour of the tool (the default with no command)",
         "Lists the cameras, shows the selected camera, dumps its first registers\n"
         "and, on the demo camera, writes a register and a bitfield and reads them\n"
         "back.  On a real board nothing is written: the values are only read.\n",
         true, run_demo},
        {"convert", "convert IN OUT", "write a sensor data file in the other form (.sdat, .xsdat)",
         "Reads the sensor description IN (the sectioned text form .sdat or the XML\n"
         "form .xsdat) and writes it to OUT in the form OUT's name asks for.  Reading\n"
         "OUT gives the same description, identification data included.  Values\n"
         "that only the XML form holds (data types, ranges, volatile and\n"
         "confidential marks, long descriptions) are lost when writing .sdat.  Texts\n"
         "a form cannot carry (control characters in XML; double quotes, braces or\n"
         "line breaks in .sdat) make the conversion fail.  No camera is opened.\n",
         false, run_convert},
        {"help", "help [COMMAND]", "show the help, or a command's help", "", false, run_help},
        {"version", "version", "print the library version", "", false, run_version},
    };
    return kCommands;
}

const CommandSpec* find_command(const std::string& name) {
    for (const CommandSpec& command : all_commands()) {
        if (name == command.name) return &command;
    }
    return nullptr;
}

bool LocalArgs::has(const char* name) const {
    for (const auto& option : options) {
        if (option.first == name) return true;
    }
    return false;
}

std::string LocalArgs::value(const char* name) const {
    std::string value;
    for (const auto& option : options) {
        if (option.first == name) value = option.second;  // the last one wins
    }
    return value;
}

bool parse_local(const Args& args, const std::vector<LocalOption>& allowed, LocalArgs& out, std::string& error) {
    out = LocalArgs();
    bool plain = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (plain || arg.size() < 2 || arg[0] != '-') {
            out.positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            plain = true;
            continue;
        }
        const size_t eq = arg.find('=');
        const std::string name = arg.substr(0, eq);
        const LocalOption* spec = nullptr;
        for (const LocalOption& option : allowed) {
            if (name == option.name) spec = &option;
        }
        if (!spec) {
            error = "unknown option '" + arg + "'";
            return false;
        }
        std::string value;
        if (spec->takesValue && eq != std::string::npos) {
            value = arg.substr(eq + 1);
        } else if (spec->takesValue) {
            if (i + 1 >= args.size()) {
                error = name + " needs a value";
                return false;
            }
            value = args[++i];
        } else if (eq != std::string::npos) {
            error = name + " takes no value";
            return false;
        }
        out.options.emplace_back(name, value);
    }
    return true;
}

std::string or_dash(const char* text) { return text && *text ? std::string(text) : std::string("-"); }

}  // namespace cli
