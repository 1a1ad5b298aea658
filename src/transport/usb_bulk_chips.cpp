// The board's own chips (main FPGA, receiver, HDMI, stereo) reached as named
// registers from the board data: each access switches the calling thread's
// register address and data sizes to the chip's and uses its base address.
// A register the chip does not have reads as 0 and is not written.
#define CK_SOURCE "transport/usb_bulk_chips"
#include <strings.h>

#include "transport/usb_private.h"

namespace {

const ci_chip_t* chipAt(const ci_camera_t* camera, ci_u32 chip) {
    if (camera == nullptr || camera->chip == nullptr || chip >= (ci_u32)camera->num_chips) return nullptr;
    return &camera->chip[chip];
}

void useChipSizes(ci_camera_t* camera, const ci_chip_t* c) {
    _SetMode(camera, CI_REG_ADDR_SIZE, c->serial_addr_size);
    _SetMode(camera, CI_REG_DATA_SIZE, c->serial_data_size);
}

ci_u32 shiftOf(ci_u32 mask) {
    ci_u32 shift = 0;
    while (mask != 0 && (mask & 1) == 0) {
        mask >>= 1;
        shift++;
    }
    return shift;
}

}  // namespace

UsbKeepSizes::UsbKeepSizes(ci_camera_t* camera) : camera_(camera) {
    _GetMode(camera_, CI_REG_ADDR_SIZE, &addrSize_);
    _GetMode(camera_, CI_REG_DATA_SIZE, &dataSize_);
}

UsbKeepSizes::~UsbKeepSizes() {
    _SetMode(camera_, CI_REG_ADDR_SIZE, addrSize_);
    _SetMode(camera_, CI_REG_DATA_SIZE, dataSize_);
}

ci_u32 _merge(ci_u32 value, ci_u32 mask, ci_u32 field) {
    if (mask == 0) return value;
    return (value & ~mask) | ((field << shiftOf(mask)) & mask);
}

ci_reg_data_t* _someRegister(ci_camera_t* camera, ci_u32 chip, const char* name) {
    const ci_chip_t* c = chipAt(camera, chip);
    if (c == nullptr || name == nullptr || c->regs == nullptr) return nullptr;
    const ci_s32 id = _regId(c->regs, c->num_regs, name);
    return id >= 0 ? &c->regs[id] : nullptr;
}

ci_u32 _someBitfield(ci_camera_t* camera, ci_u32 chip, const char* reg, const char* bitfield) {
    const ci_reg_data_t* r = _someRegister(camera, chip, reg);
    if (r == nullptr || bitfield == nullptr) return 0;
    for (ci_s32 i = 0; i < r->num_bitfields; i++) {
        if (strcasecmp(r->bitfield[i].id, bitfield) == 0) return r->bitfield[i].bitmask;
    }
    return 0;
}

ci_error_code _readSomeRegister(ci_camera_t* camera, ci_u32 chip, const char* name, ci_u32* value) {
    *value = 0;
    const ci_reg_data_t* r = _someRegister(camera, chip, name);
    if (r == nullptr) return CI_CAMERA_SUCCESS;
    const ci_chip_t* c = chipAt(camera, chip);
    useChipSizes(camera, c);
    return camera->readRegister(camera, c->baseAddr, r->reg_addr, value);
}

ci_error_code _writeSomeRegister(ci_camera_t* camera, ci_u32 chip, const char* name, ci_u32 value) {
    const ci_reg_data_t* r = _someRegister(camera, chip, name);
    if (r == nullptr) return CI_CAMERA_SUCCESS;
    const ci_chip_t* c = chipAt(camera, chip);
    useChipSizes(camera, c);
    return camera->writeRegister(camera, c->baseAddr, r->reg_addr, value);
}

ci_error_code _readSomeBitfield(ci_camera_t* camera, ci_u32 chip, const char* reg, const char* bitfield,
                                ci_u32* value) {
    const ci_u32 mask = _someBitfield(camera, chip, reg, bitfield);
    ci_u32 whole = 0;
    const ci_error_code rc = _readSomeRegister(camera, chip, reg, &whole);
    *value = mask == 0 ? 0 : (whole & mask) >> shiftOf(mask);
    return rc;
}

ci_error_code _writeSomeBitfield(ci_camera_t* camera, ci_u32 chip, const char* reg, const char* bitfield,
                                 ci_u32 value) {
    const ci_u32 mask = _someBitfield(camera, chip, reg, bitfield);
    if (mask == 0) return CI_CAMERA_SUCCESS;
    ci_u32 cache = 0;
    _GetMode(camera, CI_USE_REG_CACHE, &cache);
    _SetMode(camera, CI_USE_REG_CACHE, 0);
    ci_u32 old = 0;
    ci_error_code rc = _readSomeRegister(camera, chip, reg, &old);
    _SetMode(camera, CI_USE_REG_CACHE, cache);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return _writeSomeRegister(camera, chip, reg, _merge(old, mask, value));
}

// The main FPGA's family.
ci_reg_data_t* _kiteRegister(ci_camera_t* camera, const char* name) {
    return _someRegister(camera, _usb_context(camera)->kiteChip, name);
}
ci_u32 _kiteBitfield(ci_camera_t* camera, const char* reg, const char* bitfield) {
    return _someBitfield(camera, _usb_context(camera)->kiteChip, reg, bitfield);
}
ci_error_code _readKiteRegister(ci_camera_t* camera, const char* name, ci_u32* value) {
    return _readSomeRegister(camera, _usb_context(camera)->kiteChip, name, value);
}
ci_error_code _readKiteBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value) {
    return _readSomeBitfield(camera, _usb_context(camera)->kiteChip, reg, bitfield, value);
}
ci_error_code _writeKiteRegister(ci_camera_t* camera, const char* name, ci_u32 value) {
    return _writeSomeRegister(camera, _usb_context(camera)->kiteChip, name, value);
}
ci_error_code _writeKiteBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32 value) {
    return _writeSomeBitfield(camera, _usb_context(camera)->kiteChip, reg, bitfield, value);
}

// The receiver board's family.
ci_reg_data_t* _rxRegister(ci_camera_t* camera, const char* name) {
    return _someRegister(camera, _usb_context(camera)->rxChip, name);
}
ci_u32 _rxBitfield(ci_camera_t* camera, const char* reg, const char* bitfield) {
    return _someBitfield(camera, _usb_context(camera)->rxChip, reg, bitfield);
}
ci_error_code _readRxRegister(ci_camera_t* camera, const char* name, ci_u32* value) {
    return _readSomeRegister(camera, _usb_context(camera)->rxChip, name, value);
}
ci_error_code _readRxBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value) {
    return _readSomeBitfield(camera, _usb_context(camera)->rxChip, reg, bitfield, value);
}
ci_error_code _writeRxRegister(ci_camera_t* camera, const char* name, ci_u32 value) {
    return _writeSomeRegister(camera, _usb_context(camera)->rxChip, name, value);
}
ci_error_code _writeRxBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32 value) {
    return _writeSomeBitfield(camera, _usb_context(camera)->rxChip, reg, bitfield, value);
}

// The stereo board's family.
ci_reg_data_t* _stereoRegister(ci_camera_t* camera, const char* name) {
    return _someRegister(camera, _usb_context(camera)->stereoChip, name);
}
ci_u32 _stereoBitfield(ci_camera_t* camera, const char* reg, const char* bitfield) {
    return _someBitfield(camera, _usb_context(camera)->stereoChip, reg, bitfield);
}
ci_error_code _readStereoRegister(ci_camera_t* camera, const char* name, ci_u32* value) {
    return _readSomeRegister(camera, _usb_context(camera)->stereoChip, name, value);
}
ci_error_code _readStereoBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value) {
    return _readSomeBitfield(camera, _usb_context(camera)->stereoChip, reg, bitfield, value);
}
ci_error_code _writeStereoRegister(ci_camera_t* camera, const char* name, ci_u32 value) {
    return _writeSomeRegister(camera, _usb_context(camera)->stereoChip, name, value);
}

// The HDMI chip's family.
ci_reg_data_t* _hdmiRegister(ci_camera_t* camera, const char* name) {
    return _someRegister(camera, _usb_context(camera)->hdmiChip, name);
}
ci_u32 _hdmiBitfield(ci_camera_t* camera, const char* reg, const char* bitfield) {
    return _someBitfield(camera, _usb_context(camera)->hdmiChip, reg, bitfield);
}
ci_error_code _readHdmiRegister(ci_camera_t* camera, const char* name, ci_u32* value) {
    return _readSomeRegister(camera, _usb_context(camera)->hdmiChip, name, value);
}
ci_error_code _readHdmiBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value) {
    return _readSomeBitfield(camera, _usb_context(camera)->hdmiChip, reg, bitfield, value);
}
ci_error_code _writeHdmiRegister(ci_camera_t* camera, const char* name, ci_u32 value) {
    return _writeSomeRegister(camera, _usb_context(camera)->hdmiChip, name, value);
}
