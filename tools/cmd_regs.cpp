// camkit regs: registers matching a wildcard pattern, read in one batch.
#include <string>

#include "cli_commands.h"
#include "cli_json_out.h"
#include "cli_format.h"
#include "cli_report.h"
#include "cli_table.h"

namespace cli {
namespace {

const ci_u32 kWriteOnly = 2;

struct RegsRequest {
    std::string pattern = "*";
    bool fields = false;
    bool all = false;     // include confidential registers and bitfields
    ci_s32 limit = -1;    // -1: no limit
    ci_s32 type = -1;     // only registers in spaces of this address type (-1: all)
};

struct RegRead {
    ci_reg_data_t* reg;
    ci_u32 value;
    ci_error_code result;
};

bool parse_request(const Args& args, RegsRequest& req, std::string& error) {
    LocalArgs local;
    if (!parse_local(args, {{"--fields", false}, {"--all", false}, {"--limit", true}}, local, error)) return false;
    if (local.positional.size() > 1) {
        error = "takes one pattern";
        return false;
    }
    if (!local.positional.empty()) req.pattern = local.positional[0];
    req.fields = local.has("--fields");
    req.all = local.has("--all");
    if (local.has("--limit") && (!parse_s32(local.value("--limit"), req.limit) || req.limit < 1)) {
        error = "--limit: '" + local.value("--limit") + "' is not a count";
        return false;
    }
    return true;
}

std::vector<RegRead> find_matches(ci_camera_t* camera, const RegsRequest& req) {
    std::vector<RegRead> matches;
    ci_s32 position = 0;
    while (req.limit < 0 || static_cast<ci_s32>(matches.size()) < req.limit) {
        ci_reg_data_t* reg = ci_FindRegisterWildcard(camera, req.pattern.c_str(), &position);
        if (!reg) break;
        const bool ofType = req.type < 0 || (reg->addr_space != nullptr && (ci_s32)reg->addr_space->type == req.type);
        if (ofType && (req.all || !reg->confidential)) matches.push_back({reg, 0, CI_CAMERA_SUCCESS});
    }
    return matches;
}

// One locked batch; write-only registers come back as 0 and are not read.
void read_all(ci_camera_t* camera, std::vector<RegRead>& matches) {
    std::vector<ci_reg_data_t*> regs;
    for (const RegRead& m : matches) regs.push_back(m.reg);
    std::vector<ci_u32> values(regs.size(), 0);
    std::vector<ci_error_code> results(regs.size(), CI_CAMERA_SUCCESS);
    ci_ReadSensorRegs(camera, static_cast<ci_s32>(regs.size()), regs.data(), values.data(), results.data());
    for (size_t i = 0; i < matches.size(); ++i) {
        matches[i].value = values[i];
        matches[i].result = results[i];
    }
}

std::string value_cell(const RegRead& m, const ValueKind& kind, ci_u32 rw) {
    if (m.reg->rw == kWriteOnly || rw == kWriteOnly) return "write-only";
    if (m.result != CI_CAMERA_SUCCESS) return ci_getErrorSymbol(m.result);
    return format_value(kind, field_from_register(kind, m.value));
}

void add_field_rows(const ci_sensor_t* sensor, const RegRead& m, bool all, Table& table) {
    const ci_u32 dataBits = (m.reg->addr_span ? m.reg->addr_span : 1) * sensor->reg_data_size;
    for (ci_s32 f = 0; f < m.reg->num_bitfields; ++f) {
        const ci_bitfield_t& field = m.reg->bitfield[f];
        if (!all && field.confidential) continue;
        table.add_row({"  " + std::string(field.id), format_hex(field.bitmask, dataBits), "",
                       value_cell(m, bitfield_kind(&field), field.rw), field.desc});
    }
}

void add_register_row(const ci_sensor_t* sensor, const RegRead& m, Table& table) {
    const ci_reg_data_t* reg = m.reg;
    const std::string space = reg->addr_space ? or_dash(reg->addr_space->ID) : "-";
    table.add_row({reg->unique_desc, format_address(sensor, reg->reg_addr), space,
                   value_cell(m, register_kind(reg, sensor), reg->rw), reg->reg_desc});
}

Json value_json(const RegRead& m, const ValueKind& kind, ci_u32 rw, Json& entry) {
    const bool readable = m.reg->rw != kWriteOnly && rw != kWriteOnly && m.result == CI_CAMERA_SUCCESS;
    entry.set("value", readable ? Json(field_from_register(kind, m.value)) : Json());
    entry.set("text", value_cell(m, kind, rw));
    return entry;
}

Json registers_json(const ci_sensor_t* sensor, const std::vector<RegRead>& matches, bool fields, bool all) {
    Json list = Json::array();
    for (const RegRead& m : matches) {
        Json entry = Json::object();
        entry.set("name", m.reg->unique_desc);
        entry.set("address", m.reg->reg_addr);
        entry.set("space", m.reg->addr_space ? Json(m.reg->addr_space->ID) : Json());
        value_json(m, register_kind(m.reg, sensor), m.reg->rw, entry);
        entry.set("description", m.reg->reg_desc);
        if (fields) {
            Json list2 = Json::array();
            for (ci_s32 f = 0; f < m.reg->num_bitfields; ++f) {
                const ci_bitfield_t& field = m.reg->bitfield[f];
                if (!all && field.confidential) continue;
                Json fe = Json::object();
                fe.set("name", field.id);
                fe.set("mask", field.bitmask);
                value_json(m, bitfield_kind(&field), field.rw, fe);
                fe.set("description", field.desc);
                list2.push(std::move(fe));
            }
            entry.set("bitfields", std::move(list2));
        }
        list.push(std::move(entry));
    }
    return list;
}

int report_failed_reads(const std::vector<RegRead>& matches) {
    size_t failed = 0;
    ci_error_code last = CI_CAMERA_SUCCESS;
    for (const RegRead& m : matches) {
        if (m.result != CI_CAMERA_SUCCESS) {
            ++failed;
            last = m.result;
        }
    }
    if (!failed) return kExitOk;
    return report_error("regs", last,
                        std::to_string(failed) + " of " + std::to_string(matches.size()) + " registers could not be read");
}

// regs, vars and sfrs: the registers of one address type (or all) that match.
int list_registers(Session& session, const Args& args, const char* command, ci_s32 type) {
    RegsRequest req;
    req.type = type;
    std::string error;
    if (!parse_request(args, req, error)) return report_usage(command, error);
    ci_camera_t* camera = session.camera;
    if (!camera->sensor) return report_error(command, CI_SENSOR_NOT_INITIALIZED, "the camera has no sensor description");
    std::vector<RegRead> matches = find_matches(camera, req);
    if (matches.empty()) return report_error(command, CI_CAMERA_ERROR, "nothing matches " + req.pattern);
    read_all(camera, matches);
    if (json_mode()) {
        json_result().set("registers", registers_json(camera->sensor, matches, req.fields, req.all));
        return report_failed_reads(matches);
    }
    Table table;
    table.add_row({"NAME", "ADDRESS", "SPACE", "VALUE", "DESCRIPTION"});
    for (const RegRead& m : matches) {
        add_register_row(camera->sensor, m, table);
        if (req.fields) add_field_rows(camera->sensor, m, req.all, table);
    }
    table.print(stdout);
    return report_failed_reads(matches);
}

}  // namespace

int run_regs(Session& session, const Args& args) { return list_registers(session, args, "regs", -1); }

int run_vars(Session& session, const Args& args) { return list_registers(session, args, "vars", CI_MCU_ADDR); }

int run_sfrs(Session& session, const Args& args) { return list_registers(session, args, "sfrs", CI_SFR_ADDR); }

}  // namespace cli
