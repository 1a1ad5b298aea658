// Fuzz target of the video container path: each input is read as an AVI
// from memory through the reader's own byte source, and its first frames
// are fetched in and out of order.
#include <stddef.h>
#include <stdint.h>

#include <string>

#include "transport/avi_reader.h"

extern "C" {
#include <libavutil/mem.h>
}

namespace {
constexpr size_t kMaxInput = 256 * 1024;
}

// A hostile header can make the demuxer ask for up to 2 GiB at once (it
// trusts chunk sizes); the harness caps single allocations well below the
// fuzzer's memory limit so that such inputs count as refused, not as leaks
// of the whole budget.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    av_max_alloc(64u << 20);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) return 0;
    std::string error;
    std::unique_ptr<AviReader> reader = _AVI_open_reader_memory(data, size, &error);
    if (reader == nullptr) return 0;
    const ci_u32 frames = reader->info().numFrames;
    for (ci_u32 i : {1u, 0u, 2u, 5u, 3u}) {
        ci_u32 bytes = 0;
        if (i < frames) reader->frame(i, &bytes);
    }
    return 0;
}
