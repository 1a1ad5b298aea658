// The library's home directory and its sensor-data directory.
//
// The home is taken from CI_HOME_DEV (a developer's checkout), then CI_HOME
// (an installation), then "../.." (running from a build tree), then ".".
// It is decided on first use and kept for the life of the process.
#define CK_SOURCE "camkit"
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/camkit_private.h"

static char gHome[CI_MAX_PATH];
static char gSensorData[CI_MAX_PATH];
static int gHomeDecided;

static const char* _home_variable(void) {
    static const char* const kVariables[] = {"CI_HOME_DEV", "CI_HOME"};
    for (const char* name : kVariables) {
        const char* value = getenv(name);
        if (value != nullptr && value[0] != '\0') return value;
    }
    return nullptr;
}

static void _decide_home(void) {
    const char* value = _home_variable();
    if (value == nullptr) {
        char parent[] = "../..";
        value = osal_get_file_attributes(parent) != -1 ? "../.." : ".";
    }
    snprintf(gHome, sizeof gHome, "%s", value);
    size_t length = strlen(gHome);
    if (length > 0 && gHome[length - 1] == '/') gHome[length - 1] = '\0';
}

const char* ci_Home(void) {
    if (!gHomeDecided) {
        _decide_home();
        gHomeDecided = 1;
    }
    return gHome;
}

const char* ci_SensorData(void) {
    snprintf(gSensorData, sizeof gSensorData, "%.*s/%s", (int)(sizeof gSensorData - 13), ci_Home(),
             "sensor_data");
    return gSensorData;
}
