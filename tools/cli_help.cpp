#include <cctype>
#include <cstdio>
#include <string>

#include "cli_commands.h"
#include "cli_report.h"

namespace cli {
namespace {

const char kIntro[] =
    "Usage: camkit [OPTIONS] [COMMAND [ARGS...]] [+ COMMAND [ARGS...]]...\n"
    "\n"
    "Opens the cameras attached to this machine, identifies their sensors and\n"
    "reads and writes sensor registers by name.\n";

const char kChaining[] =
    "Commands joined by a lone '+' run one after the other on the same open\n"
    "camera and stop at the first failure:\n"
    "  camkit set ANALOG_GAIN=0x20 + get ANALOG_GAIN\n";

const char kOptions[] =
    "Options (they may also follow the command):\n"
    "  --sensor-data PATH  sensor data directory or file (default:\n"
    "                      $CI_HOME/sensor_data, else the bundled sensor data)\n"
    "  --transports MASK   transports to open: a number (0x1 USB, 0x4 plugin,\n"
    "                      0x10 image file, 0x20 video file, 0x10000 null camera)\n"
    "                      or names: usb,plugin,image,video,null,all; the default,\n"
    "                      all (0xFFFF), leaves out the null camera\n"
    "  --camera N          work on camera N of 'camkit list' (default 0)\n"
    "  --plugin PATH       the plugin file or directory the plugin transport\n"
    "                      loads (default: *.cam files here, then\n"
    "                      $CI_HOME/Plugins)\n"
    "  --debug             the library's log at every level on stderr as well\n"
    "  --time              how long opening and each command took, on stderr\n"
    "  --cache             answer reads from the register cache when it holds\n"
    "                      the value\n"
    "  --log FILE          write the library's error log to FILE, numbered:\n"
    "                      camkit.log is written as camkit0.log ... camkit4.log\n"
    "  --log-level N       log mask 0..63: 1 severe errors, 2 errors, 4 info,\n"
    "                      8 serial bus, 16 USB, 32 debug (default 3; without\n"
    "                      --log the log is camkit.log in the current directory)\n"
    "  --no-demo           fail when no camera is found instead of opening the\n"
    "                      demo camera\n"
    "  -h, --help          this help; 'camkit COMMAND --help' for a command's help\n"
    "  --version           print the library version\n";

const char kNotes[] =
    "When no camera is found, camkit opens the demo camera: the null transport\n"
    "playing the bundled sensor ck_bayer16.sdat (or the file given with\n"
    "--sensor-data), looked up in $CI_HOME/sensor_data and then in the installed\n"
    "data.  The null camera has no device: reads give 0 and writes are dropped, so\n"
    "the demo camera answers reads from the register cache, which holds the values\n"
    "written during the run.\n"
    "\n"
    "Exit status: 0 success, 1 a command failed, 2 a usage error.\n";

}  // namespace

void print_global_help(std::FILE* out) {
    std::fprintf(out, "%s\nCommands:\n", kIntro);
    for (const CommandSpec& command : all_commands()) {
        std::fprintf(out, "  %s\n      %s\n", command.synopsis, command.summary);
    }
    std::fprintf(out, "\n%s\n%s\n%s", kChaining, kOptions, kNotes);
}

void print_command_help(const CommandSpec& command, std::FILE* out) {
    std::string summary = command.summary;
    if (!summary.empty()) summary[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(summary[0])));
    std::fprintf(out, "Usage: camkit [OPTIONS] %s\n\n%s.\n", command.synopsis, summary.c_str());
    if (*command.details) std::fprintf(out, "\n%s", command.details);
    std::fprintf(out, "\nSee 'camkit --help' for the options.\n");
}

int run_help(Session&, const Args& args) {
    if (args.empty()) {
        print_global_help(stdout);
        return kExitOk;
    }
    if (args.size() > 1) return report_usage("help", "takes one command name");
    const CommandSpec* command = find_command(args[0]);
    if (!command) return report_usage("help", "no command '" + args[0] + "'");
    print_command_help(*command, stdout);
    return kExitOk;
}

int run_version(Session&, const Args& args) {
    if (!args.empty()) return report_usage("version", "takes no arguments");
    std::printf("camkit %s\n", ci_GetVersionString());
    return kExitOk;
}

}  // namespace cli
