#pragma once
// A scripted stand-in for the transports of the registry.
//
// Constructing FakeTransports saves the five registry rows and replaces
// their entry points; each row then opens the number of cameras its script
// asks for (allocated, context-initialised and given a function table the
// way a real transport does) and returns the scripted code.  Every open and
// close is recorded.  The destructor closes whatever is still open and puts
// the saved rows back.
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/camkit_private.h"

struct FakeRowScript {
    ci_s32 count = 0;                             // cameras placed per open
    ci_error_code result = CI_CAMERA_SUCCESS;     // code returned by open
    bool withSensor = false;                      // attach a two-register sensor
    ci_product_ids productID = CI_UNKNOWN_PRODUCT;
    std::string sensorFile = "dir/sub/fake sensor.sdat";
    bool cancelDuringOpen = false;                // call ci_CancelProbe while opening
};

struct FakeCall {
    std::string op;  // "open" or "close"
    ci_u32 flag;     // the row's transport flag
    ci_s32 count;    // cameras placed (open) or handed over (close)
    std::string path;
    std::string plugin;
    ci_u32 cancelFlag;  // g_cancel_all_probes when the call began
};

// The devices on the fake cameras' serial bus: registers keyed by (base,
// register), and the base and the calling thread's serial sizes of each
// successful access.
struct FakeBus {
    struct Access {
        ci_u32 base, addrSize, dataSize;
    };
    std::map<std::pair<ci_u32, ci_u32>, ci_u32> regs;
    std::vector<Access> log;
    ci_error_code failWith = CI_CAMERA_SUCCESS;  // every access fails with this when set
};

class FakeTransports {
public:
    FakeTransports();
    ~FakeTransports();
    FakeTransports(const FakeTransports&) = delete;
    FakeTransports& operator=(const FakeTransports&) = delete;

    FakeRowScript& script(ci_u32 flag);
    const std::vector<FakeCall>& calls() const { return calls_; }
    // The flags of the rows opened, in call order.
    std::vector<ci_u32> openedRows() const;
    FakeBus& bus() { return bus_; }
    // Fake cameras allocated and not yet freed.
    int liveCameras() const { return live_; }

    // Used by the installed entry points.
    ci_error_code open(int row, ci_camera_t** cameras, ci_s32* n, const char* path, const char* plugin);
    void close(int row, ci_s32 n, ci_camera_t** cameras);

private:
    // Builds one camera the way the row's transport would.
    ci_camera_t* makeCamera(ci_u32 flag);
    void freeCamera(ci_camera_t* camera);

    _transport_t saved_[CI_NUM_TRANSPORTS];
    FakeTransports* previous_;
    std::map<ci_u32, FakeRowScript> scripts_;
    std::vector<FakeCall> calls_;
    FakeBus bus_;
    int live_ = 0;
    int serial_ = 0;
};
