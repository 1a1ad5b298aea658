#include "cli_runner.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

std::string cli_tool_path() {
    if (const char* env = std::getenv("CAMKIT_CLI")) return env;
    char exe[4096];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n <= 0) return std::string();
    std::string path(exe, static_cast<size_t>(n));
    return path.substr(0, path.rfind('/')) + "/../tools/camkit";
}

std::string shell_quoted(const std::string& arg) {
    std::string q = "'";
    for (char c : arg) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

CliRunner::CliRunner() : tool_(cli_tool_path()) {}

bool CliRunner::available() const { return access(tool_.c_str(), X_OK) == 0; }

ToolResult CliRunner::run(const std::vector<std::string>& args) const {
    std::string cmd = "cd " + shell_quoted(dir_.path()) + " && env -u CI_HOME -u CI_HOME_DEV " + shell_quoted(tool_);
    for (const std::string& a : args) cmd += " " + shell_quoted(a);
    const std::string out = dir_.file("stdout.txt"), err = dir_.file("stderr.txt");
    cmd += " >" + shell_quoted(out) + " 2>" + shell_quoted(err);
    const int rc = std::system(cmd.c_str());
    return ToolResult{WIFEXITED(rc) ? WEXITSTATUS(rc) : -1, scratch_read_file(out), scratch_read_file(err)};
}
