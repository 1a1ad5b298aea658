// Messages on stderr.  Every line starts with "camkit: ".
#pragma once

#include <string>

#include "camkit.h"

namespace cli {

// "camkit: WHERE: SYMBOL (Message): DETAIL"; returns kExitFailed.
int report_error(const std::string& where, ci_error_code code, const std::string& detail);

// "camkit: WHERE: DETAIL" and a pointer to the help; returns kExitUsage.
int report_usage(const std::string& where, const std::string& detail);

// "camkit: TEXT" (a notice that is not a failure).
void report_note(const std::string& text);

// "SYMBOL (Message)" of a library error code.
std::string error_text(ci_error_code code);

}  // namespace cli
