// Checks made once a sensor is known: which of its candidate base addresses
// it answers at (after a board reset it may have moved), and which variant
// of the part it is.
#define CK_SOURCE "camkit"
#include <cstdio>

#include "core/camkit_ident_internal.h"

namespace {

bool chipVersionAnswers(ci_camera_t* camera, ci_reg_data_t* chipVersion) {
    ci_u32 value = 0;
    return ci_ReadSensorReg(camera, chipVersion, &value) == CI_CAMERA_SUCCESS &&
           _identChipVersionFits(chipVersion, value);
}

// Moves the sensor to the first candidate base where its chip version
// answers.
bool moveToAnsweringBase(ci_camera_t* camera, ci_reg_data_t* chipVersion) {
    const _common_context_t* ctx = _ctx(camera);
    const ci_s32 count = _identCount(ctx->num_shipAddrs, CI_MAX_SHIP_ADDRS);
    for (ci_s32 i = 0; i < count; i++) {
        camera->sensor->shipAddr = ctx->shipAddr[i];
        if (chipVersionAnswers(camera, chipVersion)) return true;
    }
    return false;
}

// Reads a part-number entry's register; true when it shows one of the
// entry's values.
bool partNumberEntryMatches(ci_camera_t* camera, const _partNumberData* entry) {
    ci_u32 value = 0;
    ci_error_code result;
    if (entry->regName[0] == '\0') {
        result = _identReadBus(camera, entry->baseAddr, entry->regAddr, entry->addrSize, entry->dataSize, &value);
    } else {
        result = ci_ReadSensorRegStr(camera, entry->regName, "", &value);
    }
    return result == CI_CAMERA_SUCCESS && _identInList(_identField(value, entry->mask), entry->value, entry->numValues);
}

}  // namespace

ci_s32 ci_DetectSensorBaseAddr(ci_camera_t* camera) {
    if (_ctx(camera) == nullptr || camera->sensor == nullptr) return 1;
    ci_reg_data_t* chipVersion = _registerLookup(camera, -1, "CHIP_VERSION_REG");
    if (chipVersion == nullptr) return 1;
    const ci_u32 originalBase = camera->sensor->shipAddr;
    bool atOriginalBase = false;
    bool moved = false;
    {
        ScopedMode cacheOff(camera, CI_USE_REG_CACHE, 0);
        atOriginalBase = chipVersionAnswers(camera, chipVersion);
        moved = !atOriginalBase && moveToAnsweringBase(camera, chipVersion);
    }
    if (atOriginalBase) return 0;
    if (moved) {
        ci_InvalidateRegCache(camera);  // the cached values belong to the old base
        return 0;
    }
    camera->sensor->shipAddr = originalBase;
    return 1;
}

ci_s32 ci_DetectPartNumber(ci_camera_t* camera) {
    const _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || camera->sensor == nullptr || ctx->num_partNumbers < 2) return 0;
    const ci_s32 count = _identCount(ctx->num_partNumbers, CI_MAX_PART_NUMBERS);
    ci_s32 candidate = -1;
    {
        ScopedMode addrSize(camera, CI_REG_ADDR_SIZE);
        ScopedMode dataSize(camera, CI_REG_DATA_SIZE);
        for (ci_s32 i = 0; i < count; i++) {
            const _partNumberData* entry = &ctx->partNumber[i];
            if (entry->regName[0] == '\0' && entry->baseAddr == 0) {
                candidate = i;  // the default variant, unless a later entry matches
            } else if (partNumberEntryMatches(camera, entry)) {
                candidate = i;
                break;
            }
        }
    }
    if (candidate >= 0) {
        snprintf(camera->sensor->partNumber, sizeof camera->sensor->partNumber, "%.*s",
                 (int)sizeof ctx->partNumber[candidate].partNumber - 1, ctx->partNumber[candidate].partNumber);
    }
    return 0;
}
