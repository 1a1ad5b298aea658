// SAVE_REGS: the sensor's read-write registers written as a preset that
// restores them, and DATATYPE: a register's or bitfield's data type changed
// for this run of the library.
//
// SAVE_REGS = file name[, title] writes
//   [Saved Registers TITLE]          (TITLE: the sensor's name when not given)
//   FIELD_WR= NAME, 0xVALUE          one line per read-write register
// to the file, or, when a file of that name exists, to the next free
// numbered name (regs.ini: regs0.ini, regs1.ini ...).  A register that cannot
// be read is written as a comment.
#define CK_SOURCE "camkit_ini"
#include <sys/stat.h>

#include <cstdio>

#include "presets/presets_internal.h"

namespace {

bool exists(const char* path) {
    struct stat st;
    return stat(path, &st) == 0;
}

bool saved(const ci_reg_data_t& reg) {
    return reg.rw == 1 && reg.unique_desc[0] != '\0';
}

void writeRegisters(ci_camera_t* camera, FILE* file) {
    ci_sensor_t* sensor = camera->sensor;
    for (ci_s32 i = 0; i < sensor->num_regs; ++i) {
        ci_reg_data_t& reg = sensor->regs[i];
        if (!saved(reg)) continue;
        ci_u32 v = 0;
        const ci_error_code rc = ci_ReadSensorReg(camera, &reg, &v);
        if (rc == CI_CAMERA_SUCCESS) {
            fprintf(file, "FIELD_WR= %s, 0x%X\n", reg.unique_desc, v);
        } else {
            fprintf(file, "// %s not read: %s\n", reg.unique_desc, ci_getErrorSymbol(rc));
        }
    }
}

}  // namespace

ci_error_code _CmdSaveRegs(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    if (ops[0].empty() || ops.size() > 2) return ci_ini_error("No filename in SAVE_REGS command", run.line);
    char name[CI_MAX_PATH];
    snprintf(name, sizeof name, "%s", ops[0].c_str());
    if (exists(name)) _nextFileN(name, sizeof name);
    FILE* file = run.camera->sensor ? fopen(name, "w") : nullptr;
    if (!file) return ci_ini_error("SAVE_REGS couldn't open file", run.line);
    const std::string title = ops.size() == 2 ? ops[1] : std::string(run.camera->sensor->sensorName);
    fprintf(file, "[Saved Registers %s]\n", title.c_str());
    writeRegisters(run.camera, file);
    if (fclose(file) != 0) return ci_ini_error("SAVE_REGS couldn't open file", run.line);
    return CI_INI_SUCCESS;
}

// DATATYPE = REGISTER[, BITFIELD], TYPE
ci_error_code _CmdDataType(PresetRun& run, ciTKey, const std::string& value) {
    std::vector<std::string> ops = _operands(value);
    if (ops.size() < 2 || ops.size() > 3) return ci_ini_error("Error parsing DATATYPE command", run.line);
    const ci_data_types type = ci_DataTypeFromString(ops.back().c_str());
    if (type == CI_UNKNOWN_DATA_TYPE) return ci_ini_error("Unknown data type keyword in DATATYPE command", run.line);
    ops.pop_back();
    NamedTarget target;
    if (!_namedTarget(run.camera, ops, &target)) {
        return ci_ini_error(ops.size() == 1 ? "Unknown register name in DATATYPE command"
                                            : "Unknown register/bitfield name in DATATYPE command",
                            run.line);
    }
    if (target.field) {
        target.field->datatype = type;
    } else {
        target.reg->datatype = type;
    }
    return CI_INI_SUCCESS;
}
