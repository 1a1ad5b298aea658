// Identification over directories of candidate sensor data files that the
// probe refuses (the sensor answers with another chip version), against a
// plain line-by-line read of the same files in the same run: "ratio" is the
// search time over the read time (aim: at most 3), for 20, 200 and 2,000
// files (the search should grow linearly: "ns_per_file" stays flat).
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "transport/transport_common.h"

namespace {

// Candidate files: the 16-bit and 8-bit samples, alternating, under
// distinct names.
struct Candidates {
    std::string dir;
    std::vector<std::string> files;
    explicit Candidates(int n) {
        char tmpl[] = "/tmp/camkit-bench-ident-XXXXXX";
        if (!mkdtemp(tmpl)) abort();
        dir = tmpl;
        const char* samples[] = {"ck_bayer16.sdat", "ck_page8.sdat", "ck_soc.sdat"};
        for (int i = 0; i < n; ++i) {
            std::ifstream in(std::string(CAMKIT_DATA_DIR) + "/sensor_data/" + samples[i % 3]);
            std::stringstream text;
            text << in.rdbuf();
            files.push_back(dir + "/cand" + std::to_string(i) + ".sdat");
            std::ofstream(files.back()) << text.str();
        }
    }
    ~Candidates() {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
};

// Every register reads as 0x0BAD: no sample's chip version.
ci_error_code refuseRun(ci_camera_t*, ci_u32, ci_u32, ci_u32 n, ci_u32* vals) {
    for (ci_u32 i = 0; i < n; ++i) vals[i] = 0x0BAD;
    return CI_CAMERA_SUCCESS;
}
ci_error_code refuseOne(ci_camera_t*, ci_u32, ci_u32, ci_u32* val) {
    *val = 0x0BAD;
    return CI_CAMERA_SUCCESS;
}
ci_error_code acceptRun(ci_camera_t*, ci_u32, ci_u32, ci_u32, ci_u32*) { return CI_CAMERA_SUCCESS; }
ci_error_code acceptOne(ci_camera_t*, ci_u32, ci_u32, ci_u32) { return CI_CAMERA_SUCCESS; }

const _transport_ops_t kRefusingOps = [] {
    _transport_ops_t ops{};
    ops.transportName = "bench";
    ops.readSensorRegistersNolock = refuseRun;
    ops.writeSensorRegistersNolock = acceptRun;
    ops.readRegistersNolock = refuseRun;
    ops.writeRegistersNolock = acceptRun;
    ops.readRegisterNolock = refuseOne;
    ops.writeRegisterNolock = acceptOne;
    return ops;
}();

double plainRead(const std::vector<std::string>& files) {
    const auto start = std::chrono::steady_clock::now();
    char line[4096];
    size_t bytes = 0;
    for (const std::string& f : files) {
        FILE* in = fopen(f.c_str(), "r");
        if (!in) continue;
        while (fgets(line, sizeof line, in)) bytes += strlen(line);
        fclose(in);
    }
    benchmark::DoNotOptimize(bytes);
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

double search(const std::string& dir) {
    ci_camera_t* camera = _transport_new_camera(&kRefusingOps, nullptr);
    osal_init_critical_section(&_ctx(camera)->criticalSection, "");
    const auto start = std::chrono::steady_clock::now();
    const ci_error_code rc = _getSensor(camera, dir.c_str());
    const double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    benchmark::DoNotOptimize(rc);
    _transport_free_camera(&kRefusingOps, camera);
    return ns;
}

void BM_IdentifyRefused(benchmark::State& state) {
    Candidates candidates((int)state.range(0));
    ci_OpenErrorLog(0, nullptr);
    double read = 0, searched = 0;
    for (auto _ : state) {
        read += plainRead(candidates.files);
        searched += search(candidates.dir);
    }
    state.counters["ratio"] = searched / read;
    state.counters["ns_per_file"] = searched / (double)state.iterations() / (double)state.range(0);
}
BENCHMARK(BM_IdentifyRefused)->Arg(20)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);

}  // namespace
