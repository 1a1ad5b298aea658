#include "recording_transport.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace {

RecordingTransport* of(ci_camera_t* camera) {
    return static_cast<RecordingTransport*>(_ctx(camera)->transport_context);
}

ci_error_code readSensor(ci_camera_t* c, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return of(c)->transfer(BusOp::SensorRead, c->sensor ? c->sensor->shipAddr : 0, space, start, n, vals);
}

ci_error_code writeSensor(ci_camera_t* c, ci_u32 space, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return of(c)->transfer(BusOp::SensorWrite, c->sensor ? c->sensor->shipAddr : 0, space, start, n, vals);
}

ci_error_code readReg(ci_camera_t* c, ci_u32 base, ci_u32 addr, ci_u32* val) {
    return of(c)->transfer(BusOp::RegRead, base, 0, addr, 1, val);
}

ci_error_code writeReg(ci_camera_t* c, ci_u32 base, ci_u32 addr, ci_u32 val) {
    return of(c)->transfer(BusOp::RegWrite, base, 0, addr, 1, &val);
}

ci_error_code readRegs(ci_camera_t* c, ci_u32 base, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return of(c)->transfer(BusOp::RegsRead, base, 0, start, n, vals);
}

ci_error_code writeRegs(ci_camera_t* c, ci_u32 base, ci_u32 start, ci_u32 n, ci_u32* vals) {
    return of(c)->transfer(BusOp::RegsWrite, base, 0, start, n, vals);
}

bool isSensorRun(BusOp::Kind kind) {
    return kind == BusOp::SensorRead || kind == BusOp::SensorWrite;
}

// The camera's mutex is a recursive POSIX mutex; glibc keeps the owner's
// thread id in it, which tells whether the calling thread holds it.
bool heldByCaller(osal_mutex* mutex) {
    const int owner = __atomic_load_n(&mutex->__data.__owner, __ATOMIC_RELAXED);
    return owner == (int)syscall(SYS_gettid);
}

}  // namespace

RecordingTransport::RecordingTransport(ci_camera_t* camera, bool selectSpaces)
    : camera_(camera), selectSpaces_(selectSpaces) {
    _common_context_t* ctx = _ctx(camera);
    ctx->transport_context = this;
    ctx->readSensorRegistersNolock = readSensor;
    ctx->writeSensorRegistersNolock = writeSensor;
    ctx->readRegisterNolock = readReg;
    ctx->writeRegisterNolock = writeReg;
    ctx->readRegistersNolock = readRegs;
    ctx->writeRegistersNolock = writeRegs;
    camera->readSensorRegisters = _generic_ReadSensorRegisters;
    camera->writeSensorRegisters = _generic_WriteSensorRegisters;
    camera->readRegister = _generic_ReadRegister;
    camera->writeRegister = _generic_WriteRegister;
    camera->readRegisters = _generic_ReadRegisters;
    camera->writeRegisters = _generic_WriteRegisters;
}

RecordingTransport::~RecordingTransport() {
    _common_context_t* ctx = _ctx(camera_);
    if (!ctx || ctx->transport_context != this) {
        return;
    }
    ctx->transport_context = nullptr;
    ctx->readSensorRegistersNolock = nullptr;
    ctx->writeSensorRegistersNolock = nullptr;
    ctx->readRegisterNolock = nullptr;
    ctx->writeRegisterNolock = nullptr;
    ctx->readRegistersNolock = nullptr;
    ctx->writeRegistersNolock = nullptr;
}

void RecordingTransport::set(ci_u32 addr, ci_u32 value, ci_u32 space) {
    regs_[Key{camera_->sensor->shipAddr, space, addr}] = value;
}

void RecordingTransport::setRaw(ci_u32 base, ci_u32 addr, ci_u32 value) {
    regs_[Key{base, 0, addr}] = value;
}

ci_u32 RecordingTransport::get(ci_u32 addr, ci_u32 space) const {
    auto found = regs_.find(Key{camera_->sensor->shipAddr, space, addr});
    return found == regs_.end() ? 0 : found->second;
}

ci_u32 RecordingTransport::getRaw(ci_u32 base, ci_u32 addr) const {
    auto found = regs_.find(Key{base, 0, addr});
    return found == regs_.end() ? 0 : found->second;
}

void RecordingTransport::failNext(ci_error_code code, int times) {
    failures_.push_back(Failure{true, 0, code, times});
}

void RecordingTransport::failAt(ci_u32 addr, ci_error_code code, int times) {
    failures_.push_back(Failure{false, addr, code, times});
}

std::vector<BusOp> RecordingTransport::dataOps() const {
    std::vector<BusOp> out;
    for (const BusOp& op : ops_) {
        if (!op.selector) {
            out.push_back(op);
        }
    }
    return out;
}

std::vector<BusOp> RecordingTransport::selectorOps() const {
    std::vector<BusOp> out;
    for (const BusOp& op : ops_) {
        if (op.selector) {
            out.push_back(op);
        }
    }
    return out;
}

ci_error_code RecordingTransport::scriptedResult(ci_u32 addr) {
    for (Failure& f : failures_) {
        if (f.times != 0 && (f.anyAddr || f.addr == addr)) {
            if (f.times > 0) {
                --f.times;
            }
            return f.code;
        }
    }
    return CI_CAMERA_SUCCESS;
}

void RecordingTransport::checkLock() {
    if (!heldByCaller(&_ctx(camera_)->criticalSection)) {
        ++violations_;
    }
}

ci_u32 RecordingTransport::step(BusOp::Kind kind) const {
    return isSensorRun(kind) ? ci_GetAddrIncrement(camera_, CI_REG_ADDR) : 1;
}

ci_error_code RecordingTransport::transfer(BusOp::Kind kind, ci_u32 base, ci_u32 space, ci_u32 addr, ci_u32 count,
                                           ci_u32* vals) {
    checkLock();
    if (isSensorRun(kind) && selectSpaces_) {
        selecting_ = true;
        _updateAddrSpace(camera_, space, kind == BusOp::SensorRead);
        selecting_ = false;
    }
    if (inFlight_.fetch_add(1) != 0) {
        ++violations_;
    }
    const _tl_context_t* view = _thread_local_context(camera_);
    BusOp op{kind, base, space, addr, count, {}, scriptedResult(addr), selecting_, view->reg_addr_size,
             view->reg_data_size};
    const bool read = op.isRead();
    for (ci_u32 i = 0; i < count; ++i) {
        const Key key{base, space, addr + i * step(kind)};
        if (read) {
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
