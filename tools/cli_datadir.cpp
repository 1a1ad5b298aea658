#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <strings.h>
#include <vector>

#include "cli_session.h"

#ifndef CAMKIT_DATA_DIR
#define CAMKIT_DATA_DIR ""
#endif
#ifndef CAMKIT_PLUGIN_BUILD_DIR
#define CAMKIT_PLUGIN_BUILD_DIR ""
#endif
#ifndef CAMKIT_PLUGIN_INSTALL_DIR
#define CAMKIT_PLUGIN_INSTALL_DIR ""
#endif
#ifndef CAMKIT_INSTALL_DATA_DIR
#define CAMKIT_INSTALL_DATA_DIR ""
#endif

namespace cli {
namespace {

// Does path name an existing object of the file type (S_IFDIR, S_IFREG...)?
bool has_file_type(const std::string& path, mode_t type) {
    struct stat st;
    return !path.empty() && stat(path.c_str(), &st) == 0 && (st.st_mode & S_IFMT) == type;
}

bool is_directory(const std::string& path) { return has_file_type(path, S_IFDIR); }

bool is_regular_file(const std::string& path) { return has_file_type(path, S_IFREG); }

const char* home_variable() {
    for (const char* name : {"CI_HOME_DEV", "CI_HOME"}) {
        const char* value = std::getenv(name);
        if (value && *value) return value;
    }
    return nullptr;
}

// "<dir of the executable>/../share/camkit", or empty.
std::string relocated_data_dir() {
    char exe[4096];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n <= 0) return std::string();
    exe[n] = '\0';
    std::string dir(exe);
    const size_t slash = dir.rfind('/');
    if (slash == std::string::npos) return std::string();
    return dir.substr(0, slash) + "/../share/camkit";
}

// The candidate data directories, in the order they are searched.
std::vector<std::string> data_dirs() {
    std::vector<std::string> dirs;
    if (const char* home = home_variable()) dirs.emplace_back(home);
    for (const char* dir : {CAMKIT_DATA_DIR, CAMKIT_INSTALL_DATA_DIR}) {
        if (*dir) dirs.emplace_back(dir);
    }
    const std::string relocated = relocated_data_dir();
    if (!relocated.empty()) dirs.push_back(relocated);
    return dirs;
}

bool has_extension(const std::string& path, const char* ext) {
    const size_t slash = path.rfind('/');
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return false;
    return strcasecmp(path.c_str() + dot, ext) == 0;
}

}  // namespace

bool is_sensor_file(const std::string& path) {
    return is_regular_file(path) && (has_extension(path, ".sdat") || has_extension(path, ".xsdat"));
}

std::string find_demo_sensor_file() {
    for (const std::string& dir : data_dirs()) {
        const std::string path = dir + "/sensor_data/" + kDemoSensorFile;
        if (path.size() < CI_STRING_LEN && is_regular_file(path)) return path;  // fits the library
    }
    return std::string();
}

std::string default_sensor_data() {
    const std::string library = ci_SensorData();
    if (home_variable() || is_directory(library)) return library;
    for (const std::string& dir : data_dirs()) {
        if (is_directory(dir + "/sensor_data")) return dir + "/sensor_data";
    }
    return library;
}

std::string find_simcam_plugin() {
    for (const char* dir : {CAMKIT_PLUGIN_BUILD_DIR, CAMKIT_PLUGIN_INSTALL_DIR}) {
        const std::string path = std::string(dir) + "/simcam.so";
        if (dir[0] != '\0' && is_regular_file(path)) return path;
    }
    return std::string();
}

}  // namespace cli
