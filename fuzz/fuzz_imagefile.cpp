// Fuzz target of the image-file camera: each input becomes an image file
// (and maybe its side file) of the extension its first byte picks, which is
// opened through the loaders and grabbed once (see imagefile_input.h).
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "imagefile_input.h"

namespace {
std::string gDir;
constexpr size_t kMaxInput = 1 << 20;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    char templ[] = "/tmp/camkit-fuzz-image-XXXXXX";
    if (mkdtemp(templ) == nullptr) abort();
    gDir = templ;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) return 0;
    camkit_fuzz_open_image(data, size, gDir);
    return 0;
}
