#pragma once
// What the test plugin records, shared with the tests that read it through
// its exported tp_record().
#include <vector>

#include "camkit_plugin.h"

struct TpAccess {
    ci_u32 shipAddr;
    ci_u32 regAddr;
    int write;
    ci_u32 value;
};

struct TpRecord {
    std::vector<TpAccess> accesses;
    int opens = 0;
    int closes = 0;
    const ci_transport_helpers_t* helpers = nullptr;
};
