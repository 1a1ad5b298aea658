// The simulated two-wire bus (see the header).
#include "bus_sim.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "sdat_camera.h"

namespace {

ci_u32 cutToWidth(ci_u32 value, ci_u32 bits) { return bits >= 32 || bits == 0 ? value : value & ((1u << bits) - 1); }

// Register addresses advance by 2 for each 16-bit word of a device with
// 16-bit (byte) addresses, by 1 otherwise.
ci_u32 rawStep(ci_camera_t* camera) {
    const _tl_context_t* view = _thread_local_context(camera);
    return view->reg_addr_size == 16 && view->reg_data_size == 16 ? 2 : 1;
}

BusSim* simOf(ci_camera_t* camera) { return SimDevice::of<BusSim>(camera); }

void threadSizes(ci_camera_t* camera, ci_u32* addrBits, ci_u32* dataBits) {
    const _tl_context_t* view = _thread_local_context(camera);
    *addrBits = (ci_u32)view->reg_addr_size;
    *dataBits = (ci_u32)view->reg_data_size;
}

// A run of consecutive registers, as one auto-incrementing transfer does.
ci_error_code simRun(ci_camera_t* camera, bool write, ci_u32 base, ci_u32 start, ci_u32 step, ci_u32 count,
                     ci_u32* values) {
    ci_u32 addrBits, dataBits;
    threadSizes(camera, &addrBits, &dataBits);
    BusSim* sim = simOf(camera);
    for (ci_u32 i = 0; i < count; i++) {
        const ci_u32 reg = start + i * step;
        const ci_error_code result = write ? sim->write(base, reg, addrBits, dataBits, values[i])
                                           : sim->read(base, reg, addrBits, dataBits, &values[i]);
        if (result != CI_CAMERA_SUCCESS) return result;
    }
    return CI_CAMERA_SUCCESS;
}

ci_error_code simReadRegister(ci_camera_t* camera, ci_u32 base, ci_u32 reg, ci_u32* value) {
    return simRun(camera, false, base, reg, 1, 1, value);
}

ci_error_code simWriteRegister(ci_camera_t* camera, ci_u32 base, ci_u32 reg, ci_u32 value) {
    return simRun(camera, true, base, reg, 1, 1, &value);
}

ci_error_code simReadRegisters(ci_camera_t* camera, ci_u32 base, ci_u32 start, ci_u32 count, ci_u32* values) {
    return simRun(camera, false, base, start, rawStep(camera), count, values);
}

ci_error_code simWriteRegisters(ci_camera_t* camera, ci_u32 base, ci_u32 start, ci_u32 count, ci_u32* values) {
    return simRun(camera, true, base, start, rawStep(camera), count, values);
}

// Sensor registers: like a board transport, the thread's sizes are replaced
// by the sensor's for the run and the address space is selected first.
ci_error_code simSensorRun(ci_camera_t* camera, bool write, ci_u32 space, ci_u32 start, ci_u32 count,
                           ci_u32* values) {
    const ci_sensor_t* sensor = camera->sensor;
    if (sensor == nullptr) return CI_SENSOR_NOT_INITIALIZED;
    _tl_context_t* view = _thread_local_context(camera);
    const _tl_context_t saved = *view;
    view->reg_addr_size = (ci_s32)sensor->reg_addr_size;
    view->reg_data_size = (ci_s32)sensor->reg_data_size;
    _updateAddrSpace(camera, space, write ? 0 : 1);
    const ci_error_code result =
        simRun(camera, write, sensor->shipAddr, start, ci_GetAddrIncrement(camera, CI_REG_ADDR), count, values);
    view->reg_addr_size = saved.reg_addr_size;
    view->reg_data_size = saved.reg_data_size;
    return result;
}

ci_error_code simReadSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 start, ci_u32 count,
                                     ci_u32* values) {
    return simSensorRun(camera, false, space, start, count, values);
}

ci_error_code simWriteSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 start, ci_u32 count,
                                      ci_u32* values) {
    return simSensorRun(camera, true, space, start, count, values);
}

}  // namespace

BusDevice& BusDevice::seed(ci_u32 reg, ci_u32 value) {
    regs_[reg] = cutToWidth(value, dataBits_);
    return *this;
}

BusDevice& BusDevice::onWrite(ci_u32 watchReg, ci_u32 mask, ci_u32 value, ci_u32 targetReg, ci_u32 result) {
    triggers_.push_back(Trigger{watchReg, mask, value, targetReg, result});
    return *this;
}

ci_u32 BusDevice::read(ci_u32 reg) const {
    auto it = regs_.find(reg);
    return it == regs_.end() ? 0 : it->second;
}

void BusDevice::write(ci_u32 reg, ci_u32 value) {
    seed(reg, value);
    for (const Trigger& t : triggers_) {
        if (t.watchReg == reg && ((value ^ t.value) & t.mask) == 0) regs_[t.targetReg] = t.result;
    }
}

BusDevice& BusSim::addDevice(ci_u32 base, ci_u32 /*addrBits*/, ci_u32 dataBits) {
    devices_.erase(base);
    return devices_.emplace(base, BusDevice(dataBits)).first->second;
}

BusDevice& BusSim::addSensorFromFile(const std::string& sensorFile, ci_u32 base) {
    ParseCamera scratch;
    if (scratch.parse(sensorFile) != CI_PARSE_SUCCESS) {
        throw std::runtime_error("cannot seed a bus device from " + sensorFile);
    }
    const ci_sensor_t& sensor = *scratch.sensor();
    BusDevice& dev = addDevice(base == kFileBase ? sensor.shipAddr : base, sensor.reg_addr_size, sensor.reg_data_size);
    const ci_u32 step = ci_GetAddrIncrement(scratch, CI_REG_ADDR);
    const ci_u32 wordBits = sensor.reg_data_size;
    for (ci_s32 i = 0; i < sensor.num_regs; i++) {
        const ci_reg_data_t& reg = sensor.regs[i];
        if (reg.addr_space != nullptr && reg.addr_space->type != CI_REG_ADDR) continue;
        const ci_u32 span = std::max<ci_u32>(reg.addr_span, 1);
        for (ci_u32 k = 0; k < span; k++) {
            const ci_u32 shift = (span - 1 - k) * wordBits;
            dev.seed(reg.reg_addr + k * step, shift >= 32 ? 0 : cutToWidth(reg.default_val >> shift, wordBits));
        }
    }
    return dev;
}

BusDevice* BusSim::device(ci_u32 base) {
    auto it = devices_.find(base);
    return it == devices_.end() ? nullptr : &it->second;
}

ci_error_code BusSim::record(const BusTransaction& t, ci_error_code result) {
    log_.push_back(t);
    if (observer) observer(t);
    return result;
}

ci_error_code BusSim::read(ci_u32 base, ci_u32 reg, ci_u32 addrBits, ci_u32 dataBits, ci_u32* value) {
    BusDevice* dev = device(base);
    *value = dev == nullptr ? 0 : cutToWidth(dev->read(reg), dataBits);
    return record({base, reg, false, addrBits, dataBits, *value}, dev ? CI_CAMERA_SUCCESS : CI_I2C_NACK_ERROR);
}

ci_error_code BusSim::write(ci_u32 base, ci_u32 reg, ci_u32 addrBits, ci_u32 dataBits, ci_u32 value) {
    value = cutToWidth(value, dataBits);
    BusDevice* dev = device(base);
    if (dev != nullptr) dev->write(reg, value);
    return record({base, reg, true, addrBits, dataBits, value}, dev ? CI_CAMERA_SUCCESS : CI_I2C_NACK_ERROR);
}

int BusSim::transactionsAt(ci_u32 base) const {
    return (int)std::count_if(log_.begin(), log_.end(), [base](const BusTransaction& t) { return t.base == base; });
}

namespace {

const _transport_ops_t kBusOps = [] {
    _transport_ops_t ops{};
    ops.transportName = "SIM";
    ops.productName = "Simulated bus camera";
    ops.readRegisterNolock = simReadRegister;
    ops.writeRegisterNolock = simWriteRegister;
    ops.readRegistersNolock = simReadRegisters;
    ops.writeRegistersNolock = simWriteRegisters;
    ops.readSensorRegistersNolock = simReadSensorRegisters;
    ops.writeSensorRegistersNolock = simWriteSensorRegisters;
    return ops;
}();

}  // namespace

const _transport_ops_t& BusSim::transportOps() const { return kBusOps; }
