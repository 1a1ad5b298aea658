// camkit preset / presets / save-regs: run a preset and show what each line
// did, list the presets of a file, save the registers as a preset.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "cli_commands.h"
#include "cli_ini.h"
#include "cli_json_out.h"
#include "cli_report.h"

namespace cli {
namespace {

const char* outcome_word(ci_ini_outcome outcome) {
    switch (outcome) {
        case CI_INI_LINE_DONE: return "ok";
        case CI_INI_LINE_FAILED: return "error";
        case CI_INI_LINE_SKIPPED: return "skipped";
        default: return "not supported";
    }
}

struct PresetRunReport {
    std::string section;  // the section of the last line printed
    ci_s32 depth = -1;
    int failed = 0, done = 0;
};

void print_line(PresetRunReport& report, const char* section, ci_s32 depth, const char* line,
                ci_ini_outcome outcome, ci_error_code result, const char* message) {
    const std::string indent((size_t)depth * 2, ' ');
    if (report.section != section || report.depth != depth) {
        std::printf("%s[%s]\n", indent.c_str(), section);
        report.section = section;
        report.depth = depth;
    }
    if (outcome == CI_INI_LINE_FAILED) {
        std::printf("%s  %-13s %s\n%s                %s: %s\n", indent.c_str(), "error", line, indent.c_str(),
                    ci_getErrorSymbol(result), message);
        return;
    }
    std::printf("%s  %-13s %s\n", indent.c_str(), outcome_word(outcome), line);
}

void on_line(void* user, ci_camera_t*, const char* section, ci_s32 depth, const char* line, ci_ini_outcome outcome,
             ci_error_code result, const char* message) {
    auto* report = static_cast<PresetRunReport*>(user);
    if (outcome == CI_INI_LINE_FAILED) report->failed++;
    if (outcome == CI_INI_LINE_DONE) report->done++;
    if (!json_mode()) {
        print_line(*report, section, depth, line, outcome, result, message);
        return;
    }
    Json entry = Json::object();
    entry.set("section", section);
    entry.set("depth", (int)depth);
    entry.set("line", line);
    entry.set("outcome", outcome_word(outcome));
    if (outcome == CI_INI_LINE_FAILED) {
        entry.set("error", ci_getErrorSymbol(result));
        entry.set("message", message);
    }
    json_result().member("lines", Json::array()).push(std::move(entry));
}

// The preset file: --file, or the default one of the camera's sensor.
bool preset_file(Session& session, const LocalArgs& local, std::string& file, ci_error_code& code) {
    if (local.has("--file")) {
        file = local.value("--file");
        return true;
    }
    char buffer[512];
    code = ci_DefaultIniFile(session.camera, buffer, (ci_s32)sizeof buffer);
    file = buffer;
    return code == CI_CAMERA_SUCCESS;
}

void keep_failure(void* user, ci_camera_t*, const char*, ci_s32, const char*, ci_ini_outcome outcome, ci_error_code,
                  const char* message) {
    if (outcome == CI_INI_LINE_FAILED) *static_cast<std::string*>(user) = message;
}

bool file_exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

}  // namespace

int run_preset(Session& session, const Args& args) {
    LocalArgs local;
    std::string error, file;
    if (!parse_local(args, {{"--file", true}}, local, error)) return report_usage("preset", error);
    if (local.positional.size() != 1) return report_usage("preset", "names one preset");
    ci_error_code code = CI_CAMERA_SUCCESS;
    if (!preset_file(session, local, file, code)) return report_error("preset", code, "no preset file: " + file);
    PresetRunReport report;
    ci_SetIniLineObserver(on_line, &report);
    code = ci_LoadINIPreset(session.camera, file.c_str(), local.positional[0].c_str());
    ci_SetIniLineObserver(nullptr, nullptr);
    if (code != CI_INI_SUCCESS) {
        return report_error("preset " + local.positional[0], code, "cannot run it from " + file);
    }
    if (json_mode()) {
        json_result().set("file", file);
        json_result().set("failed", report.failed);
    } else {
        std::printf("%d line%s done, %d failed\n", report.done, report.done == 1 ? "" : "s", report.failed);
    }
    return report.failed == 0 ? kExitOk : kExitFailed;
}

int run_presets(Session& session, const Args& args) {
    LocalArgs local;
    std::string error, file;
    if (!parse_local(args, {{"--file", true}}, local, error)) return report_usage("presets", error);
    if (!local.positional.empty()) return report_usage("presets", "takes no arguments");
    ci_error_code code = CI_CAMERA_SUCCESS;
    if (!preset_file(session, local, file, code)) return report_error("presets", code, "no preset file: " + file);
    IniFile ini;
    if (!read_ini(file, ini)) return report_error("presets", CI_INI_LOAD_ERROR, "cannot read " + file);
    for (const std::string& name : ini.names) {
        std::string shown;
        const bool hidden = hidden_section(name, &shown);
        if (json_mode()) {
            Json entry = Json::object();
            entry.set("name", shown);
            entry.set("hidden", hidden);
            json_result().member("presets", Json::array()).push(std::move(entry));
        } else {
            std::printf("%s%s\n", shown.c_str(), hidden ? "  (hidden)" : "");
        }
    }
    if (json_mode()) json_result().set("file", file);
    return kExitOk;
}

// Written by the library's SAVE_REGS command, run from a one-line preset.
int run_save_regs(Session& session, const Args& args) {
    LocalArgs local;
    std::string error;
    if (!parse_local(args, {}, local, error)) return report_usage("save-regs", error);
    if (local.positional.size() != 1 || local.positional[0].find(',') != std::string::npos) {
        return report_usage("save-regs", "names one file (without commas)");
    }
    const std::string& out = local.positional[0];
    if (file_exists(out)) return report_error("save-regs", CI_CAMERA_ERROR, out + " exists: not overwritten");
    char scratch[] = "/tmp/camkit-save-XXXXXX";
    const int fd = mkstemp(scratch);
    if (fd < 0) return report_error("save-regs", CI_CAMERA_ERROR, "cannot create a scratch file");
    const std::string text = "[Save]\nSAVE_REGS = " + out + "\n";
    const bool written = write(fd, text.data(), text.size()) == (ssize_t)text.size();
    close(fd);
    std::string failure;
    ci_SetIniLineObserver(keep_failure, &failure);
    const ci_error_code code = written ? ci_LoadINIPreset(session.camera, scratch, "Save") : CI_CAMERA_ERROR;
    ci_SetIniLineObserver(nullptr, nullptr);
    unlink(scratch);
    if (code != CI_INI_SUCCESS || !failure.empty()) return report_error("save-regs", CI_INI_LOAD_ERROR, failure);
    if (json_mode()) {
        json_result().set("file", out);
    } else {
        std::printf("registers saved to %s (load them with: camkit preset --file %s \"Saved Registers %s\")\n",
                    out.c_str(), out.c_str(), session.camera->sensor->sensorName);
    }
    return kExitOk;
}

}  // namespace cli
