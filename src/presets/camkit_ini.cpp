// Running a preset: the section's lines in order, each offered to the
// transport's and the application's command handlers before the built-in
// commands.
#define CK_SOURCE "camkit_ini"
#include <cstring>

#include "presets/presets_internal.h"

namespace {

constexpr ci_s32 kMaxDepth = 16;
constexpr const char* kDefaultPreset = "Kite Initialization";

bool handledBy(ci_ini_command_fn handler, PresetRun& run, const char* key, const char* value) {
    if (!handler) return false;
    const ci_error_code rc = handler(run.camera, key, value);
    if (rc != CI_INI_HANDLED_SUCCESS && rc != CI_INI_HANDLED_ERROR) return false;
    _reportLine(run, rc == CI_INI_HANDLED_SUCCESS ? CI_INI_LINE_DONE : CI_INI_LINE_FAILED, rc);
    return true;
}

ci_ini_outcome outcomeOf(ci_error_code rc, const PresetRun& run) {
    if (rc == CI_INI_KEY_NOT_SUPPORTED) return CI_INI_LINE_NOT_SUPPORTED;
    const bool ok = rc == CI_INI_SUCCESS || rc == CI_CAMERA_SUCCESS;
    return ok && run.firstFailure == CI_CAMERA_SUCCESS ? CI_INI_LINE_DONE : CI_INI_LINE_FAILED;
}

ci_error_code notSupported(PresetRun& run) {
    _setLastIniMessage("Key Not Supported - ignored");
    char message[1200];
    snprintf(message, sizeof message, "Key Not Supported - ignored: %s", run.line);
    CK_ERR(CI_INI_KEY_NOT_SUPPORTED, message);
    return CI_INI_KEY_NOT_SUPPORTED;
}

// Runs one "key=value" line; returns false when the section is to stop.
bool runLine(PresetRun& run, char* line) {
    char* eq = strchr(line, '=');
    if (!eq) return true;
    // Section lines come cleaned: no blanks in the key, none around the value.
    const std::string key(line, (size_t)(eq - line));
    const std::string value(eq + 1);
    run.line = line;
    run.firstFailure = CI_CAMERA_SUCCESS;
    _setLastIniMessage("");
    if (value.empty()) {
        _reportLine(run, CI_INI_LINE_SKIPPED, CI_INI_SUCCESS);
        return true;
    }
    _common_context_t* ctx = _ctx(run.camera);
    if (handledBy(ctx->transportIniCommand, run, key.c_str(), value.c_str())) return true;
    if (handledBy(ctx->appIniCommand, run, key.c_str(), value.c_str())) return true;
    const ciTKey k = _Str2Key(key.c_str());
    if (k == KEY_EMPTY) return true;
    PresetCommand handler = _keyHandler(k);
    ci_error_code rc = handler ? handler(run, k, value) : notSupported(run);
    if (k == KEY_ERROR_IF) {
        // ERROR_IF answers 0 when its condition holds (the section stops)
        // and 1 when it does not.
        if (rc == 0) {
            _reportLine(run, CI_INI_LINE_FAILED, CI_INI_LOAD_ERROR);
            return false;
        }
        if (rc == 1) rc = CI_INI_SUCCESS;
    }
    // A register failure inside a command that went on is what the line reports.
    const bool wentOn = rc == CI_INI_SUCCESS || rc == CI_CAMERA_SUCCESS;
    _reportLine(run, outcomeOf(rc, run), wentOn && run.firstFailure != CI_CAMERA_SUCCESS ? run.firstFailure : rc);
    return true;
}

void reportSkippedRest(PresetRun& run, const char* next) {
    for (const char* p = next; *p; p += strlen(p) + 1) {
        run.line = p;
        _reportLine(run, CI_INI_LINE_SKIPPED, CI_INI_SUCCESS);
    }
}

// Reads the page-select registers once, so that the cached selector values
// match the device before the first line.
void readSelectors(ci_camera_t* camera) {
    const ci_addr_space_t* spaces = camera->sensor ? camera->sensor->addr_space : nullptr;
    if (!spaces || (spaces->reg_addr_read == 0 && spaces->reg_addr_write == 0)) return;
    ci_u32 readSpace = 0, writeSpace = 0;
    ci_CurrentAddrSpace(camera, &readSpace, &writeSpace);
}

}  // namespace

ci_error_code _LoadSection(ci_camera_t* camera, const char* iniFileName, const char* sectionName, ci_s32 depth) {
    const char* section = sectionName ? sectionName : "";
    if (strstr(section, "Python:")) return CI_CAMERA_SUCCESS;
    if (depth >= kMaxDepth) return ci_ini_error("Failed recursive call check", section);
    std::vector<char> buffer;
    const std::string file(iniFileName ? iniFileName : "");
    const ci_error_code found = _getSensorIniSection(file, section, buffer);
    if (found != CI_INI_SUCCESS) return found;
    readSelectors(camera);
    PresetRun run{camera, file, section, depth, 0, nullptr, CI_CAMERA_SUCCESS};
    for (char* line = buffer.data(); *line; line += strlen(line) + 1) {
        if (!runLine(run, line)) {
            reportSkippedRest(run, line + strlen(line) + 1);
            break;
        }
    }
    return CI_INI_SUCCESS;
}

ci_error_code ci_LoadINIPreset(ci_camera_t* camera, const char* iniFileName, const char* presetName) {
    if (!_ctx(camera)) return CK_ERR(CI_CAMERA_ERROR, "No camera");
    const char* preset = presetName && *presetName ? presetName : kDefaultPreset;
    char defaultFile[512];
    if (!iniFileName || !*iniFileName) {
        const ci_error_code rc = ci_DefaultIniFile(camera, defaultFile, (ci_s32)sizeof defaultFile);
        if (rc != CI_CAMERA_SUCCESS) return rc;
        iniFileName = defaultFile;
    }
    return _LoadSection(camera, iniFileName, preset, 0);
}

ci_error_code ci_SetIniCommandHandler(ci_camera_t* camera, ci_ini_command_fn handler) {
    _common_context_t* ctx = _ctx(camera);
    if (!ctx) return CK_ERR(CI_CAMERA_ERROR, "No camera");
    ctx->appIniCommand = handler;
    return CI_CAMERA_SUCCESS;
}
