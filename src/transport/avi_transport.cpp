// The video-file camera: a video file played back in a loop as if a sensor
// delivered its frames.  One camera per file; its synthetic sensor has the
// video's frame size and four registers that carry the playback state.
#define CK_SOURCE "transport/avi_transport"
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "transport/avi_reader.h"
#include "transport/synthetic_sensor.h"
#include "transport/transport_common.h"

namespace {

enum AviRegister { kChipVersion = 0, kNumFrames = 1, kCurFrame = 2, kFrameTimeMs = 3, kAviRegisters = 4 };

constexpr ci_u32 kMinFrameTimeMs = 10;
constexpr ci_u32 kMaxFrameTimeMs = 4000;
constexpr int kDirectoryModeBit = 0x4000;
constexpr ci_error_code kNotAVideo = (ci_error_code)1;

const _synthetic_reg_t kAviRegs[kAviRegisters] = {
    {"CHIP_VERSION_REG", "chip_version_reg", 0, 0xFFFF},
    {"NUM_FRAMES", "num_frames", 0, 0xFFFF},
    {"CUR_FRAME", "cur_frame", 1, 0xFFFF},
    {"FRAME_TIME_MS", "frame_time_ms", 1, 0xFFFF},
};

const _synthetic_sensor_t kAviSensor = {"AVI", 256, 256, 3, 24, CI_RGB24, kAviRegs, kAviRegisters};

}  // namespace

// Private state of a video camera (the camera's transport context).
struct AVI_Transport_Context {
    ci_string fileName;
    ci_s32 imageWidth;
    ci_s32 imageHeight;
    ci_image_types imageType;
    ci_s32 imageStride;
    ci_u8* buffer;  // the current frame: owned for CI_JPEG, the reader's rows for CI_RGB24
    ci_u32 bufferSize;
    ci_u32 imageBytesReturned;
    ci_u32 regFile[kAviRegisters];
    ci_s32 position;
    ci_s32 upsideDown;
    AviReader* reader;
};

static AVI_Transport_Context* _AVI_context(const ci_camera_t* camera) {
    return static_cast<AVI_Transport_Context*>(_transport_context(camera));
}

static ci_s32 AviInit(void) { return 1; }

static void AviExit(void) {}

static ci_error_code _AVI_startTransport(ci_camera_t* camera) {
    AVI_Transport_Context* avi = _AVI_context(camera);
    if (avi->imageType == CI_RGB24 || avi->buffer != nullptr) return CI_CAMERA_SUCCESS;
    avi->buffer = static_cast<ci_u8*>(malloc(std::max<ci_u32>(avi->bufferSize, 1)));
    return avi->buffer != nullptr ? CI_CAMERA_SUCCESS : CK_ERR(CI_CAMERA_ERROR, "cannot allocate the frame buffer");
}

static ci_error_code _AVI_stopTransport(ci_camera_t* camera) {
    AVI_Transport_Context* avi = _AVI_context(camera);
    if (avi->imageType != CI_RGB24) free(avi->buffer);
    avi->buffer = nullptr;
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _AVI_readRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    const ci_s32 i = _synthetic_reg_index(camera, shipAddr, regAddr, kAviRegisters);
    *val = i < 0 ? 0 : _AVI_context(camera)->regFile[i];
    return CI_CAMERA_SUCCESS;
}

static void _AVI_moveTo(AVI_Transport_Context* avi, ci_u32 frame) {
    const ci_u32 last = avi->regFile[kNumFrames] > 0 ? avi->regFile[kNumFrames] - 1 : 0;
    avi->regFile[kCurFrame] = std::min(frame, last);
    avi->position = (ci_s32)avi->regFile[kCurFrame];
}

static ci_error_code _AVI_writeRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    AVI_Transport_Context* avi = _AVI_context(camera);
    const ci_s32 i = _synthetic_reg_index(camera, shipAddr, regAddr, kAviRegisters);
    if (i == kCurFrame) _AVI_moveTo(avi, val);
    if (i == kFrameTimeMs) avi->regFile[i] = std::clamp(val, kMinFrameTimeMs, kMaxFrameTimeMs);
    return CI_CAMERA_SUCCESS;  // read-only and unknown registers drop the write
}

static ci_error_code _AVI_readRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                        ci_u32* vals) {
    for (ci_u32 k = 0; k < n; k++) _AVI_readRegister(camera, shipAddr, startAddr + k, &vals[k]);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _AVI_writeRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                         ci_u32* vals) {
    for (ci_u32 k = 0; k < n; k++) _AVI_writeRegister(camera, shipAddr, startAddr + k, vals[k]);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _AVI_readSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 n,
                                              ci_u32* vals) {
    return _AVI_readRegisters(camera, _transport_sensor_base(camera), startAddr, n, vals);
}

static ci_error_code _AVI_writeSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 n,
                                               ci_u32* vals) {
    return _AVI_writeRegisters(camera, _transport_sensor_base(camera), startAddr, n, vals);
}

// Brings the frame at `position` into `buffer` (and its size for JPEG).
static ci_error_code _AVI_fetchFrame(AVI_Transport_Context* avi) {
    ci_u32 bytes = 0;
    const ci_u8* data = avi->reader->frame((ci_u32)avi->position, &bytes);
    if (data == nullptr) return CI_CAMERA_ERROR;
    if (avi->imageType == CI_RGB24) {
        avi->buffer = const_cast<ci_u8*>(data);
        return CI_CAMERA_SUCCESS;
    }
    if (avi->buffer == nullptr || bytes > avi->bufferSize) return CK_ERR(CI_CAMERA_ERROR, "frame buffer too small");
    memcpy(avi->buffer, data, bytes);
    avi->imageBytesReturned = bytes;
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _AVI_copyRows(ci_camera_t* camera, const AVI_Transport_Context* avi, ci_u8* dst, ci_u32 size) {
    const ci_sensor_t* sensor = camera->sensor;
    const ci_u32 rowBytes = std::min(sensor->width * sensor->pixelBytes, (ci_u32)avi->imageStride);
    if (rowBytes == 0) return CI_CAMERA_ERROR;
    const ci_u32 rows = std::min({(ci_u32)avi->imageHeight, sensor->height, size / rowBytes});
    for (ci_u32 r = 0; r < rows; r++) {
        const ci_u32 src = avi->upsideDown ? (ci_u32)avi->imageHeight - 1 - r : r;
        memcpy(dst + (size_t)r * rowBytes, avi->buffer + (size_t)src * (ci_u32)avi->imageStride, rowBytes);
    }
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _AVI_deliver(ci_camera_t* camera, AVI_Transport_Context* avi, ci_u8* dst, ci_u32 size) {
    if (avi->imageType == CI_RGB24) return _AVI_copyRows(camera, avi, dst, size);
    if (avi->imageType != CI_JPEG) return CI_CAMERA_ERROR;
    const ci_u32 n = std::min(avi->imageBytesReturned, size);
    memcpy(dst, avi->buffer, n);
    _ctx(camera)->frame_data.imageBytesReturned = n;
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _AVI_grabFrame(ci_camera_t* camera, ci_u8* buffer, ci_u32 size) {
    AVI_Transport_Context* avi = _AVI_context(camera);
    if (buffer == nullptr || avi->reader == nullptr) return CI_CAMERA_ERROR;
    avi->position++;
    if (avi->position >= (ci_s32)avi->regFile[kNumFrames]) avi->position = 0;
    avi->regFile[kCurFrame] = (ci_u32)avi->position;
    ci_error_code result = _AVI_fetchFrame(avi);
    if (result == CI_CAMERA_SUCCESS) result = _AVI_deliver(camera, avi, buffer, size);
    if (result != CI_CAMERA_SUCCESS) return result;
    _ctx(camera)->frame_data.frameNumber = avi->regFile[kCurFrame];
    osal_sleep((ci_s32)avi->regFile[kFrameTimeMs]);
    return CI_CAMERA_SUCCESS;
}

static void _AVI_freeContext(ci_camera_t*, void* context) {
    auto* avi = static_cast<AVI_Transport_Context*>(context);
    if (avi->imageType != CI_RGB24) free(avi->buffer);
    delete avi->reader;
    free(avi);
}

static const _transport_ops_t kAviOps = [] {
    _transport_ops_t ops{};
    ops.transportType = CI_TRANSPORT_VIDEO_FILE;
    ops.transportName = "AVI";
    ops.productName = "AVI File";
    ops.driverInfo = "No driver";
    ops.startTransport = _AVI_startTransport;
    ops.stopTransport = _AVI_stopTransport;
    ops.grabFrame = _AVI_grabFrame;
    ops.getFrameData = _transport_get_frame_data;
    ops.updateFrameSize = _transport_update_frame_size;
    ops.getMode = _transport_get_mode_simultaneous;
    ops.readSensorRegistersNolock = _AVI_readSensorRegisters;
    ops.writeSensorRegistersNolock = _AVI_writeSensorRegisters;
    ops.readRegisterNolock = _AVI_readRegister;
    ops.writeRegisterNolock = _AVI_writeRegister;
    ops.readRegistersNolock = _AVI_readRegisters;
    ops.writeRegistersNolock = _AVI_writeRegisters;
    ops.freeTransportContext = _AVI_freeContext;
    return ops;
}();

// Fills the context and the sensor from the opened video.
static void _AVI_adopt(ci_camera_t* camera, AVI_Transport_Context* avi, std::unique_ptr<AviReader> reader) {
    const AviStreamInfo& info = reader->info();
    avi->imageWidth = info.width;
    avi->imageHeight = info.height;
    avi->imageType = info.imageType;
    avi->imageStride = info.stride;
    avi->upsideDown = info.upsideDown ? 1 : 0;
    avi->bufferSize = info.maxFrameBytes;
    avi->regFile[kNumFrames] = info.numFrames;
    avi->regFile[kFrameTimeMs] = kMinFrameTimeMs;
    avi->position = 0;  // each grab advances first: playback starts with frame 1
    avi->reader = reader.release();
    ci_sensor_t* sensor = camera->sensor;
    sensor->fullWidth = sensor->width = (ci_u32)info.width;
    sensor->fullHeight = sensor->height = (ci_u32)info.height;
    sensor->imageType = info.imageType;
    sensor->bufferSize = info.imageType == CI_JPEG ? info.maxFrameBytes : sensor->pixelBytes * sensor->width * sensor->height;
}

static ci_error_code _AVI_load_avi(ci_camera_t* camera, AVI_Transport_Context* avi) {
    std::string error;
    std::unique_ptr<AviReader> reader = _AVI_open_reader(avi->fileName, &error);
    if (reader == nullptr) {
        char message[CI_STRING_LEN + 64];
        snprintf(message, sizeof message, "%.200s: %s", avi->fileName, error.c_str());
        CK_ERR(kNotAVideo, message);
        return kNotAVideo;
    }
    _AVI_adopt(camera, avi, std::move(reader));
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _AVI_load_file(ci_camera_t* camera, AVI_Transport_Context* avi) {
    const char* dot = strrchr(avi->fileName, '.');
    if (dot == nullptr) return CI_CAMERA_ERROR;
    if (osal_stricmp(dot, ".avi") != 0) return kNotAVideo;
    return _AVI_load_avi(camera, avi);
}

static ci_error_code _AVI_create_sensor(ci_camera_t* camera, AVI_Transport_Context* avi) {
    const int attributes = osal_get_file_attributes(avi->fileName);
    if (attributes == -1) {
        char message[CI_STRING_LEN + 32];
        snprintf(message, sizeof message, "File does not exist, %.200s", avi->fileName);
        return CK_ERR(CI_SENSOR_DOES_NOT_MATCH, message);
    }
    if (attributes & kDirectoryModeBit) return CI_SENSOR_DOES_NOT_MATCH;
    const ci_error_code built = _synthetic_sensor_create(camera, &kAviSensor, avi->fileName);
    return built != CI_CAMERA_SUCCESS ? built : _AVI_load_file(camera, avi);
}

ci_error_code AVI_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* fileName, const char*) {
    if (n != nullptr) *n = 0;
    if (fileName == nullptr || fileName[0] == '\0') return CI_CAMERA_SUCCESS;
    if (cameras == nullptr || n == nullptr) return CI_CAMERA_ERROR;
    auto* avi = static_cast<AVI_Transport_Context*>(calloc(1, sizeof(AVI_Transport_Context)));
    if (avi == nullptr) return CK_ERR(CI_CAMERA_ERROR, "");
    snprintf(avi->fileName, sizeof avi->fileName, "%s", fileName);
    ci_camera_t* camera = _transport_new_camera(&kAviOps, avi);
    if (camera == nullptr) return CI_CAMERA_ERROR;
    AviInit();
    if (_AVI_create_sensor(camera, avi) != CI_CAMERA_SUCCESS) {
        _transport_free_camera(&kAviOps, camera);
        return kNotAVideo;
    }
    cameras[0] = camera;
    *n = 1;
    return CI_CAMERA_SUCCESS;
}

void AVI_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras) {
    _transport_free_cameras(&kAviOps, n, cameras);
    AviExit();
}
