// One register line of a registers section, scanned and turned into its
// record (bitfield lines: sdat_bitfield_line.cpp).
#define CK_SOURCE "sensor_data"
#include "sensor/sdat_register_line.h"

#include <ctype.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sensor_types.h"

namespace {

// Registers in plain register spaces may cover several addresses.
bool is_plain_space(const ci_addr_space_val_t* space) {
    if (!space) return true;
    return space->type == CI_REG_ADDR || space->type == CI_FAR1_REG_ADDR || space->type == CI_FAR2_REG_ADDR;
}

// The run without the blanks and line ends around it (as osal_trim cuts
// them), at most `limit` characters of it.
sdat_span trimmed(sdat_span run, size_t limit) {
    const char* begin = run.text;
    const char* end = run.text + run.length;
    auto cut = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (begin < end && cut(*begin)) ++begin;
    while (end > begin && cut(end[-1])) --end;
    const size_t length = static_cast<size_t>(end - begin);
    return sdat_span{begin, length < limit ? length : limit};
}

bool has_white_space(const sdat_span& text) {
    for (size_t i = 0; i < text.length; ++i)
        if (isspace(static_cast<unsigned char>(text.text[i]))) return true;
    return false;
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

sdat_span sdat_register_name(const sdat_register_parts* parts) { return trimmed(parts->name, CI_STRING_LEN - 1); }

int sdat_fill_register_parts(const ci_sensor_t* sensor, const sdat_register_parts* parts, ci_reg_data_t* reg) {
    const sdat_span name = sdat_register_name(parts);
    memcpy(reg->unique_desc, name.text, name.length);
    reg->unique_desc[name.length] = '\0';
    reg->reg_addr = parts->addr;
    char spaceId[CI_STRING_LEN];
    const sdat_span space = trimmed(parts->space, sizeof spaceId - 1);
    memcpy(spaceId, space.text, space.length);
    spaceId[space.length] = '\0';
    place_in_space(sensor, spaceId, reg);
    reg->bitmask = parts->mask;
    reg->default_val = parts->def;
    char rw[5] = {};
    memcpy(rw, parts->rw.text, parts->rw.length < 4 ? parts->rw.length : 4);
    reg->rw = sdat_access(rw);
    sdat_descriptions_in(parts->rest.text, parts->rest.length, reg->reg_desc, reg->detail);
    reg->addr_span = (is_plain_space(reg->addr_space) && parts->span > 0) ? parts->span : 1;
    reg->datatype = CI_TYPE_HEX;
    reg->confidential = sdat_has_prefix(reg->unique_desc, "RESERVED_") ? 1 : 0;
    return name.length > 0 && !has_white_space(name);
}

void sdat_fill_register(const ci_sensor_t* sensor, const sdat_register_line* l, ci_reg_data_t* reg) {
    sdat_register_parts parts{};
    parts.name = sdat_span{l->name, strlen(l->name)};
    parts.addr = l->addr;
    parts.space = sdat_span{l->space, strlen(l->space)};
    parts.span = l->span;
    parts.mask = l->mask;
    parts.rw = sdat_span{l->rw, strlen(l->rw)};
    parts.def = l->def;
    parts.rest = sdat_span{l->rest, strlen(l->rest)};
    sdat_fill_register_parts(sensor, &parts, reg);
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
