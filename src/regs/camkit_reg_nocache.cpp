// Device transfers of whole register values, bypassing the cache: joining and
// splitting of registers that span several bus words, and raw transfers at
// the sensor's bus address with temporary bus widths.  The caller holds the
// camera's register lock.
#define CK_SOURCE "camkit_reg"
#include <cstdlib>
#include <cstring>

#include "regs/regs_internal.h"

namespace {

ci_u32 spanOf(const ci_reg_data_t* reg) {
    return reg->addr_span > 1 ? reg->addr_span : 1;
}

ci_u32 dataBits(ci_camera_t* camera) {
    return camera->sensor ? camera->sensor->reg_data_size : 32;
}

// Scratch space for count registers of span words each; null when the size
// does not fit or memory is short.
ci_u32* scratch(ci_u32 span, ci_u32 count) {
    const ci_u64 words = (ci_u64)span * count;
    if (words == 0 || words > 0x3FFFFFFFu) {
        return nullptr;
    }
    return (ci_u32*)calloc((size_t)words, sizeof(ci_u32));
}

ci_error_code readSpanned(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 span, ci_u32 count, ci_u32* vals) {
    ci_u32* words = scratch(span, count);
    if (!words) {
        memset(vals, 0, (size_t)count * sizeof(ci_u32));
        return CK_ERR(CI_CAMERA_ERROR, "Out of memory");
    }
    const ci_error_code rc =
        _common_readSensorRegistersNolock(camera, reg->reg_space, reg->reg_addr, span * count, words);
    for (ci_u32 i = 0; i < count; ++i) {
        vals[i] = _joinWords(words + (size_t)i * span, span, dataBits(camera));
    }
    free(words);
    return rc;
}

ci_error_code writeSpanned(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 span, ci_u32 count, ci_u32* vals) {
    ci_u32* words = scratch(span, count);
    if (!words) {
        return CK_ERR(CI_CAMERA_ERROR, "Out of memory");
    }
    for (ci_u32 i = 0; i < count; ++i) {
        _splitWords(vals[i], span, dataBits(camera), words + (size_t)i * span);
    }
    const ci_error_code rc =
        _common_writeSensorRegistersNolock(camera, reg->reg_space, reg->reg_addr, span * count, words);
    free(words);
    return rc;
}

// A device transfer of n bus words: (camera, space or bus address, first
// register address, n, values).
using WordTransfer = ci_error_code (*)(ci_camera_t*, ci_u32, ci_u32, ci_u32, ci_u32*);
using SpannedTransfer = ci_error_code (*)(ci_camera_t*, ci_reg_data_t*, ci_u32, ci_u32, ci_u32*);
using Tracker = void (*)(ci_camera_t*, ci_reg_data_t*, ci_u32);

// What tells a read of whole registers from a write.
struct Direction {
    WordTransfer plain;       // registers of one bus word
    SpannedTransfer spanned;  // registers spanning several bus words
    Tracker track;            // direct-access bookkeeping of the first value
};

const Direction kRead = {_common_readSensorRegistersNolock, readSpanned, _trackDirectAccessRead};
const Direction kWrite = {_common_writeSensorRegistersNolock, writeSpanned, _trackDirectAccess};

ci_error_code transferRegs(ci_camera_t* camera, const Direction& direction, ci_reg_data_t* reg, ci_u32 count,
                           ci_u32* vals) {
    if (!reg || !vals || count == 0) {
        return CI_CAMERA_ERROR;
    }
    const ci_u32 span = spanOf(reg);
    const ci_error_code rc = span == 1 ? direction.plain(camera, reg->reg_space, reg->reg_addr, count, vals)
                                       : direction.spanned(camera, reg, span, count, vals);
    direction.track(camera, reg, vals[0]);
    return rc;
}

// A raw transfer at the sensor's bus address with the sensor's address width
// and the given data width; the camera's width modes are restored after.
ci_error_code directTransfer(ci_camera_t* camera, WordTransfer transfer, ci_u32 addr, ci_u32 bits, ci_u32 count,
                             ci_u32* vals) {
    const ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    if (!sensor) {
        return CK_ERR(CI_CAMERA_ERROR, "No sensor");
    }
    ScopedMode addrSize(camera, CI_REG_ADDR_SIZE, sensor->reg_addr_size);
    ScopedMode dataSize(camera, CI_REG_DATA_SIZE, bits);
    return transfer(camera, sensor->shipAddr, addr, count, vals);
}

}  // namespace

ci_error_code _readSensorRegsNocache(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 count, ci_u32* vals) {
    return transferRegs(camera, kRead, reg, count, vals);
}

ci_error_code _writeSensorRegsNocache(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 count, ci_u32* vals) {
    return transferRegs(camera, kWrite, reg, count, vals);
}

ci_error_code _readDirectVarsNocache(ci_camera_t* camera, ci_u32 addr, ci_u32 bits, ci_u32 count, ci_u32* vals) {
    return directTransfer(camera, _common_readRegistersNolock, addr, bits, count, vals);
}

ci_error_code _writeDirectVarsNocache(ci_camera_t* camera, ci_u32 addr, ci_u32 bits, ci_u32 count, ci_u32* vals) {
    return directTransfer(camera, _common_writeRegistersNolock, addr, bits, count, vals);
}
