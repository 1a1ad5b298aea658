// The plugin transport's state of one camera, shared by the transport and
// the helper table it hands to plugins.
#ifndef CAMKIT_DLL_TRANSPORT_H
#define CAMKIT_DLL_TRANSPORT_H

#include "camkit_plugin.h"
#include "transport/transport_common.h"

struct DLL_Transport_Context {
    ci_string camFileName;  // the camera description file that named the plugin, or ""
    ci_string dllName;      // the plugin's path
    HMODULE hDLL;
    ci_u32 dllVersion;
    void* private_context;  // the plugin's own state
    ci_read_sensor_registers_fn readFarRegisters;
    ci_write_sensor_registers_fn writeFarRegisters;
    ci_plugin_reg_control_fn regControl;
    ci_plugin_query_fn playCapable;
    ci_plugin_query_fn isViewfinder;
    // Ours: the close entry, whether to call it, and the host window handle.
    ci_plugin_close_fn closeCamera;
    ci_s32 callPluginClose;
    intptr_t appHwnd;
};

DLL_Transport_Context* _DLL_context(const ci_camera_t* camera);

// The table handed to every plugin.
extern const ci_transport_helpers_t g_transport_helpers;

ci_error_code _SetContext(ci_camera_t* camera, ci_context_fields field, const void* value);
ci_error_code _GetContext(ci_camera_t* camera, ci_context_fields field, void* value);

// The most cameras the plugin transport opens (all plugins together).
#define CI_MAX_PLUGIN_CAMERAS 50

#endif
