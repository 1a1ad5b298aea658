// Internal helpers shared by the microcontroller access files (variables,
// SFRs, indirect registers, far bus).  Everything here expects the camera's
// register lock to be held.
#pragma once

#include "regs/regs_internal.h"

// Access widths are in bytes: 1, 2 or 4 (an argument of 0 means 2).
// Returns 0 for an unusable width argument.
ci_s32 _mcuWidth(ci_s32 is8);
ci_u32 _mcuWidthMask(ci_s32 width);

// Cached single read shared by the variable, SFR and indirect paths.  Probes
// the cache by record when reg is given, otherwise at (type, space, addr).
// Returns 1 and sets *rc when the read is answered (a hit, or a miss in
// cache-only mode), 0 when the device must be read.
int _mcuCacheProbe(ci_camera_t* camera, ci_reg_data_t* reg, ci_addr_type type, ci_u32 space, ci_u32 addr,
                   ci_u32* val, ci_error_code* rc);

// Number of values in [first, end) at the given width (rounded up).
ci_u32 _mcuCount(ci_u32 first, ci_u32 end, ci_s32 width);

// A register of the sensor description by name (no log when absent).
ci_reg_data_t* _mcuReg(ci_camera_t* camera, const char* name);
// The same for a protocol register that must exist: a miss is logged.
ci_reg_data_t* _mcuRequire(ci_camera_t* camera, const char* name);
// The sensor type and version tests used by the protocols.
int _mcuIsType54v1(ci_camera_t* camera);
// Write a plain register through the read/write core (cached and tracked).
ci_error_code _mcuWriteNamed(ci_camera_t* camera, const char* name, ci_u32 val);

// ---------------------------------------------------------------------------
// The address/data port of the indirect MCU generations (styles 16, 44, 54).
// A port is opened for one kind of target (variables of a driver, or SFRs
// of a space); select() points the MCU at an offset, read()/write() move one
// value through the data register, endByteAccess() undoes the byte-access
// mode where the sensor needs it.
// ---------------------------------------------------------------------------
struct McuPort {
    ci_s32 style;
    ci_addr_type type;          // CI_MCU_ADDR or CI_SFR_ADDR
    ci_u32 space;               // driver (variables) or space (SFRs)
    ci_reg_data_t* ctl;         // "ACCESS_CTL_STAT" (SFRs in styles 44, 54), else nullptr
    ci_reg_data_t* addr;        // address register
    ci_reg_data_t* data;        // data register
    const char* byteField;      // byte-access bitfield of the address register
};

// Fills *port; CI_CAMERA_ERROR (logged) when the style has no such port or
// a protocol register is missing.
ci_error_code _mcuPortOpen(ci_camera_t* camera, ci_s32 style, ci_addr_type type, ci_u32 space, McuPort* port);
ci_u32 _mcuPortAddressWord(const McuPort* port, ci_u32 offset, ci_s32 width);
ci_error_code _mcuPortSelect(ci_camera_t* camera, const McuPort* port, ci_u32 offset, ci_s32 width);
ci_error_code _mcuPortWrite(ci_camera_t* camera, const McuPort* port, ci_s32 width, ci_u32 value);
ci_error_code _mcuPortRead(ci_camera_t* camera, const McuPort* port, ci_s32 width, ci_u32* value);
void _mcuPortEndByteAccess(ci_camera_t* camera, const McuPort* port, ci_s32 width);

// Reads count values one by one through the port (address write, data read),
// caching each at (type, space, offset).  Errors accumulate and end the run.
ci_error_code _mcuPortReadRun(ci_camera_t* camera, const McuPort* port, ci_u32 first, ci_u32 count,
                              ci_s32 width, ci_u32* vals);
// One value through the port: select, write, end byte access, cache.
ci_error_code _mcuPortWriteOne(ci_camera_t* camera, const McuPort* port, ci_u32 offset, ci_s32 width,
                               ci_u32 value);
// Burst through the port in chunks of at most 16 bytes; a single byte left
// over goes through _mcuPortWriteOne (its result ignored).  Returns the
// last chunk's result; no cache update.
ci_error_code _mcuPortBurst(ci_camera_t* camera, const McuPort* port, ci_u32 first, ci_u32 count, ci_s32 width,
                            ci_u32* vals);

// ---------------------------------------------------------------------------
// The directly mapped window of style 55 (bit 15 of the register address).
// ---------------------------------------------------------------------------
ci_u32 _mcuMappedVarAddr(ci_u32 driver, ci_u32 offset);
ci_u32 _mcuMappedSfrAddr(ci_u32 offset);
// Switch the window to logical (variable) space unless it already is.
ci_error_code _mcuSelectLogical(ci_camera_t* camera, ci_u32 mapped);
// Switch the window to physical space, region and address bit 15 of offset.
ci_error_code _mcuSelectPhysical(ci_camera_t* camera, ci_u32 space, ci_u32 offset);

// ---------------------------------------------------------------------------
// The advanced-base window of style 71 (4 KiB at 0xE000).
// ---------------------------------------------------------------------------
#define CK_ADV_WINDOW 0xE000u
#define CK_ADV_PAGE 0x1000u
// Transfers count SFR values from offset first in page-bounded chunks;
// write != 0 writes vals, else reads into vals.  An error ends the run.
ci_error_code _mcuAdvTransfer(ci_camera_t* camera, ci_u32 first, ci_u32 count, ci_s32 width, ci_u32* vals,
                              int write);

// ---------------------------------------------------------------------------
// Caching helpers.
// ---------------------------------------------------------------------------
// Stores count values at (type, space, first + i * width).
void _mcuCacheRun(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                  ci_s32 width, const ci_u32* vals);

// ---------------------------------------------------------------------------
// One access to variables (type CI_MCU_ADDR, space = driver) or SFRs
// (CI_SFR_ADDR, space = SFR space), dispatched by the sensor's MCU style
// after the transport's system-register path had its chance.  Widths are
// already validated.
// ---------------------------------------------------------------------------
ci_error_code _mcuRead(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                       ci_s32 width, ci_u32* vals);
ci_error_code _mcuWrite(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 offset, ci_s32 width,
                        ci_u32 value);
ci_error_code _mcuBurst(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 first, ci_u32 count,
                        ci_s32 width, ci_u32* vals);

// ---------------------------------------------------------------------------
// The sensor's own two-wire bus master (camkit_far_master.cpp).  Sends
// txCount bytes to the 8-bit bus address base, then, when rxCount is not 0,
// reads rxCount bytes back.  CI_CAMERA_NOT_SUPPORTED when the sensor has no
// master registers.
// ---------------------------------------------------------------------------
#define CK_FAR_MAX_TX 8u
#define CK_FAR_MAX_RX 4u
// The register-like far address types.
inline bool _farIsRegType(ci_addr_type type) {
    return type == CI_FAR1_REG_ADDR || type == CI_FAR2_REG_ADDR;
}
ci_error_code _farMasterTransfer(ci_camera_t* camera, ci_u32 base, const ci_u8* tx, ci_u32 txCount, ci_u8* rx,
                                 ci_u32 rxCount);
