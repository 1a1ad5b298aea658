// Long descriptions of registers and bitfields.
#define CK_SOURCE "camkit_reg"
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "regs/regs_internal.h"

namespace {

bool isEmpty(const char* s) {
    return !s || !*s;
}

// The long descriptions of a sensor are read on first use from the file
// beside its sensor-data file with the extension ".ldat" (a.sdat: a.ldat).
// When there is none, or it holds nothing, the sensor gets one empty entry
// so that the search is not repeated on every call.
void loadLongDescriptions(ci_camera_t* camera, ci_sensor_t* sensor) {
    char path[CI_MAX_PATH];
    snprintf(path, sizeof path, "%s", sensor->sensorFileName);
    char* dot = strrchr(path, '.');
    char* slash = strrchr(path, '/');
    if (dot && (!slash || dot > slash) && static_cast<size_t>(dot - path) + 6 <= sizeof path) {
        snprintf(dot, sizeof path - static_cast<size_t>(dot - path), ".ldat");
        if (osal_get_file_attributes(path) != -1) ci_ParseLongDescFile(camera, path);
    }
    if (sensor->num_long_desc > 0) return;
    sensor->long_desc = (ci_long_desc_t*)calloc(1, sizeof(ci_long_desc_t));
    sensor->num_long_desc = sensor->long_desc ? 1 : 0;
}

bool takes(const ci_long_desc_t& entry, const char* bitfieldName) {
    if (isEmpty(bitfieldName)) {
        return isEmpty(entry.bitfieldName);
    }
    return entry.bitfieldName && osal_stricmp(entry.bitfieldName, bitfieldName) == 0;
}

}  // namespace

// The entries of one register are expected to be adjacent: the search ends
// at the first entry of another register after the register's run started.
ci_error_code ci_GetLongDescription(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                    char* buffer, ci_s32 bufferLen) {
    if (!buffer || bufferLen < 2) {
        return CI_CAMERA_ERROR;
    }
    buffer[0] = '\0';
    ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    if (!sensor || isEmpty(regName)) {
        return CI_CAMERA_ERROR;
    }
    if (sensor->num_long_desc <= 0 || !sensor->long_desc) loadLongDescriptions(camera, sensor);
    bool inRun = false;
    for (ci_s32 i = 0; i < sensor->num_long_desc; ++i) {
        const ci_long_desc_t& entry = sensor->long_desc[i];
        if (!entry.regName) {
            continue;
        }
        if (osal_stricmp(entry.regName, regName) != 0) {
            if (inRun) {
                return CI_CAMERA_ERROR;
            }
            continue;
        }
        inRun = true;
        if (takes(entry, bitfieldName)) {
            osal_strcpy_s(buffer, (size_t)bufferLen, entry.longDesc ? entry.longDesc : "");
            return CI_CAMERA_SUCCESS;
        }
    }
    return CI_CAMERA_ERROR;
}
