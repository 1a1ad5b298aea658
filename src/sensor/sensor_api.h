// What the sensor module (register map model, sensor-data readers, chip
// files) offers the other modules.
#pragma once

#include "core/camkit_records.h"

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

