// camkit list: one line per opened camera.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "cli_commands.h"
#include "cli_json_out.h"
#include "cli_report.h"
#include "cli_table.h"

namespace cli {
namespace {

// The USB vendor ID a board's driver description names, or -1.
long usb_vendor_id(ci_camera_t* camera) {
    if (camera->transportType != CI_TRANSPORT_USB) return -1;
    const char* info = ci_GetDriverInfoString(camera);
    const char* at = info != nullptr ? std::strstr(info, "VendorID: 0x") : nullptr;
    return at != nullptr ? std::strtol(at + 12, nullptr, 16) : -1;
}

// Vendor and product ID and firmware version of a USB board, else "-".
std::string device_text(ci_camera_t* camera) {
    const long vendor = usb_vendor_id(camera);
    if (vendor < 0) return "-";
    char text[48];
    std::snprintf(text, sizeof text, "%04lX:%04X fw %u", vendor, (unsigned)camera->productID,
                  (unsigned)(camera->firmwareVersion & 0xFFFF));
    return text;
}

std::vector<std::string> camera_row(ci_s32 index, ci_camera_t* camera) {
    const ci_sensor_t* sensor = camera->sensor;
    return {std::to_string(index),
            or_dash(camera->transportName),
            device_text(camera),
            or_dash(camera->productName),
            sensor ? or_dash(sensor->sensorName) : "-",
            sensor ? or_dash(sensor->partNumber) : "-",
            sensor ? std::to_string(sensor->num_regs) : "-",
            sensor ? or_dash(sensor->sensorFileName) : "-"};
}

Json camera_json(ci_s32 index, ci_camera_t* camera) {
    const ci_sensor_t* sensor = camera->sensor;
    Json c = Json::object();
    c.set("index", index);
    c.set("transport", camera->transportName);
    c.set("transport_type", camera->transportType);
    c.set("product", camera->productName);
    c.set("product_id", (unsigned)camera->productID);
    c.set("firmware", camera->firmwareVersion);
    const long vendor = usb_vendor_id(camera);
    c.set("vendor_id", vendor >= 0 ? Json((unsigned)vendor) : Json());
    c.set("sensor", sensor ? Json(sensor->sensorName) : Json());
    c.set("part_number", sensor ? Json(sensor->partNumber) : Json());
    c.set("registers", sensor ? Json(sensor->num_regs) : Json());
    c.set("sensor_file", sensor ? Json(sensor->sensorFileName) : Json());
    return c;
}

}  // namespace

int run_list(Session& session, const Args& args) {
    if (!args.empty()) return report_usage("list", "takes no arguments");
    if (json_mode()) {
        Json cameras = Json::array();
        for (ci_s32 i = 0; i < session.count; ++i) cameras.push(camera_json(i, session.cameras[i]));
        json_result().set("cameras", std::move(cameras));
        return kExitOk;
    }
    Table table;
    table.add_row({"#", "TRANSPORT", "DEVICE", "PRODUCT", "SENSOR", "PART NUMBER", "REGISTERS", "SENSOR FILE"});
    for (ci_s32 i = 0; i < session.count; ++i) table.add_row(camera_row(i, session.cameras[i]));
    table.print(stdout);
    return kExitOk;
}

}  // namespace cli
