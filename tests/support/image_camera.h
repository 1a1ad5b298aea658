#pragma once
// A camera opened on an image file through ci_OpenCameras2 with the
// image-file bit, closed again at the end of the scope.
#include <string>
#include <vector>

#include "camkit.h"
#include "log_capture.h"
#include "scratch_dir.h"

class ImageCamera {
public:
    explicit ImageCamera(const std::string& path);
    ~ImageCamera();
    ImageCamera(const ImageCamera&) = delete;
    ImageCamera& operator=(const ImageCamera&) = delete;

    ci_camera_t* get() const { return camera_; }
    ci_camera_t* operator->() const { return camera_; }
    ci_error_code result() const { return result_; }
    // A register of the synthetic sensor by name (0xDEAD when unreadable).
    ci_u32 reg(const char* name) const;
    // One frame of the sensor's buffer size (or `size` bytes), the bytes
    // the grab did not write left at 0xEE.  Empty when the grab fails.
    std::vector<ci_u8> grab(ci_u32 size = 0) const;

private:
    ci_camera_t* camera_ = nullptr;
    ci_error_code result_ = CI_CAMERA_ERROR;
};

// One row of data/images/manifest.txt (written by the sample generator).
struct ImageSample {
    std::string file;
    ci_u32 width = 0, height = 0;
    int type = 0;
    ci_u32 order = 0, pedestal = 0;
};
std::string image_samples_dir();
std::vector<ImageSample> image_samples();
// The frame the generator expects the sample to give.
std::string image_sample_frame(const ImageSample& s);

// False for a PNG or TIFF file when this build reads no such files.
bool image_format_built(const std::string& file);

// Sends the error log to a scratch file while it exists.
class ErrorLogCapture {
public:
    ErrorLogCapture();
    ~ErrorLogCapture();
    // Everything logged so far.
    std::string text() const;

private:
    ScratchDir dir_;
};
