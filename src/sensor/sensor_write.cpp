// ci_WriteSensorFile: writes the camera's sensor description, with the
// identification data read with it, in the form its file name asks for.
#define CK_SOURCE "sensor_data"
#include <stdio.h>
#include <string.h>

#include "sensor/sensor_write.h"

namespace {

bool wants_xml(const char* fileName) {
    const char* dot = strrchr(fileName, '.');
    return dot && osal_stricmp(dot, ".xsdat") == 0;
}

bool wants_text(const char* fileName) {
    const char* dot = strrchr(fileName, '.');
    return dot && osal_stricmp(dot, ".sdat") == 0;
}

}  // namespace

ci_error_code ci_WriteSensorFile(ci_camera_t* camera, const char* fileName) {
    if (!camera || !camera->sensor || !_ctx(camera) || !fileName) return CI_CAMERA_ERROR;
    if (!wants_xml(fileName) && !wants_text(fileName))
        return CK_ERR(CI_CAMERA_ERROR, "a sensor data file is named *.sdat or *.xsdat");
    FILE* fp = fopen(fileName, "wb");
    char message[CI_MAX_PATH + 64];
    if (!fp) {
        snprintf(message, sizeof message, "unable to write file %s", fileName);
        return CK_ERR(CI_PARSE_FILE_ERROR, message);
    }
    const sensor_source src{camera->sensor, _ctx(camera)};
    ci_error_code result = wants_xml(fileName) ? sensor_write_xml(fp, &src) : sensor_write_text(fp, &src);
    bool failed = ferror(fp) != 0;
    if (fclose(fp) != 0) failed = true;
    if (result == CI_CAMERA_SUCCESS && failed) {
        snprintf(message, sizeof message, "unable to write file %s", fileName);
        result = CK_ERR(CI_PARSE_FILE_ERROR, message);
    }
    if (result != CI_CAMERA_SUCCESS) remove(fileName);
    return result;
}
