// Who puts the bits of a frame in order: older boards deliver the two bytes
// of a deep pixel in a scrambled ("swizzled") bit order.  Depending on the
// board and its revision the data arrives in order, the board can be told to
// unswizzle it, or the library must do it in software after each grab.
#define CK_SOURCE "camkit"
#include "core/camkit_private.h"

namespace {

// Board revisions of CI_KITE_2 with different capabilities.
constexpr ci_u32 kKite2LastSoftwareOnly = 160;
constexpr ci_u32 kKite2LastSocSoftware = 175;

// Sensors whose heads deliver data in order unless fitted with the later
// head variants.
constexpr ci_sensor_types kInOrderSensor = (ci_sensor_types)13;
constexpr ci_sensor_types kInOrderUpToV3Sensor = (ci_sensor_types)49;
constexpr ci_u32 kInOrderLastVersion = 3;

bool sensorDeliversInOrder(const ci_camera_t* camera, const _common_context_t* ctx) {
    const ci_sensor_t* sensor = camera->sensor;
    if (sensor == nullptr) return false;
    const bool family = sensor->sensorType == kInOrderSensor ||
                        (sensor->sensorType == kInOrderUpToV3Sensor && sensor->sensorVersion <= kInOrderLastVersion);
    return family && ctx->rev3_head == 0 && ctx->security_head == 0;
}

// Boards that can unswizzle do so for everything except 8-bit double-clocked
// pixels, which only software can reassemble.
swizzle_sit_t byClocking(const _common_context_t* ctx) {
    return ctx->clocksPerPixel == 2 && ctx->bitsPerClock == 8 ? SWIZSIT_NEEDED : SWIZSIT_HW_CAN;
}

swizzle_sit_t kite2Situation(ci_camera_t* camera, const _common_context_t* ctx) {
    const ci_u32 version = camera->productVersion;
    if (version <= kKite2LastSoftwareOnly) return SWIZSIT_NEEDED;
    if (version <= kKite2LastSocSoftware) return ci_IsSOC(camera) ? SWIZSIT_NEEDED : SWIZSIT_HW_CAN;
    return byClocking(ctx);
}

}  // namespace

swizzle_sit_t _swizzle_situation(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr) return SWIZSIT_UNNEEDED;
    if (sensorDeliversInOrder(camera, ctx)) return SWIZSIT_UNNEEDED;
    switch ((ci_u32)camera->productID) {
        case 0x1002:
        case CI_KITE_1:
        case CI_KITE_1A:
        case 0x1009:
        case 0x100A:
            return SWIZSIT_NEEDED;
        case CI_KITE_2:
            return kite2Situation(camera, ctx);
        case CI_KESTR:
        case CI_KESTR_XL:
        case CI_KITE_2X:
        case CI_KITE_3:
            return byClocking(ctx);
        default:
            return SWIZSIT_UNNEEDED;
    }
}

ci_u32 _swizzleDefault(ci_camera_t* camera) { return _swizzle_situation(camera) == SWIZSIT_NEEDED ? 1 : 0; }

ci_error_code _set_unswizzle_mode(ci_camera_t* camera, ci_u32 value) {
    _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr) return CI_CAMERA_ERROR;
    if (value > CI_ANY_UNSWIZZLE) return CK_ERR(CI_CAMERA_ERROR, "unswizzle mode must be 0 to 3");
    ctx->unswizzle_mode = (ci_unswizzle_modes)value;
    switch (_swizzle_situation(camera)) {
        case SWIZSIT_HW_CAN:
            ctx->do_sw_unswizzle = value == CI_SW_UNSWIZZLE ? 1 : 0;
            return ctx->setHardwareUnswizzle != nullptr ? ctx->setHardwareUnswizzle(camera) : CI_CAMERA_SUCCESS;
        case SWIZSIT_NEEDED:
            ctx->do_sw_unswizzle = value >= CI_SW_UNSWIZZLE ? 1 : 0;
            return CI_CAMERA_SUCCESS;
        default:
            ctx->do_sw_unswizzle = 0;
            return CI_CAMERA_SUCCESS;
    }
}
