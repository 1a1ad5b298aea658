// The fixed internal records: identification data, the camera's common
// context, the state shared by every opener of a device, the per-thread view
// and the register cache entries.
#pragma once

#include "base/base.h"
#include "camkit_plugin.h"

// ---------------------------------------------------------------------------
// Identification records (filled by the sensor-data readers, read by
// sensor identification).
// ---------------------------------------------------------------------------
#define CI_MAX_VALUES 10
#define CI_MAX_SHIP_ADDRS 16
#define CI_MAX_PART_NUMBERS 4
#define CI_MAX_PROBE_TERMS 4
#define CI_MAX_VERSION_REG_WRITES 10
#define CI_MAX_VERSION_REG_READS 4
#define CI_MAX_SERIAL_MATCHES 4
#define CI_MAX_BITFIELDS 33
#define CI_MAX_THREAD_CAMERAS 50

typedef struct _regData {
    ci_string regName;
    ci_u32 mask;
    ci_s32 numValues;
    ci_u32 value[CI_MAX_VALUES];
} _regData;

typedef struct _partNumberData {
    ci_u32 baseAddr;
    ci_u32 regAddr;
    ci_u32 addrSize;
    ci_u32 dataSize;
    ci_string regName;
    ci_u32 mask;
    ci_s32 numValues;
    ci_u32 value[CI_MAX_VALUES];
    char partNumber[100];
} _partNumberData;

typedef struct _versionRegWrite {
    ci_string regName;
    ci_u32 mask;
    ci_u32 value[CI_MAX_VALUES];
    ci_s32 numValues;
    ci_s32 timeout;             // < 0: a write; >= 0: a poll with this time-out in ms
} _versionRegWrite;

typedef struct _extraSerialMatch {
    ci_u32 baseAddr;
    ci_u32 regAddr;
    ci_u32 addrSize;
    ci_u32 dataSize;
    ci_u32 mask;
    ci_s32 numValues;
    ci_u32 value[CI_MAX_VALUES];
} _extraSerialMatch;

typedef struct _probe_term_t {
    ci_string extra_desc_reg;
    ci_u32 extra_desc_mask;
    ci_s32 num_extra_desc_val;
    ci_u32 extra_desc_val[CI_MAX_VALUES];
    _regData version_reg_resetif;
    ci_s32 num_version_reg_write;
    _versionRegWrite version_reg_write[CI_MAX_VERSION_REG_WRITES];
    ci_s32 num_version_reg_read;
    _regData version_reg_read[CI_MAX_VERSION_REG_READS];
    ci_s32 num_serial_match;
    _extraSerialMatch extra_serial_match[CI_MAX_SERIAL_MATCHES];
} _probe_term_t;

// ---------------------------------------------------------------------------
// Contexts
// ---------------------------------------------------------------------------

// A thread's view of one camera.
typedef struct _tl_context_t {
    ci_camera_t* pCamera;
    ci_s32 reg_addr_size;
    ci_s32 reg_data_size;
    ci_s32 use_reg_cache;       // 0 device, 1 cache when valid, 2 cache only
} _tl_context_t;

// State that is the same for every opener of one physical device.
typedef struct _sg_context_t {
    ci_u32 spoof_width;
    ci_u32 spoof_height;
    ci_u32 hw_buffering;
    ci_u32 current_access_logical;
    ci_u32 current_phy_region;
    ci_u32 current_phy_a15;
    ci_u32 hidy;
    ci_u32 current_adv_base;
    ci_u32 bitsPerClock;
    ci_u32 clocksPerPixel;
    ci_u32 pixclk_polarity;
    ci_u32 initialized;
    ci_u32 rxType;
    ci_u32 rxLanes;
    ci_u32 rxBitDepth;
    ci_u32 rxMode;
    ci_u32 rxClass;
    ci_u32 rxSyncCode;
    ci_u32 rxEmbeddedData;
    ci_u32 rxVirtualChannel;
    ci_u32 rxMsbFirst;
    ci_u32 stereoMode;
    ci_u32 farBaseMap[4];
    ci_u32 lsbAligned;
    ci_u32 rxCcir656;
    ci_u32 rxInterlaced;
    ci_u32 rxOutputPort;
    ci_u32 pixelPack;
} _sg_context_t;

// One register cache entry.
typedef struct _regCache {
    ci_u32 value;
    ci_u32 flags;               // bit 31 invalid, bit 0 volatile
} _regCache;
#define CI_CACHE_INVALID 0x80000000u
#define CI_CACHE_VOLATILE 0x1u

// Transport hooks without lock (called with the camera lock held).
typedef ci_error_code (*ci_set_hardware_unswizzle_fn)(ci_camera_t* camera);
typedef ci_error_code (*ci_set_hardware_buffering_fn)(ci_camera_t* camera, ci_u32 value);

typedef struct _common_context_t {
    // 1. pixel clocking
    ci_u32 _rawBitsPerClock;
    ci_u32 bitsPerClock;
    ci_u32 clocksPerPixel;
    ci_s32 pixclk_polarity;
    // 2. unswizzling
    ci_s32 do_sw_unswizzle;
    ci_unswizzle_modes unswizzle_mode;
    // 3.
    ci_u32 error_mode;
    ci_u32 _read_sync_mode;
    ci_u32 _write_sync_mode;
    ci_u32 _continuous_read_mode;
    ci_u32 _continuous_read_type;
    ci_u32 _reg_addr_size;
    ci_u32 _reg_data_size;
    ci_u32 _use_reg_cache;
    ci_u32 maxDataSize;
    // 4. probe-term scratch
    ci_string _extra_desc_reg;
    ci_s32 _num_extra_desc_val;
    ci_u32 _extra_desc_val;
    // 5. frames
    ci_u32 lastFrameNumber;
    ci_frame_data_t frame_data;
    // 6. register cache
    ci_s32 num_cache_regs;
    _regCache* reg_cache;
    // 7. the camera's lock
    osal_mutex criticalSection;
    // 8.
    void* transport_context;
    ci_s32 _bSupportsRemoval;
    ci_s32 _bNotifyCaller;
    // 9.
    ci_u32 _remove_in_2_10;
    _regData _version_reg_read;
    // 10.
    ci_s32 sdat_version;
    ci_u32 raw_buf_size;
    ci_s32 num_shipAddrs;
    ci_u32 shipAddr[CI_MAX_SHIP_ADDRS];
    ci_s32 rev3_head;
    ci_s32 security_head;
    ci_s32 num_partNumbers;
    _partNumberData partNumber[CI_MAX_PART_NUMBERS];
    // 11. transport hooks without lock
    ci_read_sensor_registers_fn readSensorRegistersNolock;
    ci_write_sensor_registers_fn writeSensorRegistersNolock;
    ci_read_register_fn readRegisterNolock;
    ci_write_register_fn writeRegisterNolock;
    ci_read_registers_fn readRegistersNolock;
    ci_write_registers_fn writeRegistersNolock;
    ci_set_notify_callback_fn setNotifyCallback;
    ci_enable_device_notification_fn enableDeviceNotification;
    ci_match_dev_change_msg_fn matchDevChangeMsg;
    // 12.
    ci_u32 _spoof_width;
    ci_u32 _spoof_height;
    ci_u32 hw_buffering;
    ci_set_hardware_unswizzle_fn setHardwareUnswizzle;
    ci_set_hardware_buffering_fn setHardwareBuffering;
    // 13.
    ci_u32 baseMap[4];
    ci_s32 match_no_soc;
    ci_s32 match_soc_only;
    ci_s32 match_addr_size;
    ci_s32 allow_far_access;
    // 14.
    ci_s32 _num_version_reg_write;
    _versionRegWrite _version_reg_write[CI_MAX_VERSION_REG_WRITES];
    ci_u32 _xextra_desc_val[CI_MAX_VALUES];
    ci_s32 match_chip_version_reg;
    ci_u32 _extra_desc_mask;
    ci_ini_command_fn transportIniCommand;
    ci_s32 _num_serial_match;
    ci_u32 direct_var_access;
    _extraSerialMatch _extra_serial_match[CI_MAX_SERIAL_MATCHES];
    // 15.
    ci_u32 _current_access_logical;
    ci_u32 _current_phy_region;
    ci_u32 _current_phy_a15;
    ci_get_device_name_fn getDeviceName;
    // 16.
    ci_string mutex_name;
    ci_string context_name;
    ci_string reg_cache_name;
    osal_global_handle context_gh;
    osal_global_handle reg_cache_gh;
    _sg_context_t* sg_context;
    _tl_context_t tl_context;
    _regData version_reg_resetif;
    // 17.
    ci_u32 hidy;
    ci_ini_command_fn appIniCommand;
    ci_disable_device_notification_fn disableDeviceNotification;
    ci_string driverInfo;
    // 18.
    ci_u32 _farBaseMap[4];
    ci_rx_types rxType;
    ci_u32 rxLanes;
    ci_u32 rxBitDepth;
    ci_rx_modes rxMode;
    ci_u32 rxClass;
    ci_u32 rxSyncCode;
    ci_u32 rxEmbeddedData;
    ci_u32 rxVirtualChannel;
    ci_u32 rxMsbFirst;
    // 19.
    ci_s32 _num_version_reg_read;
    _regData _xversion_reg_read[CI_MAX_VERSION_REG_READS];
    ci_stereo_modes stereoMode;
    ci_s32 num_probe_term;
    _probe_term_t probe_term[CI_MAX_PROBE_TERMS];
    // 20.
    ci_u32 lsbAligned;
    ci_u32 nackRetries;
    ci_u32 rxCcir656;
    ci_u32 rxInterlaced;
    ci_u32 rxOutputPort;
    ci_u32 pixelPack;
    ci_read_system_registers_fn readSystemRegistersNolock;
    ci_write_system_registers_fn writeSystemRegistersNolock;
    ci_send_command_fn sendCommandNolock;
} _common_context_t;

static inline _common_context_t* _ctx(const ci_camera_t* camera) {
    return camera ? (_common_context_t*)camera->context : nullptr;
}

