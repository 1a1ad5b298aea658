// camkit convert IN OUT: reads a sensor description (either form) and
// writes it in the form OUT's name asks for.  No camera is opened: the
// description is read by the null camera, which has no device.
#include <strings.h>

#include <cstdio>
#include <string>

#include "cli_commands.h"
#include "cli_report.h"

namespace cli {
namespace {

bool has_sensor_extension(const std::string& path) {
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos) return false;
    return strcasecmp(path.c_str() + dot, ".sdat") == 0 || strcasecmp(path.c_str() + dot, ".xsdat") == 0;
}

}  // namespace

int run_convert(Session&, const Args& args) {
    LocalArgs local;
    std::string error;
    if (!parse_local(args, {}, local, error) || local.positional.size() != 2) {
        return report_usage("convert", error.empty() ? "takes an input and an output file" : error);
    }
    const std::string& in = local.positional[0];
    const std::string& out = local.positional[1];
    if (!is_sensor_file(in)) return report_usage("convert", in + " is not a *.sdat or *.xsdat file");
    if (!has_sensor_extension(out)) return report_usage("convert", out + " must be named *.sdat or *.xsdat");
    ci_camera_t* cameras[1] = {};
    ci_s32 n = 0;
    const ci_error_code opened = ci_OpenCameras2(cameras, &n, in.c_str(), CI_TRANSPORT_NULL, "");
    if (n < 1) {
        return report_error("convert", opened ? opened : CI_SENSOR_FILE_PARSE_ERROR,
                            in + " is not a sensor data file the reader accepts");
    }
    const ci_error_code written = ci_WriteSensorFile(cameras[0], out.c_str());
    ci_CloseCameras2(cameras, n);
    if (written != CI_CAMERA_SUCCESS) return report_error("convert", written, "cannot write " + out);
    std::printf("%s -> %s\n", in.c_str(), out.c_str());
    return kExitOk;
}

}  // namespace cli
