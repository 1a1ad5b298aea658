#pragma once
// Serial PROM images for the calibration tests: a "CIEE" header, records
// built from sub-records, the end record, and ways to corrupt the chain.
//   PromImage p;
//   p.settings(8, "LENS1", {PromImage::regEntries({{0x301A, 0x1234}})});
//   bus.addDevice(0xA0, 16, 8); p.loadInto(*bus.device(0xA0));
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "camkit.h"

class BusDevice;

class PromImage {
public:
    using Bytes = std::vector<ci_u8>;

    // A record of any type: label (up to 8 characters) and the bytes after it.
    PromImage& record(ci_u8 type, const std::string& label, const Bytes& afterLabel);
    // A settings record (type 8 or 12) of sub-records.
    PromImage& settings(ci_u8 type, const std::string& label, const std::vector<Bytes>& subRecords);
    // A scratchpad record (type 17): destination tag and payload.
    PromImage& scratchpad(const std::string& label, ci_u32 tag, const Bytes& payload);
    // Leaves out the end record (type 255).
    PromImage& withoutEnd() { end_ = false; return *this; }

    // Sub-records: type 3 (address or space:address, 16-bit value), type 4
    // (variable: 8-bit flag, driver, offset, value), type 2 (general).
    static Bytes regEntries(const std::vector<std::pair<ci_u32, ci_u32>>& addrValue);
    static Bytes varEntries(const std::vector<std::vector<ci_u32>>& is8DriverOffsetValue);
    struct General {
        ci_u8 type;
        ci_u32 space, address;
        ci_u8 width;
        ci_u32 mask, value;
    };
    static Bytes generalEntries(const std::vector<General>& entries);

    Bytes bytes() const;
    // Every byte at its address, e.g. into a BusDevice or a fake bus.
    void store(const std::function<void(ci_u32, ci_u8)>& put) const;
    void loadInto(BusDevice& device) const;

private:
    static Bytes sub(ci_u8 type, const Bytes& entries);
    std::vector<Bytes> records_;
    bool end_ = true;
};
