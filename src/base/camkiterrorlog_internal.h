// Pieces of the error log shared between its source files.
#pragma once

#include "base/base.h"

// The log rotates past this file position.
#define CI_ERRORLOG_MAX_BYTES 3000000L
// Files are numbered 0 .. CI_ERRORLOG_MAX_FILES - 1.
#define CI_ERRORLOG_MAX_FILES 5

typedef struct ci_errorLogFile {
    FILE* pCurLogFile;
    ci_s32 curFileOrder;
    ci_s32 curLogLevel;       // level mask, 0 = off
    ci_s32 curInfoLogOption;  // unused
    ci_string curFileName;    // the base name given, then the file in use
} ci_errorLogFile;

// Level names indexed by error level: "", "SEVERE_ERROR", "ERROR", "LOG".
extern const char errorlevel_desc[4][CI_STRING_LEN];

// Splits a log file name into base, number and extension:
// "logs/cap7.log" -> "logs/cap", 7, ".log"; "" -> "~/error_", 0, ".txt".
void _FragmentErrorFileName(const char* name, ci_string base, ci_s32* number, ci_string ext);

// The number (0..4) the next log file with this base and extension takes:
// the smallest unused one, or the one written longest ago when all exist.
ci_s32 _findErrorFileOrder(const char* base, const char* ext);

// Closes the current file and opens the next numbered one.
void _OpenNewLogFile(ci_errorLogFile* log);

// Writes "h:mm:ss.mmm " — the time since the current file was opened.
void _WriteLogTimestamp(FILE* file);
