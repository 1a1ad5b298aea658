// The camera-link board's trigger generator and output port selection.
#define CK_SOURCE "transport/usb_bulk_trigger"
#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kCameraLinkBoard = 10;

ci_error_code writeHalves(ci_camera_t* camera, const char* low, const char* high, ci_u32 value) {
    const ci_error_code rc = _writeKiteRegister(camera, low, value & 0xFFFF);
    return rc != CI_CAMERA_SUCCESS ? rc : _writeKiteRegister(camera, high, value >> 16);
}

ci_error_code readHalves(ci_camera_t* camera, const char* low, const char* high, ci_u32* value) {
    ci_u32 lo = 0, hi = 0;
    ci_error_code rc = _readKiteRegister(camera, low, &lo);
    if (rc == CI_CAMERA_SUCCESS) rc = _readKiteRegister(camera, high, &hi);
    *value = (hi << 16) | (lo & 0xFFFF);
    return rc;
}

ci_error_code runTrigger(ci_camera_t* camera, ci_u32 value) {
    if (value > 2) return CI_CAMERA_NOT_SUPPORTED;
    ci_u32 burst = 0;
    _readKiteBitfield(camera, "SensorTriggerControl", "SensorTriggerBurstCount", &burst);
    ci_error_code rc = CI_CAMERA_SUCCESS;
    if (burst == 0) rc = _writeKiteBitfield(camera, "SensorTriggerControl", "SensorTriggerBurstCount", 1);
    if (rc == CI_CAMERA_SUCCESS)
        rc = _writeKiteBitfield(camera, "SensorTriggerControl", "SensorTriggerEnableControls", 1);
    if (rc == CI_CAMERA_SUCCESS) rc = _writeKiteBitfield(camera, "SensorTriggerControl", "SensorTriggerRunBurst", 0);
    if (rc != CI_CAMERA_SUCCESS || value == 0) return rc;
    const char* field = value == 1 ? "SensorTriggerRunBurst" : "SensorTriggerEnable";
    return _writeKiteBitfield(camera, "SensorTriggerControl", field, 1);
}

}  // namespace

ci_error_code _usb_set_trigger(ci_camera_t* camera, ci_modes mode, ci_u32 value) {
    if (_usb_context(camera)->rxBoard != kCameraLinkBoard) return CI_CAMERA_NOT_SUPPORTED;
    switch (mode) {
        case CI_TRIGGER_HIGH_WIDTH:
            return writeHalves(camera, "SensorTriggerCountHigh0", "SensorTriggerCountHigh1", value);
        case CI_TRIGGER_LOW_WIDTH:
            return writeHalves(camera, "SensorTriggerCountLow0", "SensorTriggerCountLow1", value);
        default:
            return runTrigger(camera, value);
    }
}

// The low width's low half is read from the register spelled without its
// "t", as the board names it.
ci_error_code _usb_get_trigger(ci_camera_t* camera, ci_modes mode, ci_u32* value) {
    if (_usb_context(camera)->rxBoard != kCameraLinkBoard) return CI_CAMERA_NOT_SUPPORTED;
    if (mode == CI_TRIGGER_HIGH_WIDTH)
        return readHalves(camera, "SensorTriggerCountHigh0", "SensorTriggerCountHigh1", value);
    if (mode == CI_TRIGGER_LOW_WIDTH)
        return readHalves(camera, "SensorTriggerCounLow0", "SensorTriggerCountLow1", value);
    return _GetMode(camera, mode, value);
}

ci_error_code _usb_set_output_port(ci_camera_t* camera, ci_u32 port) {
    _common_context_t* ctx = _ctx(camera);
    if (_usb_context(camera)->rxBoard != kCameraLinkBoard || port > 1) return CI_CAMERA_NOT_SUPPORTED;
    if (ctx->rxOutputPort == port) return CI_CAMERA_SUCCESS;
    const ci_error_code rc = _writeKiteBitfield(camera, "ControlReg1", "OutputSelect", port);
    if (rc == CI_CAMERA_SUCCESS) ctx->rxOutputPort = port;
    return rc;
}
