#include "image_camera.h"
#include "test_paths.h"

#include <fstream>
#include <sstream>

#include <strings.h>

ImageCamera::ImageCamera(const std::string& path) {
    ci_camera_t* cameras[4] = {};
    ci_s32 n = 0;
    result_ = ci_OpenCameras2(cameras, &n, path.c_str(), CI_TRANSPORT_IMAGE_FILE, "");
    camera_ = n > 0 ? cameras[0] : nullptr;
}

ImageCamera::~ImageCamera() { ci_CloseCameras(); }

ci_u32 ImageCamera::reg(const char* name) const {
    ci_u32 v = 0xDEAD;
    if (camera_ == nullptr || ci_ReadSensorRegStr(camera_, name, "", &v) != CI_CAMERA_SUCCESS) return 0xDEAD;
    return v;
}

std::vector<ci_u8> ImageCamera::grab(ci_u32 size) const {
    if (camera_ == nullptr) return {};
    if (size == 0) size = camera_->sensor->bufferSize;
    std::vector<ci_u8> frame(size, 0xEE);
    if (ci_grabFrame(camera_, frame.data(), size) != CI_CAMERA_SUCCESS) return {};
    return frame;
}

ErrorLogCapture::ErrorLogCapture() { ci_OpenErrorLog(CI_LOG_ALL, dir_.file("log.txt").c_str()); }

ErrorLogCapture::~ErrorLogCapture() { ci_CloseErrorLog(); }

std::string ErrorLogCapture::text() const {
    char name[CI_STRING_LEN];
    ci_GetErrorLogFileName(name);
    return scratch_read_file(name);
}

bool image_format_built(const std::string& file) {
    const size_t dot = file.rfind('.');
    const std::string ext = dot == std::string::npos ? "" : file.substr(dot);
    if (strcasecmp(ext.c_str(), ".png") == 0) return CAMKIT_HAVE_PNG != 0;
    if (strcasecmp(ext.c_str(), ".tif") == 0 || strcasecmp(ext.c_str(), ".tiff") == 0) return CAMKIT_HAVE_TIFF != 0;
    return true;
}

std::string image_samples_dir() { return std::string(ck_test_data_dir()) + "/images"; }

std::vector<ImageSample> image_samples() {
    std::vector<ImageSample> samples;
    std::ifstream in(image_samples_dir() + "/manifest.txt");
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        ImageSample s;
        fields >> s.file >> s.width >> s.height >> s.type >> s.order >> s.pedestal;
        samples.push_back(s);
    }
    return samples;
}

std::string image_sample_frame(const ImageSample& s) {
    return scratch_read_file(image_samples_dir() + "/expected/" + s.file + ".frame");
}
