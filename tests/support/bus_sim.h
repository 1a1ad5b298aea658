#pragma once
// A simulated two-wire (I2C-style) serial bus with register devices, for
// tests that need hardware behind a camera.
//
// - A device sits at an 8-bit base address and holds a register file with
//   its own address and data widths; unset registers read as 0.  A base
//   without a device answers every transaction with CI_I2C_NACK_ERROR.
//   addSensorFromFile() seeds a device with a sensor data file's base,
//   widths and reset values (multi-word registers split most significant
//   word first).
// - Triggers: a write of a value (under a mask) to one register gives
//   another register a new value, at once or after it has been read a
//   number of times (fuse and status registers that come up later).
// - Reset line: asserting it restores every connected device's seeded
//   registers.  CI_SENSOR_RESET drives it (1 asserts, 0 releases).
// - Faults: every transaction at a base can fail with a chosen code.
// - Every transaction is logged (values cut to the data width) and passed
//   to an optional observer.
// - attach() makes the simulator a camera's transport: raw accesses use the
//   calling thread's CI_REG_ADDR_SIZE / CI_REG_DATA_SIZE, sensor-register
//   runs use the sensor's base and widths after selecting the address space.
//   Page-select registers are ordinary device registers.
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/camkit_private.h"

struct BusTransaction {
    ci_u32 base;
    ci_u32 reg;
    bool write;
    ci_u32 addrBits;
    ci_u32 dataBits;
    ci_u32 value;
    ci_error_code result;
};

class BusDevice {
public:
    BusDevice(ci_u32 base, ci_u32 addrBits, ci_u32 dataBits) : base_(base), addrBits_(addrBits), dataBits_(dataBits) {}

    ci_u32 base() const { return base_; }
    ci_u32 addrBits() const { return addrBits_; }
    ci_u32 dataBits() const { return dataBits_; }

    // Sets a register's current and seeded (power-on) value.
    BusDevice& seed(ci_u32 reg, ci_u32 value);
    // Sets a register's current value only (a reset undoes it).
    BusDevice& poke(ci_u32 reg, ci_u32 value);
    // Current value (0 for a register never set).
    ci_u32 peek(ci_u32 reg) const;
    // Forgets a register: it reads as 0 until something writes it.
    BusDevice& forget(ci_u32 reg);

    // After a write to watchReg whose value under mask equals value under
    // mask, targetReg takes result; with afterReads > 0 only once targetReg
    // has been read that many more times.
    BusDevice& onWrite(ci_u32 watchReg, ci_u32 mask, ci_u32 value, ci_u32 targetReg, ci_u32 result,
                       int afterReads = 0);

    // Whether the sensor reset line reaches this device (default: yes).
    BusDevice& onResetLine(bool connected);

    // Number of writes this device received for a register.
    int writesTo(ci_u32 reg) const;

    // Bus side (used by BusSim).
    ci_u32 read(ci_u32 reg);
    void write(ci_u32 reg, ci_u32 value);
    void reset();
    bool resetConnected() const { return onResetLine_; }

private:
    struct Trigger {
        ci_u32 watchReg, mask, value, targetReg, result;
        int afterReads;
    };
    struct Pending {
        ci_u32 targetReg, result;
        int readsLeft;
    };

    ci_u32 base_, addrBits_, dataBits_;
    bool onResetLine_ = true;
    std::map<ci_u32, ci_u32> regs_;
    std::map<ci_u32, ci_u32> seed_;
    std::vector<Trigger> triggers_;
    std::vector<Pending> pending_;
    std::map<ci_u32, int> writes_;
};

class BusSim {
public:
    BusSim() = default;
    BusSim(const BusSim&) = delete;
    BusSim& operator=(const BusSim&) = delete;

    // Adds (or replaces) the device at base.
    BusDevice& addDevice(ci_u32 base, ci_u32 addrBits, ci_u32 dataBits);
    // Adds a device seeded from a sensor data file's reset values, at the
    // file's first base address unless base is given.  Fails the calling
    // test (and returns a bare device) when the file does not parse.
    BusDevice& addSensorFromFile(const std::string& sensorFile, ci_u32 base = kFileBase);
    BusDevice* device(ci_u32 base);
    void removeDevice(ci_u32 base);

    // Every later transaction at base fails with code (CI_CAMERA_SUCCESS
    // clears the fault).
    void failAt(ci_u32 base, ci_error_code code);

    // One transaction on the bus.
    ci_error_code read(ci_u32 base, ci_u32 reg, ci_u32 addrBits, ci_u32 dataBits, ci_u32* value);
    ci_error_code write(ci_u32 base, ci_u32 reg, ci_u32 addrBits, ci_u32 dataBits, ci_u32 value);

    // The reset line.
    void setReset(bool asserted);
    int resetPulses() const { return resetPulses_; }

    const std::vector<BusTransaction>& log() const { return log_; }
    // Transactions addressed to base (acknowledged or not).
    int transactionsAt(ci_u32 base) const;
    void clearLog() { log_.clear(); }

    // Called after every transaction.
    std::function<void(const BusTransaction&)> observer;

    // Makes the simulator the camera's transport (see the header comment).
    void attach(ci_camera_t* camera);
    // The simulator attached to a camera, or NULL.
    static BusSim* of(ci_camera_t* camera);

    static constexpr ci_u32 kFileBase = 0xFFFFFFFFu;

private:
    ci_error_code record(ci_u32 base, ci_u32 reg, bool write, ci_u32 addrBits, ci_u32 dataBits, ci_u32 value,
                         ci_error_code result);
    // The device that answers at base now, or NULL (with *failure set) when
    // the transaction fails.
    BusDevice* answering(ci_u32 base, ci_error_code* failure);

    std::map<ci_u32, BusDevice> devices_;
    std::map<ci_u32, ci_error_code> faults_;
    std::vector<BusTransaction> log_;
    bool resetAsserted_ = false;
    int resetPulses_ = 0;
};

// A camera record with a context, driven by a BusSim; freed (with its
// sensor) on destruction.
class SimCamera {
public:
    explicit SimCamera(BusSim& bus);
    ~SimCamera();
    SimCamera(const SimCamera&) = delete;
    SimCamera& operator=(const SimCamera&) = delete;

    ci_camera_t* get() const { return camera_; }
    ci_camera_t* operator->() const { return camera_; }
    _common_context_t* ctx() const { return _ctx(camera_); }

private:
    ci_camera_t* camera_;
};
