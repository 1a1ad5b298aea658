// Frame post-processing: unswizzled bit layouts at each depth, MSB-aligned
// samples, the merge of two 10-bit clocks, deep-Bayer merging and the
// repacking of LSB-aligned 8-bit samples.
#include <cstring>
#include <random>
#include <vector>

#include "test_image_support.h"

namespace {

std::vector<ci_u8> bytes(std::initializer_list<int> values) {
    std::vector<ci_u8> out;
    for (int v : values) out.push_back((ci_u8)v);
    return out;
}

ci_u16 sample16(const std::vector<ci_u8>& buf, size_t index) {
    return (ci_u16)(buf[2 * index] | (buf[2 * index + 1] << 8));
}

ci_u32 word32(const std::vector<ci_u8>& buf, size_t index) {
    ci_u32 w;
    memcpy(&w, &buf[4 * index], 4);
    return w;
}

// The layouts written out group by group: byte 0 holds the top 8 bits, the
// 2-bit groups of byte 1 fill the low bits from the top down.
ci_u16 referenceUnswizzle(ci_u8 b0, ci_u8 b1, int depth) {
    ci_u32 low = 0;
    const int groups = (depth - 8) / 2;
    for (int g = 0; g < groups; g++) {
        const ci_u32 group = (b1 >> (2 * g)) & 3u;
        low |= group << (2 * (groups - 1 - g));
    }
    return (ci_u16)(((ci_u32)b0 << (depth - 8)) | low);
}

class Unswizzle : public ImageTest {
protected:
    void SetUp() override { ctx()->do_sw_unswizzle = 1; }

    std::vector<ci_u8> run(std::vector<ci_u8> buf) {
        _unSwizzleBuffer(camera.get(), buf.data());
        return buf;
    }
};

// One pixel of two bytes per layout: swizzled (byte 0 the top 8 bits, the
// 2-bit groups of byte 1 the low bits in reverse order) or MSB-aligned.
TEST_F(Unswizzle, OnePixelAtEachDepth) {
    const struct {
        int mode;
        ci_image_types type;
        ci_u32 bitsPerClock, clocksPerPixel;
        int b0, b1;
        ci_u16 expected;
    } rows[] = {
        {1, CI_BAYER_10, 8, 2, 0xAB, 0x03, 0x2AF},        {1, CI_BAYER_10_IHDR, 8, 2, 0xFF, 0xFC, 0x3FC},
        {1, CI_BAYER_12, 8, 2, 0xAB, 0x06, 0xAB9},        {1, CI_BAYER_14, 14, 1, 0xAB, 0x1B, 0x2AF9},
        {1, CI_BAYER_16, 16, 1, 0xAB, 0x1B, 0xABE4},      {2, CI_BAYER_10, 8, 2, 0xC0, 0xAB, 0x2AF},
        {2, CI_BAYER_12, 8, 2, 0xF0, 0xAB, 0xABF},        {2, CI_BAYER_14, 14, 1, 0xFC, 0xAB, 0x2AFF},
        {2, CI_BAYER_16, 16, 1, 0x34, 0x12, 0x1234},
    };
    for (const auto& r : rows) {
        ctx()->do_sw_unswizzle = r.mode;
        configure(r.type, r.bitsPerClock, r.clocksPerPixel, 1, 1);
        EXPECT_EQ(sample16(run(bytes({r.b0, r.b1})), 0), r.expected) << "mode " << r.mode << " type " << r.type;
    }
}

TEST_F(Unswizzle, WholeFramesMatchTheLayoutsAtEveryDepth) {
    struct Case {
        ci_image_types type;
        ci_u32 bitsPerClock, clocksPerPixel;
        int depth;
    };
    const Case cases[] = {{CI_BAYER_10, 8, 2, 10}, {CI_BAYER_12_HDR, 8, 2, 12}, {CI_BAYER_14, 14, 1, 14},
                          {CI_BAYER_16, 16, 1, 16}, {CI_BAYER_12, 12, 1, 12}};
    std::mt19937 random(7);
    for (const Case& c : cases) {
        configure(c.type, c.bitsPerClock, c.clocksPerPixel, 37, 5);  // whole blocks and a tail
        std::vector<ci_u8> buf(sensor()->pixelBytes * 37 * 5);
        for (ci_u8& b : buf) b = (ci_u8)random();
        const std::vector<ci_u8> out = run(buf);
        for (size_t i = 0; i < buf.size() / 2; i++) {
            ASSERT_EQ(sample16(out, i), referenceUnswizzle(buf[2 * i], buf[2 * i + 1], c.depth))
                << "depth " << c.depth << " sample " << i;
        }
    }
}

TEST_F(Unswizzle, TenBitClockPairsAreMergedIntoTwentyBits) {
    configure(CI_BAYER_20, 10, 2, 1, 1);
    ASSERT_EQ(sensor()->pixelBytes, 4u);
    EXPECT_EQ(word32(run(bytes({0xAB, 0x03, 0x12, 0x02})), 0), (0x4Au << 10) | 0x2AFu);
    ctx()->do_sw_unswizzle = 2;
    EXPECT_EQ(word32(run(bytes({0xC0, 0xAB, 0x80, 0x12})), 0), (0x4Au << 10) | 0x2AFu);
}

TEST_F(Unswizzle, OtherDepthsAndASpareLastByteAreLeftAlone) {
    const std::vector<ci_u8> frame = bytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    configure(CI_YCBCR, 8, 2, 3, 2);
    EXPECT_EQ(run(frame), frame);
    configure(CI_BAYER_8, 8, 1, 12, 1);
    EXPECT_EQ(run(frame), frame);

    configure(CI_BAYER_10, 10, 1, 3, 1);
    sensor()->pixelBytes = 1;  // 3 bytes: one pair and a spare byte
    const std::vector<ci_u8> out = run(bytes({0xAB, 0x03, 0x77}));
    EXPECT_EQ(sample16(out, 0), 0x2AF);
    EXPECT_EQ(out[2], 0x77);
}

TEST_F(Unswizzle, WithoutSoftwareUnswizzlingOnlyDeepBayerIsMerged) {
    ctx()->do_sw_unswizzle = 0;
    configure(CI_BAYER_20, 10, 2, 2, 1);
    std::vector<ci_u8> frame(8);
    const ci_u32 words[] = {0x02AB0155, 0x03FF03FF};
    memcpy(frame.data(), words, sizeof words);
    const std::vector<ci_u8> out = run(frame);
    EXPECT_EQ(word32(out, 0), (0x2ABu << 10) | 0x155u);
    EXPECT_EQ(word32(out, 1), 0xFFFFFu);
}

using DeepBayer = ImageTest;

TEST_F(DeepBayer, OnlyDoubleClockedBayerPairsAreMerged) {
    std::vector<ci_u8> frame(4);
    const struct {
        ci_image_types type;
        ci_u32 bitsPerClock, clocksPerPixel;
        ci_u32 expected;
    } rows[] = {
        {CI_BAYER_16, 16, 2, 0x4567Au},  // (high 16 bits << 4) | low 4 bits
        {CI_YCBCR_10, 10, 2, 0xA1234567u},
        {CI_BAYER_10, 10, 1, 0xA1234567u},
        {CI_BAYER_12, 12, 2, 0xA1234567u},
    };
    for (const auto& r : rows) {
        configure(r.type, r.bitsPerClock, r.clocksPerPixel, 1, 1);
        const ci_u32 word = 0xA1234567;
        memcpy(frame.data(), &word, 4);
        _mergeDeepBayer(camera.get(), frame.data());
        EXPECT_EQ(word32(frame, 0), r.expected) << r.type;
    }
}

class RepackLsbAligned : public ImageTest {
protected:
    void SetUp() override {
        ctx()->lsbAligned = 1;
        ctx()->rxType = CI_RX_PARALLEL;
        configure(CI_BAYER_8, 8, 1, 3, 2);
        sensor()->bufferSize = 12;
        frame = {0x11, 0xA0, 0x22, 0xA1, 0x33, 0xA2, 0x44, 0xA3, 0x55, 0xA4, 0x66, 0xA5};
    }
    std::vector<ci_u8> frame;
};

TEST_F(RepackLsbAligned, LowBytesAreMovedToTheFrontUpToTheBufferSize) {
    std::vector<ci_u8> capped = frame;
    _repackLsbAligned8(camera.get(), frame.data());
    EXPECT_EQ(std::vector<ci_u8>(frame.begin(), frame.begin() + 7), bytes({0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x44}))
        << "bytes past the samples are not cleared";
    sensor()->bufferSize = 6;
    _repackLsbAligned8(camera.get(), capped.data());
    EXPECT_EQ(std::vector<ci_u8>(capped.begin(), capped.begin() + 4), bytes({0x11, 0x22, 0x33, 0xA1}));
}

TEST_F(RepackLsbAligned, JpegUsesTheSpoofSize) {
    _init_global_context(camera.get());
    ctx()->sg_context->spoof_width = 2;
    ctx()->sg_context->spoof_height = 1;
    sensor()->imageType = CI_JPEG;
    _repackLsbAligned8(camera.get(), frame.data());
    EXPECT_EQ(std::vector<ci_u8>(frame.begin(), frame.begin() + 3), bytes({0x11, 0x22, 0x22}));
}

TEST_F(RepackLsbAligned, OnlyForNarrowParallelLsbAlignedData) {
    const std::vector<ci_u8> original = frame;
    for (int variant = 0; variant < 3; variant++) {
        ctx()->lsbAligned = variant == 0 ? 0 : 1;
        ctx()->rxType = variant == 1 ? CI_RX_MIPI : CI_RX_PARALLEL;
        ctx()->bitsPerClock = variant == 2 ? 9 : 8;
        _repackLsbAligned8(camera.get(), frame.data());
        EXPECT_EQ(frame, original) << variant;
    }
}

}  // namespace
