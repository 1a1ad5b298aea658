#include "cli_debug.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "camkit.h"

namespace cli {
namespace {

std::string gPrivateDir;
long gEchoed = 0;

}  // namespace

std::string debug_log_file(const std::string& named) {
    if (!named.empty()) return named;
    const char* tmp = std::getenv("TMPDIR");
    std::string dir = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") + "/camkit-debug-XXXXXX";
    if (mkdtemp(dir.data()) == nullptr) return "camkit-debug.log";
    gPrivateDir = dir;
    return dir + "/camkit.log";
}

void debug_log_echo() {
    char name[CI_MAX_PATH] = "";
    ci_GetErrorLogFileName(name);
    FILE* f = name[0] != '\0' ? std::fopen(name, "r") : nullptr;
    if (f == nullptr) return;
    if (std::fseek(f, gEchoed, SEEK_SET) == 0) {
        char buffer[4096];
        size_t n = 0;
        while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) {
            std::fwrite(buffer, 1, n, stderr);
            gEchoed += (long)n;
        }
    }
    std::fclose(f);
}

void debug_log_end() {
    if (gPrivateDir.empty()) return;
    std::error_code ignored;
    std::filesystem::remove_all(gPrivateDir, ignored);
    gPrivateDir.clear();
}

void Stopwatch::report(const std::string& what) const {
    const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    std::fprintf(stderr, "camkit: time: %s %.1f ms\n", what.c_str(), ms);
}

}  // namespace cli
