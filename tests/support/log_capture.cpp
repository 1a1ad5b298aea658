#include "log_capture.h"

std::string LogCapture::text() const {
    char name[CI_STRING_LEN];
    ci_GetErrorLogFileName(name);
    return scratch_read_file(name);
}
