// Single registers over the board's two-wire bus, and the bus status byte
// that the firmware returns with most transfers.
#define CK_SOURCE "transport/usb_regs"
#include "transport/usb_private.h"

namespace {

constexpr ci_u8 kStatusBitError = 6;
constexpr ci_u8 kStatusNack = 7;
constexpr ci_u8 kStatusNone = 8;
constexpr ci_u8 kStatusTimeout = 10;

// One request; the bytes that arrived go to *received (0 on failure).
ci_error_code transfer(ci_camera_t* camera, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index, ci_u32 size,
                       ci_u8* buffer, ci_u32* received) {
    ci_s32 moved = 0;
    *received = 0;
    if (USB_Bulk_SendVRCommand(camera, command, direction, value, index, size, buffer, &moved) != 0 || moved < 0) {
        return CI_CAMERA_ERROR;
    }
    *received = (ci_u32)moved;
    return CI_CAMERA_SUCCESS;
}

// A read whose reply carries data then, at statusAt, the bus status byte.
ci_error_code readWithStatus(ci_camera_t* camera, ci_u8 command, ci_u16 value, ci_u16 index, ci_u32 size,
                             ci_u32 statusAt, ci_u8* reply) {
    ci_u32 received = 0;
    const ci_error_code rc = transfer(camera, command, kUsbDirIn, value, index, size, reply, &received);
    const ci_u8 status = statusAt < size && received > statusAt ? reply[statusAt] : kStatusNone;
    return _USB_check_I2C_status(camera, status, rc);
}

ci_u32 threadAddrSize(ci_camera_t* camera) { return (ci_u32)_thread_local_context(camera)->reg_addr_size; }
ci_u32 threadDataSize(ci_camera_t* camera) { return (ci_u32)_thread_local_context(camera)->reg_data_size; }

// Reply length of the single reads: no status byte before firmware 24.
ci_u32 singleReplyLength(ci_camera_t* camera) { return _usb_old_fw_below(camera, 24) ? 2 : 3; }

bool burstCapable(ci_camera_t* camera) { return _usb_is_new_board(camera) || _usb_fw(camera) > 9; }

ci_u16 shipValue(ci_u32 shipAddr, ci_u32 low) { return (ci_u16)(((shipAddr & 0xFF) << 8) | (low & 0xFF)); }

}  // namespace

ci_error_code _USB_check_I2C_status(ci_camera_t* camera, ci_u8 status, ci_error_code result) {
    if (_usb_old_fw_below(camera, 24)) return result;
    switch (status) {
        case kStatusNack:
            return CI_I2C_NACK_ERROR;
        case kStatusTimeout:
            return CI_I2C_TIMEOUT;
        case kStatusBitError:
            return CI_I2C_BIT_ERROR;
        default:
            return result;
    }
}

ci_u8 _USB_get_I2C_write_status(ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr) return kStatusNone;
    const bool asks = usb->productID == CI_KITE_2 || usb->productID == CI_KESTR || usb->productID == CI_KITE_2X;
    if (!asks || _usb_fw(camera) <= 41) return kStatusNone;
    ci_u8 status = kStatusNone;
    ci_u32 received = 0;
    if (transfer(camera, VR_I2C_WRITE_STATUS, kUsbDirIn, 0, 0, 1, &status, &received) != 0 || received < 1) {
        return kStatusNone;
    }
    return status;
}

ci_error_code _USB_check_I2C_write_status(ci_camera_t* camera, ci_error_code result) {
    const ci_u8 status = result != CI_CAMERA_SUCCESS ? kStatusNone : _USB_get_I2C_write_status(camera);
    return _USB_check_I2C_status(camera, status, result);
}

ci_error_code USB_Bulk_ReadRegister16(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    if (_usb_old_fw_below(camera, 27)) return CK_ERR(CI_CAMERA_ERROR, "Firmware doesn't support 16-bit addresses");
    const ci_u32 length = singleReplyLength(camera);
    const ci_u32 dataSize = threadDataSize(camera);
    ci_u8 reply[3] = {0, 0, 0};
    if (dataSize == 16) {
        const ci_error_code rc =
            readWithStatus(camera, VR_I2C_READ_16, shipValue(shipAddr, 0), (ci_u16)regAddr, length, 2, reply);
        *val = ((ci_u32)reply[0] << 8) | reply[1];
        return rc;
    }
    if (dataSize == 8) {
        if (_usb_fw(camera) < 28) return CK_ERR(CI_CAMERA_ERROR, "Firmware doesn't support 16/8 I2C read");
        const ci_error_code rc =
            readWithStatus(camera, VR_I2C_READ_16_8, shipValue(shipAddr, 0), (ci_u16)regAddr, length, 1, reply);
        *val = reply[0];
        return rc;
    }
    return USB_Bulk_GenericRead(camera, shipAddr, threadAddrSize(camera), regAddr, dataSize, 1, val);
}

ci_error_code USB_Bulk_ReadRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    if (val == nullptr) return CI_CAMERA_ERROR;
    const ci_u32 addrSize = threadAddrSize(camera);
    const ci_u32 dataSize = threadDataSize(camera);
    if (addrSize == 16 && (dataSize == 8 || dataSize == 16)) return USB_Bulk_ReadRegister16(camera, shipAddr, regAddr, val);
    if (addrSize == 8 && dataSize == 8 && burstCapable(camera)) {
        return USB_Bulk_ReadRegisters(camera, shipAddr, regAddr, 1, val);
    }
    if (addrSize == 8 && dataSize == 16) {
        ci_u8 reply[3] = {0, 0, 0};
        const ci_error_code rc = readWithStatus(camera, VR_REG_READ, shipValue(shipAddr, regAddr), 0,
                                                singleReplyLength(camera), 2, reply);
        *val = ((ci_u32)reply[0] << 8) | reply[1];
        return rc;
    }
    return USB_Bulk_GenericRead(camera, shipAddr, addrSize, regAddr, dataSize, 1, val);
}

ci_error_code USB_Bulk_WriteRegister16(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    if (_usb_old_fw_below(camera, 27)) return CK_ERR(CI_CAMERA_ERROR, "");
    const ci_u32 addrSize = threadAddrSize(camera);
    const ci_u32 dataSize = threadDataSize(camera);
    // Wider addresses than 16 bits travel in the generic write.
    if (addrSize == 16 && dataSize == 8) {
        if (_usb_old_fw_below(camera, 28)) return CK_ERR(CI_CAMERA_ERROR, "");
        ci_u8 status = kStatusNone;
        return readWithStatus(camera, VR_I2C_WRITE_16_8, shipValue(shipAddr, val), (ci_u16)regAddr, 1, 0, &status);
    }
    if (addrSize == 16 && dataSize == 16) {
        ci_u8 data[2] = {(ci_u8)(val >> 8), (ci_u8)val};
        ci_u32 sent = 0;
        const ci_error_code rc =
            transfer(camera, VR_I2C_WRITE_16, kUsbDirOut, shipValue(shipAddr, 0), (ci_u16)regAddr, 2, data, &sent);
        return _USB_check_I2C_write_status(camera, rc);
    }
    return USB_Bulk_GenericWrite(camera, shipAddr, addrSize, regAddr, dataSize, 1, &val);
}

ci_error_code USB_Bulk_WriteRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    const ci_u32 addrSize = threadAddrSize(camera);
    if (addrSize > 8) return USB_Bulk_WriteRegister16(camera, shipAddr, regAddr, val);
    if (threadDataSize(camera) != 16 && burstCapable(camera)) {
        return USB_Bulk_WriteRegisters(camera, shipAddr, regAddr, 1, &val);
    }
    ci_u8 status = kStatusNone;
    return readWithStatus(camera, VR_REG_WRITE, shipValue(shipAddr, regAddr), (ci_u16)val, 1, 0, &status);
}
