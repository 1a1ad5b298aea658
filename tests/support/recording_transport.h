#pragma once
// Fake transports for the register tests.
//
// HookedTransport fills a camera's six unlocked register hooks and routes
// every call to hook(); RecordingTransport and the MCU simulator build on it.
//
// RecordingTransport records every bus transaction, so tests can assert the
// exact traffic the register layer produces:
//
//   RecordingTransport bus(camera);      // installs itself in the context
//   bus.set(0x3012, 0x1234);             // sensor register contents
//   bus.failNext(CI_I2C_NACK_ERROR, 2);  // the next two calls answer a NACK
//   bus.ops()                            // every call, failed ones included
//
// Sensor-register runs select the address space first through the register
// layer's _updateAddrSpace, as the real transports do; those selector writes
// are recorded with selector = true.  Word i of a sensor-register run is at
// start + i * (the sensor's address increment), of a raw run at start + i.
// Contents are kept per (bus base, space value, register address); raw
// accesses use space 0.  Each hook also checks that it runs on the thread
// that holds the camera's register lock and that no other device call is in
// flight; breaches are counted in lockViolations().
#include <atomic>
#include <map>
#include <tuple>
#include <vector>

#include "core/camkit_private.h"

class HookedTransport {
public:
    enum Call { SensorRead, SensorWrite, RegRead, RegWrite, RegsRead, RegsWrite };
    static bool isSensorRun(Call c) { return c == SensorRead || c == SensorWrite; }
    static bool isWrite(Call c) { return c == SensorWrite || c == RegWrite || c == RegsWrite; }

    virtual ~HookedTransport() = default;
    // base: the bus address (the sensor's for sensor-register runs); space:
    // the address-space value of a sensor-register run.
    virtual ci_error_code hook(Call call, ci_u32 base, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) = 0;

protected:
    void install(ci_camera_t* camera);
    void uninstall();  // when still installed
    ci_camera_t* camera_ = nullptr;
};

struct BusOp {
    using Kind = HookedTransport::Call;
    Kind kind;
    ci_u32 base, space, addr, count;  // space: sensor-register runs only
    std::vector<ci_u32> values;       // words written, or read (zero on failure)
    ci_error_code result;
    bool selector;                    // an address-space selector write
    ci_s32 addrBits, dataBits;        // the calling thread's widths

    bool isRead() const { return !HookedTransport::isWrite(kind); }
};

class RecordingTransport : public HookedTransport {
public:
    explicit RecordingTransport(ci_camera_t* camera, bool selectSpaces = true);
    ~RecordingTransport() override { uninstall(); }
    RecordingTransport(const RecordingTransport&) = delete;
    RecordingTransport& operator=(const RecordingTransport&) = delete;

    // Register contents.
    void set(ci_u32 addr, ci_u32 value, ci_u32 space = 0) { regs_[Key{ship(), space, addr}] = value; }
    ci_u32 get(ci_u32 addr, ci_u32 space = 0) const { return getRaw(ship(), addr, space); }
    ci_u32 getRaw(ci_u32 base, ci_u32 addr, ci_u32 space = 0) const;

    // Failures: the next `times` calls (any kind; -1 for ever) answer code;
    // failAt does the same for calls whose first address is addr.
    void failNext(ci_error_code code, int times) { failures_.push_back(Failure{true, 0, code, times}); }
    void failAt(ci_u32 addr, ci_error_code code, int times) { failures_.push_back(Failure{false, addr, code, times}); }

    // Traffic.
    const std::vector<BusOp>& ops() const { return ops_; }
    std::vector<BusOp> dataOps() const { return filtered(false); }     // without selector writes
    std::vector<BusOp> selectorOps() const { return filtered(true); }  // selector writes only
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
    std::vector<BusOp> filtered(bool selector) const;
    ci_error_code scriptedResult(ci_u32 addr);
    void checkLock();

    bool selectSpaces_;
    bool selecting_ = false;
    std::map<Key, ci_u32> regs_;
    std::vector<Failure> failures_;
    std::vector<BusOp> ops_;
    std::atomic<int> inFlight_{0};
    std::atomic<int> violations_{0};
};
