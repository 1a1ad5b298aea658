// The base layer's internal interface: logging helpers and the error log's
// internals.  The base layer (OS layer, error log, data types) includes only
// this header, camkit.h and its own headers: it depends on no other module.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "camkit.h"
#include "base/osal.h"

// ---------------------------------------------------------------------------
// Logging helpers.  Every source file defines CK_SOURCE (the name its log
// lines carry, e.g. "camkit_reg") before including this header.
// ---------------------------------------------------------------------------
#ifndef CK_SOURCE
#define CK_SOURCE "camkit"
#endif
#define CK_ERR(code, msg) ci_Errorlog((code), -1, (msg), CK_SOURCE, __func__, __LINE__)
#define CK_LOG(cls, msg) ci_Msglog((cls), (msg), CK_SOURCE, __func__, __LINE__)

// ---------------------------------------------------------------------------
// Error log (base: camkiterrorlog)
// ---------------------------------------------------------------------------
ci_s32 _GetErrorLogLevel(void);
ci_s32 _SetErrorLogLevel(ci_s32 level);
ci_s32 _GetErrorLevel(ci_error_code code);
const char* _GetInfoLogDesc(ci_s32 logType);

