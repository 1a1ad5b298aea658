// camkit info: the selected camera and its sensor, one "key  value" line each.
#include <cstdio>
#include <string>

#include "cli_commands.h"
#include "cli_json_out.h"
#include "cli_format.h"
#include "cli_report.h"
#include "cli_table.h"

namespace cli {
namespace {

std::string text_of(const char* format, ci_u32 a, ci_u32 b = 0, ci_u32 c = 0, ci_u32 d = 0) {
    char buf[160];
    std::snprintf(buf, sizeof buf, format, a, b, c, d);
    return buf;
}

std::string mode_text(ci_camera_t* camera, ci_modes mode) {
    ci_u32 value = 0;
    return ci_getMode(camera, mode, &value) == CI_CAMERA_SUCCESS ? std::to_string(value) : std::string("?");
}

void add_camera_rows(const Session& session, Table& table) {
    ci_camera_t* camera = session.camera;
    table.add_row({"camera", std::to_string(session.index) + " of " + std::to_string(session.count) +
                                 (session.demo ? " (demo camera)" : "")});
    table.add_row({"product", or_dash(camera->productName) + " (id " +
                                  text_of("0x%04X, version %u)", camera->productID, camera->productVersion)});
    table.add_row({"firmware", text_of("%u", camera->firmwareVersion)});
    table.add_row({"transport", or_dash(camera->transportName) + text_of(" (0x%X)", camera->transportType)});
    table.add_row({"driver", or_dash(ci_GetDriverInfoString(camera))});
    ci_u32 cache = 0;
    ci_getMode(camera, CI_USE_REG_CACHE, &cache);
    table.add_row({"register reads", cache ? "from the register cache when valid" : "from the device"});
}

void add_sensor_rows(ci_camera_t* camera, Table& table) {
    const ci_sensor_t* s = camera->sensor;
    ci_string imageType = "";
    ci_GetImageTypeStr(s->imageType, imageType);
    std::string version = std::to_string(s->sensorVersion);
    if (s->versionName[0]) version += std::string(" (") + s->versionName + ")";
    table.add_row({"sensor", or_dash(s->sensorName) + text_of(" (type %u)", s->sensorType)});
    table.add_row({"sensor version", version});
    table.add_row({"part number", or_dash(s->partNumber)});
    table.add_row({"sensor file", or_dash(s->sensorFileName)});
    table.add_row({"image type", imageType});
    table.add_row({"image size", text_of("%u x %u (full %u x %u)", s->width, s->height, s->fullWidth, s->fullHeight)});
    table.add_row({"pixel", text_of("%u bits in %u bytes", s->pixelBits, s->pixelBytes)});
    table.add_row({"bits per clock", mode_text(camera, CI_BITS_PER_CLOCK)});
    table.add_row({"clocks per pixel", mode_text(camera, CI_CLOCKS_PER_PIXEL)});
    table.add_row({"frame buffer", text_of("%u bytes", s->bufferSize)});
    table.add_row({"serial address", format_hex(s->shipAddr, 8)});
    table.add_row({"register address", text_of("%u bits", s->reg_addr_size)});
    table.add_row({"register data", text_of("%u bits", s->reg_data_size)});
    table.add_row({"registers", std::to_string(s->num_regs)});
    const ci_s32 spaces = s->addr_space ? s->addr_space->num_vals : 0;
    table.add_row({"address spaces", spaces > 0 ? std::to_string(spaces) : "none"});
}

void print_address_spaces(const ci_sensor_t* sensor) {
    const ci_addr_space_t* table = sensor->addr_space;
    if (!table || table->num_vals <= 0) return;
    Table out;
    out.add_row({"  ID", "TYPE", "VALUE", "NAME"});
    for (ci_s32 i = 0; i < table->num_vals; ++i) {
        const ci_addr_space_val_t& space = table->addr_space_val[i];
        out.add_row({"  " + or_dash(space.ID), addr_type_name(space.type), format_hex(space.val, 8),
                     or_dash(space.name)});
    }
    out.print(stdout);
}

}  // namespace

int run_info(Session& session, const Args& args) {
    if (!args.empty()) return report_usage("info", "takes no arguments");
    Table table;
    add_camera_rows(session, table);
    if (session.camera->sensor) {
        add_sensor_rows(session.camera, table);
    } else {
        table.add_row({"sensor", "none identified"});
    }
    if (json_mode()) {
        Json info = table.as_object();
        if (const ci_sensor_t* s = session.camera->sensor) {
            info.set("width", s->width);
            info.set("height", s->height);
            info.set("pixel_bits", s->pixelBits);
            info.set("pixel_bytes", s->pixelBytes);
            info.set("registers", s->num_regs);
            info.set("serial_address", s->shipAddr);
        }
        json_result().set("info", std::move(info));
        return kExitOk;
    }
    table.print(stdout);
    if (session.camera->sensor) print_address_spaces(session.camera->sensor);
    return kExitOk;
}

}  // namespace cli
