// The library's own cost per register request on a USB board: register
// reads by name through a simulated board (cache off), against bare
// libusb_control_transfer calls of the same requests on the same device
// handle, measured alternately in one run.  ratio = bare / library: 1 means
// no overhead.  Run under umockdev-wrapper.
#include <benchmark/benchmark.h>
#include <libusb.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "transport/usb_private.h"
#include "usb_board_sim.h"

namespace {

constexpr int kReps = 200;

template <typename Op>
double nsPerOp(Op op) {
    const auto start = std::chrono::steady_clock::now();
    for (int k = 0; k < kReps; ++k) op();
    const auto end = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::nano>(end - start).count() / kReps;
}

void BM_UsbRegisterReadByName(benchmark::State& state) {
    if (!UsbTestbed::available()) {
        state.SkipWithError("run under umockdev-wrapper");
        return;
    }
    const std::string sensorFile = std::string(CAMKIT_DATA_DIR) + "/sensor_data/ck_page8.sdat";
    ScopedVendorIds ids("0xC0DE");
    UsbTestbed bed;
    UsbBoardConfig config;
    config.productId = 0x100E;
    UsbBoard& board = bed.addBoard(config);
    board.addSensor(sensorFile, 0xBA, 8, 16);
    ci_camera_t* cameras[4] = {};
    ci_s32 n = 0;
    ci_OpenCameras2(cameras, &n, sensorFile.c_str(), CI_TRANSPORT_USB, "");
    if (n != 1 || cameras[0]->startTransport(cameras[0]) != CI_CAMERA_SUCCESS) {
        state.SkipWithError("the simulated board did not open");
        if (n > 0) ci_CloseCameras2(cameras, n);
        return;
    }
    ci_camera_t* camera = cameras[0];
    ci_setMode(camera, CI_USE_REG_CACHE, 0);
    auto* handle = static_cast<libusb_device_handle*>(_usb_context(camera)->driverInfo->hDevice);
    ci_u32 value = 0;
    // ROW_START of the paged sensor: with the cache off every read selects
    // the page and reads the register.  The bare side sends the requests
    // the library sent for one read, as recorded by the board.
    auto library = [&] { benchmark::DoNotOptimize(ci_ReadSensorRegStr(camera, "ROW_START", "", &value)); };
    board.clearRequests();
    library();
    std::vector<UsbControlRequest> requests = board.requests();
    state.counters["requests_per_read"] = (double)requests.size();
    ci_u8 buffer[64];
    auto bare = [&] {
        for (UsbControlRequest& r : requests) {
            if ((r.requestType & 0x80) == 0) std::copy(r.data.begin(), r.data.end(), buffer);
            benchmark::DoNotOptimize(
                libusb_control_transfer(handle, r.requestType, r.request, r.value, r.index, buffer, r.length, 500));
        }
    };
    double sumLibrary = 0, sumBare = 0;
    for (auto _ : state) {
        sumBare += nsPerOp(bare);
        sumLibrary += nsPerOp(library);
    }
    const double iterations = (double)state.iterations();
    state.counters["ns_library"] = sumLibrary / iterations;
    state.counters["ns_bare"] = sumBare / iterations;
    state.counters["ratio"] = sumBare / sumLibrary;
    state.SetLabel("read by name vs bare control transfer");
    ci_CloseCameras2(cameras, n);
}
BENCHMARK(BM_UsbRegisterReadByName)->Iterations(20)->Unit(benchmark::kMicrosecond);

}  // namespace
