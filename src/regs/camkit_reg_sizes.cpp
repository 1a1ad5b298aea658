// Bus address and data widths by address type, and the address step between
// consecutive registers.
#define CK_SOURCE "camkit_reg"
#include "regs/regs_internal.h"
#include "sensor/sensor_traits.h"

namespace {

const ci_addr_space_val_t* firstSpaceOfType(const ci_addr_space_t* table, ci_addr_type type) {
    for (ci_s32 i = 0; table->addr_space_val && i < table->num_vals; ++i) {
        if (table->addr_space_val[i].type == type) {
            return &table->addr_space_val[i];
        }
    }
    return nullptr;
}

// Width of one kind (address or data) for an address type.
ci_u32 width(ci_camera_t* camera, ci_addr_type type, bool address) {
    const ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    if (!sensor) {
        return 0;
    }
    const ci_u32 own = address ? sensor->reg_addr_size : sensor->reg_data_size;
    if (!sensor->addr_space || type == CI_REG_ADDR) {
        return own;
    }
    if (type != CI_FAR1_REG_ADDR && type != CI_FAR2_REG_ADDR) {
        return 0;
    }
    const ci_addr_space_val_t* far = firstSpaceOfType(sensor->addr_space, type);
    if (!far) {
        return 0;
    }
    return address ? far->far_addr_size : far->far_data_size;
}

}  // namespace

ci_u32 _regAddrSize(ci_camera_t* camera, ci_addr_type type) {
    return width(camera, type, true);
}

ci_u32 _regDataSize(ci_camera_t* camera, ci_addr_type type) {
    return width(camera, type, false);
}

// Registers of 16-bit-address, 16-bit-data buses sit at even addresses; a
// few sensor models are fixed whatever their widths.
ci_u32 ci_GetAddrIncrement(ci_camera_t* camera, ci_addr_type addrType) {
    const ci_sensor_t* sensor = camera ? camera->sensor : nullptr;
    if (!sensor) {
        return 1;
    }
    if (addrType == CI_REG_ADDR) {
        const ci_u32 step = _sensorTraits((ci_u32)sensor->sensorType).regAddrStep;
        if (step != 0) {
            return step;
        }
    } else if (addrType != CI_FAR1_REG_ADDR && addrType != CI_FAR2_REG_ADDR) {
        return 1;
    }
    return (_regAddrSize(camera, addrType) == 16 && _regDataSize(camera, addrType) == 16) ? 2 : 1;
}
