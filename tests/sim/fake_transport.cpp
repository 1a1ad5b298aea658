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
ci_error_code fakeOpen(ci_camera_t** cameras, ci_s32* n, const char*, const char*) {
    return gActive->open(Row, cameras, n);
}

void fakeClose(ci_s32 n, ci_camera_t** cameras) { gActive->close(n, cameras); }

const ci_open_cameras_fn kOpen[CI_NUM_TRANSPORTS] = {fakeOpen<0>, fakeOpen<1>, fakeOpen<2>, fakeOpen<3>,
                                                     fakeOpen<4>};

const char* deviceName(ci_camera_t* camera) {
    return static_cast<FakeCameraState*>(_ctx(camera)->transport_context)->deviceName;
}

ci_error_code fakeReadRegister(ci_camera_t*, ci_u32 base, ci_u32 reg, ci_u32* value) {
    *value = gActive->regs()[{base, reg}];
    return CI_CAMERA_SUCCESS;
}

ci_error_code fakeWriteRegister(ci_camera_t*, ci_u32 base, ci_u32 reg, ci_u32 value) {
    gActive->regs()[{base, reg}] = value;
    return CI_CAMERA_SUCCESS;
}

void attachSensor(ci_camera_t* camera) {
    auto* sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    snprintf(sensor->sensorName, sizeof sensor->sensorName, "FAKE");
    snprintf(sensor->sensorFileName, sizeof sensor->sensorFileName, "fake.sdat");
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
        gTransports[row].closeCameras = fakeClose;
    }
    previous_ = gActive;
    gActive = this;
}

FakeTransports::~FakeTransports() {
    ci_CloseCameras();
    memcpy(gTransports, saved_, sizeof saved_);
    gActive = previous_;
}

ci_camera_t* FakeTransports::makeCamera(ci_u32 flag) {
    const FakeRowScript& s = scripts_[flag];
    auto* state = static_cast<FakeCameraState*>(calloc(1, sizeof(FakeCameraState)));
    snprintf(state->deviceName, sizeof state->deviceName, "fake.%x dev %d", flag, serial_++);
    _transport_ops_t ops{};
    ops.transportType = flag;
    ops.transportName = "FAKE";
    ops.getDeviceName = deviceName;
    ci_camera_t* camera = _transport_new_camera(&ops, state);
    camera->productID = s.productID;
    camera->readRegister = fakeReadRegister;
    camera->writeRegister = fakeWriteRegister;
    if (s.withSensor) attachSensor(camera);
    live_++;
    return camera;
}

ci_error_code FakeTransports::open(int row, ci_camera_t** cameras, ci_s32* n) {
    ci_u32 flag = gTransports[row].transport_type;
    const FakeRowScript& s = scripts_[flag];
    *n = 0;
    for (ci_s32 i = 0; i < s.count; i++) cameras[(*n)++] = makeCamera(flag);
    opened_.push_back(flag);
    return s.result;
}

void FakeTransports::close(ci_s32 n, ci_camera_t** cameras) {
    for (ci_s32 i = 0; i < n; i++) {
        free(cameras[i]->chip);
        cameras[i]->chip = nullptr;
        _transport_free_camera(nullptr, cameras[i]);
        live_--;
    }
}
