// Register lookup and access costs, each reported as a ratio measured within
// one run:
//  - name lookup and address lookup on a 5,000-register sensor against a
//    50-register sensor (the index should keep the ratio near 1);
//  - a cached read by name, an uncached read through a transport that does
//    nothing, and the uncached read against a bare lock/unlock pair of the
//    camera's recursive mutex.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "core/camkit_private.h"

namespace {

// A camera with a context, its lock and register cache, carrying a sensor of
// n registers named "<PREFIX>_REGISTER_<i>" at even addresses in two spaces.
class BenchCamera {
public:
    explicit BenchCamera(int n) : camera_(static_cast<ci_camera_t*>(calloc(1, sizeof(ci_camera_t)))) {
        ci_InitCameraContext(camera_);
        ci_sensor_t* s = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        s->reg_addr_size = 16;
        s->reg_data_size = 16;
        s->addr_space = static_cast<ci_addr_space_t*>(calloc(1, sizeof(ci_addr_space_t)));
        s->addr_space->num_vals = 2;
        s->addr_space->addr_space_val = static_cast<ci_addr_space_val_t*>(calloc(2, sizeof(ci_addr_space_val_t)));
        s->addr_space->addr_space_val[1].val = 1;
        s->num_regs = n;
        s->regs = static_cast<ci_reg_data_t*>(calloc((size_t)n, sizeof(ci_reg_data_t)));
        for (int i = 0; i < n; ++i) {
            ci_reg_data_t& r = s->regs[i];
            snprintf(r.unique_desc, sizeof r.unique_desc, "%s_REGISTER_%d", i % 2 ? "SENSOR" : "CORE", i);
            r.reg_addr = (ci_u32)(i / 2) * 2;
            r.addr_space = &s->addr_space->addr_space_val[i % 2];
            r.reg_space = r.addr_space->val;
            r.bitmask = 0xFFFF;
            r.addr_span = 1;
            names_.push_back(r.unique_desc);
        }
        camera_->sensor = s;
        _common_context_t* ctx = _ctx(camera_);
        ctx->readSensorRegistersNolock = [](ci_camera_t*, ci_u32, ci_u32, ci_u32, ci_u32*) { return 0; };
        ctx->writeSensorRegistersNolock = [](ci_camera_t*, ci_u32, ci_u32, ci_u32, ci_u32*) { return 0; };
        _init_global_context(camera_);
        _init_reg_cache(camera_);
        // Lookups cycle through a spread of the sensor's names.
        std::vector<std::string> spread;
        for (size_t k = 0; k < 64; ++k) spread.push_back(names_[(k * 7919) % names_.size()]);
        names_.swap(spread);
    }
    ~BenchCamera() {
        ci_DestructSensor(camera_->sensor);
        free(camera_->sensor);
        camera_->sensor = nullptr;
        ci_FreeCameraContext(camera_);
        free(camera_);
    }
    ci_camera_t* get() const { return camera_; }
    const char* name(size_t k) const { return names_[k % names_.size()].c_str(); }
    ci_u32 addr(size_t k) const { return (ci_u32)((k * 7919) % (size_t)camera_->sensor->num_regs / 2) * 2; }

private:
    ci_camera_t* camera_;
    std::vector<std::string> names_;
};

constexpr int kReps = 2000;

// Nanoseconds of the thread's own CPU time per call of op over kReps calls
// (the machine may be shared: time spent in other processes is not counted).
double threadNs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return (double)now.tv_sec * 1e9 + (double)now.tv_nsec;
}

template <typename Op>
double nsPerOp(Op op) {
    const double start = threadNs();
    for (int k = 0; k < kReps; ++k) op(k);
    return (threadNs() - start) / kReps;
}

// Runs both measurements alternately for the whole benchmark and reports
// their means and the ratio second / first.
template <typename A, typename B>
void compare(benchmark::State& state, const char* label, const char* first, A a, const char* second, B b) {
    double sumA = 0, sumB = 0;
    for (auto _ : state) {
        sumA += nsPerOp(a);
        sumB += nsPerOp(b);
    }
    const double n = (double)state.iterations();
    state.counters[first] = sumA / n;
    state.counters[second] = sumB / n;
    state.counters["ratio"] = sumB / sumA;
    state.SetLabel(label);
}

void BM_NameLookup5000vs50(benchmark::State& state) {
    BenchCamera small(50), big(5000);
    compare(
        state, "name lookup 50 vs 5000", "ns_50", [&](int k) { benchmark::DoNotOptimize(ci_FindRegister(small.get(), small.name((size_t)k))); },
        "ns_5000", [&](int k) { benchmark::DoNotOptimize(ci_FindRegister(big.get(), big.name((size_t)k))); });
}
BENCHMARK(BM_NameLookup5000vs50);

void BM_AddrLookup5000vs50(benchmark::State& state) {
    BenchCamera small(50), big(5000);
    compare(
        state, "address lookup 50 vs 5000", "ns_50",
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegisterAddr(small.get(), small.addr((size_t)k), 1, CI_REG_ADDR)); },
        "ns_5000",
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegisterAddr(big.get(), big.addr((size_t)k), 1, CI_REG_ADDR)); });
}
BENCHMARK(BM_AddrLookup5000vs50);

void BM_CachedVsUncachedRead(benchmark::State& state) {
    BenchCamera cam(5000);
    ci_u32 v = 0;
    ci_setMode(cam.get(), CI_USE_REG_CACHE, 1);
    for (size_t k = 0; k < 64; ++k) ci_ReadSensorRegStr(cam.get(), cam.name(k), nullptr, &v);
    double cached = 0, uncached = 0;
    for (auto _ : state) {
        ci_setMode(cam.get(), CI_USE_REG_CACHE, 1);
        cached += nsPerOp([&](int k) { ci_ReadSensorRegStr(cam.get(), cam.name((size_t)k), nullptr, &v); });
        ci_setMode(cam.get(), CI_USE_REG_CACHE, 0);
        uncached += nsPerOp([&](int k) { ci_ReadSensorRegStr(cam.get(), cam.name((size_t)k), nullptr, &v); });
    }
    const double n = (double)state.iterations();
    state.counters["cached_ns"] = cached / n;
    state.counters["uncached_ns"] = uncached / n;
}
BENCHMARK(BM_CachedVsUncachedRead);

void BM_UncachedReadVsMutex(benchmark::State& state) {
    BenchCamera cam(5000);
    ci_setMode(cam.get(), CI_USE_REG_CACHE, 0);
    osal_mutex* lock = &_ctx(cam.get())->criticalSection;
    ci_u32 v = 0;
    compare(
        state, "lock pair vs uncached read", "mutex_ns",
        [&](int) {
            osal_enter_critical_section(lock);
            osal_leave_critical_section(lock);
        },
        "uncached_ns", [&](int k) { ci_ReadSensorRegStr(cam.get(), cam.name((size_t)k), nullptr, &v); });
}
BENCHMARK(BM_UncachedReadVsMutex);

}  // namespace
