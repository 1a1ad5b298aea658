// The USB transport: finds the boards of the known vendors, identifies each
// one (vendor data, firmware version, sensor) and leaves it stopped; the
// application's start re-opens it by its index on the bus.
#define CK_SOURCE "transport/usb_transport"
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "transport/usb_private.h"

namespace {

constexpr ci_s32 kMaxBoards = 16;
constexpr ci_u8 kDefaultMarker[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0xAA};

// Neutral names of the two configured vendors, for the driver description.
const char* vendorSuffix(ci_u32 vendorID) {
    int numIds = 0;
    const ci_u32* ids = _CILIBUSB_VendorIds(&numIds);
    switch (_usb_vendor_rank(vendorID, ids, numIds)) {
        case 1:
            return " (first vendor)";
        case 2:
            return " (second vendor)";
        default:
            return "";
    }
}

ci_error_code startTransport(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb == nullptr) return CI_CAMERA_ERROR;
    if (_CILIBUSB_StartTransport(usb) != 0) return CI_CAMERA_ERROR;
    const ci_sensor_t* s = camera->sensor;
    if (s == nullptr) return CI_CAMERA_SUCCESS;
    _initBoardPostSensInit(camera);
    const _common_context_t* ctx = _ctx(camera);
    const ci_error_code rc =
        USB_Bulk_UpdateFrameSize(camera, s->width, s->height, (ci_s32)ctx->bitsPerClock, (ci_s32)ctx->clocksPerPixel);
    // Like the rest of the board's set-up, a board that does not take its
    // input type does not stop the start.
    if (rc == CI_CAMERA_SUCCESS) {
        UsbKeepSizes keep(camera);
        _USB_Bulk_UpdateRxType(camera);
    }
    return rc;
}

ci_error_code stopTransport(ci_camera_t* camera) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb != nullptr) _CILIBUSB_StopTransport(usb);
    return CI_CAMERA_SUCCESS;
}

bool sizeAccepted(ci_camera_t* camera, ci_modes mode, ci_u32 value) {
    if (_usb_old_fw_below(camera, 35)) return value == 8 || value == 16;
    if (mode == CI_REG_ADDR_SIZE && value == 0) return true;
    return value == 8 || value == 16 || value == 24 || value == 32;
}

ci_error_code setMode(ci_camera_t* camera, ci_modes mode, ci_u32 value) {
    switch (mode) {
        case CI_REG_ADDR_SIZE:
        case CI_REG_DATA_SIZE:
            if (!sizeAccepted(camera, mode, value)) {
                char message[64];
                snprintf(message, sizeof message, "register %s size %u is not supported by this board",
                         mode == CI_REG_ADDR_SIZE ? "address" : "data", value);
                return CK_ERR(CI_CAMERA_ERROR, message);
            }
            return _SetMode(camera, mode, value);
        case CI_SHIP_SPEED:
            return USB_Bulk_SetShipSpeed(camera, value);
        case CI_PIXEL_PACK:
            return _SetPixelPack(camera, value);
        case CI_PIXCLK_POLARITY:
            _ctx(camera)->pixclk_polarity = (ci_s32)value;
            return _usb_update_clock_polarity(camera);
        case CI_TRIGGER_HIGH_WIDTH:
        case CI_TRIGGER_LOW_WIDTH:
        case CI_TRIGGER:
            return _usb_set_trigger(camera, mode, value);
        case CI_OUTPUT_PORT:
            return _usb_set_output_port(camera, value);
        case CI_MEM_CAPTURE:
            return _setMemCapture(camera, value);
        case CI_MEM_CAPTURE_CYCLE:
            return _setMemCaptureCycle(camera, value);
        case CI_MEM_CAPTURE_PROGRESS:
        case CI_MEM_CAPTURE_MB:
            return CI_CAMERA_NOT_SUPPORTED;
        case CI_LSB_ALIGNED:
            _ctx(camera)->lsbAligned = value;
            return USB_Bulk_UpdateFrameSize(camera, 0, 0, 0, 0) == CI_CAMERA_SUCCESS ? _updatePixel(camera)
                                                                                     : CI_CAMERA_ERROR;
        case CI_SENSOR_POWER:
            return _setSensorPower(camera, value);
        case CI_SENSOR_RESET:
            return _setSensorReset(camera, value);
        case CI_SENSOR_SHUTDOWN:
            return _setSensorShutdown(camera, value);
        case CI_HDMI_MODE:
            return _USB_Bulk_SetHdmiMode(camera, value);
        case CI_STEREO_MODE:
            return _USB_Bulk_SetStereoMode(camera, value);
        case CI_GRABFRAME_TIMEOUT:
            _usb_context(camera)->grabframeTimeout = value;
            return CI_CAMERA_SUCCESS;
        case CI_BITS_PER_CLOCK:
            return USB_Bulk_UpdateFrameSize(camera, 0, 0, (ci_s32)value, 0);
        case CI_CLOCKS_PER_PIXEL:
            return USB_Bulk_UpdateFrameSize(camera, 0, 0, 0, (ci_s32)value);
        default:
            return _usb_is_rx_mode(mode) ? _USB_Bulk_SetRxMode(camera, mode, value) : _SetMode(camera, mode, value);
    }
}

ci_error_code getMode(ci_camera_t* camera, ci_modes mode, ci_u32* value) {
    if (mode == CI_SHIP_SPEED) return USB_Bulk_GetShipSpeed(camera, value);
    if (value != nullptr && mode == CI_SENSOR_POWER) return _getSensorPower(camera, value);
    if (value != nullptr && mode == CI_SENSOR_RESET) return _getSensorReset(camera, value);
    if (value != nullptr && mode == CI_SENSOR_SHUTDOWN) return _getSensorShutdown(camera, value);
    if (value != nullptr && mode == CI_PIXCLK_FREQ) return _usb_pixclk_freq(camera, value);
    if (value != nullptr && mode == CI_DETECT_FRAME_SIZE) return _usb_detect_frame_size(camera, value);
    if (value != nullptr && mode == CI_SIMUL_REG_FRAMEGRAB) return _usb_simul_reg_framegrab(camera, value);
    if (value != nullptr && (mode == CI_TRIGGER_HIGH_WIDTH || mode == CI_TRIGGER_LOW_WIDTH)) {
        return _usb_get_trigger(camera, mode, value);
    }
    if (value != nullptr && mode == CI_HW_FRAME_COUNT) return _usb_hw_frame_count(camera, value);
    if (value != nullptr && mode == CI_HW_FRAME_TIME) return _usb_hw_frame_time(camera, value);
    if (value != nullptr && mode == CI_OUTPUT_PORT) {
        *value = _ctx(camera)->rxOutputPort;
        return CI_CAMERA_SUCCESS;
    }
    if (value != nullptr && mode == CI_MEM_CAPTURE) {
        *value = _usb_context(camera)->memCaptureNumFrames;
        return CI_CAMERA_SUCCESS;
    }
    if (value != nullptr && mode == CI_MEM_CAPTURE_CYCLE) {
        *value = _usb_context(camera)->memCaptureCycle;
        return CI_CAMERA_SUCCESS;
    }
    if (value != nullptr && mode == CI_HDMI_MODE) {
        *value = _usb_context(camera)->hdmiMode;
        return CI_CAMERA_SUCCESS;
    }
    if (value != nullptr && mode == CI_MEM_CAPTURE_MB && _usb_frame_buffer_board(_usb_context(camera)->rxBoard)) {
        *value = _usb_context(camera)->memCaptureMB;
        return CI_CAMERA_SUCCESS;
    }
    if (value != nullptr && mode == CI_HW_FRAME_COUNT_MASK) {
        *value = 65535;
        return CI_CAMERA_SUCCESS;
    }
    if (value != nullptr && mode == CI_GRABFRAME_TIMEOUT) {
        *value = _usb_context(camera)->grabframeTimeout;
        return CI_CAMERA_SUCCESS;
    }
    return _GetMode(camera, mode, value);
}

const char* getDeviceName(ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return usb != nullptr ? usb->deviceName : "";
}

ci_error_code enableDeviceNotification(ci_camera_t* camera, intptr_t) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return usb == nullptr || usb->driverType != kUsbDriverLibusb ? CI_CAMERA_ERROR : CI_CAMERA_SUCCESS;
}

ci_error_code matchDevChangeMsg(ci_camera_t*, ci_u32, void*) { return CI_CAMERA_SUCCESS; }

ci_error_code disableDeviceNotification(ci_camera_t* camera) {
    const USB_Bulk_Context* usb = _usb_context(camera);
    return usb == nullptr || usb->driverType != kUsbDriverLibusb ? CI_CAMERA_SUCCESS : CI_CAMERA_NOT_SUPPORTED;
}

// Stops the board, releases its driver record (and libusb's use count) and
// the board-internal table; the core frees the rest.
void freeContext(ci_camera_t* camera, void* context) {
    auto* usb = static_cast<USB_Bulk_Context*>(context);
    _CILIBUSB_StopTransport(usb);
    if (usb->driverInfo != nullptr) _CILIBUSB_FreeDriverInfo(usb);
    free(usb);
    if (camera != nullptr) {
        free(camera->int_dev_functions);
        camera->int_dev_functions = nullptr;
    }
}

const _transport_ops_t kUsbOps = [] {
    _transport_ops_t ops{};
    ops.transportType = CI_TRANSPORT_USB;
    ops.transportName = "USB 2.0";
    ops.productName = "USB camera board";
    ops.startTransport = startTransport;
    ops.stopTransport = stopTransport;
    ops.grabFrame = USB_Bulk_GrabFrame;
    ops.getFrameData = USB_Bulk_GetFrameData;
    ops.updateFrameSize = USB_Bulk_UpdateFrameSize;
    ops.updateBufferSize = USB_Bulk_UpdateBufferSize;
    ops.initTransport = USB_Bulk_InitTransport;
    ops.setHardwareBuffering = USB_Bulk_SetHardwareBuffering;
    ops.setHardwareUnswizzle = USB_Bulk_SetHardwareUnswizzle;
    ops.setMode = setMode;
    ops.getMode = getMode;
    ops.readSensorRegistersNolock = USB_Bulk_ReadSensorRegisters;
    ops.writeSensorRegistersNolock = USB_Bulk_WriteSensorRegisters;
    ops.readRegisterNolock = USB_Bulk_ReadRegister;
    ops.writeRegisterNolock = USB_Bulk_WriteRegister;
    ops.readRegistersNolock = USB_Bulk_ReadRegisters;
    ops.writeRegistersNolock = USB_Bulk_WriteRegisters;
    ops.getDeviceName = getDeviceName;
    ops.freeTransportContext = freeContext;
    return ops;
}();

USB_Bulk_Context* newContext(void) {
    auto* usb = static_cast<USB_Bulk_Context*>(calloc(1, sizeof(USB_Bulk_Context)));
    if (usb == nullptr) return nullptr;
    usb->driverType = kUsbDriverLibusb;
    snprintf(usb->deviceName, sizeof usb->deviceName, "%s", libdvrname);
    usb->usbVersion = 2;
    usb->maxPacketSize = 1024;
    usb->markerPacketSize = 512;
    usb->markerSize = sizeof kDefaultMarker;
    memcpy(usb->marker, kDefaultMarker, sizeof kDefaultMarker);
    usb->grabframeTimeout = 5000;
    return usb;
}

// Vendor, product and firmware version; the newest board reports its
// firmware version through a request.
ci_error_code readIdentity(ci_camera_t* camera, USB_Bulk_Context* usb) {
    _CILIBUSB_get_vid_pid(usb);
    if (usb->productID != CI_KITE_3) return CI_CAMERA_SUCCESS;
    ci_u8 version[2] = {0, 0};
    const ci_error_code rc = _usb_request(camera, VR_FW_VERSION, kUsbDirIn, 0, 0, 2, version);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    usb->firmwareVersion = (usb->firmwareVersion & 0xFFFF0000u) | version[0] | ((ci_u32)version[1] << 8);
    return CI_CAMERA_SUCCESS;
}

void describeDriver(ci_camera_t* camera, const USB_Bulk_Context* usb) {
    snprintf(_ctx(camera)->driverInfo, sizeof(ci_string), "%s (%d.%d.%d.%d) - VendorID: 0x%04X%s", "", 0, 0, 0, 0,
             usb->vendorID, vendorSuffix(usb->vendorID));
}

void stampCamera(ci_camera_t* camera, const USB_Bulk_Context* usb) {
    camera->productID = (ci_product_ids)usb->productID;
    camera->productVersion = usb->driverInfo->bcdDevice;
    camera->firmwareVersion = usb->firmwareVersion;
    const char* name = usb->usbVersion == 1 ? "USB 1.X" : usb->usbVersion == 2 ? "USB 2.0" : "USB 3.0";
    snprintf(camera->transportName, sizeof camera->transportName, "%s", name);
    camera->transportType = CI_TRANSPORT_USB;
}

// Identifies the board behind `handle` and its sensor.
ci_error_code initCamera(ci_camera_t* camera, USB_Bulk_Context* usb, void* handle, const char* sensorName) {
    _common_context_t* ctx = _ctx(camera);
    usb->pCamera = camera;
    ctx->enableDeviceNotification = enableDeviceNotification;
    ctx->matchDevChangeMsg = matchDevChangeMsg;
    ctx->disableDeviceNotification = disableDeviceNotification;
    if (!_CILIBUSB_InitDriverInfo(usb, handle)) return CK_ERR(CI_CAMERA_ERROR, "cannot allocate the driver record");
    if (readIdentity(camera, usb) != CI_CAMERA_SUCCESS) {
        return ci_Errorlog(CI_CAMERA_ERROR, 1, "cannot read the board's firmware version", CK_SOURCE, __func__,
                           __LINE__);
    }
    const bool wantsSensor = sensorName != nullptr && sensorName[0] != '\0';
    if (wantsSensor && _USB_Bulk_GetVendorData(camera) != CI_CAMERA_SUCCESS) {
        return ci_Errorlog(CI_CAMERA_ERROR, 1, "cannot read the board's vendor data", CK_SOURCE, __func__, __LINE__);
    }
    describeDriver(camera, usb);
    int numIds = 0;
    const ci_u32* ids = _CILIBUSB_VendorIds(&numIds);
    if (_usb_vendor_rank(usb->vendorID, ids, numIds) == 0) {
        return ci_Errorlog(CI_CAMERA_ERROR, 1, "the board's vendor ID is not a known one", CK_SOURCE, __func__,
                           __LINE__);
    }
    stampCamera(camera, usb);
    usb->maxTransferSize = get_max_transfer_size(camera);
    // Identification and the board's chips are reached through the locking routines.
    osal_init_critical_section(&ctx->criticalSection, "");
    _USB_Bulk_SetUpCompanion(camera, sensorName);
    // The board's own chips; the first one of its board file is the main FPGA.
    _parseBoardConfigFile(camera, sensorName != nullptr ? sensorName : "");
    usb->kiteChip = 0;
    if (!wantsSensor) return CI_CAMERA_SUCCESS;
    _initBoardPreSensInit(camera);
    const ci_error_code found = _getSensor(camera, sensorName);
    if (usb->productID == CI_KITE_2 || usb->productID == CI_KITE_2X || usb->productID == CI_KITE_3) {
        _USB_Bulk_ReadStereoMode(camera);
    }
    usb->maxTransferSize = get_max_transfer_size(camera);
    ctx->do_sw_unswizzle = (ci_s32)_swizzleDefault(camera);
    return found;
}

// Opens the board found at `index` as a camera; null when it fails.
ci_camera_t* openBoard(void* handle, const char* sensorName, ci_error_code* result) {
    USB_Bulk_Context* usb = newContext();
    if (usb == nullptr) {
        *result = CK_ERR(CI_CAMERA_ERROR, "");
        return nullptr;
    }
    ci_camera_t* camera = _transport_new_camera(&kUsbOps, usb);
    if (camera == nullptr) {
        *result = CI_CAMERA_ERROR;
        return nullptr;
    }
    *result = initCamera(camera, usb, handle, sensorName);
    if (*result == CI_CAMERA_SUCCESS) {
        camera->int_dev_functions = malloc(sizeof(USB_INT_DEV_functions));
        if (camera->int_dev_functions == nullptr) *result = CI_CAMERA_ERROR;
    }
    if (*result != CI_CAMERA_SUCCESS) {
        if (usb->driverInfo == nullptr) {
            // The handle never reached the driver record: close it here.
            CILIBUSB_driverInfo info{};
            info.hDevice = handle;
            usb->driverInfo = &info;
            _CILIBUSB_StopTransport(usb);
            usb->driverInfo = nullptr;
            _CILIBUSB_init_lusb(0);
        }
        _transport_free_camera(&kUsbOps, camera);
        return nullptr;
    }
    memcpy(camera->int_dev_functions, &kUsbIntDevFunctions, sizeof kUsbIntDevFunctions);
    return camera;
}

}  // namespace

ci_error_code _CILIBUSB_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensorName, const char*) {
    if (n == nullptr || cameras == nullptr) return CI_CAMERA_ERROR;
    *n = 0;
    if (!_CILIBUSB_LoadVendorIds()) return CI_CAMERA_ERROR;
    ci_error_code result = CI_CAMERA_ERROR;
    for (ci_u32 index = 0; *n < kMaxBoards; index++) {
        if (!_CILIBUSB_init_lusb(1)) return CI_CAMERA_ERROR;
        memset(&cilibusb_drvinfo_tmp, 0, sizeof cilibusb_drvinfo_tmp);
        void* handle = nullptr;
        if (!_bOpenLibUSBDev(index, &handle, &cilibusb_drvinfo_tmp)) {
            _CILIBUSB_init_lusb(0);
            break;
        }
        ci_camera_t* camera = openBoard(handle, sensorName, &result);
        if (camera == nullptr) continue;
        cameras[(*n)++] = camera;
        _CILIBUSB_SetDevName(camera, 0);
        stopTransport(camera);
    }
    return result;
}

void USB_Bulk_CloseCameras(ci_s32 n, ci_camera_t** cameras) { _transport_free_cameras(&kUsbOps, n, cameras); }
