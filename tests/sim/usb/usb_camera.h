#pragma once
// One simulated board opened through the USB transport and started: the
// fixture of the USB register tests.
#include <memory>

#include "transport/usb_private.h"
#include "usb_board_sim.h"

class UsbCamera {
public:
    // Publishes a board with `config`; `setUp` adds its bus devices before
    // the board is opened (without a sensor) and started.
    explicit UsbCamera(const UsbBoardConfig& config);
    ~UsbCamera();
    UsbCamera(const UsbCamera&) = delete;
    UsbCamera& operator=(const UsbCamera&) = delete;

    bool open();
    ci_camera_t* get() const { return camera_; }
    UsbBoard& board() { return *board_; }
    UsbTestbed& testbed() { return bed_; }
    // The calling thread's register address and data sizes.
    void sizes(ci_u32 addrBits, ci_u32 dataBits);

private:
    ScopedVendorIds ids_{"0xC0DE,0xC0DF"};
    UsbTestbed bed_;
    UsbBoard* board_;
    ci_camera_t* camera_ = nullptr;
};
