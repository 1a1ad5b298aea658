// Register reads by name through the shared library, as an application sees
// them: a null camera (every register reads 0, no device) opened on a
// generated 5,000-register description.  Each figure is a ratio measured
// within one run against a bare lock/unlock pair of a recursive mutex (the
// kind the camera's register lock is):
//  - an uncached read by name;
//  - a cached read by name.
// Only the public header is used, so every call crosses the library's
// exported interface.
#include <benchmark/benchmark.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "bench_thread_time.h"
#include "camkit.h"

namespace {

constexpr int kRegisters = 5000;

// A sensor data file of kRegisters 16-bit registers named
// "<PREFIX>_REGISTER_<i>", written to a scratch directory that is removed
// again when the camera closes.
class SensorFile {
public:
    SensorFile() {
        char pattern[] = "/tmp/camkit_bench_regs_XXXXXX";
        const char* made = mkdtemp(pattern);
        dir_ = made ? made : "";
        path_ = dir_ + "/bench5000.sdat";
        FILE* out = made ? fopen(path_.c_str(), "w") : nullptr;
        if (!out) {
            path_.clear();
            return;
        }
        fputs("[CHIP_DESCRIPTOR]\nSENSORNAME = \"BENCH5000\"\nWIDTH = 640\nHEIGHT = 480\nIMAGE_TYPE = BAYER\n"
              "BITS_PER_CLOCK = 10\nCLOCKS_PER_PIXEL = 1\nSHIP_BASE_ADDRESS = (0x20)\n[END]\n"
              "[OPTIONAL]\nREG_ADDR_SIZE = 16\nREG_DATA_SIZE = 16\nSDAT_VERSION = 2\n[END]\n[REGISTERS]\n",
              out);
        for (int i = 0; i < kRegisters; ++i) {
            fprintf(out, "%s_REGISTER_%d = {0x%X, CORE, 1, 0xFFFF, RW, 0x0, \"\", \"\"}\n", i % 2 ? "SENSOR" : "CORE",
                    i, (unsigned)i * 2);
        }
        fputs("[END]\n", out);
        fclose(out);
    }
    ~SensorFile() {
        if (!path_.empty()) remove(path_.c_str());
        if (!dir_.empty()) rmdir(dir_.c_str());
    }
    const std::string& path() const { return path_; }

private:
    std::string dir_;
    std::string path_;
};

// The null camera on the generated description; null when it cannot open.
class NullCamera {
public:
    NullCamera() {
        if (file_.path().empty()) return;
        ci_s32 n = 0;
        if (ci_OpenCameras2(cameras_, &n, file_.path().c_str(), CI_TRANSPORT_NULL, nullptr) == CI_CAMERA_SUCCESS &&
            n > 0) {
            camera_ = cameras_[0];
            count_ = n;
        }
        for (size_t k = 0; k < 64; ++k) {
            const int i = (int)((k * 7919) % kRegisters);
            names_.push_back(std::string(i % 2 ? "SENSOR" : "CORE") + "_REGISTER_" + std::to_string(i));
        }
    }
    ~NullCamera() {
        if (camera_) ci_CloseCameras2(cameras_, count_);
    }
    ci_camera_t* get() const { return camera_; }
    // 64 names: a mask, not a division, in the timed loops.
    const char* name(size_t k) const { return names_[k & 63].c_str(); }

private:
    SensorFile file_;
    ci_camera_t* cameras_[4] = {};
    ci_camera_t* camera_ = nullptr;
    ci_s32 count_ = 0;
    std::vector<std::string> names_;
};

using bench::nsPerOp;

class RecursiveMutex {
public:
    RecursiveMutex() {
        pthread_mutexattr_t attr;
        pthread_mutexattr_init(&attr);
        pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(&mutex_, &attr);
        pthread_mutexattr_destroy(&attr);
    }
    ~RecursiveMutex() { pthread_mutex_destroy(&mutex_); }
    void pair() {
        pthread_mutex_lock(&mutex_);
        pthread_mutex_unlock(&mutex_);
    }

private:
    pthread_mutex_t mutex_;
};

// Reads by name with the given cache use against the mutex pair, alternating
// for the whole benchmark.
void readVsMutex(benchmark::State& state, ci_u32 cacheUse, const char* label) {
    NullCamera cam;
    if (!cam.get()) {
        state.SkipWithError("the null camera did not open");
        return;
    }
    RecursiveMutex mutex;
    ci_u32 v = 0;
    ci_setMode(cam.get(), CI_USE_REG_CACHE, cacheUse);
    for (size_t k = 0; k < 64; ++k) {
        if (ci_ReadSensorRegStr(cam.get(), cam.name(k), nullptr, &v) != CI_CAMERA_SUCCESS) {
            state.SkipWithError("a register of the description cannot be read");
            return;
        }
    }
    double lock = 0, read = 0;
    for (auto _ : state) {
        lock += nsPerOp([&](int) { mutex.pair(); });
        read += nsPerOp([&](int k) { ci_ReadSensorRegStr(cam.get(), cam.name((size_t)k), nullptr, &v); });
    }
    const double n = (double)state.iterations();
    state.counters["mutex_ns"] = lock / n;
    state.counters["read_ns"] = read / n;
    state.counters["ratio"] = read / lock;
    state.SetLabel(label);
}

void BM_SharedUncachedReadVsMutex(benchmark::State& state) {
    readVsMutex(state, 0, "lock pair vs uncached read, shared library");
}
BENCHMARK(BM_SharedUncachedReadVsMutex);

void BM_SharedCachedReadVsMutex(benchmark::State& state) {
    readVsMutex(state, 1, "lock pair vs cached read, shared library");
}
BENCHMARK(BM_SharedCachedReadVsMutex);

}  // namespace
