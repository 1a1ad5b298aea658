// camkit diff: registers whose current value differs from what a preset
// section writes (REG, BITFIELD and FIELD_WR lines, following LOADs of the
// same file) or from the sensor description's defaults.
#include <strings.h>

#include <cctype>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cli_args.h"
#include "cli_commands.h"
#include "cli_ini.h"
#include "cli_report.h"
#include "cli_table.h"
#include "cli_target.h"

namespace cli {
namespace {

constexpr int kMaxLoadDepth = 16;

// One expected value: a target and the value the preset (or default) gives.
struct Expectation {
    Target target;
    ci_u32 value;
};

struct PresetWalk {
    ci_camera_t* camera;
    const IniFile& sections;
    ci_u32 space = 0;
    std::vector<Expectation> expected;
    std::string error;
};

bool address_target(PresetWalk& walk, ci_u32 addr, ci_u32 mask, Target& target) {
    char text[64];
    std::snprintf(text, sizeof text, "0x%X", addr);
    std::string spaceText;
    const ci_addr_space_t* table = walk.camera->sensor != nullptr ? walk.camera->sensor->addr_space : nullptr;
    for (ci_s32 i = 0; table != nullptr && i < table->num_vals; i++) {
        if (table->addr_space_val[i].val == walk.space) spaceText = std::string(table->addr_space_val[i].ID) + ":";
    }
    std::string name = spaceText + text;
    if (mask != 0 && mask != 0xFFFFFFFFu) {
        std::snprintf(text, sizeof text, "&0x%X", mask);
        name += text;
    }
    return resolve_target(walk.camera, name, target, walk.error);
}

// REG = [space,] address, value and BITFIELD = [space,] address, mask, value.
bool expect_address(PresetWalk& walk, const std::vector<std::string>& ops, bool masked) {
    const size_t need = masked ? 3 : 2;
    if (ops.size() != need && ops.size() != need + 1) return false;
    size_t i = 0;
    if (ops.size() == need + 1 && !parse_u32(ops[i++], walk.space)) return false;
    ci_u32 addr = 0, mask = 0xFFFFFFFFu, value = 0;
    if (!parse_u32(ops[i++], addr) || (masked && !parse_u32(ops[i++], mask)) || !parse_u32(ops[i], value)) return false;
    Expectation e{Target(), value};
    if (!address_target(walk, addr, masked ? mask : 0, e.target)) return false;
    walk.expected.push_back(e);
    return true;
}

// FIELD_WR = register, [bitfield,] value.
bool expect_field(PresetWalk& walk, const std::vector<std::string>& ops) {
    if (ops.size() != 2 && ops.size() != 3) return false;
    Expectation e{Target(), 0};
    const std::string name = ops.size() == 3 ? ops[0] + "." + ops[1] : ops[0];
    if (!resolve_target(walk.camera, name, e.target, walk.error)) return false;
    std::string error;
    if (!parse_value(e.target.kind, ops.back(), e.value, error)) return false;
    walk.expected.push_back(e);
    return true;
}

bool walk_section(PresetWalk& walk, const std::string& name, int depth) {
    const auto* lines = find_section(walk.sections, name);
    if (lines == nullptr || depth > kMaxLoadDepth) {
        walk.error = lines == nullptr ? "no preset " + name : "LOADs nest deeper than " + std::to_string(kMaxLoadDepth);
        return false;
    }
    for (const auto& [key, value] : *lines) {
        const std::vector<std::string> ops = operands(value);
        bool ok = true;
        if (key == "REG") ok = expect_address(walk, ops, false);
        if (key == "BITFIELD") ok = expect_address(walk, ops, true);
        if (key == "FIELD_WR") ok = expect_field(walk, ops);
        if (key == "LOAD") ok = walk_section(walk, value, depth + 1);
        if (!ok) {
            if (walk.error.empty()) walk.error = "cannot follow '" + key + " = " + value + "'";
            return false;
        }
    }
    return true;
}

bool preset_expectations(ci_camera_t* camera, const std::string& spec, std::vector<Expectation>& out,
                         std::string& error) {
    const size_t colon = spec.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == spec.size()) {
        error = "names FILE.ini:SECTION";
        return false;
    }
    IniFile sections;
    if (!read_ini(spec.substr(0, colon), sections)) {
        error = "cannot read " + spec.substr(0, colon);
        return false;
    }
    PresetWalk walk{camera, sections, 0, {}, {}};
    const bool ok = walk_section(walk, spec.substr(colon + 1), 0);
    error = walk.error;
    out = std::move(walk.expected);
    return ok;
}

void default_expectations(ci_camera_t* camera, std::vector<Expectation>& out) {
    const ci_sensor_t* s = camera->sensor;
    for (ci_s32 i = 0; i < s->num_regs; i++) {
        const ci_reg_data_t& reg = s->regs[i];
        if (reg.rw == 2 || reg.confidential || reg.volat || reg.unique_desc[0] == '\0') continue;
        Expectation e{Target(), 0};
        std::string error;
        if (!resolve_target(camera, reg.unique_desc, e.target, error)) continue;
        e.value = field_from_register(e.target.kind, reg.default_val);
        out.push_back(e);
    }
}

}  // namespace

int run_diff(Session& session, const Args& args) {
    LocalArgs local;
    std::string error;
    if (!parse_local(args, {{"--defaults", false}}, local, error)) return report_usage("diff", error);
    const bool defaults = local.has("--defaults");
    if (defaults == (local.positional.size() == 1) || local.positional.size() > 1) {
        return report_usage("diff", "compares with FILE.ini:SECTION or with --defaults");
    }
    std::vector<Expectation> expected;
    if (defaults) {
        default_expectations(session.camera, expected);
    } else if (!preset_expectations(session.camera, local.positional[0], expected, error)) {
        return report_error("diff", CI_INI_LOAD_ERROR, error);
    }
    Table table;
    table.add_row({"REGISTER", "CURRENT", defaults ? "DEFAULT" : "PRESET"});
    int differing = 0, failed = 0;
    for (const Expectation& e : expected) {
        ci_u32 now = 0;
        const ci_error_code code = read_target(session.camera, e.target, now);
        if (code != CI_CAMERA_SUCCESS) failed++;
        if (code == CI_CAMERA_SUCCESS && (now & e.target.kind.mask) == (e.value & e.target.kind.mask)) continue;
        differing++;
        table.add_row({e.target.label, code == CI_CAMERA_SUCCESS ? format_value(e.target.kind, now) : ci_getErrorSymbol(code),
                       format_value(e.target.kind, e.value)});
    }
    if (differing > 0) table.print(stdout);
    std::printf("%d of %zu differ%s\n", differing, expected.size(), failed ? " (some could not be read)" : "");
    return differing == 0 ? kExitOk : kExitFailed;
}

}  // namespace cli
