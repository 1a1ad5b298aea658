// --debug: the library's log at every level, echoed to stderr as it grows.
// --time: how long opening and each command took, on stderr.
#pragma once

#include <chrono>
#include <string>

namespace cli {

// The log file the echo follows: the one named with --log, else a private
// file under the temporary directory (removed at the end).
std::string debug_log_file(const std::string& named);

// Copies what the log gained since the last call to stderr.
void debug_log_echo();

// Removes the private log file, if one was made.
void debug_log_end();

class Stopwatch {
public:
    Stopwatch() : start_(std::chrono::steady_clock::now()) {}
    // "camkit: time: WHAT N.N ms" on stderr.
    void report(const std::string& what) const;

private:
    std::chrono::steady_clock::time_point start_;
};

}  // namespace cli
