// The sensor's control lines on the board: general pins, power, reset and
// shutdown.
#define CK_SOURCE "transport/usb_bulk_pins"
#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kReleasePin = 0xFFFFFFFF;
// The sensor's shutdown line is this general pin on every board.
constexpr ci_u32 kShutdownPin = 2;

// Where a pin's enable and level bits sit.
struct PinRegister {
    const char* name;
    ci_u32 pins;
    ci_u32 enableShift;
    ci_u32 levelShift;
};

const PinRegister* pinRegister(ci_camera_t* camera) {
    static const PinRegister kEight{"SP_CONTROL", 8, 0, 8};
    static const PinRegister kSix{"SensorGPIOControl", 6, 8, 0};
    if (_kiteRegister(camera, kEight.name) != nullptr) return &kEight;
    if (_kiteRegister(camera, kSix.name) != nullptr) return &kSix;
    return nullptr;
}

bool olderResetBoard(const ci_camera_t* camera) {
    const ci_u32 p = camera->productID;
    return (p == CI_KITE_2 && camera->productVersion >= 176) || p == CI_KESTR || p == CI_KITE_2X;
}

}  // namespace

ci_error_code _setSensorPin(ci_camera_t* camera, ci_u32 pin, ci_u32 value) {
    const PinRegister* reg = pinRegister(camera);
    if (reg == nullptr) return CI_CAMERA_NOT_SUPPORTED;
    if (pin >= reg->pins) return CI_CAMERA_ERROR;
    ci_u32 old = 0;
    const ci_error_code rc = _readKiteRegister(camera, reg->name, &old);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    const ci_u32 enable = 1u << (pin + reg->enableShift), level = 1u << (pin + reg->levelShift);
    ci_u32 next = old;
    if (value == kReleasePin) {
        next &= ~enable;
    } else {
        next = (next | enable) & ~level;
        if (value & 1) next |= level;
    }
    return next == old ? CI_CAMERA_SUCCESS : _writeKiteRegister(camera, reg->name, next);
}

ci_error_code _getSensorPin(ci_camera_t* camera, ci_u32 pin, ci_u32* value) {
    const PinRegister* reg = pinRegister(camera);
    if (reg == nullptr || pin >= reg->pins) return CI_CAMERA_NOT_SUPPORTED;
    ci_u32 bits = 0;
    const ci_error_code rc = _readKiteRegister(camera, reg->name, &bits);
    const bool enabled = (bits >> (pin + reg->enableShift)) & 1;
    *value = enabled ? (bits >> (pin + reg->levelShift)) & 1 : kReleasePin;
    return rc;
}

// 1 = on; the board's bit is active low.
ci_error_code _setSensorPower(ci_camera_t* camera, ci_u32 on) {
    USB_Bulk_Context* usb = _usb_context(camera);
    const ci_u32 off = on ? 0 : 1;
    if (usb->productID == CI_KITE_2X) {
        ci_u32 old = 0;
        const ci_error_code rc = _readKiteRegister(camera, "SENSOR_POWER", &old);
        return rc != CI_CAMERA_SUCCESS ? rc : _writeKiteRegister(camera, "SENSOR_POWER", _merge(old, 1, off));
    }
    if (usb->productID != CI_KITE_3) return CI_CAMERA_NOT_SUPPORTED;
    if (usb->rxBoard > 1 && _rxBitfield(camera, "ControlReg6", "HeadboardPower") != 0) {
        return _writeRxBitfield(camera, "ControlReg6", "HeadboardPower", off);
    }
    return _writeKiteBitfield(camera, "ControlReg6", "HeadboardPower", off);
}

ci_error_code _getSensorPower(ci_camera_t* camera, ci_u32* on) {
    USB_Bulk_Context* usb = _usb_context(camera);
    ci_u32 off = 0;
    ci_error_code rc = CI_CAMERA_NOT_SUPPORTED;
    if (usb->productID == CI_KITE_2X) {
        ci_u32 bits = 0;
        rc = _readKiteRegister(camera, "SENSOR_POWER", &bits);
        off = bits & 1;
    } else if (usb->productID == CI_KITE_3) {
        const bool onReceiver = usb->rxBoard > 1 && _rxBitfield(camera, "ControlReg6", "HeadboardPower") != 0;
        rc = onReceiver ? _readRxBitfield(camera, "ControlReg6", "HeadboardPower", &off)
                        : _readKiteBitfield(camera, "ControlReg6", "HeadboardPower", &off);
    }
    *on = off ? 0 : 1;
    return rc;
}

ci_error_code _setSensorReset(ci_camera_t* camera, ci_u32 value) {
    if (olderResetBoard(camera)) {
        ci_u32 old = 0;
        const ci_error_code rc = _readKiteRegister(camera, "RESET_REG", &old);
        return rc != CI_CAMERA_SUCCESS ? rc : _writeKiteRegister(camera, "RESET_REG", _merge(old, 2, value & 1));
    }
    if (camera->productID == CI_KITE_3) return _writeKiteBitfield(camera, "ControlReg6", "HeadboardReset", value);
    return CI_CAMERA_NOT_SUPPORTED;
}

// The older boards report the reset line in the power register.
ci_error_code _getSensorReset(ci_camera_t* camera, ci_u32* value) {
    *value = 0;
    if (olderResetBoard(camera)) {
        ci_u32 bits = 0;
        const ci_error_code rc = _readKiteRegister(camera, "SENSOR_POWER", &bits);
        *value = (bits >> 1) & 1;
        return rc;
    }
    if (camera->productID == CI_KITE_3) return _readKiteBitfield(camera, "ControlReg6", "HeadboardReset", value);
    return CI_CAMERA_NOT_SUPPORTED;
}

// The shutdown line's level (1 shuts the sensor down; all ones releases the
// line).  A sensor leaving shutdown may have lost its registers.
ci_error_code _setSensorShutdown(ci_camera_t* camera, ci_u32 value) {
    const ci_error_code rc = _setSensorPin(camera, kShutdownPin, value);
    if (rc == CI_CAMERA_SUCCESS && value == 0) return _SetMode(camera, CI_SENSOR_SHUTDOWN, 0);
    return rc;
}

ci_error_code _getSensorShutdown(ci_camera_t* camera, ci_u32* value) {
    return _getSensorPin(camera, kShutdownPin, value);
}
