#include "cli_session.h"

#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "cli_debug.h"
#include "cli_report.h"

namespace cli {
namespace {

// The log level used when only a file is named: severe and ordinary errors.
constexpr ci_s32 kDefaultLogLevel = CI_LOG_SEVERE | CI_LOG_ERROR;

// The library numbers its log files (camkit.log is written as camkit0.log,
// rotating up to camkit4.log).
constexpr const char* kDefaultLogFile = "camkit.log";

std::string directory_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

int open_log(const Options& options, Session& session) {
    if (options.logLevel < 0 && options.logFile.empty() && !options.debug) return kExitOk;
    const ci_s32 level = options.debug ? CI_LOG_ALL : options.logLevel >= 0 ? options.logLevel : kDefaultLogLevel;
    const std::string file = options.debug ? debug_log_file(options.logFile)
                             : options.logFile.empty() ? kDefaultLogFile : options.logFile;
    // The library numbers the file in its directory: that must be writable.
    const std::string dir = directory_of(file);
    if (access(dir.c_str(), W_OK) != 0) {
        return report_usage("--log", "cannot write a log in " + dir + ": " + std::strerror(errno));
    }
    ci_OpenErrorLog(level, file.c_str());
    session.logOpen = true;
    return kExitOk;
}

// File extensions the image-file and video-file cameras play.
bool is_played_file(const std::string& path) {
    static const char* const kExtensions[] = {".avi", ".bmp", ".ccr", ".dxr", ".csv", ".tab", ".txt", ".itx",
                                              ".raw", ".bin", ".png", ".jpg", ".jpeg", ".tif", ".tiff"};
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos) return false;
    for (const char* ext : kExtensions) {
        if (strcasecmp(path.c_str() + dot, ext) == 0) return true;
    }
    return false;
}

// A sensor data file the user named must exist and be one the reader
// accepts: a different sensor standing in for it would mislead.
int check_sensor_data(const Options& options) {
    const std::string& path = options.sensorData;
    struct stat st {};
    if (path.empty()) return kExitOk;
    if (stat(path.c_str(), &st) != 0) {
        return report_error("--sensor-data", CI_CAMERA_ERROR, path + ": " + std::strerror(errno));
    }
    if (S_ISDIR(st.st_mode) || is_played_file(path)) return kExitOk;
    ci_camera_t* cameras[1] = {};
    ci_s32 n = 0;
    const ci_error_code code = ci_OpenCameras2(cameras, &n, path.c_str(), CI_TRANSPORT_NULL, "");
    if (n > 0) ci_CloseCameras2(cameras, n);
    if (n > 0) return kExitOk;
    return report_error("--sensor-data", code ? code : CI_SENSOR_FILE_PARSE_ERROR,
                        path + " is not a sensor data file the reader accepts (--log names a file that shows the "
                               "reader's error and line)");
}

// The file the demo camera plays: the user's own sensor file when one was
// named, the bundled demo sensor otherwise.
std::string demo_file(const Options& options) {
    if (is_sensor_file(options.sensorData)) return options.sensorData;
    return find_demo_sensor_file();
}

// The simulated camera (the simcam plugin) on the demo sensor, when both are
// there.
bool open_simulated(const std::string& file, Session& session) {
    const std::string plugin = find_simcam_plugin();
    if (plugin.empty() || file.empty()) return false;
    ci_OpenCameras2(session.cameras, &session.count, file.c_str(), CI_TRANSPORT_PLUGIN, plugin.c_str());
    if (session.count <= 0) {
        session.count = 0;
        return false;
    }
    report_note("no camera found; using the simulated camera (plugin " + plugin + ") on " + file);
    session.simulated = true;
    return true;
}

int open_demo(const Options& options, ci_error_code why, Session& session) {
    const std::string file = demo_file(options);
    session.demo = true;
    if (open_simulated(file, session)) return kExitOk;
    if (file.empty()) {
        return report_error("open", why ? why : CI_CAMERA_ERROR,
                            std::string("no camera found, and no demo sensor file ") + kDemoSensorFile +
                                " in $CI_HOME/sensor_data or the installed data");
    }
    std::string note = "no camera found; using the demo camera (null transport) on " + file;
    if (why) note += std::string(" (the transports reported ") + ci_getErrorSymbol(why) + ")";
    report_note(note);
    const ci_error_code code = ci_OpenCameras2(session.cameras, &session.count, file.c_str(), CI_TRANSPORT_NULL, "");
    if (session.count <= 0) {
        return report_error("open", code ? code : CI_CAMERA_ERROR, "the demo camera could not be opened on " + file);
    }
    return kExitOk;
}

// Without CI_USB_VENDOR_IDS no USB board can be found: say how to name them.
void usb_hint(const Options& options) {
    const char* ids = std::getenv("CI_USB_VENDOR_IDS");
    if ((options.transports & CI_TRANSPORT_USB) == 0 || (ids != nullptr && ids[0] != '\0')) return;
    report_note("No USB vendor ID is known: set CI_USB_VENDOR_IDS (e.g. 0xC0DE,0xC0DF) to find USB boards");
}

int open_cameras(const Options& options, Session& session) {
    const std::string sensorData = options.sensorData.empty() ? default_sensor_data() : options.sensorData;
    const ci_error_code code = ci_OpenCameras2(session.cameras, &session.count, sensorData.c_str(),
                                               options.transports, options.plugin.c_str());
    if (session.count > 0) return kExitOk;
    session.count = 0;
    usb_hint(options);
    // The demo cameras stand in only on a plain run: a user who chose the
    // transports or a plugin asked for those and is told they found nothing.
    if (options.noDemo || options.transportsGiven || !options.plugin.empty()) {
        return report_error("open", code ? code : CI_CAMERA_ERROR, "no camera found");
    }
    return open_demo(options, code, session);
}

int select_camera(const Options& options, Session& session) {
    if (options.camera >= session.count) {
        return report_error("open", CI_CAMERA_ERROR,
                            "no camera " + std::to_string(options.camera) + " (" + std::to_string(session.count) +
                                " opened)");
    }
    session.index = options.camera;
    session.camera = session.cameras[options.camera];
    // Without a device behind it the demo camera reads 0 everywhere; the
    // register cache is what shows the values written during the run.
    if (options.cache || (session.demo && !session.simulated)) ci_setMode(session.camera, CI_USE_REG_CACHE, 1);
    return kExitOk;
}

}  // namespace

int open_session(const Options& options, Session& session) {
    int rc = open_log(options, session);
    if (rc == kExitOk) rc = check_sensor_data(options);
    if (rc == kExitOk) rc = open_cameras(options, session);
    if (rc == kExitOk) {
        session.open = true;
        rc = select_camera(options, session);
    }
    if (rc != kExitOk) close_session(session);
    return rc;
}

void close_session(Session& session) {
    if (session.open) ci_CloseCameras();
    session.open = false;
    session.count = 0;
    session.camera = nullptr;
    if (session.logOpen) ci_CloseErrorLog();
    session.logOpen = false;
}

}  // namespace cli
