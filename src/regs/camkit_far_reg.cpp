// Registers of the far sensors (address types CI_FAR1_REG_ADDR and
// CI_FAR2_REG_ADDR).  A far register lives at its address space's
// `far_base` (8-bit bus address) with the space's far address and data
// sizes; a register of span N is N consecutive far words, most significant
// first, at most 4 bytes in all.
//
// Every transfer first checks that the far base answered the far-bus probe
// (`_testFarBase`).  It is then offered to the transport as a system-register
// transfer (address type, far base as the space value, register address,
// data size, N words); a transport without that support leaves it to the
// sensor's bus master (camkit_far_master.cpp), which sends the address bytes,
// then the data bytes, most significant first.  Successful transfers update
// the register cache.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

struct FarAccess {
    ci_addr_type type;
    ci_u32 base;
    ci_u32 addrBytes;
    ci_u32 dataBits;
    ci_u32 words;
};

ci_u32 sizeOr(ci_u32 bits, ci_u32 fallback) {
    const ci_u32 chosen = bits ? bits : fallback;
    return (chosen == 16u || chosen == 32u) ? chosen : 8u;
}

ci_error_code describe(ci_camera_t* camera, const ci_reg_data_t* reg, FarAccess* fa) {
    const ci_addr_space_val_t* space = reg->addr_space;
    if (!space || !_farIsRegType(space->type)) return CK_ERR(CI_CAMERA_ERROR, "not a far register");
    fa->type = space->type;
    fa->base = space->far_base;
    fa->addrBytes = sizeOr(space->far_addr_size, _regAddrSize(camera, space->type)) / 8u;
    fa->dataBits = sizeOr(space->far_data_size, _regDataSize(camera, space->type));
    fa->words = reg->addr_span ? reg->addr_span : 1u;
    if (fa->words * fa->dataBits > 32u) return CK_ERR(CI_CAMERA_ERROR, "far register wider than 32 bits");
    const ci_error_code rc = _testFarBase(camera, fa->base);
    if (rc != CI_CAMERA_SUCCESS) return CK_ERR(rc, "far bus device did not answer the probe");
    return CI_CAMERA_SUCCESS;
}

ci_u32 dataMask(ci_u32 bits) {
    return bits >= 32u ? 0xFFFFFFFFu : (1u << bits) - 1u;
}

// Bits a transport returns above the far data width are dropped.
ci_u32 joinWords(ci_u32* words, const FarAccess& fa) {
    for (ci_u32 k = 0; k < fa.words; ++k) words[k] &= dataMask(fa.dataBits);
    return _joinWords(words, fa.words, fa.dataBits);
}

// Address bytes (most significant first) followed by nData bytes of value.
ci_u32 frame(const FarAccess& fa, ci_u32 addr, ci_u32 value, ci_u32 nData, ci_u8* out) {
    ci_u32 n = 0;
    for (ci_u32 i = fa.addrBytes; i-- > 0;) out[n++] = (ci_u8)(addr >> (8u * i));
    for (ci_u32 i = nData; i-- > 0;) out[n++] = (ci_u8)(value >> (8u * i));
    return n;
}

ci_error_code masterRead(ci_camera_t* camera, const FarAccess& fa, ci_u32 addr, ci_u32* val) {
    ci_u8 tx[CK_FAR_MAX_TX];
    ci_u8 rx[CK_FAR_MAX_RX] = {};
    const ci_u32 nData = fa.words * fa.dataBits / 8u;
    const ci_error_code rc = _farMasterTransfer(camera, fa.base, tx, frame(fa, addr, 0, 0, tx), rx, nData);
    if (rc == CI_CAMERA_SUCCESS) {
        for (ci_u32 i = 0; i < nData; ++i) *val = (*val << 8) | rx[i];
    }
    return rc;
}

ci_error_code masterWrite(ci_camera_t* camera, const FarAccess& fa, ci_u32 addr, ci_u32 val) {
    ci_u8 tx[CK_FAR_MAX_TX];
    const ci_u32 nData = fa.words * fa.dataBits / 8u;
    return _farMasterTransfer(camera, fa.base, tx, frame(fa, addr, val, nData, tx), nullptr, 0);
}

}  // namespace

ci_error_code _ReadFarRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val) {
    if (!val) return CK_ERR(CI_CAMERA_ERROR, "no value buffer");
    *val = 0;
    if (!camera || !_ctx(camera) || !reg) return CK_ERR(CI_CAMERA_ERROR, "no camera or register");
    FarAccess fa;
    ci_error_code rc = describe(camera, reg, &fa);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    ci_u32 words[4] = {};
    rc = _common_readSystemRegistersNolock(camera, fa.type, fa.base, reg->reg_addr, fa.dataBits, fa.words, words);
    if (rc == CI_CAMERA_SUCCESS) *val = joinWords(words, fa);
    if (rc == CI_CAMERA_NOT_SUPPORTED) rc = masterRead(camera, fa, reg->reg_addr, val);
    if (rc == CI_CAMERA_SUCCESS) _SetRegCacheValueReg(camera, reg, *val);
    return rc;
}

ci_error_code _WriteFarRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    if (!camera || !_ctx(camera) || !reg) return CK_ERR(CI_CAMERA_ERROR, "no camera or register");
    FarAccess fa;
    ci_error_code rc = describe(camera, reg, &fa);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    ci_u32 words[4] = {};
    _splitWords(val, fa.words, fa.dataBits, words);
    rc = _common_writeSystemRegistersNolock(camera, fa.type, fa.base, reg->reg_addr, fa.dataBits, fa.words, words);
    if (rc == CI_CAMERA_NOT_SUPPORTED) rc = masterWrite(camera, fa, reg->reg_addr, val);
    if (rc == CI_CAMERA_SUCCESS) _SetRegCacheValueReg(camera, reg, val);
    return rc;
}

ci_error_code _ReadSensorRegs_FarOnlyNoLock(ci_camera_t* camera, ci_s32 n, ci_reg_data_t** regs, ci_u32* vals,
                                            ci_error_code* results) {
    if (!regs || !vals) return CK_ERR(CI_CAMERA_ERROR, "no register or value array");
    ci_error_code last = CI_CAMERA_SUCCESS;
    for (ci_s32 i = 0; i < n; ++i) {
        ci_reg_data_t* reg = regs[i];
        if (!reg || reg->rw == 2u || !ci_IsFarSpace(reg->addr_space)) continue;
        last = _ReadFarRegNolock(camera, reg, &vals[i]);
        if (results) results[i] = last;
    }
    return last;
}
