// Reading and writing one register record: the cache, the dispatch by address
// type, and the MCU data ports that alias variables.
#define CK_SOURCE "camkit_reg"
#include <cassert>

#include "regs/camkit_mcu.h"

namespace {

// The styles whose alias registers are windows onto MCU memory rather than
// the data register of an address/data port.
bool isWindowStyle(ci_s32 style) {
    return style == CK_MCU_55 || style == CK_MCU_71;
}

// Bus data width of an aliased variable: its own width, 16 bits without a
// record.
ci_u32 aliasBits(const ci_reg_data_t* var) {
    return var ? (ci_u32)_varMaskToIs8(var->bitmask) * 8 : 16;
}

// Serves a read from the cache when the thread asks for it.  Returns true
// when the read is settled (a hit, or a logged miss in cache-only mode, in
// *rc).
bool fromCache(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val, ci_error_code* rc) {
    if (!_mcuCacheProbe(camera, reg, CI_REG_ADDR, 0, 0, val, rc)) {
        return false;
    }
    if (*rc != CI_CAMERA_SUCCESS) {
        *rc = CK_ERR(CI_CAMERA_ERROR, "Register value not in the cache");
    }
    return true;
}

ci_error_code readPlain(ci_camera_t* camera, ci_reg_data_t* reg, ci_s32 style, const ci_reg_data_t* var,
                        ci_u32* val) {
    const ci_error_code rc = style == CK_MCU_55 ? _readDirectVarsNocache(camera, reg->reg_addr, aliasBits(var), 1, val)
                                         : _readSensorRegsNocache(camera, reg, 1, val);
    if (rc == CI_CAMERA_SUCCESS) {
        _SetRegCacheValueReg(camera, reg, *val);
    }
    return rc;
}

ci_error_code writePlain(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    ci_reg_data_t* var = nullptr;
    const ci_s32 style = _findRamAlias(camera, reg, 0, &var);
    if (style == 0) {
        const ci_error_code rc = _writeSensorRegsNocache(camera, reg, 1, &val);
        if (rc == CI_CAMERA_SUCCESS) {
            _SetRegCacheValueReg(camera, reg, val);
        }
        return rc;
    }
    // A data port showing a variable: the variable's cache entry follows the
    // write, the port's own entry is left alone.
    ci_u32 word = val;
    const ci_error_code rc = isWindowStyle(style) ? _writeDirectVarsNocache(camera, reg->reg_addr, aliasBits(var), 1, &word)
                                                  : _writeSensorRegsNocache(camera, reg, 1, &word);
    if (rc == CI_CAMERA_SUCCESS && var) {
        _SetRegCacheValueReg(camera, var, var->bitmask & val);
    }
    return rc;
}

}  // namespace

ci_error_code _ReadSensorRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val) {
    *val = 0;
    if (!reg) {
        return CK_ERR(CI_CAMERA_ERROR, "No register given");
    }
    ci_reg_data_t* var = nullptr;
    const ci_s32 style = _inMappedWindows(reg->reg_addr) ? _findRamAlias(camera, reg, 1, &var) : 0;
    ci_error_code rc = CI_CAMERA_SUCCESS;
    if (fromCache(camera, var ? var : reg, val, &rc)) {
        return rc;
    }
    switch (_regType(reg)) {
    case CI_REG_ADDR:
        rc = readPlain(camera, reg, style, var, val);
        break;
    case CI_MCU_ADDR:
        rc = _ReadVarNolock(camera, reg, reg->reg_space, reg->reg_addr, _varMaskToIs8(reg->bitmask), val);
        break;
    case CI_SFR_ADDR:
        rc = _ReadSfrNolock(camera, reg, reg->reg_space, reg->reg_addr, _varMaskToIs8(reg->bitmask), val);
        break;
    case CI_IND_ADDR:
        rc = _ReadIndNolock(camera, reg, reg->reg_addr, val);
        break;
    case CI_FAR1_REG_ADDR:
    case CI_FAR2_REG_ADDR:
        rc = _ReadFarRegNolock(camera, reg, val);
        break;
    default:
        assert(!"address type cannot be read as a single register");
        rc = CI_CAMERA_ERROR;
        break;
    }
    if (rc != CI_CAMERA_SUCCESS) {
        *val = 0;
    }
    return rc;
}

ci_error_code _WriteSensorRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    if (!reg) {
        return CK_ERR(CI_CAMERA_ERROR, "No register given");
    }
    const ci_s32 is8 = _varMaskToIs8(reg->bitmask);
    switch (_regType(reg)) {
    case CI_REG_ADDR:
        return writePlain(camera, reg, val);
    case CI_MCU_ADDR:
        return _WriteVarNolock(camera, reg->reg_space, reg->reg_addr, is8, val);
    case CI_SFR_ADDR:
        return _WriteSfrNolock(camera, reg->reg_space, reg->reg_addr, is8, val);
    case CI_IND_ADDR:
        return _WriteIndNolock(camera, reg->reg_addr, val);
    case CI_FAR1_REG_ADDR:
    case CI_FAR2_REG_ADDR:
        return _WriteFarRegNolock(camera, reg, val);
    default:
        assert(!"address type cannot be written as a single register");
        return CI_CAMERA_ERROR;
    }
}

ci_error_code ci_ReadSensorReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val) {
    if (!val) {
        return CK_ERR(CI_CAMERA_ERROR, "No value given");
    }
    *val = 0;
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    RegisterLock lock(camera);
    return _ReadSensorRegNolock(camera, reg, val);
}

ci_error_code ci_WriteSensorReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    RegisterLock lock(camera);
    return _WriteSensorRegNolock(camera, reg, val);
}
