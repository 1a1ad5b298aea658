#pragma once
// Small AVI files of a known pattern, written with libavformat's muxer: the
// test set-up makes its sample videos instead of shipping them.
#include <cstdint>
#include <string>
#include <vector>

struct AviSpec {
    enum Codec { Dib, Mjpeg, Ffv1 } codec = Dib;
    int width = 32;
    int height = 16;
    int frames = 4;
    // Written to a pipe-like (non-seekable) output: no index, and a header
    // whose frame count was never filled in.
    bool streamed = false;
    // Uncompressed rows stored bottom-up (a DIB with a positive height), as
    // most AVI writers store them; else top-down (a negative height).
    bool bottomUp = false;
};

// The pattern of frame `frame`, as top-down BGR24 rows (width * 3 bytes each).
std::vector<uint8_t> avi_pattern(const AviSpec& spec, int frame);

// Writes the video; `packets` receives each frame's stored bytes.  Empty
// string on success, else what failed.
std::string avi_write(const std::string& path, const AviSpec& spec, std::vector<std::vector<uint8_t>>* packets);
