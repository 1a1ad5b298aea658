// The sample layout a frame is written in, and the conversion of one row of
// a grabbed frame into it (shared by the PNG and TIFF writers).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame_writer.h"

namespace cli {

struct SampleLayout {
    int channels = 1;    // 1 grey, 3 RGB
    int bitDepth = 8;    // 8 or 16
    int significant = 8; // bits of each sample that carry data
};

// The layout a frame of this type is written in; false for a type that has
// no picture form (JPEG, unknown types), with `error` set.
bool sample_layout(const FrameView& frame, SampleLayout& layout, std::string& error);

// Row y of the frame in the layout: 8-bit samples, or 16-bit samples in
// native byte order; RGB in R, G, B order.
void convert_row(const FrameView& frame, const SampleLayout& layout, ci_u32 y, std::vector<uint8_t>& row);

// Bytes one row takes in the layout.
size_t layout_row_bytes(const FrameView& frame, const SampleLayout& layout);

}  // namespace cli
