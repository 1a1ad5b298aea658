// The address/data port of the indirect MCU generations.
//
// Style 16: "MCU_ADDRESS" / "MCU_DATA_0".  A variable address word is
//   (driver << 8) | (offset & 0xFF) | 0x2000, with 0xA000 instead of 0x2000
//   for byte access; an SFR address word is (offset & 0x7FFF), plus 0x8000
//   for byte access.
// Style 44: variables through "MCU_ADDRESS" / "MCU_DATA_0" with the word
//   (driver << 10) | (offset & 0x3FF), plus 0x8000 for byte access; SFRs
//   through "ACCESS_CTL_STAT" (bit 0 = bit 15 of the offset), then
//   "PHYSICAL_ADDR_ACCESS" and "MCU_DATA_0".
// Style 54: as 44 with "LOGICAL_ADDRESS_ACCESS" / "PHYSICAL_ADDRESS_ACCESS" /
//   "MCU_VARIABLE_DATA0"; "ACCESS_CTL_STAT" also carries the SFR region in
//   bits 7..6, and a byte travels in the upper half of the data register.
//
// Four-byte values go through the data register and the register after it in
// one two-word transfer, upper word first.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

struct PortNames {
    const char* ctl;
    const char* addr;
    const char* data;
    const char* byteField;
};

// Register names by style and target kind; nullptr ctl means no control write.
// Style 16 reaches SFRs through its variable port.
bool portNames(ci_s32 style, ci_addr_type type, PortNames* names) {
    const ck_mcu_port_regs* regs = style == CK_MCU_55 ? nullptr : _mcuPortRegs(style);
    if (!regs) return false;
    const bool physical = type == CI_SFR_ADDR && regs->physicalAddr;
    *names = physical ? PortNames{regs->control, regs->physicalAddr, regs->data, regs->physicalByte}
                      : PortNames{nullptr, regs->logicalAddr, regs->data, regs->logicalByte};
    return true;
}

// Number of bus words a four-byte value takes through the data register:
// two for variables, two per word of the data register's span for SFRs.
// (The scratch holds at most four words, so longer spans are capped.)
ci_u32 quadWords(const McuPort* port) {
    if (port->type != CI_SFR_ADDR) return 2u;
    return port->data->addr_span >= 2u ? 4u : 2u;
}

// The register record that follows reg in the sensor description, if any.
ci_s32 nextIndex(ci_camera_t* camera, const ci_reg_data_t* reg) {
    const ci_sensor_t* sensor = camera->sensor;
    const ci_s32 index = (ci_s32)(reg - sensor->regs);
    return index + 1 < sensor->num_regs ? index + 1 : -1;
}

ci_error_code writeQuad(ci_camera_t* camera, const McuPort* port, ci_u32 value) {
    ci_u32 words[4] = {0, 0, 0, 0};
    const ci_u32 n = quadWords(port);
    words[n - 2] = value >> 16;
    words[n - 1] = value & 0xFFFFu;
    const ci_error_code rc =
        _common_writeSensorRegistersNolock(camera, port->data->reg_space, port->data->reg_addr, n, words);
    if (rc == CI_CAMERA_SUCCESS) {
        _SetRegCacheValueReg(camera, port->data, words[n - 2]);
        const ci_s32 next = nextIndex(camera, port->data);
        if (next >= 0) _SetRegCacheValueI(camera, next, words[n - 1]);
    }
    return rc;
}

}  // namespace

ci_error_code _mcuPortOpen(ci_camera_t* camera, ci_s32 style, ci_addr_type type, ci_u32 space, McuPort* port) {
    PortNames names;
    if (!portNames(style, type, &names)) return CK_ERR(CI_CAMERA_ERROR, "sensor has no MCU address/data port");
    *port = McuPort{style, type, space, nullptr, nullptr, nullptr, names.byteField};
    if (names.ctl && !(port->ctl = _mcuRequire(camera, names.ctl))) return CI_CAMERA_ERROR;
    if (!(port->addr = _mcuRequire(camera, names.addr))) return CI_CAMERA_ERROR;
    if (!(port->data = _mcuRequire(camera, names.data))) return CI_CAMERA_ERROR;
    return CI_CAMERA_SUCCESS;
}

ci_u32 _mcuPortAddressWord(const McuPort* port, ci_u32 offset, ci_s32 width) {
    const bool byte = width == 1;
    if (port->type == CI_SFR_ADDR) return (offset & 0x7FFFu) + (byte ? 0x8000u : 0u);
    if (port->style == CK_MCU_16) return (port->space << 8) | (offset & 0xFFu) | (byte ? 0xA000u : 0x2000u);
    return (port->space << 10) | (offset & 0x3FFu) | (byte ? 0x8000u : 0u);
}

ci_error_code _mcuPortSelect(ci_camera_t* camera, const McuPort* port, ci_u32 offset, ci_s32 width) {
    if (port->ctl) {
        ci_u32 ctl = (offset >> 15) & 1u;
        if (port->style == CK_MCU_54) ctl |= (port->space * 64u) & 0xFFu;
        const ci_error_code rc = _WriteSensorRegNolock(camera, port->ctl, ctl);
        if (rc != CI_CAMERA_SUCCESS) return rc;
    }
    return _WriteSensorRegNolock(camera, port->addr, _mcuPortAddressWord(port, offset, width));
}

ci_error_code _mcuPortWrite(ci_camera_t* camera, const McuPort* port, ci_s32 width, ci_u32 value) {
    if (width == 4) return writeQuad(camera, port, value);
    ci_u32 word = value;
    if (port->style == CK_MCU_54 && width == 1) word <<= 8;
    const ci_error_code rc = _writeSensorRegsNocache(camera, port->data, 1, &word);
    if (rc == CI_CAMERA_SUCCESS) _SetRegCacheValueReg(camera, port->data, word);
    return rc;
}

ci_error_code _mcuPortRead(ci_camera_t* camera, const McuPort* port, ci_s32 width, ci_u32* value) {
    *value = 0;
    if (width == 4) {
        ci_u32 words[2] = {0, 0};
        const ci_error_code rc =
            _common_readSensorRegistersNolock(camera, port->data->reg_space, port->data->reg_addr, 2, words);
        if (rc == CI_CAMERA_SUCCESS) *value = (words[0] << 16) | (words[1] & 0xFFFFu);
        return rc;
    }
    ci_u32 word = 0;
    const ci_error_code rc = _readSensorRegsNocache(camera, port->data, 1, &word);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    if (port->style == CK_MCU_54 && width == 1) word >>= 8;
    *value = word & _mcuWidthMask(width);
    return rc;
}

void _mcuPortEndByteAccess(ci_camera_t* camera, const McuPort* port, ci_s32 width) {
    if (width != 1 || port->style != CK_MCU_54 || !port->byteField || !_mcuIsType54v1(camera)) return;
    if (!_bitfieldLookup(port->addr, port->byteField)) return;
    _WriteSensorRegStrNolock(camera, port->addr->unique_desc, port->byteField, 0);
}

// ---- runs of values: reads value by value, single writes, and bursts that
// rely on the MCU's auto-incrementing data port
ci_error_code _mcuPortReadRun(ci_camera_t* camera, const McuPort* port, ci_u32 first, ci_u32 count,
                              ci_s32 width, ci_u32* vals) {
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 i = 0; i < count && rc == CI_CAMERA_SUCCESS; ++i) {
        const ci_u32 offset = first + i * (ci_u32)width;
        rc = _mcuPortSelect(camera, port, offset, width);
        if (rc == CI_CAMERA_SUCCESS) rc = _mcuPortRead(camera, port, width, &vals[i]);
        if (rc == CI_CAMERA_SUCCESS) _SetRegCacheValueAddr(camera, port->type, port->space, offset, vals[i]);
    }
    _mcuPortEndByteAccess(camera, port, width);
    return rc;
}

ci_error_code _mcuPortWriteOne(ci_camera_t* camera, const McuPort* port, ci_u32 offset, ci_s32 width,
                               ci_u32 value) {
    ci_error_code rc = _mcuPortSelect(camera, port, offset, width);
    if (rc == CI_CAMERA_SUCCESS) rc = _mcuPortWrite(camera, port, width, value);
    _mcuPortEndByteAccess(camera, port, width);
    if (rc == CI_CAMERA_SUCCESS) {
        _SetRegCacheValueAddr(camera, port->type, port->space, offset, value & _mcuWidthMask(width));
    }
    return rc;
}

// A chunk is at most 16 bytes and, for bytes, an even count, so that the
// bytes pair up into the port's 16-bit words.  Each chunk re-addresses the
// MCU and then streams its values into the data register in one transfer
// at the burst's width.
ci_error_code _mcuPortBurst(ci_camera_t* camera, const McuPort* port, ci_u32 first, ci_u32 count, ci_s32 width,
                            ci_u32* vals) {
    const ci_u32 perChunk = 16u / (ci_u32)width;
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 i = 0; i < count;) {
        ci_u32 k = count - i < perChunk ? count - i : perChunk;
        if (width == 1) k &= ~1u;
        if (k == 0) {
            _mcuPortWriteOne(camera, port, first + i, 1, vals[i]);  // the odd byte; result not reported
            break;
        }
        rc = _mcuPortSelect(camera, port, first + (ci_u32)width * i, width);
        if (rc == CI_CAMERA_SUCCESS) {
            _updateAddrSpace(camera, port->data->reg_space, 0);
            rc = _writeDirectVarsNocache(camera, port->data->reg_addr, (ci_u32)width * 8u, k, &vals[i]);
        }
        i += k;
    }
    return rc;
}
