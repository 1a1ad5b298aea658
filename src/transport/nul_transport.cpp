// The null camera: a camera without hardware.  Its sensor is whatever the
// sensor data file named by the caller describes (no probing), every
// register reads as 0, every write succeeds and is dropped, and frames
// cannot be grabbed.  It lets an application, or a preset under
// development, run against a register map with no board attached.
//
// The transport is only tried when the caller's transport mask names it
// explicitly (CI_TRANSPORT_NULL).
#define CK_SOURCE "transport/nul_transport"
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/camkit_private.h"

namespace {

// Private state of a null camera, held in the context's transport_context.
struct NUL_Transport_Context {
    ci_string fileName;  // the sensor data file given at open
    ci_u32* regFile;     // reserved for a register image; never allocated
};

constexpr int kDirectoryModeBit = 0x4000;

}  // namespace

static ci_error_code _NUL_startTransport(ci_camera_t*) { return CI_CAMERA_SUCCESS; }

static ci_error_code _NUL_stopTransport(ci_camera_t*) { return CI_CAMERA_SUCCESS; }

static ci_error_code _NUL_readRegister(ci_camera_t*, ci_u32, ci_u32, ci_u32* val) {
    if (val != NULL) *val = 0;
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _NUL_writeRegister(ci_camera_t*, ci_u32, ci_u32, ci_u32) { return CI_CAMERA_SUCCESS; }

static ci_error_code _NUL_readRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                        ci_u32* vals) {
    if (vals == NULL) return numRegs == 0 ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
    for (ci_u32 i = 0; i < numRegs; i++) _NUL_readRegister(camera, shipAddr, startAddr + i, &vals[i]);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _NUL_writeRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                         ci_u32* vals) {
    if (vals == NULL) return numRegs == 0 ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
    for (ci_u32 i = 0; i < numRegs; i++) _NUL_writeRegister(camera, shipAddr, startAddr + i, vals[i]);
    return CI_CAMERA_SUCCESS;
}

static ci_u32 _NUL_sensorBase(const ci_camera_t* camera) {
    return camera->sensor != NULL ? camera->sensor->shipAddr : 0;
}

// The address space is irrelevant: every register of every space is 0.
static ci_error_code _NUL_readSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 numRegs,
                                              ci_u32* vals) {
    return _NUL_readRegisters(camera, _NUL_sensorBase(camera), startAddr, numRegs, vals);
}

static ci_error_code _NUL_writeSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 numRegs,
                                               ci_u32* vals) {
    return _NUL_writeRegisters(camera, _NUL_sensorBase(camera), startAddr, numRegs, vals);
}

static ci_error_code _NUL_grabFrame(ci_camera_t*, ci_u8*, ci_u32) { return CI_CAMERA_ERROR; }

static ci_error_code _NUL_updateFrameSize(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 nBitsPerClock,
                                          ci_s32 nClocksPerPixel) {
    _common_context_t* ctx = _ctx(camera);
    ci_sensor_t* sensor = camera->sensor;
    if (ctx == NULL || sensor == NULL) return CI_SENSOR_NOT_INITIALIZED;
    if (width != 0) sensor->width = width;
    if (height != 0) sensor->height = height;
    if (nClocksPerPixel != 0) ctx->clocksPerPixel = (ci_u32)nClocksPerPixel;
    if (nBitsPerClock != 0) ctx->bitsPerClock = (ci_u32)nBitsPerClock;
    if (nClocksPerPixel != 0 || nBitsPerClock != 0) sensor->pixelBits = _pixelBits(camera);
    sensor->pixelBytes = _pixelBytes(camera);
    _updateImageType(camera);
    sensor->bufferSize = sensor->width * sensor->height * sensor->pixelBytes;
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _NUL_setMode(ci_camera_t* camera, ci_modes mode, ci_u32 val) {
    return _SetMode(camera, mode, val);
}

static ci_error_code _NUL_getMode(ci_camera_t* camera, ci_modes mode, ci_u32* val) {
    if (mode != CI_SIMUL_REG_FRAMEGRAB) return _GetMode(camera, mode, val);
    if (val == NULL) return CI_CAMERA_ERROR;
    *val = 1;  // register reads never disturb a frame: there is none
    return CI_CAMERA_SUCCESS;
}

static int _NUL_hasSensorFileExtension(const char* path) {
    const char* dot = strrchr(path, '.');
    return dot != NULL && (osal_stricmp(dot, ".sdat") == 0 || osal_stricmp(dot, ".xsdat") == 0);
}

static ci_error_code _NUL_create_sensor(ci_camera_t* camera, const char* path) {
    char checked[CI_MAX_PATH];
    snprintf(checked, sizeof checked, "%s", path);
    const int attributes = osal_get_file_attributes(checked);
    if (attributes == -1) {
        char message[CI_STRING_LEN + 32];
        snprintf(message, sizeof message, "File does not exist, %200s", path);
        return CK_ERR(CI_SENSOR_DOES_NOT_MATCH, message);
    }
    if (attributes & kDirectoryModeBit) return CI_SENSOR_DOES_NOT_MATCH;
    if (!_NUL_hasSensorFileExtension(path)) return CI_CAMERA_ERROR;
    camera->sensor = (ci_sensor_t*)calloc(1, sizeof(ci_sensor_t));
    if (camera->sensor == NULL) return CK_ERR(CI_CAMERA_ERROR, "");
    const ci_error_code parsed = ci_ParseSensorFile(camera, path, camera->sensor);
    return parsed == CI_PARSE_SUCCESS ? CI_CAMERA_SUCCESS : CI_SENSOR_FILE_PARSE_ERROR;
}

static void _NUL_fillFunctionTable(ci_camera_t* camera, _common_context_t* ctx) {
    camera->startTransport = _NUL_startTransport;
    camera->stopTransport = _NUL_stopTransport;
    _useGenericRegisterAccess(camera);
    camera->grabFrame = _NUL_grabFrame;
    camera->updateFrameSize = _NUL_updateFrameSize;
    camera->setMode = _NUL_setMode;
    camera->getMode = _NUL_getMode;
    ctx->readSensorRegistersNolock = _NUL_readSensorRegisters;
    ctx->writeSensorRegistersNolock = _NUL_writeSensorRegisters;
    ctx->readRegisterNolock = _NUL_readRegister;
    ctx->writeRegisterNolock = _NUL_writeRegister;
    ctx->readRegistersNolock = _NUL_readRegisters;
    ctx->writeRegistersNolock = _NUL_writeRegisters;
}

static ci_error_code _NUL_Transport_InitTransport(ci_camera_t* camera, const char* sensorFile) {
    _init_common_context(camera);
    _common_context_t* ctx = _ctx(camera);
    if (ctx == NULL) return CK_ERR(CI_CAMERA_ERROR, "");
    NUL_Transport_Context* nul = (NUL_Transport_Context*)calloc(1, sizeof(NUL_Transport_Context));
    if (nul == NULL) return CK_ERR(CI_CAMERA_ERROR, "");
    snprintf(nul->fileName, sizeof nul->fileName, "%s", sensorFile);
    ctx->transport_context = nul;

    camera->transportType = CI_TRANSPORT_NULL;
    snprintf(camera->transportName, sizeof camera->transportName, "%s", "NUL");
    camera->productID = CI_UNKNOWN_PRODUCT;
    camera->productVersion = 0;
    snprintf(camera->productName, sizeof camera->productName, "%s", "NUL Camera");
    snprintf(ctx->driverInfo, sizeof ctx->driverInfo, "%s", "Null device, no driver");
    _NUL_fillFunctionTable(camera, ctx);
    return _NUL_create_sensor(camera, sensorFile);
}

static ci_error_code _NUL_Transport_CloseCamera(ci_camera_t* camera) {
    if (camera == NULL) return CI_CAMERA_SUCCESS;
    _common_context_t* ctx = _ctx(camera);
    if (ctx != NULL) {
        free(ctx->transport_context);
        ctx->transport_context = NULL;
    }
    if (camera->sensor != NULL) _freeSensor(camera);
    _free_common_context(camera);
    free(camera);
    return CI_CAMERA_SUCCESS;
}

ci_error_code NUL_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char*) {
    if (n != NULL) *n = 0;
    if (sensor == NULL || sensor[0] == '\0') return CI_CAMERA_SUCCESS;
    if (cameras == NULL || n == NULL) return CI_CAMERA_ERROR;
    ci_camera_t* camera = (ci_camera_t*)calloc(1, sizeof(ci_camera_t));
    if (camera == NULL) return CK_ERR(CI_CAMERA_ERROR, "");
    if (_NUL_Transport_InitTransport(camera, sensor) != CI_CAMERA_SUCCESS) {
        _NUL_Transport_CloseCamera(camera);
        return CI_CAMERA_ERROR;
    }
    cameras[0] = camera;
    *n = 1;
    return CI_CAMERA_SUCCESS;
}

void NUL_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras) {
    if (cameras == NULL) return;
    for (ci_s32 i = 0; i < n; i++) _NUL_Transport_CloseCamera(cameras[i]);
}
