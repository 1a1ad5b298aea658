// Does the hardware behave like the sensor data file just parsed?
//
// First the chip version register must read its documented reset value at
// one of the file's candidate base addresses (the sensor keeps the first
// base that does); bases that do not acknowledge are remembered as unused
// for the rest of the search.  Then, unless only the chip version was asked
// for, one of the file's probe terms must pass.
#define CK_SOURCE "camkit"
#include "core/camkit_ident_internal.h"

namespace {

constexpr ci_sensor_types kCompanionCheckedSensor = (ci_sensor_types)3;
constexpr ci_u32 kCompanionBase = 0xE0;
constexpr ci_u32 kCompanionId = 0x8212;
constexpr ci_u32 kCompanionStatusReg = 0x10;
constexpr ci_u32 kCompanionArmReg = 0x28;

// Tries the candidate bases in order; on a hit the sensor keeps that base.
bool findChipVersionBase(ci_camera_t* camera, ci_reg_data_t* chipVersion) {
    _common_context_t* ctx = _ctx(camera);
    ci_sensor_t* sensor = camera->sensor;
    const ci_s32 count = _identCount(ctx->num_shipAddrs, CI_MAX_SHIP_ADDRS);
    for (ci_s32 i = 0; i < count; i++) {
        const ci_u32 base = ctx->shipAddr[i];
        sensor->shipAddr = base;
        if (_unusedBase(camera, base)) continue;
        ci_u32 value = 0;
        const ci_error_code result = _identReadReg(camera, chipVersion, &value);
        if (result == CI_I2C_NACK_ERROR) {
            _setUnusedBase(camera, base);
        } else if (result == CI_CAMERA_SUCCESS && _identChipVersionFits(chipVersion, value)) {
            return true;
        }
    }
    return false;
}

// Tries the probe terms in order until one passes; notes whether any of
// them reset the sensor.
bool anyProbeTermPasses(ci_camera_t* camera, bool* resetDone) {
    const ci_s32 terms = _identCount(_ctx(camera)->num_probe_term, CI_MAX_PROBE_TERMS);
    for (ci_s32 term = 0; term < terms; term++) {
        if (_versionResetIf(camera, term)) *resetDone = true;
        if (_checkExtraDescr(camera, term) && _checkFuseRev(camera, term) && _checkExtraSerialMatch(camera, term)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool _is_companion_board(ci_camera_t* camera) {
    ci_u32 value = 0;
    if (_identReadBus(camera, kCompanionBase, 0, 8, 16, &value) != CI_CAMERA_SUCCESS || value != kCompanionId) {
        return false;
    }
    if (ci_readRegister(camera, kCompanionBase, kCompanionStatusReg, &value) == CI_CAMERA_SUCCESS && (value & 1u)) {
        ci_writeRegister(camera, camera->sensor->shipAddr, kCompanionArmReg, 1);
    }
    return true;
}

ci_s32 _checkSensorMatch(ci_camera_t* camera, ci_s32 chipVersionOnly) {
    if (_ctx(camera) == nullptr || camera->sensor == nullptr) return 0;
    ci_reg_data_t* chipVersion = _registerLookup(camera, -1, "CHIP_VERSION_REG");
    if (chipVersion == nullptr || !findChipVersionBase(camera, chipVersion)) return 0;
    if (chipVersionOnly) return 1;

    bool resetDone = false;
    bool match = anyProbeTermPasses(camera, &resetDone);
    if (match && camera->sensor->sensorType == kCompanionCheckedSensor && _is_companion_board(camera)) {
        match = false;
    }
    // Leave a sensor that is not ours in its power-on state.
    if (!match && resetDone) _identPulseReset(camera);
    return match ? 1 : 0;
}
