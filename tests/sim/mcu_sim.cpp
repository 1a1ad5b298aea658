#include "mcu_sim.h"

#include <string>

namespace {

ci_u32 bytesOf(ci_u32 bits) {
    return bits >= 8 ? bits / 8 : 1;
}

// The 16-bit probe master's start/status and base SFRs, and how many status
// reads a started probe stays busy for.
const ci_u32 kProbeStatus = 0x94002, kProbeBase = 0x94006;
const int kBusyReads = 2;

}  // namespace

SensorBuilder McuSim::sensor(int style) {
    SensorBuilder b;
    b.model((ci_u32)style).widths(16, 16).shipAddr(0x20);
    b.selectors(0, 0).space("REGS", 0);
    for (ci_u32 d = 0; d < 8; ++d) b.space(("VAR" + std::to_string(d)).c_str(), d, CI_MCU_ADDR);
    for (ci_u32 s = 0; s < 4; ++s) b.space(("SFR" + std::to_string(s)).c_str(), s, CI_SFR_ADDR);
    switch (style) {
        case 16:
            b.reg("MCU_ADDRESS", kAddr).reg("MCU_DATA_0", kData).reg("MCU_DATA_1", kData + 2);
            break;
        case 44:
            b.reg("ACCESS_CTL_STAT", kCtl).reg("PHYSICAL_ADDR_ACCESS", kPhys).reg("MCU_ADDRESS", kAddr);
            b.reg("MCU_DATA_0", kData).reg("MCU_DATA_1", kData + 2);
            break;
        case 54:
        case 55:
            b.reg("ACCESS_CTL_STAT", kCtl);
            b.reg("PHYSICAL_ADDRESS_ACCESS", kPhys).field("PHYSICAL_BYTE_ACCESS", 0x8000);
            b.reg("LOGICAL_ADDRESS_ACCESS", kAddr).field("LOGICAL_BYTE_ACCESS", 0x8000);
            b.reg("MCU_VARIABLE_DATA0", kData).reg("MCU_VARIABLE_DATA1", kData + 2);
            break;
        case 71:
            b.reg("ADVANCED_BASE", kAdvBase, 0xFFFFFFFF).span(2);
            break;
    }
    return b;
}

ci_u32 McuSim::load(const Memory& m, ci_u32 bank, ci_u32 offset, int width) {
    ci_u32 v = 0;
    for (int k = 0; k < width; ++k) {
        auto it = m.find({bank, offset + (ci_u32)k});
        v = (v << 8) | (it == m.end() ? 0u : it->second);
    }
    return v;
}

void McuSim::store(Memory& m, ci_u32 bank, ci_u32 offset, int width, ci_u32 v) {
    for (int k = 0; k < width; ++k) m[{bank, offset + (ci_u32)k}] = (ci_u8)(v >> (8 * (width - 1 - k)));
}

ci_u32 McuSim::reg(ci_u32 addr) const {
    auto it = regs_.find(addr);
    return it == regs_.end() ? 0u : it->second;
}

// Sensor-register runs move words of the sensor's data width; raw transfers
// use the calling thread's data width, as a board does.
ci_error_code McuSim::hook(Call call, ci_u32, ci_u32, ci_u32 start, ci_u32 n, ci_u32* vals) {
    const bool write = isWrite(call);
    ci_u32 bits = camera_->sensor->reg_data_size;
    if (!isSensorRun(call)) ci_getMode(camera_, CI_REG_DATA_SIZE, &bits);
    ci_error_code code = CI_CAMERA_SUCCESS;
    for (ci_u32 i = 0; i < n && code == CI_CAMERA_SUCCESS; ++i) {
        if (toPort(start)) {
            portValue(write, bits, &vals[i]);
        } else {
            code = access(write, start + i * bytesOf(bits), bits, &vals[i]);
        }
    }
    if (!write && code != CI_CAMERA_SUCCESS) {
        for (ci_u32 i = 0; i < n; ++i) vals[i] = 0;
    }
    log_.push_back(Transfer{write, start, bits, std::vector<ci_u32>(vals, vals + n)});
    return code;
}

void McuSim::portValue(bool write, ci_u32 bits, ci_u32* v) {
    Memory& m = port_.sfr ? sfrs_ : vars_;
    const bool upper = style_ == 54 || style_ == 55;
    if (port_.byte) {
        if (write) {
            const ci_u32 byte = bits == 8 ? *v : (upper ? *v >> 8 : *v);
            store(m, port_.bank, port_.ptr, 1, byte & 0xFF);
        } else {
            const ci_u32 byte = load(m, port_.bank, port_.ptr, 1);
            *v = (bits == 8 || !upper) ? byte : byte << 8;
        }
        port_.ptr += 1;
        return;
    }
    const int bytes = (int)bytesOf(bits);
    if (write) {
        store(m, port_.bank, port_.ptr, bytes, *v);
    } else {
        *v = load(m, port_.bank, port_.ptr, bytes);
    }
    port_.ptr += (ci_u32)bytes;
}

bool McuSim::windowTarget(ci_u32 addr, ci_u32 bytes, Memory** m, ci_u32* bank, ci_u32* offset) {
    if ((style_ == 54 || style_ == 55) && addr >= 0x8000) {
        *m = addr + bytes > 0x10000 ? nullptr : (logical_ ? &vars_ : &sfrs_);
        *bank = logical_ ? (addr >> 10) & 0x1F : region_;
        *offset = logical_ ? addr & 0x3FF : (a15_ << 15) | (addr & 0x7FFF);
        return true;
    }
    if (style_ == 71 && addr >= 0xE000 && addr < 0xF000) {
        *m = addr + bytes > 0xF000 ? nullptr : &sfrs_;
        *bank = 0;
        *offset = advBase() + (addr - 0xE000);
        return true;
    }
    return false;
}

ci_error_code McuSim::access(bool write, ci_u32 addr, ci_u32 bits, ci_u32* v) {
    Memory* m = nullptr;
    ci_u32 bank = 0, offset = 0;
    const int bytes = (int)bytesOf(bits);
    if (windowTarget(addr, (ci_u32)bytes, &m, &bank, &offset)) {
        if (!m) return CI_I2C_NACK_ERROR;
        if (write) {
            store(*m, bank, offset, bytes, *v);
            if (m == &sfrs_) afterSfrWrite(offset);
        } else {
            if (m == &sfrs_) pollProbe(offset);
            *v = load(*m, bank, offset, bytes);
        }
    } else if (write) {
        writeRegister(addr, *v);
    } else {
        *v = readRegister(addr);
    }
    return CI_CAMERA_SUCCESS;
}

void McuSim::pointPort(bool sfr, ci_u32 word) {
    port_.sfr = sfr;
    port_.byte = (word & 0x8000) != 0;
    if (sfr) {
        port_.bank = style_ == 16 ? 0 : region_;
        port_.ptr = (style_ == 16 ? 0 : a15_ << 15) | (word & 0x7FFF);
    } else if (style_ == 16) {
        port_.bank = (word >> 8) & 0x1F;
        port_.ptr = word & 0xFF;
    } else {
        port_.bank = (word >> 10) & 0x1F;
        port_.ptr = word & 0x3FF;
    }
}

// The address registers read back where the port points now.
ci_u32 McuSim::portWord(bool logicalReg) const {
    const ci_u32 byte = port_.byte ? 0x8000 : 0;
    if (style_ != 16 && port_.sfr == logicalReg) return reg(logicalReg ? kAddr : kPhys);
    if (port_.sfr) return (port_.ptr & 0x7FFF) | byte;
    if (style_ == 16) return (port_.bank << 8) | (port_.ptr & 0xFF) | 0x2000 | byte;
    return (port_.bank << 10) | (port_.ptr & 0x3FF) | byte;
}

void McuSim::writeRegister(ci_u32 addr, ci_u32 v) {
    v &= 0xFFFF;
    regs_[addr] = v;
    if (addr == kCtl && paged()) {
        region_ = (v >> 6) & 3;
        a15_ = v & 1;
    } else if (addr == kPhys && paged()) {
        logical_ = false;
        pointPort(true, v);
    } else if (addr == kAddr && style_ != 71) {
        if (style_ != 16) logical_ = true;
        pointPort(style_ == 16 && !(v & 0x2000), v);
    }
}

ci_u32 McuSim::readRegister(ci_u32 addr) const {
    if (addr == kCtl && paged()) return (region_ << 6) | (logical_ ? 0 : 4) | a15_;
    if ((addr == kAddr || addr == kPhys) && style_ != 71) return portWord(addr == kAddr);
    return reg(addr);
}

// A start of the probe master records the base it probes; its status stays
// as written (busy) for kBusyReads reads, then shows the outcome.
void McuSim::afterSfrWrite(ci_u32 offset) {
    if (offset != kProbeStatus || !(sfr(0, kProbeStatus, 2) & 1)) return;
    probed_ = sfr(0, kProbeBase, 2);
    probeBusy_ = kBusyReads;
}

void McuSim::pollProbe(ci_u32 offset) {
    if (offset != kProbeStatus || probeBusy_ < 0) return;
    if (probeBusy_-- > 0) return;
    setSfr(0, kProbeStatus, 2, farDevs_.count(probed_) ? 0 : 0x10);
}

std::vector<std::pair<ci_u32, ci_u32>> McuSim::writes() const {
    std::vector<std::pair<ci_u32, ci_u32>> out;
    for (const Transfer& t : log_) {
        if (!t.write) continue;
        for (size_t i = 0; i < t.values.size(); ++i) {
            out.emplace_back(toPort(t.addr) ? t.addr : t.addr + (ci_u32)i * bytesOf(t.bits), t.values[i]);
        }
    }
    return out;
}

std::vector<ci_u32> McuSim::writesTo(ci_u32 addr) const {
    std::vector<ci_u32> out;
    for (const auto& w : writes()) {
        if (w.first == addr) out.push_back(w.second);
    }
    return out;
}

McuCamera::McuCamera(int style, const SensorBuilder& builder)
    : sim(style), cam(builder, [this](ci_camera_t* c) { sim.attach(c); }) {}
