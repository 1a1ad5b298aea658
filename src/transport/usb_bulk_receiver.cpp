// The receiver and stereo boards' set-up from the camera's receiver and
// stereo settings: each setting lives in a named register (or a bitfield of
// one) of the board's chip, so a board whose chip file lacks a name simply
// does not take that setting.
#define CK_SOURCE "transport/usb_bulk_receiver"
#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kBaseBoard = 9;

// Where one receiver setting goes; a null bitfield means the whole register.
struct RxSetting {
    ci_modes mode;
    const char* reg;
    const char* bitfield;
};

constexpr RxSetting kRxSettings[] = {
    {CI_RX_TYPE, "RxControl", "RxType"},
    {CI_RX_MODE, "RxControl", "RxMode"},
    {CI_RX_CLASS, "RxControl", "RxClass"},
    {CI_RX_EMBEDDED_DATA, "RxControl", "EmbeddedData"},
    {CI_RX_MSB_FIRST, "RxControl", "MsbFirst"},
    {CI_RX_INTERLACED, "RxControl", "Interlaced"},
    {CI_RX_VIRTUAL_CHANNEL, "RxControl", "VirtualChannel"},
    {CI_RX_CCIR656, "RxControl", "CCIR656"},
    {CI_RX_LANES, "RxLanes", nullptr},
    {CI_RX_BIT_DEPTH, "RxBitDepth", nullptr},
    {CI_RX_SYNC_CODE, "RxSyncCode", nullptr},
};

bool hasReceiver(const USB_Bulk_Context* usb) { return usb->rxBoard > 1; }

// The setting's value as the camera's mode store has it.
ci_error_code writeSetting(ci_camera_t* camera, const RxSetting& s) {
    ci_u32 value = 0;
    const ci_error_code rc = _GetMode(camera, s.mode, &value);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    if (s.bitfield == nullptr) return _writeRxRegister(camera, s.reg, value);
    return _writeRxBitfield(camera, s.reg, s.bitfield, value);
}

// Keeps the first failure of a sequence of writes.
void keepFirst(ci_error_code* first, ci_error_code rc) {
    if (*first == CI_CAMERA_SUCCESS) *first = rc;
}

}  // namespace

bool _usb_is_rx_mode(ci_modes mode) {
    for (const RxSetting& s : kRxSettings) {
        if (s.mode == mode) return true;
    }
    return false;
}

ci_error_code _USB_Bulk_ProgramRx(ci_camera_t* camera) {
    if (!hasReceiver(_usb_context(camera))) return CI_CAMERA_SUCCESS;
    ci_error_code first = CI_CAMERA_SUCCESS;
    for (const RxSetting& s : kRxSettings) keepFirst(&first, writeSetting(camera, s));
    keepFirst(&first, _USB_Bulk_UpdateRxGeometry(camera));
    return first;
}

ci_error_code _USB_Bulk_UpdateRxGeometry(ci_camera_t* camera) {
    if (!hasReceiver(_usb_context(camera)) || camera->sensor == nullptr) return CI_CAMERA_SUCCESS;
    ci_error_code first = CI_CAMERA_SUCCESS;
    keepFirst(&first, _writeRxRegister(camera, "RxWidth", camera->sensor->width));
    keepFirst(&first, _writeRxRegister(camera, "RxHeight", camera->sensor->height));
    return first;
}

// The newest board's base FPGA takes the sensor's input type itself.
ci_error_code _USB_Bulk_UpdateRxType(ci_camera_t* camera) {
    if (_usb_context(camera)->productID != CI_KITE_3) return CI_CAMERA_SUCCESS;
    const ci_u32 type = (ci_u32)_ctx(camera)->rxType;
    if (type == (ci_u32)CI_RX_UNKNOWN) return CI_CAMERA_SUCCESS;
    return _writeKiteBitfield(camera, "RxControl", "RxType", type);
}

ci_error_code _USB_Bulk_SetRxMode(ci_camera_t* camera, ci_modes mode, ci_u32 value) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    if (mode == CI_RX_CCIR656 && usb->rxBoard != kBaseBoard) return CI_CAMERA_NOT_SUPPORTED;
    const ci_error_code stored = _SetMode(camera, mode, value);
    if (stored != CI_CAMERA_SUCCESS) return stored;
    ci_error_code rc = _USB_Bulk_ProgramRx(camera);
    if (mode == CI_RX_TYPE && rc == CI_CAMERA_SUCCESS) rc = _USB_Bulk_UpdateRxType(camera);
    return rc;
}

ci_error_code _USB_Bulk_UpdateStereoGeometry(ci_camera_t* camera) {
    if (_usb_context(camera)->stereoBoard == 0 || camera->sensor == nullptr) return CI_CAMERA_SUCCESS;
    ci_error_code first = CI_CAMERA_SUCCESS;
    keepFirst(&first, _writeStereoRegister(camera, "StereoWidth", camera->sensor->width));
    keepFirst(&first, _writeStereoRegister(camera, "StereoHeight", camera->sensor->height));
    keepFirst(&first, _writeStereoRegister(camera, "StereoBitDepth", _ctx(camera)->bitsPerClock));
    return first;
}

ci_error_code _USB_Bulk_SetStereoMode(ci_camera_t* camera, ci_u32 value) {
    if (value > (ci_u32)CI_STEREO_BLEND) return CK_ERR(CI_CAMERA_NOT_SUPPORTED, "no such stereo mode");
    const ci_error_code stored = _SetMode(camera, CI_STEREO_MODE, value);
    if (stored != CI_CAMERA_SUCCESS || _usb_context(camera)->stereoBoard == 0) return stored;
    return _writeStereoRegister(camera, "STEREO_MODE", value);
}

// The stereo board's head selection as the board has it.
void _USB_Bulk_ReadStereoMode(ci_camera_t* camera) {
    if (_usb_context(camera)->stereoBoard == 0) return;
    ci_u32 mode = 0;
    if (_readStereoRegister(camera, "STEREO_MODE", &mode) == CI_CAMERA_SUCCESS) {
        _SetMode(camera, CI_STEREO_MODE, mode);
    }
}
