#pragma once
// A fake transport that fills a camera's six unlocked register hooks and
// records every bus transaction, so tests can assert the exact traffic the
// register layer produces.
//
//   RecordingTransport bus(camera);      // installs itself in the context
//   bus.set(0x3012, 0x1234);             // sensor register contents
//   bus.failNext(CI_I2C_NACK_ERROR, 2);  // the next two calls answer a NACK
//   ... ci_ReadSensorRegStr(camera, "GAIN", "", &v) ...
//   bus.ops()                            // every call, failed ones included
//
// Sensor-register runs select the address space first through the register
// layer's _updateAddrSpace, as the real transports do; those selector writes
// are recorded as RegWrite operations with selector = true.  Word i of a
// sensor-register run is at start + i * (the sensor's address increment);
// word i of a raw run is at start + i.  Writes are stored, so later reads see
// them.  Contents are kept per (bus base, space value, register address);
// raw accesses use space 0, so a raw access at the sensor's base and a
// sensor-register access in space 0 see the same register.
//
// Each hook also checks that it runs on the thread that holds the camera's
// register lock and that no other device call is in flight; breaches are
// counted in lockViolations().
#include <atomic>
#include <map>
#include <mutex>
#include <tuple>
#include <vector>

#include "core/camkit_private.h"

struct BusOp {
    enum Kind { SensorRead, SensorWrite, RegRead, RegWrite, RegsRead, RegsWrite };
    Kind kind;
    ci_u32 base;      // bus address (the sensor's for sensor-register runs)
    ci_u32 space;     // address-space value (sensor-register runs only)
    ci_u32 addr;      // first register address
    ci_u32 count;     // number of words
    std::vector<ci_u32> values;  // words written, or read (zero on failure)
    ci_error_code result;
    bool selector;    // an address-space selector write
    ci_s32 addrBits;  // the calling thread's address and data widths
    ci_s32 dataBits;

    bool isRead() const { return kind == SensorRead || kind == RegRead || kind == RegsRead; }
};

class RecordingTransport {
public:
    explicit RecordingTransport(ci_camera_t* camera, bool selectSpaces = true);
    ~RecordingTransport();
    RecordingTransport(const RecordingTransport&) = delete;
    RecordingTransport& operator=(const RecordingTransport&) = delete;

    // Register contents.
    void set(ci_u32 addr, ci_u32 value, ci_u32 space = 0);
    void setRaw(ci_u32 base, ci_u32 addr, ci_u32 value);
    ci_u32 get(ci_u32 addr, ci_u32 space = 0) const;
    ci_u32 getRaw(ci_u32 base, ci_u32 addr) const;

    // Failures: the next `times` calls (any kind; -1 for ever) answer code;
    // failAt does the same for calls whose first address is addr.
    void failNext(ci_error_code code, int times);
    void failAt(ci_u32 addr, ci_error_code code, int times);

    // Traffic.
    const std::vector<BusOp>& ops() const { return ops_; }
    std::vector<BusOp> dataOps() const;     // without selector writes
    std::vector<BusOp> selectorOps() const;  // selector writes only
    size_t calls() const { return ops_.size(); }
    void clear() { ops_.clear(); }
    int lockViolations() const { return violations_.load(); }

    // Used by the installed hooks.
    ci_error_code transfer(BusOp::Kind kind, ci_u32 base, ci_u32 space, ci_u32 addr, ci_u32 count, ci_u32* vals);

private:
    using Key = std::tuple<ci_u32, ci_u32, ci_u32>;
    struct Failure {
        bool anyAddr;
        ci_u32 addr;
        ci_error_code code;
        int times;
    };

    ci_error_code scriptedResult(ci_u32 addr);
    void checkLock();
    ci_u32 step(BusOp::Kind kind) const;

    ci_camera_t* camera_;
    bool selectSpaces_;
    bool selecting_ = false;
    std::map<Key, ci_u32> regs_;
    std::vector<Failure> failures_;
    std::vector<BusOp> ops_;
    std::atomic<int> inFlight_{0};
    std::atomic<int> violations_{0};
};
