#include "sim_device.h"

#include <mutex>
#include <set>

namespace {

// Devices attached to a camera, so that a camera freed first can tell them.
std::mutex liveLock;
std::set<SimDevice*> liveDevices;

}  // namespace

void SimDevice::attach(ci_camera_t* camera) {
    if (camera_ != nullptr && camera_ != camera) detach();
    {
        std::lock_guard<std::mutex> hold(liveLock);
        camera_ = camera;
        attachedOps_ = &transportOps();
        liveDevices.insert(this);
    }
    _transport_apply_ops(camera, attachedOps_);
    _ctx(camera)->transport_context = static_cast<SimDevice*>(this);
    attached(camera);
}

// Under the lock: a camera freed on another thread may be telling its
// devices at the same time.
void SimDevice::detach() {
    std::lock_guard<std::mutex> hold(liveLock);
    if (camera_ == nullptr) return;
    if (_transport_context(camera_) == static_cast<SimDevice*>(this)) _transport_clear_ops(camera_, attachedOps_);
    camera_ = nullptr;
    liveDevices.erase(this);
}

void SimDevice::forgetCamera(const ci_camera_t* camera) {
    std::lock_guard<std::mutex> hold(liveLock);
    for (auto it = liveDevices.begin(); it != liveDevices.end();) {
        if ((*it)->camera_ == camera) {
            (*it)->camera_ = nullptr;
            it = liveDevices.erase(it);
        } else {
            ++it;
        }
    }
}

SimCamera::SimCamera(SimDevice& device) : device_(device) {
    camera_ = _transport_new_camera(&device.transportOps(), nullptr);
    // A real open initialises the camera's (recursive) lock before any
    // nested locked call can happen; direct calls in tests need it too.
    osal_init_critical_section(&ctx()->criticalSection, "");
    device_.attach(camera_);
}

SimCamera::~SimCamera() {
    device_.detach();
    SimDevice::forgetCamera(camera_);
    _transport_free_camera(&device_.transportOps(), camera_);
}
