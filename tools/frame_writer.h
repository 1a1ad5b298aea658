// Writing grabbed frames to image files, chosen by the file's extension:
//   .png          libpng: 8- or 16-bit grey for raw and Bayer data (16-bit
//                 samples MSB-aligned, with the significant bits recorded),
//                 8- or 16-bit RGB for colour types, JPEG frames decoded
//                 (libjpeg) to 8-bit RGB
//   .tif, .tiff   libtiff: the same sample layouts
//   .raw          the frame's bytes as grabbed
//   .jpg, .jpeg   a JPEG frame's bytes
// The writer takes public types only, so that any command (grab, the demo
// tour, preset image saving) can use it.
#pragma once

#include <cstddef>
#include <string>

#include "camkit.h"

namespace cli {

struct FrameView {
    ci_image_types type;
    ci_u32 width;
    ci_u32 height;
    ci_u32 pixelBits;
    ci_u32 pixelBytes;
    const ci_u8* data;
    size_t bytes;  // valid bytes at data
};

// The frame layout of a camera's current sensor settings (data left null).
FrameView frame_view_of(const ci_camera_t* camera);

// Writes the frame; false with `error` set when it cannot be written in
// that format (nothing is left behind then).
bool write_frame(const std::string& path, const FrameView& frame, std::string& error);

// The file name of frame `n` from a pattern: "%d" (or "%0Nd") becomes n.
// A pattern without one names every frame the same unless `count` > 1, when
// "_n" goes before the extension.  False when the pattern has another "%"
// conversion.
bool frame_file_name(const std::string& pattern, int n, int count, std::string& out);

}  // namespace cli
