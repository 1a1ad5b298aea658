// Tracking of the MCU access state: which part of the MCU's memory the
// sensor's mapped window currently shows.  Writes and reads of the access
// control registers update the state kept in the shared-global context.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"

namespace {

bool pagedStyle(ci_s32 style) {
    return style == CK_MCU_44 || style == CK_MCU_54 || style == CK_MCU_55;
}

// The roles of the port registers of a paged style, named once.
struct PortRoles {
    ci_u32 control;
    ci_u32 physical;
    ci_u32 logical;
};

PortRoles rolesOfPort(const ck_mcu_port_regs* port) {
    auto role = [](const char* name) { return name ? _regRoleOfName(name) : 0u; };
    return PortRoles{role(port->control), role(port->physicalAddr), role(port->logicalAddr)};
}

const PortRoles& portRoles(ci_s32 style) {
    static const PortRoles k44 = rolesOfPort(_mcuPortRegs(CK_MCU_44));
    static const PortRoles k54 = rolesOfPort(_mcuPortRegs(CK_MCU_54));
    return style == CK_MCU_44 ? k44 : k54;
}

// The roles of a register in the tracking: most registers have none, and
// then the MCU style need not even be asked.
ci_u32 rolesOf(ci_camera_t* camera, const ci_reg_data_t* reg) {
    return _regRoles(camera->sensor, reg);
}

void takeRegion(_sg_context_t* shared, ci_u32 val) {
    shared->current_phy_region = (val >> 6) & 0x3u;
    shared->current_phy_a15 = val & 0x1u;
}

_sg_context_t* sharedState(ci_camera_t* camera, const ci_reg_data_t* reg) {
    _common_context_t* context = _ctx(camera);
    return (context && reg) ? context->sg_context : nullptr;
}

// Reads a register from the device under the lock, bypassing the cache
// (the read itself updates the tracked paged state); the value of a
// successful read is also handed to use, still under the lock.
template <typename Use>
void refreshFrom(ci_camera_t* camera, const char* name, Use use) {
    ci_reg_data_t* reg = _registerLookup(camera, -1, name);
    if (!reg) {
        return;
    }
    RegisterLock lock(camera);
    ci_u32 val = 0;
    if (_readSensorRegsNocache(camera, reg, 1, &val) == CI_CAMERA_SUCCESS) {
        use(val);
    }
}

}  // namespace

void _trackDirectAccess(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    _sg_context_t* shared = sharedState(camera, reg);
    const ci_u32 roles = shared ? rolesOf(camera, reg) : 0;
    if (roles == 0) {
        return;
    }
    const ci_s32 style = ci_McuAddrStyle(camera);
    if (pagedStyle(style)) {
        const PortRoles& port = portRoles(style);
        if (roles & port.control) {
            takeRegion(shared, val);
        } else if (roles & port.physical) {
            shared->current_access_logical = 0;
        } else if (roles & port.logical) {
            shared->current_access_logical = 1;
        }
    } else if (style == CK_MCU_71 && (roles & CK_ROLE_ADVANCED_BASE)) {
        shared->current_adv_base = val;
    }
}

void _trackDirectAccessRead(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32 val) {
    _sg_context_t* shared = sharedState(camera, reg);
    if (!shared || !(rolesOf(camera, reg) & CK_ROLE_ACCESS_CTL_STAT) || !pagedStyle(ci_McuAddrStyle(camera))) {
        return;
    }
    shared->current_access_logical = (val & 0x4u) ? 0 : 1;
    takeRegion(shared, val);
}

void _updateDirectAccess(ci_camera_t* camera) {
    const ci_s32 style = ci_McuAddrStyle(camera);
    if (pagedStyle(style)) {
        refreshFrom(camera, "ACCESS_CTL_STAT", [](ci_u32) {});
    } else if (style == CK_MCU_71) {
        refreshFrom(camera, "ADVANCED_BASE", [camera](ci_u32 val) {
            if (_sg_context_t* shared = _ctx(camera)->sg_context) {
                shared->current_adv_base = val;
            }
        });
    }
}

void _forgetAccessState(_sg_context_t* shared) {
    shared->current_access_logical = CI_ACCESS_UNKNOWN;
    shared->current_phy_region = CI_ACCESS_UNKNOWN;
    shared->current_phy_a15 = CI_ACCESS_UNKNOWN;
    shared->current_adv_base = CI_ACCESS_UNKNOWN;
}

void _initialRegModes(ci_camera_t* camera) {
    const ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    if (!sensor) {
        return;
    }
    if (_advancedBaseType((ci_u32)sensor->sensorType)) {
        ci_setMode(camera, CI_ALLOW_FAR_ACCESS, 0);
    }
}
