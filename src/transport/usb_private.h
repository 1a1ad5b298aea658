// The USB transport's records and the functions its files call across each
// other.  usb_device.cpp is the only file that talks to libusb; the board's
// vendor requests (usb_requests), register transfers (usb_regs*), controller
// memories and bus settings (usb_memories) and the transport proper
// (usb_transport) reach the board through _CILIBUSB_SendVRCommand.
#pragma once

#include "transport/transport_common.h"

// Driver type of the libusb driver (the only one this build creates).
constexpr ci_u32 kUsbDriverLibusb = 3;
constexpr ci_u32 kUsbMaxMarker = 1024;
constexpr ci_u32 kUsbMaxControlData = 64;  // the firmware's control data limit

// The device layer's per-board record.
typedef struct CILIBUSB_driverInfo {
    void* hDevice;  // libusb handle while started, null when stopped
    ci_s32 bDevName;
    ci_u32 index;  // ordinal among matching boards on the bus
    ci_u32 idVendor;
    ci_u32 idProduct;
    ci_u32 bcdDevice;
} CILIBUSB_driverInfo;

// One open board (the camera's transport context).
typedef struct USB_Bulk_Context {
    ci_u32 driverType;
    CILIBUSB_driverInfo* driverInfo;
    char deviceName[260];
    ci_u32 usbVersion;
    ci_u32 maxPacketSize;
    ci_u32 maxTransferSize;
    ci_u32 markerPacketSize;
    ci_u32 markerSize;
    ci_u8 marker[kUsbMaxMarker];
    ci_u32 pixelOffset;
    ci_u32 pixelOffsetSet;
    ci_u32 firmwareVersion;
    ci_u32 vendorID;
    ci_u32 productID;
    ci_u32 kiteMB;
    ci_u32 kiteChip;
    void* transport2Context;
    ci_u32 convert_8_to_16;
    ci_u32 pixelPack;
    ci_u32 rxBoard;
    ci_u32 rxVersion;
    ci_u32 rxFpgaVersion;
    ci_u32 rxChip;
    ci_u32 grabframeTimeout;
    ci_u32 memCaptureMB;
    ci_u32 memCaptureMode;
    ci_u32 memCaptureNumFrames;
    ci_u32 memCaptureCycle;
    ci_u32 memCaptureStart;
    ci_u32 hdmiChip;
    ci_u32 hdmiMode;
    ci_u32 hdmiKite2Crop;  // 0 off, 1 centre, 2 left, 3 right
    ci_u32 hdmiRgb;
    ci_u32 hdmiTxMode;
    ci_u32 hdmiTxVersion;
    ci_u32 stereoBoard;
    ci_u32 stereoVersion;
    ci_u32 stereoChip;
    // Decoded from the last marker packet.
    ci_u32 marker_frameCount;
    ci_u32 marker_frameTime;
    ci_u32 marker_frameSize;
    ci_u32 marker_frameLines;
    ci_u32 marker_lineSize;
    ci_u32 marker_gpio;
    ci_u32 marker_frameStatus;
    ci_u32 marker_eolPadBytes;
    ci_u32 marker_byteCount;
    ci_u32 bytesReceived;
    ci_u32 rxstop;
    ci_u32 rxstop_reg1;
    ci_camera_t* pCamera;
} USB_Bulk_Context;

// The board-internal operations hung on camera->int_dev_functions.
typedef struct USB_INT_DEV_functions {
    ci_error_code (*sendVRCommand)(ci_camera_t* camera, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                                   ci_u32 bufferSize, ci_u8* buffer, ci_s32* bytesTransferred);
    ci_error_code (*readXDATAMem)(ci_camera_t* camera, ci_u16 addr, ci_u8* val);
    ci_error_code (*writeXDATAMem)(ci_camera_t* camera, ci_u16 addr, ci_u8 mask, ci_u8 val);
    ci_error_code (*read8051Mem)(ci_camera_t* camera, ci_u16 addr, ci_u8* val);
    ci_error_code (*write8051Mem)(ci_camera_t* camera, ci_u16 addr, ci_u8 mask, ci_u8 val);
    ci_error_code (*readSFR)(ci_camera_t* camera, ci_u8 addr, ci_u8* val);
    ci_error_code (*writeSFR)(ci_camera_t* camera, ci_u8 addr, ci_u8 mask, ci_u8 val);
    ci_error_code (*loadFrame)(ci_camera_t* camera, ci_u8* buffer, ci_u32 size);
} USB_INT_DEV_functions;

// ------------------------------------------------------------ vendor IDs
// The two known vendor IDs come from CI_USB_VENDOR_IDS ("0xC0DE,0xC0DF"),
// read at each open.  Returns the number of IDs found (0, 1 or 2); a
// malformed value is logged as an error and counts as none.
int _usb_known_vendor_ids(ci_u32 ids[2]);
// 1 for the first known vendor, 2 for the second, 0 for any other.
int _usb_vendor_rank(ci_u32 idVendor, const ci_u32 ids[2], int numIds);

// ------------------------------------------------------------ device layer
// Reads CI_USB_VENDOR_IDS for this open; false when no vendor is known.
bool _CILIBUSB_LoadVendorIds(void);
const ci_u32* _CILIBUSB_VendorIds(int* numIds);
ci_s32 _CILIBUSB_init_lusb(ci_s32 enable);
// Process-wide libusb use count (tests check it drops to 0).
ci_s32 _CILIBUSB_use_count(void);
ci_s32 _bOpenLibUSBDev(ci_u32 index, void** handle, CILIBUSB_driverInfo* info);
ci_s32 _CILIBUSB_InitDriverInfo(USB_Bulk_Context* usb, void* handle);
void _CILIBUSB_FreeDriverInfo(USB_Bulk_Context* usb);
ci_s32 _CILIBUSB_CheckDriverOpen(const USB_Bulk_Context* usb);
ci_s32 _CILIBUSB_StartTransport(USB_Bulk_Context* usb);
void _CILIBUSB_StopTransport(USB_Bulk_Context* usb);
ci_s32 _CILIBUSB_get_vid_pid(USB_Bulk_Context* usb);
ci_s32 _CILIBUSB_SendVRCommand(USB_Bulk_Context* usb, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                               ci_u32 bufferSize, ci_u8* buffer, ci_s32* bytesTransferred);
ci_s32 _CILIBUSB_GrabFrame(USB_Bulk_Context* usb, ci_u8* buffer, ci_u32 bytesRequested, ci_u32* bytesReturned);
ci_s32 _CILIBUSB_GrabFrame_ISO(USB_Bulk_Context* usb, ci_u8* buffer, ci_u32 bytesRequested, ci_u32* bytesReturned);
ci_s32 _CILIBUSB_LoadFrame(USB_Bulk_Context* usb, ci_u8* buffer, ci_u32 size);
void _CILIBUSB_SetDevName(ci_camera_t* camera, ci_s32 flag);
extern CILIBUSB_driverInfo cilibusb_drvinfo_tmp;
extern const char libdvrname[];

// ------------------------------------------------------------ requests
enum USB_VendorRequest : ci_u8 {
    VR_USB_VERSION = 0xFE,
    VR_MAX_PKT_SIZE = 0xFD,
    VR_REG_READ = 0xFC,
    VR_REG_WRITE = 0xFB,
    VR_MARKER_PKT_SIZE = 0xFA,
    VR_MARKER_SIZE = 0xF9,
    VR_MARKER = 0xF8,
    VR_BYTE_WORD = 0xF7,
    VR_PIXCLK_CONFIG = 0xF4,
    VR_POWER_SENSOR = 0xF3,
    VR_REG_READ_X = 0xF2,
    VR_REG_WRITE_X = 0xF1,
    VR_INTMEM_READ_X = 0xED,
    VR_INTMEM_WRITE_X = 0xEC,
    VR_INTMEM_READ = 0xEB,
    VR_INTMEM_WRITE = 0xEA,
    VR_SFR_READ = 0xE9,
    VR_SFR_WRITE = 0xE8,
    VR_I2C_READ_16 = 0xE2,
    VR_I2C_WRITE_16 = 0xE1,
    VR_I2C_WRITE_16_8 = 0xE0,
    VR_I2C_READ_16_8 = 0xDF,
    VR_I2C_READ_X = 0xDE,
    VR_RESET_FIFO = 0xDC,
    VR_I2C_WRITE_STATUS = 0xD7,
    VR_SET_I2C_BITRATE = 0xD9,
    VR_GET_I2C_BITRATE = 0xD8,
    VR_FW_VERSION = 0xA1,
};
constexpr ci_u8 kUsbDirIn = 1;
constexpr ci_u8 kUsbDirOut = 0;

typedef struct ci_USBCommLog {
    ci_s32 nUSBCommand;
    const char* pszCommandDesc;
} ci_USBCommLog;
extern const ci_USBCommLog USBCommand[44];
const char* _getUSBComm(ci_s32 command);
// Writes the request's log line (information logging only).
void _usb_log_request(ci_u8 command, ci_u16 value, ci_u16 index, ci_u32 bufferSize, const ci_u8* buffer);

USB_Bulk_Context* _usb_context(const ci_camera_t* camera);
ci_s32 _USB_Bulk_SendVRCommand(USB_Bulk_Context* usb, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                               ci_u32 bufferSize, ci_u8* buffer, ci_s32* bytesTransferred);
ci_error_code USB_Bulk_SendVRCommand(ci_camera_t* camera, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                                     ci_u32 bufferSize, ci_u8* buffer, ci_s32* bytesTransferred);
// One request that must move exactly `size` bytes: 0, or 1 when it failed
// or moved fewer.
ci_error_code _usb_request(ci_camera_t* camera, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index, ci_u32 size,
                           ci_u8* buffer);

// Firmware tests.
ci_u32 _usb_fw(const ci_camera_t* camera);
bool _usb_is_new_board(const ci_camera_t* camera);
// True on an old board whose firmware version is below `version`.
bool _usb_old_fw_below(const ci_camera_t* camera, ci_u32 version);

// ------------------------------------------------------------ registers
ci_error_code _USB_check_I2C_status(ci_camera_t* camera, ci_u8 status, ci_error_code result);
ci_u8 _USB_get_I2C_write_status(ci_camera_t* camera);
ci_error_code _USB_check_I2C_write_status(ci_camera_t* camera, ci_error_code result);
ci_error_code USB_Bulk_ReadRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val);
ci_error_code USB_Bulk_WriteRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val);
ci_error_code USB_Bulk_ReadRegister16(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val);
ci_error_code USB_Bulk_WriteRegister16(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val);
ci_error_code USB_Bulk_ReadRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                     ci_u32* vals);
ci_error_code USB_Bulk_WriteRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                      ci_u32* vals);
ci_error_code USB_Bulk_GenericRead(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr, ci_u32 dataSize,
                                   ci_u32 count, ci_u32* vals);
ci_error_code USB_Bulk_GenericWrite(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr, ci_u32 dataSize,
                                    ci_u32 count, const ci_u32* vals);
ci_error_code USB_Bulk_ReadSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr, ci_u32 numRegs,
                                           ci_u32* vals);
ci_error_code USB_Bulk_WriteSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr, ci_u32 numRegs,
                                            ci_u32* vals);
ci_s32 break_up_sensor_reg_requests(ci_camera_t* camera, ci_u32 startAddr, ci_u32 numRegs);
// The address increment of a run at shipAddr (1 off the sensor).
ci_u32 _usb_run_increment(ci_camera_t* camera, ci_u32 shipAddr);
// Logs one value of a run (information logging only).
void _usb_log_run_value(bool write, bool generic, ci_u32 i, ci_u32 shipAddr, ci_u32 addrSize, ci_u32 addr,
                        ci_u32 dataSize, ci_u32 value);

// ------------------------------------------------------------ board control
ci_error_code USB_Bulk_ReadXDATAMemory(ci_camera_t* camera, ci_u16 addr, ci_u8* val);
ci_error_code USB_Bulk_WriteXDATAMemory(ci_camera_t* camera, ci_u16 addr, ci_u8 mask, ci_u8 val);
ci_error_code USB_Bulk_Read8051Memory(ci_camera_t* camera, ci_u16 addr, ci_u8* val);
ci_error_code USB_Bulk_Write8051Memory(ci_camera_t* camera, ci_u16 addr, ci_u8 mask, ci_u8 val);
ci_error_code USB_Bulk_ReadSFR(ci_camera_t* camera, ci_u8 addr, ci_u8* val);
ci_error_code USB_Bulk_WriteSFR(ci_camera_t* camera, ci_u8 addr, ci_u8 mask, ci_u8 val);
ci_error_code USB_Bulk_LoadFrame(ci_camera_t* camera, ci_u8* buffer, ci_u32 size);
ci_error_code USB_Bulk_SetShipSpeed(ci_camera_t* camera, ci_u32 speed);
ci_error_code USB_Bulk_GetShipSpeed(ci_camera_t* camera, ci_u32* speed);
ci_error_code _USB_Bulk_GetVendorData(ci_camera_t* camera);
ci_error_code _resetFifo(ci_camera_t* camera);
// The table every USB camera points int_dev_functions at a copy of.
extern const USB_INT_DEV_functions kUsbIntDevFunctions;

// ------------------------------------------------------------ frames
// Largest single bulk request the board takes.
ci_u32 get_max_transfer_size(ci_camera_t* camera);
ci_error_code USB_Bulk_InitTransport(ci_camera_t* camera, ci_u32 nBitsPerClock, ci_u32 nClocksPerPixel,
                                     ci_s32 nPolarity, ci_s32 nPixelOffset, ci_s32 noFWCalls);
ci_error_code USB_Bulk_UpdateFrameSize(ci_camera_t* camera, ci_u32 nWidth, ci_u32 nHeight, ci_s32 nBitsPerClock,
                                       ci_s32 nClocksPerPixel);
ci_error_code USB_Bulk_UpdateRawBufferSize(ci_camera_t* camera);
ci_error_code USB_Bulk_UpdateBufferSize(ci_camera_t* camera, ci_u32 rawBufSize);
ci_error_code USB_Bulk_GrabFrame(ci_camera_t* camera, ci_u8* pInBuffer, ci_u32 bufferSizeCheck);
ci_error_code USB_Bulk_GetFrameData(ci_camera_t* camera, ci_frame_data_t* frameData);
// Decodes the marker packet at buffer + offset into the context and the
// frame data; false (values zeroed) when the pattern is not there.
bool _USB_Bulk_EOFMarker(ci_camera_t* camera, const ci_u8* buffer, ci_u32 offset);
// Clears the pattern and the byte count of the marker packet at `at`.
void _USB_Bulk_ClearMarker(const USB_Bulk_Context* usb, ci_u8* at);
// Expands 10- or 12-bit packed pixels in place to 16 bits.
ci_error_code _USB_Bulk_UnpackData(ci_camera_t* camera, ci_u8* buffer);
// Rebuilds the half-width rows an HDMI board sends into full rows.
void _USB_Bulk_HdmiCrop(ci_camera_t* camera, ci_u8* buffer);
// ------------------------------------------------------------ board chips
// Named registers of the camera's chip `chip` (an index into camera->chip).
ci_u32 _merge(ci_u32 value, ci_u32 mask, ci_u32 field);
ci_reg_data_t* _someRegister(ci_camera_t* camera, ci_u32 chip, const char* name);
ci_u32 _someBitfield(ci_camera_t* camera, ci_u32 chip, const char* reg, const char* bitfield);
ci_error_code _readSomeRegister(ci_camera_t* camera, ci_u32 chip, const char* name, ci_u32* value);
ci_error_code _writeSomeRegister(ci_camera_t* camera, ci_u32 chip, const char* name, ci_u32 value);
ci_error_code _readSomeBitfield(ci_camera_t* camera, ci_u32 chip, const char* reg, const char* bitfield, ci_u32* value);
ci_error_code _writeSomeBitfield(ci_camera_t* camera, ci_u32 chip, const char* reg, const char* bitfield, ci_u32 value);
// Keeps the calling thread's register sizes across chip accesses made on
// the caller's behalf.
class UsbKeepSizes {
public:
    explicit UsbKeepSizes(ci_camera_t* camera);
    ~UsbKeepSizes();
    UsbKeepSizes(const UsbKeepSizes&) = delete;
    UsbKeepSizes& operator=(const UsbKeepSizes&) = delete;

private:
    ci_camera_t* camera_;
    ci_u32 addrSize_ = 8;
    ci_u32 dataSize_ = 16;
};
ci_reg_data_t* _kiteRegister(ci_camera_t* camera, const char* name);
ci_u32 _kiteBitfield(ci_camera_t* camera, const char* reg, const char* bitfield);
ci_error_code _readKiteRegister(ci_camera_t* camera, const char* name, ci_u32* value);
ci_error_code _readKiteBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value);
ci_error_code _writeKiteRegister(ci_camera_t* camera, const char* name, ci_u32 value);
ci_error_code _writeKiteBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32 value);
ci_reg_data_t* _rxRegister(ci_camera_t* camera, const char* name);
ci_u32 _rxBitfield(ci_camera_t* camera, const char* reg, const char* bitfield);
ci_error_code _readRxRegister(ci_camera_t* camera, const char* name, ci_u32* value);
ci_error_code _readRxBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value);
ci_error_code _writeRxRegister(ci_camera_t* camera, const char* name, ci_u32 value);
ci_error_code _writeRxBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32 value);
ci_reg_data_t* _stereoRegister(ci_camera_t* camera, const char* name);
ci_u32 _stereoBitfield(ci_camera_t* camera, const char* reg, const char* bitfield);
ci_error_code _readStereoRegister(ci_camera_t* camera, const char* name, ci_u32* value);
ci_error_code _readStereoBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value);
ci_error_code _writeStereoRegister(ci_camera_t* camera, const char* name, ci_u32 value);
ci_reg_data_t* _hdmiRegister(ci_camera_t* camera, const char* name);
ci_u32 _hdmiBitfield(ci_camera_t* camera, const char* reg, const char* bitfield);
ci_error_code _readHdmiRegister(ci_camera_t* camera, const char* name, ci_u32* value);
ci_error_code _readHdmiBitfield(ci_camera_t* camera, const char* reg, const char* bitfield, ci_u32* value);
ci_error_code _writeHdmiRegister(ci_camera_t* camera, const char* name, ci_u32 value);

// ------------------------------------------------------------ board control
// Board memory and the frames the board keeps in it.
void _initBoardPreSensInit(ci_camera_t* camera);
ci_error_code USB_Bulk_SetHardwareBuffering(ci_camera_t* camera, ci_u32 requested);
// Frame bytes as the board stores them, and the frames that fit.
ci_u32 _usb_board_frame_bytes(ci_camera_t* camera);
ci_u32 _usb_buffer_count(ci_u32 frameBytes, ci_u32 memoryMB, ci_u32 requested);
// Sensor pins (0xFFFFFFFF releases a pin), power and reset.
ci_error_code _setSensorPin(ci_camera_t* camera, ci_u32 pin, ci_u32 value);
ci_error_code _getSensorPin(ci_camera_t* camera, ci_u32 pin, ci_u32* value);
ci_error_code _setSensorPower(ci_camera_t* camera, ci_u32 on);
ci_error_code _getSensorPower(ci_camera_t* camera, ci_u32* on);
ci_error_code _setSensorReset(ci_camera_t* camera, ci_u32 value);
ci_error_code _getSensorReset(ci_camera_t* camera, ci_u32* value);
ci_error_code _setSensorShutdown(ci_camera_t* camera, ci_u32 value);
ci_error_code _getSensorShutdown(ci_camera_t* camera, ci_u32* value);

// The fixed writes a companion processor named in the sensor data file's
// name needs before the sensor is reached.
ci_error_code _USB_Bulk_SetUpCompanion(ci_camera_t* camera, const char* sensorName);

// Receiver and stereo boards programmed from the camera's settings.
bool _usb_is_rx_mode(ci_modes mode);
ci_error_code _USB_Bulk_SetRxMode(ci_camera_t* camera, ci_modes mode, ci_u32 value);
ci_error_code _USB_Bulk_ProgramRx(ci_camera_t* camera);
ci_error_code _USB_Bulk_UpdateRxGeometry(ci_camera_t* camera);
ci_error_code _USB_Bulk_UpdateRxType(ci_camera_t* camera);
ci_error_code _USB_Bulk_SetStereoMode(ci_camera_t* camera, ci_u32 value);
ci_error_code _USB_Bulk_UpdateStereoGeometry(ci_camera_t* camera);
void _USB_Bulk_ReadStereoMode(ci_camera_t* camera);

// HDMI output timing and the frame memory's operation mode.
bool _usb_hdmi_timing_board(ci_u32 rxBoard);
ci_error_code _USB_Bulk_SetHdmiMode(ci_camera_t* camera, ci_u32 mode);
ci_error_code _USB_Bulk_ApplyHdmiMode(ci_camera_t* camera);
ci_error_code _USB_Bulk_RefreshHdmiOpMode(ci_camera_t* camera);

// Receiver and base boards: found once by chip name in the board data.
void _USB_Bulk_GetRxBoardType(ci_camera_t* camera);
// The stereo board: found once by chip name.
void _USB_Bulk_GetStereoBoard(ci_camera_t* camera);
bool _usb_frame_buffer_board(ci_u32 rxBoard);
// The per-product set-up at each start with a sensor.
void _initBoardPostSensInit(ci_camera_t* camera);

// Memory capture on frame-buffer boards.
ci_error_code _memCaptureGrabFrame(ci_camera_t* camera);
ci_error_code _setMemCapture(ci_camera_t* camera, ci_u32 frames);
ci_error_code _setMemCaptureCycle(ci_camera_t* camera, ci_u32 cycle);
// Trigger generator and output port of the camera-link board.
ci_error_code _usb_set_trigger(ci_camera_t* camera, ci_modes mode, ci_u32 value);
ci_error_code _usb_get_trigger(ci_camera_t* camera, ci_modes mode, ci_u32* value);
ci_error_code _usb_set_output_port(ci_camera_t* camera, ci_u32 port);

// Frame counter, frame time and clock polarity.
ci_error_code _usb_hw_frame_count(ci_camera_t* camera, ci_u32* value);
ci_error_code _usb_hw_frame_time(ci_camera_t* camera, ci_u32* value);
// Pixel clock in Hz and frame size (lines << 16 | pixels) measured by the
// board; whether register traffic may run while a frame is read.
ci_error_code _usb_pixclk_freq(ci_camera_t* camera, ci_u32* value);
ci_error_code _usb_detect_frame_size(ci_camera_t* camera, ci_u32* value);
ci_error_code _usb_simul_reg_framegrab(ci_camera_t* camera, ci_u32* value);
ci_error_code _usb_update_clock_polarity(ci_camera_t* camera);

// Pixel width, depth and packing on the board; who unswizzles.
ci_error_code _updatePixel(ci_camera_t* camera);
ci_error_code _SetPixelPack(ci_camera_t* camera, ci_u32 value);
ci_error_code USB_Bulk_SetHardwareUnswizzle(ci_camera_t* camera);

// Marker layouts on the wire.
constexpr ci_u32 kMarkerFrameCountAt = 14;
constexpr ci_u32 kMarkerFrameTimeAt = 16;
constexpr ci_u32 kMarkerFrameSizeAt = 20;
constexpr ci_u32 kMarkerFrameLinesAt = 24;
constexpr ci_u32 kMarkerLineSizeAt = 28;
constexpr ci_u32 kMarkerGpioAt = 32;
constexpr ci_u32 kMarkerFrameStatusAt = 48;
constexpr ci_u32 kMarkerEolPadAt = 64;
