// Register lookup and access costs, each reported as a ratio measured within
// one run:
//  - name lookup and address lookup on a 5,000-register sensor against a
//    50-register sensor (the index should keep the ratio near 1), also with
//    other work between the lookups that pushes the tables out of the
//    processor's caches (the cost of that work, measured alone in the same
//    run, is taken off both);
//  - a cached read by name, an uncached read through a transport that does
//    nothing, and each of them against a bare lock/unlock pair of the
//    camera's recursive mutex.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "bench_thread_time.h"
#include "core/camkit_private.h"
#include "transport/transport_common.h"

namespace {

ci_error_code nothingToDo(ci_camera_t*, ci_u32, ci_u32, ci_u32, ci_u32*) { return CI_CAMERA_SUCCESS; }

// A do-nothing device: sensor-register runs succeed at once.
const _transport_ops_t kNothingOps = [] {
    _transport_ops_t ops{};
    ops.transportName = "bench";
    ops.readSensorRegistersNolock = nothingToDo;
    ops.writeSensorRegistersNolock = nothingToDo;
    return ops;
}();

// A camera with a context, its lock and register cache, carrying a sensor of
// n registers named "<PREFIX>_REGISTER_<i>" at even addresses in two spaces.
class BenchCamera {
public:
    explicit BenchCamera(int n) : camera_(_transport_new_camera(&kNothingOps, nullptr)) {
        if (camera_ == nullptr) abort();
        osal_init_critical_section(&_ctx(camera_)->criticalSection, "");
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
        _init_global_context(camera_);
        _init_reg_cache(camera_);
        // Lookups cycle through a spread of the sensor's names and addresses
        // (tables, so that the loops measure no division).
        std::vector<std::string> spread;
        for (size_t k = 0; k < kNames; ++k) spread.push_back(names_[(k * 7919) % names_.size()]);
        names_.swap(spread);
        for (size_t k = 0; k < kAddrs; ++k) addrs_.push_back((ci_u32)((k * 7919) % (size_t)n / 2) * 2);
    }
    ~BenchCamera() { _transport_free_camera(&kNothingOps, camera_); }
    BenchCamera(const BenchCamera&) = delete;
    BenchCamera& operator=(const BenchCamera&) = delete;
    ci_camera_t* get() const { return camera_; }
    const char* name(size_t k) const { return names_[k & (kNames - 1)].c_str(); }
    ci_u32 addr(size_t k) const { return addrs_[k & (kAddrs - 1)]; }

private:
    ci_camera_t* camera_;
    static constexpr size_t kNames = 64;
    static constexpr size_t kAddrs = 2048;
    std::vector<std::string> names_;
    std::vector<ci_u32> addrs_;
};

using bench::nsPerOp;

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

// Work an application does between two lookups: it walks on through a
// buffer, 2 MiB per call, enough to push the lookup tables of either sensor
// out of the core's own caches (the buffer still fits the shared last
// level, so both sensors' tables are as far away as each other).
class OtherWork {
public:
    OtherWork() : words_(kBytes / sizeof(ci_u64), 1) {}
    void operator()() {
        for (size_t k = 0; k < kStep / kLine; ++k) {
            sum_ += words_[next_];
            next_ = (next_ + kLine / sizeof(ci_u64)) % words_.size();
        }
        benchmark::DoNotOptimize(sum_);
    }

private:
    static constexpr size_t kBytes = 8u << 20;
    static constexpr size_t kStep = 2u << 20;
    static constexpr size_t kLine = 64;
    std::vector<ci_u64> words_;
    size_t next_ = 0;
    ci_u64 sum_ = 0;
};

// One call of op timed on its own right after the other work, less the
// cost of reading the clock twice.
template <typename Op>
double coldCallNs(OtherWork& work, Op op, int k) {
    using Clock = std::chrono::steady_clock;
    work();
    const auto start = Clock::now();
    op(k);
    const auto end = Clock::now();
    const auto again = Clock::now();
    const auto clock = Clock::now() - again;
    return std::chrono::duration<double, std::nano>(end - start - clock).count();
}

double median(std::vector<double>& v) {
    std::nth_element(v.begin(), v.begin() + (ptrdiff_t)v.size() / 2, v.end());
    return v[v.size() / 2];
}

// As compare, each call of a and b made right after other work.  The calls
// of a and b alternate, so that both meet the machine in the same state,
// and are timed one by one; their medians are compared.
template <typename A, typename B>
void compareCold(benchmark::State& state, const char* label, A a, B b) {
    constexpr int kSamples = 401;
    OtherWork work;
    double sumA = 0, sumB = 0;
    std::vector<double> callsA(kSamples), callsB(kSamples);
    for (auto _ : state) {
        for (int k = 0; k < kSamples; ++k) {
            callsA[(size_t)k] = coldCallNs(work, a, k);
            callsB[(size_t)k] = coldCallNs(work, b, k);
        }
        sumA += median(callsA);
        sumB += median(callsB);
    }
    const double n = (double)state.iterations();
    state.counters["ns_50"] = sumA / n;
    state.counters["ns_5000"] = sumB / n;
    state.counters["ratio"] = sumB / sumA;
    state.SetLabel(label);
}

void BM_NameLookup5000vs50(benchmark::State& state) {
    BenchCamera small(50), big(5000);
    compare(
        state, "name lookup 50 vs 5000", "ns_50",
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegister(small.get(), small.name((size_t)k))); }, "ns_5000",
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegister(big.get(), big.name((size_t)k))); });
}
BENCHMARK(BM_NameLookup5000vs50);

void BM_AddrLookup5000vs50(benchmark::State& state) {
    BenchCamera small(50), big(5000);
    compare(
        state, "address lookup 50 vs 5000", "ns_50",
        [&](int k) {
            benchmark::DoNotOptimize(ci_FindRegisterAddr(small.get(), small.addr((size_t)k), 1, CI_REG_ADDR));
        },
        "ns_5000",
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegisterAddr(big.get(), big.addr((size_t)k), 1, CI_REG_ADDR)); });
}
BENCHMARK(BM_AddrLookup5000vs50);

// Both sensors are asked for the same number of different keys (16, all
// distinct on either), so that a key comes back after as much other work on
// both: only the size of the tables differs.
size_t coldKey(int k) { return (size_t)k & 15; }

void BM_ColdNameLookup5000vs50(benchmark::State& state) {
    BenchCamera small(50), big(5000);
    compareCold(
        state, "name lookup 50 vs 5000, other work between",
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegister(small.get(), small.name(coldKey(k)))); },
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegister(big.get(), big.name(coldKey(k)))); });
}
BENCHMARK(BM_ColdNameLookup5000vs50);

void BM_ColdAddrLookup5000vs50(benchmark::State& state) {
    BenchCamera small(50), big(5000);
    compareCold(
        state, "address lookup 50 vs 5000, other work between",
        [&](int k) {
            benchmark::DoNotOptimize(ci_FindRegisterAddr(small.get(), small.addr(coldKey(k)), 1, CI_REG_ADDR));
        },
        [&](int k) { benchmark::DoNotOptimize(ci_FindRegisterAddr(big.get(), big.addr(coldKey(k)), 1, CI_REG_ADDR)); });
}
BENCHMARK(BM_ColdAddrLookup5000vs50);

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

// Reads by name with the given cache use against the bare lock pair.
void readVsMutex(benchmark::State& state, ci_u32 cacheUse, const char* label) {
    BenchCamera cam(5000);
    ci_setMode(cam.get(), CI_USE_REG_CACHE, cacheUse);
    osal_mutex* lock = &_ctx(cam.get())->criticalSection;
    ci_u32 v = 0;
    for (size_t k = 0; k < 64; ++k) ci_ReadSensorRegStr(cam.get(), cam.name(k), nullptr, &v);
    compare(
        state, label, "mutex_ns",
        [&](int) {
            osal_enter_critical_section(lock);
            osal_leave_critical_section(lock);
        },
        "read_ns", [&](int k) { ci_ReadSensorRegStr(cam.get(), cam.name((size_t)k), nullptr, &v); });
}

void BM_UncachedReadVsMutex(benchmark::State& state) { readVsMutex(state, 0, "lock pair vs uncached read"); }
BENCHMARK(BM_UncachedReadVsMutex);

void BM_CachedReadVsMutex(benchmark::State& state) { readVsMutex(state, 1, "lock pair vs cached read"); }
BENCHMARK(BM_CachedReadVsMutex);

}  // namespace
