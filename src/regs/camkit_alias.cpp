// RAM-alias resolution: is a plain register record (address type
// CI_REG_ADDR) at this moment a view of MCU memory, and of which variable or
// SFR?  The register core asks before every plain read (direct-only mode)
// and before every plain write (full mode), so that a value moved through a
// register that shows MCU memory is cached as the variable's value.
//
// The rule, by MCU address style (state = the access state tracked in the
// shared-global context):
//  - 55, direct window: a register address A in 0x8000..0xFFFF.  In logical
//    state it shows the variable of driver (A >> 10) & 0x1F at offset
//    A & 0x3FF; in physical state the SFR of space current_phy_region at
//    offset (current_phy_a15 << 15) | (A & 0x7FFF).
//  - 71, advanced base: A in 0xE000..0xEFFF shows the SFR at
//    current_adv_base + (A - 0xE000) (SFR spaces do not matter in style 71;
//    space 0 is used).
//  - 16, 44, 54, indirect port: only the data register ("MCU_DATA_0", or
//    "MCU_VARIABLE_DATA0" in style 54) is an alias, of the location the port
//    points at: in logical state the variable named by the address word of
//    "MCU_ADDRESS" ("LOGICAL_ADDRESS_ACCESS" in style 54), in physical state
//    the SFR named by "PHYSICAL_ADDR_ACCESS" ("PHYSICAL_ADDRESS_ACCESS") with
//    the tracked region and address bit 15.  Style 16 has one address
//    register; its word names a variable when bit 13 is set, else an SFR.
//    Bit 15 of the word selects byte access.  The port auto-increments after
//    every data transfer, so only the device knows where it points: this is
//    answered in full mode only, by reading the address register back (the
//    cached value of the address register is the fallback when that read
//    fails).
//  - other styles: never an alias.
// Direct-only mode never touches the device: it answers for styles 55 and 71
// from the tracked state, and "no alias" while that state is unknown.  Full
// mode first refreshes an unknown state from the device.
//
// Result: the style when the record is an alias, 0 otherwise.  *var receives
// the description's variable or SFR record at exactly that location, when
// there is one and the coming transfer moves its whole value (a 16-bit port
// transfer does not carry a 4-byte variable, and a style-54 byte travels in
// the upper half of the data word).  Full mode also invalidates the cache
// entries of every variable or SFR the coming write overlaps; the core then
// stores the new value of *var after a successful write.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

struct Target {
    ci_addr_type type;
    ci_u32 space;
    ci_u32 offset;
    ci_s32 width;               // bytes moved by the coming transfer; 0 = the variable's own width
    bool upperByte;             // a byte travelling in the upper half of the data word
};

bool isPlainRegister(const ci_reg_data_t* reg) {
    return !reg->addr_space || reg->addr_space->type == CI_REG_ADDR;
}


// Full mode refreshes an unknown access state from the device.
void refreshIfUnknown(ci_camera_t* camera, bool full, ci_u32 value) {
    if (!full || value != CI_ACCESS_UNKNOWN) return;
    _getRegisterLock(camera);
    _updateDirectAccess(camera);
    _releaseRegisterLock(camera);
}

bool window55(ci_camera_t* camera, const _sg_context_t* sg, ci_u32 addr, bool full, Target* t) {
    if (addr < 0x8000u || addr > 0xFFFFu) return false;
    refreshIfUnknown(camera, full, sg->current_access_logical);
    if (sg->current_access_logical == 1u) {
        *t = Target{CI_MCU_ADDR, (addr >> 10) & 0x1Fu, addr & 0x3FFu, 0, false};
        return true;
    }
    if (sg->current_access_logical != 0u || sg->current_phy_a15 > 1u || sg->current_phy_region == CI_ACCESS_UNKNOWN) {
        return false;
    }
    *t = Target{CI_SFR_ADDR, sg->current_phy_region, (sg->current_phy_a15 << 15) | (addr & 0x7FFFu), 0, false};
    return true;
}

bool window71(ci_camera_t* camera, const _sg_context_t* sg, ci_u32 addr, bool full, Target* t) {
    if (addr < CK_ADV_WINDOW || addr >= CK_ADV_WINDOW + CK_ADV_PAGE) return false;
    refreshIfUnknown(camera, full, sg->current_adv_base);
    if (sg->current_adv_base == CI_ACCESS_UNKNOWN) return false;
    *t = Target{CI_SFR_ADDR, 0, sg->current_adv_base + (addr - CK_ADV_WINDOW), 0, false};
    return true;
}

bool sameRegister(const ci_reg_data_t* a, const ci_reg_data_t* b) {
    return a == b || (a->reg_addr == b->reg_addr && a->reg_space == b->reg_space);
}

// The address word the port's address register holds now.
bool pointerWord(ci_camera_t* camera, ci_reg_data_t* addrReg, ci_u32* word) {
    _getRegisterLock(camera);
    const ci_error_code rc = _readSensorRegsNocache(camera, addrReg, 1, word);
    _releaseRegisterLock(camera);
    return rc == CI_CAMERA_SUCCESS || ci_GetRegCacheValueReg(camera, addrReg, word) == 0;
}

// Decodes a port address word into the location it names.
Target decodeWord(const _sg_context_t* sg, ci_s32 style, bool logical, ci_u32 word) {
    const bool byte = (word & 0x8000u) != 0;
    const ci_s32 width = byte ? 1 : 2;
    const bool upper = byte && style == CK_MCU_54;
    if (style == CK_MCU_16 && (word & 0x2000u)) return Target{CI_MCU_ADDR, (word >> 8) & 0x1Fu, word & 0xFFu, width, upper};
    if (style != CK_MCU_16 && logical) return Target{CI_MCU_ADDR, (word >> 10) & 0x1Fu, word & 0x3FFu, width, upper};
    const ci_u32 a15 = style == CK_MCU_16 ? 0u : (sg->current_phy_a15 & 1u);
    const ci_u32 region = style == CK_MCU_54 && sg->current_phy_region != CI_ACCESS_UNKNOWN ? sg->current_phy_region : 0u;
    return Target{CI_SFR_ADDR, region, (a15 << 15) | (word & 0x7FFFu), width, upper};
}

bool portTarget(ci_camera_t* camera, const _sg_context_t* sg, ci_s32 style, ci_reg_data_t* reg, Target* t) {
    const ck_mcu_port_regs* port = _mcuPortRegs(style);
    const ci_reg_data_t* data = port ? _mcuReg(camera, port->data) : nullptr;
    if (!data || !sameRegister(reg, data)) return false;
    if (style != CK_MCU_16) refreshIfUnknown(camera, true, sg->current_access_logical);
    const bool logical = style == CK_MCU_16 || sg->current_access_logical == 1u;
    if (!logical && sg->current_access_logical != 0u) return false;
    const char* addrName = logical ? port->logicalAddr : port->physicalAddr;
    ci_reg_data_t* addrReg = addrName ? _mcuReg(camera, addrName) : nullptr;
    ci_u32 word = 0;
    if (!addrReg || !pointerWord(camera, addrReg, &word)) return false;
    *t = decodeWord(sg, style, logical, word);
    return true;
}

bool locate(ci_camera_t* camera, ci_s32 style, ci_reg_data_t* reg, bool full, Target* t) {
    const _sg_context_t* sg = _ctx(camera)->sg_context;
    if (!sg) return false;
    switch (style) {
        case CK_MCU_55:
            return window55(camera, sg, reg->reg_addr, full, t);
        case CK_MCU_71:
            return window71(camera, sg, reg->reg_addr, full, t);
        case CK_MCU_16:
        case CK_MCU_44:
        case CK_MCU_54:
            return full && portTarget(camera, sg, style, reg, t);
        default:
            return false;
    }
}

ci_s32 widthOf(const ci_reg_data_t* var) {
    return _varMaskToIs8(var->bitmask);
}

// Invalidates every record of the target's kind whose bytes overlap
// [offset, offset + width); records are at most 4 bytes wide.
void forgetOverlaps(ci_camera_t* camera, const Target& t, ci_s32 width) {
    const ci_u32 lowest = t.offset >= 3u ? t.offset - 3u : 0u;
    for (ci_u32 start = lowest; start < t.offset + (ci_u32)width; ++start) {
        ci_reg_data_t* other = ci_FindRegisterAddr(camera, start, t.space, t.type);
        if (other && start + (ci_u32)widthOf(other) > t.offset) ci_InvalidateRegCacheReg(camera, other);
    }
}

}  // namespace

ci_s32 _findRamAlias(ci_camera_t* camera, ci_reg_data_t* reg, ci_s32 directOnly, ci_reg_data_t** var) {
    if (var) *var = nullptr;
    if (!camera || !_ctx(camera) || !camera->sensor || !reg || !isPlainRegister(reg)) return 0;
    // Direct-only mode answers for the mapped windows alone: any other address
    // is settled without asking the MCU style.
    if (directOnly != 0 && !_inMappedWindows(reg->reg_addr)) return 0;
    const ci_s32 style = ci_McuAddrStyle(camera);
    Target t;
    if (!locate(camera, style, reg, directOnly == 0, &t)) return 0;
    ci_reg_data_t* found = ci_FindRegisterAddr(camera, t.offset, t.space, t.type);
    if (directOnly == 0) {
        const ci_s32 width = t.width ? t.width : (found ? widthOf(found) : 2);
        forgetOverlaps(camera, t, width);
        if (found && (t.upperByte || widthOf(found) != width)) found = nullptr;
    }
    if (var) *var = found;
    return style;
}
