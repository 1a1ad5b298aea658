#include "cli_report.h"

#include <cstdio>

#include "cli_args.h"
#include "cli_json_out.h"

namespace cli {

std::string error_text(ci_error_code code) {
    return std::string(ci_getErrorSymbol(code)) + " (" + ci_getErrorMessage(code) + ")";
}

int report_error(const std::string& where, ci_error_code code, const std::string& detail) {
    std::string line = "camkit: ";
    if (!where.empty()) line += where + ": ";
    line += error_text(code);
    if (!detail.empty()) line += ": " + detail;
    std::fprintf(stderr, "%s\n", line.c_str());
    json_error(where, code, detail);
    return kExitFailed;
}

int report_usage(const std::string& where, const std::string& detail) {
    const std::string prefix = where.empty() ? std::string() : where + ": ";
    const std::string help = where.empty() ? "camkit --help" : "camkit help " + where;
    std::fprintf(stderr, "camkit: %s%s\nTry '%s'.\n", prefix.c_str(), detail.c_str(), help.c_str());
    return kExitUsage;
}

void report_note(const std::string& text) { std::fprintf(stderr, "camkit: %s\n", text.c_str()); }

}  // namespace cli
