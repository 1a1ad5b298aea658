// Building and tearing down camera records for every transport.
#define CK_SOURCE "camkit"
#include "transport/transport_common.h"

#include <cstdio>
#include <cstdlib>

namespace {

template <typename Fn>
void setIf(Fn& slot, Fn hook) {
    if (hook != nullptr) slot = hook;
}

// Every device hook of the table, with its slot in the common context.
template <typename Visit>
void forEachHook(_common_context_t* ctx, const _transport_ops_t* ops, Visit visit) {
    visit(ctx->readSensorRegistersNolock, ops->readSensorRegistersNolock);
    visit(ctx->writeSensorRegistersNolock, ops->writeSensorRegistersNolock);
    visit(ctx->readRegisterNolock, ops->readRegisterNolock);
    visit(ctx->writeRegisterNolock, ops->writeRegisterNolock);
    visit(ctx->readRegistersNolock, ops->readRegistersNolock);
    visit(ctx->writeRegistersNolock, ops->writeRegistersNolock);
    visit(ctx->readSystemRegistersNolock, ops->readSystemRegistersNolock);
    visit(ctx->writeSystemRegistersNolock, ops->writeSystemRegistersNolock);
    visit(ctx->sendCommandNolock, ops->sendCommandNolock);
    visit(ctx->setHardwareUnswizzle, ops->setHardwareUnswizzle);
    visit(ctx->setHardwareBuffering, ops->setHardwareBuffering);
    visit(ctx->getDeviceName, ops->getDeviceName);
    visit(ctx->transportIniCommand, ops->transportIniCommand);
}

void releaseTransportContext(const _transport_ops_t* ops, ci_camera_t* camera, void* transportContext) {
    if (transportContext == nullptr) return;
    if (ops != nullptr && ops->freeTransportContext != nullptr) {
        ops->freeTransportContext(camera, transportContext);
    } else {
        free(transportContext);
    }
}

ci_error_code coreSetMode(ci_camera_t* camera, ci_modes mode, ci_u32 val) { return _SetMode(camera, mode, val); }

ci_error_code coreGetMode(ci_camera_t* camera, ci_modes mode, ci_u32* val) { return _GetMode(camera, mode, val); }

void stampIdentity(ci_camera_t* camera, _common_context_t* ctx, const _transport_ops_t* ops) {
    camera->transportType = ops->transportType;
    camera->productID = CI_UNKNOWN_PRODUCT;
    snprintf(camera->transportName, sizeof camera->transportName, "%s",
             ops->transportName != nullptr ? ops->transportName : "");
    snprintf(camera->productName, sizeof camera->productName, "%s",
             ops->productName != nullptr ? ops->productName : "");
    snprintf(ctx->driverInfo, sizeof ctx->driverInfo, "%s", ops->driverInfo != nullptr ? ops->driverInfo : "");
}

}  // namespace

void _transport_apply_ops(ci_camera_t* camera, const _transport_ops_t* ops) {
    _common_context_t* ctx = _ctx(camera);
    if (camera == nullptr || ctx == nullptr || ops == nullptr) return;
    camera->startTransport = ops->startTransport;
    camera->stopTransport = ops->stopTransport;
    _useGenericRegisterAccess(camera);
    camera->grabFrame = ops->grabFrame;
    camera->getFrameData = ops->getFrameData;
    camera->updateFrameSize = ops->updateFrameSize;
    camera->updateBufferSize = ops->updateBufferSize;
    camera->setMode = ops->setMode != nullptr ? ops->setMode : coreSetMode;
    camera->getMode = ops->getMode != nullptr ? ops->getMode : coreGetMode;
    camera->initTransport = ops->initTransport;
    forEachHook(ctx, ops, [](auto& slot, auto hook) { setIf(slot, hook); });
}

void _transport_clear_ops(ci_camera_t* camera, const _transport_ops_t* ops) {
    _common_context_t* ctx = _ctx(camera);
    if (camera == nullptr || ctx == nullptr || ops == nullptr) return;
    forEachHook(ctx, ops, [](auto& slot, auto hook) {
        if (hook != nullptr && slot == hook) slot = nullptr;
    });
    ctx->transport_context = nullptr;
}

ci_camera_t* _transport_new_camera(const _transport_ops_t* ops, void* transportContext) {
    ci_camera_t* camera = static_cast<ci_camera_t*>(calloc(1, sizeof(ci_camera_t)));
    if (camera == nullptr) {
        releaseTransportContext(ops, nullptr, transportContext);
        CK_ERR(CI_CAMERA_ERROR, "cannot allocate a camera record");
        return nullptr;
    }
    _init_common_context(camera);
    _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr) {
        releaseTransportContext(ops, camera, transportContext);
        free(camera);
        return nullptr;
    }
    ctx->transport_context = transportContext;
    stampIdentity(camera, ctx, ops);
    _transport_apply_ops(camera, ops);
    return camera;
}

void* _transport_context(const ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    return ctx != nullptr ? ctx->transport_context : nullptr;
}

void _transport_free_camera(const _transport_ops_t* ops, ci_camera_t* camera) {
    if (camera == nullptr) return;
    _common_context_t* ctx = _ctx(camera);
    if (ctx != nullptr) {
        releaseTransportContext(ops, camera, ctx->transport_context);
        ctx->transport_context = nullptr;
    }
    if (camera->sensor != nullptr) _freeSensor(camera);
    _freeChips(camera);
    _free_common_context(camera);
    free(camera);
}

void _transport_free_cameras(const _transport_ops_t* ops, ci_s32 n, ci_camera_t** cameras) {
    if (cameras == nullptr) return;
    for (ci_s32 i = 0; i < n; i++) {
        _transport_free_camera(ops, cameras[i]);
        cameras[i] = nullptr;
    }
}

ci_error_code _transport_get_frame_data(ci_camera_t* camera, ci_frame_data_t* frameData) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || frameData == nullptr) return CI_CAMERA_ERROR;
    *frameData = ctx->frame_data;
    return CI_CAMERA_SUCCESS;
}

ci_error_code _transport_update_frame_size(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 nBitsPerClock,
                                           ci_s32 nClocksPerPixel) {
    _common_context_t* ctx = _ctx(camera);
    ci_sensor_t* sensor = camera != nullptr ? camera->sensor : nullptr;
    if (ctx == nullptr || sensor == nullptr) return CI_SENSOR_NOT_INITIALIZED;
    if (width != 0) sensor->width = width;
    if (height != 0) sensor->height = height;
    if (nClocksPerPixel != 0) ctx->clocksPerPixel = (ci_u32)nClocksPerPixel;
    if (nBitsPerClock != 0) ctx->bitsPerClock = (ci_u32)nBitsPerClock;
    sensor->pixelBits = _pixelBits(camera);
    sensor->pixelBytes = _pixelBytes(camera);
    _updateImageType(camera);
    sensor->bufferSize = sensor->pixelBytes * sensor->width * sensor->height;
    return CI_CAMERA_SUCCESS;
}

ci_error_code _transport_get_mode_simultaneous(ci_camera_t* camera, ci_modes mode, ci_u32* val) {
    if (mode != CI_SIMUL_REG_FRAMEGRAB) return _GetMode(camera, mode, val);
    if (val == nullptr) return CI_CAMERA_ERROR;
    *val = 1;
    return CI_CAMERA_SUCCESS;
}

ci_u32 _transport_sensor_base(const ci_camera_t* camera) {
    return camera != nullptr && camera->sensor != nullptr ? camera->sensor->shipAddr : 0;
}

ci_error_code _transport_load_sensor_file(ci_camera_t* camera, const char* path) {
    camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    if (camera->sensor == nullptr) return CK_ERR(CI_CAMERA_ERROR, "cannot allocate a sensor description");
    const ci_error_code parsed = ci_ParseSensorFile(camera, path, camera->sensor);
    return parsed == CI_PARSE_SUCCESS ? CI_CAMERA_SUCCESS : CI_SENSOR_FILE_PARSE_ERROR;
}
