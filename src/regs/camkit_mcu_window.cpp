// The directly mapped MCU windows.
//
// Style 55: register addresses with bit 15 set show MCU memory.  In logical
// state the window shows variables, (driver << 10) | (offset & 0x3FF); in
// physical state it shows 32 KiB of SFR space, chosen by the region
// (bits 7..6 of "ACCESS_CTL_STAT") and address bit 15 (bit 0 of it).
// Writing "LOGICAL_ADDRESS_ACCESS" switches to logical state, writing
// "PHYSICAL_ADDRESS_ACCESS" to physical state.  The state last set is kept in
// the shared-global context so that switches are only sent when needed.
//
// Style 71: SFRs appear in a 4 KiB window at register address 0xE000; the
// window's base is the page written to "ADVANCED_BASE".
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

_sg_context_t* shared(ci_camera_t* camera) {
    return _ctx(camera)->sg_context;
}

ci_u32 state(const _sg_context_t* sg, ci_u32 _sg_context_t::*field) {
    return sg ? sg->*field : CI_ACCESS_UNKNOWN;
}

}  // namespace

ci_u32 _mcuMappedVarAddr(ci_u32 driver, ci_u32 offset) {
    return (driver << 10) | (offset & 0x3FFu) | 0x8000u;
}

ci_u32 _mcuMappedSfrAddr(ci_u32 offset) {
    return (offset & 0x7FFFu) | 0x8000u;
}

ci_error_code _mcuSelectLogical(ci_camera_t* camera, ci_u32 mapped) {
    if (state(shared(camera), &_sg_context_t::current_access_logical) == 1u) return CI_CAMERA_SUCCESS;
    return _mcuWriteNamed(camera, "LOGICAL_ADDRESS_ACCESS", mapped & 0x7FFFu);
}

// An unknown state (after an invalidation that could not read the device)
// counts as "not physical", so the switch is sent.  Both protocol registers
// are looked up before anything is sent.
ci_error_code _mcuSelectPhysical(ci_camera_t* camera, ci_u32 space, ci_u32 offset) {
    const _sg_context_t* sg = shared(camera);
    const ci_u32 a15 = (offset >> 15) & 1u;
    const bool needCtl =
        state(sg, &_sg_context_t::current_phy_a15) != a15 || state(sg, &_sg_context_t::current_phy_region) != space;
    const bool needPhys = state(sg, &_sg_context_t::current_access_logical) != 0u;
    ci_reg_data_t* ctl = needCtl ? _mcuRequire(camera, "ACCESS_CTL_STAT") : nullptr;
    ci_reg_data_t* phys = needPhys ? _mcuRequire(camera, "PHYSICAL_ADDRESS_ACCESS") : nullptr;
    if ((needCtl && !ctl) || (needPhys && !phys)) return CI_CAMERA_ERROR;
    if (ctl) {
        const ci_error_code rc = _WriteSensorRegNolock(camera, ctl, a15 | ((space * 64u) & 0xFFu));
        if (rc != CI_CAMERA_SUCCESS) return rc;
    }
    return phys ? _WriteSensorRegNolock(camera, phys, _mcuMappedSfrAddr(offset) & 0x7FFFu) : CI_CAMERA_SUCCESS;
}

ci_error_code _mcuAdvTransfer(ci_camera_t* camera, ci_u32 first, ci_u32 count, ci_s32 width, ci_u32* vals,
                              int write) {
    const ci_u32 w = (ci_u32)width;
    for (ci_u32 i = 0; i < count;) {
        const ci_u32 addr = first + i * w;
        const ci_u32 page = addr & ~(CK_ADV_PAGE - 1u);
        const ci_u32 room = (CK_ADV_PAGE - (addr & (CK_ADV_PAGE - 1u))) / w;
        if (room == 0) return CK_ERR(CI_CAMERA_ERROR, "SFR access crosses a 4 KiB page");
        const ci_u32 k = count - i < room ? count - i : room;
        if (state(shared(camera), &_sg_context_t::current_adv_base) != page) {
            const ci_error_code rc = _mcuWriteNamed(camera, "ADVANCED_BASE", page);
            if (rc != CI_CAMERA_SUCCESS) return rc;
        }
        const ci_u32 mapped = addr - page + CK_ADV_WINDOW;
        const ci_error_code rc = write ? _writeDirectVarsNocache(camera, mapped, w * 8u, k, &vals[i])
                                       : _readDirectVarsNocache(camera, mapped, w * 8u, k, &vals[i]);
        if (rc != CI_CAMERA_SUCCESS) return rc;
        i += k;
    }
    return CI_CAMERA_SUCCESS;
}
