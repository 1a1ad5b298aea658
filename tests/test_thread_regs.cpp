// Eight threads on one camera: device calls under the lock, one at a time,
// and no read-modify-write losing another thread's update.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "recording_transport.h"
#include "sensor_builder.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 1000;

// Thread t's own register and its bit of the shared one.
std::string own(int t) { return "OWN_" + std::to_string(t); }
std::string bit(int t) { return "BIT_" + std::to_string(t); }

SensorBuilder sharedSensor() {
    SensorBuilder b;
    b.widths(16, 16).selectors(0x3E, 0x3F).space("P0", 0).space("P1", 1)
        .reg("SEL_READ", 0x3E).in("P0").reg("SEL_WRITE", 0x3F).in("P0");
    b.reg("FLAGS", 0x40).in("P1");
    for (int t = 0; t < kThreads; ++t) b.field(bit(t).c_str(), 1u << t);
    for (int t = 0; t < kThreads; ++t) b.reg(own(t).c_str(), 0x100 + 4 * t, 0xFFFFFFFF).span(2).in(t % 2 ? "P1" : "P0");
    return b;
}

// Own register written and read back, own bit of FLAGS toggled, batches.
void worker(TestCamera* cam, int t, int* mismatches) {
    const std::string mine = own(t);
    ci_reg_data_t* reg = cam->reg(mine.c_str());
    std::vector<ci_reg_data_t*> all;
    for (int k = 0; k < kThreads; ++k) all.push_back(cam->reg(own(k).c_str()));
    for (int round = 0; round < kRounds; ++round) {
        ci_setMode(*cam, CI_USE_REG_CACHE, round % 4 < 2 ? 1 : 0);  // half the rounds go to the device
        const ci_u32 value = (ci_u32)(t << 24 | round);
        ci_u32 back = 0;
        if (round % 2) {
            ci_WriteSensorReg(*cam, reg, value);
            ci_ReadSensorReg(*cam, reg, &back);
        } else {
            ci_WriteSensorRegStr(*cam, mine.c_str(), nullptr, value);
            ci_ReadSensorRegStr(*cam, mine.c_str(), "", &back);
        }
        *mismatches += back != value;

        ci_WriteSensorRegStr(*cam, "FLAGS", bit(t).c_str(), round % 2 ? 0 : 1);

        std::vector<ci_u32> vals(kThreads);
        std::vector<ci_error_code> results(kThreads);
        ci_ReadSensorRegs(*cam, kThreads, all.data(), vals.data(), results.data());
        *mismatches += vals[t] != value;

        ci_u32 words[2];
        ci_readSensorRegisters(*cam, t % 2, 0x100 + 4 * t, 2, words);
        *mismatches += ((words[0] << 16) | words[1]) != value;

        if (t == 0 && round % 50 == 0) {
            ci_InvalidateRegCache(*cam);
            _regIndexDrop(cam->sensor());  // lookups rebuild it concurrently
        }
    }
}

TEST(RegisterThreads, DeviceCallsAreSerialisedUnderTheCameraLock) {
    TestCamera cam(sharedSensor());
    RecordingTransport bus(cam);
    cam.useCache(1);
    int mismatches[kThreads] = {};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(worker, &cam, t, &mismatches[t]);
    for (std::thread& th : threads) th.join();

    EXPECT_EQ(bus.lockViolations(), 0);
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
    // Each thread's last round (an odd one) cleared its bit.
    EXPECT_EQ(bus.get(0x40, 1), 0u);
    std::vector<std::thread> setters;
    for (int t = 0; t < kThreads; ++t) {
        setters.emplace_back([&cam, t] {
            for (int i = 0; i < 50; ++i) ci_WriteSensorRegStr(cam, "FLAGS", bit(t).c_str(), 1);
        });
    }
    for (std::thread& th : setters) th.join();
    EXPECT_EQ(bus.get(0x40, 1), 0xFFu);
}

// The lock check itself: a device call made without the lock is counted.
TEST(RegisterThreads, UnlockedDeviceCallIsDetected) {
    TestCamera cam(SensorBuilder().reg("R", 0x10));
    RecordingTransport bus(cam);
    ci_u32 v = 0;
    _ReadSensorRegNolock(cam, cam.reg("R"), &v);
    EXPECT_EQ(bus.lockViolations(), 1);
}

}  // namespace
