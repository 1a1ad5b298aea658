#pragma once
// A simulated sensor microcontroller for the variable, SFR, indirect and
// far-bus paths.  It plugs into a camera's six unlocked register hooks, so
// every access goes through the real register core, and models the memory
// behind the protocol registers so tests can check values end to end.
//
//   McuCamera cam(54);                      // sensor of style 54 + simulator
//   ci_WriteVar(cam, 3, 0x14, 1, 0x5A);
//   cam.sim.var(3, 0x14, 1)                 // 0x5A in the MCU's memory
//   cam.sim.writes()                        // every (register, value) written
//
// Memory: variables per driver and SFRs per space, byte addressed, values
// big-endian.  Indirect registers per offset.  Devices on the far bus with
// byte-addressed memories.
//
// Protocol registers (16-bit addresses and data, registers 2 apart):
//   0x0982 ACCESS_CTL_STAT  write: region = bits 7..6, address bit 15 = bit 0;
//                           read adds bit 2 = physical state
//   0x098A physical address points the port at SFR (region, a15 << 15 | word &
//                           0x7FFF) and selects physical state
//   0x098C logical address  points the port at a variable and selects logical
//                           state; style 16 words name a variable (driver << 8
//                           | offset) with bit 13 set, else an SFR.  Bit 15 of
//                           every address word selects byte access.
//   0x0990..0x099F          the auto-incrementing data port: a value is data
//                           size / 8 bytes, or in byte mode one byte (8-bit
//                           values as such, else the low half in styles 16/44,
//                           the upper half in 54/55)
//   0x8000..0xFFFF          styles 54/55: the mapped window; logical state shows
//                           variable (A >> 10 & 0x1F, A & 0x3FF), physical state
//                           SFR (region, a15 << 15 | A & 0x7FFF)
//   0x3000/0x3002, 0xE000.. style 71: "ADVANCED_BASE" (upper, lower word) and its
//                           window onto SFR space 0 at ADVANCED_BASE + (A - 0xE000)
//   0x3100/0x3102(/0x3104)  indirect address and data (or write and read) ports
//   0x3200..                far-bus master: control, status 0x3202, transmit
//                           count 0x3204, buffers 0x3210.. (tx) and 0x3220.. (rx)
// Style 71 also models the far-bus probe masters in SFR space 0: 16-bit at
// 0x94000 (sensor type 71) and 32-bit at 0x290000 (types 103, 110, 111).
#include <map>
#include <utility>
#include <vector>

#include "recording_transport.h"
#include "sensor_builder.h"

class McuSim : public HookedTransport {
public:
    static constexpr ci_u32 kCtl = 0x0982, kPhys = 0x098A, kAddr = 0x098C, kData = 0x0990, kDataEnd = 0x09A0;
    static constexpr ci_u32 kAdvBase = 0x3000, kIndAddr = 0x3100, kIndData = 0x3102, kIndRead = 0x3104;
    static constexpr ci_u32 kMasterCtl = 0x3200, kMasterStatus = 0x3202, kTxCount = 0x3204, kTx = 0x3210,
                            kRx = 0x3220;

    // The description of a sensor of the given style (sensor types 16, 44,
    // 54 version 1, 55 and 71 unless a type is given), with an address-space
    // table ("REGS" plain, "VAR0".."VAR7" drivers 0..7, "SFR0".."SFR3"
    // spaces 0..3) and the style's protocol registers.  Tests add variable
    // and SFR records with reg(...).in("VAR3").
    static SensorBuilder sensor(int style, ci_u32 sensorType = 0, ci_u32 version = 1);
    // Adds the indirect port ("INDIRECT_ADDR"/"INDIRECT_DATA", or the
    // alternative names "INDIRECT_ADDRESS"/"INDIRECT_WRITE"/"INDIRECT_READ").
    static void addIndirect(SensorBuilder& b, bool alternativeNames);
    // Adds the far-bus master registers.
    static void addFarMaster(SensorBuilder& b);

    explicit McuSim(int style) : style_(style) {}
    // Becomes the camera's transport, with mode functions (without them the
    // direct-access switch is taken as off).
    void attach(ci_camera_t* camera);

    // Memories.
    ci_u32 var(ci_u32 driver, ci_u32 offset, int width) const { return load(vars_, driver, offset, width); }
    void setVar(ci_u32 driver, ci_u32 offset, int width, ci_u32 v) { store(vars_, driver, offset, width, v); }
    ci_u32 sfr(ci_u32 space, ci_u32 offset, int width) const { return load(sfrs_, space, offset, width); }
    void setSfr(ci_u32 space, ci_u32 offset, int width, ci_u32 v) { store(sfrs_, space, offset, width, v); }
    ci_u32 ind(ci_u32 offset) const { return at(ind_, offset); }
    void setInd(ci_u32 offset, ci_u32 v) { ind_[offset] = v; }

    // The far bus: devices by 8-bit bus address, with addrBytes-byte
    // register addresses.
    void addFarDevice(ci_u32 base, ci_u32 addrBytes = 1) { farDevs_[base].addrBytes = addrBytes; }
    ci_u32 far(ci_u32 base, ci_u32 addr, int bytes) const { return load(farDevs_.at(base).mem, 0, addr, bytes); }
    void setFar(ci_u32 base, ci_u32 addr, int bytes, ci_u32 v) { store(farDevs_.at(base).mem, 0, addr, bytes, v); }
    // Status reads a started master (probe or far-bus) stays busy for; -1
    // keeps it busy for ever.
    int busyReads = 2;
    const std::vector<ci_u32>& probedBases() const { return probed_; }

    // Transport support for system-register transfers (variables, SFRs and
    // far registers reached by the transport itself).
    void enableSystemRegisters(ci_camera_t* camera);

    // Traffic.
    enum Kind { Sensor, Raw, System };
    struct Transfer {
        Kind kind;
        bool write;
        ci_u32 addr;               // first address (system: the address type in `type`)
        ci_u32 bits;               // data width of the values
        std::vector<ci_u32> values;
        ci_addr_type type;
        ci_u32 space;
    };
    const std::vector<Transfer>& log() const { return log_; }
    void clearLog() { log_.clear(); }
    // Every register write in order as (address, value); a run into the
    // data port is listed value by value at the port's address.
    std::vector<std::pair<ci_u32, ci_u32>> writes() const;
    // Values written to one register address, in order.
    std::vector<ci_u32> writesTo(ci_u32 addr) const;
    // Transfers (reads and writes) that touched the bus.
    size_t transfers() const { return log_.size(); }

    // Transfers starting at addr (system transfers: at that offset) fail
    // with code `times` times (-1: always), after `skip` have passed.
    void failAt(ci_u32 addr, ci_error_code code, int times = 1, int skip = 0) {
        failures_.push_back(Failure{addr, code, times, skip});
    }

    // Used by the hooks.
    ci_error_code hook(Call call, ci_u32 base, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) override;
    ci_error_code system(bool write, ci_addr_type type, ci_u32 space, ci_u32 start, ci_u32 bits, ci_u32 n,
                         ci_u32* vals);

private:
    using Memory = std::map<std::pair<ci_u32, ci_u32>, ci_u8>;
    struct Port {
        bool sfr = false;
        ci_u32 bank = 0, ptr = 0;
        bool byte = false;
        ci_u32 word = 0;
    };
    struct FarDevice {
        ci_u32 addrBytes;
        Memory mem;  // one bank
    };
    struct Pending {
        ci_u32 offset;             // status SFR or register address
        int remaining;
    };

    static ci_u32 load(const Memory& m, ci_u32 bank, ci_u32 offset, int width);
    static void store(Memory& m, ci_u32 bank, ci_u32 offset, int width, ci_u32 v);

    static ci_u32 at(const std::map<ci_u32, ci_u32>& m, ci_u32 key);
    ci_u32 reg(ci_u32 addr) const { return at(regs_, addr); }
    ci_u32 advBase() const { return (reg(kAdvBase) << 16) | reg(kAdvBase + 2); }
    bool paged() const { return style_ == 44 || style_ == 54 || style_ == 55; }
    bool scriptedFailure(ci_u32 addr, ci_error_code* code);
    ci_error_code access(bool write, ci_u32 addr, ci_u32 bits, ci_u32* v);
    void portValue(bool write, ci_u32 bits, ci_u32* v);
    void writeRegister(ci_u32 addr, ci_u32 v);
    ci_u32 readRegister(ci_u32 addr);
    void pointPort(bool sfr, ci_u32 word);
    ci_u32 portWord(bool logicalReg) const;
    bool windowTarget(ci_u32 addr, ci_u32 bytes, Memory** m, ci_u32* bank, ci_u32* offset);
    void afterSfrWrite(ci_u32 offset);
    void pollStatus(ci_u32 offset);
    void startBusy(ci_u32 key);
    void finishProbe(ci_u32 offset);
    void runMaster(ci_u32 control);

    int style_;
    bool logical_ = true;  // the access state: logical or physical, region and address bit 15
    ci_u32 region_ = 0, a15_ = 0;
    Memory vars_, sfrs_;
    std::map<ci_u32, ci_u32> ind_;
    std::map<ci_u32, ci_u32> regs_;
    Port port_;
    ci_u32 indAddr_ = 0;
    std::map<ci_u32, FarDevice> farDevs_;
    std::vector<ci_u32> probed_;
    std::vector<Pending> pending_;
    ci_u32 masterResult_ = 0;
    std::vector<Transfer> log_;
    struct Failure {
        ci_u32 addr;
        ci_error_code code;
        int times;
        int skip;
    };
    std::vector<Failure> failures_;
};

// A test camera of one style with its simulator attached before the register
// cache is set up (so the initial access-state refresh reads the simulator).
class McuCamera {
public:
    explicit McuCamera(int style) : McuCamera(style, McuSim::sensor(style)) {}
    McuCamera(int style, const SensorBuilder& builder);

    McuSim sim;
    TestCamera cam;

    operator ci_camera_t*() const { return cam.get(); }
    _sg_context_t* shared() const { return cam.context()->sg_context; }
    ci_s64 cached(const char* name) const { return cam.cached(name); }
    // ci_ReadVar / ci_ReadSfr: the value read, or -1 on failure.
    ci_s64 readVar(ci_u32 driver, ci_u32 offset, ci_s32 width) const {
        ci_u32 v = 0;
        return ci_ReadVar(cam, driver, offset, width, &v) ? -1 : (ci_s64)v;
    }
    ci_s64 readSfr(ci_u32 space, ci_u32 offset, ci_s32 width) const {
        ci_u32 v = 0;
        return ci_ReadSfr(cam, space, offset, width, &v) ? -1 : (ci_s64)v;
    }
};
