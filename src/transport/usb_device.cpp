// The USB device layer: the only code that calls libusb.  It enumerates the
// boards of the known vendors in bus-list order, opens and claims them,
// sends control requests and reads bulk data.
#define CK_SOURCE "transport/usb_device"
#include <libusb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "transport/usb_private.h"

namespace {

libusb_context* usb_ctx = nullptr;
ci_s32 g_useCount = 0;
ci_u32 g_vendorIds[2] = {0, 0};
int g_numVendorIds = 0;

constexpr unsigned kControlTimeoutMs = 500;
constexpr unsigned kBulkTimeoutMs = 800;
constexpr unsigned char kBulkInEndpoint = 0x82;
constexpr ci_u32 kNewBoardProduct = CI_KITE_3;

libusb_device_handle* handleOf(const USB_Bulk_Context* usb) {
    return static_cast<libusb_device_handle*>(usb->driverInfo != nullptr ? usb->driverInfo->hDevice : nullptr);
}

// The wanted board's handle, or null; fills info when the board exists.
libusb_device_handle* openIndexed(libusb_device** list, ssize_t count, ci_u32 index, CILIBUSB_driverInfo* info) {
    ci_u32 m = 0;
    for (ssize_t i = 0; i < count; i++) {
        libusb_device_descriptor desc;
        if (libusb_get_device_descriptor(list[i], &desc) < 0) continue;
        if (_usb_vendor_rank(desc.idVendor, g_vendorIds, g_numVendorIds) == 0) continue;
        if (m++ != index) continue;
        libusb_device_handle* handle = nullptr;
        if (libusb_open(list[i], &handle) < 0) {
            CK_ERR(CI_CAMERA_ERROR, "libusb_open() returns < 0, exit error");
            handle = nullptr;
        }
        info->index = index;
        info->idVendor = desc.idVendor;
        info->idProduct = desc.idProduct;
        info->bcdDevice = desc.bcdDevice;
        return handle;
    }
    return nullptr;
}

}  // namespace

CILIBUSB_driverInfo cilibusb_drvinfo_tmp;
const char libdvrname[] = "ci_libusb";

// Reads the known vendor IDs for this open; false when none is known.
bool _CILIBUSB_LoadVendorIds(void) {
    g_numVendorIds = _usb_known_vendor_ids(g_vendorIds);
    return g_numVendorIds > 0;
}

const ci_u32* _CILIBUSB_VendorIds(int* numIds) {
    *numIds = g_numVendorIds;
    return g_vendorIds;
}

ci_s32 _CILIBUSB_init_lusb(ci_s32 enable) {
    if (enable) {
        if (g_useCount == 0 && libusb_init(&usb_ctx) < 0) {
            usb_ctx = nullptr;
            return 0;
        }
        g_useCount++;
        return 1;
    }
    if (g_useCount > 0 && --g_useCount == 0) {
        libusb_exit(usb_ctx);
        usb_ctx = nullptr;
    }
    return 1;
}

ci_s32 _CILIBUSB_use_count(void) { return g_useCount; }

ci_s32 _bOpenLibUSBDev(ci_u32 index, void** handleOut, CILIBUSB_driverInfo* info) {
    *handleOut = nullptr;
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(usb_ctx, &list);
    if (count < 0) {
        CK_ERR(CI_CAMERA_ERROR, "libusb_get_device_list() returns < 0, exit error");
        return 0;
    }
    libusb_device_handle* handle = openIndexed(list, count, index, info);
    libusb_free_device_list(list, 1);
    if (handle != nullptr && libusb_claim_interface(handle, 0) < 0) {
        libusb_close(handle);
        handle = nullptr;
        CK_ERR(CI_CAMERA_ERROR, "libusb_claim_interface returns < 0, exit error");
    }
    *handleOut = handle;
    return handle != nullptr;
}

ci_s32 _CILIBUSB_InitDriverInfo(USB_Bulk_Context* usb, void* handle) {
    auto* info = static_cast<CILIBUSB_driverInfo*>(calloc(1, sizeof(CILIBUSB_driverInfo)));
    if (info == nullptr) return 0;
    info->hDevice = handle;
    info->bDevName = 0;
    info->index = cilibusb_drvinfo_tmp.index;
    info->idVendor = cilibusb_drvinfo_tmp.idVendor;
    info->idProduct = cilibusb_drvinfo_tmp.idProduct;
    info->bcdDevice = cilibusb_drvinfo_tmp.bcdDevice;
    usb->driverInfo = info;
    return 1;
}

void _CILIBUSB_FreeDriverInfo(USB_Bulk_Context* usb) {
    if (usb == nullptr) return;
    free(usb->driverInfo);
    usb->driverInfo = nullptr;
    _CILIBUSB_init_lusb(0);
}

ci_s32 _CILIBUSB_CheckDriverOpen(const USB_Bulk_Context* usb) { return handleOf(usb) == nullptr ? 1 : 0; }

ci_s32 _CILIBUSB_StartTransport(USB_Bulk_Context* usb) {
    if (usb->driverInfo == nullptr) return 1;
    if (usb->driverInfo->hDevice != nullptr) return 0;
    CILIBUSB_driverInfo found{};
    void* handle = nullptr;
    if (!_bOpenLibUSBDev(usb->driverInfo->index, &handle, &found)) return 1;
    usb->driverInfo->hDevice = handle;
    return 0;
}

void _CILIBUSB_StopTransport(USB_Bulk_Context* usb) {
    libusb_device_handle* handle = handleOf(usb);
    if (handle == nullptr) return;
    libusb_release_interface(handle, 0);
    libusb_close(handle);
    usb->driverInfo->hDevice = nullptr;
}

ci_s32 _CILIBUSB_get_vid_pid(USB_Bulk_Context* usb) {
    const CILIBUSB_driverInfo* info = usb->driverInfo;
    usb->vendorID = info->idVendor;
    usb->productID = info->idProduct;
    usb->firmwareVersion = (info->idProduct << 16) | (info->bcdDevice & 0xFFFF);
    return 0;
}

ci_s32 _CILIBUSB_SendVRCommand(USB_Bulk_Context* usb, ci_u8 command, ci_u8 direction, ci_u16 value, ci_u16 index,
                               ci_u32 bufferSize, ci_u8* buffer, ci_s32* bytesTransferred) {
    libusb_device_handle* handle = handleOf(usb);
    if (handle == nullptr) return 1;
    const ci_u8 family = usb->productID == kNewBoardProduct ? 0x40 : 0x20;
    const ci_u8 requestType = (ci_u8)(family | (direction << 7));
    const int rc = libusb_control_transfer(handle, requestType, command, value, index, buffer,
                                           (ci_u16)(bufferSize & 0xFFFF), kControlTimeoutMs);
    if (bytesTransferred != nullptr) *bytesTransferred = rc;
    _usb_log_request(command, value, index, bufferSize, buffer);
    return 0;
}

ci_s32 _CILIBUSB_GrabFrame(USB_Bulk_Context* usb, ci_u8* buffer, ci_u32 bytesRequested, ci_u32* bytesReturned) {
    libusb_device_handle* handle = handleOf(usb);
    int transferred = 0;
    *bytesReturned = 0;
    if (handle == nullptr) return 0;
    const int rc =
        libusb_bulk_transfer(handle, kBulkInEndpoint, buffer, (int)bytesRequested, &transferred, kBulkTimeoutMs);
    *bytesReturned = transferred > 0 ? (ci_u32)transferred : 0;
    return rc == 0 && transferred > 0;
}

ci_s32 _CILIBUSB_GrabFrame_ISO(USB_Bulk_Context*, ci_u8*, ci_u32, ci_u32* bytesReturned) {
    if (bytesReturned != nullptr) *bytesReturned = 0;
    return 0;
}

// Host-to-board bulk download does not exist on this driver.
ci_s32 _CILIBUSB_LoadFrame(USB_Bulk_Context*, ci_u8*, ci_u32) { return 0; }

void _CILIBUSB_SetDevName(ci_camera_t* camera, ci_s32 flag) {
    USB_Bulk_Context* usb = _usb_context(camera);
    if (usb != nullptr && usb->driverInfo != nullptr) usb->driverInfo->bDevName = flag;
}
