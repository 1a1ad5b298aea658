// Presets run from several threads at once: each thread on its own camera,
// all from one preset file that another thread keeps replacing, so that the
// shared cache of parsed files is read while it is replaced.  A section runs
// from one whole version of the file (its two values agree; a nested LOAD
// may meet a newer version) and each thread's observer sees its own lines.
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "recording_transport.h"
#include "scratch_dir.h"
#include "sensor_builder.h"

namespace {

constexpr int kRunners = 4;
constexpr int kRuns = 200;

std::string version(int v) {
    // The same value twice; versions differ in length so that the cache
    // sees a new size.
    const std::string value = std::to_string(v);
    return "[Init]\nREG = 0x10, " + value + "\nLOAD = Second\nREG = 0x12, " + value + "\n[Second]\nREG = 0x14, " +
           value + "\n" + std::string((size_t)(v % 7), ';') + "\n";
}

void countLines(void* user, ci_camera_t*, const char*, ci_s32, const char*, ci_ini_outcome, ci_error_code,
                const char*) {
    ++*static_cast<int*>(user);
}

TEST(PresetThreads, RunnersSeeWholeFilesWhileTheFileChanges) {
    ScratchDir dir;
    const std::string file = dir.write("p.ini", version(0));
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int v = 1; !stop.load(); ++v) {
            const std::string tmp = dir.file("p.tmp");
            std::ofstream(tmp) << version(v);
            std::rename(tmp.c_str(), file.c_str());
        }
    });
    std::atomic<int> torn{0}, miscounted{0};
    std::vector<std::thread> runners;
    for (int t = 0; t < kRunners; ++t) {
        runners.emplace_back([&] {
            TestCamera cam(SensorBuilder().widths(8, 16).reg("A", 0x10).reg("B", 0x12).reg("C", 0x14));
            RecordingTransport bus(cam);
            int lines = 0;
            ci_SetIniLineObserver(countLines, &lines);
            for (int r = 0; r < kRuns; ++r) {
                lines = 0;
                if (ci_LoadINIPreset(cam, file.c_str(), "Init") != CI_INI_SUCCESS || lines != 4) ++miscounted;
                if (bus.get(0x10) != bus.get(0x12)) ++torn;
            }
            ci_SetIniLineObserver(nullptr, nullptr);
        });
    }
    for (std::thread& t : runners) t.join();
    stop = true;
    writer.join();
    EXPECT_EQ(miscounted.load(), 0);
    EXPECT_EQ(torn.load(), 0);
}

}  // namespace
