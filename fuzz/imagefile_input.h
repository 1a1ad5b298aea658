// How a fuzz input becomes an image file for the image-file camera, shared
// by the fuzz target and the replay of kept inputs.
//
// Byte 0 picks the extension (its low five bits index kImageExtensions).
// When its top bit is set, byte 1 is the length n of a side file made of the
// next n bytes; the rest of the input is the image.  The files are written
// into `dir`, opened as a camera, one frame is grabbed and the camera is
// closed.
#pragma once

#include <stdio.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "core/camkit_private.h"

inline const char* const kImageExtensions[] = {".bmp", ".ccr", ".dxr",  ".csv", ".tab", ".txt",  ".itx", ".raw",
                                               ".bin", ".jpg", ".jpeg", ".png", ".tif", ".tiff", ".dat", ".sdat"};
constexpr size_t kImageExtensionCount = sizeof kImageExtensions / sizeof kImageExtensions[0];
constexpr ci_u32 kFuzzMaxFrame = 64u << 20;

inline void camkit_fuzz_write(const std::string& path, const uint8_t* data, size_t size) {
    FILE* f = fopen(path.c_str(), "wb");
    if (f == nullptr) return;
    if (size > 0) fwrite(data, 1, size, f);
    fclose(f);
}

// The result of the open (0 with a camera, else the transport's code).
inline ci_error_code camkit_fuzz_open_image(const uint8_t* data, size_t size, const std::string& dir) {
    if (size == 0) return CI_CAMERA_SUCCESS;
    const char* ext = kImageExtensions[(data[0] & 0x1F) % kImageExtensionCount];
    size_t at = 1;
    remove((dir + "/in_info.txt").c_str());
    if ((data[0] & 0x80) != 0 && size >= 2) {
        const size_t n = data[1] < size - 2 ? data[1] : size - 2;
        camkit_fuzz_write(dir + "/in_info.txt", data + 2, n);
        at = 2 + n;
    }
    const std::string path = dir + "/in" + ext;
    camkit_fuzz_write(path, data + at, size - at);
    ci_camera_t* cameras[1] = {};
    ci_s32 n = 0;
    const ci_error_code result = BMP_Transport_OpenCameras(cameras, &n, path.c_str(), "");
    if (n == 1 && cameras[0]->sensor->bufferSize <= kFuzzMaxFrame) {
        std::vector<ci_u8> frame(cameras[0]->sensor->bufferSize + 16);
        cameras[0]->grabFrame(cameras[0], frame.data(), (ci_u32)frame.size());
    }
    BMP_Transport_CloseCameras(n, cameras);
    remove(path.c_str());
    return result;
}
