// Software frame post-processing on a 12-megapixel frame (4000 x 3000):
// unswizzling at 10, 12, 14 and 16 bits and the deep-Bayer merge, each
// compared with memcpy of the same number of bytes.
//
// Besides the usual time and bytes/s, every case reports "vs_memcpy": the
// best time of a memcpy of the frame's bytes (into another buffer) divided
// by the best time of the operation (in place), timed in turns in the same
// run (1.0 = as fast as memcpy).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "transport/transport_common.h"

namespace {

constexpr ci_u32 kWidth = 4000;
constexpr ci_u32 kHeight = 3000;
constexpr int kTimingRounds = 15;

// A camera without a device: frames are processed off line.
const _transport_ops_t kBareOps = {};

// A camera record with a context and a sensor set up for one case.
class BenchCamera {
public:
    BenchCamera(ci_image_types type, ci_u32 bitsPerClock, ci_u32 clocksPerPixel, ci_s32 softwareUnswizzle) {
        camera_ = _transport_new_camera(&kBareOps, nullptr);
        camera_->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        _common_context_t* ctx = _ctx(camera_);
        ci_sensor_t* sensor = camera_->sensor;
        ctx->bitsPerClock = bitsPerClock;
        ctx->clocksPerPixel = clocksPerPixel;
        ctx->do_sw_unswizzle = softwareUnswizzle;
        sensor->imageType = type;
        sensor->width = kWidth;
        sensor->height = kHeight;
        sensor->zoomFactor = 1;
        sensor->pixelBits = _pixelBits(camera_);
        sensor->pixelBytes = _pixelBytes(camera_);
        sensor->bufferSize = kWidth * kHeight * sensor->pixelBytes;
    }
    ~BenchCamera() { _transport_free_camera(&kBareOps, camera_); }
    BenchCamera(const BenchCamera&) = delete;
    BenchCamera& operator=(const BenchCamera&) = delete;

    ci_camera_t* get() const { return camera_; }
    size_t frameBytes() const { return camera_->sensor->bufferSize; }

private:
    ci_camera_t* camera_;
};

std::vector<ci_u8> randomFrame(size_t bytes) {
    std::vector<ci_u8> frame(bytes);
    std::mt19937 random(12345);
    for (size_t i = 0; i < bytes; i += 4) {
        const ci_u32 r = random();
        memcpy(&frame[i], &r, std::min<size_t>(4, bytes - i));
    }
    return frame;
}

template <typename Fn>
double seconds(Fn fn) {
    const auto start = std::chrono::steady_clock::now();
    fn();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count();
}

// The reference operation: a copy of the frame into another buffer.
void copyFrame(std::vector<ci_u8>& target, const std::vector<ci_u8>& source) {
    memcpy(target.data(), source.data(), source.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
}

// Best memcpy time over best operation time; the two are timed in turns so
// that both see the same load on the machine.
template <typename Fn>
double ratioToMemcpy(Fn operation, size_t bytes) {
    std::vector<ci_u8> source = randomFrame(bytes);
    std::vector<ci_u8> target(bytes, 1);
    const auto copy = [&] { copyFrame(target, source); };
    double bestCopy = 1e30;
    double bestOperation = 1e30;
    for (int i = 0; i < kTimingRounds; i++) {
        bestCopy = std::min(bestCopy, seconds(copy));
        bestOperation = std::min(bestOperation, seconds(operation));
    }
    return bestCopy / bestOperation;
}

using FrameOperation = void (*)(ci_camera_t*, ci_u8*);

// One post-processing case: the camera set-up and the operation timed.
struct FrameCase {
    const char* name;
    ci_image_types type;
    ci_u32 bitsPerClock;
    ci_u32 clocksPerPixel;
    ci_s32 softwareUnswizzle;
    FrameOperation operation;
};

const FrameCase kCases[] = {
    {"BM_Unswizzle10", CI_BAYER_10, 8, 2, 1, _unSwizzleBuffer},
    {"BM_Unswizzle12", CI_BAYER_12, 8, 2, 1, _unSwizzleBuffer},
    {"BM_Unswizzle14", CI_BAYER_14, 14, 1, 1, _unSwizzleBuffer},
    {"BM_Unswizzle16", CI_BAYER_16, 16, 1, 1, _unSwizzleBuffer},
    {"BM_UnswizzleMsbAligned12", CI_BAYER_12, 8, 2, 2, _unSwizzleBuffer},
    {"BM_MergeDeepBayer10", CI_BAYER_20, 10, 2, 0, _mergeDeepBayer},
    {"BM_MergeDeepBayer16", CI_BAYER_20, 16, 2, 0, _mergeDeepBayer},
};

void runCase(benchmark::State& state, const FrameCase& frameCase) {
    BenchCamera camera(frameCase.type, frameCase.bitsPerClock, frameCase.clocksPerPixel, frameCase.softwareUnswizzle);
    std::vector<ci_u8> frame = randomFrame(camera.frameBytes());
    const auto once = [&] {
        frameCase.operation(camera.get(), frame.data());
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    };
    const double ratio = ratioToMemcpy(once, frame.size());
    for (auto _ : state) once();
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)frame.size());
    state.counters["vs_memcpy"] = ratio;
}

void BM_Memcpy16BitFrame(benchmark::State& state) {
    const size_t bytes = (size_t)kWidth * kHeight * 2;
    std::vector<ci_u8> source = randomFrame(bytes);
    std::vector<ci_u8> target(bytes, 1);
    for (auto _ : state) copyFrame(target, source);
    state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)bytes);
}

}  // namespace

BENCHMARK(BM_Memcpy16BitFrame)->Unit(benchmark::kMillisecond);

[[maybe_unused]] static const bool kCasesRegistered = [] {
    for (const FrameCase& frameCase : kCases) {
        benchmark::RegisterBenchmark(frameCase.name, runCase, frameCase)->Unit(benchmark::kMillisecond);
    }
    return true;
}();
