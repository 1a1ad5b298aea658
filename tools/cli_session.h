// The cameras one invocation works on: opening (with the fallback to the
// demo camera), the selected camera, the error log, and closing.
#pragma once

#include <string>

#include "camkit.h"
#include "cli_args.h"

namespace cli {

constexpr int kMaxCameras = 64;

// The bundled demo sensor, played by the null camera when no board answers.
constexpr const char* kDemoSensorFile = "ck_bayer16.sdat";

struct Session {
    ci_camera_t* cameras[kMaxCameras] = {};
    ci_s32 count = 0;
    ci_camera_t* camera = nullptr;  // the selected camera
    ci_s32 index = 0;               // its position in `cameras`
    bool demo = false;              // a demo camera opened as a fallback
    bool simulated = false;         // ... the simulated camera (plugin), not the null camera
    bool open = false;
    bool logOpen = false;
};

// Opens the error log (when asked) and the cameras, and selects one.
// Returns kExitOk, or the exit code after reporting the failure.
int open_session(const Options& options, Session& session);
void close_session(Session& session);

// Paths of the bundled data, searched in order: $CI_HOME_DEV, $CI_HOME, the
// source tree's data directory, the installed one, and the data directory
// next to the executable (a relocated installation).
std::string find_demo_sensor_file();
std::string default_sensor_data();

// The bundled simulated-camera plugin: the build tree's, the installed one,
// or the one beside the executable's library directory ("" when none).
std::string find_simcam_plugin();

// True for an existing regular file named *.sdat or *.xsdat.
bool is_sensor_file(const std::string& path);

}  // namespace cli
