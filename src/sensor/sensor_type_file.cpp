// sensor_types.txt: a sensor-data directory's own additions to the
// sensor-type table.  One row a line:
//     NAME = CODE [, PAGE_SELECT_REG [, PAGE_SELECT_WRITE_REG]]
// NAME may be double-quoted (to hold blanks).  One register name serves
// reads and writes, two name the read and the write register, and the word
// NONE says the code selects no pages.  ';', '#' and "//" start comments;
// blank lines are skipped.  A bad line is reported and skipped.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sensor_types.h"

namespace {

const ci_s32 kTypeLineLimit = 512;

// Cuts a trailing comment ('#', ';' or "//" outside double quotes).
void cut_comment(char* line) {
    bool quoted = false;
    for (char* p = line; *p; ++p) {
        if (*p == '"') quoted = !quoted;
        if (!quoted && (*p == '#' || *p == ';' || (p[0] == '/' && p[1] == '/'))) {
            *p = '\0';
            return;
        }
    }
}

// Model codes are values of ci_sensor_types, whose range ends at 127.
const long long kLastCode = 127;

// A whole number in 0..kLastCode with nothing after it.
bool read_code(const char* text, ci_s32* code) {
    char* end = nullptr;
    errno = 0;
    long long value = strtoll(text, &end, 0);
    if (end == text || errno != 0 || value < 0 || value > kLastCode) return false;
    while (isspace(static_cast<unsigned char>(*end))) ++end;
    if (*end) return false;
    *code = static_cast<ci_s32>(value);
    return true;
}

struct type_line {
    ci_string name;
    ci_s32 code;
    sensor_page_rule rule;
    ci_string readReg;
    ci_string writeReg;
};

// The part after the code: nothing, NONE, one or two register names.
bool read_page_rule(char* text, type_line* row) {
    row->rule = PAGE_SELECT_UNCHANGED;
    if (!text) return true;
    char* second = strchr(text, ',');
    if (second) *second++ = '\0';
    if (!StringCopyandCheckSpace(row->readReg, text)) return false;
    if (!second && osal_stricmp(row->readReg, "NONE") == 0) {
        row->rule = PAGE_SELECT_NONE;
        return true;
    }
    row->rule = PAGE_SELECT_SET;
    if (!second) {
        memcpy(row->writeReg, row->readReg, sizeof row->writeReg);
        return true;
    }
    return strchr(second, ',') == nullptr && StringCopyandCheckSpace(row->writeReg, second);
}

bool read_type_line(char* line, type_line* row) {
    cut_comment(line);
    char* equals = strchr(line, '=');
    if (!equals) return false;
    *equals = '\0';
    extract_string(row->name, sizeof row->name, line);
    if (!row->name[0]) return false;
    char* value = equals + 1;
    char* pages = strchr(value, ',');
    if (pages) *pages++ = '\0';
    return read_code(value, &row->code) && read_page_rule(pages, row);
}

// Adds every good row of the file; bad rows are reported and skipped.
void read_rows(FILE* fp, const char* path) {
    char line[kTypeLineLimit];
    ci_s32 lineNo = 0;
    for (ci_s32 used; (used = get_line(fp, line, kTypeLineLimit)) != 0;) {
        lineNo += used;
        char original[kTypeLineLimit];
        memcpy(original, line, sizeof original);
        if (line[strspn(line, " \t")] == '#') continue;
        type_line row{};
        if (!read_type_line(line, &row)) {
            ci_syntaxerror(CI_SENSOR_FILE_PARSE_ERROR, original, path, lineNo);
            continue;
        }
        if (!_addSensorTypeRow(row.name, row.code, row.rule, row.readReg, row.writeReg)) {
            CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate sensor type row");
            return;
        }
    }
}

}  // namespace

void _loadSensorTypeFile(const char* sensorDir) {
    if (!sensorDir || !sensorDir[0]) return;
    if (!_markSensorTypeDir(sensorDir)) return;
    char path[CI_MAX_PATH + 32];
    size_t len = strlen(sensorDir);
    bool slash = sensorDir[len - 1] == '/';
    if (snprintf(path, sizeof path, "%s%ssensor_types.txt", sensorDir, slash ? "" : "/") >= (int)sizeof path) return;
    FILE* fp = fopen(path, "r");
    if (!fp) return;
    char message[sizeof path + 32];
    snprintf(message, sizeof message, "reading sensor types from %s", path);
    CK_LOG(CI_LOG_DEBUG, message);
    read_rows(fp, path);
    fclose(fp);
}
