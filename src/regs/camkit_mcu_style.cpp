// Which microcontroller access protocol a sensor speaks.
//
// The style is a small integer named after the first sensor generation that
// used the protocol: 16 and 44/54 drive an address and a data register, 55
// maps variables and SFRs into the register space at bit 15, 71 maps SFRs
// into a 4 KiB window whose base is programmable.  0 means no MCU access.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"
#include "sensor/sensor_traits.h"

namespace {

bool directAccessDisabled(ci_camera_t* camera) {
    if (!camera->getMode) return false;
    ci_u32 enabled = 1;
    if (camera->getMode(camera, CI_DIRECT_VAR_ACCESS, &enabled) != CI_CAMERA_SUCCESS) return false;
    return enabled == 0;
}

// Sensors of the generic types are told apart by their registers (their
// markers, noted once per description).
ci_s32 genericAddrStyle(ci_u32 markers) {
    if (markers & CK_MARK_PHYSICAL_ADDR_ACCESS) return CK_MCU_44;
    if (markers & CK_MARK_VARIABLE_DATA0) return CK_MCU_54;
    if (markers & CK_MARK_DATA_0) return CK_MCU_16;
    return CK_MCU_NONE;
}

// The direct style the sensor's model offers, before the camera's mode.
ci_s32 modelDirectStyle(const ci_sensor_t* sensor, const ck_sensor_traits& t, ci_u32 markers) {
    if (t.generic) return (markers & CK_MARK_VARIABLE_DATA0) ? CK_MCU_55 : CK_MCU_NONE;
    if (t.directFromVersion2 && sensor->sensorVersion < 2) return CK_MCU_NONE;
    return t.direct;
}

ci_u32 markersIfGeneric(const ci_sensor_t* sensor, const ck_sensor_traits& t) {
    return t.generic ? _regIndexMarkers(sensor) : 0;
}

}  // namespace

// The camera's mode is asked only for sensors that offer direct access.
ci_s32 ci_McuDirectStyle(ci_camera_t* camera) {
    if (!camera || !camera->sensor) return 0;
    const ck_sensor_traits& t = _sensorTraits((ci_u32)camera->sensor->sensorType);
    const ci_s32 style = modelDirectStyle(camera->sensor, t, markersIfGeneric(camera->sensor, t));
    return style != 0 && directAccessDisabled(camera) ? 0 : style;
}

// Asked on every register access: the traits and markers are fetched once.
ci_s32 ci_McuAddrStyle(ci_camera_t* camera) {
    if (!camera || !camera->sensor) return 0;
    const ck_sensor_traits& t = _sensorTraits((ci_u32)camera->sensor->sensorType);
    const ci_u32 markers = markersIfGeneric(camera->sensor, t);
    const ci_s32 direct = modelDirectStyle(camera->sensor, t, markers);
    if (direct != 0 && !directAccessDisabled(camera)) return direct;
    return t.generic ? genericAddrStyle(markers) : t.indirect;
}

bool _advancedBaseType(ci_u32 sensorType) {
    return _sensorTraits(sensorType).direct == CK_MCU_71;
}

ci_s32 _varMaskToIs8(ci_u32 mask) {
    if (mask > 0xFFFFu) return 4;
    if (mask > 0xFFu) return 2;
    return 1;
}
