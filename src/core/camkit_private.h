// Library-internal records and the functions modules call across each other.
// Each section names the module that implements it.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "camkit.h"
#include "camkit_plugin.h"
#include "base/osal.h"

// ---------------------------------------------------------------------------
// Logging helpers.  Every source file defines CK_SOURCE (the name its log
// lines carry, e.g. "camkit_reg") before including this header.
// ---------------------------------------------------------------------------
#ifndef CK_SOURCE
#define CK_SOURCE "camkit"
#endif
#define CK_ERR(code, msg) ci_Errorlog((code), -1, (msg), CK_SOURCE, __func__, __LINE__)
#define CK_LOG(cls, msg) ci_Msglog((cls), (msg), CK_SOURCE, __func__, __LINE__)

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

// ---------------------------------------------------------------------------
// Transport registry (core: camkit)
// ---------------------------------------------------------------------------
typedef ci_error_code (*ci_open_cameras_fn)(ci_camera_t** cameras, ci_s32* numCameras, const char* sensorDirOrFile,
                                            const char* pluginName);
typedef void (*ci_close_cameras_fn)(ci_s32 numCameras, ci_camera_t** cameras);

typedef struct _transport_t {
    ci_u32 transport_type;
    ci_s32 num_open_cameras;
    ci_s32 num_open_transports;
    ci_camera_t** open_cameras;
    ci_open_cameras_fn openCameras;
    ci_close_cameras_fn closeCameras;
} _transport_t;

#define CI_NUM_TRANSPORTS 5
extern _transport_t gTransports[CI_NUM_TRANSPORTS];
extern volatile ci_u32 g_cancel_all_probes;
extern ci_u32 gTlsContext;
ci_s32 _retSizeofTransportArray(void);

// Transport entry points (transport/*).  A transport that is not built yet
// answers "no camera found".
ci_error_code BMP_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void BMP_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code AVI_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void AVI_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code DLL_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void DLL_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code NUL_Transport_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void NUL_Transport_CloseCameras(ci_s32 n, ci_camera_t** cameras);
ci_error_code _CILIBUSB_OpenCameras(ci_camera_t** cameras, ci_s32* n, const char* sensor, const char* plugin);
void USB_Bulk_CloseCameras(ci_s32 n, ci_camera_t** cameras);

// ---------------------------------------------------------------------------
// Camera contexts and modes (core: camkit, camkit_modes)
// ---------------------------------------------------------------------------
void _init_common_context(ci_camera_t* camera);
void _free_common_context(ci_camera_t* camera);
void _init_global_context(ci_camera_t* camera);
void _free_global_context(ci_camera_t* camera);
_tl_context_t* _thread_local_context(ci_camera_t* camera);
// The calling thread's cache setting (0 device, 1 cache when valid, 2 cache
// only).  Threads that never entered share the camera's own view, which any
// of them may change, so the setting is read atomically.
ci_s32 _threadCacheUse(ci_camera_t* camera);
// Saves a camera mode, sets a new value, and restores the saved value when
// it goes out of scope.  A mode the camera cannot read is left alone.
class ScopedMode {
public:
    ScopedMode(ci_camera_t* camera, ci_modes mode, ci_u32 value);
    // Only saves the mode (the caller changes it as it goes).
    ScopedMode(ci_camera_t* camera, ci_modes mode);
    ~ScopedMode();
    ScopedMode(const ScopedMode&) = delete;
    ScopedMode& operator=(const ScopedMode&) = delete;

private:
    ci_camera_t* camera_;
    ci_modes mode_;
    ci_u32 saved_;
    bool restore_;
};
ci_error_code _SetMode(ci_camera_t* camera, ci_modes mode, ci_u32 val);
ci_error_code _GetMode(ci_camera_t* camera, ci_modes mode, ci_u32* val);
// Board output clock (CI_OUTPUT_CLOCK_FREQ).
ci_error_code _setOutputClockFreq(ci_camera_t* camera, ci_u32 freq);
ci_error_code _getOutputClockFreq(ci_camera_t* camera, ci_u32* freq);

// ---------------------------------------------------------------------------
// Error log (base: camkiterrorlog)
// ---------------------------------------------------------------------------
ci_s32 _GetErrorLogLevel(void);
ci_s32 _SetErrorLogLevel(ci_s32 level);
ci_s32 _GetErrorLevel(ci_error_code code);
const char* _GetInfoLogDesc(ci_s32 logType);

// ---------------------------------------------------------------------------
// Register map model and sensor-data readers (sensor: sensor_data, xmlsdat)
// ---------------------------------------------------------------------------
typedef struct field_desc_t {
    int field;
    const char* field_name;
} field_desc_t;

int get_field(const char* field_str, const field_desc_t* fields, int num_fields);
ci_sensor_types _sensorTypeFromName(const char* name);
// Loads <sensor-data directory>/sensor_types.txt into the type table once per
// directory; names there extend (and may override) the built-in table.
void _loadSensorTypeFile(const char* sensorDir);
ci_s32 _regId(ci_reg_data_t* regs, ci_s32 num_regs, const char* uniq_desc);
ci_addr_space_val_t* _get_addr_space(ci_addr_space_t* addr_space, const char* ID);
void _freeSensorRegs(ci_sensor_t* sensor);
void _freeSensor(ci_camera_t* camera);
// Board configuration and chip files (core: camkit_board; sensor: chip_file).
ci_s32 _getConfigFile(ci_camera_t* camera, const char* sensorDirOrFile, char* configFileName);
ci_error_code _parseBoardConfigFile(ci_camera_t* camera, const char* sensorDirOrFile);
ci_s32 get_chip_fileName(ci_camera_t* camera, const char* configFileName, char* chipFileName);
ci_s32 _checkChipMatch(ci_camera_t* camera, const ci_chip_t* chip);
void _getDirectoryName(const char* path, char* dir);
// Frees the camera's chip records (num_chips 0, chip NULL afterwards).
void _freeChips(ci_camera_t* camera);
const char* _get_AddressSpaceReg_read(ci_camera_t* camera);
const char* _get_AddressSpaceReg_write(ci_camera_t* camera);
ci_error_code _parseXmlSensorFile(ci_camera_t* camera, ci_sensor_t* sensor, const char* fileName);
// Long descriptions of the camera's sensor from a long-description file
// (.ldat, sectioned text or XML form), appended to its long_desc array.
ci_error_code ci_ParseLongDescFile(ci_camera_t* camera, const char* fileName);
ci_error_code _parseXmlLongDescFile(ci_camera_t* camera, const char* fileName);
void ci_syntaxerror(ci_error_code code, const char* line, const char* fileName, ci_s32 lineNumber);

// ---------------------------------------------------------------------------
// Register lookup, cache, read/write core (regs: camkit_reg, camkit_cache,
// ci_utils)
// ---------------------------------------------------------------------------
ci_reg_data_t* _registerLookup(ci_camera_t* camera, ci_s32 chip, const char* name);
ci_bitfield_t* _bitfieldLookup(ci_reg_data_t* reg, const char* name);
ci_s32 _getRegIndex(ci_camera_t* camera, const char* name);
ci_s32 _GetRegisterValue(ci_camera_t* camera, ci_reg_data_t* reg, ci_s32 useCache);
void _cantfindit(const char* regName, const char* bitfieldName);
int _wildcard_match(const char* pattern, const char* name);
int _addr_space_match(ci_camera_t* camera, const ci_addr_space_val_t* space, ci_addr_type type, ci_u32 value);
// Name/address index of a sensor description, kept beside the description
// and dropped when its tables are freed.
void _regIndexDrop(const ci_sensor_t* sensor);

void _getRegisterLock(ci_camera_t* camera);
void _releaseRegisterLock(ci_camera_t* camera);
ci_error_code _ReadSensorRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val);
ci_error_code _WriteSensorRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val);
ci_error_code _ReadSensorRegStrNolock(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                      ci_u32* val);
ci_error_code _WriteSensorRegStrNolock(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                       ci_u32 val);
ci_error_code _readSensorRegsNocache(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 count, ci_u32* vals);
ci_error_code _writeSensorRegsNocache(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 count, ci_u32* vals);
ci_error_code _readDirectVarsNocache(ci_camera_t* camera, ci_u32 addr, ci_u32 dataBits, ci_u32 count,
                                     ci_u32* vals);
ci_error_code _writeDirectVarsNocache(ci_camera_t* camera, ci_u32 addr, ci_u32 dataBits, ci_u32 count,
                                      ci_u32* vals);
// Fills *reg (and *space when a temporary space is needed) for an addressed
// access; returns the record to use (the sensor's own or reg).
ci_reg_data_t* _makeRegDataStruct(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 addr, ci_s32 is8,
                                  ci_reg_data_t* reg, ci_addr_space_val_t* tempSpace);
void _updateAddrSpace(ci_camera_t* camera, ci_u32 space, ci_s32 read);
void _updateDirectAccess(ci_camera_t* camera);
void _trackDirectAccess(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val);
void _trackDirectAccessRead(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val);
// A field of the MCU access state in the shared record (current_access_logical,
// current_phy_region, current_phy_a15, current_adv_base) holding this value is
// unknown; _forgetAccessState makes all four unknown.
#define CI_ACCESS_UNKNOWN 0xFFFFFFFFu
void _forgetAccessState(_sg_context_t* shared);
void _initialRegModes(ci_camera_t* camera);
ci_u32 _regAddrSize(ci_camera_t* camera, ci_addr_type type);
ci_u32 _regDataSize(ci_camera_t* camera, ci_addr_type type);

ci_error_code _common_readRegisterNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val);
ci_error_code _common_writeRegisterNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val);
ci_error_code _common_readRegistersNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                          ci_u32* vals);
ci_error_code _common_writeRegistersNolock(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                           ci_u32* vals);
ci_error_code _common_readSensorRegistersNolock(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                                ci_u32* vals);
ci_error_code _common_writeSensorRegistersNolock(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                                 ci_u32* vals);
ci_error_code _common_readSystemRegistersNolock(ci_camera_t* camera, ci_addr_type type, ci_u32 space,
                                                ci_u32 startAddr, ci_u32 dataSize, ci_u32 n, ci_u32* vals);
ci_error_code _common_writeSystemRegistersNolock(ci_camera_t* camera, ci_addr_type type, ci_u32 space,
                                                 ci_u32 startAddr, ci_u32 dataSize, ci_u32 n, ci_u32* vals);
ci_error_code _common_sendCommandNolock(ci_camera_t* camera, ci_u32 command, ci_u32 paramSize,
                                        const ci_u8* paramBuffer, ci_u32* statusCode, ci_u32 resultSize,
                                        ci_u8* resultBuffer, ci_u32* bytesReturned);

ci_error_code _generic_ReadRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val);
ci_error_code _generic_WriteRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val);
ci_error_code _generic_ReadRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                     ci_u32* vals);
ci_error_code _generic_WriteRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 n,
                                      ci_u32* vals);
ci_error_code _generic_ReadSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                           ci_u32* vals);
ci_error_code _generic_WriteSensorRegisters(ci_camera_t* camera, ci_u32 space, ci_u32 startAddr, ci_u32 n,
                                            ci_u32* vals);
ci_error_code _generic_ReadSystemRegisters(ci_camera_t* camera, ci_addr_type type, ci_u32 space,
                                           ci_u32 startAddr, ci_u32 dataSize, ci_u32 n, ci_u32* vals);
ci_error_code _generic_WriteSystemRegisters(ci_camera_t* camera, ci_addr_type type, ci_u32 space,
                                            ci_u32 startAddr, ci_u32 dataSize, ci_u32 n, ci_u32* vals);
// Points the camera's six register slots at the locking generic routines
// above; every transport whose device hooks live in the common context uses
// this.
void _useGenericRegisterAccess(ci_camera_t* camera);
ci_error_code _generic_sendCommand(ci_camera_t* camera, ci_u32 command, ci_u32 paramSize,
                                   const ci_u8* paramBuffer, ci_u32* statusCode, ci_u32 resultSize,
                                   ci_u8* resultBuffer, ci_u32* bytesReturned);

ci_u32 _BitValue(ci_u32 value, ci_u32 mask);
ci_u32 _RegValue(ci_u32 value, ci_u32 mask);
ci_u32 _BitMaskAdjust(ci_u32 mask, ci_u32 value, ci_s32 set);

// Register cache (camkit_cache)
void _init_reg_cache(ci_camera_t* camera);
void _free_reg_cache(ci_camera_t* camera);
ci_s32 _GetRegCacheIndex(ci_camera_t* camera, ci_u32 regAddr, ci_u32 space, ci_addr_type type);
ci_s32 _GetRegCacheValueI(ci_camera_t* camera, ci_s32 index, ci_u32* val);
ci_s32 _GetRegCacheValueAddr(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 regAddr, ci_u32* val);
ci_s32 _SetRegCacheValueI(ci_camera_t* camera, ci_s32 index, ci_u32 val);
ci_s32 _SetRegCacheValueAddr(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 regAddr, ci_u32 val);
ci_s32 _SetRegCacheValueReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val);
void _InvalidateRegCacheRange(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 end);
ci_u32 _GetCachedReadAddrSpaceValue(ci_camera_t* camera);
ci_u32 _GetCachedWriteAddrSpaceValue(ci_camera_t* camera);
void _SetCachedReadAddrSpaceValue(ci_camera_t* camera, ci_u32 value);
void _SetCachedWriteAddrSpaceValue(ci_camera_t* camera, ci_u32 value);

// ---------------------------------------------------------------------------
// Variables, SFRs, indirect and far registers (regs: camkit_var)
// ---------------------------------------------------------------------------
ci_s32 _varMaskToIs8(ci_u32 mask);
// Is reg an MCU data-port register currently showing a variable?  Returns the
// MCU address style; *var receives the variable's record when one is found.
ci_s32 _findRamAlias(ci_camera_t* camera, ci_reg_data_t* reg, ci_s32 directOnly, ci_reg_data_t** var);
ci_error_code _ReadVarNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 driver, ci_u32 offset, ci_s32 is8,
                             ci_u32* val);
ci_error_code _ReadVarsNolock(ci_camera_t* camera, ci_u32 driver, ci_u32 first, ci_u32 end, ci_s32 is8,
                              ci_u32* vals);
ci_error_code _WriteVarNolock(ci_camera_t* camera, ci_u32 driver, ci_u32 offset, ci_s32 is8, ci_u32 val);
ci_error_code _WriteVarBurstNolock(ci_camera_t* camera, ci_u32 driver, ci_u32 first, ci_u32 count, ci_s32 is8,
                                   ci_u32* vals);
ci_error_code _ReadSfrNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 space, ci_u32 offset, ci_s32 is8,
                             ci_u32* val);
ci_error_code _ReadSfrsNolock(ci_camera_t* camera, ci_u32 space, ci_u32 first, ci_u32 end, ci_s32 is8,
                              ci_u32* vals);
ci_error_code _WriteSfrNolock(ci_camera_t* camera, ci_u32 space, ci_u32 offset, ci_s32 is8, ci_u32 val);
ci_error_code _WriteSfrBurstNolock(ci_camera_t* camera, ci_u32 space, ci_u32 first, ci_u32 count, ci_s32 is8,
                                   ci_u32* vals);
ci_error_code _ReadIndNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 offset, ci_u32* val);
ci_error_code _ReadIndsNolock(ci_camera_t* camera, ci_u32 first, ci_u32 end, ci_u32* vals);
ci_error_code _WriteIndNolock(ci_camera_t* camera, ci_u32 offset, ci_u32 val);
ci_error_code _ReadFarRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val);
ci_error_code _WriteFarRegNolock(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val);
ci_error_code _ReadSensorRegs_FarOnlyNoLock(ci_camera_t* camera, ci_s32 n, ci_reg_data_t** regs, ci_u32* vals,
                                            ci_error_code* results);
ci_error_code _testFarBase(ci_camera_t* camera, ci_u32 base);

// ---------------------------------------------------------------------------
// Sensor identification (core: camkit_ident)
// ---------------------------------------------------------------------------
ci_error_code _getSensor(ci_camera_t* camera, const char* sensorDirOrFile);
ci_error_code _findMatch(ci_camera_t* camera, const char* dir, const char* filter, ci_s32 ignore,
                         ci_s32 addrSize);
ci_s32 _checkSensorMatch(ci_camera_t* camera, ci_s32 chipVersionOnly);
ci_s32 _checkExtraDescr(ci_camera_t* camera, ci_s32 term);
ci_s32 _versionResetIf(ci_camera_t* camera, ci_s32 term);
ci_s32 _checkFuseRev(ci_camera_t* camera, ci_s32 term);
ci_s32 _checkExtraSerialMatch(ci_camera_t* camera, ci_s32 term);
void _setUnusedBase(ci_camera_t* camera, ci_u32 base);
ci_s32 _unusedBase(ci_camera_t* camera, ci_u32 base);
void _resetBaseMap(ci_camera_t* camera);

// ---------------------------------------------------------------------------
// Image types and frame post-processing (core: camkit_image)
// ---------------------------------------------------------------------------
typedef enum swizzle_sit_t { SWIZSIT_UNNEEDED = 0, SWIZSIT_HW_CAN = 1, SWIZSIT_NEEDED = 2 } swizzle_sit_t;
void _updateImageType(ci_camera_t* camera);
swizzle_sit_t _swizzle_situation(ci_camera_t* camera);
ci_u32 _swizzleDefault(ci_camera_t* camera);
ci_error_code _set_unswizzle_mode(ci_camera_t* camera, ci_u32 value);
void _unSwizzleBuffer(ci_camera_t* camera, ci_u8* buffer);
void _repackLsbAligned8(ci_camera_t* camera, ci_u8* buffer);
void _mergeDeepBayer(ci_camera_t* camera, ci_u8* buffer);
ci_u32 _pixelBits(ci_camera_t* camera);
ci_u32 _bytesPerClock(ci_camera_t* camera);
ci_u32 _pixelBytes(ci_camera_t* camera);
// The rules behind the three above, for a sensor record that is not (yet)
// attached to a camera (the sensor-data readers use them while parsing).
ci_u32 _pixelBitsFor(ci_image_types type, ci_u32 bitsPerClock, ci_u32 clocksPerPixel);
// The sample depth a 10-, 12- or 14-bit Bayer type names (its zoom and
// HDR forms included); 0 for every other type.
ci_u32 _bayerTypeDepth(ci_image_types type);
ci_u32 _pixelBytesFor(ci_image_types type, ci_u32 pixelBits, ci_u32 bitsPerClock, ci_u32 clocksPerPixel);
