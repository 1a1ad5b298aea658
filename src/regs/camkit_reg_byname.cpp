// Register and bitfield access by name.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

namespace {

bool hasText(const char* s) {
    return s && *s;
}

// The named bitfield of a register, or null (the miss is logged).  A field
// without a mask cannot be placed in its register and counts as missing.
const ci_bitfield_t* findField(ci_reg_data_t* reg, const char* regName, const char* bitfieldName) {
    const ci_bitfield_t* field = _bitfieldLookup(reg, bitfieldName);
    if (!field || field->bitmask == 0) {
        _cantfindit(regName, bitfieldName);
        return nullptr;
    }
    return field;
}

// Resolves the register, then runs whole(reg) when no bitfield name is
// given, else part(reg, field).  A missing register or field is an error.
template <typename Whole, typename Part>
ci_error_code byName(ci_camera_t* camera, const char* regName, const char* bitfieldName, Whole whole, Part part) {
    // ci_FindRegister, without the call through the exported interface.
    ci_reg_data_t* reg = _registerLookup(camera, -1, regName);
    if (!reg) {
        _cantfindit(regName, nullptr);
        return CI_CAMERA_ERROR;
    }
    if (!hasText(bitfieldName)) {
        return whole(reg);
    }
    const ci_bitfield_t* field = findField(reg, regName, bitfieldName);
    if (!field) {
        return CI_CAMERA_ERROR;
    }
    return part(reg, field);
}

ci_error_code readField(ci_camera_t* camera, ci_reg_data_t* reg, const ci_bitfield_t* field, ci_u32* val) {
    ci_u32 whole = 0;
    const ci_error_code rc = _ReadSensorRegNolock(camera, reg, &whole);
    *val = _BitValue(whole, field->bitmask);
    return rc;
}

// A bitfield is written by read-modify-write.  Sensors with 8-bit addresses
// take the old value from the cache when it is there, all others from the
// device.  The field value is shifted into place without masking, so a value
// wider than the field spills into the neighbouring bits.
ci_error_code writeField(ci_camera_t* camera, ci_reg_data_t* reg, const ci_bitfield_t* field, ci_u32 val) {
    ci_u32 old = 0;
    ci_error_code rc;
    {
        const bool smallAddresses = camera->sensor && camera->sensor->reg_addr_size == 8;
        ScopedMode cacheUse(camera, CI_USE_REG_CACHE, smallAddresses ? 1 : 0);
        rc = _ReadSensorRegNolock(camera, reg, &old);
    }
    if (rc != CI_CAMERA_SUCCESS) {
        return rc;
    }
    return _WriteSensorRegNolock(camera, reg, _RegValue(val, field->bitmask) | (old & ~field->bitmask));
}

}  // namespace

ci_error_code _ReadSensorRegStrNolock(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                      ci_u32* val) {
    *val = 0;
    return byName(
        camera, regName, bitfieldName, [&](ci_reg_data_t* reg) { return _ReadSensorRegNolock(camera, reg, val); },
        [&](ci_reg_data_t* reg, const ci_bitfield_t* field) { return readField(camera, reg, field, val); });
}

ci_error_code _WriteSensorRegStrNolock(ci_camera_t* camera, const char* regName, const char* bitfieldName,
                                       ci_u32 val) {
    return byName(
        camera, regName, bitfieldName, [&](ci_reg_data_t* reg) { return _WriteSensorRegNolock(camera, reg, val); },
        [&](ci_reg_data_t* reg, const ci_bitfield_t* field) { return writeField(camera, reg, field, val); });
}

ci_error_code ci_ReadSensorRegStr(ci_camera_t* camera, const char* regName, const char* bitfieldName, ci_u32* val) {
    if (!val) {
        return CK_ERR(CI_CAMERA_ERROR, "No value given");
    }
    *val = 0;
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    RegisterLock lock(camera);
    return _ReadSensorRegStrNolock(camera, regName, bitfieldName, val);
}

ci_error_code ci_WriteSensorRegStr(ci_camera_t* camera, const char* regName, const char* bitfieldName, ci_u32 val) {
    if (!_ctx(camera)) {
        return CK_ERR(CI_CAMERA_ERROR, "No camera");
    }
    RegisterLock lock(camera);
    return _WriteSensorRegStrNolock(camera, regName, bitfieldName, val);
}
