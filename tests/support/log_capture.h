#pragma once
// Captures what the library writes to the error log for the object's lifetime.
#include <string>

#include "camkit.h"
#include "scratch_dir.h"

class LogCapture {
public:
    explicit LogCapture(ci_s32 mask = CI_LOG_ALL) { ci_OpenErrorLog(mask, dir_.file("log.txt").c_str()); }
    ~LogCapture() { ci_CloseErrorLog(); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::string text() const;

private:
    ScratchDir dir_;
};
