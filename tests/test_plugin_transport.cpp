// The plugin transport against test plugins that record what the library
// does with them: devices opened until one is refused, the 50-camera cap,
// required entry points, camera description files, the helper table, and
// the library's sensor-register hooks over a plugin's raw access.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "log_capture.h"
#include "plugins/test_plugin.h"
#include "sensor_builder.h"
#include "transport/dll_transport.h"

namespace {

// Keeps a test plugin loaded (so its record outlives the library's
// handles) and reaches its record.
class TestPlugin {
public:
    explicit TestPlugin(const char* path) : path_(path), handle_(dlopen(path, RTLD_NOW)) {
        EXPECT_NE(handle_, nullptr) << dlerror();
        auto get = reinterpret_cast<TpRecord* (*)()>(dlsym(handle_, "tp_record"));
        record_ = get != nullptr ? get() : nullptr;
        *record_ = TpRecord();
    }
    ~TestPlugin() {
        ci_CloseCameras();
        dlclose(handle_);
        unsetenv("TP_DEVICES");
        unsetenv("TP_FAIL_AT");
    }
    TpRecord& record() { return *record_; }
    ci_s32 open(std::vector<ci_camera_t*>& cameras, ci_error_code* result = nullptr) const {
        cameras.assign(64, nullptr);
        ci_s32 n = 0;
        const ci_error_code rc = ci_OpenCameras2(cameras.data(), &n, "", CI_TRANSPORT_PLUGIN, path_);
        if (result != nullptr) *result = rc;
        return n;
    }

private:
    const char* path_;
    void* handle_;
    TpRecord* record_ = nullptr;
};

}  // namespace

TEST(PluginTransport, DevicesOpenUntilOneIsRefusedAndOnlyOpenedOnesAreClosed) {
    TestPlugin plugin(TP_FULL);
    setenv("TP_DEVICES", "5", 1);
    setenv("TP_FAIL_AT", "2", 1);
    std::vector<ci_camera_t*> cameras;
    ASSERT_EQ(plugin.open(cameras), 2);
    EXPECT_EQ(plugin.record().opens, 3);  // devices 0, 1 and the refused 2
    EXPECT_EQ(cameras[0]->transportType, (ci_u32)CI_TRANSPORT_PLUGIN);
    EXPECT_STREQ(ci_GetDriverInfoString(cameras[1]), (std::string("Transport DLL: ") + TP_FULL).c_str());
    ci_CloseCameras();
    EXPECT_EQ(plugin.record().closes, 2);
}

TEST(PluginTransport, TheFiftyFirstCameraIsNeverCreated) {
    TestPlugin plugin(TP_FULL);
    setenv("TP_DEVICES", "60", 1);
    std::vector<ci_camera_t*> cameras;
    EXPECT_EQ(plugin.open(cameras), 50);
    EXPECT_EQ(plugin.record().opens, 50);
}

TEST(PluginTransport, RequiredEntryPointsDecide) {
    struct Case {
        const char* path;
        ci_s32 cameras;
        const char* logged;
    } cases[] = {
        {TP_NOSTART, 0, "osal_GetProcAddress failed for StartTransportDLL"},
        {TP_NOOPEN, 0, nullptr},
        {TP_INIT2, 1, nullptr},
    };
    for (const Case& c : cases) {
        LogCapture log;
        TestPlugin plugin(c.path);
        std::vector<ci_camera_t*> cameras;
        ci_error_code rc = CI_CAMERA_SUCCESS;
        EXPECT_EQ(plugin.open(cameras, &rc), c.cameras) << c.path;
        if (c.logged != nullptr) {
            EXPECT_NE(log.text().find(c.logged), std::string::npos) << log.text();
        }
        EXPECT_EQ(plugin.record().closes, 0) << c.path;  // a refused camera is not closed by the plugin
    }
}

TEST(PluginTransport, CameraFilesNameThePluginAndItsBoardSettings) {
    TestPlugin plugin(TP_FULL);
    ScratchDir dir;
    dir.write("a.cam", "[TRANSPORT]\nDLL_NAME = DEFAULT\n");
    dir.write("b.cam", "[TRANSPORT]\nOTHER = 1\n");
    const std::string named = dir.write("c.cam", std::string("[TRANSPORT]\nDLL_NAME = ") + TP_FULL +
                                                     "\n[BOARD]\nDEVICES = 2\nMODE = fast\n");
    setenv("TP_DEVICES", "2", 1);
    char previous[4096];
    ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    std::vector<ci_camera_t*> cameras(64);
    ci_s32 n = 0;
    ci_OpenCameras2(cameras.data(), &n, "", CI_TRANSPORT_PLUGIN, "");
    ASSERT_EQ(chdir(previous), 0);
    ASSERT_EQ(n, 2);  // only c.cam loads anything
    EXPECT_STREQ(_DLL_context(cameras[0])->camFileName, "./c.cam");
    char value[32] = "";
    ASSERT_NE(plugin.record().helpers, nullptr);
    const auto getBoardConfig = plugin.record().helpers->getBoardConfig;
    chdir(dir.path().c_str());
    EXPECT_EQ(getBoardConfig(cameras[1], "MODE", value, sizeof value), CI_CAMERA_SUCCESS);
    EXPECT_STREQ(value, "fast");
    EXPECT_EQ(getBoardConfig(cameras[1], "MISSING", value, sizeof value), CI_CAMERA_NOT_SUPPORTED);
    ASSERT_EQ(chdir(previous), 0);
    (void)named;
}

TEST(PluginTransport, HelperTableSlotsAreInTheirPlaces) {
    TestPlugin plugin(TP_FULL);
    std::vector<ci_camera_t*> cameras;
    ASSERT_EQ(plugin.open(cameras), 1);
    const ci_transport_helpers_t* h = plugin.record().helpers;
    ASSERT_EQ(h, &g_transport_helpers);
    EXPECT_EQ(h->updateImageType, &_updateImageType);
    EXPECT_EQ(h->errorLog, &ci_Errorlog);
    EXPECT_EQ(h->log, &ci_Msglog);
    EXPECT_EQ(h->setMode, &_SetMode);
    EXPECT_EQ(h->getMode, &_GetMode);
    EXPECT_EQ(h->setContext, &_SetContext);
    EXPECT_EQ(h->getContext, &_GetContext);
    EXPECT_EQ(h->updateFrameSize, &_transport_update_frame_size);
    EXPECT_EQ(h->unswizzleBuffer, &_unSwizzleBuffer);
    EXPECT_EQ(h->mergeDeepBayer, &_mergeDeepBayer);
    EXPECT_EQ(h->_reserved5, nullptr);
    EXPECT_EQ(h->_reserved6, nullptr);
    EXPECT_EQ(h->_reserved7, nullptr);
    // Context fields round-trip through the accessors.
    ci_camera_t* camera = cameras[0];
    int state = 0;
    void* back = nullptr;
    ci_u32 bits = 12, readBits = 0;
    EXPECT_EQ(h->setContext(camera, CI_CONTEXT_PRIVATE_DATA, &state), CI_CAMERA_SUCCESS);
    EXPECT_EQ(h->getContext(camera, CI_CONTEXT_PRIVATE_DATA, &back), CI_CAMERA_SUCCESS);
    EXPECT_EQ(back, &state);
    h->setContext(camera, CI_CONTEXT_BITS_PER_CLOCK, &bits);
    h->getContext(camera, CI_CONTEXT_BITS_PER_CLOCK, &readBits);
    EXPECT_EQ(readBits, 12u);
    EXPECT_EQ(h->getBoardConfig(camera, "DEVICES", (char*)&readBits, 4), CI_CAMERA_NOT_SUPPORTED);  // no .cam file
}

TEST(PluginTransport, DefaultSensorHooksSelectThePageAndUseTheSensorBase) {
    TestPlugin plugin(TP_FULL);
    std::vector<ci_camera_t*> cameras;
    ASSERT_EQ(plugin.open(cameras), 1);
    ci_camera_t* camera = cameras[0];
    ASSERT_EQ(_transport_load_sensor_file(camera, CAMKIT_DATA_DIR "/sensor_data/ck_page8.sdat"), CI_CAMERA_SUCCESS);
    _init_reg_cache(camera);
    plugin.record().accesses.clear();
    ci_u32 value = 0;
    ASSERT_EQ(ci_ReadSensorRegStr(camera, "CCM_01", "", &value), CI_CAMERA_SUCCESS);  // page 1, address 0x11
    const std::vector<TpAccess>& a = plugin.record().accesses;
    ASSERT_GE(a.size(), 2u);
    EXPECT_EQ(a.front().shipAddr, 0xBAu);
    EXPECT_EQ(a.front().write, 1);  // the page selector first
    EXPECT_EQ(a.front().regAddr, 0xF0u);
    EXPECT_EQ(a.front().value, 1u);
    EXPECT_EQ(a.back().shipAddr, 0xBAu);
    EXPECT_EQ(a.back().write, 0);
    EXPECT_EQ(a.back().regAddr, 0x11u);
    EXPECT_EQ(value, 0x11u ^ 0x5A00u);
    ci_u32 size = 0;
    ci_getMode(camera, CI_REG_ADDR_SIZE, &size);
    EXPECT_EQ(size, 8u);
}
