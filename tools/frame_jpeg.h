// JPEG frames decoded for the picture formats (PNG, TIFF), with libjpeg.
#pragma once

#include <string>
#include <vector>

#include "frame_writer.h"

namespace cli {

// Decodes a JPEG frame into B, G, R rows (`pixels`) and returns a view of
// them as a CI_RGB24 frame; false with `error` set when it does not decode
// (or this build has no JPEG decoder).
bool decode_jpeg_frame(const FrameView& jpeg, std::vector<ci_u8>& pixels, FrameView& decoded, std::string& error);

}  // namespace cli
