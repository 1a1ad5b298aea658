// The sensor-type table: model names found in sensor-data files mapped to
// the sensor-type codes whose behaviour the library changes, and the
// page-select register names of the models that select register pages.
// Built-in rows are data (sensor_types.cpp); a sensor-data directory may add
// rows with its sensor_types.txt (sensor_type_file.cpp).
#pragma once

#include <stddef.h>

#include "core/camkit_private.h"

typedef struct sensor_type_row {
    const char* name;
    ci_sensor_types type;
} sensor_type_row;

typedef struct page_select_row {
    ci_sensor_types type;
    const char* readReg;   // page-select register used for reads
    const char* writeReg;  // and for writes
} page_select_row;

extern const sensor_type_row g_sensorTypeRows[];
extern const size_t g_numSensorTypeRows;
extern const page_select_row g_pageSelectRows[];
extern const size_t g_numPageSelectRows;

// What a user row says about the page-select registers of its code.
typedef enum sensor_page_rule {
    PAGE_SELECT_UNCHANGED,  // nothing said: keep what the code has
    PAGE_SELECT_NONE,       // the code selects no pages
    PAGE_SELECT_SET         // the code uses readReg / writeReg
} sensor_page_rule;

// Page-select register names of a sensor type; "" when it has none.
void _pageSelectRegs(ci_sensor_types type, const char** readReg, const char** writeReg);
// Adds a user row; it wins over built-in rows and earlier user rows.
// Returns 0 when it could not be stored.
int _addSensorTypeRow(const char* name, ci_s32 code, sensor_page_rule rule, const char* readReg, const char* writeReg);
// Records that a directory's sensor_types.txt has been looked at; returns 0
// when it had been already.
int _markSensorTypeDir(const char* dir);
// Forgets every user row and loaded directory (for tests).
void _resetSensorTypeRows(void);
