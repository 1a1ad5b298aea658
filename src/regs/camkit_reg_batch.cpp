// Batches of register reads and writes: one lock for the whole batch, a
// result per entry, and the result of the last entry returned.
#define CK_SOURCE "camkit_reg"
#include <cstdlib>
#include <cstring>

#include "regs/regs_internal.h"
#include "sensor/sensor_traits.h"

namespace {

const char* const kFarBatchRegisters[] = {
    "CAM_ADAPT_GPR_0_ADDRESS", "CAM_ADAPT_GPR_0_VALUE_ABOVE_TH", "CAM_ADAPT_GPR_0_GPR_CONTROL",
    "CAM_ADAPT_GPR_7_ADDRESS", "CAM_ADAPT_GPR_7_VALUE_ABOVE_TH", "CAM_ADAPT_GPR_7_GPR_CONTROL",
};

// Sensors whose far registers can be read together through their grouped
// read registers.
bool farBatching(ci_camera_t* camera) {
    const ci_sensor_t* sensor = camera->sensor;
    if (!sensor || !_sensorTraits((ci_u32)sensor->sensorType).farBatch) {
        return false;
    }
    for (const char* name : kFarBatchRegisters) {
        if (!ci_ExistsRegister(camera, name)) {
            return false;
        }
    }
    return true;
}

void setResult(ci_error_code* results, ci_s32 i, ci_error_code rc) {
    if (results) {
        results[i] = rc;
    }
}

// Reads the batch's far records together; their values and results are
// filled by the far-register path.
void readFarRecords(ci_camera_t* camera, ci_s32 n, ci_reg_data_t** regs, ci_u32* vals, ci_error_code* results) {
    ci_error_code* farResults = (ci_error_code*)calloc((size_t)n, sizeof(ci_error_code));
    if (!farResults) {
        return;
    }
    _ReadSensorRegs_FarOnlyNoLock(camera, n, regs, vals, farResults);
    for (ci_s32 i = 0; i < n; ++i) {
        if (regs[i] && regs[i]->rw != 2 && ci_IsFarSpace(regs[i]->addr_space)) {
            setResult(results, i, farResults[i]);
        }
    }
    free(farResults);
}

// Writes every entry under one lock through write(i, value); a failed
// entry's value is cleared in the caller's array.  Returns the last result.
template <typename WriteOne>
ci_error_code writeEach(ci_camera_t* camera, ci_s32 n, ci_u32* vals, ci_error_code* results, WriteOne write) {
    ci_error_code last = CI_CAMERA_SUCCESS;
    RegisterLock lock(camera);
    for (ci_s32 i = 0; i < n; ++i) {
        last = write(i, vals[i]);
        setResult(results, i, last);
        if (last != CI_CAMERA_SUCCESS) {
            vals[i] = 0;
        }
    }
    return last;
}

}  // namespace

ci_error_code ci_ReadSensorRegs(ci_camera_t* camera, ci_s32 numRegs, ci_reg_data_t** regs, ci_u32* vals,
                                ci_error_code* results) {
    if (!_ctx(camera) || !regs || !vals) {
        return CK_ERR(CI_CAMERA_ERROR, "Missing camera, registers or values");
    }
    const ci_s32 n = numRegs > 0 ? numRegs : 0;
    memset(vals, 0, (size_t)n * sizeof(ci_u32));
    if (results) {
        memset(results, 0, (size_t)n * sizeof(ci_error_code));
    }
    const bool far = farBatching(camera);
    bool anyFar = false;
    ci_error_code last = CI_CAMERA_SUCCESS;
    RegisterLock lock(camera);
    for (ci_s32 i = 0; i < n; ++i) {
        ci_reg_data_t* reg = regs[i];
        if (!reg || reg->rw == 2) {
            continue;  // write-only: value 0, result 0
        }
        if (far && ci_IsFarSpace(reg->addr_space)) {
            anyFar = true;
            continue;
        }
        last = _ReadSensorRegNolock(camera, reg, &vals[i]);
        setResult(results, i, last);
    }
    if (anyFar) {
        readFarRecords(camera, n, regs, vals, results);
    }
    return last;
}

ci_error_code ci_WriteSensorRegs(ci_camera_t* camera, ci_s32 numRegs, ci_reg_data_t** regs, ci_u32* vals,
                                 ci_error_code* results) {
    if (!_ctx(camera) || !regs || !vals) {
        return CK_ERR(CI_CAMERA_ERROR, "Missing camera, registers or values");
    }
    return writeEach(camera, numRegs, vals, results,
                     [&](ci_s32 i, ci_u32 val) { return _WriteSensorRegNolock(camera, regs[i], val); });
}

// Only entries that name an existing bitfield are read; an entry without a
// bitfield name is not read and yields 0.
ci_error_code ci_ReadSensorRegsStr(ci_camera_t* camera, ci_s32 numRegs, const char** regNames,
                                   const char** bitfieldNames, ci_u32* vals, ci_error_code* results) {
    if (!regNames || !bitfieldNames) {
        return CK_ERR(CI_CAMERA_ERROR, "Missing register or bitfield names");
    }
    const ci_s32 n = numRegs > 0 ? numRegs : 0;
    ci_reg_data_t** regs = (ci_reg_data_t**)calloc(n ? (size_t)n : 1, sizeof(ci_reg_data_t*));
    if (!regs) {
        return CK_ERR(CI_CAMERA_ERROR, "Out of memory");
    }
    for (ci_s32 i = 0; i < n; ++i) {
        if (ci_ExistsBitfield(camera, regNames[i], bitfieldNames[i])) {
            regs[i] = _registerLookup(camera, -1, regNames[i]);
        }
    }
    const ci_error_code rc = ci_ReadSensorRegs(camera, n, regs, vals, results);
    for (ci_s32 i = 0; vals && i < n; ++i) {
        if (bitfieldNames[i] && *bitfieldNames[i]) {
            const ci_bitfield_t* field = _bitfieldLookup(regs[i], bitfieldNames[i]);
            vals[i] = (field && field->bitmask) ? _BitValue(vals[i], field->bitmask) : 0;
        }
    }
    free(regs);
    return rc;
}

ci_error_code ci_WriteSensorRegsStr(ci_camera_t* camera, ci_s32 numRegs, const char** regNames,
                                    const char** bitfieldNames, ci_u32* vals, ci_error_code* results) {
    if (!_ctx(camera) || !regNames || !vals) {
        return CK_ERR(CI_CAMERA_ERROR, "Missing camera, register names or values");
    }
    return writeEach(camera, numRegs, vals, results, [&](ci_s32 i, ci_u32 val) {
        return _WriteSensorRegStrNolock(camera, regNames[i], bitfieldNames ? bitfieldNames[i] : nullptr, val);
    });
}
