// Reading frames out of a video file for the video-file camera.
//
// The reader opens the container, picks its first video stream and sorts it
// into one of three kinds: MJPEG (each frame is a whole JPEG image, handed
// out as it is stored), uncompressed 24-bit DIB frames (rows handed out as
// stored, bottom-up or top-down), or anything else a decoder exists for
// (decoded and converted to top-down BGR24 rows).  It lists every frame of
// the stream once at open (from the file's index, or by a pass over the
// packets when there is none), so the frame count is the real one and any
// frame can be reached exactly, not just the nearest key frame.
#ifndef CAMKIT_AVI_READER_H
#define CAMKIT_AVI_READER_H

#include <cstddef>
#include <memory>
#include <string>

#include "camkit.h"

struct AviStreamInfo {
    ci_s32 width = 0;
    ci_s32 height = 0;
    ci_image_types imageType = CI_RGB24;  // CI_RGB24 rows or CI_JPEG images
    ci_s32 stride = 0;                    // bytes per row of CI_RGB24 frames
    bool upsideDown = false;              // CI_RGB24 rows stored bottom-up
    ci_u32 numFrames = 0;
    ci_u32 maxFrameBytes = 0;             // the largest frame handed out
};

class AviReader {
public:
    virtual ~AviReader() = default;
    virtual const AviStreamInfo& info() const = 0;
    // The bytes of frame `index` (< numFrames), valid until the next call;
    // null when the frame cannot be read (the reason went to the log).
    virtual const ci_u8* frame(ci_u32 index, ci_u32* bytes) = 0;
};

// Opens the video at `path`; null with *error set when it is not a video the
// reader can play.
std::unique_ptr<AviReader> _AVI_open_reader(const char* path, std::string* error);

// The same over bytes in memory (which must outlive the reader).
std::unique_ptr<AviReader> _AVI_open_reader_memory(const ci_u8* data, size_t size, std::string* error);

#endif
