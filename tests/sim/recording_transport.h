#pragma once
// Fake transports for the register tests.
//
// HookedTransport is a SimDevice whose six unlocked register hooks route
// every call to hook(); RecordingTransport and the MCU simulator build on it.
//
// RecordingTransport records every bus call (failed ones included) and keeps
// register contents per (bus base, space value, address).  Sensor-register
// runs select their address space first through _updateAddrSpace, as the
// real transports do; those selector writes are recorded with selector set.
// Each hook also checks that it runs on the thread holding the camera's
// register lock with no other device call in flight (lockViolations()).
#include <atomic>
#include <map>
#include <tuple>
#include <vector>

#include "sim_device.h"

class HookedTransport : public SimDevice {
public:
    enum Call { SensorRead, SensorWrite, RegRead, RegWrite, RegsRead, RegsWrite };
    static bool isSensorRun(Call c) { return c == SensorRead || c == SensorWrite; }
    static bool isWrite(Call c) { return c == SensorWrite || c == RegWrite || c == RegsWrite; }

    // base: the bus address; space: the address-space value of a sensor run.
    virtual ci_error_code hook(Call call, ci_u32 base, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) = 0;

    const _transport_ops_t& transportOps() const override;
};

struct BusOp {
    using Kind = HookedTransport::Call;
    Kind kind;
    ci_u32 base, space, addr, count;
    std::vector<ci_u32> values;  // words written, or read (zero on failure)
    ci_error_code result;
    bool selector;               // an address-space selector write

    bool isRead() const { return !HookedTransport::isWrite(kind); }
};

class RecordingTransport : public HookedTransport {
public:
    explicit RecordingTransport(ci_camera_t* camera) { attach(camera); }

    void set(ci_u32 addr, ci_u32 value, ci_u32 space = 0) { regs_[Key{ship(), space, addr}] = value; }
    ci_u32 get(ci_u32 addr, ci_u32 space = 0) const;
    // Contents of another device on the bus (raw accesses at base).
    void setAt(ci_u32 base, ci_u32 addr, ci_u32 value) { regs_[Key{base, 0, addr}] = value; }

    // The next `times` calls (-1: for ever), or those starting at addr, answer code.
    void failNext(ci_error_code code, int times) { failures_.push_back(Failure{true, 0, code, times}); }
    void failAt(ci_u32 addr, ci_error_code code, int times) { failures_.push_back(Failure{false, addr, code, times}); }

    const std::vector<BusOp>& ops() const { return ops_; }
    std::vector<BusOp> selectorOps() const;
    size_t calls() const { return ops_.size(); }
    void clear() { ops_.clear(); }
    int lockViolations() const { return violations_.load(); }

    ci_error_code hook(Call call, ci_u32 base, ci_u32 space, ci_u32 addr, ci_u32 count, ci_u32* vals) override;

private:
    using Key = std::tuple<ci_u32, ci_u32, ci_u32>;
    struct Failure {
        bool anyAddr;
        ci_u32 addr;
        ci_error_code code;
        int times;
    };

    ci_u32 ship() const { return camera_->sensor->shipAddr; }
    ci_error_code scriptedResult(ci_u32 addr);
    void checkLock();

    bool selecting_ = false;
    std::map<Key, ci_u32> regs_;
    std::vector<Failure> failures_;
    std::vector<BusOp> ops_;
    std::atomic<int> inFlight_{0};
    std::atomic<int> violations_{0};
};
