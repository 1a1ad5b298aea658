// Built without FFmpeg's libraries: no video file can be played.
#include "transport/avi_reader.h"

std::unique_ptr<AviReader> _AVI_open_reader(const char*, std::string* error) {
    *error = "this build of the library reads no video files";
    return nullptr;
}

std::unique_ptr<AviReader> _AVI_open_reader_memory(const ci_u8*, size_t, std::string* error) {
    return _AVI_open_reader(nullptr, error);
}
