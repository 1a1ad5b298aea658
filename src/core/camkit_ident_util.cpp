// Small helpers of sensor identification: field arithmetic on probe values,
// register reads that keep the address-space selection, raw bus reads, the
// reset pulse and the cancellation flag.
#define CK_SOURCE "camkit"
#include "core/camkit_ident_internal.h"

ci_u32 _identField(ci_u32 value, ci_u32 mask) { return mask == 0 ? 0 : _BitValue(value, mask); }

ci_s32 _identCount(ci_s32 count, ci_s32 capacity) {
    if (count < 0) return 0;
    return count > capacity ? capacity : count;
}

bool _identChipVersionFits(const ci_reg_data_t* chipVersion, ci_u32 value) {
    return ((value ^ chipVersion->default_val) & chipVersion->bitmask) == 0;
}

bool _identInList(ci_u32 value, const ci_u32* values, ci_s32 count) {
    count = _identCount(count, CI_MAX_VALUES);
    for (ci_s32 i = 0; i < count; i++) {
        if (values[i] == value) return true;
    }
    return false;
}

ci_error_code _identReadReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* value) {
    // The probe reads may select another address space; the selection the
    // caller had is what it expects to find afterwards.
    const ci_u32 savedSpace = _GetCachedReadAddrSpaceValue(camera);
    const ci_error_code result = ci_ReadSensorReg(camera, reg, value);
    _SetCachedReadAddrSpaceValue(camera, savedSpace);
    return result;
}

ci_error_code _identReadBus(ci_camera_t* camera, ci_u32 base, ci_u32 regAddr, ci_u32 addrSize, ci_u32 dataSize,
                            ci_u32* value) {
    *value = 0;
    ci_error_code result = ci_setMode(camera, CI_REG_ADDR_SIZE, addrSize);
    if (result == CI_CAMERA_SUCCESS) result = ci_setMode(camera, CI_REG_DATA_SIZE, dataSize);
    if (result != CI_CAMERA_SUCCESS) return result;
    return ci_readRegister(camera, base, regAddr, value);
}

void _identPulseReset(ci_camera_t* camera) {
    ci_setMode(camera, CI_SENSOR_RESET, 1);
    ci_setMode(camera, CI_SENSOR_RESET, 0);
}

bool _identCancelled(void) {
    // Set by ci_CancelProbe on another thread while the search runs.
    return __atomic_load_n(&g_cancel_all_probes, __ATOMIC_RELAXED) != 0;
}
