// camkit watch: read registers repeatedly and print a line whenever a value
// changes (status registers during bring-up).
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "cli_args.h"
#include "cli_commands.h"
#include "cli_report.h"
#include "cli_target.h"

namespace cli {
namespace {

struct Watched {
    Target target;
    bool known = false;
    ci_u32 value = 0;
    ci_error_code result = CI_CAMERA_SUCCESS;
};

bool parse_watch(const Args& args, std::vector<Watched>& watched, ci_s32& intervalMs, ci_s32& count,
                 ci_camera_t* camera, std::string& error) {
    LocalArgs local;
    if (!parse_local(args, {{"--interval", true}, {"--count", true}}, local, error)) return false;
    if (local.positional.empty()) {
        error = "names the registers to watch";
        return false;
    }
    if (local.has("--interval") && (!parse_s32(local.value("--interval"), intervalMs) || intervalMs < 0)) {
        error = "--interval takes milliseconds";
        return false;
    }
    if (local.has("--count") && (!parse_s32(local.value("--count"), count) || count < 1)) {
        error = "--count takes a number of reads";
        return false;
    }
    for (const std::string& name : local.positional) {
        Watched w;
        if (!resolve_target(camera, name, w.target, error)) return false;
        watched.push_back(w);
    }
    return true;
}

std::string value_text(const Watched& w) {
    return w.result == CI_CAMERA_SUCCESS ? format_value(w.target.kind, w.value) : ci_getErrorSymbol(w.result);
}

// One round of reads; prints what changed since the last one.
void poll(ci_camera_t* camera, std::vector<Watched>& watched, double seconds) {
    for (Watched& w : watched) {
        Watched now = w;
        now.result = read_target(camera, w.target, now.value);
        const bool changed = !w.known || now.result != w.result || (now.result == 0 && now.value != w.value);
        if (changed && w.known) {
            std::printf("%9.3fs  %s = %s (was %s)\n", seconds, w.target.label.c_str(), value_text(now).c_str(),
                        value_text(w).c_str());
        } else if (changed) {
            std::printf("%9.3fs  %s = %s\n", seconds, w.target.label.c_str(), value_text(now).c_str());
        }
        now.known = true;
        w = now;
    }
    std::fflush(stdout);
}

}  // namespace

int run_watch(Session& session, const Args& args) {
    std::vector<Watched> watched;
    ci_s32 intervalMs = 100, count = -1;
    std::string error;
    if (!parse_watch(args, watched, intervalMs, count, session.camera, error)) return report_usage("watch", error);
    const auto start = std::chrono::steady_clock::now();
    for (ci_s32 n = 0; count < 0 || n < count; n++) {
        if (n > 0) std::this_thread::sleep_for(std::chrono::milliseconds(intervalMs));
        poll(session.camera, watched, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return kExitOk;
}

}  // namespace cli
