// Frame post-processing (unswizzling, deep-Bayer merging, repacking), the
// image type that follows the clocking, and who unswizzles on which board.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bus_sim.h"
#include "core/camkit_private.h"

namespace {

// A camera with an empty sensor record whose clocking the test sets.
class ImageTest : public ::testing::Test {
protected:
    ImageTest() {
        camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        camera->sensor->zoomFactor = 1;
    }

    ci_sensor_t* sensor() { return camera->sensor; }
    _common_context_t* ctx() { return camera.ctx(); }

    // Clocking, image type and frame size; pixel bits and bytes follow.
    void configure(ci_image_types type, ci_u32 bitsPerClock, ci_u32 clocksPerPixel, ci_u32 width = 1,
                   ci_u32 height = 1) {
        sensor()->imageType = type;
        ctx()->bitsPerClock = bitsPerClock;
        ctx()->clocksPerPixel = clocksPerPixel;
        sensor()->width = width;
        sensor()->height = height;
        sensor()->pixelBits = _pixelBits(camera.get());
        sensor()->pixelBytes = _pixelBytes(camera.get());
        sensor()->bufferSize = width * height * sensor()->pixelBytes;
    }

    std::vector<ci_u8> unswizzle(std::vector<ci_u8> buf) {
        _unSwizzleBuffer(camera.get(), buf.data());
        return buf;
    }

    BusSim bus;
    SimCamera camera{bus};
};

ci_u32 sample(const std::vector<ci_u8>& buf, size_t index, size_t width) {
    ci_u32 value = 0;
    memcpy(&value, &buf[width * index], width);
    return value;
}

// Byte 0 holds the top 8 bits, the 2-bit groups of byte 1 fill the low bits
// from the top down.
ci_u16 referenceUnswizzle(ci_u8 b0, ci_u8 b1, int depth) {
    ci_u32 low = 0;
    const int groups = (depth - 8) / 2;
    for (int g = 0; g < groups; g++) low |= ((b1 >> (2 * g)) & 3u) << (2 * (groups - 1 - g));
    return (ci_u16)(((ci_u32)b0 << (depth - 8)) | low);
}

using Unswizzle = ImageTest;

// One pixel per layout: swizzled (mode 1) or MSB-aligned (mode 2); a
// 4-byte pixel is two 10-bit clocks merged into 20 bits.
TEST_F(Unswizzle, OnePixelPerLayout) {
    const struct {
        int mode;
        ci_image_types type;
        ci_u32 bitsPerClock, clocksPerPixel;
        std::vector<ci_u8> in;
        ci_u32 expected;
    } rows[] = {
        {1, CI_BAYER_10, 8, 2, {0xAB, 0x03}, 0x2AF},
        {1, CI_BAYER_12, 8, 2, {0xAB, 0x06}, 0xAB9},
        {1, CI_BAYER_14, 14, 1, {0xAB, 0x1B}, 0x2AF9},
        {1, CI_BAYER_16, 16, 1, {0xAB, 0x1B}, 0xABE4},
        {2, CI_BAYER_10, 8, 2, {0xC0, 0xAB}, 0x2AF},
        {2, CI_BAYER_12, 8, 2, {0xF0, 0xAB}, 0xABF},
        {2, CI_BAYER_14, 14, 1, {0xFC, 0xAB}, 0x2AFF},
        {2, CI_BAYER_16, 16, 1, {0x34, 0x12}, 0x1234},
        {1, CI_BAYER_20, 10, 2, {0xAB, 0x03, 0x12, 0x02}, (0x4Au << 10) | 0x2AFu},
        {2, CI_BAYER_20, 10, 2, {0xC0, 0xAB, 0x80, 0x12}, (0x4Au << 10) | 0x2AFu},
        {0, CI_BAYER_20, 10, 2, {0x55, 0x01, 0xAB, 0x02}, (0x2ABu << 10) | 0x155u},
    };
    for (const auto& r : rows) {
        ctx()->do_sw_unswizzle = r.mode;
        configure(r.type, r.bitsPerClock, r.clocksPerPixel);
        ASSERT_EQ(sensor()->pixelBytes, r.in.size()) << r.type;
        EXPECT_EQ(sample(unswizzle(r.in), 0, r.in.size()), r.expected) << "mode " << r.mode << " type " << r.type;
    }
}

TEST_F(Unswizzle, WholeFramesMatchTheLayoutAtEveryDepth) {
    const struct {
        ci_image_types type;
        ci_u32 bitsPerClock, clocksPerPixel;
        int depth;
    } cases[] = {{CI_BAYER_10, 8, 2, 10}, {CI_BAYER_12_HDR, 8, 2, 12}, {CI_BAYER_14, 14, 1, 14},
                 {CI_BAYER_16, 16, 1, 16}, {CI_BAYER_12, 12, 1, 12}};
    std::mt19937 random(7);
    ctx()->do_sw_unswizzle = 1;
    for (const auto& c : cases) {
        configure(c.type, c.bitsPerClock, c.clocksPerPixel, 37, 5);  // whole blocks and a tail
        std::vector<ci_u8> buf(sensor()->pixelBytes * 37 * 5);
        for (ci_u8& b : buf) b = (ci_u8)random();
        const std::vector<ci_u8> out = unswizzle(buf);
        for (size_t i = 0; i < buf.size() / 2; i++)
            ASSERT_EQ(sample(out, i, 2), referenceUnswizzle(buf[2 * i], buf[2 * i + 1], c.depth))
                << "depth " << c.depth << " sample " << i;
    }
    const std::vector<ci_u8> frame = {1, 2, 3, 4, 5, 6, 7, 8};
    configure(CI_BAYER_8, 8, 1, 8, 1);
    EXPECT_EQ(unswizzle(frame), frame) << "8-bit data is left alone";
}

TEST_F(ImageTest, OnlyDoubleClockedBayerPairsAreMergedDeep) {
    const struct {
        ci_image_types type;
        ci_u32 bitsPerClock, clocksPerPixel;
        ci_u32 expected;
    } rows[] = {
        {CI_BAYER_16, 16, 2, 0x4567Au},  // (high 16 bits << 4) | low 4 bits
        {CI_YCBCR_10, 10, 2, 0xA1234567u},
        {CI_BAYER_12, 12, 2, 0xA1234567u},
    };
    for (const auto& r : rows) {
        configure(r.type, r.bitsPerClock, r.clocksPerPixel);
        std::vector<ci_u8> frame = {0x67, 0x45, 0x23, 0xA1};
        _mergeDeepBayer(camera.get(), frame.data());
        EXPECT_EQ(sample(frame, 0, 4), r.expected) << r.type;
    }
}

TEST_F(ImageTest, LsbAlignedBytesAreRepackedUpToTheBufferSize) {
    ctx()->lsbAligned = 1;
    ctx()->rxType = CI_RX_PARALLEL;
    configure(CI_BAYER_8, 8, 1, 3, 1);
    sensor()->bufferSize = 6;  // three 2-byte samples as they arrive
    const std::vector<ci_u8> original = {0x11, 0xA0, 0x22, 0xA1, 0x33, 0xA2, 0x44, 0xA3};
    std::vector<ci_u8> frame = original;
    _repackLsbAligned8(camera.get(), frame.data());
    EXPECT_EQ(frame, (std::vector<ci_u8>{0x11, 0x22, 0x33, 0xA1, 0x33, 0xA2, 0x44, 0xA3}));
    frame = original;
    ctx()->rxType = CI_RX_MIPI;
    _repackLsbAligned8(camera.get(), frame.data());
    EXPECT_EQ(frame, original) << "only parallel data is repacked";
}

TEST_F(ImageTest, TypeFollowsDepthZoomPackingAndHighDynamicRange) {
    const struct {
        ci_image_types start;
        ci_u32 zoom, pixelBits, bitsPerClock, clocksPerPixel, hidy;
        ci_image_types expected;
    } cases[] = {
        {CI_BAYER_10, 2, 8, 8, 1, 0, CI_BAYER_8_ZOOM},   {CI_BAYER_10, 0, 10, 10, 1, 0, CI_BAYER_10_ZOOM},
        {CI_BAYER_8, 1, 6, 6, 1, 0, CI_BAYER_6},         {CI_BAYER_10, 1, 8, 16, 1, 0, CI_BAYER_STEREO},
        {CI_BAYER_8, 1, 10, 10, 1, 1, CI_BAYER_10_IHDR}, {CI_BAYER_10_IHDR, 1, 10, 10, 1, 0, CI_BAYER_10},
        {CI_BAYER_10, 1, 12, 12, 1, 1, CI_BAYER_12_HDR}, {CI_BAYER_10, 1, 14, 14, 1, 0, CI_BAYER_14},
        {CI_BAYER_10, 1, 16, 8, 2, 0, CI_BAYER_10},      {CI_BAYER_10, 1, 20, 10, 2, 0, CI_BAYER_20},
        {CI_BAYER_12, 1, 24, 12, 2, 0, CI_BAYER_12},     {CI_YCBCR, 2, 16, 8, 2, 1, CI_YCBCR},
    };
    for (const auto& c : cases) {
        sensor()->imageType = c.start;
        sensor()->zoomFactor = c.zoom;
        sensor()->pixelBits = c.pixelBits;
        ctx()->bitsPerClock = c.bitsPerClock;
        ctx()->clocksPerPixel = c.clocksPerPixel;
        ctx()->hidy = c.hidy;
        _updateImageType(camera.get());
        EXPECT_EQ(sensor()->imageType, c.expected) << "from " << c.start << " at " << c.pixelBits << " bits";
    }
}

TEST_F(ImageTest, SwizzleSituationPerBoardRevisionAndSensor) {
    const int soc = 10;
    const int plain = 2;
    const struct {
        ci_u32 product, version;
        int sensorType;
        ci_u32 sensorVersion, bitsPerClock, clocksPerPixel;
        swizzle_sit_t expected;
    } cases[] = {
        {0x1001, 0, plain, 1, 8, 2, SWIZSIT_UNNEEDED},   {0x1002, 0, plain, 1, 10, 1, SWIZSIT_NEEDED},
        {CI_KITE_1, 0, plain, 1, 10, 1, SWIZSIT_NEEDED}, {0x1005, 0, plain, 1, 8, 2, SWIZSIT_UNNEEDED},
        {CI_KITE_2, 161, soc, 1, 10, 1, SWIZSIT_NEEDED}, {CI_KITE_2, 175, plain, 1, 8, 2, SWIZSIT_HW_CAN},
        {CI_KITE_2, 176, plain, 1, 8, 2, SWIZSIT_NEEDED}, {CI_KITE_2, 176, soc, 1, 10, 1, SWIZSIT_HW_CAN},
        {CI_KESTR, 0, plain, 1, 8, 2, SWIZSIT_NEEDED},   {CI_KESTR_XL, 0, plain, 1, 8, 1, SWIZSIT_HW_CAN},
        {CI_KITE_3, 0, 49, 4, 8, 2, SWIZSIT_NEEDED},     {CI_KITE_3, 0, 49, 3, 8, 2, SWIZSIT_UNNEEDED},
        {CI_KITE_1, 0, 13, 9, 10, 1, SWIZSIT_UNNEEDED},
    };
    for (const auto& c : cases) {
        camera->productID = (ci_product_ids)c.product;
        camera->productVersion = c.version;
        sensor()->sensorType = (ci_sensor_types)c.sensorType;
        sensor()->sensorVersion = c.sensorVersion;
        sensor()->imageType = CI_BAYER_10;
        ctx()->bitsPerClock = c.bitsPerClock;
        ctx()->clocksPerPixel = c.clocksPerPixel;
        EXPECT_EQ(_swizzle_situation(camera.get()), c.expected)
            << std::hex << c.product << " v" << std::dec << c.version << " sensor " << c.sensorType;
        EXPECT_EQ(_swizzleDefault(camera.get()), c.expected == SWIZSIT_NEEDED ? 1u : 0u);
    }
}

}  // namespace
