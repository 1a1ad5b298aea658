// The commands of the tool and their table.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "cli_session.h"

namespace cli {

using Args = std::vector<std::string>;

struct CommandSpec {
    const char* name;
    const char* synopsis;  // "get NAME[.FIELD]..."
    const char* summary;   // one line for the command list
    const char* details;   // the rest of "camkit COMMAND --help"
    bool needsCamera;
    int (*run)(Session& session, const Args& args);
};

const CommandSpec* find_command(const std::string& name);
const std::vector<CommandSpec>& all_commands();

void print_global_help(std::FILE* out);
void print_command_help(const CommandSpec& command, std::FILE* out);

// Options of one command.  "--" ends them; unknown options are errors.
struct LocalOption {
    const char* name;
    bool takesValue;
};
struct LocalArgs {
    Args positional;
    std::vector<std::pair<std::string, std::string>> options;  // name, value
    bool has(const char* name) const;
    std::string value(const char* name) const;
};
bool parse_local(const Args& args, const std::vector<LocalOption>& allowed, LocalArgs& out, std::string& error);

int run_list(Session& session, const Args& args);
int run_info(Session& session, const Args& args);
int run_regs(Session& session, const Args& args);
int run_vars(Session& session, const Args& args);
int run_sfrs(Session& session, const Args& args);
int run_describe(Session& session, const Args& args);
int run_get(Session& session, const Args& args);
int run_set(Session& session, const Args& args);
int run_grab(Session& session, const Args& args);
int run_watch(Session& session, const Args& args);
int run_diff(Session& session, const Args& args);
int run_names(Session& session, const Args& args);
int run_preset(Session& session, const Args& args);
int run_presets(Session& session, const Args& args);
int run_save_regs(Session& session, const Args& args);
int run_demo(Session& session, const Args& args);
int run_convert(Session& session, const Args& args);
int run_help(Session& session, const Args& args);
int run_version(Session& session, const Args& args);

// "-" for an empty text.
std::string or_dash(const char* text);

}  // namespace cli
