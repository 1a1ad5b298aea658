// Software post-processing of grabbed frames, in place:
//
//  - unswizzling: older boards send a deep sample as two bytes, byte 0 the
//    sample's top 8 bits and byte 1 its remaining low bits as 2-bit groups in
//    reverse order (the group of bits 1-0 first).  The result is a plain
//    little-endian 16-bit sample.  Boards that deliver MSB-aligned samples
//    instead only need a right shift.
//  - deep-Bayer merging: a pixel sent as two clocks of 10 (or 16) bits is
//    joined into one 20-bit value in its 32-bit word.
//  - LSB-aligned repacking: 8-bit samples delivered in the low byte of
//    16-bit words are packed into consecutive bytes.
//
// Frames are large (tens of megabytes), so the word loops run over fixed
// blocks of words that the compiler turns into vector code, transformed in
// place with branch-free shifts and masks.  The formulas are exact for every
// input; there is no per-pixel branch.
#define CK_SOURCE "camkit"
#include <bit>
#include <cstring>
#include <utility>

#include "core/camkit_private.h"

static_assert(std::endian::native == std::endian::little, "frame samples are little-endian words in memory");

namespace {

constexpr size_t kBlockWords = 32;

// Replaces the (possibly unaligned) word at at by op of it.
template <typename Word, typename Op>
inline void transformWord(ci_u8* at, Op op) {
    Word word;
    memcpy(&word, at, sizeof word);
    word = op(word);
    memcpy(at, &word, sizeof word);
}

// Applies op to every 16-bit (Word = ci_u16) or 32-bit (Word = ci_u32) word
// of buf, count words in all, in place; the fixed-length inner loop is what
// the vectoriser works on.
template <typename Word, typename Op>
void transformWords(ci_u8* buf, size_t count, Op op) {
    size_t i = 0;
    for (; i + kBlockWords <= count; i += kBlockWords) {
        ci_u8* block = buf + i * sizeof(Word);
        for (size_t j = 0; j < kBlockWords; j++) transformWord<Word>(block + j * sizeof(Word), op);
    }
    for (; i < count; i++) transformWord<Word>(buf + i * sizeof(Word), op);
}

// Swizzled pair (byte 0 = b0, byte 1 = b1) of a Depth-bit sample: b0 holds
// the top 8 bits; the low Depth-8 bits are the 2-bit groups of b1 taken from
// bit 0 upward and placed from the top of the low part downward.  In the
// little-endian word w = b0 | b1 << 8, group g sits at bits 8+2g..9+2g and
// goes to bits 2(n-1-g)..2(n-1-g)+1 of the sample (n groups): one shift and
// one mask per group, all known at compile time.
template <unsigned Depth>
struct Unswizzle {
    static constexpr unsigned kLowBits = Depth - 8;
    static constexpr unsigned kGroups = kLowBits / 2;

    template <unsigned G>
    static constexpr ci_u32 group(ci_u32 word) {
        constexpr unsigned to = 2 * (kGroups - 1 - G);
        return (word >> (8 + 2 * G - to)) & (3u << to);
    }

    template <unsigned... G>
    static constexpr ci_u16 join(ci_u32 word, std::integer_sequence<unsigned, G...>) {
        return (ci_u16)(((word << kLowBits) & (0xFFu << kLowBits)) | (group<G>(word) | ...));
    }

    constexpr ci_u16 operator()(ci_u16 word) const {
        return join(word, std::make_integer_sequence<unsigned, kGroups>{});
    }
};

// A sample that arrives MSB-aligned in its little-endian word.
template <unsigned Depth>
struct MsbAligned {
    ci_u16 operator()(ci_u16 word) const { return (ci_u16)(word >> (16 - Depth)); }
};

// Two 10-bit samples in the low bits of the halves of a 32-bit word, joined
// into one 20-bit value (second clock on top).
constexpr ci_u32 mergeTen(ci_u32 word) { return ((word >> 6) & 0xFFC00u) + (word & 0x3FFu); }

// A 16-bit first clock and the top 4 bits of the second clock as one 20-bit
// value.
constexpr ci_u32 mergeSixteen(ci_u32 word) { return ((word & 0xFFFFu) << 4) | ((word >> 28) & 0xFu); }

// Runs a 16-bit sample operation over the buffer; with pixels of two 10-bit
// clocks each pair of samples is also merged into its 32-bit word, in the
// same pass.
template <typename Op>
void unswizzleWith(ci_u8* buf, size_t bytes, bool mergePairs, Op op) {
    if (!mergePairs) {
        transformWords<ci_u16>(buf, bytes / 2, op);
        return;
    }
    transformWords<ci_u32>(buf, bytes / 4, [op](ci_u32 word) {
        const ci_u32 low = op((ci_u16)(word & 0xFFFFu));
        const ci_u32 high = op((ci_u16)(word >> 16));
        return mergeTen(low | (high << 16));
    });
    const size_t done = bytes / 4 * 4;
    transformWords<ci_u16>(buf + done, (bytes - done) / 2, op);
}

template <template <unsigned> class Op>
void unswizzleDepth(ci_u32 depth, ci_u8* buf, size_t bytes, bool fourBytePixels) {
    switch (depth) {
        case 10:
            unswizzleWith(buf, bytes, fourBytePixels, Op<10>{});
            break;
        case 12:
            unswizzleWith(buf, bytes, false, Op<12>{});
            break;
        case 14:
            unswizzleWith(buf, bytes, false, Op<14>{});
            break;
        case 16:
            unswizzleWith(buf, bytes, false, Op<16>{});
            break;
        default:
            break;  // no other depth is swizzled
    }
}

// Depth of the swizzled samples: the clock width, except for 8-bit
// double-clocked Bayer data whose image type tells the real depth.
ci_u32 swizzledDepth(const _common_context_t* ctx, const ci_sensor_t* sensor) {
    const ci_u32 depth = _bayerTypeDepth(sensor->imageType);
    if (ctx->bitsPerClock == 8 && ctx->clocksPerPixel == 2 && (depth == 10 || depth == 12)) return depth;
    return ctx->bitsPerClock;
}

size_t frameWords(const ci_sensor_t* sensor) { return (size_t)sensor->width * (size_t)sensor->height; }

}  // namespace

void _mergeDeepBayer(ci_camera_t* camera, ci_u8* buffer) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || buffer == nullptr || camera->sensor == nullptr) return;
    if (ctx->clocksPerPixel != 2 || !ci_IsBayer(camera)) return;
    if (ctx->bitsPerClock == 10) {
        transformWords<ci_u32>(buffer, frameWords(camera->sensor), mergeTen);
    } else if (ctx->bitsPerClock == 16) {
        transformWords<ci_u32>(buffer, frameWords(camera->sensor), mergeSixteen);
    }
}

void _unSwizzleBuffer(ci_camera_t* camera, ci_u8* buffer) {
    const _common_context_t* ctx = _ctx(camera);
    const ci_sensor_t* sensor = camera != nullptr ? camera->sensor : nullptr;
    if (ctx == nullptr || buffer == nullptr || sensor == nullptr) return;
    if (ctx->do_sw_unswizzle == 0) {
        _mergeDeepBayer(camera, buffer);
        return;
    }
    const size_t bytes = (size_t)sensor->pixelBytes * frameWords(sensor);
    const ci_u32 depth = swizzledDepth(ctx, sensor);
    const bool fourBytePixels = sensor->pixelBytes == 4;
    if (ctx->do_sw_unswizzle == 2) {
        unswizzleDepth<MsbAligned>(depth, buffer, bytes, fourBytePixels);
    } else {
        unswizzleDepth<Unswizzle>(depth, buffer, bytes, fourBytePixels);
    }
}

void _repackLsbAligned8(ci_camera_t* camera, ci_u8* buffer) {
    const _common_context_t* ctx = _ctx(camera);
    const ci_sensor_t* sensor = camera != nullptr ? camera->sensor : nullptr;
    if (ctx == nullptr || buffer == nullptr || sensor == nullptr) return;
    if (!ctx->lsbAligned || ctx->bitsPerClock >= 9 || ctx->rxType != CI_RX_PARALLEL) return;
    size_t count;
    if (ci_IsJpegImageType(sensor->imageType)) {
        const _sg_context_t* sg = ctx->sg_context;
        count = sg != nullptr ? (size_t)sg->spoof_width * sg->spoof_height
                           : (size_t)ctx->_spoof_width * ctx->_spoof_height;
    } else {
        count = (size_t)ctx->clocksPerPixel * frameWords(sensor);
    }
    if (count > sensor->bufferSize / 2) count = sensor->bufferSize / 2;
    // Front to back: byte i is written after byte 2i has been read.
    for (size_t i = 0; i < count; i++) buffer[i] = buffer[2 * i];
}
