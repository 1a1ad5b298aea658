// camkit get: read registers and bitfields by name.
#include <cstdio>

#include "cli_commands.h"
#include "cli_json_out.h"
#include "cli_report.h"
#include "cli_target.h"

namespace cli {
namespace {

int get_one(ci_camera_t* camera, const std::string& name, const BusSizes& sizes) {
    Target target;
    std::string error;
    if (!resolve_target(camera, name, target, error, sizes)) {
        return report_error("get " + name, CI_CAMERA_ERROR, error);
    }
    if (!target_readable(target)) {
        return report_error("get " + name, CI_CAMERA_ERROR, target.label + " is write-only");
    }
    ci_u32 value = 0;
    const ci_error_code code = read_target(camera, target, value);
    if (code != CI_CAMERA_SUCCESS) return report_error("get " + name, code, "cannot read " + target.label);
    if (json_mode()) {
        Json entry = Json::object();
        entry.set("name", target.label);
        entry.set("value", value);
        entry.set("text", format_value(target.kind, value));
        json_result().member("values", Json::array()).push(std::move(entry));
        return kExitOk;
    }
    std::printf("%s = %s\n", target.label.c_str(), format_value(target.kind, value).c_str());
    return kExitOk;
}

}  // namespace

int run_get(Session& session, const Args& args) {
    LocalArgs local;
    std::string error;
    BusSizes sizes;
    if (!parse_local(args, {{"--size", true}}, local, error)) return report_usage("get", error);
    if (local.has("--size") && !parse_bus_sizes(local.value("--size"), sizes, error)) return report_usage("get", error);
    if (local.positional.empty()) return report_usage("get", "names a register or bitfield to read");
    // Every name is read, so that one bad name does not hide the others.
    int rc = kExitOk;
    for (const std::string& name : local.positional) {
        if (get_one(session.camera, name, sizes) != kExitOk) rc = kExitFailed;
    }
    return rc;
}

}  // namespace cli
