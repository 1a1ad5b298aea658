// `bitfield` inside `reg`: a bitfield record of the current register.  The
// register's bitfield array starts with room for 33 and doubles when full;
// the end of the register cuts it to size.
#define CK_SOURCE "xmlsdat"
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "sensor/xmlsdat_handler.h"

namespace {

const ci_s32 kFirstCapacity = CI_MAX_BITFIELDS;

bool make_room(_SdatHandler* h, ci_reg_data_t* reg) {
    if (reg->num_bitfields < h->bitfieldCapacity) return true;
    ci_s32 capacity = h->bitfieldCapacity > 0 ? h->bitfieldCapacity * 2 : kFirstCapacity;
    if (capacity < reg->num_bitfields + 1 || capacity > INT32_MAX / 2) return false;
    void* grown = realloc(reg->bitfield, static_cast<size_t>(capacity) * sizeof *reg->bitfield);
    if (!grown) return false;
    reg->bitfield = static_cast<ci_bitfield_t*>(grown);
    h->bitfieldCapacity = capacity;
    return true;
}

void read_attributes(ci_bitfield_t* bf, const char** atts) {
    const xml_field_view view{bf->id,        &bf->bitmask, &bf->rw,      bf->desc,
                              &bf->datatype, &bf->minimum, &bf->maximum, &bf->confidential};
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it)) xml_field_attr(&it, &view);
}

}  // namespace

bool xml_bitfield_start(_SdatHandler* h, const char** atts) {
    ci_reg_data_t* reg = xml_current_reg(h);
    if (!reg) return xml_ok(h);  // outside a register that was stored
    if (!make_room(h, reg)) {
        xml_fail(h, CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate bitfields"));
        return false;
    }
    ci_bitfield_t* bf = &reg->bitfield[reg->num_bitfields];
    memset(bf, 0, sizeof *bf);
    bf->rw = 1;
    bf->datatype = CI_TYPE_UNSIGNED;
    read_attributes(bf, atts);
    h->bitfield = reg->num_bitfields++;
    h->inBitfield = true;
    return xml_ok(h);
}

void xml_bitfield_end(_SdatHandler* h) {
    h->inBitfield = false;
    h->bitfield = -1;
}

void xml_bitfields_fit(_SdatHandler* h, ci_reg_data_t* reg) {
    if (reg->num_bitfields == h->bitfieldCapacity) return;
    if (reg->num_bitfields == 0) {
        free(reg->bitfield);
        reg->bitfield = nullptr;
    } else {
        void* exact = realloc(reg->bitfield, static_cast<size_t>(reg->num_bitfields) * sizeof *reg->bitfield);
        if (exact) reg->bitfield = static_cast<ci_bitfield_t*>(exact);
    }
    h->bitfieldCapacity = reg->num_bitfields;
}
