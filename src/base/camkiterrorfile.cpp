// Opening the next error log file and the time base of its lines.
#define CK_SOURCE "camkiterrorlog"
#include "base/camkiterrorlog_internal.h"

namespace {

// Milliseconds of the clock when the current file was opened.
ci_u64 g_startMillisec = 0;

}  // namespace

void _WriteLogTimestamp(FILE* file) {
    ci_u64 elapsed = osal_current_milliseconds() - g_startMillisec;
    fprintf(file, "%d:%02d:%02d.%03d ", (int)(elapsed / 3600000u), (int)(elapsed / 60000u % 60u),
            (int)(elapsed / 1000u % 60u), (int)(elapsed % 1000u));
}

void _OpenNewLogFile(ci_errorLogFile* log) {
    if (log->pCurLogFile) {
        fclose(log->pCurLogFile);
        log->pCurLogFile = nullptr;
    }
    ci_string base;
    ci_string ext;
    ci_s32 parsedNumber;  // the number in the given name does not choose the file
    _FragmentErrorFileName(log->curFileName, base, &parsedNumber, ext);
    log->curFileOrder = _findErrorFileOrder(base, ext);
    int len = snprintf(log->curFileName, sizeof log->curFileName, "%s%d%s", base, log->curFileOrder, ext);
    g_startMillisec = osal_current_milliseconds();
    // A name cut to fit would point at some other file: log nothing instead.
    if (len < 0 || (size_t)len >= sizeof log->curFileName) return;
    log->pCurLogFile = fopen(log->curFileName, "w");
    if (!log->pCurLogFile) return;
    char now[64];
    osal_localtime(now);
    _WriteLogTimestamp(log->pCurLogFile);
    fprintf(log->pCurLogFile, "%s\n", now);
    fflush(log->pCurLogFile);
}
