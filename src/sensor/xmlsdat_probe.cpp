// Probe elements: version registers to write, wait for and read, extra
// matches, part numbers, and `or_match`, which opens the next probe term.
#define CK_SOURCE "xmlsdat"
#include <string.h>

#include "sensor/xmlsdat_handler.h"

namespace {

const ci_s32 kDefaultWaitTimeout = 500;

// The attributes a probe element may carry, collected before use so that
// their order does not matter.
struct probe_attrs {
    bool hasReg = false;
    bool hasSerial = false;
    char reg[CI_STRING_LEN] = "";
    char name[CI_STRING_LEN] = "";
    char value[XML_ATTR_MAX] = "";
    char addr[64] = "";
    char mask[64] = "";
    ci_u32 serial = 0;
    ci_s32 timeout = kDefaultWaitTimeout;
};

void collect(const char** atts, probe_attrs* a) {
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it)) {
        if (xml_attr_is(&it, "reg")) {
            a->hasReg = true;
            xml_copy(a->reg, sizeof a->reg, it.value);
        } else if (xml_attr_is(&it, "serial")) {
            a->hasSerial = true;
            a->serial = xml_number(it.value);
        } else if (xml_attr_is(&it, "name")) {
            xml_copy(a->name, sizeof a->name, it.value);
        } else if (xml_attr_is(&it, "value")) {
            xml_copy(a->value, sizeof a->value, it.value);
        } else if (xml_attr_is(&it, "addr")) {
            xml_copy(a->addr, sizeof a->addr, it.value);
        } else if (xml_attr_is(&it, "mask")) {
            xml_copy(a->mask, sizeof a->mask, it.value);
        } else if (xml_attr_is(&it, "timeout")) {
            a->timeout = static_cast<ci_s32>(xml_number(it.value));
        }
    }
}

bool go_on(_SdatHandler* h, ci_error_code e) {
    if (e != CI_CAMERA_SUCCESS) xml_fail(h, e);
    return xml_ok(h);
}

// A register, its mask and its values.
ci_error_code reg_data(_SdatHandler* h, const char* element, const probe_attrs* a, _regData* d) {
    memset(d, 0, sizeof *d);
    xml_copy(d->regName, sizeof d->regName, a->reg);
    d->mask = xml_number(a->mask);
    return xml_value_list(h, element, a->value, d->value, CI_MAX_VALUES, &d->numValues);
}

ci_error_code add_write(_SdatHandler* h, const char* element, const probe_attrs* a, bool wait) {
    _probe_term_t* t = h->term;
    if (t->num_version_reg_write >= CI_MAX_VERSION_REG_WRITES) {
        xml_note_element(h, element, a->reg);
        return xml_report(h, CI_CHIP_DESC_ERROR);
    }
    _versionRegWrite* w = &t->version_reg_write[t->num_version_reg_write++];
    memset(w, 0, sizeof *w);
    xml_copy(w->regName, sizeof w->regName, a->reg);
    w->mask = xml_number(a->mask);
    if (!wait) {
        w->value[0] = xml_number(a->value);
        w->numValues = 1;
        w->timeout = -1;
        return CI_CAMERA_SUCCESS;
    }
    w->timeout = a->timeout;
    return xml_value_list(h, element, a->value, w->value, CI_MAX_VALUES, &w->numValues);
}

ci_error_code add_read(_SdatHandler* h, const char* element, const probe_attrs* a) {
    _probe_term_t* t = h->term;
    if (t->num_version_reg_read >= CI_MAX_VERSION_REG_READS) {
        xml_note_element(h, element, a->reg);
        return xml_report(h, CI_CHIP_DESC_ERROR);
    }
    return reg_data(h, element, a, &t->version_reg_read[t->num_version_reg_read++]);
}

ci_error_code serial_match(_SdatHandler* h, const probe_attrs* a) {
    _probe_term_t* t = h->term;
    if (t->num_serial_match >= CI_MAX_SERIAL_MATCHES) return CI_CAMERA_SUCCESS;
    _extraSerialMatch* m = &t->extra_serial_match[t->num_serial_match++];
    memset(m, 0, sizeof *m);
    m->baseAddr = a->serial;
    m->addrSize = 16;
    m->dataSize = 8;
    xml_number_pair(a->addr, &m->regAddr, &m->addrSize);
    xml_number_pair(a->mask, &m->mask, &m->dataSize);
    return xml_value_list(h, "extra_match", a->value, m->value, CI_MAX_VALUES, &m->numValues);
}

ci_error_code extra_desc(_SdatHandler* h, const probe_attrs* a) {
    _probe_term_t* t = h->term;
    xml_copy(t->extra_desc_reg, sizeof t->extra_desc_reg, a->reg);
    t->extra_desc_mask = xml_number(a->mask);
    return xml_value_list(h, "extra_match", a->value, t->extra_desc_val, CI_MAX_VALUES, &t->num_extra_desc_val);
}

}  // namespace

bool xml_version_reg_start(_SdatHandler* h, const char* element, const char** atts) {
    if (!h->term) return xml_ok(h);
    probe_attrs a;
    collect(atts, &a);
    ci_error_code e = CI_CAMERA_SUCCESS;
    if (strcmp(element, "version_reg_write") == 0)
        e = add_write(h, element, &a, false);
    else if (strcmp(element, "version_reg_waitfor") == 0)
        e = add_write(h, element, &a, true);
    else if (strcmp(element, "version_reg_read") == 0)
        e = add_read(h, element, &a);
    else
        e = reg_data(h, element, &a, &h->term->version_reg_resetif);
    return go_on(h, e);
}

// With `serial` the element names a register of another device on the bus;
// otherwise it is the term's extra descriptor register.
bool xml_extra_match_start(_SdatHandler* h, const char** atts) {
    if (!h->term) return xml_ok(h);
    probe_attrs a;
    collect(atts, &a);
    if (a.hasSerial) return go_on(h, serial_match(h, &a));
    if (a.hasReg) return go_on(h, extra_desc(h, &a));
    return xml_ok(h);
}

// Up to four alternative terms; a fifth is reported and dropped together
// with the probe elements that follow it.  The parse itself goes on.
bool xml_or_match_start(_SdatHandler* h, const char**) {
    _common_context_t* ctx = h->r.ctx;
    if (h->term && ctx->num_probe_term < CI_MAX_PROBE_TERMS) {
        h->term = &ctx->probe_term[ctx->num_probe_term++];
        return xml_ok(h);
    }
    if (h->term) {
        xml_note_element(h, "or_match", nullptr);
        xml_report(h, CI_CHIP_DESC_ERROR);
        CK_LOG(CI_LOG_INFO, "more than four probe terms: the fifth and its probe elements are ignored");
    }
    h->term = nullptr;
    return xml_ok(h);
}

bool xml_part_number_start(_SdatHandler* h, const char** atts) {
    _common_context_t* ctx = h->r.ctx;
    if (!h->term || ctx->num_partNumbers >= CI_MAX_PART_NUMBERS) return xml_ok(h);
    probe_attrs a;
    collect(atts, &a);
    _partNumberData* pn = &ctx->partNumber[ctx->num_partNumbers++];
    memset(pn, 0, sizeof *pn);
    pn->addrSize = 8;
    pn->dataSize = 16;
    xml_copy(pn->partNumber, sizeof pn->partNumber, a.name);
    if (h->r.sensor->partNumber[0] == '\0') xml_copy(h->r.sensor->partNumber, sizeof h->r.sensor->partNumber, a.name);
    xml_copy(pn->regName, sizeof pn->regName, a.reg);
    pn->baseAddr = a.serial;
    xml_number_pair(a.addr, &pn->regAddr, &pn->addrSize);
    xml_number_pair(a.mask, &pn->mask, &pn->dataSize);
    return go_on(h, xml_value_list(h, "part_number", a.value, pn->value, CI_MAX_VALUES, &pn->numValues));
}
