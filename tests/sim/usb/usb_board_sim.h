#pragma once
// Simulated USB camera boards for tests that run the library's real libusb
// code (the tests run under umockdev-wrapper).
//
// UsbTestbed publishes boards as USB devices in umockdev's mocked sysfs and
// /dev and serves the usbfs ioctls of their device nodes.  Each UsbBoard's
// firmware model answers the board's vendor requests: register traffic goes
// onto a BusSim (devices at serial bases, NACK for absent ones), the
// controller memories are modelled, and faults can be injected.  Every
// control request is recorded.
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "bus_sim.h"

// The marker pattern the boards send by default.
std::vector<ci_u8> usb_default_marker();

struct UsbBoardConfig {
    ci_u16 vendorId = 0xC0DE;
    ci_u16 productId = 0x1007;
    ci_u16 bcdDevice = 50;    // the firmware version of the older boards
    ci_u16 fwVersion = 50;    // what the newest board (0x100E) reports on request
    ci_u8 usbGeneration = 2;  // 2 or 3 (also the device's speed)
    ci_u16 maxPacketSize = 512;
    ci_u16 markerPacketSize = 512;
    std::vector<ci_u8> marker = usb_default_marker();

    // A board of the given product whose firmware version is fw (both as
    // bcdDevice and as the version it reports on request).
    static UsbBoardConfig product(ci_u16 productId, ci_u16 fw) {
        UsbBoardConfig c;
        c.productId = productId;
        c.bcdDevice = fw;
        c.fwVersion = fw;
        return c;
    }
};

struct UsbControlRequest {
    ci_u8 requestType;
    ci_u8 request;
    ci_u16 value;
    ci_u16 index;
    ci_u16 length;
    std::vector<ci_u8> data;  // the OUT data stage, or the IN reply sent
};

// Bus status bytes of the firmware.
constexpr ci_u8 kBusOk = 0;
constexpr ci_u8 kBusBitError = 6;
constexpr ci_u8 kBusNack = 7;
constexpr ci_u8 kBusTimeout = 10;

// What the board streams on its bulk endpoint 0x82.
enum class FramePattern {
    Counter,  // byte i of frame n is (i + n) & 0xFF
    Bayer,    // 16-bit little-endian samples of a 2x2 colour tile, lines of `width` pixels
    Fixed,    // the bytes given with setFrameContent
};

// One-frame faults of the frame source.
enum class FrameFault {
    None,
    Late,                // `bytes` of filler come before the frame (whole packets)
    MissingMarker,       // the frame has no marker packet
    Short,               // only `bytes` of the frame are sent, then the marker
    ShortWithoutMarker,  // only `bytes` (not whole packets), and no marker
    Extra,               // `bytes` of filler follow the frame, before the marker
    Stall,               // the read stalls (the endpoint halts)
    TimeoutMidFrame      // half the frame comes, then nothing until the host gives up
};

class UsbBoard {
public:
    explicit UsbBoard(const UsbBoardConfig& config) : config_(config) {}

    const UsbBoardConfig& config() const { return config_; }
    BusSim& bus() { return bus_; }
    // Adds a bus device and tells the firmware model its address width
    // (needed to split a byte stream into address and data).
    BusDevice& addDevice(ci_u32 base, ci_u32 addrBits, ci_u32 dataBits);
    // A device seeded from a sensor data file's reset values, at base.
    BusDevice& addSensor(const std::string& sensorFile, ci_u32 base, ci_u32 addrBits, ci_u32 dataBits);

    std::vector<UsbControlRequest> requests() const;
    void clearRequests();
    // Requests with this code.
    std::vector<UsbControlRequest> requestsOf(ci_u8 request) const;

    // Faults.  The next n bus transactions end with `status` and touch no
    // device; the next request with code `request` (0: any) stalls, replies
    // with at most `bytes` bytes, or never completes.
    void failBus(int n, ci_u8 status);
    void stallNext(ci_u8 request = 0);
    void shortReplyNext(ci_u8 request, ci_u16 bytes);
    void hangNext(ci_u8 request = 0);
    // Interface 0 cannot be claimed (another driver holds it).
    void refuseClaim(bool refuse) { refuseClaim_ = refuse; }
    bool claimRefused() const { return refuseClaim_; }

    // Controller memories and board state.
    ci_u8 xdata(ci_u16 addr) const;
    void setXdata(ci_u16 addr, ci_u8 value);
    ci_u8 internalRam(ci_u8 addr) const;
    ci_u8 sfr(ci_u8 addr) const;
    void setSfr(ci_u8 addr, ci_u8 value);
    ci_u8 bitRate() const;
    int fifoResets() const;

    // Frame source.  A frame of `bytes` bytes is padded to whole packets and
    // followed by its marker packet (the layout the product uses); a rate of
    // 0 sends frames as fast as they are read.
    void setFrameSize(ci_u32 bytes);
    void setPattern(FramePattern pattern, ci_u32 width = 0);
    void setFrameContent(const std::vector<ci_u8>& bytes);
    void setFrameRate(double framesPerSecond);
    void faultNextFrame(FrameFault fault, ci_u32 bytes = 0);
    // The bytes of frame n as the pattern makes them (frame numbers start at 1).
    std::vector<ci_u8> frameBytes(ci_u32 frameNumber) const;
    ci_u32 framesStarted() const;
    ci_u64 bulkBytesSent() const;
    std::vector<ci_u32> bulkRequests() const;

    // Firmware side (used by the testbed's ioctl handler).
    enum class Outcome { Done, Stall, Hang };
    Outcome control(const ci_u8 setup[8], ci_u8* data, ci_u16* actualLength);
    // A bulk IN request of `length` bytes; `actual` is what was filled.
    Outcome bulkIn(ci_u8* data, ci_u32 length, ci_u32* actual);

private:
    struct Widths {
        ci_u32 addrBytes, dataBytes;
    };
    Widths widths(ci_u32 base) const;
    bool busFault(ci_u8* status);
    ci_u8 readBytes(ci_u32 base, ci_u32 addr, ci_u32 n, ci_u8* out);
    ci_u8 writeBytes(ci_u32 base, ci_u32 addr, const ci_u8* bytes, ci_u32 n);
    ci_u16 serve(ci_u8 request, ci_u16 value, ci_u16 index, ci_u16 length, ci_u8* data, bool* known);
    ci_u16 serveRegisters(ci_u8 request, ci_u16 value, ci_u16 index, ci_u16 length, ci_u8* data, bool* known);
    ci_u16 serveBoard(ci_u8 request, ci_u16 value, ci_u16 index, ci_u16 length, ci_u8* data, bool* known);
    // A stretch of the bulk stream: stored bytes, generated filler, or the
    // point where the board stops answering.
    struct Chunk {
        std::vector<ci_u8> bytes;
        ci_u64 filler = 0;
        bool hang = false;
        ci_u64 pos = 0;
        ci_u64 size() const { return hang ? 0 : bytes.empty() ? filler : bytes.size(); }
    };
    void queueFrame();
    std::vector<ci_u8> markerPacket(ci_u32 frameNumber, ci_u32 frameBytes) const;
    ci_u32 paddedSize(ci_u32 bytes) const;

    UsbBoardConfig config_;
    BusSim bus_;
    mutable std::mutex mutex_;
    std::vector<UsbControlRequest> requests_;
    std::vector<std::pair<ci_u32, Widths>> widths_;
    std::vector<std::pair<ci_u32, ci_u32>> pointers_;  // base -> address set by an address phase
    int busFaults_ = 0;
    ci_u8 busFaultStatus_ = kBusOk;
    int stallRequest_ = -1;
    int hangRequest_ = -1;
    int shortRequest_ = -1;
    ci_u16 shortBytes_ = 0;
    ci_u8 lastWriteStatus_ = kBusOk;
    ci_u8 bitRate_ = 1;
    int fifoResets_ = 0;
    bool refuseClaim_ = false;
    std::vector<ci_u8> xdata_ = std::vector<ci_u8>(65536, 0);
    std::vector<ci_u8> intRam_ = std::vector<ci_u8>(256, 0);
    std::vector<ci_u8> sfr_ = std::vector<ci_u8>(256, 0);
    ci_u32 frameSize_ = 0;
    FramePattern pattern_ = FramePattern::Counter;
    ci_u32 patternWidth_ = 0;
    std::vector<ci_u8> content_;
    double frameRate_ = 0;
    FrameFault fault_ = FrameFault::None;
    ci_u32 faultBytes_ = 0;
    ci_u32 framesStarted_ = 0;
    ci_u64 bulkBytes_ = 0;
    std::vector<ci_u32> bulkRequests_;
    std::deque<Chunk> stream_;
    bool stallNextBulk_ = false;
    double nextFrameDue_ = 0;
};

class UsbTestbed {
public:
    UsbTestbed();
    ~UsbTestbed();
    UsbTestbed(const UsbTestbed&) = delete;
    UsbTestbed& operator=(const UsbTestbed&) = delete;

    // True when the process runs under umockdev-wrapper.
    static bool available();

    // Publishes a board (or any USB device: a foreign vendor ID is fine) as
    // the next device on bus 1.
    UsbBoard& addBoard(const UsbBoardConfig& config = {});
    // Removes the board's device: its node answers every ioctl with ENODEV
    // and enumeration no longer finds it.  For a board without an open
    // handle (libusb's hot-plug handling trips over a mocked removal of an
    // open device).
    void unplug(UsbBoard& board);
    // A board pulled while open: its node answers every ioctl with ENODEV.
    void cutOff(UsbBoard& board);

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

// Sets CI_USB_VENDOR_IDS for the scope of a test and restores it after.
class ScopedVendorIds {
public:
    explicit ScopedVendorIds(const char* value);
    ~ScopedVendorIds();
    ScopedVendorIds(const ScopedVendorIds&) = delete;
    ScopedVendorIds& operator=(const ScopedVendorIds&) = delete;

private:
    bool had_;
    std::string saved_;
};
