// --json: one JSON document on stdout for the whole invocation.  Each
// command run becomes an object {"command": NAME, "ok": bool, ...its
// results, "errors": [...]} ; one command prints its object, a chain prints
// an array of them.  A failure before any command (opening) is reported as
// the command "open".
#pragma once

#include <string>

#include "camkit.h"
#include "cli_json.h"

namespace cli {

bool json_mode();
void set_json_mode(bool on);

// Starts the result object of a command; later calls fill it.
void json_begin(const std::string& command);
Json& json_result();
// Records a failure in the current result (report_error calls it).
void json_error(const std::string& where, ci_error_code code, const std::string& detail);
// Closes the current result with the command's exit code.
void json_end(int rc);
// Prints the document (nothing when --json was not given).
void json_print();

}  // namespace cli
