#include "prom_image.h"

#include "bus_sim.h"

namespace {

void put16(PromImage::Bytes& out, ci_u32 v) {
    out.push_back((ci_u8)(v >> 8));
    out.push_back((ci_u8)v);
}

void put32(PromImage::Bytes& out, ci_u32 v) {
    put16(out, v >> 16);
    put16(out, v & 0xFFFF);
}

}  // namespace

PromImage& PromImage::record(ci_u8 type, const std::string& label, const Bytes& afterLabel) {
    Bytes r{type};
    put16(r, (ci_u32)(9 + afterLabel.size()));
    Bytes name(9, 0);
    for (size_t i = 0; i < label.size() && i < 8; ++i) name[i] = (ci_u8)label[i];
    r.insert(r.end(), name.begin(), name.end());
    r.insert(r.end(), afterLabel.begin(), afterLabel.end());
    records_.push_back(r);
    return *this;
}

PromImage& PromImage::settings(ci_u8 type, const std::string& label, const std::vector<Bytes>& subRecords) {
    Bytes body;
    for (const Bytes& s : subRecords) body.insert(body.end(), s.begin(), s.end());
    return record(type, label, body);
}

PromImage& PromImage::scratchpad(const std::string& label, ci_u32 tag, const Bytes& payload) {
    Bytes body;
    put32(body, tag);
    body.insert(body.end(), payload.begin(), payload.end());
    return record(17, label, body);
}

PromImage::Bytes PromImage::sub(ci_u8 type, const Bytes& entries) {
    Bytes s{type};
    put16(s, (ci_u32)entries.size());
    s.insert(s.end(), entries.begin(), entries.end());
    return s;
}

PromImage::Bytes PromImage::regEntries(const std::vector<std::pair<ci_u32, ci_u32>>& addrValue) {
    Bytes e;
    for (const auto& [addr, value] : addrValue) {
        put16(e, addr);
        put16(e, value);
    }
    return sub(3, e);
}

PromImage::Bytes PromImage::varEntries(const std::vector<std::vector<ci_u32>>& rows) {
    Bytes e;
    for (const auto& r : rows) {
        const ci_u32 first = (r[0] ? 0x80u : 0u) | ((r[1] & 0x1F) << 2) | ((r[2] >> 8) & 3);
        e.push_back((ci_u8)first);
        e.push_back((ci_u8)r[2]);
        put16(e, r[3]);
    }
    return sub(4, e);
}

PromImage::Bytes PromImage::generalEntries(const std::vector<General>& entries) {
    Bytes e;
    for (const General& g : entries) {
        e.push_back(g.type);
        put32(e, g.space);
        put32(e, g.address);
        e.push_back(g.width);
        put32(e, g.mask);
        put32(e, g.value);
    }
    return sub(2, e);
}

PromImage::Bytes PromImage::bytes() const {
    Bytes out{'C', 'I', 'E', 'E', 1};
    for (const Bytes& r : records_) out.insert(out.end(), r.begin(), r.end());
    if (end_) out.insert(out.end(), {0xFF, 0x00, 0x00});
    return out;
}

void PromImage::store(const std::function<void(ci_u32, ci_u8)>& put) const {
    const Bytes b = bytes();
    for (size_t i = 0; i < b.size(); ++i) put((ci_u32)i, b[i]);
}

void PromImage::loadInto(BusDevice& device) const {
    store([&device](ci_u32 addr, ci_u8 v) { device.seed(addr, v); });
}
