// The input file of a fuzz target that reads files: each input is written
// to one file (named with the given extension) in a private directory that
// is removed at exit, with the library's log going there as well.
#pragma once

#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "camkit.h"

namespace fuzz_scratch {

inline std::string& directory() {
    static std::string dir;
    return dir;
}

inline void remove_scratch() {
    ci_CloseErrorLog();
    std::error_code ignored;
    std::filesystem::remove_all(directory(), ignored);
}

// The private directory, made on first use.
inline const std::string& dir() {
    if (directory().empty()) {
        char path[] = "/tmp/camkit-fuzz-XXXXXX";
        if (!mkdtemp(path)) abort();
        directory() = path;
        atexit(remove_scratch);
        // Syntax errors are written to the log, so its formatting runs too.
        ci_OpenErrorLog(CI_LOG_SEVERE | CI_LOG_ERROR, (directory() + "/fuzz.log").c_str());
    }
    return directory();
}

// Writes the input to dir()/input<extension> and returns that path ("" on
// failure).
inline std::string write_input(const uint8_t* data, size_t size, const char* extension) {
    std::string path = dir() + "/input" + extension;
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) return "";
    fwrite(data, 1, size, f);
    fclose(f);
    return path;
}

}  // namespace fuzz_scratch
