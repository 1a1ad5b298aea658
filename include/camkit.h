/*
 * camkit — one programming interface to camera boards that carry an image
 * sensor.  This is the whole public interface of the library: it compiles as
 * C99 and as C++.
 *
 * Conventions
 *  - Every operation returns a ci_error_code (0 = success) unless it says
 *    otherwise; failures are also written to the error log.
 *  - Names of registers, bitfields, address spaces and keywords are compared
 *    without regard to case.
 *  - Camera records are owned by the library: they are created by
 *    ci_OpenCameras / ci_OpenCameras2 and freed by ci_CloseCameras /
 *    ci_CloseCameras2.  Pointers into a sensor description stay valid until
 *    its camera is closed.
 */
#ifndef CAMKIT_H
#define CAMKIT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32)
#define CI_API
#else
#define CI_API __attribute__((visibility("default")))
#endif

#define CAMKIT_VERSION_MAJOR 0
#define CAMKIT_VERSION_MINOR 1
#define CAMKIT_VERSION_PATCH 0

/* ------------------------------------------------------------------------ */
/* Basic types                                                              */
/* ------------------------------------------------------------------------ */

typedef uint8_t ci_u8;
typedef int8_t ci_s8;
typedef uint16_t ci_u16;
typedef int16_t ci_s16;
typedef uint32_t ci_u32;
typedef int32_t ci_s32;
typedef uint64_t ci_u64;
typedef int64_t ci_s64;

#define CI_STRING_LEN 256
#define CI_MAX_PATH 260

/* A fixed 256-character text field used inside every description record. */
typedef char ci_string[CI_STRING_LEN];

/* ------------------------------------------------------------------------ */
/* Error codes                                                              */
/* ------------------------------------------------------------------------ */

typedef ci_s32 ci_error_code;

enum ci_error_codes {
    CI_CAMERA_SUCCESS = 0,
    CI_CAMERA_ERROR = 1,
    CI_GRAB_FRAME_ERROR = 3,
    CI_NOT_ENOUGH_DATA_ERROR = 4,
    CI_EOF_MARKER_ERROR = 5,
    CI_BUFFER_SIZE_ERROR = 6,
    CI_SENSOR_FILE_PARSE_ERROR = 7,
    CI_SENSOR_DOES_NOT_MATCH = 8,
    CI_SENSOR_NOT_INITIALIZED = 9,
    CI_SENSOR_NOT_SUPPORTED = 10,
    CI_I2C_BIT_ERROR = 11,
    CI_I2C_NACK_ERROR = 12,
    CI_I2C_TIMEOUT = 13,
    CI_CAMERA_TIMEOUT = 14,
    CI_CAMERA_NOT_SUPPORTED = 16,
    CI_PARSE_SUCCESS = 32,
    CI_DUPLICATE_DESC_ERROR = 33,
    CI_PARSE_FILE_ERROR = 34,
    CI_PARSE_REG_ERROR = 35,
    CI_UKNOWN_SECTION_ERROR = 36,
    CI_CHIP_DESC_ERROR = 37,
    CI_PARSE_ADDR_SPACE_ERROR = 38,
    CI_INI_SUCCESS = 256,
    CI_INI_KEY_NOT_SUPPORTED = 257,
    CI_INI_LOAD_ERROR = 258,
    CI_INI_POLLREG_TIMEOUT = 259,
    CI_INI_HANDLED_SUCCESS = 260,
    CI_INI_HANDLED_ERROR = 261,
    CI_INI_NOT_HANDLED = 262
};

/* One row of the message table. */
typedef struct ci_errorMsg {
    ci_error_code nErrorCode;
    ci_s32 nErrorLevel;         /* 1 severe, 2 ordinary */
    const char* pszErrorDesc;
    const char* pszSymbol;
} ci_errorMsg;

/* Log level mask bits. */
#define CI_LOG_SEVERE 1
#define CI_LOG_ERROR 2
#define CI_LOG_INFO 4
#define CI_LOG_SHIP 8
#define CI_LOG_USB 16
#define CI_LOG_DEBUG 32
#define CI_LOG_ALL 63

/* ------------------------------------------------------------------------ */
/* Enumerations                                                             */
/*                                                                          */
/* Every enumeration is a 32-bit type that may carry any 32-bit value (the  */
/* _32BIT members), so values read from files, boards and callers that are  */
/* outside the named ones are well defined and rejected by the functions.   */
/* ------------------------------------------------------------------------ */

typedef enum ci_product_ids {
    CI_UNKNOWN_PRODUCT = 0,
    CI_KITE_1 = 0x1003,
    CI_KITE_1A = 0x1004,
    CI_KITE_2 = 0x1007,
    CI_KESTR = 0x100B,
    CI_KESTR_XL = 0x100C,
    CI_KITE_2X = 0x100D,
    CI_KITE_3 = 0x100E,
    _CI_PRODUCT_IDS_32BIT = 0x7FFFFFFF
} ci_product_ids;

/* Transport selection bits of ci_OpenCameras2. */
#define CI_TRANSPORT_USB 0x1u
#define CI_TRANSPORT_PLUGIN 0x4u
#define CI_TRANSPORT_IMAGE_FILE 0x10u
#define CI_TRANSPORT_VIDEO_FILE 0x20u
#define CI_TRANSPORT_NULL 0x10000u

typedef enum ci_modes {
    CI_ERROR_CHECK_MODE = 0,
    CI_REG_ADDR_SIZE = 1,
    CI_REG_DATA_SIZE = 2,
    CI_USE_REG_CACHE = 3,
    CI_SW_UNSWIZZLE_MODE = 4,
    CI_UNSWIZZLE_MODE = 5,
    CI_SW_UNSWIZZLE_DEFAULT = 6,
    CI_DATA_IS_SWIZZLED = 7,
    _CI_READ_SYNC = 8,
    _CI_WRITE_SYNC = 9,
    _CI_CONTINUOUS_READ = 10,
    CI_ERROR_LOG_TYPE = 11,
    CI_SPOOF_SIZE = 12,
    CI_SPOOF_SUPPORTED = 13,
    CI_HW_BUFFERING = 14,
    CI_OUTPUT_CLOCK_FREQ = 15,
    CI_ALLOW_FAR_ACCESS = 16,
    CI_PIXCLK_POLARITY = 17,
    CI_SENSOR_POWER = 18,
    CI_SENSOR_RESET = 19,
    CI_SHIP_SPEED = 20,
    CI_DIRECT_VAR_ACCESS = 21,
    CI_XDMA_LOGICAL = 22,
    CI_XDMA_PHY_A15 = 23,
    CI_XDMA_PHY_REGION = 24,
    CI_HW_FRAME_COUNT = 25,
    CI_HIDY = 26,
    CI_COMPRESSED_LENGTH = 27,
    CI_SENSOR_SHUTDOWN = 28,
    CI_XDMA_ADV_BASE = 29,
    CI_PIXCLK_FREQ = 30,
    CI_SIMUL_REG_FRAMEGRAB = 31,
    CI_DETECT_FRAME_SIZE = 32,
    CI_BITS_PER_CLOCK = 33,
    CI_CLOCKS_PER_PIXEL = 34,
    CI_RX_TYPE = 35,
    CI_RX_LANES = 36,
    CI_RX_BIT_DEPTH = 37,
    CI_RX_MODE = 38,
    CI_RX_CLASS = 39,
    CI_RX_SYNC_CODE = 40,
    CI_RX_EMBEDDED_DATA = 41,
    CI_RX_VIRTUAL_CHANNEL = 42,
    CI_RX_MSB_FIRST = 43,
    CI_HDMI_MODE = 44,
    CI_EIS = 45,
    CI_MEM_CAPTURE = 46,
    CI_MEM_CAPTURE_PROGRESS = 47,
    CI_MEM_CAPTURE_MB = 48,
    CI_STEREO_MODE = 49,
    CI_HW_FRAME_COUNT_MASK = 50,
    CI_GRABFRAME_TIMEOUT = 51,
    CI_HW_FRAME_TIME = 52,
    CI_LSB_ALIGNED = 53,
    CI_NACK_RETRIES = 54,
    CI_RX_CCIR656 = 55,
    CI_RX_INTERLACED = 56,
    CI_MEM_CAPTURE_CYCLE = 57,
    CI_TRIGGER_HIGH_WIDTH = 58,
    CI_TRIGGER_LOW_WIDTH = 59,
    CI_TRIGGER = 60,
    CI_OUTPUT_PORT = 61,
    CI_PIXEL_PACK = 62,
    CI_NUM_MODES = 63,
    _CI_MODES_32BIT = 0x7FFFFFFF
} ci_modes;

typedef enum ci_unswizzle_modes {
    CI_NO_UNSWIZZLE = 0,
    CI_HW_UNSWIZZLE = 1,
    CI_SW_UNSWIZZLE = 2,
    CI_ANY_UNSWIZZLE = 3,
    _CI_UNSWIZZLE_MODES_32BIT = 0x7FFFFFFF
} ci_unswizzle_modes;

typedef enum ci_rx_types {
    CI_RX_UNKNOWN = -1,
    CI_RX_DISABLED = 0,
    CI_RX_PARALLEL = 1,
    CI_RX_CCP = 2,
    CI_RX_MIPI = 3,
    CI_RX_PXLANE = 4,
    _CI_RX_TYPES_32BIT = 0x7FFFFFFF
} ci_rx_types;

typedef enum ci_rx_modes {
    CI_RX_PXLANE_S = 0,
    CI_RX_PXLANE_SPS = 1,
    CI_RX_PXLANE_SPP = 2,
    CI_RX_PXLANE_DSLR = 3,
    _CI_RX_MODES_32BIT = 0x7FFFFFFF
} ci_rx_modes;

typedef enum ci_stereo_modes {
    CI_STEREO_LEFT = 0,
    CI_STEREO_RIGHT = 1,
    CI_STEREO_ROWWISE = 2,
    CI_STEREO_BLEND = 3,
    _CI_STEREO_MODES_32BIT = 0x7FFFFFFF
} ci_stereo_modes;

typedef enum ci_notify_codes {
    CI_NOTIFY_PAUSE = 1,
    CI_NOTIFY_RESUME = 2,
    CI_NOTIFY_UPDATEFRAMESIZE = 3,
    CI_NOTIFY_REFRESH = 4,
    _CI_NOTIFY_CODES_32BIT = 0x7FFFFFFF
} ci_notify_codes;

typedef enum ci_image_types {
    CI_IMAGE_TYPE_NOT_FOUND = -1,   /* an image-type keyword the reader did not know */
    CI_UNKNOWN_IMAGE_TYPE = 0,
    CI_BAYER_8 = 1,
    CI_BAYER_10 = 2,
    CI_BAYER_8_ZOOM = 3,
    CI_BAYER_10_ZOOM = 4,
    CI_YCBCR = 5,
    CI_RGB565 = 6,
    CI_RGB555 = 7,
    CI_RGB444X = 8,
    CI_RGBX444 = 9,
    CI_RGB24 = 10,
    CI_RGB32 = 11,
    CI_BAYER_12 = 12,
    CI_BAYER_S12 = 13,
    CI_BAYER_S24 = 14,
    CI_RGB48 = 15,
    CI_JPEG = 16,
    CI_BAYER_STEREO = 17,
    CI_PNG = 18,
    CI_BGRG = 19,
    CI_YUV420 = 20,
    CI_BAYER_14 = 21,
    CI_BAYER_12_HDR = 22,
    CI_BAYER_14_HDR = 23,
    CI_BAYER_20 = 24,
    CI_RGB332 = 25,
    CI_M420 = 26,
    CI_BAYER_10_IHDR = 27,
    CI_JPEG_SPEEDTAGS = 28,
    CI_BAYER_16 = 29,
    CI_YCBCR_10 = 30,
    CI_BAYER_6 = 31,
    CI_JPEG_ROT = 32,
    CI_Y400 = 33,
    CI_RGB555L = 34,
    CI_RGB555M = 35,
    CI_NUM_IMAGE_TYPES = 36,
    _CI_IMAGE_TYPES_32BIT = 0x7FFFFFFF
} ci_image_types;

typedef enum ci_data_types {
    CI_UNKNOWN_DATA_TYPE = -1,
    CI_TYPE_HEX = 0,
    CI_TYPE_UNSIGNED = 1,
    CI_TYPE_UFIXED0 = 1,
    CI_TYPE_UFIXED1, CI_TYPE_UFIXED2, CI_TYPE_UFIXED3, CI_TYPE_UFIXED4,
    CI_TYPE_UFIXED5, CI_TYPE_UFIXED6, CI_TYPE_UFIXED7, CI_TYPE_UFIXED8,
    CI_TYPE_UFIXED9, CI_TYPE_UFIXED10, CI_TYPE_UFIXED11, CI_TYPE_UFIXED12,
    CI_TYPE_UFIXED13, CI_TYPE_UFIXED14, CI_TYPE_UFIXED15, CI_TYPE_UFIXED16,
    CI_TYPE_UFIXED17, CI_TYPE_UFIXED18, CI_TYPE_UFIXED19, CI_TYPE_UFIXED20,
    CI_TYPE_UFIXED21, CI_TYPE_UFIXED22, CI_TYPE_UFIXED23, CI_TYPE_UFIXED24,
    CI_TYPE_UFIXED25, CI_TYPE_UFIXED26, CI_TYPE_UFIXED27, CI_TYPE_UFIXED28,
    CI_TYPE_UFIXED29, CI_TYPE_UFIXED30, CI_TYPE_UFIXED31, CI_TYPE_UFIXED32,
    CI_TYPE_SIGNED = 34,
    CI_TYPE_FIXED0 = 34,
    CI_TYPE_FIXED1, CI_TYPE_FIXED2, CI_TYPE_FIXED3, CI_TYPE_FIXED4,
    CI_TYPE_FIXED5, CI_TYPE_FIXED6, CI_TYPE_FIXED7, CI_TYPE_FIXED8,
    CI_TYPE_FIXED9, CI_TYPE_FIXED10, CI_TYPE_FIXED11, CI_TYPE_FIXED12,
    CI_TYPE_FIXED13, CI_TYPE_FIXED14, CI_TYPE_FIXED15, CI_TYPE_FIXED16,
    CI_TYPE_FIXED17, CI_TYPE_FIXED18, CI_TYPE_FIXED19, CI_TYPE_FIXED20,
    CI_TYPE_FIXED21, CI_TYPE_FIXED22, CI_TYPE_FIXED23, CI_TYPE_FIXED24,
    CI_TYPE_FIXED25, CI_TYPE_FIXED26, CI_TYPE_FIXED27, CI_TYPE_FIXED28,
    CI_TYPE_FIXED29, CI_TYPE_FIXED30, CI_TYPE_FIXED31, CI_TYPE_FIXED32,
    CI_TYPE_SIGNMAG = 67,
    CI_TYPE_FLOAT = 68,
    CI_TYPE_FLOAT16 = 69,
    _CI_DATA_TYPES_32BIT = 0x7FFFFFFF
} ci_data_types;

typedef enum ci_addr_type {
    CI_REG_ADDR = 0,
    CI_MCU_ADDR = 1,
    CI_SFR_ADDR = 2,
    CI_IND_ADDR = 3,
    CI_FAR1_REG_ADDR = 4,
    CI_FAR1_MCU_ADDR = 5,
    CI_FAR1_SFR_ADDR = 6,
    CI_FAR2_REG_ADDR = 7,
    CI_FAR2_MCU_ADDR = 8,
    CI_FAR2_SFR_ADDR = 9,
    _CI_ADDR_TYPE_32BIT = 0x7FFFFFFF
} ci_addr_type;

/* Sensor model codes.  The names of the models are data (the sensor-type
 * table and the optional sensor_types.txt of the sensor-data directory); the
 * codes whose behaviour the library changes are named here. */
typedef enum ci_sensor_types {
    CI_UNKNOWN_SENSOR = 0,
    CI_BITMAP_SENSOR = 36,          /* the synthetic sensor of file-backed cameras */
    CI_RESERVED_SENSOR43 = 71,
    CI_RESERVED_SENSOR71 = 103,
    CI_ARRAY_IMAGER_SENSOR = 105,
    CI_RESERVED_SENSOR78 = 110,
    CI_RESERVED_SENSOR79 = 111,
    CI_NUM_SENSOR_TYPES = 116,
    _CI_SENSOR_TYPES_32BIT = 0x7FFFFFFF
} ci_sensor_types;

/* ------------------------------------------------------------------------ */
/* Sensor description records                                               */
/* ------------------------------------------------------------------------ */

typedef struct ci_bitfield_t {
    ci_string id;
    ci_u32 bitmask;
    ci_u32 rw;
    ci_string desc;
    ci_string detail;
    ci_data_types datatype;
    ci_u32 minimum;
    ci_u32 maximum;
    ci_u32 confidential;
} ci_bitfield_t;

typedef struct ci_addr_space_val_t {
    ci_string ID;
    ci_string name;
    ci_u32 val;
    ci_addr_type type;
    ci_u32 far_base;
    ci_u32 far_addr_size;
    ci_u32 far_data_size;
} ci_addr_space_val_t;

typedef struct ci_addr_space_t {
    ci_u32 reg_addr_read;
    ci_u32 reg_addr_write;
    ci_s32 num_vals;
    ci_addr_space_val_t* addr_space_val;
    ci_u32 far1_reg_addr;
    ci_u32 far2_reg_addr;
} ci_addr_space_t;

typedef struct ci_reg_data_t {
    ci_string unique_desc;
    ci_u32 reg_addr;
    ci_u32 reg_space;
    ci_u32 bitmask;
    ci_u32 default_val;
    ci_u32 rw;                  /* 0 read-only, 1 read-write, 2 write-only */
    ci_string reg_desc;
    ci_string detail;
    ci_s32 num_bitfields;
    ci_bitfield_t* bitfield;
    ci_u32 addr_span;
    ci_addr_space_val_t* addr_space;
    ci_data_types datatype;
    ci_u32 minimum;
    ci_u32 maximum;
    ci_u32 volat;
    ci_u32 confidential;
} ci_reg_data_t;

typedef struct ci_long_desc_t {
    char* regName;
    char* bitfieldName;
    char* longDesc;
} ci_long_desc_t;

typedef struct ci_sensor_t ci_sensor_t;
struct ci_sensor_t {
    ci_string sensorName;
    ci_sensor_types sensorType;
    ci_u32 fullWidth;
    ci_u32 fullHeight;
    ci_u32 width;
    ci_u32 height;
    ci_u32 zoomFactor;
    ci_u32 pixelBytes;
    ci_u32 pixelBits;
    ci_u32 bufferSize;
    ci_image_types imageType;
    ci_u32 shipAddr;
    ci_u32 reg_addr_size;
    ci_u32 reg_data_size;
    ci_s32 num_regs;
    ci_reg_data_t* regs;
    ci_addr_space_t* addr_space;
    ci_string sensorFileName;
    ci_u32 sensorVersion;
    ci_string partNumber;
    ci_string versionName;
    ci_sensor_t* far1_sensor;
    ci_sensor_t* far2_sensor;
    ci_s32 num_long_desc;
    ci_long_desc_t* long_desc;
};

typedef struct ci_chip_t {
    ci_string chipName;
    ci_u32 baseAddr;
    ci_u32 serial_addr_size;
    ci_u32 serial_data_size;
    ci_s32 num_regs;
    ci_reg_data_t* regs;
} ci_chip_t;

/* Information on the last grabbed frame. */
typedef struct ci_frame_data_t {
    ci_u32 frameNumber;
    ci_u32 bytesRequested;
    ci_u32 bytesReturned;
    ci_u32 imageBytesReturned;
    ci_u32 numRegsReturned;
    ci_u32 frameTime;
    ci_u32 frameLines;
    ci_u32 lineSize;
    ci_u32 gpio;
    ci_u32 frameStatus;
    ci_u32 eolPadBytes;
} ci_frame_data_t;

/* ------------------------------------------------------------------------ */
/* The camera record                                                        */
/* ------------------------------------------------------------------------ */

typedef struct ci_camera_t ci_camera_t;

typedef ci_error_code (*ci_start_transport_fn)(ci_camera_t* camera);
typedef ci_error_code (*ci_stop_transport_fn)(ci_camera_t* camera);
typedef ci_error_code (*ci_read_sensor_registers_fn)(ci_camera_t* camera, ci_u32 addrSpace,
                                                     ci_u32 startAddr, ci_u32 numRegs, ci_u32* vals);
typedef ci_error_code (*ci_write_sensor_registers_fn)(ci_camera_t* camera, ci_u32 addrSpace,
                                                      ci_u32 startAddr, ci_u32 numRegs, ci_u32* vals);
typedef ci_error_code (*ci_read_register_fn)(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr,
                                             ci_u32* val);
typedef ci_error_code (*ci_write_register_fn)(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr,
                                              ci_u32 val);
typedef ci_error_code (*ci_read_registers_fn)(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr,
                                              ci_u32 numRegs, ci_u32* vals);
typedef ci_error_code (*ci_write_registers_fn)(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr,
                                               ci_u32 numRegs, ci_u32* vals);
typedef ci_error_code (*ci_grab_frame_fn)(ci_camera_t* camera, ci_u8* buffer, ci_u32 bufferSize);
typedef ci_error_code (*ci_get_frame_data_fn)(ci_camera_t* camera, ci_frame_data_t* frameData);
typedef ci_error_code (*ci_update_frame_size_fn)(ci_camera_t* camera, ci_u32 width, ci_u32 height,
                                                 ci_s32 nBitsPerClock, ci_s32 nClocksPerPixel);
typedef ci_error_code (*ci_update_buffer_size_fn)(ci_camera_t* camera, ci_u32 rawBufferSize);
typedef ci_error_code (*ci_set_mode_fn)(ci_camera_t* camera, ci_modes mode, ci_u32 val);
typedef ci_error_code (*ci_get_mode_fn)(ci_camera_t* camera, ci_modes mode, ci_u32* val);
typedef ci_error_code (*ci_init_transport_fn)(ci_camera_t* camera, ci_u32 bitsPerClock,
                                              ci_u32 clocksPerPixel, ci_s32 polarity,
                                              ci_s32 pixelOffset, ci_s32 noFWCalls);

struct ci_camera_t {
    ci_product_ids productID;
    ci_u32 productVersion;
    ci_string productName;
    ci_u32 firmwareVersion;
    ci_string transportName;
    ci_u32 transportType;
    void* context;
    ci_sensor_t* sensor;
    ci_s32 num_chips;
    ci_chip_t* chip;
    void* int_dev_functions;
    ci_start_transport_fn startTransport;
    ci_stop_transport_fn stopTransport;
    ci_read_sensor_registers_fn readSensorRegisters;
    ci_write_sensor_registers_fn writeSensorRegisters;
    void* _reserved0;
    ci_read_register_fn readRegister;
    ci_write_register_fn writeRegister;
    ci_read_registers_fn readRegisters;
    ci_write_registers_fn writeRegisters;
    ci_grab_frame_fn grabFrame;
    ci_get_frame_data_fn getFrameData;
    ci_update_frame_size_fn updateFrameSize;
    ci_update_buffer_size_fn updateBufferSize;
    ci_set_mode_fn setMode;
    ci_get_mode_fn getMode;
    ci_init_transport_fn initTransport;
};

/* ------------------------------------------------------------------------ */
/* Library                                                                  */
/* ------------------------------------------------------------------------ */

/* "major.minor.patch" of the library that is loaded. */
CI_API const char* ci_GetVersionString(void);

/* ------------------------------------------------------------------------ */
/* Camera life cycle, modes and transport operations                        */
/* ------------------------------------------------------------------------ */

CI_API const char* ci_Home(void);
CI_API const char* ci_SensorData(void);
CI_API ci_error_code ci_OpenCameras2(ci_camera_t** cameras, ci_s32* numCameras, const char* sensorDirOrFile,
                                     ci_u32 transportMask, const char* pluginName);
CI_API ci_error_code ci_OpenCameras(ci_camera_t** cameras, ci_s32* numCameras, const char* sensorDirOrFile);
CI_API void ci_CloseCameras(void);
CI_API void ci_CloseCameras2(ci_camera_t** cameras, ci_s32 numCameras);
CI_API void ci_CancelProbe(void);
CI_API void ci_InitCameraContext(ci_camera_t* camera);
CI_API void ci_FreeCameraContext(ci_camera_t* camera);
CI_API void ci_EnterThread(void);
CI_API void ci_ExitThread(void);
CI_API ci_error_code ci_setMode(ci_camera_t* camera, ci_modes mode, ci_u32 val);
CI_API ci_error_code ci_getMode(ci_camera_t* camera, ci_modes mode, ci_u32* val);
CI_API const char* ci_GetDriverInfoString(ci_camera_t* camera);

CI_API ci_error_code ci_startTransport(ci_camera_t* camera);
CI_API ci_error_code ci_stopTransport(ci_camera_t* camera);
CI_API ci_error_code ci_readSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr,
                                            ci_u32 numRegs, ci_u32* vals);
CI_API ci_error_code ci_writeSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr,
                                             ci_u32 numRegs, ci_u32* vals);
CI_API ci_error_code ci_readRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32* val);
CI_API ci_error_code ci_writeRegister(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 regAddr, ci_u32 val);
CI_API ci_error_code ci_readRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                      ci_u32* vals);
CI_API ci_error_code ci_writeRegisters(ci_camera_t* camera, ci_u32 shipAddr, ci_u32 startAddr, ci_u32 numRegs,
                                       ci_u32* vals);
CI_API ci_error_code ci_grabFrame(ci_camera_t* camera, ci_u8* buffer, ci_u32 bufferSize);
CI_API ci_error_code ci_getFrameData(ci_camera_t* camera, ci_frame_data_t* frameData);
CI_API ci_error_code ci_updateFrameSize(ci_camera_t* camera, ci_u32 width, ci_u32 height, ci_s32 nBitsPerClock,
                                        ci_s32 nClocksPerPixel);
CI_API ci_error_code ci_updateBufferSize(ci_camera_t* camera, ci_u32 rawBufferSize);
CI_API ci_error_code ci_initTransport(ci_camera_t* camera, ci_u32 bitsPerClock, ci_u32 clocksPerPixel,
                                      ci_s32 polarity, ci_s32 pixelOffset, ci_s32 noFWCalls);
CI_API ci_error_code ci_readSystemRegisters(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace,
                                            ci_u32 startAddr, ci_u32 dataSize, ci_u32 count, ci_u32* vals);
CI_API ci_error_code ci_writeSystemRegisters(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace,
                                             ci_u32 startAddr, ci_u32 dataSize, ci_u32 count, ci_u32* vals);
CI_API ci_error_code ci_sendCommand(ci_camera_t* camera, ci_u32 command, ci_u32 paramSize,
                                    const ci_u8* paramBuffer, ci_u32* statusCode, ci_u32 resultSize,
                                    ci_u8* resultBuffer, ci_u32* bytesReturned);

/* ------------------------------------------------------------------------ */
/* Sensor identification                                                    */
/* ------------------------------------------------------------------------ */

CI_API ci_s32 ci_DetectSensorBaseAddr(ci_camera_t* camera);
CI_API ci_s32 ci_DetectPartNumber(ci_camera_t* camera);

/* ------------------------------------------------------------------------ */
/* Image types                                                              */
/* ------------------------------------------------------------------------ */

/* text must hold at least 13 characters */
CI_API ci_error_code ci_GetImageTypeStr(ci_image_types type, char* text);
CI_API ci_s32 ci_IsBayerImageType(ci_image_types type);
CI_API ci_s32 ci_IsYcbcrImageType(ci_image_types type);
CI_API ci_s32 ci_IsJpegImageType(ci_image_types type);
CI_API ci_s32 ci_IsBayer(ci_camera_t* camera);
CI_API ci_s32 ci_IsSOC(ci_camera_t* camera);
CI_API ci_s32 ci_IsArrayImager(ci_camera_t* camera);
CI_API ci_s32 ci_IsFarSpace(const ci_addr_space_val_t* space);
/* The address-space values last selected for reads and for writes
 * (0xFFFFFFFF when unknown, 0 for a sensor without address spaces). */
CI_API ci_error_code ci_CurrentAddrSpace(ci_camera_t* camera, ci_u32* readSpace, ci_u32* writeSpace);

/* ------------------------------------------------------------------------ */
/* Error log                                                                */
/* ------------------------------------------------------------------------ */

CI_API void ci_OpenErrorLog(ci_s32 errorlog_level, const char* fileName);
CI_API void ci_CloseErrorLog(void);
/* out must hold CI_STRING_LEN characters */
CI_API void ci_GetErrorLogFileName(char* fileName);
CI_API ci_s32 ci_isInfoLogEnabled(void);
CI_API ci_s32 ci_isDebugLogEnabled(void);
CI_API const ci_errorMsg* ci_getErrorMsg(ci_error_code code);
CI_API const char* ci_getErrorMessage(ci_error_code code);
CI_API const char* ci_getErrorSymbol(ci_error_code code);
CI_API ci_error_code ci_Errorlog(ci_error_code errorcode, ci_s32 errorlevel_in, const char* logMsg,
                                 const char* szSource, const char* szFunc, ci_s32 nLine);
CI_API void ci_Msglog(ci_s32 logType, const char* logMsg, const char* szSource, const char* szFunc,
                      ci_s32 nLine);

/* ------------------------------------------------------------------------ */
/* Data types of register values                                            */
/* ------------------------------------------------------------------------ */

CI_API const char* ci_GetDataTypeString(ci_data_types dataType);
CI_API ci_data_types ci_DataTypeFromString(const char* pszStr);
CI_API double ci_Int2Double(ci_data_types dataType, ci_u32 val, ci_u32 mask);
CI_API ci_u32 ci_Double2Int(ci_data_types dataType, double d, ci_u32 mask);
CI_API ci_s32 ci_Int2Str(ci_data_types dataType, ci_u32 val, ci_u32 mask, char* pszStr, ci_s32 bufferLen);
CI_API ci_u32 ci_Str2Int(ci_data_types dataType, const char* pszStr, ci_u32 mask);
CI_API double ci_Str2Double(ci_data_types dataType, const char* pszStr, ci_u32 mask);
CI_API ci_s32 ci_Double2Str(ci_data_types dataType, double d, ci_u32 mask, char* pszStr, ci_s32 bufferLen);
CI_API double ci_DataTypeMinimum(ci_data_types dataType, ci_u32 mask);
CI_API double ci_DataTypeMaximum(ci_data_types dataType, ci_u32 mask);
CI_API double ci_DataTypeStep(ci_data_types dataType, ci_u32 mask);

/* ------------------------------------------------------------------------ */
/* Sensor descriptions                                                      */
/* ------------------------------------------------------------------------ */

CI_API ci_error_code ci_ParseSensorFile(ci_camera_t* camera, const char* fileName, ci_sensor_t* sensor);
/* Writes the camera's sensor description and the identification data read
   with it: the XML form for a name ending in ".xsdat", the sectioned text
   form for ".sdat".  Reading the file back gives the same records. */
CI_API ci_error_code ci_WriteSensorFile(ci_camera_t* camera, const char* fileName);
CI_API void ci_DestructSensor(ci_sensor_t* sensor);
/* Reads the camera's sensor data file again (after it was edited): the new
   description replaces the old one only when the file parses, and the
   register cache starts over for it (every entry invalid); CI_CAMERA_SUCCESS.
   On failure the old description stays and the parser's code is returned. */
CI_API ci_error_code ci_RefreshSensorFile(ci_camera_t* camera);
/* Reads a chip file (a board part described like a sensor) into chip. */
CI_API ci_error_code ci_ParseChipFile(ci_camera_t* camera, const char* fileName, ci_chip_t* chip);

/* ------------------------------------------------------------------------ */
/* Register lookup                                                          */
/* ------------------------------------------------------------------------ */

CI_API ci_reg_data_t* ci_FindRegister(ci_camera_t* camera, const char* regName);
CI_API ci_bitfield_t* ci_FindBitfield(ci_camera_t* camera, const char* regName, const char* bitfieldName);
CI_API ci_s32 ci_ExistsRegister(ci_camera_t* camera, const char* regName);
CI_API ci_s32 ci_ExistsBitfield(ci_camera_t* camera, const char* regName, const char* bitfieldName);
CI_API ci_s32 ci_ExistsRegister2(ci_camera_t* camera, ci_s32 chip, const char* regName);
CI_API ci_s32 ci_ExistsBitfield2(ci_camera_t* camera, ci_s32 chip, const char* regName,
                                 const char* bitfieldName);
CI_API ci_reg_data_t* ci_FindRegister2(ci_camera_t* camera, ci_s32 chip, const char* regName);
CI_API ci_bitfield_t* ci_FindBitfield2(ci_camera_t* camera, ci_s32 chip, const char* regName,
                                       const char* bitfieldName);
CI_API ci_s32 ci_FindChip(ci_camera_t* camera, const char* chipName);
CI_API ci_reg_data_t* ci_FindRegisterAddr(ci_camera_t* camera, ci_u32 regAddr, ci_u32 addrSpace,
                                          ci_addr_type addrType);
CI_API ci_reg_data_t* ci_FindRegisterWildcard(ci_camera_t* camera, const char* pattern, ci_s32* position);
CI_API ci_error_code ci_GetLongDescription(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                           char* buffer, ci_s32 bufferLen);

/* ------------------------------------------------------------------------ */
/* Register read and write                                                  */
/* ------------------------------------------------------------------------ */

CI_API ci_error_code ci_ReadSensorReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val);
CI_API ci_error_code ci_WriteSensorReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val);
CI_API ci_error_code ci_ReadSensorRegs(ci_camera_t* camera, ci_s32 numRegs, ci_reg_data_t** regs, ci_u32* vals,
                                       ci_error_code* results);
CI_API ci_error_code ci_WriteSensorRegs(ci_camera_t* camera, ci_s32 numRegs, ci_reg_data_t** regs,
                                        ci_u32* vals, ci_error_code* results);
CI_API ci_error_code ci_ReadSensorRegAddr(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace,
                                          ci_u32 regAddr, ci_s32 is8, ci_u32* val);
CI_API ci_error_code ci_WriteSensorRegAddr(ci_camera_t* camera, ci_addr_type addrType, ci_u32 addrSpace,
                                           ci_u32 regAddr, ci_s32 is8, ci_u32 val);
CI_API ci_error_code ci_ReadSensorRegsAddr(ci_camera_t* camera, ci_s32 numRegs, ci_addr_type* addrTypes,
                                           ci_u32* addrSpaces, ci_u32* regAddrs, ci_s32* is8s, ci_u32* vals,
                                           ci_error_code* results);
CI_API ci_error_code ci_WriteSensorRegsAddr(ci_camera_t* camera, ci_s32 numRegs, ci_addr_type* addrTypes,
                                            ci_u32* addrSpaces, ci_u32* regAddrs, ci_s32* is8s, ci_u32* vals,
                                            ci_error_code* results);
CI_API ci_error_code ci_ReadSensorRegStr(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                         ci_u32* val);
CI_API ci_error_code ci_WriteSensorRegStr(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                          ci_u32 val);
CI_API ci_error_code ci_ReadSensorRegsStr(ci_camera_t* camera, ci_s32 numRegs, const char** regNames,
                                          const char** bitfieldNames, ci_u32* vals, ci_error_code* results);
CI_API ci_error_code ci_WriteSensorRegsStr(ci_camera_t* camera, ci_s32 numRegs, const char** regNames,
                                           const char** bitfieldNames, ci_u32* vals, ci_error_code* results);
CI_API ci_u32 ci_GetAddrIncrement(ci_camera_t* camera, ci_addr_type addrType);

/* ------------------------------------------------------------------------ */
/* Microcontroller variables, SFRs, indirect and far registers              */
/* ------------------------------------------------------------------------ */

CI_API ci_s32 ci_McuDirectStyle(ci_camera_t* camera);
CI_API ci_s32 ci_McuAddrStyle(ci_camera_t* camera);
CI_API ci_error_code ci_ReadVar(ci_camera_t* camera, ci_u32 driver, ci_u32 offset, ci_s32 is8, ci_u32* val);
CI_API ci_error_code ci_ReadVars(ci_camera_t* camera, ci_u32 driver, ci_u32 firstOffset, ci_u32 endOffset,
                                 ci_s32 is8, ci_u32* vals);
CI_API ci_error_code ci_WriteVar(ci_camera_t* camera, ci_u32 driver, ci_u32 offset, ci_s32 is8, ci_u32 val);
CI_API ci_error_code ci_WriteVarBurst(ci_camera_t* camera, ci_u32 driver, ci_u32 firstOffset, ci_u32 count,
                                      ci_s32 is8, ci_u32* vals);
CI_API ci_error_code ci_ReadSfr(ci_camera_t* camera, ci_u32 space, ci_u32 offset, ci_s32 is8, ci_u32* val);
CI_API ci_error_code ci_ReadSfrs(ci_camera_t* camera, ci_u32 space, ci_u32 firstOffset, ci_u32 endOffset,
                                 ci_s32 is8, ci_u32* vals);
CI_API ci_error_code ci_WriteSfr(ci_camera_t* camera, ci_u32 space, ci_u32 offset, ci_s32 is8, ci_u32 val);
CI_API ci_error_code ci_WriteSfrBurst(ci_camera_t* camera, ci_u32 space, ci_u32 firstOffset, ci_u32 count,
                                      ci_s32 is8, ci_u32* vals);
CI_API ci_error_code ci_ReadInd(ci_camera_t* camera, ci_u32 offset, ci_u32* val);
CI_API ci_error_code ci_ReadInds(ci_camera_t* camera, ci_u32 firstOffset, ci_u32 endOffset, ci_u32* vals);
CI_API ci_error_code ci_WriteInd(ci_camera_t* camera, ci_u32 offset, ci_u32 val);
CI_API ci_error_code ci_ProbeFarBus(ci_camera_t* camera);
/* Registers of the far sensors, addressed by far bus (CI_FAR1_REG_ADDR or
 * CI_FAR2_REG_ADDR) and register address. */
CI_API ci_error_code ci_ReadFarReg(ci_camera_t* camera, ci_addr_type farType, ci_u32 regAddr, ci_u32* val);
CI_API ci_error_code ci_ReadFarRegs(ci_camera_t* camera, ci_addr_type farType, ci_u32 startAddr, ci_u32 count,
                                    ci_u32* vals);
CI_API ci_error_code ci_WriteFarReg(ci_camera_t* camera, ci_addr_type farType, ci_u32 regAddr, ci_u32 val);

/* ------------------------------------------------------------------------ */
/* Register cache                                                           */
/* ------------------------------------------------------------------------ */

CI_API ci_s32 ci_GetRegCacheValueReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* val);
CI_API void ci_InvalidateRegCacheReg(ci_camera_t* camera, ci_reg_data_t* reg);
CI_API void ci_InvalidateRegCacheRegName(ci_camera_t* camera, const char* regName);
CI_API void ci_InvalidateRegCache(ci_camera_t* camera);
CI_API void ci_SetVolatileRegStr(ci_camera_t* camera, const char* regName);

/* ------------------------------------------------------------------------ */
/* Presets and PROM calibration                                             */
/* ------------------------------------------------------------------------ */

/* A preset line a transport or the application may handle: (camera, key,
 * value) -> CI_INI_HANDLED_SUCCESS or CI_INI_HANDLED_ERROR when it took the
 * line, anything else (CI_INI_NOT_HANDLED) to leave it to the library. */
typedef ci_error_code (*ci_ini_command_fn)(ci_camera_t* camera, const char* key, const char* value);

/* Runs the preset (INI section) presetName of iniFileName; a null or empty
 * file name means the camera's default preset file, a null or empty preset
 * name "Kite Initialization".  CI_INI_SUCCESS unless the preset cannot be
 * found or nests too deep; the outcome of each line goes to the error log. */
CI_API ci_error_code ci_LoadINIPreset(ci_camera_t* camera, const char* iniFileName, const char* presetName);
/* The default preset file of the camera's sensor, into buffer. */
CI_API ci_error_code ci_DefaultIniFile(ci_camera_t* camera, char* buffer, ci_s32 bufferLen);
/* The application's preset command handler (null removes it). */
CI_API ci_error_code ci_SetIniCommandHandler(ci_camera_t* camera, ci_ini_command_fn handler);

/* What became of one preset line, as reported to a line observer. */
typedef enum ci_ini_outcome {
    CI_INI_LINE_DONE = 0,           /* executed (result CI_INI_SUCCESS or a handler's success) */
    CI_INI_LINE_FAILED = 1,         /* executed and failed: result and message say why */
    CI_INI_LINE_SKIPPED = 2,        /* not executed (no value, or after ERROR_IF stopped the section) */
    CI_INI_LINE_NOT_SUPPORTED = 3,  /* a keyword the library does not execute */
    _CI_INI_OUTCOME_32BIT = 0x7FFFFFFF
} ci_ini_outcome;
/* Called after each line of every section a preset runs (nested ones
 * included, depth 0 for the outer one). */
typedef void (*ci_ini_line_fn)(void* user, ci_camera_t* camera, const char* section, ci_s32 depth,
                               const char* line, ci_ini_outcome outcome, ci_error_code result,
                               const char* message);
/* Sets the line observer of the calling thread (null removes it). */
CI_API void ci_SetIniLineObserver(ci_ini_line_fn observer, void* user);

/* Calibration records of the serial PROM at bus address promAddr; a null
 * label takes the first record of the kind. */
CI_API ci_error_code ci_LoadPromLensCalibration(ci_camera_t* camera, ci_u32 promAddr, const char* label);
CI_API ci_error_code ci_LoadPromColorCorrection(ci_camera_t* camera, ci_u32 promAddr, const char* label);
CI_API ci_error_code ci_LoadPromScratchpad(ci_camera_t* camera, ci_u32 promAddr, const char* label,
                                           ci_u32 destinationTag);

#ifdef __cplusplus
}
#endif

#endif /* CAMKIT_H */
