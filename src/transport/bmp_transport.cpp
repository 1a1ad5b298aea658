// The image-file camera: a still image played back as if a sensor delivered
// it.  One camera per file; its synthetic sensor takes the image's size and
// pixel format, and three registers carry the chip version, the data
// pedestal and the pixel order.  Every grab delivers the same pixels.
#define CK_SOURCE "transport/bmp_transport"
#include "transport/bmp_transport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "transport/synthetic_sensor.h"
#include "transport/transport_common.h"

namespace {

constexpr int kDirectoryModeBit = 0x4000;
constexpr ci_error_code kNotAnImage = (ci_error_code)1;
constexpr ci_u32 kInitialPedestal = 42;
constexpr ci_u32 kCompressedSlack = 0x200000;

const _synthetic_reg_t kBmpRegs[kBmpRegisters] = {
    {"CHIP_VERSION_REG", "chip_version_reg", 0, 0xFFFF},
    {"DATA_PEDESTAL", "data_pedestal", 1, 1023},
    {"PIXEL_ORDER", "pixel_order", 1, 0xFFFF},
};

const _synthetic_sensor_t kBmpSensor = {"Bitmap", 256, 256, 1, 8, CI_BAYER_8, kBmpRegs, kBmpRegisters};

}  // namespace

static BMP_Transport_Context* _BMP_context(const ci_camera_t* camera) {
    return static_cast<BMP_Transport_Context*>(_transport_context(camera));
}

static ci_error_code _BMP_readRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val) {
    const ci_s32 i = _synthetic_reg_index(camera, shipAddr, regAddr, kBmpRegisters);
    *val = i < 0 ? 0 : _BMP_context(camera)->regFile[i];
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _BMP_writeRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val) {
    const ci_s32 i = _synthetic_reg_index(camera, shipAddr, regAddr, kBmpRegisters);
    if (i > kBmpChipVersion) _BMP_context(camera)->regFile[i] = val & 0xFFFF;
    return CI_CAMERA_SUCCESS;  // the chip version and unknown registers drop the write
}

static ci_error_code _BMP_readRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                        ci_u32* vals) {
    for (ci_u32 k = 0; k < n; k++) _BMP_readRegister(camera, shipAddr, startAddr + k, &vals[k]);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _BMP_writeRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                         ci_u32* vals) {
    for (ci_u32 k = 0; k < n; k++) _BMP_writeRegister(camera, shipAddr, startAddr + k, vals[k]);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _BMP_readSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 n, ci_u32* vals) {
    return _BMP_readRegisters(camera, _transport_sensor_base(camera), startAddr, n, vals);
}

static ci_error_code _BMP_writeSensorRegisters(ci_camera_t* camera, ci_u32, ci_u32 startAddr, ci_u32 n, ci_u32* vals) {
    return _BMP_writeRegisters(camera, _transport_sensor_base(camera), startAddr, n, vals);
}

static ci_error_code _BMP_startTransport(ci_camera_t*) { return CI_CAMERA_SUCCESS; }

static ci_error_code _BMP_stopTransport(ci_camera_t*) { return CI_CAMERA_SUCCESS; }

static ci_error_code _BMP_getMode(ci_camera_t* camera, ci_modes mode, ci_u32* val) {
    if (mode != CI_COMPRESSED_LENGTH) return _transport_get_mode_simultaneous(camera, mode, val);
    if (val == nullptr) return CI_CAMERA_ERROR;
    *val = _BMP_context(camera)->bufferSize8;
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _BMP_updateFrameSize(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 nBitsPerClock,
                                          ci_s32 nClocksPerPixel) {
    const ci_error_code result = _transport_update_frame_size(camera, width, height, nBitsPerClock, nClocksPerPixel);
    if (result != CI_CAMERA_SUCCESS) return result;
    ci_sensor_t* sensor = camera->sensor;
    const ci_u64 pixels = (ci_u64)sensor->width * sensor->height;
    ci_u64 size = sensor->bufferSize;
    if (ci_IsJpegImageType(sensor->imageType)) size = 2 * (pixels + kCompressedSlack);
    if (sensor->imageType == CI_PNG) size = 4 * pixels;
    if (ci_IsJpegImageType(sensor->imageType) || sensor->imageType == CI_PNG)
        size = std::max<ci_u64>(size, _BMP_context(camera)->bufferSize8);
    sensor->bufferSize = (ci_u32)std::min<ci_u64>(size, 0xFFFFFFFFu);
    return CI_CAMERA_SUCCESS;
}

static void _BMP_Transport_CloseCamera(ci_camera_t* camera, void* context) {
    auto* bmp = static_cast<BMP_Transport_Context*>(context);
    free(bmp->buffer_u8);
    free(bmp->buffer_u16);
    free(bmp);
    // The far sensor read from a side file hangs on the description, whose
    // release frees only the record itself.
    if (camera->sensor != nullptr && camera->sensor->far1_sensor != nullptr)
        _freeSensorRegs(camera->sensor->far1_sensor);
}

static const _transport_ops_t kBmpOps = [] {
    _transport_ops_t ops{};
    ops.transportType = CI_TRANSPORT_IMAGE_FILE;
    ops.transportName = "BMP";
    ops.productName = "Image File";
    ops.driverInfo = "No driver";
    ops.startTransport = _BMP_startTransport;
    ops.stopTransport = _BMP_stopTransport;
    ops.grabFrame = _BMP_grabFrame;
    ops.getFrameData = _transport_get_frame_data;
    ops.updateFrameSize = _BMP_updateFrameSize;
    ops.getMode = _BMP_getMode;
    ops.readSensorRegistersNolock = _BMP_readSensorRegisters;
    ops.writeSensorRegistersNolock = _BMP_writeSensorRegisters;
    ops.readRegisterNolock = _BMP_readRegister;
    ops.writeRegisterNolock = _BMP_writeRegister;
    ops.readRegistersNolock = _BMP_readRegisters;
    ops.writeRegistersNolock = _BMP_writeRegisters;
    ops.freeTransportContext = _BMP_Transport_CloseCamera;
    return ops;
}();

// True when every byte is one a text image may hold.
static bool _BMP_looks_like_text(const char* path) {
    std::vector<ci_u8> bytes;
    if (!_BMP_read_file(path, &bytes) || bytes.empty()) return false;
    static const char kText[] = "\t\r\n 0123456789ABCDEFXabcdefx,";
    for (ci_u8 b : bytes)
        if (b == 0 || strchr(kText, b) == nullptr) return false;
    return true;
}

static ci_error_code _BMP_load_file(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    // The extension: from the last dot of the file's own name (a dot in a
    // directory name is none).
    const char* dot = strrchr(bmp->fileName, '.');
    const char* slash = strrchr(bmp->fileName, '/');
    if (dot == nullptr || (slash != nullptr && dot < slash)) return CI_CAMERA_ERROR;
    static const char* const kNotImages[] = {".avi", ".xsdat", ".sdat"};
    for (const char* ext : kNotImages)
        if (osal_stricmp(dot, ext) == 0) return kNotAnImage;
    typedef ci_error_code (*loader_fn)(ci_camera_t*, BMP_Transport_Context*);
    static const struct {
        const char* ext;
        loader_fn load;
    } kLoaders[] = {
        {".bmp", _BMP_load_bmp},   {".itx", _BMP_load_itx},   {".csv", _BMP_load_csv}, {".tab", _BMP_load_csv},
        {".txt", _BMP_load_csv},   {".ccr", _BMP_load_ccr},   {".dxr", _BMP_load_dxr}, {".jpg", _BMP_load_jpeg},
        {".jpeg", _BMP_load_jpeg}, {".png", _BMP_load_png},   {".bin", _BMP_load_raw}, {".raw", _BMP_load_raw},
        {".tif", _BMP_load_tiff},  {".tiff", _BMP_load_tiff},
    };
    _parseInfoTxt(camera, bmp);
    for (const auto& row : kLoaders)
        if (osal_stricmp(dot, row.ext) == 0) return row.load(camera, bmp);
    return _BMP_looks_like_text(bmp->fileName) ? _BMP_load_csv(camera, bmp) : _BMP_load_raw(camera, bmp);
}

static ci_error_code _BMP_create_sensor(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    const int attributes = osal_get_file_attributes(bmp->fileName);
    if (attributes == -1) {
        char message[CI_STRING_LEN + 32];
        snprintf(message, sizeof message, "File does not exist, %.200s", bmp->fileName);
        return CK_ERR(CI_SENSOR_DOES_NOT_MATCH, message);
    }
    if (attributes & kDirectoryModeBit) return CI_SENSOR_DOES_NOT_MATCH;
    const ci_error_code built = _synthetic_sensor_create(camera, &kBmpSensor, bmp->fileName);
    if (built != CI_CAMERA_SUCCESS) return built;
    bmp->regFile[kBmpPedestal] = kInitialPedestal;
    return _BMP_load_file(camera, bmp);
}

static ci_camera_t* _BMP_Transport_InitTransport(const char* fileName, ci_error_code* result) {
    auto* bmp = static_cast<BMP_Transport_Context*>(calloc(1, sizeof(BMP_Transport_Context)));
    if (bmp == nullptr) {
        *result = CK_ERR(CI_CAMERA_ERROR, "cannot allocate the camera's context");
        return nullptr;
    }
    snprintf(bmp->fileName, sizeof bmp->fileName, "%s", fileName);
    ci_camera_t* camera = _transport_new_camera(&kBmpOps, bmp);
    if (camera == nullptr) {
        *result = CI_CAMERA_ERROR;
        return nullptr;
    }
    *result = _BMP_create_sensor(camera, bmp);
    return camera;
}

ci_error_code BMP_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* fileName, const char*) {
    if (n != nullptr) *n = 0;
    if (fileName == nullptr || fileName[0] == '\0') return CI_CAMERA_SUCCESS;
    if (cameras == nullptr || n == nullptr) return CI_CAMERA_ERROR;
    ci_error_code result = CI_CAMERA_SUCCESS;
    ci_camera_t* camera = _BMP_Transport_InitTransport(fileName, &result);
    if (result != CI_CAMERA_SUCCESS) {
        _transport_free_camera(&kBmpOps, camera);
        return kNotAnImage;
    }
    cameras[0] = camera;
    *n = 1;
    return CI_CAMERA_SUCCESS;
}

void BMP_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras) { _transport_free_cameras(&kBmpOps, n, cameras); }
