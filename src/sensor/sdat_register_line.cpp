// One register line of a registers section, scanned and turned into its
// record (bitfield lines: sdat_bitfield_line.cpp).
#define CK_SOURCE "sensor_data"
#include "sensor/sdat_register_line.h"

#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sensor_types.h"

namespace {

// Registers in plain register spaces may cover several addresses.
bool is_plain_space(const ci_addr_space_val_t* space) {
    if (!space) return true;
    return space->type == CI_REG_ADDR || space->type == CI_FAR1_REG_ADDR || space->type == CI_FAR2_REG_ADDR;
}

void place_in_space(const ci_sensor_t* sensor, const char* spaceId, ci_reg_data_t* reg) {
    ci_addr_space_val_t* space = _get_addr_space(sensor->addr_space, spaceId);
    if (space) {
        reg->reg_space = space->val;
        reg->addr_space = space;
        return;
    }
    reg->reg_space = 0;
    ci_addr_space_t* table = sensor->addr_space;
    reg->addr_space = (table && table->num_vals > 0) ? &table->addr_space_val[0] : nullptr;
}

}  // namespace

void sdat_fill_register(const ci_sensor_t* sensor, const sdat_register_line* l, ci_reg_data_t* reg) {
    char spaceId[sizeof l->space];
    memcpy(spaceId, l->space, sizeof spaceId);
    StringCopyandCheckSpace(reg->unique_desc, l->name);
    reg->reg_addr = l->addr;
    place_in_space(sensor, osal_trim(spaceId), reg);
    reg->bitmask = l->mask;
    reg->default_val = l->def;
    reg->rw = sdat_access(l->rw);
    sdat_descriptions(l->rest, reg->reg_desc, reg->detail);
    reg->addr_span = (is_plain_space(reg->addr_space) && l->span > 0) ? l->span : 1;
    reg->datatype = CI_TYPE_HEX;
    reg->confidential = sdat_has_prefix(reg->unique_desc, "RESERVED_") ? 1 : 0;
}

void sdat_note_page_select(ci_sensor_t* sensor, const ci_reg_data_t* reg, int anyAddrSize) {
    const char* readReg = "";
    const char* writeReg = "";
    _pageSelectRegs(sensor->sensorType, &readReg, &writeReg);
    bool forRead = readReg[0] && osal_stricmp(reg->unique_desc, readReg) == 0;
    bool forWrite = writeReg[0] && osal_stricmp(reg->unique_desc, writeReg) == 0;
    ci_addr_space_t* table = sensor->addr_space;
    if ((!forRead && !forWrite) || !table) return;
    ci_addr_type type = reg->addr_space ? reg->addr_space->type : CI_REG_ADDR;
    if (type == CI_FAR1_REG_ADDR) {
        table->far1_reg_addr = reg->reg_addr;
    } else if (type == CI_FAR2_REG_ADDR) {
        table->far2_reg_addr = reg->reg_addr;
    } else if (anyAddrSize || sensor->reg_addr_size == 8) {
        if (forRead) table->reg_addr_read = reg->reg_addr;
        if (forWrite) table->reg_addr_write = reg->reg_addr;
    }
}
