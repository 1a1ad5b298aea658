// Which microcontroller access protocol a sensor speaks.
//
// The style is a small integer named after the first sensor generation that
// used the protocol: 16 and 44/54 drive an address and a data register, 55
// maps variables and SFRs into the register space at bit 15, 71 maps SFRs
// into a 4 KiB window whose base is programmable.  0 means no MCU access.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

namespace {

template <size_t N>
bool inList(ci_u32 value, const ci_u32 (&list)[N]) {
    for (ci_u32 entry : list) {
        if (entry == value) return true;
    }
    return false;
}

// Sensor types whose variables are mapped directly into register space.
const ci_u32 kDirect55[] = {55, 61, 66, 68, 72, 75, 76, 79, 95, 99, 104, 115};
// Sensor types with the advanced-base SFR window.
const ci_u32 kDirect71[] = {71, 103, 110, 111};
// Indirect protocol families by sensor type.
const ci_u32 kAddr16[] = {16, 23, 37, 38, 39, 45, 47, 74, 106};
const ci_u32 kAddr44[] = {44, 46, 56, 62};
const ci_u32 kAddr54[] = {54, 55, 61, 66, 68, 72, 75, 76, 79, 95, 99, 104, 115};

bool directAccessDisabled(ci_camera_t* camera) {
    if (!camera->getMode) return false;
    ci_u32 enabled = 1;
    if (camera->getMode(camera, CI_DIRECT_VAR_ACCESS, &enabled) != CI_CAMERA_SUCCESS) return false;
    return enabled == 0;
}

bool isGenericType(ci_u32 type) {
    return type == 0 || type == 19;
}

// Sensors of the generic types are told apart by their registers.
ci_s32 genericAddrStyle(const ci_sensor_t* sensor) {
    const ci_u32 markers = _regIndexMarkers(sensor);
    if (markers & CK_MARK_PHYSICAL_ADDR_ACCESS) return 44;
    if (markers & CK_MARK_VARIABLE_DATA0) return 54;
    if (markers & CK_MARK_DATA_0) return 16;
    return 0;
}

}  // namespace

namespace {

// The direct style the sensor's model offers, before the camera's mode.
ci_s32 modelDirectStyle(const ci_sensor_t* sensor) {
    const ci_u32 type = (ci_u32)sensor->sensorType;
    if (isGenericType(type)) return (_regIndexMarkers(sensor) & CK_MARK_VARIABLE_DATA0) ? 55 : 0;
    if (type == 54) return sensor->sensorVersion >= 2 ? 55 : 0;
    if (inList(type, kDirect55)) return 55;
    if (_advancedBaseType(type)) return 71;
    return 0;
}

}  // namespace

// The camera's mode is asked only for sensors that offer direct access.
ci_s32 ci_McuDirectStyle(ci_camera_t* camera) {
    if (!camera || !camera->sensor) return 0;
    const ci_s32 style = modelDirectStyle(camera->sensor);
    return style != 0 && directAccessDisabled(camera) ? 0 : style;
}

ci_s32 ci_McuAddrStyle(ci_camera_t* camera) {
    if (!camera || !camera->sensor) return 0;
    const ci_s32 direct = ci_McuDirectStyle(camera);
    if (direct != 0) return direct;
    const ci_u32 type = (ci_u32)camera->sensor->sensorType;
    if (isGenericType(type)) return genericAddrStyle(camera->sensor);
    if (inList(type, kAddr16)) return 16;
    if (inList(type, kAddr44)) return 44;
    if (inList(type, kAddr54)) return 54;
    return 0;
}

bool _advancedBaseType(ci_u32 sensorType) {
    return inList(sensorType, kDirect71);
}

ci_s32 _varMaskToIs8(ci_u32 mask) {
    if (mask > 0xFFFFu) return 4;
    if (mask > 0xFFu) return 2;
    return 1;
}
