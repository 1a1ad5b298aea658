// LOAD_PROM = PROM bus address, LOAD TYPE[, label[, destination tag]]
//   LENS        the lens-calibration record (register settings)
//   CCM         the colour-correction record (register settings)
//   SCRATCHPAD  the scratchpad record (needs the destination tag)
// An empty or missing label takes the first record of the type.
#define CK_SOURCE "camkit_ini"
#include "presets/presets_internal.h"

ci_error_code _CmdLoadProm(PresetRun& run, ciTKey, const std::string& value) {
    const std::vector<std::string> ops = _operands(value);
    if (ops.size() < 2 || ops.size() > 4) return ci_ini_error("Error parsing LOAD_PROM command", run.line);
    ci_u32 bus = 0, tag = 0;
    if (!_Str2Int(ops[0], &bus) || bus > 0xFF || (ops.size() == 4 && !_Str2Int(ops[3], &tag))) {
        return ci_ini_error("Invalid value in LOAD_PROM Command", run.line);
    }
    const char* label = ops.size() >= 3 && !ops[2].empty() ? ops[2].c_str() : nullptr;
    const std::string& type = ops[1];
    ci_error_code rc;
    if (osal_stricmp(type.c_str(), "LENS") == 0) {
        rc = ci_LoadPromLensCalibration(run.camera, bus, label);
    } else if (osal_stricmp(type.c_str(), "CCM") == 0) {
        rc = ci_LoadPromColorCorrection(run.camera, bus, label);
    } else if (osal_stricmp(type.c_str(), "SCRATCHPAD") == 0) {
        if (ops.size() != 4) return ci_ini_error("Error parsing LOAD_PROM command", run.line);
        rc = ci_LoadPromScratchpad(run.camera, bus, label, tag);
    } else {
        return ci_ini_error("Unknown load type (second parameter) in LOAD_PROM Command", run.line);
    }
    return rc == CI_INI_SUCCESS ? CI_INI_SUCCESS : rc;
}
