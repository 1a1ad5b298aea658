// Serial base addresses that did not acknowledge during the current sensor
// search.  Probing a missing device costs a full set of NACK retries, so a
// base that failed once is skipped by every later file of the same search
// (and the sensor-data readers reject a file early when none of its bases
// is left).
//
// Base addresses are 8-bit with the read/write bit as bit 0, so the even
// bases 0..254 map onto 128 bits: word base >> 6, bit (base >> 1) & 31.
// Values above 0xFF are not bus addresses and are never marked.
#define CK_SOURCE "camkit"
#include <cstring>

#include "core/camkit_private.h"

static const ci_u32 kLastBase = 0xFF;

void _setUnusedBase(ci_camera_t* camera, ci_u32 base) {
    _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || base > kLastBase) return;
    ctx->baseMap[base >> 6] |= 1u << ((base >> 1) & 31);
}

ci_s32 _unusedBase(ci_camera_t* camera, ci_u32 base) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || base > kLastBase) return 0;
    return (ctx->baseMap[base >> 6] >> ((base >> 1) & 31)) & 1u;
}

void _resetBaseMap(ci_camera_t* camera) {
    _common_context_t* ctx = _ctx(camera);
    if (ctx != nullptr) memset(ctx->baseMap, 0, sizeof ctx->baseMap);
}
