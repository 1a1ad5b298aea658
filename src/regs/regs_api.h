// What the register module (lookup, cache, read/write core, MCU variables,
// SFRs, indirect and far registers) offers the other modules.
#pragma once

#include "core/camkit_records.h"

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

