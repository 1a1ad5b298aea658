// The far bus: which seven-bit addresses behind the sensor's own two-wire
// master answer.  The answer is kept as a bit map in the shared-global
// context (bit a & 31 of word a >> 5 for seven-bit address a) and consulted
// before every far-register transfer.
//
// Sensors with an advanced-base window (types 71, 103, 110, 111) are probed
// through their bus-master SFRs: load the target address, start a transfer,
// poll the busy bit (no delay, at most 50 polls) and test the NACK bit.
// Other sensors cannot be probed and every address is taken as present.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"
#include "sensor/sensor_traits.h"

namespace {

const ci_u32 kMaxPolls = 50;

ci_u32* mapWord(_sg_context_t* sg, ci_u32 base, ci_u32* bit) {
    const ci_u32 address = (base >> 1) & 0x7Fu;
    *bit = 1u << (address & 31u);
    return &sg->farBaseMap[address >> 5];
}

ci_error_code writeSfrs(ci_camera_t* camera, ci_s32 width, const ci_u32 (*seq)[2], size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const ci_error_code rc = _WriteSfrNolock(camera, 0, seq[i][0], width, seq[i][1]);
        if (rc != CI_CAMERA_SUCCESS) return rc;
    }
    return CI_CAMERA_SUCCESS;
}

// Polls an SFR until bit 0 (busy) clears.  Returns 1 when it did, 0 when a
// read failed or the poll limit ran out.
int waitIdle(ci_camera_t* camera, ci_u32 offset, ci_s32 width, ci_u32* status) {
    for (ci_u32 poll = 0; poll < kMaxPolls; ++poll) {
        if (_ReadSfrsNolock(camera, 0, offset, offset + 1u, width, status) != CI_CAMERA_SUCCESS) return 0;
        if ((*status & 1u) == 0) return 1;
    }
    return 0;
}

// Sensor type 71: 16-bit master SFRs at 0x94000.
int probe71(ci_camera_t* camera, ci_u32 base) {
    const ci_u32 seq[][2] = {{0x94006u, base}, {0x9400Au, 0u}, {0x94002u, 0x11u}};
    if (writeSfrs(camera, 2, seq, 3) != CI_CAMERA_SUCCESS) return 0;
    ci_u32 status = 0;
    return waitIdle(camera, 0x94002u, 2, &status) && (status & 0x10u) == 0;
}

// Sensor types 103, 110, 111: 32-bit master SFRs at 0x290000.
int probeWide(ci_camera_t* camera, ci_u32 base) {
    const ci_u32 seq[][2] = {{0x290008u, base}, {0x29000Cu, 0u}, {0x290004u, 0u}, {0x290000u, 1u}};
    if (writeSfrs(camera, 4, seq, 4) != CI_CAMERA_SUCCESS) return 0;
    ci_u32 status = 0;
    if (!waitIdle(camera, 0x290000u, 4, &status)) return 0;
    if (_ReadSfrsNolock(camera, 0, 0x290004u, 0x290005u, 4, &status) != CI_CAMERA_SUCCESS) return 0;
    return (status & 0x8u) == 0;
}

int probeOne(ci_camera_t* camera, ci_u32 base) {
    switch (_sensorTraits((ci_u32)camera->sensor->sensorType).far) {
        case CK_FAR_MASTER:
            return probe71(camera, base);
        case CK_FAR_WIDE:
            return probeWide(camera, base);
        default:
            return 1;
    }
}

void probeAll(ci_camera_t* camera, _sg_context_t* sg) {
    ci_InvalidateRegCache(camera);
    for (ci_u32& word : sg->farBaseMap) word = 0;
    for (ci_u32 base = 2; base <= 254u; base += 2) {
        ci_u32 bit = 0;
        ci_u32* word = mapWord(sg, base, &bit);
        if ((*word & bit) == 0 && probeOne(camera, base)) *word |= bit;
    }
    _ctx(camera)->allow_far_access = 0;
}

}  // namespace

ci_error_code ci_ProbeFarBus(ci_camera_t* camera) {
    _common_context_t* ctx = _ctx(camera);
    if (!ctx || !camera->sensor || !ctx->sg_context) return CI_CAMERA_SUCCESS;
    _sg_context_t* sg = ctx->sg_context;
    _getRegisterLock(camera);
    if (_sensorTraits((ci_u32)camera->sensor->sensorType).far != CK_FAR_NONE) {
        probeAll(camera, sg);
    } else {
        for (ci_u32& word : sg->farBaseMap) word = 0xFFFFFFFFu;
    }
    _releaseRegisterLock(camera);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _testFarBase(ci_camera_t* camera, ci_u32 base) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx && ctx->allow_far_access != 0) return CI_CAMERA_SUCCESS;
    if (!ctx || !ctx->sg_context || base > 0xFFu) return CI_I2C_NACK_ERROR;
    ci_u32 bit = 0;
    const ci_u32* word = mapWord(ctx->sg_context, base, &bit);
    return (*word & bit) ? CI_CAMERA_SUCCESS : CI_I2C_NACK_ERROR;
}
