// Early rejects: while the sensor search parses candidate files, a file is
// given up as soon as what it says cannot fit the connected hardware.
#define CK_SOURCE "sensor_data"
#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"

namespace {

ci_error_code reject(const char* why) { return CK_ERR(CI_SENSOR_DOES_NOT_MATCH, why); }

ci_s32 is_soc(ci_camera_t* camera, ci_s32) { return ci_IsSOC(camera); }

bool any_base_answers(sdat_reader* r) {
    for (ci_s32 i = 0; i < r->ctx->num_shipAddrs && i < CI_MAX_SHIP_ADDRS; ++i)
        if (!_unusedBase(r->camera, r->ctx->shipAddr[i])) return true;
    return false;
}

bool stored(const sdat_reader* r, const char* name) { return _regId(r->sensor->regs, r->sensor->num_regs, name) >= 0; }

}  // namespace

ci_s32 sdat_with_sensor(sdat_reader* r, ci_s32 (*fn)(ci_camera_t*, ci_s32), ci_s32 arg) {
    ci_sensor_t* saved = r->camera->sensor;
    r->camera->sensor = r->sensor;
    ci_s32 result = fn(r->camera, arg);
    r->camera->sensor = saved;
    return result;
}

ci_error_code sdat_reject_after_descriptor(sdat_reader* r) {
    if (!any_base_answers(r))
        return reject("Early reject: There is no SHIP_BASE_ADDRESS, or no device at the base address(es)");
    if (!r->ctx->match_soc_only && !r->ctx->match_no_soc) return CI_CAMERA_SUCCESS;
    ci_s32 soc = sdat_with_sensor(r, is_soc, 0);
    if (r->ctx->match_soc_only && !soc) return reject("Early reject: Wanted SOC and file is not SOC");
    if (r->ctx->match_no_soc && soc) return reject("Early reject: Wanted non-SOC and file is SOC");
    return CI_CAMERA_SUCCESS;
}

ci_error_code sdat_reject_after_optional(sdat_reader* r) {
    if (r->ctx->match_addr_size != 0 && r->ctx->match_addr_size != static_cast<ci_s32>(r->sensor->reg_addr_size))
        return reject("Early reject: Register address size does not match");
    return CI_CAMERA_SUCCESS;
}

// On a system-on-chip with 8-bit register addresses the chip-version register
// may sit behind the page selector, so the match waits until both exist.
ci_error_code sdat_reject_chip_version(sdat_reader* r, const ci_reg_data_t* reg) {
    if (!r->ctx->match_chip_version_reg) return CI_CAMERA_SUCCESS;
    bool isVersion = osal_stricmp(reg->unique_desc, "CHIP_VERSION_REG") == 0;
    bool isSelector = osal_stricmp(reg->unique_desc, "ADDR_SPACE_SEL") == 0;
    if (!isVersion && !isSelector) return CI_CAMERA_SUCCESS;
    bool paged = r->sensor->reg_addr_size == 8 && sdat_with_sensor(r, is_soc, 0);
    bool ready = isVersion ? (!paged || stored(r, "ADDR_SPACE_SEL")) : (paged && stored(r, "CHIP_VERSION_REG"));
    if (!ready) return CI_CAMERA_SUCCESS;
    if (!sdat_with_sensor(r, _checkSensorMatch, 1)) return reject("Early reject: CHIP_VERSION_REG does not match");
    r->ctx->match_chip_version_reg = 0;
    return CI_CAMERA_SUCCESS;
}
