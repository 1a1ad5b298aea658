// Public entry points that forward to the camera's transport operations.
// An operation the transport does not offer answers CI_CAMERA_NOT_SUPPORTED
// without logging: callers probe for optional features this way.
#define CK_SOURCE "camkit"
#include <cassert>

#include "core/camkit_private.h"

// Calls the transport operation held in the camera's Slot member.
template <auto Slot, typename... Args>
static ci_error_code _call_slot(ci_camera_t* camera, Args... args) {
    assert(camera != nullptr);
    auto operation = camera->*Slot;
    return operation != nullptr ? operation(camera, args...) : CI_CAMERA_NOT_SUPPORTED;
}

// Calls the locking routine when the transport installed the unlocked Hook
// it relies on.
template <auto Hook, typename Fn, typename... Args>
static ci_error_code _call_hooked(ci_camera_t* camera, Fn routine, Args... args) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || ctx->*Hook == nullptr) return CI_CAMERA_NOT_SUPPORTED;
    return routine(camera, args...);
}

ci_error_code ci_startTransport(ci_camera_t* camera) { return _call_slot<&ci_camera_t::startTransport>(camera); }

ci_error_code ci_stopTransport(ci_camera_t* camera) { return _call_slot<&ci_camera_t::stopTransport>(camera); }

ci_error_code ci_readSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr, ci_u32 numRegs,
                                     ci_u32* vals) {
    return _call_slot<&ci_camera_t::readSensorRegisters>(camera, addrSpace, startAddr, numRegs, vals);
}

ci_error_code ci_writeSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr, ci_u32 numRegs,
                                      ci_u32* vals) {
    return _call_slot<&ci_camera_t::writeSensorRegisters>(camera, addrSpace, startAddr, numRegs, vals);
}

ci_error_code ci_readRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    return _call_slot<&ci_camera_t::readRegister>(camera, shipAddr, regAddr, val);
}

ci_error_code ci_writeRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    return _call_slot<&ci_camera_t::writeRegister>(camera, shipAddr, regAddr, val);
}

ci_error_code ci_readRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                               ci_u32* vals) {
    return _call_slot<&ci_camera_t::readRegisters>(camera, shipAddr, startAddr, numRegs, vals);
}

ci_error_code ci_writeRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                ci_u32* vals) {
    return _call_slot<&ci_camera_t::writeRegisters>(camera, shipAddr, startAddr, numRegs, vals);
}

ci_error_code ci_grabFrame(ci_camera_t* camera, ci_u8* buffer, ci_u32 bufferSize) {
    return _call_slot<&ci_camera_t::grabFrame>(camera, buffer, bufferSize);
}

ci_error_code ci_getFrameData(ci_camera_t* camera, ci_frame_data_t* frameData) {
    return _call_slot<&ci_camera_t::getFrameData>(camera, frameData);
}

ci_error_code ci_updateFrameSize(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 nBitsPerClock,
                                 ci_s32 nClocksPerPixel) {
    return _call_slot<&ci_camera_t::updateFrameSize>(camera, width, height, nBitsPerClock, nClocksPerPixel);
}

ci_error_code ci_updateBufferSize(ci_camera_t* camera, ci_u32 rawBufferSize) {
    return _call_slot<&ci_camera_t::updateBufferSize>(camera, rawBufferSize);
}

ci_error_code ci_initTransport(ci_camera_t* camera, ci_u32 bitsPerClock, ci_u32 clocksPerPixel, ci_s32 polarity,
                               ci_s32 pixelOffset, ci_s32 noFWCalls) {
    return _call_slot<&ci_camera_t::initTransport>(camera, bitsPerClock, clocksPerPixel, polarity, pixelOffset,
                                                    noFWCalls);
}

// The typed and command channels exist only when the transport installed
// the matching hook; the locking routines then do the work.
ci_error_code ci_readSystemRegisters(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace,
                                     ci_u32 startAddr, ci_u32 dataSize, ci_u32 count, ci_u32* vals) {
    return _call_hooked<&_common_context_t::readSystemRegistersNolock>(camera, _generic_ReadSystemRegisters, addrType,
                                                                        addrSpace, startAddr, dataSize, count, vals);
}

ci_error_code ci_writeSystemRegisters(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace,
                                      ci_u32 startAddr, ci_u32 dataSize, ci_u32 count, ci_u32* vals) {
    return _call_hooked<&_common_context_t::writeSystemRegistersNolock>(camera, _generic_WriteSystemRegisters, addrType,
                                                                         addrSpace, startAddr, dataSize, count, vals);
}

ci_error_code ci_sendCommand(ci_camera_t* camera, ci_u32 command, ci_u32 paramSize, const ci_u8* paramBuffer,
                             ci_u32* statusCode, ci_u32 resultSize, ci_u8* resultBuffer, ci_u32* bytesReturned) {
    return _call_hooked<&_common_context_t::sendCommandNolock>(camera, _generic_sendCommand, command, paramSize,
                                                                paramBuffer, statusCode, resultSize, resultBuffer,
                                                                bytesReturned);
}

ci_error_code ci_setMode(ci_camera_t* camera, ci_modes mode, ci_u32 val) {
    assert(camera != nullptr);
    return camera->setMode != nullptr ? camera->setMode(camera, mode, val) : _SetMode(camera, mode, val);
}

ci_error_code ci_getMode(ci_camera_t* camera, ci_modes mode, ci_u32* val) {
    assert(camera != nullptr);
    return camera->getMode != nullptr ? camera->getMode(camera, mode, val) : _GetMode(camera, mode, val);
}

const char* ci_GetDriverInfoString(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    return ctx != nullptr ? ctx->driverInfo : "";
}
