// Error codes: their message texts, symbols and levels.
#define CK_SOURCE "camkiterrorlog"
#include "base/camkiterrorlog_internal.h"

namespace {

// Success and INI dispatch codes have no row.
const ci_errorMsg errorMsg[] = {
    {CI_CAMERA_SUCCESS, 0, "Success", "CAMERA_SUCCESS"},
    {CI_CAMERA_ERROR, 1, "Camera Error", "CAMERA_ERROR"},
    {CI_GRAB_FRAME_ERROR, 1, "Grab Frame Error", "GRAB_FRAME_ERROR"},
    {CI_NOT_ENOUGH_DATA_ERROR, 2, "Not Enough Data", "NOT_ENOUGH_DATA_ERROR"},
    {CI_EOF_MARKER_ERROR, 1, "EOF Marker Error", "EOF_MARKER_ERROR"},
    {CI_BUFFER_SIZE_ERROR, 1, "Buffer Size Error", "BUFFER_SIZE_ERROR"},
    {CI_SENSOR_NOT_INITIALIZED, 1, "Sensor Not Initialized", "SENSOR_NOT_INITIALIZED"},
    {CI_SENSOR_FILE_PARSE_ERROR, 1, "Sensor File Parse Error", "SENSOR_FILE_PARSE_ERROR"},
    {CI_SENSOR_DOES_NOT_MATCH, 2, "Sensor Does Not Match", "SENSOR_DOES_NOT_MATCH"},
    {CI_SENSOR_NOT_SUPPORTED, 1, "Sensor Not Supported", "SENSOR_NOT_SUPPORTED"},
    {CI_I2C_BIT_ERROR, 1, "I2C Error", "I2C_BIT_ERROR"},
    {CI_I2C_NACK_ERROR, 1, "I2C Nack Error", "I2C_NACK_ERROR"},
    {CI_I2C_TIMEOUT, 1, "I2C TimeOut", "I2C_TIMEOUT"},
    {CI_CAMERA_TIMEOUT, 1, "Camera TimeOut", "CAMERA_TIMEOUT"},
    {CI_CAMERA_NOT_SUPPORTED, 1, "Camera Not Supported", "CAMERA_NOT_SUPPORTED"},
    {CI_DUPLICATE_DESC_ERROR, 1, "Duplicate Descriptor Error", "DUPLICATE_DESC_ERROR"},
    {CI_PARSE_FILE_ERROR, 1, "Parse File Error", "PARSE_FILE_ERROR"},
    {CI_PARSE_REG_ERROR, 1, "Parse Reg Error", "PARSE_REG_ERROR"},
    {CI_UKNOWN_SECTION_ERROR, 1, "Unknown Section Error", "UKNOWN_SECTION_ERROR"},
    {CI_CHIP_DESC_ERROR, 1, "Chip Desc. Error", "CHIP_DESC_ERROR"},
    {CI_PARSE_ADDR_SPACE_ERROR, 1, "Parse Addr Space Error", "PARSE_ADDR_SPACE_ERROR"},
    {CI_INI_KEY_NOT_SUPPORTED, 2, "Key Not Supported - ignored", "INI_KEY_NOT_SUPPORTED"},
    {CI_INI_LOAD_ERROR, 1, "Error loading INI File", "INI_LOAD_ERROR"},
    {CI_INI_POLLREG_TIMEOUT, 2, "Time Out in POLLREG Command", "INI_POLLREG_TIMEOUT"},
};

const char kUnknownError[] = "Unknown Error";

}  // namespace

const char errorlevel_desc[4][CI_STRING_LEN] = {"", "SEVERE_ERROR", "ERROR", "LOG"};

const ci_errorMsg* ci_getErrorMsg(ci_error_code code) {
    if (code == -1) return nullptr;
    for (const ci_errorMsg& row : errorMsg) {
        if (row.nErrorCode == code) return &row;
    }
    return nullptr;
}

const char* ci_getErrorMessage(ci_error_code code) {
    if (code == -1) return "";
    const ci_errorMsg* row = ci_getErrorMsg(code);
    return row ? row->pszErrorDesc : kUnknownError;
}

const char* ci_getErrorSymbol(ci_error_code code) {
    if (code == -1) return "";
    const ci_errorMsg* row = ci_getErrorMsg(code);
    return row ? row->pszSymbol : kUnknownError;
}

ci_s32 _GetErrorLevel(ci_error_code code) {
    if (code == CI_CAMERA_SUCCESS || code == CI_PARSE_SUCCESS || code == CI_INI_SUCCESS) return 0;
    const ci_errorMsg* row = ci_getErrorMsg(code);
    return row ? row->nErrorLevel : 0;
}

const char* _GetInfoLogDesc(ci_s32 logType) {
    if (logType & CI_LOG_SHIP) return "SHIP";
    if (logType & CI_LOG_USB) return "USB";
    if (logType & CI_LOG_DEBUG) return "DEBUG";
    return "LOG";
}
