// The tests of one probe term.  A sensor data file may give up to four
// alternative terms; a term passes when the extra descriptor register, the
// fuse/revision registers and the other devices on the serial bus all look
// as the term says.  A term may also ask for a sensor reset first, when a
// register shows the sensor is not in its power-on state.
#define CK_SOURCE "camkit"
#include "core/camkit_ident_internal.h"

namespace {

_probe_term_t* probeTerm(ci_camera_t* camera, ci_s32 term) {
    _common_context_t* ctx = _ctx(camera);
    if (ctx == nullptr || term < 0 || term >= CI_MAX_PROBE_TERMS) return nullptr;
    return &ctx->probe_term[term];
}

// value placed into the bits of mask (shifted up to the mask's lowest bit).
ci_u32 placeUnder(ci_u32 value, ci_u32 mask) { return mask == 0 ? 0 : _BitMaskAdjust(mask, value, 1); }

// A register whose value the fuse test changed, to be put back afterwards.
struct SavedRegister {
    ci_reg_data_t* reg;
    ci_u32 value;
};

bool hasPoll(const _probe_term_t* t, ci_s32 writes) {
    for (ci_s32 i = 0; i < writes; i++) {
        if (t->version_reg_write[i].timeout >= 0) return true;
    }
    return false;
}

// Waits (up to the entry's time-out, polling every 10 ms) for the field to
// show one of the entry's values.  Not seeing it is no failure: the read
// entries decide.
void pollRegister(ci_camera_t* camera, ci_reg_data_t* reg, const _versionRegWrite* w) {
    const ci_s32 attempts = (w->timeout + 1) / 10;
    for (ci_s32 i = 0; i < attempts; i++) {
        if (i > 0) osal_sleep(10);
        ci_u32 value = 0;
        if (ci_ReadSensorReg(camera, reg, &value) == CI_CAMERA_SUCCESS &&
            _identInList(_identField(value, w->mask), w->value, w->numValues)) {
            return;
        }
    }
}

void writeUnderMask(ci_camera_t* camera, ci_reg_data_t* reg, const _versionRegWrite* w, SavedRegister* saved) {
    ci_u32 old = 0;
    ci_ReadSensorReg(camera, reg, &old);
    saved->reg = reg;
    saved->value = old;
    ci_WriteSensorReg(camera, reg, placeUnder(w->value[0], w->mask) | (old & ~w->mask));
}

bool readEntriesKnown(ci_camera_t* camera, const _probe_term_t* t, ci_s32 reads) {
    for (ci_s32 i = 0; i < reads; i++) {
        if (_registerLookup(camera, -1, t->version_reg_read[i].regName) == nullptr) return false;
    }
    return true;
}

bool readEntriesMatch(ci_camera_t* camera, const _probe_term_t* t, ci_s32 reads) {
    for (ci_s32 i = 0; i < reads; i++) {
        const _regData* r = &t->version_reg_read[i];
        ci_u32 value = 0;
        if (ci_ReadSensorReg(camera, _registerLookup(camera, -1, r->regName), &value) != CI_CAMERA_SUCCESS) {
            return false;
        }
        if (!_identInList(_identField(value, r->mask), r->value, r->numValues)) return false;
    }
    return true;
}

// One entry of the other-devices test.
bool serialEntryPasses(ci_camera_t* camera, const _extraSerialMatch* e) {
    const ci_u32 dataSize = e->dataSize != 0 ? e->dataSize : 16;
    bool answered = false;
    ci_u32 value = 0;
    if (!_unusedBase(camera, e->baseAddr)) {
        const ci_error_code result = _identReadBus(camera, e->baseAddr, e->regAddr, e->addrSize, dataSize, &value);
        if (result == CI_I2C_NACK_ERROR) {
            _setUnusedBase(camera, e->baseAddr);
        } else if (result != CI_CAMERA_SUCCESS) {
            return false;
        } else {
            answered = true;
        }
    }
    // A data size of 0 demands that nothing answers at the base.
    if (!answered) return e->dataSize == 0;
    if (e->dataSize == 0) return false;
    return _identInList(_identField(value, e->mask), e->value, e->numValues);
}

}  // namespace

ci_s32 _versionResetIf(ci_camera_t* camera, ci_s32 term) {
    const _probe_term_t* t = probeTerm(camera, term);
    if (t == nullptr) return 0;
    const _regData* r = &t->version_reg_resetif;
    if (r->regName[0] == '\0' || r->mask == 0) return 0;
    ci_reg_data_t* reg = _registerLookup(camera, -1, r->regName);
    if (reg == nullptr) return 0;
    ci_u32 value = 0;
    if (_identReadReg(camera, reg, &value) != CI_CAMERA_SUCCESS) return 0;
    const ci_u32 field = _identField(value, r->mask);
    if (r->numValues > 0) {
        if (_identInList(field, r->value, r->numValues)) return 0;
    } else if (field == _identField(reg->default_val, r->mask)) {
        return 0;
    }
    _identPulseReset(camera);
    return 1;
}

ci_s32 _checkExtraDescr(ci_camera_t* camera, ci_s32 term) {
    _probe_term_t* t = probeTerm(camera, term);
    if (t == nullptr) return 0;
    if (t->extra_desc_reg[0] == '\0') return 1;
    ci_reg_data_t* reg = _registerLookup(camera, -1, t->extra_desc_reg);
    if (reg == nullptr) return 1;
    if (t->extra_desc_mask == 0) t->extra_desc_mask = reg->bitmask;
    const ci_u32 mask = t->extra_desc_mask;
    ci_u32 value = 0;
    _identReadReg(camera, reg, &value);  // a failed read shows as a value that does not fit
    if ((mask & (reg->default_val ^ value)) == 0) return 1;
    return _identInList(_identField(value, mask), t->extra_desc_val, t->num_extra_desc_val);
}

ci_s32 _checkFuseRev(ci_camera_t* camera, ci_s32 term) {
    const _probe_term_t* t = probeTerm(camera, term);
    if (t == nullptr) return 0;
    const ci_s32 reads = _identCount(t->num_version_reg_read, CI_MAX_VERSION_REG_READS);
    if (reads == 0) return 1;
    if (!readEntriesKnown(camera, t, reads)) return 0;

    const ci_u32 savedSpace = _GetCachedReadAddrSpaceValue(camera);
    const ci_s32 writes = _identCount(t->num_version_reg_write, CI_MAX_VERSION_REG_WRITES);
    const bool anyPoll = hasPoll(t, writes);
    SavedRegister saved[CI_MAX_VERSION_REG_WRITES];
    ci_s32 numSaved = 0;
    for (ci_s32 i = 0; i < writes; i++) {
        const _versionRegWrite* w = &t->version_reg_write[i];
        ci_reg_data_t* reg = _registerLookup(camera, -1, w->regName);
        if (reg == nullptr) continue;
        if (w->timeout >= 0) {
            pollRegister(camera, reg, w);
            continue;
        }
        writeUnderMask(camera, reg, w, &saved[numSaved++]);
        if (!anyPoll) osal_sleep(50);  // let the sensor load its fuses
    }
    const bool pass = readEntriesMatch(camera, t, reads);
    while (numSaved > 0) {
        numSaved--;
        ci_WriteSensorReg(camera, saved[numSaved].reg, saved[numSaved].value);
    }
    _SetCachedReadAddrSpaceValue(camera, savedSpace);
    return pass;
}

ci_s32 _checkExtraSerialMatch(ci_camera_t* camera, ci_s32 term) {
    const _probe_term_t* t = probeTerm(camera, term);
    if (t == nullptr) return 0;
    const ci_s32 entries = _identCount(t->num_serial_match, CI_MAX_SERIAL_MATCHES);
    for (ci_s32 i = 0; i < entries; i++) {
        if (!serialEntryPasses(camera, &t->extra_serial_match[i])) return 0;
    }
    return 1;
}
