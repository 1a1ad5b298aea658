// Grabbed pixels to the sample layouts image files hold.
#include "frame_pixels.h"

#include <algorithm>
#include <cstring>

namespace cli {
namespace {

enum class Source { Grey8, Grey16, Grey32, Bgr24, Bgrx32, Bgr48, Ycbcr422, Rgb565 };

Source source_of(const FrameView& frame) {
    switch (frame.type) {
        case CI_RGB24: return Source::Bgr24;
        case CI_RGB32:
        case CI_PNG: return Source::Bgrx32;
        case CI_RGB48: return Source::Bgr48;
        case CI_YCBCR: return Source::Ycbcr422;
        case CI_RGB565: return Source::Rgb565;
        default: break;
    }
    if (frame.pixelBytes >= 4) return Source::Grey32;
    return frame.pixelBytes == 2 ? Source::Grey16 : Source::Grey8;
}

uint16_t load16(const ci_u8* p) { return (uint16_t)(p[0] | (p[1] << 8)); }

uint32_t load32(const ci_u8* p) { return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24; }

uint8_t clamp8(int v) { return (uint8_t)std::clamp(v, 0, 255); }

void put16(std::vector<uint8_t>& row, size_t index, uint16_t v) { memcpy(&row[index * 2], &v, 2); }

// Cb Y0 Cr Y1 pairs to RGB (BT.601, full range).
void ycbcr_pair(const ci_u8* p, uint8_t* out) {
    const int cb = p[0] - 128, cr = p[2] - 128;
    for (int k = 0; k < 2; k++) {
        const int y = p[1 + 2 * k];
        out[3 * k + 0] = clamp8(y + (int)(1.402 * cr));
        out[3 * k + 1] = clamp8(y - (int)(0.344136 * cb + 0.714136 * cr));
        out[3 * k + 2] = clamp8(y + (int)(1.772 * cb));
    }
}

void convert_grey(const FrameView& frame, Source source, const SampleLayout& layout, const ci_u8* src,
                  std::vector<uint8_t>& row) {
    const int shiftUp = 16 - layout.significant;
    const int shiftDown = std::max<int>((int)frame.pixelBits - 16, 0);
    const uint32_t mask = layout.significant >= 16 ? 0xFFFFu : (1u << layout.significant) - 1;
    for (ci_u32 x = 0; x < frame.width; x++) {
        if (source == Source::Grey8) {
            row[x] = src[x];
        } else if (source == Source::Grey16) {
            put16(row, x, (uint16_t)((load16(src + 2 * x) & mask) << shiftUp));
        } else {
            put16(row, x, (uint16_t)(((load32(src + 4 * x) >> shiftDown) & mask) << shiftUp));
        }
    }
}

void convert_colour(const FrameView& frame, Source source, const ci_u8* src, std::vector<uint8_t>& row) {
    for (ci_u32 x = 0; x < frame.width; x++) {
        uint8_t* out = &row[3 * x];
        switch (source) {
            case Source::Bgr24:
                out[0] = src[3 * x + 2], out[1] = src[3 * x + 1], out[2] = src[3 * x];
                break;
            case Source::Bgrx32:
                out[0] = src[4 * x + 2], out[1] = src[4 * x + 1], out[2] = src[4 * x];
                break;
            case Source::Rgb565: {
                const uint16_t v = load16(src + 2 * x);
                out[0] = (uint8_t)((v >> 11) << 3), out[1] = (uint8_t)(((v >> 5) & 0x3F) << 2);
                out[2] = (uint8_t)((v & 0x1F) << 3);
                break;
            }
            case Source::Bgr48:
                for (int c = 0; c < 3; c++) put16(row, 3 * x + c, load16(src + 6 * x + 2 * (2 - c)));
                break;
            case Source::Ycbcr422:
                if (x % 2 == 0 && x + 1 < frame.width) ycbcr_pair(src + 2 * x, out);
                break;
            default: break;
        }
    }
}

}  // namespace

bool sample_layout(const FrameView& frame, SampleLayout& layout, std::string& error) {
    if (ci_IsJpegImageType(frame.type) || frame.type == CI_UNKNOWN_IMAGE_TYPE || frame.pixelBytes == 0) {
        error = "this frame has no picture form; save it as .raw (or .jpg for JPEG frames)";
        return false;
    }
    const Source source = source_of(frame);
    layout = SampleLayout();
    switch (source) {
        case Source::Grey8: break;
        case Source::Grey16:
        case Source::Grey32:
            layout.bitDepth = 16;
            layout.significant = (int)std::clamp<ci_u32>(frame.pixelBits, 1, 16);
            break;
        case Source::Bgr48:
            layout.channels = 3;
            layout.bitDepth = layout.significant = 16;
            break;
        default: layout.channels = 3; break;
    }
    return true;
}

size_t layout_row_bytes(const FrameView& frame, const SampleLayout& layout) {
    return (size_t)frame.width * (size_t)layout.channels * (size_t)(layout.bitDepth / 8);
}

void convert_row(const FrameView& frame, const SampleLayout& layout, ci_u32 y, std::vector<uint8_t>& row) {
    row.assign(layout_row_bytes(frame, layout), 0);
    const ci_u8* src = frame.data + (size_t)y * frame.width * frame.pixelBytes;
    const Source source = source_of(frame);
    if (layout.channels == 1) {
        convert_grey(frame, source, layout, src, row);
    } else {
        convert_colour(frame, source, src, row);
    }
}

}  // namespace cli
