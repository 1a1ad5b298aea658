// Scripted fake transports installed into the registry (see the header).
#include "fake_transport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

FakeTransports* gActive = nullptr;

struct FakeCameraState {
    char deviceName[64];
};

template <int Row>
ci_error_code fakeOpen(ci_camera_t** cameras, ci_s32* n, const char* path, const char* plugin) {
    return gActive->open(Row, cameras, n, path, plugin);
}

template <int Row>
void fakeClose(ci_s32 n, ci_camera_t** cameras) {
    gActive->close(Row, n, cameras);
}

const ci_open_cameras_fn kOpen[CI_NUM_TRANSPORTS] = {fakeOpen<0>, fakeOpen<1>, fakeOpen<2>, fakeOpen<3>,
                                                     fakeOpen<4>};
const ci_close_cameras_fn kClose[CI_NUM_TRANSPORTS] = {fakeClose<0>, fakeClose<1>, fakeClose<2>, fakeClose<3>,
                                                       fakeClose<4>};

const char* deviceName(ci_camera_t* camera) {
    return static_cast<FakeCameraState*>(_ctx(camera)->transport_context)->deviceName;
}

// The register an access reaches, or NULL when the bus is set to fail.
ci_u32* busAccess(ci_camera_t* camera, ci_u32 base, ci_u32 reg) {
    FakeBus& bus = gActive->bus();
    if (bus.failWith != CI_CAMERA_SUCCESS) return nullptr;
    _tl_context_t* view = _thread_local_context(camera);
    bus.log.push_back({base, (ci_u32)view->reg_addr_size, (ci_u32)view->reg_data_size});
    return &bus.regs[{base, reg}];
}

ci_error_code fakeReadRegister(ci_camera_t* camera, ci_u32 base, ci_u32 reg, ci_u32* value) {
    ci_u32* r = busAccess(camera, base, reg);
    if (r) *value = *r;
    return r ? CI_CAMERA_SUCCESS : gActive->bus().failWith;
}

ci_error_code fakeWriteRegister(ci_camera_t* camera, ci_u32 base, ci_u32 reg, ci_u32 value) {
    ci_u32* r = busAccess(camera, base, reg);
    if (r) *r = value;
    return r ? CI_CAMERA_SUCCESS : gActive->bus().failWith;
}

void attachSensor(ci_camera_t* camera, const std::string& file) {
    auto* sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    snprintf(sensor->sensorName, sizeof sensor->sensorName, "FAKE");
    snprintf(sensor->sensorFileName, sizeof sensor->sensorFileName, "%s", file.c_str());
    sensor->num_regs = 2;
    sensor->regs = static_cast<ci_reg_data_t*>(calloc(2, sizeof(ci_reg_data_t)));
    snprintf(sensor->regs[0].unique_desc, sizeof(ci_string), "REG_A");
    sensor->regs[0].reg_addr = 0x10;
    snprintf(sensor->regs[1].unique_desc, sizeof(ci_string), "REG_B");
    sensor->regs[1].reg_addr = 0x12;
    sensor->reg_addr_size = 16;
    sensor->reg_data_size = 16;
    camera->sensor = sensor;
}

}  // namespace

FakeTransports::FakeTransports() {
    memcpy(saved_, gTransports, sizeof saved_);
    for (int row = 0; row < CI_NUM_TRANSPORTS; row++) {
        gTransports[row].openCameras = kOpen[row];
        gTransports[row].closeCameras = kClose[row];
    }
    previous_ = gActive;
    gActive = this;
}

FakeTransports::~FakeTransports() {
    ci_CloseCameras();
    memcpy(gTransports, saved_, sizeof saved_);
    gActive = previous_;
}

FakeRowScript& FakeTransports::script(ci_u32 flag) { return scripts_[flag]; }

std::vector<ci_u32> FakeTransports::openedRows() const {
    std::vector<ci_u32> rows;
    for (const FakeCall& call : calls_) {
        if (call.op == "open") rows.push_back(call.flag);
    }
    return rows;
}

ci_camera_t* FakeTransports::makeCamera(ci_u32 flag) {
    const FakeRowScript& s = scripts_[flag];
    auto* camera = static_cast<ci_camera_t*>(calloc(1, sizeof(ci_camera_t)));
    camera->transportType = flag;
    camera->productID = s.productID;
    snprintf(camera->transportName, sizeof camera->transportName, "FAKE");
    ci_InitCameraContext(camera);
    auto* state = static_cast<FakeCameraState*>(calloc(1, sizeof(FakeCameraState)));
    snprintf(state->deviceName, sizeof state->deviceName, "fake.%x dev %d", flag, serial_++);
    _common_context_t* ctx = _ctx(camera);
    ctx->transport_context = state;
    ctx->getDeviceName = deviceName;
    snprintf(ctx->driverInfo, sizeof ctx->driverInfo, "fake driver %x", flag);
    camera->readRegister = fakeReadRegister;
    camera->writeRegister = fakeWriteRegister;
    if (s.withSensor) attachSensor(camera, s.sensorFile);
    live_++;
    return camera;
}

ci_error_code FakeTransports::open(int row, ci_camera_t** cameras, ci_s32* n, const char* path, const char* plugin) {
    ci_u32 flag = gTransports[row].transport_type;
    const FakeRowScript& s = scripts_[flag];
    ci_u32 cancel = g_cancel_all_probes;
    *n = 0;
    for (ci_s32 i = 0; i < s.count; i++) cameras[(*n)++] = makeCamera(flag);
    calls_.push_back({"open", flag, *n, path ? path : "(null)", plugin ? plugin : "(null)", cancel});
    if (s.cancelDuringOpen) ci_CancelProbe();
    return s.result;
}

void FakeTransports::freeCamera(ci_camera_t* camera) {
    free(_ctx(camera)->transport_context);
    _ctx(camera)->transport_context = nullptr;
    _freeSensor(camera);
    free(camera->chip);
    ci_FreeCameraContext(camera);
    free(camera);
    live_--;
}

void FakeTransports::close(int row, ci_s32 n, ci_camera_t** cameras) {
    calls_.push_back({"close", gTransports[row].transport_type, n, "", "", 0});
    for (ci_s32 i = 0; i < n; i++) freeCamera(cameras[i]);
}
