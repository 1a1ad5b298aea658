#pragma once
// Runs the camkit tool as a subprocess in a scratch directory.  The tool is
// found through $CAMKIT_CLI or next to the tests' build directory
// (../tools/camkit).
#include <string>
#include <vector>

#include "scratch_dir.h"

// The tool's path: $CAMKIT_CLI, else ../tools/camkit beside the test binary.
std::string cli_tool_path();
// An argument quoted for sh.
std::string shell_quoted(const std::string& arg);

struct ToolResult {
    int status = -1;
    std::string out;
    std::string err;
};

class CliRunner {
public:
    CliRunner();
    // False when the tool was not built (tests skip then).
    bool available() const;
    const ScratchDir& dir() const { return dir_; }
    // Runs the tool in the scratch directory with CI_HOME and CI_HOME_DEV unset.
    ToolResult run(const std::vector<std::string>& args) const;

private:
    ScratchDir dir_;
    std::string tool_;
};
