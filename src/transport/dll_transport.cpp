// The plugin transport: cameras served by shared libraries with fixed entry
// points.  Plugins are found by name, in a named directory, through camera
// description files (*.cam) in the working directory, and in the Plugins
// directory under the home directory; each is asked for device 0, 1, 2, ...
// until it refuses one or the transport holds its 50 cameras.
#define CK_SOURCE "transport/dll_transport"
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "transport/dll_transport.h"

namespace {

constexpr int kDirectoryModeBit = 0x4000;

template <typename Fn>
Fn entry(HMODULE library, const char* name) {
    return reinterpret_cast<Fn>(osal_GetProcAddress(library, name));
}

}  // namespace

// ---------------------------------------------------------------- defaults

static ci_error_code _DLL_grabNotSupported(ci_camera_t*, ci_u8*, ci_u32) { return CI_CAMERA_NOT_SUPPORTED; }

static ci_error_code _DLL_noRegister(ci_camera_t*, ci_u32, ci_u32, ci_u32*) { return CI_CAMERA_NOT_SUPPORTED; }

static ci_error_code _DLL_noRegisterWrite(ci_camera_t*, ci_u32, ci_u32, ci_u32) { return CI_CAMERA_NOT_SUPPORTED; }

// Runs of registers through the single-register hooks, the addresses
// stepping as the sensor's registers do.
static ci_error_code _DLL_readRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 start, ci_u32 n, ci_u32* vals) {
    const ci_u32 step = ci_GetAddrIncrement(camera, CI_REG_ADDR);
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 k = 0; k < n && rc == CI_CAMERA_SUCCESS; k++) {
        rc = _ctx(camera)->readRegisterNolock(camera, shipAddr, start + k * step, &vals[k]);
    }
    return rc;
}

static ci_error_code _DLL_writeRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 start, ci_u32 n, ci_u32* vals) {
    const ci_u32 step = ci_GetAddrIncrement(camera, CI_REG_ADDR);
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 k = 0; k < n && rc == CI_CAMERA_SUCCESS; k++) {
        rc = _ctx(camera)->writeRegisterNolock(camera, shipAddr, start + k * step, vals[k]);
    }
    return rc;
}

// Sensor registers of a plugin without its own sensor hooks: the sensor's
// sizes for this thread, its page selected, then the plugin's raw access at
// the sensor's serial address.
static void _DLL_prepareSensorAccess(ci_camera_t* camera, ci_u32 space, ci_s32 read) {
    const ci_sensor_t* sensor = camera->sensor;
    if (sensor == nullptr) return;
    _SetMode(camera, CI_REG_ADDR_SIZE, sensor->reg_addr_size);
    _SetMode(camera, CI_REG_DATA_SIZE, sensor->reg_data_size);
    _updateAddrSpace(camera, space, read);
}

static ci_error_code _DLL_readSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 start, ci_u32 n,
                                              ci_u32* vals) {
    _DLL_prepareSensorAccess(camera, space, 1);
    return _ctx(camera)->readRegistersNolock(camera, _transport_sensor_base(camera), start, n, vals);
}

static ci_error_code _DLL_writeSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 start, ci_u32 n,
                                               ci_u32* vals) {
    _DLL_prepareSensorAccess(camera, space, 0);
    return _ctx(camera)->writeRegistersNolock(camera, _transport_sensor_base(camera), start, n, vals);
}

static void _DLL_freeContext(ci_camera_t* camera, void* context) {
    auto* dll = static_cast<DLL_Transport_Context*>(context);
    if (dll->callPluginClose && dll->closeCamera != nullptr) dll->closeCamera(camera);
    if (camera->sensor != nullptr) _freeSensor(camera);
    if (dll->hDLL != nullptr) osal_FreeLibrary(dll->hDLL);
    free(dll);
}

static const _transport_ops_t kDllOps = [] {
    _transport_ops_t ops{};
    ops.transportType = CI_TRANSPORT_PLUGIN;
    ops.transportName = "DLL";
    ops.productName = "Plugin camera";
    ops.grabFrame = _DLL_grabNotSupported;
    ops.updateFrameSize = _transport_update_frame_size;
    ops.readSensorRegistersNolock = _DLL_readSensorRegisters;
    ops.writeSensorRegistersNolock = _DLL_writeSensorRegisters;
    ops.readRegisterNolock = _DLL_noRegister;
    ops.writeRegisterNolock = _DLL_noRegisterWrite;
    ops.readRegistersNolock = _DLL_readRegisters;
    ops.writeRegistersNolock = _DLL_writeRegisters;
    ops.freeTransportContext = _DLL_freeContext;
    return ops;
}();

// ---------------------------------------------------------------- entry points

template <typename Fn>
static void _DLL_override(HMODULE library, const char* name, Fn& slot) {
    if (Fn found = entry<Fn>(library, name)) slot = found;
}

static void _DLL_bindRegisterHooks(HMODULE library, _common_context_t* ctx) {
    _DLL_override(library, "ReadSensorRegistersDLL", ctx->readSensorRegistersNolock);
    _DLL_override(library, "WriteSensorRegistersDLL", ctx->writeSensorRegistersNolock);
    _DLL_override(library, "ReadRegisterDLL", ctx->readRegisterNolock);
    _DLL_override(library, "WriteRegisterDLL", ctx->writeRegisterNolock);
    _DLL_override(library, "ReadRegistersDLL", ctx->readRegistersNolock);
    _DLL_override(library, "WriteRegistersDLL", ctx->writeRegistersNolock);
    _DLL_override(library, "ReadSystemRegistersDLL", ctx->readSystemRegistersNolock);
    _DLL_override(library, "WriteSystemRegistersDLL", ctx->writeSystemRegistersNolock);
    _DLL_override(library, "SendCommandDLL", ctx->sendCommandNolock);
}

static void _DLL_bindOptional(HMODULE library, ci_camera_t* camera, _common_context_t* ctx,
                              DLL_Transport_Context* dll) {
    _DLL_override(library, "SetModeDLL", camera->setMode);
    _DLL_override(library, "GetModeDLL", camera->getMode);
    _DLL_override(library, "UpdateFrameSizeDLL", camera->updateFrameSize);
    _DLL_override(library, "GrabFrameDLL", camera->grabFrame);
    _DLL_override(library, "InitTransportDLL", camera->initTransport);
    _DLL_override(library, "UpdateBufferSizeDLL", camera->updateBufferSize);
    _DLL_override(library, "GetFrameDataDLL", camera->getFrameData);
    _DLL_override(library, "IniFileCommandDLL", ctx->transportIniCommand);
    _DLL_override(library, "GetDeviceNameDLL", ctx->getDeviceName);
    _DLL_override(library, "SetNotifyCallbackDLL", ctx->setNotifyCallback);
    _DLL_override(library, "EnableDeviceNotificationDLL", ctx->enableDeviceNotification);
    _DLL_override(library, "MatchDevChangeMsgDLL", ctx->matchDevChangeMsg);
    _DLL_override(library, "DisableDeviceNotificationDLL", ctx->disableDeviceNotification);
    _DLL_override(library, "RegControlDLL", dll->regControl);
    _DLL_override(library, "PlayCapableDLL", dll->playCapable);
    _DLL_override(library, "IsViewfinderDLL", dll->isViewfinder);
    _DLL_override(library, "CloseCameraDLL", dll->closeCamera);
}

// Builds camera `deviceIndex` of the plugin; its result is the open entry's.
ci_error_code DLL_Transport_InitTransport(ci_camera_t* camera, ci_s32 deviceIndex, const char* sensorDirOrFile,
                                          const char* camFileName, const char* dllName) {
    DLL_Transport_Context* dll = _DLL_context(camera);
    _common_context_t* ctx = _ctx(camera);
    dll->hDLL = osal_LoadLibrary(dllName);
    if (dll->hDLL == nullptr) {
        char message[CI_STRING_LEN + 64];
        snprintf(message, sizeof message, "LoadLibrary(%.200s) failed. Unable to load transport DLL.", dllName);
        return CK_ERR(CI_CAMERA_ERROR, message);
    }
    snprintf(dll->dllName, sizeof dll->dllName, "%s", dllName);
    snprintf(dll->camFileName, sizeof dll->camFileName, "%s", camFileName != nullptr ? camFileName : "");
    camera->transportType = CI_TRANSPORT_PLUGIN;
    ci_plugin_open_fn open = entry<ci_plugin_open_fn>(dll->hDLL, "OpenCameraDLL");
    if (open == nullptr) open = entry<ci_plugin_open_fn>(dll->hDLL, "InitCamera2DLL");
    if (open == nullptr) return CI_CAMERA_ERROR;
    camera->startTransport = entry<ci_start_transport_fn>(dll->hDLL, "StartTransportDLL");
    if (camera->startTransport == nullptr) {
        return CK_ERR(CI_CAMERA_ERROR, "osal_GetProcAddress failed for StartTransportDLL");
    }
    camera->stopTransport = entry<ci_stop_transport_fn>(dll->hDLL, "StopTransportDLL");
    if (camera->stopTransport == nullptr) {
        return CK_ERR(CI_CAMERA_ERROR, "osal_GetProcAddress failed for StopTransportDLL");
    }
    _DLL_bindRegisterHooks(dll->hDLL, ctx);
    _DLL_bindOptional(dll->hDLL, camera, ctx, dll);
    snprintf(ctx->driverInfo, sizeof ctx->driverInfo, "Transport DLL: %.200s", dllName);
    if (auto setHelpers = entry<ci_plugin_set_helpers_fn>(dll->hDLL, "SetHelpersDLL")) setHelpers(&g_transport_helpers);
    return open(camera, sensorDirOrFile, deviceIndex);
}

// ---------------------------------------------------------------- the search

struct PluginSearch {
    ci_camera_t** cameras;
    ci_s32* count;
    const char* sensorDirOrFile;
    ci_error_code worst = CI_CAMERA_SUCCESS;
};

// Opens devices 0, 1, ... of one plugin while the transport has room.
ci_error_code add_camera(ci_camera_t** cameras, ci_s32* count, const char* sensorDirOrFile, const char* camFileName,
                         const char* dllName) {
    ci_error_code result = CI_CAMERA_ERROR;
    for (ci_s32 device = 0; *count < CI_MAX_PLUGIN_CAMERAS; device++) {
        auto* dll = static_cast<DLL_Transport_Context*>(calloc(1, sizeof(DLL_Transport_Context)));
        if (dll == nullptr) return CK_ERR(CI_CAMERA_ERROR, "");
        ci_camera_t* camera = _transport_new_camera(&kDllOps, dll);
        if (camera == nullptr) return CI_CAMERA_ERROR;
        const ci_error_code rc = DLL_Transport_InitTransport(camera, device, sensorDirOrFile, camFileName, dllName);
        if (rc != CI_CAMERA_SUCCESS) {
            _transport_free_camera(&kDllOps, camera);  // the plugin's close entry is not called
            return device > 0 ? CI_CAMERA_SUCCESS : rc;
        }
        dll->callPluginClose = 1;
        cameras[(*count)++] = camera;
        result = CI_CAMERA_SUCCESS;
    }
    return result;
}

// True when the camera description file names a plugin (DLL_NAME in section
// TRANSPORT, other than "DEFAULT"); its path goes to dllName.
bool get_dll(const char* camFileName, char* dllName, size_t size) {
    char value[CI_MAX_PATH];
    osal_getprivateprofilestring("TRANSPORT", "DLL_NAME", "DEFAULT", value, sizeof value, camFileName);
    osal_trim(value);
    if (value[0] == '\0' || osal_stricmp(value, "DEFAULT") == 0) return false;
    snprintf(dllName, size, "%s", value);
    return true;
}

// The names in `dir` matching each pattern, sorted, as paths.
static std::vector<std::string> _DLL_listFiles(const std::string& dir, std::initializer_list<const char*> patterns) {
    std::vector<std::string> found;
    for (const char* pattern : patterns) {
        char directory[CI_MAX_PATH], wanted[CI_MAX_PATH];
        snprintf(directory, sizeof directory, "%s", dir.c_str());
        snprintf(wanted, sizeof wanted, "%s", pattern);
        osal_findfile* search = osal_open_find_file(directory);
        for (int ok = osal_find_first_file(search, wanted); ok; ok = osal_find_next_file(search)) {
            found.push_back(dir + "/" + search->cFileName);
        }
        osal_close_find_file(search);
    }
    std::sort(found.begin(), found.end());
    return found;
}

static void _DLL_addPlugin(PluginSearch& s, const char* camFileName, const char* dllName) {
    const ci_error_code rc = add_camera(s.cameras, s.count, s.sensorDirOrFile, camFileName, dllName);
    s.worst = std::max(s.worst, rc);
}

static void _DLL_addDirectory(PluginSearch& s, const std::string& dir) {
    for (const std::string& plugin : _DLL_listFiles(dir, {"*.dll", "*.so"})) _DLL_addPlugin(s, "", plugin.c_str());
}

static void _DLL_addCameraFiles(PluginSearch& s) {
    for (const std::string& cam : _DLL_listFiles(".", {"*.cam"})) {
        char dllName[CI_MAX_PATH];
        if (get_dll(cam.c_str(), dllName, sizeof dllName)) _DLL_addPlugin(s, cam.c_str(), dllName);
    }
}

ci_error_code DLL_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensorDirOrFile,
                                        const char* dllName) {
    if (n == nullptr || cameras == nullptr) return CI_CAMERA_ERROR;
    *n = 0;
    PluginSearch search{cameras, n, sensorDirOrFile != nullptr ? sensorDirOrFile : ""};
    if (dllName != nullptr && dllName[0] != '\0') {
        char path[CI_MAX_PATH];
        snprintf(path, sizeof path, "%s", dllName);
        const int attributes = osal_get_file_attributes(path);
        if (attributes == -1) return CI_CAMERA_ERROR;
        if (!(attributes & kDirectoryModeBit)) {
            _DLL_addPlugin(search, "", dllName);
            if (search.worst == CI_CAMERA_SUCCESS) return CI_CAMERA_SUCCESS;
            return CK_ERR(search.worst, "DLL_Transport_OpenCameras failed on specific file");
        }
        _DLL_addDirectory(search, path);
    } else {
        _DLL_addCameraFiles(search);
        _DLL_addDirectory(search, std::string(ci_Home()) + "/Plugins");
    }
    return *n > 0 ? CI_CAMERA_SUCCESS : search.worst;
}

void DLL_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras) { _transport_free_cameras(&kDllOps, n, cameras); }
