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

#include "transport/transport_common.h"

namespace {

// Private state of a null camera, held in the context's transport_context.
struct NUL_Transport_Context {
    ci_string fileName;  // the sensor data file given at open
};

constexpr int kDirectoryModeBit = 0x4000;

}  // namespace

static ci_error_code _NUL_startTransport(ci_camera_t*) { return CI_CAMERA_SUCCESS; }

static ci_error_code _NUL_stopTransport(ci_camera_t*) { return CI_CAMERA_SUCCESS; }

static ci_error_code _NUL_readRegister(ci_camera_t*, ci_u32, ci_u32, ci_u32* val) {
    if (val != nullptr) *val = 0;
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _NUL_writeRegister(ci_camera_t*, ci_u32, ci_u32, ci_u32) { return CI_CAMERA_SUCCESS; }

static ci_error_code _NUL_readRegisters(ci_camera_t*, ci_u32, ci_u32, ci_u32 numRegs, ci_u32* vals) {
    if (vals == nullptr) return numRegs == 0 ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
    memset(vals, 0, sizeof(ci_u32) * numRegs);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _NUL_writeRegisters(ci_camera_t*, ci_u32, ci_u32, ci_u32 numRegs, ci_u32* vals) {
    return vals == nullptr && numRegs != 0 ? CI_CAMERA_ERROR : CI_CAMERA_SUCCESS;
}

// The address space is irrelevant: every register of every space is 0.
static ci_error_code _NUL_readSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 numRegs,
                                              ci_u32* vals) {
    return _NUL_readRegisters(camera, _transport_sensor_base(camera), startAddr, numRegs, vals);
}

static ci_error_code _NUL_writeSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 numRegs,
                                               ci_u32* vals) {
    return _NUL_writeRegisters(camera, _transport_sensor_base(camera), startAddr, numRegs, vals);
}

static ci_error_code _NUL_grabFrame(ci_camera_t*, ci_u8*, ci_u32) { return CI_CAMERA_ERROR; }

static ci_error_code _NUL_updateFrameSize(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 nBitsPerClock,
                                          ci_s32 nClocksPerPixel) {
    _common_context_t* ctx = _ctx(camera);
    ci_sensor_t* sensor = camera->sensor;
    if (ctx == nullptr || sensor == nullptr) return CI_SENSOR_NOT_INITIALIZED;
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

static const _transport_ops_t kNulOps = [] {
    _transport_ops_t ops{};
    ops.transportType = CI_TRANSPORT_NULL;
    ops.transportName = "NUL";
    ops.productName = "NUL Camera";
    ops.driverInfo = "Null device, no driver";
    ops.startTransport = _NUL_startTransport;
    ops.stopTransport = _NUL_stopTransport;
    ops.grabFrame = _NUL_grabFrame;
    ops.updateFrameSize = _NUL_updateFrameSize;
    ops.getMode = _transport_get_mode_simultaneous;
    ops.readSensorRegistersNolock = _NUL_readSensorRegisters;
    ops.writeSensorRegistersNolock = _NUL_writeSensorRegisters;
    ops.readRegisterNolock = _NUL_readRegister;
    ops.writeRegisterNolock = _NUL_writeRegister;
    ops.readRegistersNolock = _NUL_readRegisters;
    ops.writeRegistersNolock = _NUL_writeRegisters;
    return ops;
}();

static int _NUL_hasSensorFileExtension(const char* path) {
    const char* dot = strrchr(path, '.');
    return dot != nullptr && (osal_stricmp(dot, ".sdat") == 0 || osal_stricmp(dot, ".xsdat") == 0);
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
    return _transport_load_sensor_file(camera, path);
}

ci_error_code NUL_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char*) {
    if (n != nullptr) *n = 0;
    if (sensor == nullptr || sensor[0] == '\0') return CI_CAMERA_SUCCESS;
    if (cameras == nullptr || n == nullptr) return CI_CAMERA_ERROR;
    auto* nul = static_cast<NUL_Transport_Context*>(calloc(1, sizeof(NUL_Transport_Context)));
    if (nul == nullptr) return CK_ERR(CI_CAMERA_ERROR, "");
    snprintf(nul->fileName, sizeof nul->fileName, "%s", sensor);
    ci_camera_t* camera = _transport_new_camera(&kNulOps, nul);
    if (camera == nullptr) return CI_CAMERA_ERROR;
    if (_NUL_create_sensor(camera, sensor) != CI_CAMERA_SUCCESS) {
        _transport_free_camera(&kNulOps, camera);
        return CI_CAMERA_ERROR;
    }
    cameras[0] = camera;
    *n = 1;
    return CI_CAMERA_SUCCESS;
}

void NUL_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras) { _transport_free_cameras(&kNulOps, n, cameras); }
