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
    ci_u32& reg(ci_u32 base, ci_u32 r) { return fake_.bus().regs[{base, r}]; }

    FakeTransports fake_;
    ci_camera_t* cam_ = nullptr;
};

TEST_F(ClockTest, TableBoardsPickTheNearestCodeNotAbove) {
    open(CI_KESTR);
    const std::pair<ci_u32, ci_u32> cases[] = {
        {0, 0}, {9999999, 0}, {10000000, 8}, {13500001, 2}, {26999999, 3}, {27000000, 4}, {200000000, 7},
    };
    for (const auto& [request, code] : cases) {
        reg(kFpga, 0x1B) = 0x12345;
        ASSERT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, request), 0);
        EXPECT_EQ(reg(kFpga, 0x1B), 0x12340u | code) << request;  // only the low nibble changes
    }
    // The chip's serial sizes were used and stay selected.
    for (const FakeBus::Access& access : fake_.bus().log) EXPECT_EQ(access.addrSize * 100 + access.dataSize, 1632u);
    ci_u32 size = 0;
    ASSERT_EQ(ci_getMode(cam_, CI_REG_DATA_SIZE, &size), 0);
    EXPECT_EQ(size, 32u);
}

TEST_F(ClockTest, TableBoardsReadTheCodeBack) {
    open(CI_KITE_2);
    const std::pair<ci_u32, ci_u32> codes[] = {{0xF0, 6750000}, {0x8, 10000000}, {0xB, 80000000}};
    for (const auto& [value, freq] : codes) {
        reg(kFpga, 0x1B) = value;
        ci_u32 got = 0;
        ASSERT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), 0);
        EXPECT_EQ(got, freq);
    }
    for (ci_u32 unknown : {12u, 15u}) {
        reg(kFpga, 0x1B) = unknown;
        ci_u32 got = 5;
        EXPECT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), CI_CAMERA_ERROR);
        EXPECT_EQ(got, 5u);
    }
}

TEST_F(ClockTest, FailuresAndOtherBoards) {
    open(CI_KESTR_XL);
    fake_.bus().failWith = CI_I2C_NACK_ERROR;
    EXPECT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, 27000000), CI_I2C_NACK_ERROR);
    fake_.bus().failWith = CI_CAMERA_SUCCESS;
    free(cam_->chip);
    cam_->chip = nullptr;
    cam_->num_chips = 0;
    EXPECT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, 27000000), CI_CAMERA_ERROR);

    for (ci_product_ids other : {CI_UNKNOWN_PRODUCT, CI_KITE_1, CI_KITE_1A}) {
        cam_->productID = other;
        ci_u32 got = 0;
        EXPECT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, 27000000), CI_CAMERA_NOT_SUPPORTED);
        EXPECT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), CI_CAMERA_NOT_SUPPORTED);
    }
    EXPECT_TRUE(fake_.bus().log.empty());
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
    ASSERT_EQ(ci_setMode(cam_, CI_REG_ADDR_SIZE, 16), 0);
    ASSERT_EQ(ci_setMode(cam_, CI_REG_DATA_SIZE, 16), 0);
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
        ci_u32 pump = p <= 44 ? 0 : p <= 479 ? 1 : p <= 639 ? 2 : p <= 799 ? 3 : 4;
        EXPECT_EQ((pll >> 2) & 7, pump) << "P " << p;
    }
    // Every synthesiser access used 8-bit addresses and data; the caller's
    // sizes are back.
    for (const FakeBus::Access& access : fake_.bus().log) {
        EXPECT_EQ(access.base, kSynth);
        EXPECT_EQ(access.addrSize * 100 + access.dataSize, 808u);
    }
    ci_u32 size = 0;
    ASSERT_EQ(ci_getMode(cam_, CI_REG_ADDR_SIZE, &size), 0);
    EXPECT_EQ(size, 16u);
}

TEST_F(ClockTest, SynthesiserLimitsAndRegisterStates) {
    open(CI_KITE_2X);
    ci_u32 got = 0;
    ASSERT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, 200000000), 0);
    ASSERT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), 0);
    EXPECT_EQ(got, 100000000u);
    ASSERT_EQ(ci_setMode(cam_, CI_OUTPUT_CLOCK_FREQ, 0), 0);
    ASSERT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), 0);
    EXPECT_NEAR(got, 100e6 / 127, 1.0);

    reg(kSynth, 0x0C) = 0x80 | 8;  // divider 1 fed by the reference
    ASSERT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), 0);
    EXPECT_EQ(got, 3000000u);
    reg(kSynth, 0x0C) = 0;  // not programmed
    got = 5;
    EXPECT_EQ(ci_getMode(cam_, CI_OUTPUT_CLOCK_FREQ, &got), CI_CAMERA_ERROR);
    EXPECT_EQ(got, 5u);
}

}  // namespace
