// Appends a far sensor's address spaces and registers to the near sensor's
// tables.  The near table moves, so every register's space pointer is
// recomputed from its index.
#define CK_SOURCE "sensor_data"
#include "sensor/sensor_far_merge.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sensor/regmap_arena.h"

namespace {

// The type of a far file's own space on far bus `bus`.
ci_addr_type on_bus(ci_addr_type type, ci_s32 bus) {
    const bool second = bus == 2;
    switch (type) {
        case CI_MCU_ADDR:
        case CI_FAR1_MCU_ADDR:
        case CI_FAR2_MCU_ADDR:
            return second ? CI_FAR2_MCU_ADDR : CI_FAR1_MCU_ADDR;
        case CI_SFR_ADDR:
        case CI_FAR1_SFR_ADDR:
        case CI_FAR2_SFR_ADDR:
            return second ? CI_FAR2_SFR_ADDR : CI_FAR1_SFR_ADDR;
        default:
            return second ? CI_FAR2_REG_ADDR : CI_FAR1_REG_ADDR;
    }
}

bool is_plain(ci_addr_type type) {
    return type == CI_REG_ADDR || type == CI_FAR1_REG_ADDR || type == CI_FAR2_REG_ADDR;
}

// The far spaces as they will stand in the near table.  A far file without
// spaces gets one plain space named after the subdevice.
ci_addr_space_val_t* far_spaces(const ci_sensor_t* far, const char* id, ci_s32 bus, ci_u32 base, ci_s32* count) {
    const ci_addr_space_t* own = far->addr_space;
    *count = (own && own->num_vals > 0) ? own->num_vals : 1;
    auto* vals = static_cast<ci_addr_space_val_t*>(calloc(static_cast<size_t>(*count), sizeof(ci_addr_space_val_t)));
    if (!vals) return nullptr;
    for (ci_s32 i = 0; i < *count; ++i) {
        ci_addr_space_val_t* v = &vals[i];
        if (own && own->num_vals > 0) {
            *v = own->addr_space_val[i];
            snprintf(v->ID, sizeof v->ID, "%s_%.200s", id, own->addr_space_val[i].ID);
        } else {
            snprintf(v->ID, sizeof v->ID, "%s", id);
            snprintf(v->name, sizeof v->name, "%s", far->sensorName);
        }
        v->type = on_bus(own && own->num_vals > 0 ? v->type : CI_REG_ADDR, bus);
        v->far_base = base;
        v->far_addr_size = far->reg_addr_size;
        v->far_data_size = far->reg_data_size;
    }
    return vals;
}

bool append_spaces(ci_sensor_t* near, const ci_addr_space_val_t* add, ci_s32 count) {
    if (!near->addr_space) {
        near->addr_space = static_cast<ci_addr_space_t*>(calloc(1, sizeof(ci_addr_space_t)));
        if (!near->addr_space) return false;
    }
    ci_addr_space_t* table = near->addr_space;
    ci_addr_space_val_t* old = table->addr_space_val;
    size_t total = static_cast<size_t>(table->num_vals) + static_cast<size_t>(count);
    auto* vals = static_cast<ci_addr_space_val_t*>(malloc(total * sizeof(ci_addr_space_val_t)));
    if (!vals) return false;
    if (old) memcpy(vals, old, static_cast<size_t>(table->num_vals) * sizeof *vals);
    memcpy(vals + table->num_vals, add, static_cast<size_t>(count) * sizeof *vals);
    for (ci_s32 i = 0; i < near->num_regs; ++i)
        if (near->regs[i].addr_space) near->regs[i].addr_space = vals + (near->regs[i].addr_space - old);
    free(old);
    table->addr_space_val = vals;
    table->num_vals = static_cast<ci_s32>(total);
    return true;
}

// Copies the far registers (with their bitfields) to the end of near's
// array, named after the subdevice and placed in the appended spaces.
bool append_registers(ci_sensor_t* near, const ci_sensor_t* far, const char* id, ci_s32 firstSpace) {
    if (far->num_regs <= 0) return true;
    size_t total = static_cast<size_t>(near->num_regs) + static_cast<size_t>(far->num_regs);
    ci_reg_data_t* grown = regmap_grow_registers(near->regs, static_cast<size_t>(near->num_regs), total, 0);
    if (!grown) return false;
    near->regs = grown;
    ci_addr_space_val_t* spaces = near->addr_space->addr_space_val;
    for (ci_s32 i = 0; i < far->num_regs; ++i) {
        const ci_reg_data_t* src = &far->regs[i];
        ci_reg_data_t* reg = &near->regs[near->num_regs];
        *reg = *src;
        snprintf(reg->unique_desc, sizeof reg->unique_desc, "%s_%.200s", id, src->unique_desc);
        ci_s32 index = (src->addr_space && far->addr_space) ? static_cast<ci_s32>(src->addr_space -
                                                                                  far->addr_space->addr_space_val)
                                                            : 0;
        reg->addr_space = &spaces[firstSpace + index];
        reg->reg_space = src->addr_space ? src->reg_space : reg->addr_space->val;
        if (!is_plain(reg->addr_space->type)) reg->addr_span = 1;
        reg->bitfield = nullptr;
        reg->num_bitfields = 0;
        if (src->num_bitfields > 0) {
            size_t bytes = static_cast<size_t>(src->num_bitfields) * sizeof(ci_bitfield_t);
            reg->bitfield = static_cast<ci_bitfield_t*>(malloc(bytes));
            if (!reg->bitfield) return false;
            memcpy(reg->bitfield, src->bitfield, bytes);
            reg->num_bitfields = src->num_bitfields;
        }
        near->num_regs++;
    }
    return true;
}

}  // namespace

bool sensor_far_merge(ci_sensor_t* near, const ci_sensor_t* far, const char* id, ci_s32 bus, ci_u32 base) {
    auto* record = static_cast<ci_sensor_t*>(malloc(sizeof(ci_sensor_t)));
    if (!record) return false;
    *record = *far;
    record->shipAddr = base;
    record->num_regs = 0;
    record->regs = nullptr;
    record->addr_space = nullptr;
    record->num_long_desc = 0;
    record->long_desc = nullptr;
    record->far1_sensor = nullptr;
    record->far2_sensor = nullptr;

    ci_s32 count = 0;
    ci_addr_space_val_t* spaces = far_spaces(far, id, bus, base, &count);
    ci_s32 firstSpace = near->addr_space ? near->addr_space->num_vals : 0;
    bool ok = spaces && append_spaces(near, spaces, count) && append_registers(near, far, id, firstSpace);
    free(spaces);
    if (!ok) {
        free(record);
        return false;
    }
    ci_sensor_t** slot = bus == 2 ? &near->far2_sensor : &near->far1_sensor;
    free(*slot);
    *slot = record;
    return true;
}
