// Runs of registers and the generic transfers that carry any address and
// data size: one bus transaction each, split by the callers so that a read
// stays within the firmware's 64-byte control data.
#define CK_SOURCE "transport/usb_regs"
#include <algorithm>
#include <cstdio>
#include <vector>

#include "transport/usb_private.h"

namespace {

constexpr ci_u8 kStatusNone = 8;

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

ci_u16 shipValue(ci_u32 shipAddr, ci_u32 low) { return (ci_u16)(((shipAddr & 0xFF) << 8) | (low & 0xFF)); }

// The address's most significant byte for its size (the low byte up to 8 bits).
ci_u32 firstAddressByte(ci_u32 addrSize, ci_u32 addr) {
    return addrSize > 8 ? (addr >> (addrSize - 8)) & 0xFF : addr & 0xFF;
}

// The address bytes after the first, most significant first.
void appendAddressTail(std::vector<ci_u8>& out, ci_u32 addrSize, ci_u32 addr) {
    for (ci_s32 shift = (ci_s32)addrSize - 16; shift >= 0; shift -= 8) out.push_back((ci_u8)(addr >> shift));
}

void appendValue(std::vector<ci_u8>& out, ci_u32 dataSize, ci_u32 value) {
    for (ci_s32 shift = (ci_s32)dataSize - 8; shift >= 0; shift -= 8) out.push_back((ci_u8)(value >> shift));
}

ci_u32 valueAt(const ci_u8* bytes, ci_u32 dataBytes) {
    ci_u32 value = 0;
    for (ci_u32 b = 0; b < dataBytes; b++) value = (value << 8) | bytes[b];
    return value;
}

// n data bytes then a status byte, capped at 64 bytes: the status counts only
// when all n + 1 bytes arrived.
ci_u8 trailingStatus(const std::vector<ci_u8>& reply, ci_u32 n, ci_u32 received) {
    return received == n + 1 ? reply[n] : kStatusNone;
}

// The address step of the value log of a generic transfer.
ci_u32 loggedIncrement(ci_camera_t* camera, ci_u32 dataSize) {
    const ci_u32 inc = ci_GetAddrIncrement(camera, CI_REG_ADDR);
    const bool sameData = camera->sensor != nullptr && camera->sensor->reg_data_size == dataSize;
    return sameData && inc == 1 ? inc : std::max<ci_u32>(dataSize / 8, 1);
}

void logValues(ci_camera_t* camera, bool write, bool generic, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr,
               ci_u32 dataSize, ci_u32 count, const ci_u32* vals, ci_u32 increment) {
    if (!ci_isInfoLogEnabled()) return;
    (void)camera;
    for (ci_u32 i = 0; i < count; i++) {
        _usb_log_run_value(write, generic, i, shipAddr, addrSize, addr + i * increment, dataSize, vals[i]);
    }
}

}  // namespace

void _usb_log_run_value(bool write, bool generic, ci_u32 i, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr,
                        ci_u32 dataSize, ci_u32 value) {
    char line[160];
    int used = 0;
    const int a = (int)addrSize, d = (int)dataSize;
    if (write) {
        used = i == 0 ? snprintf(line, sizeof line, "Multiple Write: shipAddr=0x%02X, (%2d)regAddr=0x%02X, (%2d)write=",
                                 shipAddr, a, addr, d)
                      : snprintf(line, sizeof line, "                         [%2d]  (%2d)regAddr=0x%02X, (%2d)write=",
                                 (int)i, a, addr, d);
    } else if (generic) {
        used = i == 0 ? snprintf(line, sizeof line, "Multiple  Read: shipAddr=0x%02X, (%2d)regAddr=0x%04X, (%2d)read= ",
                                 shipAddr, a, addr, d)
                      : snprintf(line, sizeof line, "                         [%2d]  (%2d)regAddr=0x%04X, (%2d)read= ",
                                 (int)i, a, addr, d);
    } else {
        used = i == 0 ? snprintf(line, sizeof line, "Multiple  Read: shipAddr=0x%02X, ( 8)regAddr=0x%02X,   (%2d)read= ",
                                 shipAddr, addr, d)
                      : snprintf(line, sizeof line, "                         [%2d]  ( 8)regAddr=0x%02X,   (%2d)read= ",
                                 (int)i, addr, d);
    }
    const char* format = dataSize <= 8 ? "0x%02X" : dataSize <= 16 ? "0x%04X" : "0x%08X";
    snprintf(line + used, sizeof line - (size_t)used, format, value);
    ci_Msglog(CI_LOG_SHIP, line, CK_SOURCE, write ? "USB_Bulk_GenericWrite" : "USB_Bulk_ReadRegisters", __LINE__);
}

ci_u32 _usb_run_increment(ci_camera_t* camera, ci_u32 shipAddr) {
    if (camera->sensor == nullptr || camera->sensor->shipAddr != shipAddr) return 1;
    return ci_GetAddrIncrement(camera, CI_REG_ADDR);
}

ci_error_code USB_Bulk_GenericRead(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr,
                                   ci_u32 dataSize, ci_u32 count, ci_u32* vals) {
    if (_usb_old_fw_below(camera, 35)) return CI_CAMERA_NOT_SUPPORTED;
    if (addrSize > 0) {
        std::vector<ci_u8> tail;
        appendAddressTail(tail, addrSize, addr);
        ci_u32 sent = 0;
        ci_error_code rc = transfer(camera, VR_REG_WRITE_X, kUsbDirOut, shipValue(shipAddr, firstAddressByte(addrSize, addr)),
                                    1, (ci_u32)tail.size(), tail.data(), &sent);
        rc = _USB_check_I2C_write_status(camera, rc);
        if (rc != CI_CAMERA_SUCCESS) {
            char message[64];
            snprintf(message, sizeof message, "Error writing shipAddr=0x%02X", shipAddr);
            return CK_ERR(rc, message);
        }
    }
    const ci_u32 dataBytes = dataSize / 8;
    const ci_u32 n = dataBytes * count;
    const ci_u32 length = std::min<ci_u32>(n + 1, kUsbMaxControlData);
    std::vector<ci_u8> reply(std::max<ci_u32>(n + 1, kUsbMaxControlData), 0);
    ci_u32 received = 0;
    const ci_error_code rc =
        transfer(camera, VR_I2C_READ_X, kUsbDirIn, shipValue(shipAddr, 0), (ci_u16)n, length, reply.data(), &received);
    for (ci_u32 i = 0; i < count; i++) vals[i] = valueAt(&reply[i * dataBytes], dataBytes);
    logValues(camera, false, true, shipAddr, addrSize, addr, dataSize, count, vals, loggedIncrement(camera, dataSize));
    return _USB_check_I2C_status(camera, trailingStatus(reply, n, received), rc);
}

ci_error_code USB_Bulk_GenericWrite(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr,
                                    ci_u32 dataSize, ci_u32 count, const ci_u32* vals) {
    if (_usb_old_fw_below(camera, 35)) return CI_CAMERA_NOT_SUPPORTED;
    std::vector<ci_u8> data;
    appendAddressTail(data, addrSize, addr);
    for (ci_u32 i = 0; i < count; i++) appendValue(data, dataSize, vals[i]);
    ci_u32 sent = 0;
    ci_error_code rc = transfer(camera, VR_REG_WRITE_X, kUsbDirOut, shipValue(shipAddr, firstAddressByte(addrSize, addr)),
                                1, (ci_u32)data.size(), data.data(), &sent);
    rc = _USB_check_I2C_write_status(camera, rc);
    logValues(camera, true, true, shipAddr, addrSize, addr, dataSize, count, vals, loggedIncrement(camera, dataSize));
    return rc;
}

// One burst read with an 8-bit start address (VR_REG_READ_X).
static ci_error_code _usb_burst_read(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 dataSize,
                                     ci_u32 count, ci_u32* vals, ci_u32 increment) {
    const ci_u32 dataBytes = dataSize == 16 ? 2 : 1;
    const ci_u32 n = dataBytes * count;
    std::vector<ci_u8> reply(std::max<ci_u32>(n + 1, kUsbMaxControlData), 0);
    ci_u32 received = 0;
    const ci_error_code rc = transfer(camera, VR_REG_READ_X, kUsbDirIn, shipValue(shipAddr, startAddr), (ci_u16)n,
                                      std::min<ci_u32>(n + 1, kUsbMaxControlData), reply.data(), &received);
    for (ci_u32 i = 0; i < count; i++) vals[i] = valueAt(&reply[i * dataBytes], dataBytes);
    logValues(camera, false, false, shipAddr, 8, startAddr, dataSize, count, vals, increment);
    return _USB_check_I2C_status(camera, trailingStatus(reply, n, received), rc);
}

// Generic reads of at most 64 bytes each; CI_CAMERA_NOT_SUPPORTED when the
// firmware has no generic read.
static ci_error_code _usb_chunked_read(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 startAddr,
                                       ci_u32 dataSize, ci_u32 count, ci_u32* vals, ci_u32 increment) {
    const ci_u32 perChunk = kUsbMaxControlData / std::max<ci_u32>(dataSize / 8, 1);
    for (ci_u32 done = 0; done < count;) {
        const ci_u32 chunk = std::min(perChunk, count - done);
        const ci_error_code rc =
            USB_Bulk_GenericRead(camera, shipAddr, addrSize, startAddr + done * increment, dataSize, chunk, vals + done);
        if (rc != CI_CAMERA_SUCCESS) return rc;
        done += chunk;
    }
    return CI_CAMERA_SUCCESS;
}

// One register at a time until the first error; a 16-bit-address pair of
// 8-bit registers travels as one 16-bit value.
static ci_error_code _usb_read_one_by_one(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 count,
                                          ci_u32* vals, ci_u32 increment) {
    _tl_context_t* tl = _thread_local_context(camera);
    ci_u32 addr = startAddr;
    for (ci_u32 i = 0; i < count;) {
        ci_error_code rc;
        if (tl->reg_addr_size == 16 && tl->reg_data_size == 8 && count - i >= 2) {
            ci_u32 pair = 0;
            tl->reg_data_size = 16;
            rc = USB_Bulk_ReadRegister(camera, shipAddr, addr, &pair);
            tl->reg_data_size = 8;
            vals[i] = (pair >> 8) & 0xFF;
            vals[i + 1] = pair & 0xFF;
            i += 2;
            addr += 2;
        } else {
            rc = USB_Bulk_ReadRegister(camera, shipAddr, addr, &vals[i]);
            i += 1;
            addr += increment;
        }
        if (rc != CI_CAMERA_SUCCESS) return rc;
    }
    return CI_CAMERA_SUCCESS;
}

ci_error_code USB_Bulk_ReadRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                     ci_u32* vals) {
    if (vals == nullptr) return numRegs == 0 ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
    const _tl_context_t* tl = _thread_local_context(camera);
    const ci_u32 addrSize = (ci_u32)tl->reg_addr_size;
    const ci_u32 dataSize = (ci_u32)tl->reg_data_size;
    const ci_u32 n = dataSize * numRegs / 8;
    const ci_u32 increment = _usb_run_increment(camera, shipAddr);
    const bool fastPath = addrSize == 8 && (((dataSize == 8 || dataSize == 16) && n < 64) || (dataSize == 16 && n < 65));
    if (!fastPath) {
        const ci_error_code rc =
            _usb_chunked_read(camera, shipAddr, addrSize, startAddr, dataSize, numRegs, vals, increment);
        if (rc != CI_CAMERA_NOT_SUPPORTED) return rc;
    }
    const bool burst = (_usb_is_new_board(camera) || _usb_fw(camera) > 9) && n <= kUsbMaxControlData && addrSize <= 8;
    if (burst) return _usb_burst_read(camera, shipAddr, startAddr, dataSize, numRegs, vals, increment);
    return _usb_read_one_by_one(camera, shipAddr, startAddr, numRegs, vals, increment);
}

// One burst write (VR_REG_WRITE_X with index 0) of `count` values.
static ci_error_code _usb_burst_write(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr,
                                      ci_u32 dataSize, ci_u32 count, const ci_u32* vals) {
    std::vector<ci_u8> data;
    appendAddressTail(data, addrSize, addr);
    for (ci_u32 i = 0; i < count; i++) appendValue(data, dataSize, vals[i]);
    ci_u32 sent = 0;
    const ci_error_code rc = transfer(camera, VR_REG_WRITE_X, kUsbDirOut,
                                      shipValue(shipAddr, firstAddressByte(addrSize, addr)), 0, (ci_u32)data.size(),
                                      data.data(), &sent);
    return _USB_check_I2C_write_status(camera, rc);
}

ci_error_code USB_Bulk_WriteRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                      ci_u32* vals) {
    if (vals == nullptr) return numRegs == 0 ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
    const ci_u32 increment = _usb_run_increment(camera, shipAddr);
    if (!_usb_is_new_board(camera) && _usb_fw(camera) <= 9) {
        for (ci_u32 i = 0; i < numRegs; i++) {
            const ci_error_code rc = USB_Bulk_WriteRegister(camera, shipAddr, startAddr + i * increment, vals[i]);
            if (rc != CI_CAMERA_SUCCESS) return rc;
        }
        return CI_CAMERA_SUCCESS;
    }
    const _tl_context_t* tl = _thread_local_context(camera);
    const ci_u32 addrSize = (ci_u32)tl->reg_addr_size;
    const ci_u32 dataSize = (ci_u32)tl->reg_data_size;
    const ci_u32 extraAddrBytes = addrSize >= 8 ? addrSize / 8 - 1 : 0;
    const ci_u32 dataBytes = std::max<ci_u32>(dataSize / 8, 1);
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 done = 0; done < numRegs;) {
        const ci_u32 chunk = std::min(numRegs - done, (kUsbMaxControlData - extraAddrBytes) / dataBytes);
        if (chunk == 0) break;
        rc = _usb_burst_write(camera, shipAddr, addrSize, startAddr + done * increment, dataSize, chunk, vals + done);
        done += chunk;
    }
    return rc != CI_CAMERA_SUCCESS ? CK_ERR(rc, "") : rc;
}
