#include "recording_transport.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Call = HookedTransport::Call;

ci_error_code route(ci_camera_t* c, Call call, ci_u32 base, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return SimDevice::of<HookedTransport>(c)->hook(call, base, space, start, n, vals);
}
ci_u32 sensorBase(ci_camera_t* c) {
    return c->sensor ? c->sensor->shipAddr : 0;
}
ci_error_code readSensor(ci_camera_t* c, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return route(c, HookedTransport::SensorRead, sensorBase(c), space, start, n, vals);
}
ci_error_code writeSensor(ci_camera_t* c, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return route(c, HookedTransport::SensorWrite, sensorBase(c), space, start, n, vals);
}
ci_error_code readReg(ci_camera_t* c, ci_u32 base, ci_u32 addr, ci_u32* val) {
    return route(c, HookedTransport::RegRead, base, 0, addr, 1, val);
}
ci_error_code writeReg(ci_camera_t* c, ci_u32 base, ci_u32 addr, ci_u32 val) {
    return route(c, HookedTransport::RegWrite, base, 0, addr, 1, &val);
}
ci_error_code readRegs(ci_camera_t* c, ci_u32 base, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return route(c, HookedTransport::RegsRead, base, 0, start, n, vals);
}
ci_error_code writeRegs(ci_camera_t* c, ci_u32 base, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return route(c, HookedTransport::RegsWrite, base, 0, start, n, vals);
}

// The camera's mutex is a recursive POSIX mutex; glibc keeps the owner's
// thread id in it, which tells whether the calling thread holds it.
bool heldByCaller(osal_mutex* mutex) {
    const int owner = __atomic_load_n(&mutex->__data.__owner, __ATOMIC_RELAXED);
    return owner == (int)syscall(SYS_gettid);
}

const _transport_ops_t kHookedOps = [] {
    _transport_ops_t ops{};
    ops.transportName = "SIM";
    ops.productName = "Hooked test transport";
    ops.readSensorRegistersNolock = readSensor;
    ops.writeSensorRegistersNolock = writeSensor;
    ops.readRegisterNolock = readReg;
    ops.writeRegisterNolock = writeReg;
    ops.readRegistersNolock = readRegs;
    ops.writeRegistersNolock = writeRegs;
    return ops;
}();

}  // namespace

const _transport_ops_t& HookedTransport::transportOps() const { return kHookedOps; }

ci_u32 RecordingTransport::get(ci_u32 addr, ci_u32 space) const {
    auto found = regs_.find(Key{ship(), space, addr});
    return found == regs_.end() ? 0 : found->second;
}

std::vector<BusOp> RecordingTransport::selectorOps() const {
    std::vector<BusOp> out;
    for (const BusOp& op : ops_) {
        if (op.selector) out.push_back(op);
    }
    return out;
}

ci_error_code RecordingTransport::scriptedResult(ci_u32 addr) {
    for (Failure& f : failures_) {
        if (f.times != 0 && (f.anyAddr || f.addr == addr)) {
            if (f.times > 0) --f.times;
            return f.code;
        }
    }
    return CI_CAMERA_SUCCESS;
}

void RecordingTransport::checkLock() {
    if (!heldByCaller(&_ctx(camera_)->criticalSection)) ++violations_;
}

ci_error_code RecordingTransport::hook(Call call, ci_u32 base, ci_u32 space, ci_u32 addr, ci_u32 count,
                                       ci_u32* vals) {
    checkLock();
    if (isSensorRun(call)) {
        selecting_ = true;
        _updateAddrSpace(camera_, space, call == SensorRead);
        selecting_ = false;
    }
    if (inFlight_.fetch_add(1) != 0) ++violations_;
    BusOp op{call, base, space, addr, count, {}, scriptedResult(addr), selecting_};
    const ci_u32 step = isSensorRun(call) ? ci_GetAddrIncrement(camera_, CI_REG_ADDR) : 1;
    for (ci_u32 i = 0; i < count; ++i) {
        const Key key{base, space, addr + i * step};
        if (op.isRead()) {
            vals[i] = op.result == CI_CAMERA_SUCCESS ? regs_[key] : 0;
        } else if (op.result == CI_CAMERA_SUCCESS) {
            regs_[key] = vals[i];
        }
        op.values.push_back(vals[i]);
    }
    ops_.push_back(op);
    inFlight_.fetch_sub(1);
    return op.result;
}
