// camkit: the command-line tool.  Parses the invocation, opens the cameras
// once when a command needs one, and runs the commands in order.
#include <cstdio>
#include <exception>

#include "cli_args.h"
#include "cli_commands.h"
#include "cli_debug.h"
#include "cli_json_out.h"
#include "cli_report.h"

namespace cli {
namespace {

// The commands of the invocation, checked before anything is opened.
// Returns kExitOk, or the exit code after the problem has been reported.
int check_commands(const Invocation& inv, std::vector<const CommandSpec*>& specs, bool& needsCamera) {
    needsCamera = false;
    for (const Command& command : inv.commands) {
        const CommandSpec* spec = find_command(command.name);
        if (!spec) return report_usage("", "unknown command '" + command.name + "'");
        specs.push_back(spec);
        needsCamera = needsCamera || spec->needsCamera;
    }
    return kExitOk;
}

// "camkit COMMAND --help" shows that command's help and runs nothing.
bool show_command_help(const Invocation& inv, const std::vector<const CommandSpec*>& specs) {
    for (size_t i = 0; i < specs.size(); ++i) {
        for (const std::string& arg : inv.commands[i].args) {
            if (arg == "--") break;
            if (is_help_flag(arg)) {
                print_command_help(*specs[i], stdout);
                return true;
            }
        }
    }
    return false;
}

// After a step: its time (--time) and what the library logged (--debug).
void after_step(const Options& options, const Stopwatch& watch, const std::string& what) {
    std::fflush(stdout);
    if (options.debug) debug_log_echo();
    if (options.time) watch.report(what);
}

int run_commands(const Invocation& inv, const std::vector<const CommandSpec*>& specs, Session& session) {
    for (size_t i = 0; i < specs.size(); ++i) {
        const Stopwatch watch;
        json_begin(specs[i]->name);
        const int rc = specs[i]->run(session, inv.commands[i].args);
        json_end(rc);
        after_step(inv.options, watch, specs[i]->name);
        if (rc != kExitOk) return rc;
    }
    return kExitOk;
}

int run(int argc, const char* const* argv) {
    Invocation inv;
    std::string error;
    if (!parse_invocation(argc, argv, inv, error)) return report_usage("", error);
    if (inv.help) {
        print_global_help(stdout);
        return kExitOk;
    }
    if (inv.version) {
        std::printf("camkit %s\n", ci_GetVersionString());
        return kExitOk;
    }
    if (inv.commands.empty()) inv.commands.push_back(Command{"demo", {}});
    set_json_mode(inv.options.json);
    std::vector<const CommandSpec*> specs;
    bool needsCamera = false;
    int rc = check_commands(inv, specs, needsCamera);
    if (rc != kExitOk) return rc;
    if (show_command_help(inv, specs)) return kExitOk;
    Session session;
    if (needsCamera) {
        const Stopwatch watch;
        rc = open_session(inv.options, session);
        json_end(rc);
        after_step(inv.options, watch, "open");
    }
    if (rc == kExitOk) rc = run_commands(inv, specs, session);
    if (inv.options.debug) debug_log_echo();
    close_session(session);
    debug_log_end();
    json_print();
    return rc;
}

}  // namespace
}  // namespace cli

int main(int argc, char** argv) {
    try {
        return cli::run(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "camkit: %s\n", e.what());
        return cli::kExitFailed;
    }
}
