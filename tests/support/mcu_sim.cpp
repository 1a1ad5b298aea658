#include "mcu_sim.h"

#include <string>

namespace {

McuSim* of(ci_camera_t* c) {
    return static_cast<McuSim*>(static_cast<HookedTransport*>(_ctx(c)->transport_context));
}

ci_error_code readSystem(ci_camera_t* c, ci_addr_type type, ci_u32 space, ci_u32 start, ci_u32 bits, ci_u32 n,
                         ci_u32* vals) {
    return of(c)->system(false, type, space, start, bits, n, vals);
}
ci_error_code writeSystem(ci_camera_t* c, ci_addr_type type, ci_u32 space, ci_u32 start, ci_u32 bits, ci_u32 n,
                          ci_u32* vals) {
    return of(c)->system(true, type, space, start, bits, n, vals);
}

ci_u32 bytesOf(ci_u32 bits) {
    return bits >= 8 ? bits / 8 : 1;
}

// Pending-status key of the far-bus master (outside the SFR offsets used).
const ci_u32 kMasterKey = 0x80000000u;

}  // namespace

SensorBuilder McuSim::sensor(int style, ci_u32 sensorType, ci_u32 version) {
    SensorBuilder b;
    b.model(sensorType ? sensorType : (ci_u32)style).version(version).widths(16, 16).shipAddr(0x20);
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

void McuSim::addIndirect(SensorBuilder& b, bool alternativeNames) {
    if (alternativeNames) {
        b.reg("INDIRECT_ADDRESS", kIndAddr).reg("INDIRECT_WRITE", kIndData).reg("INDIRECT_READ", kIndRead);
    } else {
        b.reg("INDIRECT_ADDR", kIndAddr).reg("INDIRECT_DATA", kIndData);
    }
}

void McuSim::addFarMaster(SensorBuilder& b) {
    b.reg("I2C_MASTER_CONTROL", kMasterCtl).reg("I2C_MASTER_STATUS", kMasterStatus);
    b.reg("TXBUFFER_TOTAL_BYTE_COUNT", kTxCount).reg("TXBUFFER_DATA_REGISTER_0", kTx);
    b.reg("RXBUFFER_DATA_REGISTER_1", kRx);
}

void McuSim::attach(ci_camera_t* camera) {
    install(camera);
    camera->getMode = _GetMode;
    camera->setMode = _SetMode;
}

void McuSim::enableSystemRegisters(ci_camera_t* camera) {
    _ctx(camera)->readSystemRegistersNolock = readSystem;
    _ctx(camera)->writeSystemRegistersNolock = writeSystem;
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

ci_u32 McuSim::at(const std::map<ci_u32, ci_u32>& m, ci_u32 key) {
    auto it = m.find(key);
    return it == m.end() ? 0u : it->second;
}

bool McuSim::scriptedFailure(ci_u32 addr, ci_error_code* code) {
    for (Failure& f : failures_) {
        if (f.addr == addr && f.times != 0) {
            if (f.skip > 0) {
                --f.skip;
                return false;
            }
            if (f.times > 0) --f.times;
            *code = f.code;
            return true;
        }
    }
    return false;
}

// Sensor-register runs move words of the sensor's data width; raw transfers
// use the calling thread's data width, as a board does.
ci_error_code McuSim::hook(Call call, ci_u32 base, ci_u32, ci_u32 start, ci_u32 n, ci_u32* vals) {
    const bool write = isWrite(call);
    const Kind kind = isSensorRun(call) ? Sensor : Raw;
    ci_u32 bits = camera_->sensor->reg_data_size;
    if (kind == Raw) ci_getMode(camera_, CI_REG_DATA_SIZE, &bits);
    ci_error_code code = CI_CAMERA_SUCCESS;
    if (!scriptedFailure(start, &code)) {
        code = kind == Raw && base != camera_->sensor->shipAddr ? CI_I2C_NACK_ERROR : CI_CAMERA_SUCCESS;
        const bool toPort = style_ != 71 && start >= kData && start < kDataEnd;
        for (ci_u32 i = 0; i < n && code == CI_CAMERA_SUCCESS; ++i) {
            if (toPort) {
                portValue(write, bits, &vals[i]);
            } else {
                code = access(write, start + i * bytesOf(bits), bits, &vals[i]);
            }
        }
    }
    if (!write && code != CI_CAMERA_SUCCESS) {
        for (ci_u32 i = 0; i < n; ++i) vals[i] = 0;
    }
    log_.push_back(Transfer{kind, write, start, bits, std::vector<ci_u32>(vals, vals + n), CI_REG_ADDR, 0});
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
            if (m == &sfrs_) pollStatus(offset);
            *v = load(*m, bank, offset, bytes);
        }
        return CI_CAMERA_SUCCESS;
    }
    if (write) {
        writeRegister(addr, *v);
    } else {
        *v = readRegister(addr);
    }
    return CI_CAMERA_SUCCESS;
}

void McuSim::pointPort(bool sfr, ci_u32 word) {
    port_.sfr = sfr;
    port_.word = word;
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
    } else if (addr == kIndAddr) {
        indAddr_ = v;
    } else if (addr == kIndData) {
        ind_[indAddr_] = v;
    } else if (addr == kMasterCtl && (v & 1)) {
        runMaster(v);
    }
}

ci_u32 McuSim::readRegister(ci_u32 addr) {
    if (addr == kCtl && paged()) return (region_ << 6) | (logical_ ? 0 : 4) | a15_;
    if ((addr == kAddr || addr == kPhys) && style_ != 71) return portWord(addr == kAddr);
    if (addr == kIndData || addr == kIndRead) return ind(indAddr_);
    if (addr == kMasterStatus) pollStatus(kMasterKey);
    return reg(addr);
}

// Probe masters: a start leaves the status busy for busyReads reads, then
// finishProbe puts the outcome in place.
void McuSim::afterSfrWrite(ci_u32 offset) {
    const bool start16 = offset == 0x94002 && (sfr(0, 0x94002, 2) & 1);
    const bool start32 = offset == 0x290000 && (sfr(0, 0x290000, 4) & 1);
    if (!start16 && !start32) return;
    probed_.push_back(start16 ? sfr(0, 0x94006, 2) : sfr(0, 0x290008, 4));
    startBusy(offset);
}

// A new start replaces whatever was still pending on the same status.
void McuSim::startBusy(ci_u32 key) {
    for (size_t i = 0; i < pending_.size(); ++i) {
        if (pending_[i].offset == key) pending_.erase(pending_.begin() + (long)i--);
    }
    pending_.push_back(Pending{key, busyReads});
}

void McuSim::pollStatus(ci_u32 offset) {
    for (size_t i = 0; i < pending_.size(); ++i) {
        if (pending_[i].offset != offset) continue;
        if (pending_[i].remaining != 0) {  // still busy (negative: for ever)
            if (pending_[i].remaining > 0) --pending_[i].remaining;
            return;
        }
        finishProbe(offset);
        pending_.erase(pending_.begin() + (long)i);
        return;
    }
}

void McuSim::finishProbe(ci_u32 offset) {
    const ci_u32 nack = farDevs_.count(probed_.empty() ? 0 : probed_.back()) ? 0 : 1;
    if (offset == 0x94002) {
        setSfr(0, 0x94002, 2, nack ? 0x10 : 0);
    } else if (offset == 0x290000) {
        setSfr(0, 0x290000, 4, 0);
        setSfr(0, 0x290004, 4, nack ? 0x8 : 0);
    } else {
        regs_[kMasterStatus] = masterResult_;
    }
}

// Far-bus master: transmit bytes are address bytes, then data bytes; a read
// returns rxCount bytes from the addressed register on.
void McuSim::runMaster(ci_u32 control) {
    const ci_u32 base = (control >> 8) & 0xFE, rxCount = (control >> 4) & 7;
    const ci_u32 n = reg(kTxCount);
    std::vector<ci_u8> tx;
    for (ci_u32 i = 0; i < n; ++i) tx.push_back((ci_u8)(reg(kTx + 2 * (i / 2)) >> (i % 2 ? 0 : 8)));
    auto dev = farDevs_.find(base);
    const bool ok = dev != farDevs_.end() && n >= dev->second.addrBytes;
    if (ok) {
        const ci_u32 addrBytes = dev->second.addrBytes;
        ci_u32 addr = 0;
        for (ci_u32 i = 0; i < addrBytes; ++i) addr = (addr << 8) | tx[i];
        for (ci_u32 i = addrBytes; i < n; ++i) store(dev->second.mem, 0, addr + i - addrBytes, 1, tx[i]);
        for (ci_u32 k = 0; k < rxCount; ++k) {
            const ci_u32 byte = load(dev->second.mem, 0, addr + k, 1);
            ci_u32& word = regs_[kRx + 2 * (k / 2)];
            word = k % 2 ? (word & 0xFF00) | byte : byte << 8;
        }
    }
    regs_[kMasterStatus] = 1u;  // busy; the outcome shows when done
    masterResult_ = ok ? 0u : 2u;
    startBusy(kMasterKey);
}

ci_error_code McuSim::system(bool write, ci_addr_type type, ci_u32 space, ci_u32 start, ci_u32 bits, ci_u32 n,
                             ci_u32* vals) {
    log_.push_back(Transfer{System, write, start, bits, std::vector<ci_u32>(vals, vals + n), type, space});
    ci_error_code failure = CI_CAMERA_SUCCESS;
    if (scriptedFailure(start, &failure)) return failure;
    const int bytes = (int)bytesOf(bits);
    const bool farReg = type == CI_FAR1_REG_ADDR || type == CI_FAR2_REG_ADDR;
    if (type != CI_MCU_ADDR && type != CI_SFR_ADDR && !farReg) return CI_CAMERA_NOT_SUPPORTED;
    if (farReg && !farDevs_.count(space)) return CI_I2C_NACK_ERROR;
    for (ci_u32 i = 0; i < n; ++i) {
        const ci_u32 at = start + i * (ci_u32)bytes;
        if (farReg) {
            if (write) setFar(space, at, bytes, vals[i]);
            else vals[i] = far(space, at, bytes);
            continue;
        }
        Memory& m = type == CI_MCU_ADDR ? vars_ : sfrs_;
        if (write) store(m, space, at, bytes, vals[i]);
        else vals[i] = load(m, space, at, bytes);
    }
    if (!write) log_.back().values.assign(vals, vals + n);
    return CI_CAMERA_SUCCESS;
}

std::vector<std::pair<ci_u32, ci_u32>> McuSim::writes() const {
    std::vector<std::pair<ci_u32, ci_u32>> out;
    for (const Transfer& t : log_) {
        if (!t.write || t.kind == System) continue;
        const bool toPort = style_ != 71 && t.addr >= kData && t.addr < kDataEnd;
        for (size_t i = 0; i < t.values.size(); ++i) {
            out.emplace_back(toPort ? t.addr : t.addr + (ci_u32)i * bytesOf(t.bits), t.values[i]);
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
