#pragma once
// The one way a simulated device becomes a camera's transport.
//
// A simulator names an operation table (its hooks) and derives from
// SimDevice.  attach() installs that table on a camera with the device as
// the camera's transport context; the hooks find their device again with
// SimDevice::of<T>(camera).  detach() (also run by the destructor) takes
// the hooks back, so a camera never outlives its device with dangling hooks;
// the test cameras (SimCamera, TestCamera) tell the devices still attached
// when they go first.
// SimCamera builds a camera record around a device for tests that need
// nothing else.
#include "transport/transport_common.h"

class SimDevice {
public:
    SimDevice() = default;
    virtual ~SimDevice() { detach(); }
    SimDevice(const SimDevice&) = delete;
    SimDevice& operator=(const SimDevice&) = delete;

    // Becomes camera's transport; a device serves one camera at a time.
    void attach(ci_camera_t* camera);
    // Leaves the camera without a device (when still attached to it).
    void detach();
    ci_camera_t* camera() const { return camera_; }

    // The device attached to camera, as its simulator type.
    template <typename T>
    static T* of(const ci_camera_t* camera) {
        return static_cast<T*>(static_cast<SimDevice*>(_transport_context(camera)));
    }

    // Called by the code that frees a camera record: devices still attached
    // to it let go without touching it.
    static void forgetCamera(const ci_camera_t* camera);

    // The device's operation table.
    virtual const _transport_ops_t& transportOps() const = 0;

protected:
    // Runs after the table is installed (further wiring of the camera).
    virtual void attached(ci_camera_t*) {}

    ci_camera_t* camera_ = nullptr;

private:
    // The table installed by attach(): the destructor cannot ask transportOps() again.
    const _transport_ops_t* attachedOps_ = nullptr;
};

// A camera record with a context and the register lock of an opened camera,
// whose transport is `device`; freed (with its sensor) on destruction.  The
// device belongs to the test and must outlive the camera.
class SimCamera {
public:
    explicit SimCamera(SimDevice& device);
    ~SimCamera();
    SimCamera(const SimCamera&) = delete;
    SimCamera& operator=(const SimCamera&) = delete;

    ci_camera_t* get() const { return camera_; }
    ci_camera_t* operator->() const { return camera_; }
    operator ci_camera_t*() const { return camera_; }
    _common_context_t* ctx() const { return _ctx(camera_); }

private:
    SimDevice& device_;
    ci_camera_t* camera_;
};
