// The board controller's own memories (external data, internal RAM, special
// function registers), the two-wire bus bit rate, the vendor data read at
// open and the FIFO reset.
#define CK_SOURCE "transport/usb_memories"
#include <cstring>

#include "transport/usb_private.h"

namespace {

constexpr ci_u16 kBitRateXdata = 0xE67A;

bool memoriesAvailable(ci_camera_t* camera) { return !_usb_old_fw_below(camera, 6); }

ci_error_code readMemory(ci_camera_t* camera, ci_u8 command, ci_u16 addr, ci_u8* val) {
    if (val == nullptr) return CK_ERR(CI_CAMERA_ERROR, "");
    if (!memoriesAvailable(camera)) return CK_ERR(CI_CAMERA_ERROR, "");
    return ci_Errorlog(_usb_request(camera, command, kUsbDirIn, addr, 0, 1, val), -1, "", CK_SOURCE, __func__,
                       __LINE__);
}

// The firmware changes only the bits set in mask; its one-byte answer is not used.
ci_error_code writeMemory(ci_camera_t* camera, ci_u8 command, ci_u16 addr, ci_u8 mask, ci_u8 val) {
    if (!memoriesAvailable(camera)) return CK_ERR(CI_CAMERA_ERROR, "");
    ci_u8 ignored = 0;
    const ci_u16 index = (ci_u16)((mask << 8) | val);
    return ci_Errorlog(_usb_request(camera, command, kUsbDirIn, addr, index, 1, &ignored), -1, "", CK_SOURCE, __func__,
                       __LINE__);
}

bool hasXdataBitRate(ci_u32 product) { return product >= 0x1002 && product <= 0x100D && product != 0x1005; }

ci_u32 productOf(ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return usb != nullptr ? usb->productID : 0;
}

ci_error_code readU16(ci_camera_t* camera, ci_u8 command, ci_u32* out) {
    ci_u8 bytes[2] = {0, 0};
    const ci_error_code rc = _usb_request(camera, command, kUsbDirIn, 0, 0, 2, bytes);
    if (rc == CI_CAMERA_SUCCESS) *out = (ci_u32)bytes[0] | ((ci_u32)bytes[1] << 8);
    return rc;
}

}  // namespace

ci_error_code USB_Bulk_ReadXDATAMemory(ci_camera_t* camera, ci_u16 addr, ci_u8* val) {
    return readMemory(camera, VR_INTMEM_READ_X, addr, val);
}
ci_error_code USB_Bulk_WriteXDATAMemory(ci_camera_t* camera, ci_u16 addr, ci_u8 mask, ci_u8 val) {
    return writeMemory(camera, VR_INTMEM_WRITE_X, addr, mask, val);
}
ci_error_code USB_Bulk_Read8051Memory(ci_camera_t* camera, ci_u16 addr, ci_u8* val) {
    return readMemory(camera, VR_INTMEM_READ, addr, val);
}
ci_error_code USB_Bulk_Write8051Memory(ci_camera_t* camera, ci_u16 addr, ci_u8 mask, ci_u8 val) {
    return writeMemory(camera, VR_INTMEM_WRITE, addr, mask, val);
}
ci_error_code USB_Bulk_ReadSFR(ci_camera_t* camera, ci_u8 addr, ci_u8* val) {
    return readMemory(camera, VR_SFR_READ, addr, val);
}
ci_error_code USB_Bulk_WriteSFR(ci_camera_t* camera, ci_u8 addr, ci_u8 mask, ci_u8 val) {
    return writeMemory(camera, VR_SFR_WRITE, addr, mask, val);
}

ci_error_code USB_Bulk_LoadFrame(ci_camera_t* camera, ci_u8* buffer, ci_u32 size) {
    constexpr ci_u32 kChunk = 0x100000;
    USB_Bulk_Context* usb = _usb_context(camera);
    for (ci_u32 done = 0; done < size; done += kChunk) {
        const ci_u32 chunk = size - done < kChunk ? size - done : kChunk;
        if (!_CILIBUSB_LoadFrame(usb, buffer + done, chunk)) return CI_CAMERA_ERROR;
    }
    return CI_CAMERA_SUCCESS;
}

const USB_INT_DEV_functions kUsbIntDevFunctions = {
    USB_Bulk_SendVRCommand, USB_Bulk_ReadXDATAMemory, USB_Bulk_WriteXDATAMemory, USB_Bulk_Read8051Memory,
    USB_Bulk_Write8051Memory, USB_Bulk_ReadSFR, USB_Bulk_WriteSFR, USB_Bulk_LoadFrame,
};

ci_error_code USB_Bulk_SetShipSpeed(ci_camera_t* camera, ci_u32 speed) {
    const ci_u32 product = productOf(camera);
    if (hasXdataBitRate(product)) return USB_Bulk_WriteXDATAMemory(camera, kBitRateXdata, 1, speed > 299 ? 1 : 0);
    if (product != CI_KITE_3) return CI_CAMERA_NOT_SUPPORTED;
    const ci_u16 rate = speed < 300 ? 0 : speed > 800 ? 2 : 1;
    return _usb_request(camera, VR_SET_I2C_BITRATE, kUsbDirOut, rate, 0, 0, nullptr);
}

ci_error_code USB_Bulk_GetShipSpeed(ci_camera_t* camera, ci_u32* speed) {
    const ci_u32 product = productOf(camera);
    ci_u8 value = 0;
    if (hasXdataBitRate(product)) {
        const ci_error_code rc = USB_Bulk_ReadXDATAMemory(camera, kBitRateXdata, &value);
        if (rc == CI_CAMERA_SUCCESS) *speed = (value & 1) ? 400 : 100;
        return rc;
    }
    if (product != CI_KITE_3) return CI_CAMERA_NOT_SUPPORTED;
    if (_usb_request(camera, VR_GET_I2C_BITRATE, kUsbDirIn, 0, 0, 1, &value) != CI_CAMERA_SUCCESS) {
        return CI_CAMERA_NOT_SUPPORTED;
    }
    *speed = value == 0 ? 100 : value == 1 ? 400 : 1000;
    return CI_CAMERA_SUCCESS;
}

ci_error_code _USB_Bulk_GetVendorData(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    ci_u8 generation = 0;
    ci_error_code rc = _usb_request(camera, VR_USB_VERSION, kUsbDirIn, 0, 0, 1, &generation);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    if (generation != 2 && generation != 3) return CI_CAMERA_ERROR;
    usb->usbVersion = generation;
    if ((rc = readU16(camera, VR_MAX_PKT_SIZE, &usb->maxPacketSize)) != CI_CAMERA_SUCCESS) return rc;
    if ((rc = readU16(camera, VR_MARKER_PKT_SIZE, &usb->markerPacketSize)) != CI_CAMERA_SUCCESS) return rc;
    if ((rc = readU16(camera, VR_MARKER_SIZE, &usb->markerSize)) != CI_CAMERA_SUCCESS) return rc;
    if (usb->markerSize > kUsbMaxMarker) usb->markerSize = kUsbMaxMarker;
    if (usb->markerSize == 0) return CI_CAMERA_SUCCESS;
    return _usb_request(camera, VR_MARKER, kUsbDirIn, 0, 0, usb->markerSize, usb->marker);
}

ci_error_code _resetFifo(ci_camera_t* camera) {
    if (!_usb_is_new_board(camera) && _usb_fw(camera) <= 37) return CI_CAMERA_SUCCESS;
    return _usb_request(camera, VR_RESET_FIFO, kUsbDirOut, 0, 0, 0, nullptr);
}
