// The umockdev testbed that publishes simulated boards and serves the usbfs
// ioctls of their device nodes (control URBs go to the board's firmware
// model; faults complete them with a stall, a short length or never).
#include "usb_board_sim.h"

#include <stdexcept>
#include <string>

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <umockdev.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <list>

namespace {

struct Node;

struct PendingUrb {
    UMockdevIoctlData* urb;
    UMockdevIoctlData* buffer;
    int actual = 0;  // what a hung URB holds when it is cancelled
};

// One published device.
struct Node {
    UsbTestbed::Impl* bed = nullptr;
    std::unique_ptr<UsbBoard> board;
    std::string sysPath;
    std::string devNode;
    UMockdevIoctlBase* handler = nullptr;
    std::mutex mutex;
    std::deque<PendingUrb> done;
    std::deque<PendingUrb> hung;
    bool unplugged = false;
};

std::string hex(const std::vector<ci_u8>& bytes) {
    std::string out;
    char two[3];
    for (ci_u8 b : bytes) {
        snprintf(two, sizeof two, "%02x", b);
        out += two;
    }
    return out;
}

void le16(std::vector<ci_u8>& out, ci_u16 v) {
    out.push_back((ci_u8)v);
    out.push_back((ci_u8)(v >> 8));
}

// Device descriptor, then one configuration with interface 0 and its bulk
// IN endpoint 0x82.
std::vector<ci_u8> descriptors(const UsbBoardConfig& c) {
    std::vector<ci_u8> d = {18, 1};
    le16(d, c.usbGeneration >= 3 ? 0x0300 : 0x0200);
    d.insert(d.end(), {0, 0, 0, 64});
    le16(d, c.vendorId);
    le16(d, c.productId);
    le16(d, c.bcdDevice);
    d.insert(d.end(), {0, 0, 0, 1});
    d.insert(d.end(), {9, 2, 25, 0, 1, 1, 0, 0x80, 50});
    d.insert(d.end(), {9, 4, 0, 0, 1, 0xFF, 0, 0, 0});
    d.insert(d.end(), {7, 5, 0x82, 2});
    le16(d, c.usbGeneration >= 3 ? 1024 : 512);
    d.push_back(0);
    return d;
}

void completeUrb(Node* node, PendingUrb p, int status, int actual) {
    auto* urb = reinterpret_cast<usbdevfs_urb*>(p.urb->data);
    urb->status = status;
    urb->actual_length = actual;
    node->done.push_back(p);
}

// The client memory an ioctl's pointer argument points at (a new reference).
UMockdevIoctlData* resolveAt(UMockdevIoctlData* data, gsize offset, gsize size) {
    GError* error = nullptr;
    UMockdevIoctlData* child = umockdev_ioctl_data_resolve(data, offset, size, &error);
    if (error != nullptr) g_error_free(error);
    return child;
}

UMockdevIoctlData* resolve(UMockdevIoctlData* arg, gsize size) { return resolveAt(arg, 0, size); }

void submit(Node* node, UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
    UMockdevIoctlData* urbData = resolve(arg, sizeof(usbdevfs_urb));
    if (urbData == nullptr) {
        umockdev_ioctl_client_complete(client, -1, EFAULT);
        return;
    }
    auto* urb = reinterpret_cast<usbdevfs_urb*>(urbData->data);
    UMockdevIoctlData* buffer = urb->buffer_length > 0
                                    ? resolveAt(urbData, offsetof(usbdevfs_urb, buffer), (gsize)urb->buffer_length)
                                    : nullptr;
    PendingUrb p{urbData, buffer};
    if (urb->type == USBDEVFS_URB_TYPE_BULK && urb->endpoint == 0x82 && buffer != nullptr) {
        ci_u32 actual = 0;
        switch (node->board->bulkIn(buffer->data, (ci_u32)urb->buffer_length, &actual)) {
            case UsbBoard::Outcome::Done:
                completeUrb(node, p, 0, (int)actual);
                break;
            case UsbBoard::Outcome::Stall:
                completeUrb(node, p, -EPIPE, 0);
                break;
            case UsbBoard::Outcome::Hang:
                p.actual = (int)actual;
                node->hung.push_back(p);
                break;
        }
    } else if (urb->type != USBDEVFS_URB_TYPE_CONTROL || buffer == nullptr || urb->buffer_length < 8) {
        completeUrb(node, p, -EPIPE, 0);
    } else {
        ci_u16 actual = 0;
        switch (node->board->control(buffer->data, buffer->data + 8, &actual)) {
            case UsbBoard::Outcome::Done:
                completeUrb(node, p, 0, actual);
                break;
            case UsbBoard::Outcome::Stall:
                completeUrb(node, p, -EPIPE, 0);
                break;
            case UsbBoard::Outcome::Hang:
                node->hung.push_back(p);
                break;
        }
    }
    umockdev_ioctl_client_complete(client, 0, 0);
}

void reap(Node* node, UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
    if (node->done.empty()) {
        umockdev_ioctl_client_complete(client, -1, EAGAIN);
        return;
    }
    PendingUrb p = node->done.front();
    node->done.pop_front();
    UMockdevIoctlData* slot = resolve(arg, sizeof(void*));
    if (slot != nullptr) umockdev_ioctl_data_set_ptr(slot, 0, p.urb);
    umockdev_ioctl_client_complete(client, 0, 0);
    if (slot != nullptr) umockdev_ioctl_data_unref(slot);
    if (p.buffer != nullptr) umockdev_ioctl_data_unref(p.buffer);
    umockdev_ioctl_data_unref(p.urb);
}

// A discarded URB completes as cancelled.
void discard(Node* node, UMockdevIoctlClient* client) {
    if (node->hung.empty()) {
        umockdev_ioctl_client_complete(client, -1, EINVAL);
        return;
    }
    PendingUrb p = node->hung.front();
    node->hung.pop_front();
    completeUrb(node, p, -ENOENT, p.actual);
    umockdev_ioctl_client_complete(client, 0, 0);
}

gboolean onIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
    auto* node = static_cast<Node*>(self);
    std::lock_guard<std::mutex> lock(node->mutex);
    const gulong request = umockdev_ioctl_client_get_request(client);
    UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
    if (node->unplugged) {
        umockdev_ioctl_client_complete(client, -1, ENODEV);
        return TRUE;
    }
    if (request == USBDEVFS_GET_CAPABILITIES) {
        UMockdevIoctlData* caps = resolve(arg, sizeof(ci_u32));
        // One URB per bulk transfer, whatever its length.
        const ci_u32 noPacketSizeLimit = USBDEVFS_CAP_NO_PACKET_SIZE_LIM;
        if (caps != nullptr) memcpy(caps->data, &noPacketSizeLimit, sizeof(ci_u32));
        umockdev_ioctl_client_complete(client, 0, 0);
        if (caps != nullptr) umockdev_ioctl_data_unref(caps);
    } else if (request == USBDEVFS_CLAIMINTERFACE && node->board->claimRefused()) {
        umockdev_ioctl_client_complete(client, -1, EBUSY);
    } else if (request == USBDEVFS_CLAIMINTERFACE || request == USBDEVFS_RELEASEINTERFACE) {
        umockdev_ioctl_client_complete(client, 0, 0);
    } else if (request == USBDEVFS_SUBMITURB) {
        submit(node, client, arg);
    } else if (request == USBDEVFS_REAPURB || request == USBDEVFS_REAPURBNDELAY) {
        reap(node, client, arg);
    } else if (request == USBDEVFS_DISCARDURB) {
        discard(node, client);
    } else {
        umockdev_ioctl_client_complete(client, -1, ENOTTY);
    }
    return TRUE;
}

}  // namespace

struct UsbTestbed::Impl {
    UMockdevTestbed* testbed = nullptr;
    std::list<Node> nodes;
};

UsbTestbed::UsbTestbed() : impl_(new Impl) { impl_->testbed = umockdev_testbed_new(); }

UsbTestbed::~UsbTestbed() {
    for (Node& node : impl_->nodes) {
        umockdev_testbed_detach_ioctl(impl_->testbed, node.devNode.c_str(), nullptr);
        g_object_unref(node.handler);
        for (auto* queue : {&node.done, &node.hung}) {
            for (PendingUrb& p : *queue) {
                if (p.buffer != nullptr) umockdev_ioctl_data_unref(p.buffer);
                umockdev_ioctl_data_unref(p.urb);
            }
        }
    }
    g_object_unref(impl_->testbed);
}

bool UsbTestbed::available() {
    const char* preload = getenv("LD_PRELOAD");
    return preload != nullptr && strstr(preload, "libumockdev-preload") != nullptr;
}

UsbBoard& UsbTestbed::addBoard(const UsbBoardConfig& config) {
    Node& node = impl_->nodes.emplace_back();
    const int devnum = (int)impl_->nodes.size() + 1;
    node.bed = impl_.get();
    node.board = std::make_unique<UsbBoard>(config);
    char path[128], dev[64];
    snprintf(path, sizeof path, "/devices/pci0000:00/0000:00:14.0/usb1/1-%d", devnum - 1);
    snprintf(dev, sizeof dev, "/dev/bus/usb/001/%03d", devnum);
    node.sysPath = std::string("/sys") + path;
    node.devNode = dev;
    node.handler = umockdev_ioctl_base_new();
    g_signal_connect(node.handler, "handle-ioctl", G_CALLBACK(onIoctl), &node);
    umockdev_testbed_attach_ioctl(impl_->testbed, dev, node.handler, nullptr);
    char record[1024];
    snprintf(record, sizeof record,
             "P: %s\nN: bus/usb/001/%03d\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: BUSNUM=001\nE: DEVNUM=%03d\n"
             "E: DEVNAME=%s\nA: busnum=1\nA: devnum=%d\nA: speed=%d\nA: bConfigurationValue=1\nH: descriptors=%s\n",
             path, devnum, devnum, dev, devnum, config.usbGeneration >= 3 ? 5000 : 480,
             hex(descriptors(config)).c_str());
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(impl_->testbed, record, &error)) {
        const std::string why = error != nullptr ? error->message : "?";
        if (error != nullptr) g_error_free(error);
        throw std::runtime_error("cannot publish the simulated board: " + why);
    }
    return *node.board;
}

void UsbTestbed::cutOff(UsbBoard& board) {
    for (Node& node : impl_->nodes) {
        if (node.board.get() != &board) continue;
        std::lock_guard<std::mutex> lock(node.mutex);
        node.unplugged = true;
    }
}

void UsbTestbed::unplug(UsbBoard& board) {
    cutOff(board);
    for (Node& node : impl_->nodes) {
        if (node.board.get() == &board) umockdev_testbed_remove_device(impl_->testbed, node.sysPath.c_str());
    }
}

ScopedVendorIds::ScopedVendorIds(const char* value) {
    const char* old = getenv("CI_USB_VENDOR_IDS");
    had_ = old != nullptr;
    if (had_) saved_ = old;
    if (value != nullptr) {
        setenv("CI_USB_VENDOR_IDS", value, 1);
    } else {
        unsetenv("CI_USB_VENDOR_IDS");
    }
}

ScopedVendorIds::~ScopedVendorIds() {
    if (had_) {
        setenv("CI_USB_VENDOR_IDS", saved_.c_str(), 1);
    } else {
        unsetenv("CI_USB_VENDOR_IDS");
    }
}
