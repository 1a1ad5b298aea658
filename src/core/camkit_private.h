// Every module's internal interface in one include, for the modules above
// the base layer.  Each module's part is in its own header:
//   base/base.h            logging helpers, error log internals
//   core/camkit_records.h  the fixed internal records
//   core/core_api.h        transport registry, contexts and modes,
//                          identification, image types
//   sensor/sensor_api.h    register map model, sensor-data readers
//   regs/regs_api.h        register lookup, cache, read/write core
#pragma once

#include "base/base.h"
#include "core/camkit_records.h"
#include "core/core_api.h"
#include "regs/regs_api.h"
#include "sensor/sensor_api.h"
