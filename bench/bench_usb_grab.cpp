// Frame reads from a simulated USB board: frames grabbed through the
// library against a bare libusb bulk-read loop moving the same bytes from
// the same board on the same handle, measured alternately in one run
// (ratio = bare / library: 1 means no overhead); and the per-frame cost of
// the software unswizzle and of 10-bit unpacking against memcpy of the
// frame (ratio = memcpy / work).  Run under umockdev-wrapper.
#include <benchmark/benchmark.h>
#include <libusb.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "transport/usb_private.h"
#include "usb_board_sim.h"

namespace {

constexpr ci_u32 kWidth = 1280;
constexpr ci_u32 kHeight = 1024;

template <typename Op>
double nsPerOp(Op op, int reps) {
    const auto start = std::chrono::steady_clock::now();
    for (int k = 0; k < reps; ++k) op();
    const auto end = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::nano>(end - start).count() / reps;
}

// A started 0x100E board with the sample sensor and its frame source.
struct Bench {
    ScopedVendorIds ids{"0xC0DE"};
    UsbTestbed bed;
    UsbBoard* board = nullptr;
    ci_camera_t* cameras[4] = {};
    ci_s32 n = 0;

    ci_camera_t* open() {
        const std::string sensorFile = std::string(CAMKIT_DATA_DIR) + "/sensor_data/ck_page8.sdat";
        UsbBoardConfig config;
        config.productId = 0x100E;
        config.usbGeneration = 3;
        config.maxPacketSize = 1024;
        config.markerPacketSize = 256;
        board = &bed.addBoard(config);
        board->addSensor(sensorFile, 0xBA, 8, 16);
        board->setPattern(FramePattern::Bayer, kWidth);
        board->setFrameSize(kWidth * kHeight * 2);
        ci_OpenCameras2(cameras, &n, sensorFile.c_str(), CI_TRANSPORT_USB, "");
        if (n != 1 || cameras[0]->startTransport(cameras[0]) != CI_CAMERA_SUCCESS) return nullptr;
        return cameras[0];
    }
    ~Bench() {
        if (n > 0) ci_CloseCameras2(cameras, n);
    }
};

// The simulated board's camera, or nullptr after telling the benchmark why
// it is skipped.
ci_camera_t* openOrSkip(benchmark::State& state, Bench& bench) {
    if (!UsbTestbed::available()) {
        state.SkipWithError("run under umockdev-wrapper");
        return nullptr;
    }
    ci_camera_t* camera = bench.open();
    if (camera == nullptr) state.SkipWithError("the simulated board did not open");
    return camera;
}

void BM_UsbGrabFrame(benchmark::State& state) {
    Bench bench;
    ci_camera_t* camera = openOrSkip(state, bench);
    if (camera == nullptr) return;
    USB_Bulk_Context* usb = _usb_context(camera);
    std::vector<ci_u8> buffer(camera->sensor->bufferSize);
    auto library = [&] { benchmark::DoNotOptimize(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size())); };
    // The bare loop asks for the same transfers and stops at the short
    // marker packet, as a minimal frame reader would.
    auto* handle = static_cast<libusb_device_handle*>(usb->driverInfo->hDevice);
    auto bare = [&] {
        ci_u32 remaining = (ci_u32)buffer.size(), at = 0;
        while (remaining > 0) {
            const ci_u32 request = remaining < usb->maxTransferSize ? remaining : usb->maxTransferSize;
            int got = 0;
            if (libusb_bulk_transfer(handle, 0x82, buffer.data() + at, (int)request, &got, 800) != 0) return;
            at += request;
            remaining -= request;
            if ((ci_u32)got != request) return;
        }
    };
    const int reps = 5;
    double sumLibrary = 0, sumBare = 0;
    for (auto _ : state) {
        sumBare += nsPerOp(bare, reps);
        sumLibrary += nsPerOp(library, reps);
    }
    const double iterations = (double)state.iterations();
    state.counters["ms_library"] = sumLibrary / iterations / 1e6;
    state.counters["ms_bare"] = sumBare / iterations / 1e6;
    state.counters["ratio"] = sumBare / sumLibrary;
    state.SetLabel("1280x1024x2 frame, library vs bare bulk reads");
}

// Software unswizzle (8-bit double-clocked 10-bit Bayer) and 10-bit
// unpacking of one frame, against memcpy of the frame.
void BM_UsbFramePostProcessing(benchmark::State& state) {
    Bench bench;
    ci_camera_t* camera = openOrSkip(state, bench);
    if (camera == nullptr) return;
    USB_Bulk_Context* usb = _usb_context(camera);
    _common_context_t* ctx = _ctx(camera);
    const bool unpack = state.range(0) == 1;
    if (unpack) {
        usb->pixelPack = 1;
    } else {
        ci_updateFrameSize(camera, 0, 0, 8, 2);
        ci_setMode(camera, CI_UNSWIZZLE_MODE, CI_SW_UNSWIZZLE);
    }
    const ci_u32 frameBytes = kWidth * kHeight * 2;
    std::vector<ci_u8> source(camera->sensor->bufferSize, 0x5A), work(source.size()), copy(source.size());
    // 10-bit packed data with its marker behind it.
    const ci_u32 packed = kWidth * kHeight * 10 / 8;
    const ci_u32 returned = (packed + usb->maxPacketSize - 1) / usb->maxPacketSize * usb->maxPacketSize;
    memcpy(source.data() + returned, usb->marker, usb->markerSize);
    source[returned + usb->markerPacketSize - 2] = (ci_u8)((packed % usb->maxPacketSize) >> 8);
    source[returned + usb->markerPacketSize - 1] = (ci_u8)(packed % usb->maxPacketSize);
    auto process = [&] {
        memcpy(work.data(), source.data(), frameBytes);
        if (unpack) {
            ctx->frame_data.bytesReturned = returned + usb->markerPacketSize;
            ctx->frame_data.imageBytesReturned = packed;
            benchmark::DoNotOptimize(_USB_Bulk_UnpackData(camera, work.data()));
        } else {
            _unSwizzleBuffer(camera, work.data());
        }
    };
    auto baseline = [&] {
        memcpy(copy.data(), source.data(), frameBytes);
        benchmark::DoNotOptimize(copy.data());
    };
    const int reps = 10;
    double sumWork = 0, sumCopy = 0;
    for (auto _ : state) {
        sumCopy += nsPerOp(baseline, reps);
        sumWork += nsPerOp(process, reps);
    }
    const double iterations = (double)state.iterations();
    state.counters["ms_frame"] = (sumWork - sumCopy) / iterations / 1e6;
    state.counters["ms_memcpy"] = sumCopy / iterations / 1e6;
    // The work alone (its memcpy of the source taken off) against one memcpy.
    state.counters["ratio"] = sumCopy / std::max(sumWork - sumCopy, 1.0);
    state.SetLabel(unpack ? "10-bit unpack vs memcpy" : "software unswizzle vs memcpy");
}

}  // namespace

BENCHMARK(BM_UsbGrabFrame)->Iterations(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UsbFramePostProcessing)->Arg(0)->Arg(1)->Iterations(10)->Unit(benchmark::kMillisecond);
