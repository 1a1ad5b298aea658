// How the board's FPGA shapes pixels: the pixel width it captures, the
// newest board's parallel depth and pixel packing, and whether the board
// or the library unswizzles deep pixels.
#define CK_SOURCE "transport/usb_bulk_pixel"
#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kPixelWidthMask = 0x1F0;
constexpr ci_u32 kNoUnswizzleBit = 0x800;
constexpr ci_u32 kPixelPackFirmware = 36;

bool formatRegisterBoard(const ci_camera_t* camera) {
    const ci_u32 p = camera->productID;
    return (p == CI_KITE_2 && camera->productVersion >= 176) || p == CI_KESTR || p == CI_KESTR_XL || p == CI_KITE_2X;
}

bool lsbWidened(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    return ctx->lsbAligned && ctx->rxType == CI_RX_PARALLEL &&
           _rxBitfield(camera, "ParallelControls", "LSBDataAlign") == 0;
}

// The pixel-width code of the format register; false for a width the
// board cannot capture.
bool widthCode(ci_camera_t* camera, ci_u32 bits, ci_u32* code) {
    const _common_context_t* ctx = _ctx(camera);
    const USB_Bulk_Context* usb = _usb_context(camera);
    switch (bits) {
        case 6:
        case 8: {
            const bool widen = usb->convert_8_to_16 && ((ci_s32)ctx->rxType < 2 || ctx->rxBitDepth < 9);
            *code = widen ? 0x90 : 0x30;
            return true;
        }
        case 10:
        case 20:
            *code = 0x20 | 0x100;
            return true;
        case 12:
            *code = 0x10;
            return true;
        case 14:
            *code = 0x50;
            return true;
        case 16:
            *code = 0x90;
            return true;
        default:
            return false;
    }
}

// Writes the format register under FPGA reset when `value` differs.
ci_error_code writeFormat(ci_camera_t* camera, ci_u32 mask, ci_u32 value) {
    ci_u32 old = 0;
    ci_error_code rc = _readKiteRegister(camera, "FORMAT_CONTROL_REG", &old);
    const ci_u32 next = (old & ~mask) | (value & mask);
    if (rc != CI_CAMERA_SUCCESS || next == old) return rc;
    rc = _writeKiteRegister(camera, "RESET_REG", 1);
    if (rc == CI_CAMERA_SUCCESS) rc = _writeKiteRegister(camera, "FORMAT_CONTROL_REG", next);
    const ci_error_code released = _writeKiteRegister(camera, "RESET_REG", 0);
    if (rc == CI_CAMERA_SUCCESS) rc = released;
    return rc == CI_CAMERA_SUCCESS ? _resetFifo(camera) : rc;
}

ci_error_code updateNewestBoard(ci_camera_t* camera, ci_u32 bits) {
    USB_Bulk_Context* usb = _usb_context(camera);
    const _common_context_t* ctx = _ctx(camera);
    if (bits == 6 || (bits == 8 && usb->convert_8_to_16)) bits = 16;
    if (bits > 16) bits = 16;
    const ci_u32 depth = bits >= 8 ? (bits - 8) / 2 : 0;
    ci_u32 oldDepth = 0, oldAlign = 0;
    _readKiteBitfield(camera, "ParallelControls", "ParallelBitDepth", &oldDepth);
    _readKiteBitfield(camera, "ParallelControls", "LSBDataAlign", &oldAlign);
    ci_error_code rc = CI_CAMERA_SUCCESS;
    if (oldDepth != depth || oldAlign != (ctx->lsbAligned ? 1u : 0u)) {
        rc = _writeKiteBitfield(camera, "ParallelControls", "ParallelBitDepth", depth);
        if (rc == CI_CAMERA_SUCCESS)
            rc = _writeKiteBitfield(camera, "ParallelControls", "LSBDataAlign", ctx->lsbAligned ? 1 : 0);
        if (rc == CI_CAMERA_SUCCESS) rc = _resetFifo(camera);
    }
    if (rc == CI_CAMERA_SUCCESS && _usb_fw(camera) >= kPixelPackFirmware &&
        _kiteBitfield(camera, "ControlReg5", "FX3PixelPack") != 0) {
        usb->pixelPack = ctx->pixelPack && (bits == 10 || bits == 12);
        rc = _writeKiteBitfield(camera, "ControlReg5", "FX3PixelPack", usb->pixelPack);
    }
    return rc;
}

}  // namespace

ci_error_code _updatePixel(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    const ci_sensor_t* s = camera->sensor;
    ci_u32 bits = lsbWidened(camera) ? 16 : ctx->bitsPerClock;
    if (s != nullptr && (s->sensorType == 95 || s->sensorType == 99)) {
        const bool split = ctx->rxType == CI_RX_PARALLEL && bits == 20;
        _setSensorPin(camera, 3, split ? 1 : 0);
        _setSensorPin(camera, 7, split ? 1 : 0);
        if (split) bits = 10;
    }
    if (formatRegisterBoard(camera)) {
        ci_u32 code = 0;
        if (!widthCode(camera, bits, &code))
            return CK_ERR(CI_CAMERA_ERROR, "the board cannot capture this pixel width");
        return writeFormat(camera, kPixelWidthMask, code);
    }
    if (camera->productID == CI_KITE_3) return updateNewestBoard(camera, bits);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _SetPixelPack(ci_camera_t* camera, ci_u32 value) {
    if (camera->productID != CI_KITE_3 || _usb_fw(camera) < kPixelPackFirmware) return CI_CAMERA_NOT_SUPPORTED;
    _ctx(camera)->pixelPack = value ? 1 : 0;
    return _updatePixel(camera);
}

ci_error_code USB_Bulk_SetHardwareUnswizzle(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    const bool boardMust = _swizzle_situation(camera) == SWIZSIT_HW_CAN && ctx->do_sw_unswizzle == 0 &&
                           ctx->unswizzle_mode != CI_NO_UNSWIZZLE;
    if (camera->productID == CI_KITE_2 && camera->productVersion < 176) {
        const ci_image_types t = camera->sensor != nullptr ? camera->sensor->imageType : CI_UNKNOWN_IMAGE_TYPE;
        const bool bayer = ci_IsBayer(camera) && (t == CI_BAYER_10 || t == CI_BAYER_10_ZOOM);
        const ci_chip_t* chip = camera->num_chips > 0 ? &camera->chip[0] : nullptr;
        if (chip == nullptr) return CI_CAMERA_SUCCESS;
        return camera->writeRegister(camera, chip->baseAddr, 2, bayer && boardMust ? 3 : 0);
    }
    if (formatRegisterBoard(camera)) return writeFormat(camera, kNoUnswizzleBit, boardMust ? 0 : kNoUnswizzleBit);
    return CI_CAMERA_SUCCESS;
}
