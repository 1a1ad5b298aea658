#pragma once
// A simulated sensor microcontroller for the variable, SFR and far-probe
// paths.  It plugs into a camera's register hooks, so every access goes
// through the real register core, and models the memory behind the protocol
// registers so tests can check values end to end:
//   McuCamera cam(54);
//   ci_WriteVar(cam, 3, 0x14, 1, 0x5A);
//   cam.sim.var(3, 0x14, 1)   // 0x5A
//   cam.sim.writes()          // every (register, value) written
//
// Memory: variables per driver and SFRs per space, byte addressed,
// big-endian.  Protocol registers (16-bit addresses and data):
//   0x0982 ACCESS_CTL_STAT  write: region = bits 7..6, address bit 15 = bit 0;
//                           read adds bit 2 = physical state
//   0x098A physical address points the port at SFR (region, a15 << 15 | word &
//                           0x7FFF) and selects physical state
//   0x098C logical address  points the port at a variable and selects logical
//                           state; style 16 words name a variable (driver << 8
//                           | offset) with bit 13 set, else an SFR.  Bit 15
//                           selects byte access.
//   0x0990..0x099F          the auto-incrementing data port: data size / 8
//                           bytes a value, or one byte in byte mode (the low
//                           half in styles 16/44, the upper half in 54/55)
//   0x8000..0xFFFF          styles 54/55: the mapped window; logical state shows
//                           variable (A >> 10 & 0x1F, A & 0x3FF), physical state
//                           SFR (region, a15 << 15 | A & 0x7FFF)
//   0x3000/0x3002, 0xE000.. style 71: "ADVANCED_BASE" (upper, lower word) and its
//                           window onto SFR space 0 at ADVANCED_BASE + (A - 0xE000)
// Style 71 also models the 16-bit far-bus probe master at SFR 0x94000.
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "recording_transport.h"
#include "sensor_builder.h"

class McuSim : public HookedTransport {
public:
    static constexpr ci_u32 kCtl = 0x0982, kPhys = 0x098A, kAddr = 0x098C, kData = 0x0990, kDataEnd = 0x09A0;
    static constexpr ci_u32 kAdvBase = 0x3000;

    // A sensor of the given style (sensor type = style) with an address-space
    // table ("REGS" plain, "VAR0".."VAR7" drivers, "SFR0".."SFR3" spaces) and
    // the style's protocol registers.
    static SensorBuilder sensor(int style);

    explicit McuSim(int style) : style_(style) {}

    ci_u32 var(ci_u32 driver, ci_u32 offset, int width) const { return load(vars_, driver, offset, width); }
    void setVar(ci_u32 driver, ci_u32 offset, int width, ci_u32 v) { store(vars_, driver, offset, width, v); }
    ci_u32 sfr(ci_u32 space, ci_u32 offset, int width) const { return load(sfrs_, space, offset, width); }
    void setSfr(ci_u32 space, ci_u32 offset, int width, ci_u32 v) { store(sfrs_, space, offset, width, v); }

    // Devices present on the far bus, by 8-bit bus address.
    void addFarDevice(ci_u32 base) { farDevs_.insert(base); }

    struct Transfer {
        bool write;
        ci_u32 addr;  // first address
        ci_u32 bits;  // data width of the values
        std::vector<ci_u32> values;
    };
    const std::vector<Transfer>& log() const { return log_; }
    void clearLog() { log_.clear(); }
    size_t transfers() const { return log_.size(); }
    // Every register write in order as (address, value); a run into the data
    // port is listed value by value at the port's address.
    std::vector<std::pair<ci_u32, ci_u32>> writes() const;
    std::vector<ci_u32> writesTo(ci_u32 addr) const;

    ci_error_code hook(Call call, ci_u32 base, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) override;

private:
    using Memory = std::map<std::pair<ci_u32, ci_u32>, ci_u8>;
    struct Port {
        bool sfr = false;
        ci_u32 bank = 0, ptr = 0;
        bool byte = false;
    };

    static ci_u32 load(const Memory& m, ci_u32 bank, ci_u32 offset, int width);
    static void store(Memory& m, ci_u32 bank, ci_u32 offset, int width, ci_u32 v);

    ci_u32 reg(ci_u32 addr) const;
    ci_u32 advBase() const { return (reg(kAdvBase) << 16) | reg(kAdvBase + 2); }
    bool paged() const { return style_ == 44 || style_ == 54 || style_ == 55; }
    bool toPort(ci_u32 addr) const { return style_ != 71 && addr >= kData && addr < kDataEnd; }
    ci_error_code access(bool write, ci_u32 addr, ci_u32 bits, ci_u32* v);
    void portValue(bool write, ci_u32 bits, ci_u32* v);
    void writeRegister(ci_u32 addr, ci_u32 v);
    ci_u32 readRegister(ci_u32 addr) const;
    void pointPort(bool sfr, ci_u32 word);
    ci_u32 portWord(bool logicalReg) const;
    bool windowTarget(ci_u32 addr, ci_u32 bytes, Memory** m, ci_u32* bank, ci_u32* offset);
    void afterSfrWrite(ci_u32 offset);
    void pollProbe(ci_u32 offset);

    int style_;
    bool logical_ = true;  // the access state: logical or physical, region and address bit 15
    ci_u32 region_ = 0, a15_ = 0;
    Memory vars_, sfrs_;
    std::map<ci_u32, ci_u32> regs_;
    Port port_;
    std::set<ci_u32> farDevs_;
    ci_u32 probed_ = 0;
    int probeBusy_ = -1;  // status reads left before a started probe finishes; -1 idle
    std::vector<Transfer> log_;
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
    // ci_ReadVar: the value read, or -1 on failure.
    ci_s64 readVar(ci_u32 driver, ci_u32 offset, ci_s32 width) const {
        ci_u32 v = 0;
        return ci_ReadVar(cam, driver, offset, width, &v) ? -1 : (ci_s64)v;
    }
};
