#pragma once
// A simulated two-wire (I2C-style) serial bus with register devices, for
// tests that need hardware behind a camera.
//
// - A device sits at an 8-bit base address and holds a register file of
//   its data width; unset registers read as 0.  A base
//   without a device answers every transaction with CI_I2C_NACK_ERROR.
//   addSensorFromFile() seeds a device with a sensor data file's base,
//   widths and reset values (multi-word registers split most significant
//   word first).
// - A trigger gives a register a new value when another register is
//   written with a value (under a mask): fuse blocks that load on command.
// - Every transaction is logged (values cut to the data width) and passed
//   to an optional observer.
// - As a SimDevice it becomes a camera's transport (attach(), SimCamera):
//   raw accesses use the calling thread's CI_REG_ADDR_SIZE /
//   CI_REG_DATA_SIZE, sensor-register runs use the sensor's base and widths
//   after selecting the address space.
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "sim_device.h"

struct BusTransaction {
    ci_u32 base;
    ci_u32 reg;
    bool write;
    ci_u32 addrBits;
    ci_u32 dataBits;
    ci_u32 value;
};

class BusDevice {
public:
    explicit BusDevice(ci_u32 dataBits) : dataBits_(dataBits) {}

    // Sets a register's value (cut to the device's data width).
    BusDevice& seed(ci_u32 reg, ci_u32 value);
    // After a write to watchReg whose value under mask equals value under
    // mask, targetReg takes result.
    BusDevice& onWrite(ci_u32 watchReg, ci_u32 mask, ci_u32 value, ci_u32 targetReg, ci_u32 result);

    // Bus side (used by BusSim).
    ci_u32 read(ci_u32 reg) const;
    void write(ci_u32 reg, ci_u32 value);

private:
    struct Trigger {
        ci_u32 watchReg, mask, value, targetReg, result;
    };

    ci_u32 dataBits_;
    std::map<ci_u32, ci_u32> regs_;
    std::vector<Trigger> triggers_;
};

class BusSim : public SimDevice {
public:

    // Adds (or replaces) the device at base; the address width is not
    // checked by the simulator.
    BusDevice& addDevice(ci_u32 base, ci_u32 addrBits, ci_u32 dataBits);
    // Adds a device seeded from a sensor data file's reset values, at the
    // file's first base address unless base is given.  Throws
    // std::runtime_error (failing the calling test) when the file does not
    // parse.
    BusDevice& addSensorFromFile(const std::string& sensorFile, ci_u32 base = kFileBase);
    BusDevice* device(ci_u32 base);
    void removeDevice(ci_u32 base) { devices_.erase(base); }

    // One transaction on the bus.
    ci_error_code read(ci_u32 base, ci_u32 reg, ci_u32 addrBits, ci_u32 dataBits, ci_u32* value);
    ci_error_code write(ci_u32 base, ci_u32 reg, ci_u32 addrBits, ci_u32 dataBits, ci_u32 value);

    const std::vector<BusTransaction>& log() const { return log_; }
    // Transactions addressed to base (acknowledged or not).
    int transactionsAt(ci_u32 base) const;
    void clearLog() { log_.clear(); }

    // Called after every transaction.
    std::function<void(const BusTransaction&)> observer;

    const _transport_ops_t& transportOps() const override;

    static constexpr ci_u32 kFileBase = 0xFFFFFFFFu;

private:
    ci_error_code record(const BusTransaction& t, ci_error_code result);

    std::map<ci_u32, BusDevice> devices_;
    std::vector<BusTransaction> log_;
};
