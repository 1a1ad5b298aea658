// camkit set: write registers and bitfields by name.  All arguments are
// checked first, so a mistake in one writes nothing.
#include <cstdio>

#include "cli_commands.h"
#include "cli_report.h"
#include "cli_target.h"

namespace cli {
namespace {

struct Assignment {
    std::string text;  // NAME=VALUE as given
    Target target;
    ci_u32 value = 0;
};

// Splits and checks one NAME=VALUE.  Returns kExitOk or the exit code after
// the failure has been reported.
int plan_one(ci_camera_t* camera, const std::string& arg, const BusSizes& sizes, Assignment& out) {
    const size_t eq = arg.find('=');
    if (eq == std::string::npos || eq == 0) return report_usage("set", "'" + arg + "' is not NAME=VALUE");
    out.text = arg;
    std::string error;
    if (!resolve_target(camera, arg.substr(0, eq), out.target, error, sizes)) {
        return report_error("set " + arg, CI_CAMERA_ERROR, error);
    }
    if (!target_writable(out.target)) {
        return report_error("set " + arg, CI_CAMERA_ERROR, out.target.label + " is read-only");
    }
    if (!parse_value(out.target.kind, arg.substr(eq + 1), out.value, error)) {
        return report_usage("set", arg + ": " + error);
    }
    return kExitOk;
}

// Writes one value and reports it with the values read before and after.
int apply_one(ci_camera_t* camera, const Assignment& a) {
    const Target& t = a.target;
    const bool readable = target_readable(t);
    ci_u32 before = 0;
    const bool haveBefore = readable && read_target(camera, t, before) == CI_CAMERA_SUCCESS;
    const ci_error_code code = write_target(camera, t, a.value);
    if (code != CI_CAMERA_SUCCESS) return report_error("set " + a.text, code, "cannot write " + t.label);
    ci_u32 after = a.value;
    if (readable) {
        const ci_error_code readBack = read_target(camera, t, after);
        if (readBack != CI_CAMERA_SUCCESS) return report_error("set " + a.text, readBack, "cannot read back " + t.label);
    }
    std::string line = t.label + " = " + format_value(t.kind, after);
    if (haveBefore) line += " (was " + format_value(t.kind, before) + ")";
    std::printf("%s\n", line.c_str());
    return kExitOk;
}

}  // namespace

int run_set(Session& session, const Args& args) {
    LocalArgs local;
    std::string error;
    BusSizes sizes;
    if (!parse_local(args, {{"--size", true}}, local, error)) return report_usage("set", error);
    if (local.has("--size") && !parse_bus_sizes(local.value("--size"), sizes, error)) return report_usage("set", error);
    if (local.positional.empty()) return report_usage("set", "names a register or bitfield and a value: NAME=VALUE");
    std::vector<Assignment> plan(local.positional.size());
    for (size_t i = 0; i < plan.size(); ++i) {
        const int rc = plan_one(session.camera, local.positional[i], sizes, plan[i]);
        if (rc != kExitOk) return rc;
    }
    for (const Assignment& a : plan) {
        const int rc = apply_one(session.camera, a);
        if (rc != kExitOk) return rc;
    }
    return kExitOk;
}

}  // namespace cli
