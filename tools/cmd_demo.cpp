// camkit demo (and camkit with no command): a short tour of the commands.
// Registers are written only on the demo camera, never on a real board.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "cli_commands.h"
#include "cli_format.h"
#include "cli_report.h"
#include "cli_target.h"

namespace cli {
namespace {

const ci_u32 kReadWrite = 1;
const ci_s32 kTourRegisters = 20;

// Runs one command of the tour under a heading that shows how to type it.
int step(Session& session, const char* heading, int (*run)(Session&, const Args&), const Args& args) {
    std::printf("\n$ camkit %s\n", heading);
    std::fflush(stdout);
    return run(session, args);
}

bool usable(const ci_reg_data_t& reg) {
    return reg.rw == kReadWrite && !reg.confidential && reg.unique_desc[0] != '\0';
}

// The first plain read-write register, preferring one without bitfields.
const ci_reg_data_t* pick_register(const ci_sensor_t* sensor) {
    const ci_reg_data_t* any = nullptr;
    for (ci_s32 i = 0; i < sensor->num_regs; ++i) {
        const ci_reg_data_t& reg = sensor->regs[i];
        if (!usable(reg)) continue;
        if (reg.num_bitfields == 0) return &reg;
        if (!any) any = &reg;
    }
    return any;
}

// The first read-write bitfield of a register other than `avoid`.
const ci_bitfield_t* pick_bitfield(const ci_sensor_t* sensor, const ci_reg_data_t* avoid, const ci_reg_data_t** owner) {
    for (ci_s32 i = 0; i < sensor->num_regs; ++i) {
        const ci_reg_data_t& reg = sensor->regs[i];
        if (&reg == avoid || !usable(reg)) continue;
        for (ci_s32 f = 0; f < reg.num_bitfields; ++f) {
            const ci_bitfield_t& field = reg.bitfield[f];
            if (field.rw == kReadWrite && field.bitmask != 0 && !field.confidential) {
                *owner = &reg;
                return &field;
            }
        }
    }
    return nullptr;
}

// A value that differs from the current one and shows the register's digits.
ci_u32 register_demo_value(const ValueKind& kind, ci_u32 current) {
    ci_u32 value = 0x01234567u & kind.mask;
    if (value == 0 || value == current) value = current ^ (kind.mask & (~kind.mask + 1));
    return value;
}

ci_u32 bitfield_demo_value(const ValueKind& kind, ci_u32 current) { return (current + 1) & kind.mask; }

// set NAME=VALUE + get NAME, VALUE chosen from the current value.
int round_trip(Session& session, const std::string& name, ci_u32 (*choose)(const ValueKind&, ci_u32)) {
    Target target;
    std::string error;
    if (!resolve_target(session.camera, name, target, error)) return report_error("demo", CI_CAMERA_ERROR, error);
    ci_u32 current = 0;
    read_target(session.camera, target, current);
    const std::string assignment = name + "=" + format_value(target.kind, choose(target.kind, current));
    std::printf("\n$ camkit set %s + get %s\n", assignment.c_str(), name.c_str());
    std::fflush(stdout);
    const int rc = run_set(session, {assignment});
    return rc != kExitOk ? rc : run_get(session, {name});
}

int write_tour(Session& session) {
    const ci_sensor_t* sensor = session.camera->sensor;
    const ci_reg_data_t* reg = pick_register(sensor);
    int rc = kExitOk;
    if (reg) rc = round_trip(session, reg->unique_desc, register_demo_value);
    const ci_reg_data_t* owner = nullptr;
    const ci_bitfield_t* field = pick_bitfield(sensor, reg, &owner);
    if (rc != kExitOk || !field) return rc;
    const std::string ownerName = owner->unique_desc;
    rc = round_trip(session, ownerName + "." + field->id, bitfield_demo_value);
    return rc != kExitOk ? rc : step(session, ("get " + ownerName).c_str(), run_get, {ownerName});
}

// On a real board the tour only reads the register it would have written.
int read_tour(Session& session) {
    const ci_reg_data_t* reg = pick_register(session.camera->sensor);
    if (!reg) return kExitOk;
    return step(session, ("get " + std::string(reg->unique_desc)).c_str(), run_get, {reg->unique_desc});
}

// On the simulated demo camera: the presets of the sensor's preset file, and
// its initialisation run line by line.
int preset_tour(Session& session) {
    char file[512];
    if (!session.demo || !session.simulated || ci_DefaultIniFile(session.camera, file, (ci_s32)sizeof file) != 0) {
        return kExitOk;
    }
    const int rc = step(session, "presets", run_presets, {});
    return rc != kExitOk ? rc : step(session, "preset \"Kite Initialization\"", run_preset, {"Kite Initialization"});
}

// A file name in the working directory that nothing uses yet.
std::string unused_picture_name() {
    std::string name = "camkit_demo.png";
    for (int n = 1; access(name.c_str(), F_OK) == 0 && n < 1000; n++) name = "camkit_demo_" + std::to_string(n) + ".png";
    return name;
}

// Ends the tour with a frame written to a picture (not on the null camera:
// it has no frames).
int grab_tour(Session& session) {
    if (session.demo && !session.simulated) return kExitOk;
    const std::string name = unused_picture_name();
    return step(session, ("grab -o " + name).c_str(), run_grab, {"-o", name});
}

}  // namespace

int run_demo(Session& session, const Args& args) {
    if (!args.empty()) return report_usage("demo", "takes no arguments");
    int rc = step(session, "list", run_list, {});
    if (rc == kExitOk) rc = step(session, "info", run_info, {});
    if (rc != kExitOk || !session.camera->sensor) return rc;
    const std::string limit = std::to_string(kTourRegisters);
    rc = step(session, ("regs --limit " + limit).c_str(), run_regs, {"--limit", limit});
    if (rc != kExitOk) return rc;
    rc = session.demo ? write_tour(session) : read_tour(session);
    if (rc == kExitOk) rc = preset_tour(session);
    return rc != kExitOk ? rc : grab_tour(session);
}

}  // namespace cli
