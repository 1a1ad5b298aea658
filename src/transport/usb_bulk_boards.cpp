// The boards around the main FPGA: which receiver or base board the board
// data names, what it holds (frame memory, HDMI output, packing), and the
// per-product set-up after the sensor is known.
#define CK_SOURCE "transport/usb_bulk_boards"
#include <strings.h>

#include <initializer_list>
#include <iterator>

#include "transport/usb_private.h"

namespace {

struct BoardName {
    const char* chipName;
    ci_u32 type;
};

// Chip names of the board data files, by receiver-board type.
constexpr BoardName kReceiverBoards[] = {
    {"CK_RX_MIPI2", 2},  {"CK_RX_SERIAL", 3},  {"CK_RX_HDMI", 4},   {"CK_RX_DESER", 5},
    {"CK_RX_HDMI_S", 6}, {"CK_RX_HDMI_XS", 7}, {"CK_RX_HDMI_B", 8}, {"CK_RX_CAMLINK", 10},
};
constexpr BoardName kBaseBoards[] = {{"CK_MAIN_FPGA3", 9}};
constexpr BoardName kStereoBoards[] = {{"CK_STEREO", 1}};

bool findBoard(const ci_camera_t* camera, const BoardName* table, size_t n, ci_u32* type, ci_u32* chip) {
    for (ci_s32 i = 0; i < camera->num_chips; i++) {
        for (size_t k = 0; k < n; k++) {
            if (strcasecmp(camera->chip[i].chipName, table[k].chipName) != 0) continue;
            *type = table[k].type;
            *chip = (ci_u32)i;
            return true;
        }
    }
    return false;
}

bool isHdmiReceiver(ci_u32 type) { return type == 4 || type == 6 || type == 7 || type == 8; }

void sizeMemory(ci_camera_t* camera, USB_Bulk_Context* usb) {
    ci_u32 reg5 = 0, reg6 = 0;
    if (isHdmiReceiver(usb->rxBoard)) {
        _readRxRegister(camera, "ControlReg5", &reg5);
        const bool small = usb->rxBoard == 6 || usb->rxBoard == 7;
        usb->memCaptureMB = small ? ((reg5 & 0x4000) ? 512 : 256) : 1024;
        usb->pixelPack = 1;
        usb->hdmiTxMode = (reg5 & 0x8000) ? 2 : 1;
    } else if (usb->rxBoard == 9) {
        _readRxRegister(camera, "ControlReg6", &reg6);
        usb->memCaptureMB = (reg6 & 0x8000) ? 512 : 128;
        usb->hdmiTxMode = 2;
    } else if (usb->rxBoard == 10) {
        usb->memCaptureMB = 2048;
        usb->pixelPack = 1;
    }
}

void readHdmiMode(ci_camera_t* camera, USB_Bulk_Context* usb) {
    ci_u32 enabled = 0, lines = 0, videoClock = 0;
    if (!_usb_frame_buffer_board(usb->rxBoard)) return;
    _readRxBitfield(camera, "ControlReg2", "HdmiEnable", &enabled);
    if (!enabled) return;
    _readRxRegister(camera, "ActiveLines", &lines);
    _readRxBitfield(camera, "ControlReg2", "VideoClkSel", &videoClock);
    usb->hdmiMode = lines == 720 ? 2 : videoClock ? 1 : 3;
}

void setUpReceiver(ci_camera_t* camera, USB_Bulk_Context* usb) {
    if (usb->rxBoard == 5) {
        _writeRxRegister(camera, "DESER_SYNCLOC2", 2);
        _writeRxRegister(camera, "CCPREG", 0x4000);
        _writeRxRegister(camera, "DESER_ROWS_UPPER", 0);
        _writeRxRegister(camera, "DESER_COLUMNS_UPPER", 0);
    }
    if (usb->rxBoard >= 6 && _rxBitfield(camera, "ControlReg3", "SDRAMTripleBuffer") != 0) {
        _writeRxBitfield(camera, "ControlReg3", "SDRAMTripleBuffer", 1);
    }
    const bool videoBoard = usb->rxBoard == 6 || usb->rxBoard == 7 || usb->rxBoard == 8 || usb->rxBoard == 10;
    if (usb->productID == CI_KITE_3 && videoBoard) {
        _writeRxBitfield(camera, "ControlReg3", "SDRAMMode", 8);
        _writeRxBitfield(camera, "ControlReg1", "VideoSource", 0);
        _writeRxBitfield(camera, "ControlReg1", "BufferMode", 3);
        _writeRxBitfield(camera, "ControlReg1", "FX3InterfaceMode", 1);
        _setSensorPower(camera, 0);
        _writeRxBitfield(camera, "ControlReg2", "KiteOutputRate", 1);
        _writeRxBitfield(camera, "ControlReg2", "VideoClkSel", 1);
    }
}

void driveLow(ci_camera_t* camera, std::initializer_list<ci_u32> pins) {
    for (ci_u32 pin : pins) _setSensorPin(camera, pin, 0);
}

// A register of the main FPGA by address, at the chip's sizes.
ci_error_code cameraChipRead(ci_camera_t* camera, ci_u32 addr, ci_u32* value) {
    if (camera->num_chips == 0) return CI_CAMERA_NOT_SUPPORTED;
    const ci_chip_t* chip = &camera->chip[_usb_context(camera)->kiteChip];
    _SetMode(camera, CI_REG_ADDR_SIZE, chip->serial_addr_size);
    _SetMode(camera, CI_REG_DATA_SIZE, chip->serial_data_size);
    return camera->readRegister(camera, chip->baseAddr, addr, value);
}

ci_error_code cameraChipWrite(ci_camera_t* camera, ci_u32 addr, ci_u32 value) {
    if (camera->num_chips == 0) return CI_CAMERA_NOT_SUPPORTED;
    const ci_chip_t* chip = &camera->chip[_usb_context(camera)->kiteChip];
    _SetMode(camera, CI_REG_ADDR_SIZE, chip->serial_addr_size);
    _SetMode(camera, CI_REG_DATA_SIZE, chip->serial_data_size);
    return camera->writeRegister(camera, chip->baseAddr, addr, value);
}

// The older mid-range board by revision.
void setUpRevisions(ci_camera_t* camera, ci_u32 type) {
    const ci_u32 version = camera->productVersion;
    if (version < 176) {
        if (type == 7) cameraChipWrite(camera, 0, 2);
        cameraChipWrite(camera, 3, type == 7 ? 0 : 1);
    }
    ci_u32 reg16 = 0;
    if (version > 178 && cameraChipRead(camera, 16, &reg16) == CI_CAMERA_SUCCESS) {
        cameraChipWrite(camera, 16, _merge(reg16, 0x1000, type == 7));
    }
    if (version > 180) driveLow(camera, {3, 4});
}

ci_u32 sensorType(const ci_camera_t* camera) {
    return camera->sensor != nullptr ? (ci_u32)camera->sensor->sensorType : 0;
}

}  // namespace

namespace {
void setUpProduct(ci_camera_t* camera);
}  // namespace

bool _usb_frame_buffer_board(ci_u32 rxBoard) { return rxBoard == 4 || (rxBoard >= 6 && rxBoard <= 10); }

void _USB_Bulk_GetRxBoardType(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb->rxBoard != 0) return;
    usb->rxBoard = 1;
    ci_u32 type = 0, chip = 0;
    if (!findBoard(camera, kReceiverBoards, std::size(kReceiverBoards), &type, &chip) &&
        !findBoard(camera, kBaseBoards, std::size(kBaseBoards), &type, &chip)) {
        return;
    }
    usb->rxBoard = type;
    usb->rxChip = chip;
    _readRxRegister(camera, "CHIP_VERSION_REG", &usb->rxVersion);
    _readRxRegister(camera, "VERSION", &usb->rxFpgaVersion);
    if (usb->rxBoard == 3 && usb->rxVersion == 204) usb->rxBoard = 5;
    if (usb->rxBoard == 4 && usb->rxVersion == 206) usb->rxBoard = 8;
    if (isHdmiReceiver(usb->rxBoard)) usb->hdmiChip = usb->rxChip;
    if (usb->rxBoard == 10) usb->hdmiChip = usb->kiteChip;
    setUpReceiver(camera, usb);
    sizeMemory(camera, usb);
    readHdmiMode(camera, usb);
}

void _USB_Bulk_GetStereoBoard(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb->stereoBoard != 0) return;
    ci_u32 found = 0, chip = 0;
    if (!findBoard(camera, kStereoBoards, std::size(kStereoBoards), &found, &chip)) return;
    usb->stereoBoard = found;
    usb->stereoChip = chip;
    _readStereoRegister(camera, "CHIP_VERSION_REG", &usb->stereoVersion);
}

void _initBoardPostSensInit(ci_camera_t* camera) {
    // The caller's register sizes survive the board's chip accesses.
    ci_u32 addrSize = 8, dataSize = 16;
    _GetMode(camera, CI_REG_ADDR_SIZE, &addrSize);
    _GetMode(camera, CI_REG_DATA_SIZE, &dataSize);
    _usb_update_clock_polarity(camera);
    setUpProduct(camera);
    _SetMode(camera, CI_REG_ADDR_SIZE, addrSize);
    _SetMode(camera, CI_REG_DATA_SIZE, dataSize);
}

namespace {

// The product's own set-up.
void setUpProduct(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    const ci_u32 type = sensorType(camera);
    const ci_u32 rate = type == 22 ? 100 : 400;
    switch (usb->productID) {
        case 0x1002:
            USB_Bulk_SetShipSpeed(camera, 400);
            break;
        case CI_KITE_2:
            setUpRevisions(camera, type);
            USB_Bulk_SetShipSpeed(camera, 100);
            break;
        case CI_KESTR:
        case CI_KESTR_XL: {
            ci_u32 clock = 0;
            _readKiteRegister(camera, "CLOCK_CONTROL", &clock);
            _writeKiteRegister(camera, "CLOCK_CONTROL", _merge(clock, 7, 5));
            USB_Bulk_SetShipSpeed(camera, 400);
            break;
        }
        case CI_KITE_2X: {
            ci_u32 format = 0;
            _readKiteRegister(camera, "FORMAT_CONTROL_REG", &format);
            _writeKiteRegister(camera, "FORMAT_CONTROL_REG", _merge(format, 0x1000, type == 7));
            if (type == 95 || type == 99)
                driveLow(camera, {3, 7});
            else
                driveLow(camera, {3, 4});
            USB_Bulk_SetShipSpeed(camera, rate);
            break;
        }
        case CI_KITE_3:
            if (type == 75 || type == 104 || type == 115) {
                driveLow(camera, {5});
            } else if (type == 95 || type == 99) {
                driveLow(camera, {3});
            } else {
                driveLow(camera, {3, 4});
                _setSensorPin(camera, 5, 0xFFFFFFFF);
            }
            USB_Bulk_SetShipSpeed(camera, rate);
            break;
        default:
            break;
    }
}

}  // namespace
