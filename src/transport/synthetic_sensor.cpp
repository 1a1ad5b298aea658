// Sensor descriptions synthesised by the file-backed transports.
#define CK_SOURCE "camkit"
#include "transport/synthetic_sensor.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

static void _synthetic_fill_reg(ci_reg_data_t* reg, ci_u32 index, const _synthetic_reg_t* tmpl) {
    snprintf(reg->unique_desc, sizeof reg->unique_desc, "%s", tmpl->name);
    snprintf(reg->reg_desc, sizeof reg->reg_desc, "%s", tmpl->displayName);
    reg->reg_addr = index;
    reg->bitmask = tmpl->bitmask;
    reg->rw = tmpl->rw;
    reg->addr_span = 1;
    reg->datatype = CI_TYPE_UNSIGNED;
}

ci_error_code _synthetic_sensor_create(ci_camera_t* camera, const _synthetic_sensor_t* tmpl, const char* path) {
    auto* sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    auto* regs = static_cast<ci_reg_data_t*>(calloc((size_t)tmpl->numRegs, sizeof(ci_reg_data_t)));
    if (sensor == nullptr || regs == nullptr) {
        free(sensor);
        free(regs);
        return CK_ERR(CI_CAMERA_ERROR, "cannot allocate the sensor description");
    }
    snprintf(sensor->sensorName, sizeof sensor->sensorName, "%s", tmpl->sensorName);
    sensor->sensorType = CI_BITMAP_SENSOR;
    snprintf(sensor->sensorFileName, sizeof sensor->sensorFileName, "%s", path);
    const char* slash = strrchr(path, '\\');
    snprintf(sensor->partNumber, sizeof sensor->partNumber, "%s", slash != nullptr ? slash + 1 : path);
    sensor->fullWidth = sensor->width = tmpl->width;
    sensor->fullHeight = sensor->height = tmpl->height;
    sensor->zoomFactor = 1;
    sensor->pixelBytes = tmpl->pixelBytes;
    sensor->pixelBits = tmpl->pixelBits;
    sensor->imageType = tmpl->imageType;
    sensor->reg_addr_size = 8;
    sensor->reg_data_size = 16;
    for (ci_s32 i = 0; i < tmpl->numRegs; i++) _synthetic_fill_reg(&regs[i], (ci_u32)i, &tmpl->regs[i]);
    sensor->regs = regs;
    sensor->num_regs = tmpl->numRegs;
    camera->sensor = sensor;
    return CI_CAMERA_SUCCESS;
}

ci_s32 _synthetic_reg_index(const ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_s32 numRegs) {
    const ci_sensor_t* sensor = camera != nullptr ? camera->sensor : nullptr;
    if (sensor == nullptr || shipAddr != sensor->shipAddr || regAddr >= (ci_u32)numRegs) return -1;
    return (ci_s32)regAddr;
}
