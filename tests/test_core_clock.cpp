// The board's output clock (CI_OUTPUT_CLOCK_FREQ) against a fake serial bus.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/camkit_private.h"
#include "fake_transport.h"

namespace {

constexpr ci_u32 kFpga = 0x64;
constexpr ci_u32 kSynth = 0xD2;

class ClockTest : public ::testing::Test {
protected:
    void open(ci_product_ids product) {
        fake_.script(0x1).count = 1;
        fake_.script(0x1).productID = product;
        ci_s32 n = 0;
        ASSERT_EQ(ci_OpenCameras2(&cam_, &n, "s", 0x1, ""), 0);
        cam_->chip = static_cast<ci_chip_t*>(calloc(1, sizeof(ci_chip_t)));
        cam_->num_chips = 1;
        cam_->chip->baseAddr = kFpga;
        cam_->chip->serial_addr_size = 16;
        cam_->chip->serial_data_size = 32;
    }
    ci_u32& reg(ci_u32 base, ci_u32 r) { return fake_.regs()[{base, r}]; }

    FakeTransports fake_;
    ci_camera_t* cam_ = nullptr;
};

TEST_F(ClockTest, TableBoardsWriteTheNearestCodeNotAboveAndReadItBack) {
    open(CI_KESTR);
    const std::pair<ci_u32, ci_u32> cases[] = {
        {0, 0}, {9999999, 0}, {10000000, 8}, {13500001, 2}, {26999999, 3}, {27000000, 4}, {200000000, 7},
    };
    for (const auto& [request, code] : cases) {
        reg(kFpga, 0x1B) = 0x12345;
        ASSERT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, request), 0);
        EXPECT_EQ(reg(kFpga, 0x1B), 0x12340u | code) << request;  // only the low nibble changes
    }
    const std::pair<ci_u32, ci_u32> codes[] = {{0xF0, 6750000}, {0x8, 10000000}, {0xB, 80000000}, {12, 0}};
    for (const auto& [value, freq] : codes) {
        reg(kFpga, 0x1B) = value;
        ci_u32 got = 0;
        EXPECT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), freq ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR) << value;
        EXPECT_EQ(got, freq) << value;
    }
}

// The smallest error any legal synthesiser setting can give, by brute force
// over every multiplier, reference divider and post divider.
double bestAchievable(double target) {
    double best = 1e18;
    for (int q = 2; 24e6 / q >= 250e3; q++) {
        for (int p = 16; p <= 1023; p++) {
            double vco = 24e6 * p / q;
            if (vco < 100e6 || vco > 400e6) continue;
            int n = (int)(vco / target + 0.5);
            for (int k = n - 1; k <= n + 1; k++) {
                if (k >= 4 && k <= 127) best = std::min(best, std::abs(vco / k - target));
            }
        }
    }
    return best;
}

TEST_F(ClockTest, SynthesiserRoundTripIsAsCloseAsTheChipAllows) {
    open(CI_KITE_3);
    const ci_u32 requests[] = {6750000, 27000000, 74250000, 1000000, 33333333, 47990127, 72040192, 99420266};
    for (ci_u32 request : requests) {
        ASSERT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, request), 0);
        ci_u32 got = 0;
        ASSERT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), 0);
        EXPECT_LE(std::abs((double)got - request), bestAchievable(request) + 1.0) << request;

        // The programmed setting is one the chip accepts.
        ci_u32 pll = reg(kSynth, 0x40), q = (reg(kSynth, 0x42) & 0x7F) + 2, n = reg(kSynth, 0x0C);
        ci_u32 p = 2 * ((((pll & 3) << 8) | reg(kSynth, 0x41)) + 4) + (reg(kSynth, 0x42) >> 7);
        double vco = 24e6 * p / q;
        EXPECT_EQ(pll & 0xE0, 0xC0u);
        EXPECT_TRUE(vco >= 100e6 && vco <= 400e6 && 24e6 / q >= 250e3 && n >= 4 && n <= 127) << request;
    }
}

}  // namespace
