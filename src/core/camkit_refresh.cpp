// Reading a camera's sensor data file again after it was edited.
#define CK_SOURCE "camkit"
#include <cstdio>
#include <cstdlib>

#include "core/camkit_private.h"

namespace {

// Parses path into a new record; null (the record freed) when it does not
// parse, with the parser's code in *result.
ci_sensor_t* parseAgain(ci_camera_t* camera, const char* path, ci_error_code* result) {
    ci_sensor_t* fresh = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    if (fresh == nullptr) {
        *result = CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate sensor structure");
        return nullptr;
    }
    *result = ci_ParseSensorFile(camera, path, fresh);
    if (*result == CI_PARSE_SUCCESS) return fresh;
    ci_DestructSensor(fresh);
    free(fresh);
    return nullptr;
}

}  // namespace

ci_error_code ci_RefreshSensorFile(ci_camera_t* camera) {
    if (camera == nullptr || _ctx(camera) == nullptr) return CK_ERR(CI_CAMERA_ERROR, "No camera");
    if (camera->sensor == nullptr || camera->sensor->sensorFileName[0] == '\0') {
        return CK_ERR(CI_SENSOR_NOT_INITIALIZED, "ci_RefreshSensorFile: the camera has no sensor data file");
    }
    char path[sizeof camera->sensor->sensorFileName];
    snprintf(path, sizeof path, "%s", camera->sensor->sensorFileName);
    _getRegisterLock(camera);
    ci_error_code result = CI_CAMERA_SUCCESS;
    ci_sensor_t* fresh = parseAgain(camera, path, &result);
    if (fresh != nullptr) {
        _freeSensor(camera);  // the old description and its cache
        camera->sensor = fresh;
        _init_reg_cache(camera);
        result = CI_CAMERA_SUCCESS;
    }
    _releaseRegisterLock(camera);
    return result;
}
