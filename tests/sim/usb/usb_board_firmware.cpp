// The firmware model of a simulated USB camera board: answers the vendor
// requests the library sends, with register traffic on a BusSim.
#include <algorithm>
#include <cstring>

#include "usb_board_sim.h"

namespace {

constexpr ci_u8 kFamilyOldBoards = 0x20;
constexpr ci_u8 kFamilyNewBoard = 0x40;
constexpr ci_u16 kNewBoard = 0x100E;

ci_u16 put(ci_u8* data, ci_u16 length, std::initializer_list<ci_u8> bytes) {
    ci_u16 n = 0;
    for (ci_u8 b : bytes) {
        if (n < length) data[n] = b;
        n++;
    }
    return std::min(n, length);
}

ci_u16 putLe16(ci_u8* data, ci_u16 length, ci_u32 value) {
    return put(data, length, {(ci_u8)value, (ci_u8)(value >> 8)});
}

}  // namespace

std::vector<ci_u8> usb_default_marker() { return {1, 2, 3, 4, 5, 6, 7, 8, 9, 0xAA}; }

BusDevice& UsbBoard::addDevice(ci_u32 base, ci_u32 addrBits, ci_u32 dataBits) {
    std::lock_guard<std::mutex> lock(mutex_);
    widths_.emplace_back(base, Widths{std::max<ci_u32>(addrBits / 8, 1), std::max<ci_u32>(dataBits / 8, 1)});
    return bus_.addDevice(base, addrBits, dataBits);
}

BusDevice& UsbBoard::addSensor(const std::string& sensorFile, ci_u32 base, ci_u32 addrBits, ci_u32 dataBits) {
    std::lock_guard<std::mutex> lock(mutex_);
    widths_.emplace_back(base, Widths{std::max<ci_u32>(addrBits / 8, 1), std::max<ci_u32>(dataBits / 8, 1)});
    return bus_.addSensorFromFile(sensorFile, base);
}

std::vector<UsbControlRequest> UsbBoard::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

void UsbBoard::clearRequests() {
    std::lock_guard<std::mutex> lock(mutex_);
    requests_.clear();
    bus_.clearLog();
}

std::vector<UsbControlRequest> UsbBoard::requestsOf(ci_u8 request) const {
    std::vector<UsbControlRequest> found;
    for (const UsbControlRequest& r : requests()) {
        if (r.request == request) found.push_back(r);
    }
    return found;
}

void UsbBoard::failBus(int n, ci_u8 status) {
    std::lock_guard<std::mutex> lock(mutex_);
    busFaults_ = n;
    busFaultStatus_ = status;
}

void UsbBoard::stallNext(ci_u8 request) {
    std::lock_guard<std::mutex> lock(mutex_);
    stallRequest_ = request;
}

void UsbBoard::shortReplyNext(ci_u8 request, ci_u16 bytes) {
    std::lock_guard<std::mutex> lock(mutex_);
    shortRequest_ = request;
    shortBytes_ = bytes;
}

void UsbBoard::hangNext(ci_u8 request) {
    std::lock_guard<std::mutex> lock(mutex_);
    hangRequest_ = request;
}

ci_u8 UsbBoard::xdata(ci_u16 addr) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return xdata_[addr];
}
void UsbBoard::setXdata(ci_u16 addr, ci_u8 value) {
    std::lock_guard<std::mutex> lock(mutex_);
    xdata_[addr] = value;
}
ci_u8 UsbBoard::internalRam(ci_u8 addr) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return intRam_[addr];
}
ci_u8 UsbBoard::sfr(ci_u8 addr) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sfr_[addr];
}
void UsbBoard::setSfr(ci_u8 addr, ci_u8 value) {
    std::lock_guard<std::mutex> lock(mutex_);
    sfr_[addr] = value;
}
ci_u8 UsbBoard::bitRate() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return bitRate_;
}
int UsbBoard::fifoResets() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return fifoResets_;
}

UsbBoard::Widths UsbBoard::widths(ci_u32 base) const {
    for (const auto& [b, w] : widths_) {
        if (b == base) return w;
    }
    return Widths{1, 1};
}

bool UsbBoard::busFault(ci_u8* status) {
    if (busFaults_ <= 0) return false;
    busFaults_--;
    *status = busFaultStatus_;
    return true;
}

// Reads n bytes from consecutive registers (most significant byte first).
ci_u8 UsbBoard::readBytes(ci_u32 base, ci_u32 addr, ci_u32 n, ci_u8* out) {
    ci_u8 status = kBusOk;
    if (busFault(&status)) return status;
    const Widths w = widths(base);
    for (ci_u32 done = 0, reg = addr; done < n; reg++) {
        ci_u32 value = 0;
        if (bus_.read(base, reg, w.addrBytes * 8, w.dataBytes * 8, &value) != CI_CAMERA_SUCCESS) return kBusNack;
        for (ci_u32 b = 0; b < w.dataBytes && done < n; b++) out[done++] = (ci_u8)(value >> (8 * (w.dataBytes - 1 - b)));
    }
    return kBusOk;
}

ci_u8 UsbBoard::writeBytes(ci_u32 base, ci_u32 addr, const ci_u8* bytes, ci_u32 n) {
    ci_u8 status = kBusOk;
    if (busFault(&status)) return status;
    const Widths w = widths(base);
    for (ci_u32 done = 0, reg = addr; done + w.dataBytes <= n; reg++) {
        ci_u32 value = 0;
        for (ci_u32 b = 0; b < w.dataBytes; b++) value = (value << 8) | bytes[done++];
        if (bus_.write(base, reg, w.addrBytes * 8, w.dataBytes * 8, value) != CI_CAMERA_SUCCESS) return kBusNack;
    }
    return kBusOk;
}

// The two-wire bus requests.
ci_u16 UsbBoard::serveRegisters(ci_u8 request, ci_u16 value, ci_u16 index, ci_u16 length, ci_u8* data,
                                bool* known) {
    const ci_u32 ship = value >> 8;
    std::vector<ci_u8> bytes(65536 + 1, 0);
    switch (request) {
        case 0xFC: {  // register read, 8-bit address, 16-bit data
            const ci_u8 st = readBytes(ship, value & 0xFF, 2, bytes.data());
            return put(data, length, {bytes[0], bytes[1], st});
        }
        case 0xFB: {  // register write, 8-bit address, data in index
            const ci_u8 word[2] = {(ci_u8)(index >> 8), (ci_u8)index};
            lastWriteStatus_ = writeBytes(ship, value & 0xFF, word, 2);
            return put(data, length, {lastWriteStatus_});
        }
        case 0xF2:  // burst read, 8-bit start address
        case 0xDE: {  // read after an address phase
            ci_u32 addr = value & 0xFF;
            if (request == 0xDE) {
                addr = 0;
                for (const auto& [b, a] : pointers_) {
                    if (b == ship) addr = a;
                }
            }
            bytes[index] = readBytes(ship, addr, index, bytes.data());
            const ci_u16 n = std::min<ci_u16>(length, (ci_u16)(index + 1));
            memcpy(data, bytes.data(), n);
            return n;
        }
        case 0xF1: {  // address (+ data) stream
            const Widths w = widths(ship);
            std::vector<ci_u8> stream{(ci_u8)value};
            stream.insert(stream.end(), data, data + length);
            ci_u32 addr = 0;
            for (ci_u32 b = 0; b < w.addrBytes && b < stream.size(); b++) addr = (addr << 8) | stream[b];
            if (stream.size() <= w.addrBytes) {
                ci_u8 st = kBusOk;
                if (busFault(&st)) {
                    lastWriteStatus_ = st;
                } else {
                    lastWriteStatus_ = bus_.device(ship) != nullptr ? kBusOk : kBusNack;
                }
                pointers_.emplace_back(ship, addr);
                return length;
            }
            lastWriteStatus_ = writeBytes(ship, addr, stream.data() + w.addrBytes, (ci_u32)stream.size() - w.addrBytes);
            return length;
        }
        case 0xE2: {  // 16-bit address, 16-bit data
            const ci_u8 st = readBytes(ship, index, 2, bytes.data());
            return put(data, length, {bytes[0], bytes[1], st});
        }
        case 0xDF: {  // 16-bit address, 8-bit data
            const ci_u8 st = readBytes(ship, index, 1, bytes.data());
            return put(data, length, {bytes[0], st, 0});
        }
        case 0xE1:  // 16-bit address write, data stage high, low
            lastWriteStatus_ = writeBytes(ship, index, data, std::min<ci_u16>(length, 2));
            return length;
        case 0xE0: {  // 16-bit address, data byte in value
            const ci_u8 byte = (ci_u8)value;
            lastWriteStatus_ = writeBytes(ship, index, &byte, 1);
            return put(data, length, {lastWriteStatus_});
        }
        case 0xD7:
            return put(data, length, {lastWriteStatus_});
        default:
            *known = false;
            return 0;
    }
}

// Controller memories, identification and board control.
ci_u16 UsbBoard::serveBoard(ci_u8 request, ci_u16 value, ci_u16 index, ci_u16 length, ci_u8* data, bool* known) {
    const ci_u8 mask = (ci_u8)(index >> 8), byte = (ci_u8)index;
    auto masked = [&](std::vector<ci_u8>& memory, ci_u32 addr) {
        memory[addr] = (ci_u8)((memory[addr] & ~mask) | (byte & mask));
        return put(data, length, {0});
    };
    switch (request) {
        case 0xFE:
            return put(data, length, {config_.usbGeneration});
        case 0xFD:
            return putLe16(data, length, config_.maxPacketSize);
        case 0xFA:
            return putLe16(data, length, config_.markerPacketSize);
        case 0xF9:
            return putLe16(data, length, (ci_u32)config_.marker.size());
        case 0xF8: {
            const ci_u16 n = std::min<ci_u16>(length, (ci_u16)config_.marker.size());
            memcpy(data, config_.marker.data(), n);
            return n;
        }
        case 0xA1:
            return putLe16(data, length, config_.fwVersion);
        case 0xED:
            return put(data, length, {xdata_[value]});
        case 0xEC:
            return masked(xdata_, value);
        case 0xEB:
            return put(data, length, {intRam_[value & 0xFF]});
        case 0xEA:
            return masked(intRam_, value & 0xFF);
        case 0xE9:
            return put(data, length, {sfr_[value & 0xFF]});
        case 0xE8:
            return masked(sfr_, value & 0xFF);
        case 0xD9:
            bitRate_ = (ci_u8)value;
            return 0;
        case 0xD8:
            return put(data, length, {bitRate_});
        case 0xDC:
            fifoResets_++;
            return 0;
        case 0xF7:
        case 0xF4:
        case 0xF3:
            return 0;
        default:
            *known = false;
            return 0;
    }
}

ci_u16 UsbBoard::serve(ci_u8 request, ci_u16 value, ci_u16 index, ci_u16 length, ci_u8* data, bool* known) {
    *known = true;
    const ci_u16 n = serveRegisters(request, value, index, length, data, known);
    if (*known) return n;
    *known = true;
    return serveBoard(request, value, index, length, data, known);
}

UsbBoard::Outcome UsbBoard::control(const ci_u8 setup[8], ci_u8* data, ci_u16* actualLength) {
    std::lock_guard<std::mutex> lock(mutex_);
    const ci_u8 type = setup[0], request = setup[1];
    const ci_u16 value = (ci_u16)(setup[2] | setup[3] << 8);
    const ci_u16 index = (ci_u16)(setup[4] | setup[5] << 8);
    const ci_u16 length = (ci_u16)(setup[6] | setup[7] << 8);
    const bool in = (type & 0x80) != 0;
    UsbControlRequest record{type, request, value, index, length, {}};
    if (!in) record.data.assign(data, data + length);
    auto matches = [&](int wanted) { return wanted == 0 || wanted == request; };
    *actualLength = 0;
    const ci_u8 family = config_.productId == kNewBoard ? kFamilyNewBoard : kFamilyOldBoards;
    if ((type & 0x7F) != family || (stallRequest_ >= 0 && matches(stallRequest_))) {
        stallRequest_ = -1;
        requests_.push_back(record);
        return Outcome::Stall;
    }
    if (hangRequest_ >= 0 && matches(hangRequest_)) {
        hangRequest_ = -1;
        requests_.push_back(record);
        return Outcome::Hang;
    }
    bool known = true;
    ci_u16 n = serve(request, value, index, length, data, &known);
    if (!known) {
        requests_.push_back(record);
        return Outcome::Stall;
    }
    if (shortRequest_ >= 0 && matches(shortRequest_)) {
        shortRequest_ = -1;
        n = std::min(n, shortBytes_);
    }
    *actualLength = in ? n : length;
    if (in) record.data.assign(data, data + n);
    requests_.push_back(record);
    return Outcome::Done;
}
