// The per-thread preset line observer, and the last preset error message of
// the thread (what an observer is told of a failed line).
#define CK_SOURCE "camkit_ini"
#include <cstring>

#include "presets/presets_internal.h"

namespace {

struct Observer {
    ci_ini_line_fn callback = nullptr;
    void* user = nullptr;
};

thread_local Observer t_observer;
thread_local char t_lastMessage[1024];

}  // namespace

void ci_SetIniLineObserver(ci_ini_line_fn observer, void* user) {
    t_observer.callback = observer;
    t_observer.user = user;
}

void _setLastIniMessage(const char* message) {
    if (!message || !*message) {
        t_lastMessage[0] = '\0';
        return;
    }
    snprintf(t_lastMessage, sizeof t_lastMessage, "%s", message);
}

const char* _lastIniMessage(void) {
    return t_lastMessage;
}

void _reportLine(const PresetRun& run, ci_ini_outcome outcome, ci_error_code result) {
    if (!t_observer.callback) return;
    const char* message = outcome == CI_INI_LINE_FAILED ? t_lastMessage : "";
    if (outcome == CI_INI_LINE_FAILED && !*message) message = ci_getErrorMessage(result);
    t_observer.callback(t_observer.user, run.camera, run.section.c_str(), run.depth, run.line ? run.line : "",
                        outcome, result, message);
}
