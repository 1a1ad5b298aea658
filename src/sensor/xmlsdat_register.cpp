// `reg`: a register record.  The register array starts with room for two
// and doubles when full; a name index finds duplicates without a quadratic
// search.
#define CK_SOURCE "xmlsdat"
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "sensor/sdat_register_line.h"
#include "sensor/xmlsdat_handler.h"

namespace {

const ci_s32 kFirstCapacity = 2;

bool index_all(_SdatHandler* h) {
    sdat_name_index_free(&h->names);
    if (!sdat_name_index_init(&h->names, h->regCapacity)) return false;
    for (ci_s32 i = 0; i < h->r.sensor->num_regs; ++i) sdat_name_index_add(&h->names, h->r.sensor->regs, i);
    return true;
}

bool make_room(_SdatHandler* h) {
    ci_sensor_t* sensor = h->r.sensor;
    if (sensor->num_regs < h->regCapacity && h->names.slots) return true;
    ci_s32 capacity = h->regCapacity > 0 ? h->regCapacity : kFirstCapacity;
    if (sensor->num_regs >= capacity) {
        if (capacity > INT32_MAX / 2 || static_cast<size_t>(capacity) * 2 > SIZE_MAX / sizeof *sensor->regs)
            return false;
        capacity *= 2;
    }
    void* grown = realloc(sensor->regs, static_cast<size_t>(capacity) * sizeof *sensor->regs);
    if (!grown) return false;
    sensor->regs = static_cast<ci_reg_data_t*>(grown);
    memset(sensor->regs + sensor->num_regs, 0, static_cast<size_t>(capacity - sensor->num_regs) * sizeof *sensor->regs);
    h->regCapacity = capacity;
    return index_all(h);
}

// 0xFF for 8-bit data, 0xFFFF for 16-bit, and 0xFFFFFFFE for 32-bit.
ci_u32 default_mask(ci_u32 dataSize) {
    if (dataSize == 0 || dataSize > 32) return 0xFFFFFFFEu;
    return static_cast<ci_u32>(0xFFFFFFFEull >> (32 - dataSize));
}

bool is_plain_space(const ci_addr_space_val_t* space) {
    if (!space) return true;
    return space->type == CI_REG_ADDR || space->type == CI_FAR1_REG_ADDR || space->type == CI_FAR2_REG_ADDR;
}

void start_register(const ci_sensor_t* sensor, ci_reg_data_t* reg) {
    memset(reg, 0, sizeof *reg);
    reg->addr_span = 1;
    reg->rw = 1;
    reg->datatype = CI_TYPE_UNSIGNED;
    reg->bitmask = default_mask(sensor->reg_data_size);
    ci_addr_space_t* table = sensor->addr_space;
    if (table && table->num_vals > 0) {
        reg->addr_space = &table->addr_space_val[table->num_vals - 1];
        reg->reg_space = reg->addr_space->val;
    }
}

// An unknown ID gives the first entry and the value 0.
void place_in_space(const ci_sensor_t* sensor, const char* id, ci_reg_data_t* reg) {
    ci_addr_space_val_t* space = _get_addr_space(sensor->addr_space, id);
    if (space) {
        reg->addr_space = space;
        reg->reg_space = space->val;
        return;
    }
    ci_addr_space_t* table = sensor->addr_space;
    reg->addr_space = (table && table->num_vals > 0) ? &table->addr_space_val[0] : nullptr;
    reg->reg_space = 0;
}

void read_attributes(const ci_sensor_t* sensor, ci_reg_data_t* reg, const char** atts) {
    const xml_field_view view{reg->unique_desc, &reg->bitmask, &reg->rw,      reg->reg_desc,
                              &reg->datatype,   &reg->minimum, &reg->maximum, &reg->confidential};
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it)) {
        if (xml_field_attr(&it, &view)) continue;
        if (xml_attr_is(&it, "addr"))
            reg->reg_addr = xml_number(it.value);
        else if (xml_attr_is(&it, "span"))
            reg->addr_span = xml_number(it.value);
        else if (xml_attr_is(&it, "default"))
            reg->default_val = xml_number(it.value);
        else if (xml_attr_is(&it, "space"))
            place_in_space(sensor, it.value, reg);
        else if (xml_attr_is(&it, "volatile"))
            reg->volat = (it.value[0] == 'Y' || it.value[0] == 'y') ? 1 : 0;
    }
}

}  // namespace

bool xml_reg_start(_SdatHandler* h, const char** atts) {
    ci_sensor_t* sensor = h->r.sensor;
    h->inReg = true;
    h->reg = -1;
    h->bitfield = -1;
    h->bitfieldCapacity = 0;
    if (!make_room(h)) {
        xml_fail(h, CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers"));
        return false;
    }
    ci_reg_data_t* reg = &sensor->regs[sensor->num_regs];
    start_register(sensor, reg);
    read_attributes(sensor, reg, atts);
    if (sdat_name_index_find(&h->names, sensor->regs, reg->unique_desc) >= 0) {
        xml_note_element(h, "reg", reg->unique_desc);
        xml_fail(h, xml_report(h, CI_DUPLICATE_DESC_ERROR));
        memset(reg, 0, sizeof *reg);
        return true;  // the end of the element stops the parse
    }
    if (!is_plain_space(reg->addr_space) || reg->addr_span == 0) reg->addr_span = 1;
    sdat_note_page_select(sensor, reg, 1);
    h->reg = sensor->num_regs++;
    sdat_name_index_add(&h->names, sensor->regs, h->reg);
    ci_error_code reject = sdat_reject_chip_version(&h->r, reg);
    if (reject != CI_CAMERA_SUCCESS) {
        h->m_retVal = reject;
        return false;
    }
    return xml_ok(h);
}

void xml_reg_end(_SdatHandler* h) {
    ci_reg_data_t* reg = xml_current_reg(h);
    if (reg) xml_bitfields_fit(h, reg);
    h->inReg = false;
    h->inBitfield = false;
    h->reg = -1;
    h->bitfield = -1;
}

void xml_registers_end(_SdatHandler* h) { xml_reg_end(h); }
