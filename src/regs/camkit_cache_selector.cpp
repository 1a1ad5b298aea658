// The address-space values last written to the sensor's selector registers.
// They are kept as the cache entries of the selector registers themselves,
// so an invalidation of the cache forces the next access to rewrite them.
#define CK_SOURCE "camkit_cache"
#include "regs/regs_internal.h"

namespace {

// Cache index of a selector register: at its address, in the type and value
// of the first address-space value of the table.
ci_s32 selectorIndex(ci_camera_t* camera, ci_u32 selectorAddr) {
    const ci_addr_space_t* table = camera->sensor->addr_space;
    const ci_addr_space_val_t* first = (table->num_vals > 0 && table->addr_space_val) ? table->addr_space_val : nullptr;
    const ci_u32 type = first ? (ci_u32)first->type : (ci_u32)CI_REG_ADDR;
    const ci_u32 value = first ? first->val : 0;
    return _regIndexFindAddr(camera, selectorAddr, value, type);
}

const ci_addr_space_t* selectors(ci_camera_t* camera) {
    return (camera && camera->sensor) ? camera->sensor->addr_space : nullptr;
}

ci_u32 cachedSelector(ci_camera_t* camera, bool read) {
    const ci_addr_space_t* table = selectors(camera);
    if (!table) {
        return 0;
    }
    ci_u32 value = 0;
    const ci_s32 index = selectorIndex(camera, read ? table->reg_addr_read : table->reg_addr_write);
    return _GetRegCacheValueI(camera, index, &value) >= 0 ? value : 0xFFFFFFFFu;
}

void storeSelector(ci_camera_t* camera, bool read, ci_u32 value) {
    const ci_addr_space_t* table = selectors(camera);
    if (table) {
        _SetRegCacheValueI(camera, selectorIndex(camera, read ? table->reg_addr_read : table->reg_addr_write), value);
    }
}

}  // namespace

ci_u32 _GetCachedReadAddrSpaceValue(ci_camera_t* camera) {
    return cachedSelector(camera, true);
}

ci_u32 _GetCachedWriteAddrSpaceValue(ci_camera_t* camera) {
    return cachedSelector(camera, false);
}

void _SetCachedReadAddrSpaceValue(ci_camera_t* camera, ci_u32 value) {
    storeSelector(camera, true, value);
}

void _SetCachedWriteAddrSpaceValue(ci_camera_t* camera, ci_u32 value) {
    storeSelector(camera, false, value);
}

ci_error_code ci_CurrentAddrSpace(ci_camera_t* camera, ci_u32* readSpace, ci_u32* writeSpace) {
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    RegisterLock lock(camera);
    if (readSpace) {
        *readSpace = _GetCachedReadAddrSpaceValue(camera);
    }
    if (writeSpace) {
        *writeSpace = _GetCachedWriteAddrSpaceValue(camera);
    }
    return CI_CAMERA_SUCCESS;
}
