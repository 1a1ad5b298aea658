// Loading a far-sensor file: the far description is read into a scratch
// camera of its own (so that the near sensor's identification data in the
// camera's context stay as they are) and then merged into the near sensor.
#define CK_SOURCE "sensor_data"
#include "sensor/sensor_far.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sensor/sensor_far_merge.h"

namespace {

// Far sensors of a far sensor are not followed (a file naming itself would
// never end).
thread_local int t_farDepth = 0;

// A bare name is taken from the near sensor's directory.
void resolve(const ci_sensor_t* near, const char* fileName, char* path, size_t size) {
    const char* slash = strrchr(near->sensorFileName, '/');
    if (strchr(fileName, '/') || !slash) {
        snprintf(path, size, "%s", fileName);
        return;
    }
    snprintf(path, size, "%.*s/%s", static_cast<int>(slash - near->sensorFileName), near->sensorFileName, fileName);
}

struct scratch_camera {
    ci_camera_t* camera;
    scratch_camera() : camera(static_cast<ci_camera_t*>(calloc(1, sizeof(ci_camera_t)))) {
        if (camera) ci_InitCameraContext(camera);
    }
    ~scratch_camera() {
        if (!camera) return;
        if (camera->sensor) _freeSensor(camera);
        ci_FreeCameraContext(camera);
        free(camera);
    }
};

ci_error_code fail(ci_error_code code, const char* what, const char* path) {
    char message[CI_MAX_PATH + 96];
    snprintf(message, sizeof message, "far-sensor file %s: %s", path, what);
    return CK_ERR(code, message);
}

}  // namespace

ci_s32 sensor_far_bus(const char* keyword) {
    if (osal_stricmp(keyword, "FAR1") == 0) return 1;
    if (osal_stricmp(keyword, "FAR2") == 0) return 2;
    return 0;
}

ci_error_code ci_ParseFarSensorFile(ci_camera_t* camera, ci_sensor_t* near, const char* id, ci_s32 bus, ci_u32 base,
                                    const char* fileName) {
    if (!camera || !near || !id || !fileName || (bus != 1 && bus != 2)) return CI_CAMERA_ERROR;
    char path[CI_MAX_PATH];
    resolve(near, fileName, path, sizeof path);
    if (t_farDepth > 0) return fail(CI_SENSOR_NOT_SUPPORTED, "far sensors of a far sensor are not loaded", path);
    scratch_camera scratch;
    if (!scratch.camera || !_ctx(scratch.camera)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate a camera");
    ++t_farDepth;
    ci_error_code parsed = ci_ParseSensorFile(scratch.camera, path, nullptr);
    --t_farDepth;
    if (parsed != CI_PARSE_SUCCESS) return fail(CI_SENSOR_FILE_PARSE_ERROR, "does not parse", path);
    if (!sensor_far_merge(near, scratch.camera->sensor, id, bus, base))
        return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate the far sensor's tables");
    return CI_PARSE_SUCCESS;
}
