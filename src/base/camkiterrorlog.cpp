// The process-wide error log: one record, one open file, a level mask that
// selects severe errors, ordinary errors and four informational classes.
//
// Lines are written under one lock so that a rotation on one thread never
// closes the file another thread is writing.
#define CK_SOURCE "camkiterrorlog"
#include <cassert>
#include <stdlib.h>
#include <string.h>

#include "base/camkiterrorlog_internal.h"

namespace {

ci_errorLogFile* g_pErrorLog = nullptr;
pthread_mutex_t g_logLock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

constexpr ci_s32 kInfoClasses = CI_LOG_INFO | CI_LOG_SHIP | CI_LOG_USB | CI_LOG_DEBUG;

class LogLock {
public:
    LogLock() { pthread_mutex_lock(&g_logLock); }
    ~LogLock() { pthread_mutex_unlock(&g_logLock); }
    LogLock(const LogLock&) = delete;
    LogLock& operator=(const LogLock&) = delete;
};

const char* after_last_slash(const char* path) {
    if (!path) return "";
    const char* slash = strrchr(path, '/');
    return slash ? slash + 1 : path;
}

const char* text_or_empty(const char* text) { return text ? text : ""; }

const char* level_name(ci_s32 level) {
    return level >= 0 && level < 4 ? errorlevel_desc[level] : "";
}

void close_log() {
    if (!g_pErrorLog) return;
    if (g_pErrorLog->pCurLogFile) fclose(g_pErrorLog->pCurLogFile);
    free(g_pErrorLog);
    g_pErrorLog = nullptr;
}

bool is_success_code(ci_error_code code) {
    return code == CI_CAMERA_SUCCESS || code == CI_PARSE_SUCCESS || code == CI_INI_SUCCESS;
}

// Starts the next file when the current one has grown past its limit.
// Returns false when there is no file to write to.
bool rotate_if_full(ci_errorLogFile* log) {
    long position = ftell(log->pCurLogFile);
    if (position < 0) return false;
    if (position > CI_ERRORLOG_MAX_BYTES) _OpenNewLogFile(log);
    return log->pCurLogFile != nullptr;
}

void write_error_line(FILE* file, ci_error_code code, ci_s32 level, const char* logMsg, const char* source,
                      const char* func, ci_s32 line) {
    _WriteLogTimestamp(file);
    const char* name = level_name(level);
    const char* text = ci_getErrorMessage(code);
    if (logMsg && *logMsg) {
        fprintf(file, "%s: %s; %s [%s:%s() line:%d]\n", name, text, logMsg, source, func, line);
    } else {
        fprintf(file, "%s: %s [%s:%s() line:%d]\n", name, text, source, func, line);
    }
    fflush(file);
}

}  // namespace

void ci_OpenErrorLog(ci_s32 errorlog_level, const char* fileName) {
    assert(errorlog_level <= ((1 | 2) | (4 | 8 | 16 | 32)) && errorlog_level >= 0);
    LogLock lock;
    close_log();
    ci_errorLogFile* log = static_cast<ci_errorLogFile*>(calloc(1, sizeof(ci_errorLogFile)));
    if (!log) return;
    snprintf(log->curFileName, sizeof log->curFileName, "%s", text_or_empty(fileName));
    log->curLogLevel = errorlog_level;
    g_pErrorLog = log;
    if (errorlog_level != 0) _OpenNewLogFile(log);
}

void ci_CloseErrorLog(void) {
    LogLock lock;
    close_log();
}

void ci_GetErrorLogFileName(char* fileName) {
    if (!fileName) return;
    LogLock lock;
    const bool open = g_pErrorLog && g_pErrorLog->pCurLogFile;
    snprintf(fileName, CI_STRING_LEN, "%s", open ? g_pErrorLog->curFileName : "");
}

ci_s32 _GetErrorLogLevel(void) {
    LogLock lock;
    return g_pErrorLog ? g_pErrorLog->curLogLevel : -1;
}

ci_s32 _SetErrorLogLevel(ci_s32 level) {
    LogLock lock;
    if (!g_pErrorLog) return -1;
    if (g_pErrorLog->curLogLevel == 0 && level != 0) _OpenNewLogFile(g_pErrorLog);
    g_pErrorLog->curLogLevel = level;
    return 0;
}

ci_s32 ci_isInfoLogEnabled(void) {
    LogLock lock;
    return g_pErrorLog && g_pErrorLog->pCurLogFile && (g_pErrorLog->curLogLevel & kInfoClasses);
}

ci_s32 ci_isDebugLogEnabled(void) {
    LogLock lock;
    return g_pErrorLog && g_pErrorLog->pCurLogFile && (g_pErrorLog->curLogLevel & CI_LOG_DEBUG);
}

ci_error_code ci_Errorlog(ci_error_code errorcode, ci_s32 errorlevel_in, const char* logMsg,
                          const char* szSource, const char* szFunc, ci_s32 nLine) {
    LogLock lock;
    ci_errorLogFile* log = g_pErrorLog;
    if (!log || !log->pCurLogFile || log->curLogLevel == 0 || is_success_code(errorcode)) return errorcode;
    ci_s32 level = errorlevel_in == -1 ? _GetErrorLevel(errorcode) : errorlevel_in;
    if (level == 0 || (level & log->curLogLevel) == 0) return errorcode;
    if (!rotate_if_full(log)) return errorcode;
    write_error_line(log->pCurLogFile, errorcode, level, logMsg, after_last_slash(szSource),
                     text_or_empty(szFunc), nLine);
    return errorcode;
}

void ci_Msglog(ci_s32 logType, const char* logMsg, const char* szSource, const char* szFunc, ci_s32 nLine) {
    LogLock lock;
    if (!ci_isInfoLogEnabled() || (g_pErrorLog->curLogLevel & logType) == 0) return;
    FILE* file = g_pErrorLog->pCurLogFile;
    _WriteLogTimestamp(file);
    const char* cls = _GetInfoLogDesc(logType);
    if (logType == CI_LOG_DEBUG && szSource && *szSource) {
        fprintf(file, "%s: %s [%s:%s() line:%d]\n", cls, text_or_empty(logMsg), after_last_slash(szSource),
                text_or_empty(szFunc), nLine);
    } else {
        fprintf(file, "%s: %s\n", cls, text_or_empty(logMsg));
    }
    fflush(file);
}
