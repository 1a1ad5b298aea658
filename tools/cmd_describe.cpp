// camkit describe: everything the sensor description holds about a register
// or a bitfield, one "key  value" line each.
#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "cli_commands.h"
#include "cli_json_out.h"
#include "cli_format.h"
#include "cli_report.h"
#include "cli_table.h"
#include "cli_target.h"

namespace cli {
namespace {

const char* access_text(ci_u32 rw) {
    switch (rw) {
        case 0: return "read-only";
        case 1: return "read-write";
        case 2: return "write-only";
        default: return "unknown";
    }
}

// "bits 11..4" of a mask (the span from its lowest to its highest set bit).
std::string bit_range(ci_u32 mask) {
    if (mask == 0) return "none";
    int low = 0, high = 31;
    while (!(mask & (1u << low))) low++;
    while (!(mask & (1u << high))) high--;
    return low == high ? "bit " + std::to_string(low) : "bits " + std::to_string(high) + ".." + std::to_string(low);
}

std::string number_text(double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.10g", v);
    return buf;
}

// Range of a data type over a mask, as values of that type.
std::string range_text(ci_data_types type, ci_u32 minimum, ci_u32 maximum, ci_u32 mask) {
    if (minimum == 0 && maximum == 0) return "any";
    return number_text(ci_Int2Double(type, minimum, mask)) + " to " + number_text(ci_Int2Double(type, maximum, mask));
}

const ci_addr_space_val_t* space_of(const ci_sensor_t* sensor, ci_u32 space) {
    const ci_addr_space_t* table = sensor->addr_space;
    for (ci_s32 i = 0; table != nullptr && i < table->num_vals; i++) {
        if (table->addr_space_val[i].val == space) return &table->addr_space_val[i];
    }
    return nullptr;
}

const char* long_description(const ci_sensor_t* sensor, const char* reg, const char* field) {
    for (ci_s32 i = 0; i < sensor->num_long_desc; i++) {
        const ci_long_desc_t& d = sensor->long_desc[i];
        const bool fieldMatches = field == nullptr ? (d.bitfieldName == nullptr || d.bitfieldName[0] == '\0')
                                                   : (d.bitfieldName != nullptr && strcasecmp(d.bitfieldName, field) == 0);
        if (d.regName != nullptr && strcasecmp(d.regName, reg) == 0 && fieldMatches) return d.longDesc;
    }
    return nullptr;
}

void add_register_rows(const ci_sensor_t* sensor, const ci_reg_data_t* reg, Table& table) {
    table.add_row({"register", reg->unique_desc});
    table.add_row({"address", format_address(sensor, reg->reg_addr)});
    const ci_addr_space_val_t* space = space_of(sensor, reg->reg_space);
    table.add_row({"space", space != nullptr ? std::string(space->ID) + " (" + std::to_string(space->val) + ", " +
                                                   addr_type_name(space->type) + ", " + space->name + ")"
                                             : std::to_string(reg->reg_space)});
    table.add_row({"span", std::to_string(reg->addr_span) + (reg->addr_span == 1 ? " address" : " addresses")});
    table.add_row({"mask", format_hex(register_mask(reg, sensor), sensor->reg_data_size * std::max(1u, reg->addr_span)) +
                               " (" + bit_range(register_mask(reg, sensor)) + ")"});
    table.add_row({"access", access_text(reg->rw)});
    table.add_row({"default", format_value(register_kind(reg, sensor), field_from_register(register_kind(reg, sensor),
                                                                                          reg->default_val))});
    table.add_row({"data type", ci_GetDataTypeString(reg->datatype)});
    table.add_row({"range", range_text(reg->datatype, reg->minimum, reg->maximum, register_mask(reg, sensor))});
    table.add_row({"volatile", reg->volat ? "yes" : "no"});
    table.add_row({"confidential", reg->confidential ? "yes" : "no"});
    table.add_row({"display name", or_dash(reg->reg_desc)});
    table.add_row({"detail", or_dash(reg->detail)});
    table.add_row({"bitfields", std::to_string(reg->num_bitfields)});
    table.add_row({"long description", or_dash(long_description(sensor, reg->unique_desc, nullptr))});
}

void add_bitfield_rows(const ci_sensor_t* sensor, const ci_reg_data_t* reg, const ci_bitfield_t* f, Table& table) {
    table.add_row({"bitfield", f->id});
    table.add_row({"register", std::string(reg->unique_desc) + " at " + format_address(sensor, reg->reg_addr)});
    table.add_row({"mask", format_hex(f->bitmask, sensor->reg_data_size) + " (" + bit_range(f->bitmask) + ")"});
    table.add_row({"access", access_text(f->rw)});
    const ValueKind kind = bitfield_kind(f);
    table.add_row({"default", format_value(kind, field_from_register(kind, reg->default_val))});
    table.add_row({"data type", ci_GetDataTypeString(f->datatype)});
    table.add_row({"range", range_text(f->datatype, f->minimum, f->maximum, kind.mask)});
    table.add_row({"confidential", f->confidential ? "yes" : "no"});
    table.add_row({"display name", or_dash(f->desc)});
    table.add_row({"detail", or_dash(f->detail)});
    table.add_row({"long description", or_dash(long_description(sensor, reg->unique_desc, f->id))});
}

}  // namespace

int run_describe(Session& session, const Args& args) {
    LocalArgs local;
    std::string error;
    if (!parse_local(args, {}, local, error)) return report_usage("describe", error);
    if (local.positional.empty()) return report_usage("describe", "names a register or bitfield");
    int rc = kExitOk;
    for (size_t i = 0; i < local.positional.size(); i++) {
        Target target;
        if (!resolve_target(session.camera, local.positional[i], target, error)) {
            rc = report_error("describe " + local.positional[i], CI_CAMERA_ERROR, error);
            continue;
        }
        if (target.reg == nullptr) {
            rc = report_error("describe " + local.positional[i], CI_CAMERA_ERROR,
                              "no register of the description is at that address");
            continue;
        }
        Table table;
        if (target.field != nullptr) {
            add_bitfield_rows(session.camera->sensor, target.reg, target.field, table);
        } else {
            add_register_rows(session.camera->sensor, target.reg, table);
        }
        if (json_mode()) {
            Json entry = table.as_object();
            entry.set("address", target.reg->reg_addr);
            entry.set("mask", target.field != nullptr ? target.field->bitmask : register_mask(target.reg, session.camera->sensor));
            entry.set("default_raw", target.reg->default_val);
            json_result().member("targets", Json::array()).push(std::move(entry));
            continue;
        }
        if (i > 0) std::printf("\n");
        table.print(stdout);
    }
    return rc;
}

}  // namespace cli
