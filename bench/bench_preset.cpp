// Preset speed on the null camera: a 10,000-line REG preset against 10,000
// direct ci_WriteSensorRegAddr calls of the same writes in the same run (the
// "ratio" of the two "writes" rates; aim: at most 3), and a preset of 100
// nested LOADs of one file, whose "file_reads" counter shows the file is
// read from disk once.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "presets/presets_internal.h"

namespace {

constexpr int kLines = 10000;

struct NullCamera {
    ci_camera_t* cameras[4] = {};
    ci_s32 count = 0;
    NullCamera() {
        const std::string sensor = std::string(CAMKIT_DATA_DIR) + "/sensor_data/ck_bayer16.sdat";
        ci_OpenCameras2(cameras, &count, sensor.c_str(), CI_TRANSPORT_NULL, "");
    }
    ~NullCamera() { ci_CloseCameras2(cameras, count); }
    ci_camera_t* get() const { return count > 0 ? cameras[0] : nullptr; }
};

ci_u32 address(int i) {
    return 0x3000u + 2u * (ci_u32)(i % 64);
}

const std::string& presetFile() {
    static const std::string path = [] {
        const std::string p = "/tmp/camkit_bench_preset.ini";
        std::ofstream out(p);
        out << "[Writes]\n";
        for (int i = 0; i < kLines; ++i) {
            char line[64];
            snprintf(line, sizeof line, "REG = 0x%X, 0x%X\n", address(i), (unsigned)i & 0xFFFF);
            out << line;
        }
        return p;
    }();
    return path;
}

void DirectWrites(benchmark::State& state) {
    NullCamera cam;
    if (!cam.get()) return state.SkipWithError("no null camera");
    for (auto _ : state) {
        for (int i = 0; i < kLines; ++i) {
            ci_WriteSensorRegAddr(cam.get(), CI_REG_ADDR, 0, address(i), 0, (ci_u32)i & 0xFFFF);
        }
    }
    state.counters["writes"] = benchmark::Counter((double)state.iterations() * kLines, benchmark::Counter::kIsRate);
}

void PresetWrites(benchmark::State& state) {
    NullCamera cam;
    if (!cam.get()) return state.SkipWithError("no null camera");
    const std::string& file = presetFile();
    for (auto _ : state) {
        if (ci_LoadINIPreset(cam.get(), file.c_str(), "Writes") != CI_INI_SUCCESS) {
            return state.SkipWithError("the preset did not run");
        }
    }
    state.counters["writes"] = benchmark::Counter((double)state.iterations() * kLines, benchmark::Counter::kIsRate);
}

// A file of its own, written afresh: the first run reads it, later runs and
// every nested LOAD use what was parsed then.
void NestedLoads(benchmark::State& state) {
    NullCamera cam;
    if (!cam.get()) return state.SkipWithError("no null camera");
    const std::string file = "/tmp/camkit_bench_nested.ini";
    {
        std::ofstream out(file, std::ios::trunc);
        out << "[Nested]\n";
        for (int i = 0; i < 100; ++i) out << "LOAD = Leaf\n";
        out << "[Leaf]\nREG = 0x3012, 1\n";
    }
    const ci_u64 before = _iniFileReads();
    for (auto _ : state) ci_LoadINIPreset(cam.get(), file.c_str(), "Nested");
    state.counters["file_reads"] = (double)(_iniFileReads() - before);
    state.counters["loads"] = benchmark::Counter((double)state.iterations() * 100, benchmark::Counter::kIsRate);
}

BENCHMARK(DirectWrites)->Unit(benchmark::kMillisecond);
BENCHMARK(PresetWrites)->Unit(benchmark::kMillisecond);
BENCHMARK(NestedLoads)->Unit(benchmark::kMillisecond);

}  // namespace
