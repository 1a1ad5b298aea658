// Fuzz target of the preset runner: each input is the text of a preset file
// (its first section is run when it has one, otherwise the input is run as
// the body of a section) on the null camera, from a private directory where
// nested LOADs find "other.ini" (the same text).  Lines that would wait long
// (DELAY, polls with long delays or many reads), write files or load from
// elsewhere are taken by an application handler instead of running, as is
// every line after the first few thousand of an input.
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "presets/presets_internal.h"

namespace {

std::string g_dir;
ci_camera_t* g_cameras[4];
ci_s32 g_count = 0;

void teardown() {
    ci_CloseCameras2(g_cameras, g_count);
    ci_CloseErrorLog();
    std::error_code ignored;
    std::filesystem::remove_all(g_dir, ignored);
}

ci_camera_t* camera() {
    if (g_dir.empty()) {
        char dir[] = "/tmp/camkit-fuzz-preset-XXXXXX";
        if (!mkdtemp(dir)) abort();
        g_dir = dir;
        ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, (g_dir + "/fuzz.log").c_str());
        const std::string sensor = std::string(CAMKIT_DATA_DIR) + "/sensor_data/ck_bayer16.sdat";
        ci_OpenCameras2(g_cameras, &g_count, sensor.c_str(), CI_TRANSPORT_NULL, "");
        if (g_count < 1) abort();
        atexit(teardown);
    }
    return g_cameras[0];
}

// The number given as KEY=number in value (keys in any case); the largest
// number when it is not one.
ci_u32 namedNumber(const std::string& value, const char* key) {
    std::string upper(value);
    for (char& c : upper) c = (char)toupper((unsigned char)c);
    const size_t at = upper.find(key);
    if (at == std::string::npos) return 0;
    const size_t from = at + strlen(key);
    ci_u32 n = 0;
    return _Str2Int(upper.substr(from, upper.find(',', from) - from), &n) ? n : 0xFFFFFFFFu;
}

// Lines one input may run: nested LOADs and branches can make a small file
// run a great many lines.
constexpr int kLineBudget = 3000;
int g_lines = 0;

ci_error_code guard(ci_camera_t*, const char* key, const char* value) {
    if (++g_lines > kLineBudget) return CI_INI_HANDLED_SUCCESS;
    const ciTKey k = _Str2Key(key);
    const std::string v(value);
    if (k == KEY_DELAY || k == KEY_SAVE_IMAGE || k == KEY_SAVE_REGS || k == KEY_LOAD_PROM) {
        return CI_INI_HANDLED_SUCCESS;
    }
    if (k == KEY_LOAD && v.find('/') != std::string::npos) return CI_INI_HANDLED_SUCCESS;
    const bool poll = k == KEY_POLL_REG || k == KEY_POLL_VAR || k == KEY_POLL_FIELD;
    if (poll && (namedNumber(v, "DELAY=") > 1 || namedNumber(v, "TIMEOUT=") > 3)) return CI_INI_HANDLED_SUCCESS;
    return CI_INI_NOT_HANDLED;
}

std::string firstSection(const std::string& text) {
    const size_t open = text.find('[');
    const size_t close = open == std::string::npos ? open : text.find(']', open);
    if (close == std::string::npos) return "";
    return _trimmed(text.substr(open + 1, close - open - 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ci_camera_t* cam = camera();
    ci_SetIniCommandHandler(cam, guard);
    g_lines = 0;
    std::string text(reinterpret_cast<const char*>(data), size);
    std::string section = firstSection(text);
    if (section.empty()) {
        section = "Fuzz";
        text = "[Fuzz]\n" + text;
    }
    for (const char* name : {"fuzz.ini", "other.ini"}) {
        std::ofstream out(g_dir + "/" + name, std::ios::binary | std::ios::trunc);
        out << text;
    }
    ci_LoadINIPreset(cam, (g_dir + "/fuzz.ini").c_str(), section.c_str());
    return 0;
}
