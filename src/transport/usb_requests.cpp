// The board's vendor requests: their names (searched front to back, so the
// order of the table is part of it), the request log line, and the camera
// forms of the control request.
#define CK_SOURCE "transport/usb_requests"
#include <cstdio>
#include <cstring>
#include <string>

#include "transport/usb_private.h"

const ci_USBCommLog USBCommand[44] = {
    {0xFF, "VR_NEW_FRAME"},       {0xFE, "VR_USB_VERSION"},      {0xFD, "VR_MAX_PKT_SIZE"},
    {0xFC, "VR_REG_READ"},        {0xFB, "VR_REG_WRITE"},        {0xFA, "VR_MARKER_PKT_SIZE"},
    {0xF9, "VR_MARKER_SIZE"},     {0xF8, "VR_MARKER"},           {0xF7, "VR_BYTE_WORD"},
    {0xF6, "VR_FIRMWRITE"},       {0xF5, "VR_FIRMREAD"},         {0xF4, "VR_PIXCLK_CONFIG"},
    {0xF3, "VR_POWER_SENSOR"},    {0xF2, "VR_REG_READ_X"},       {0xF1, "VR_REG_WRITE_X"},
    {0xF0, "VR_RESET"},           {0xEF, "VR_I2C_CTL"},          {0xEE, "VR_GET_I2C"},
    {0xED, "VR_INTMEM_READ_X"},   {0xEC, "VR_INTMEM_WRITE_X"},   {0xEB, "VR_INTMEM_READ"},
    {0xEA, "VR_INTMEM_WRITE"},    {0xE9, "VR_SFR_READ"},         {0xE8, "VR_SFR_WRITE"},
    {0xE7, "VR_REG_ADD"},         {0xE2, "VR_I2C_READ_16"},      {0xE1, "VR_I2C_WRITE_16"},
    {0xE0, "VR_I2C_WRITE_16_8"},  {0xDF, "VR_I2C_READ_16_8"},    {0xDE, "VR_I2C_READ_X"},
    {0xDD, "VR_RENUM_PID"},       {0xDC, "VR_RESET_FIFO"},       {0xD7, "VR_I2C_WRITE_STATUS"},
    {0xD9, "VR_SET_I2C_BITRATE"}, {0xD8, "VR_GET_I2C_BITRATE"},  {0xA0, "VR_MEM_WRITE"},
    {0xA1, "VR_FW_VERSION"},      {0xA2, "VR_FORCE_HOST_MODE"},  {0xA3, "VR_COLD_RESET"},
    {0xBA, "VR_EEPROM_WRITE"},    {0xBB, "VR_EEPROM_READ"},      {0xC2, "VR_FLASH_WRITE"},
    {0xC3, "VR_FLASH_READ"},      {0xC4, "VR_FLASH_ERASE"},
};

const char* _getUSBComm(ci_s32 command) {
    for (const ci_USBCommLog& row : USBCommand) {
        if (row.nUSBCommand == command) return row.pszCommandDesc;
    }
    static char unknown[16];
    snprintf(unknown, sizeof unknown, "0x%02X", (unsigned)command);
    return unknown;
}

void _usb_log_request(ci_u8 command, ci_u16 value, ci_u16 index, ci_u32 bufferSize, const ci_u8* buffer) {
    if (!ci_isInfoLogEnabled()) return;
    char part[96];
    snprintf(part, sizeof part, "Vendor Command: %s, value=0x%X, index=0x%X, buffSize=%d", _getUSBComm(command),
             (unsigned)value, (unsigned)index, (int)bufferSize);
    std::string line = part;
    const ci_u32 shown = buffer != nullptr ? (bufferSize & 0xFFFF) : 0;
    for (ci_u32 i = 0; i < shown; i++) {
        snprintf(part, sizeof part, i == 0 ? ", buff[]=0x%X" : ", 0x%X", (unsigned)buffer[i]);
        line += part;
    }
    ci_Msglog(CI_LOG_USB, line.c_str(), "transport/usb_device", "_CILIBUSB_SendVRCommand", __LINE__);
}

USB_Bulk_Context* _usb_context(const ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    return ctx != nullptr ? static_cast<USB_Bulk_Context*>(ctx->transport_context) : nullptr;
}

ci_s32 _USB_Bulk_SendVRCommand(USB_Bulk_Context* usb, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                               ci_u32 bufferSize, ci_u8* buffer, ci_s32* bytesTransferred) {
    if (usb == nullptr) return 1;
    return _CILIBUSB_SendVRCommand(usb, command, direction, value, index, bufferSize, buffer, bytesTransferred);
}

ci_error_code USB_Bulk_SendVRCommand(ci_camera_t* camera, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                                     ci_u32 bufferSize, ci_u8* buffer, ci_s32* bytesTransferred) {
    return (ci_error_code)_USB_Bulk_SendVRCommand(_usb_context(camera), command, direction, value, index, bufferSize,
                                                  buffer, bytesTransferred);
}

ci_error_code _usb_request(ci_camera_t* camera, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                           ci_u32 size, ci_u8* buffer) {
    ci_s32 moved = 0;
    if (USB_Bulk_SendVRCommand(camera, command, direction, value, index, size, buffer, &moved) != 0) {
        return CI_CAMERA_ERROR;
    }
    return moved == (ci_s32)size ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
}

ci_u32 _usb_fw(const ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return usb != nullptr ? (usb->firmwareVersion & 0xFFFF) : 0;
}

bool _usb_is_new_board(const ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return usb != nullptr && usb->productID == CI_KITE_3;
}

bool _usb_old_fw_below(const ci_camera_t* camera, ci_u32 version) {
    return !_usb_is_new_board(camera) && _usb_fw(camera) < version;
}
