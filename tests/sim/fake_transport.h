#pragma once
// A scripted stand-in for the transports of the registry.
//
// Constructing FakeTransports replaces the entry points of the five registry
// rows; each row then opens the number of cameras its script asks for (set up
// the way a real transport does) and returns the scripted code.  Registers
// live in a map.  The destructor closes everything and restores the rows.
#include <map>
#include <utility>
#include <vector>

#include "transport/transport_common.h"

struct FakeRowScript {
    ci_s32 count = 0;                          // cameras placed per open
    ci_error_code result = CI_CAMERA_SUCCESS;  // code returned by open
    bool withSensor = false;                   // attach a two-register sensor
    ci_product_ids productID = CI_UNKNOWN_PRODUCT;
};

class FakeTransports {
public:
    FakeTransports();
    ~FakeTransports();
    FakeTransports(const FakeTransports&) = delete;
    FakeTransports& operator=(const FakeTransports&) = delete;

    FakeRowScript& script(ci_u32 flag) { return scripts_[flag]; }
    // The flags of the rows opened, in call order.
    const std::vector<ci_u32>& openedRows() const { return opened_; }
    // The fake cameras' registers, keyed by (base, register).
    std::map<std::pair<ci_u32, ci_u32>, ci_u32>& regs() { return regs_; }
    // Fake cameras allocated and not yet freed.
    int liveCameras() const { return live_; }

    // Used by the installed entry points.
    ci_error_code open(int row, ci_camera_t** cameras, ci_s32* n);
    void close(ci_s32 n, ci_camera_t** cameras);

private:
    ci_camera_t* makeCamera(ci_u32 flag);

    _transport_t saved_[CI_NUM_TRANSPORTS];
    FakeTransports* previous_;
    std::map<ci_u32, FakeRowScript> scripts_;
    std::vector<ci_u32> opened_;
    std::map<std::pair<ci_u32, ci_u32>, ci_u32> regs_;
    int live_ = 0;
    int serial_ = 0;
};
