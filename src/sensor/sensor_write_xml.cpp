// The XML writer: the `sensor` element, part numbers and probe terms (joined
// by `or_match`), address spaces, registers with their bitfields and
// details, and long descriptions.  Every value a reader defaults is written
// out, so the file does not depend on those defaults.
#define CK_SOURCE "sensor_data"
#include <stdio.h>
#include <string.h>

#include "sensor/sensor_write.h"
#include "sensor/xml_out.h"

namespace {

void value_list(xml_out* x, const char* name, const ci_u32* values, ci_s32 count) {
    char text[CI_MAX_SHIP_ADDRS * 12 + 1] = "";
    size_t used = 0;
    for (ci_s32 i = 0; i < count && i < CI_MAX_SHIP_ADDRS; ++i)
        used += static_cast<size_t>(snprintf(text + used, sizeof text - used, i ? " 0x%X" : "0x%X", values[i]));
    xml_out_attr(x, name, text);
}

void pair(xml_out* x, const char* name, ci_u32 value, ci_u32 size) {
    char text[32];
    snprintf(text, sizeof text, "0x%X : %u", value, size);
    xml_out_attr(x, name, text);
}

void sensor_element(xml_out* x, const sensor_source* src) {
    const ci_sensor_t* s = src->sensor;
    const _common_context_t* c = src->ctx;
    xml_out_open(x, "sensor");
    xml_out_attr(x, "name", s->sensorName);
    if (s->partNumber[0]) xml_out_attr(x, "part_number", s->partNumber);
    xml_out_attr_u(x, "version", s->sensorVersion);
    xml_out_attr(x, "version_name", s->versionName);
    xml_out_attr_u(x, "width", s->width);
    xml_out_attr_u(x, "height", s->height);
    xml_out_attr_u(x, "full_width", s->fullWidth);
    xml_out_attr_u(x, "full_height", s->fullHeight);
    const char* image = sensor_image_keyword(src);
    if (image) xml_out_attr(x, "image_type", image);
    if (sensor_bits_per_clock_given(c)) xml_out_attr_u(x, "bits_per_clock", c->bitsPerClock);
    xml_out_attr_u(x, "clocks_per_pixel", c->clocksPerPixel);
    xml_out_attr_u(x, "pixel_clock_polarity", static_cast<ci_u32>(c->pixclk_polarity));
    xml_out_attr_u(x, "reg_addr_size", s->reg_addr_size);
    xml_out_attr_u(x, "reg_data_size", s->reg_data_size);
    ci_s32 bases = c->num_shipAddrs > CI_MAX_SHIP_ADDRS ? CI_MAX_SHIP_ADDRS : c->num_shipAddrs;
    if (bases > 0) value_list(x, "ship_base_address", c->shipAddr, bases);
    xml_out_close(x, "sensor");
}

void part_number(xml_out* x, const _partNumberData* pn) {
    xml_out_open(x, "part_number");
    xml_out_attr(x, "name", pn->partNumber);
    // Values a new entry starts with are left out.
    if (pn->regName[0]) xml_out_attr(x, "reg", pn->regName);
    if (pn->baseAddr) xml_out_attr_x(x, "serial", pn->baseAddr);
    if (pn->regAddr || pn->addrSize != 8) pair(x, "addr", pn->regAddr, pn->addrSize);
    if (pn->mask || pn->dataSize != 16) pair(x, "mask", pn->mask, pn->dataSize);
    if (pn->numValues > 0) value_list(x, "value", pn->value, pn->numValues);
    xml_out_close(x, "part_number");
}

void reg_data(xml_out* x, const char* element, const _regData* d) {
    xml_out_open(x, element);
    xml_out_attr(x, "reg", d->regName);
    xml_out_attr_x(x, "mask", d->mask);
    value_list(x, "value", d->value, d->numValues);
    xml_out_close(x, element);
}

void version_write(xml_out* x, const _versionRegWrite* w) {
    bool plain = sensor_is_plain_write(w);
    const char* element = plain ? "version_reg_write" : "version_reg_waitfor";
    xml_out_open(x, element);
    xml_out_attr(x, "reg", w->regName);
    xml_out_attr_x(x, "mask", w->mask);
    value_list(x, "value", w->value, w->numValues);
    if (!plain) xml_out_attr_u(x, "timeout", static_cast<ci_u32>(w->timeout));
    xml_out_close(x, element);
}

void probe_term(xml_out* x, const _probe_term_t* t) {
    bool resetif = t->version_reg_resetif.regName[0] || t->version_reg_resetif.numValues > 0 ||
                   t->version_reg_resetif.mask;
    if (resetif) reg_data(x, "version_reg_resetif", &t->version_reg_resetif);
    for (ci_s32 i = 0; i < t->num_version_reg_write && i < CI_MAX_VERSION_REG_WRITES; ++i)
        version_write(x, &t->version_reg_write[i]);
    for (ci_s32 i = 0; i < t->num_version_reg_read && i < CI_MAX_VERSION_REG_READS; ++i)
        reg_data(x, "version_reg_read", &t->version_reg_read[i]);
    if (t->extra_desc_reg[0] || t->extra_desc_mask || t->num_extra_desc_val > 0) {
        xml_out_open(x, "extra_match");
        xml_out_attr(x, "reg", t->extra_desc_reg);
        xml_out_attr_x(x, "mask", t->extra_desc_mask);
        value_list(x, "value", t->extra_desc_val, t->num_extra_desc_val);
        xml_out_close(x, "extra_match");
    }
    for (ci_s32 i = 0; i < t->num_serial_match && i < CI_MAX_SERIAL_MATCHES; ++i) {
        const _extraSerialMatch* m = &t->extra_serial_match[i];
        xml_out_open(x, "extra_match");
        xml_out_attr_x(x, "serial", m->baseAddr);
        pair(x, "addr", m->regAddr, m->addrSize);
        pair(x, "mask", m->mask, m->dataSize);
        value_list(x, "value", m->value, m->numValues);
        xml_out_close(x, "extra_match");
    }
}

void probe_data(xml_out* x, const _common_context_t* c) {
    for (ci_s32 i = 0; i < c->num_partNumbers && i < CI_MAX_PART_NUMBERS; ++i) part_number(x, &c->partNumber[i]);
    ci_s32 terms = c->num_probe_term < 1 ? 1 : c->num_probe_term > CI_MAX_PROBE_TERMS ? CI_MAX_PROBE_TERMS
                                                                                         : c->num_probe_term;
    for (ci_s32 t = 0; t < terms; ++t) {
        if (t > 0) {
            xml_out_open(x, "or_match");
            xml_out_close(x, "or_match");
        }
        probe_term(x, &c->probe_term[t]);
    }
}

void address_spaces(xml_out* x, const ci_addr_space_t* table) {
    if (!table) return;
    xml_out_open(x, "addr_spaces");
    for (ci_s32 i = 0; i < table->num_vals; ++i) {
        const ci_addr_space_val_t* v = &table->addr_space_val[i];
        xml_out_open(x, "space");
        xml_out_attr(x, "name", v->ID);
        xml_out_attr(x, "type", sensor_space_keyword(v->type));
        xml_out_attr_x(x, "value", v->val);
        xml_out_attr(x, "desc", v->name);
        if (v->far_base || v->far_addr_size || v->far_data_size) {
            xml_out_attr_x(x, "far_base", v->far_base);
            xml_out_attr_u(x, "far_addr_size", v->far_addr_size);
            xml_out_attr_u(x, "far_data_size", v->far_data_size);
        }
        xml_out_close(x, "space");
    }
    xml_out_close(x, "addr_spaces");
}

// Attributes registers and bitfields share, in the order the reader needs:
// data type and mask before the range.
void field_attrs(xml_out* x, ci_u32 rw, const char* desc, ci_data_types type, ci_u32 minimum, ci_u32 maximum,
                 ci_u32 confidential) {
    xml_out_attr(x, "rw", sensor_access_keyword(rw));
    xml_out_attr(x, "display_name", desc);
    xml_out_attr(x, "datatype", ci_GetDataTypeString(type));
    if (minimum || maximum) {
        char range[32];
        snprintf(range, sizeof range, "0x%X 0x%X", minimum, maximum);
        xml_out_attr(x, "range", range);
    }
    if (confidential) xml_out_attr(x, "confidential", confidential == 2 ? "P" : "Y");
}

void bitfield(xml_out* x, const ci_bitfield_t* f) {
    xml_out_open(x, "bitfield");
    xml_out_attr(x, "name", f->id);
    xml_out_attr_x(x, "mask", f->bitmask);
    field_attrs(x, f->rw, f->desc, f->datatype, f->minimum, f->maximum, f->confidential);
    if (f->detail[0]) xml_out_text_element(x, "detail", f->detail);
    xml_out_close(x, "bitfield");
}

void reg(xml_out* x, const ci_sensor_t* s, const ci_reg_data_t* r) {
    xml_out_open(x, "reg");
    xml_out_attr(x, "name", r->unique_desc);
    xml_out_attr_x(x, "addr", r->reg_addr);
    if (r->addr_space || (s->addr_space && s->addr_space->num_vals > 0)) xml_out_attr(x, "space", sensor_space_of(r));
    xml_out_attr_u(x, "span", r->addr_span);
    xml_out_attr_x(x, "mask", r->bitmask);
    xml_out_attr_x(x, "default", r->default_val);
    field_attrs(x, r->rw, r->reg_desc, r->datatype, r->minimum, r->maximum, r->confidential);
    if (r->volat) xml_out_attr(x, "volatile", "Y");
    for (ci_s32 b = 0; b < r->num_bitfields; ++b) bitfield(x, &r->bitfield[b]);
    if (r->detail[0]) xml_out_text_element(x, "detail", r->detail);
    xml_out_close(x, "reg");
}

void registers(xml_out* x, const ci_sensor_t* s, ci_s32 from, ci_s32 to) {
    if (from >= to) return;
    xml_out_open(x, "registers");
    for (ci_s32 i = from; i < to; ++i) reg(x, s, &s->regs[i]);
    xml_out_close(x, "registers");
}

void long_descriptions(xml_out* x, const ci_sensor_t* s) {
    for (ci_s32 i = 0; i < s->num_long_desc; ++i) {
        const ci_long_desc_t* d = &s->long_desc[i];
        if (!d->regName || !d->longDesc) continue;  // the mark of "none found"
        xml_out_open(x, "long_desc");
        xml_out_attr(x, "reg", d->regName);
        if (d->bitfieldName) xml_out_attr(x, "bitfield", d->bitfieldName);
        xml_out_text(x, d->longDesc);
        x->depth--;
        fputs("</long_desc>", x->fp);
    }
}

}  // namespace

ci_error_code sensor_write_xml(FILE* fp, const sensor_source* src) {
    const ci_sensor_t* s = src->sensor;
    xml_out x;
    xml_out_begin(&x, fp);
    xml_out_open(&x, "sensor_data");
    sensor_element(&x, src);
    probe_data(&x, src->ctx);
    ci_s32 early = sensor_regs_before_spaces(s);
    registers(&x, s, 0, early);
    address_spaces(&x, s->addr_space);
    registers(&x, s, early, s->num_regs);
    long_descriptions(&x, s);
    xml_out_close(&x, "sensor_data");
    fputc('\n', fp);
    if (!x.unwritable) return CI_CAMERA_SUCCESS;
    char message[CI_STRING_LEN + 96];
    snprintf(message, sizeof message, "a text is not UTF-8 or holds control characters XML cannot carry: \"%.200s\"",
             x.what);
    return CK_ERR(CI_CAMERA_ERROR, message);
}
