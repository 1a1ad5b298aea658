// The sectioned text writer: descriptor, optional sections (one per probe
// term, joined by OR_MATCH), address spaces and registers in the register-line
// form that carries address counts.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <string.h>

#include "sensor/sdat_scan.h"
#include "sensor/sensor_write.h"

namespace {

void value_list(FILE* fp, const ci_u32* values, ci_s32 count) {
    fputc('(', fp);
    for (ci_s32 i = 0; i < count && i < CI_MAX_VALUES; ++i) fprintf(fp, i ? " 0x%X" : "0x%X", values[i]);
    fputc(')', fp);
}

void descriptor(FILE* fp, const sensor_source* src) {
    const ci_sensor_t* s = src->sensor;
    const _common_context_t* c = src->ctx;
    fputs("[CHIP_DESCRIPTOR]\n", fp);
    if (s->sensorName[0]) fprintf(fp, "SENSORNAME = \"%s\"\n", s->sensorName);
    fprintf(fp, "WIDTH = %u\nHEIGHT = %u\n", s->width, s->height);
    const char* image = sensor_image_keyword(src);
    if (image) fprintf(fp, "IMAGE_TYPE = %s\n", image);
    if (s->imageType == CI_IMAGE_TYPE_NOT_FOUND) fputs("IMAGE_TYPE = NONE\n", fp);
    if (sensor_bits_per_clock_given(c)) fprintf(fp, "BITS_PER_CLOCK = %u\n", c->bitsPerClock);
    fprintf(fp, "CLOCKS_PER_PIXEL = %u\nPIXEL_CLOCK_POLARITY = %d\n", c->clocksPerPixel,
            static_cast<int>(c->pixclk_polarity));
    if (c->num_shipAddrs > 0) {
        fputs("SHIP_BASE_ADDRESS = ", fp);
        value_list(fp, c->shipAddr, c->num_shipAddrs > CI_MAX_SHIP_ADDRS ? CI_MAX_SHIP_ADDRS : c->num_shipAddrs);
        fputc('\n', fp);
    }
    fputs("[END]\n\n", fp);
}

void part_number(FILE* fp, const _partNumberData* pn) {
    fprintf(fp, "PART_NUMBER = \"%s\"", pn->partNumber);
    bool plain = pn->baseAddr == 0 && pn->regAddr == 0 && pn->mask == 0 && pn->numValues == 0 &&
                 pn->addrSize == 8 && pn->dataSize == 16;
    if (pn->regName[0]) {
        fprintf(fp, " SENSOR %s, 0x%X, ", pn->regName, pn->mask);
        value_list(fp, pn->value, pn->numValues);
    } else if (!plain) {
        fprintf(fp, " SERIAL 0x%X, 0x%X:%u, 0x%X:%u, ", pn->baseAddr, pn->regAddr, pn->addrSize, pn->mask,
                pn->dataSize);
        value_list(fp, pn->value, pn->numValues);
    }
    fputc('\n', fp);
}

void reg_data(FILE* fp, const char* key, const _regData* d) {
    if (d->numValues == 0) return;  // the text form has no register without values
    fprintf(fp, "%s = %s, 0x%X, ", key, d->regName, d->mask);
    value_list(fp, d->value, d->numValues);
    fputc('\n', fp);
}

void probe_term(FILE* fp, const _probe_term_t* t) {
    if (t->extra_desc_reg[0]) fprintf(fp, "EXTRA_DESC_REG = \"%s\"\n", t->extra_desc_reg);
    if (t->extra_desc_mask) fprintf(fp, "EXTRA_DESC_MASK = 0x%X\n", t->extra_desc_mask);
    if (t->num_extra_desc_val > 0) {
        fputs("EXTRA_DESC_VAL = ", fp);
        value_list(fp, t->extra_desc_val, t->num_extra_desc_val);
        fputc('\n', fp);
    }
    reg_data(fp, "VERSION_REG_RESETIF", &t->version_reg_resetif);
    for (ci_s32 i = 0; i < t->num_version_reg_write && i < CI_MAX_VERSION_REG_WRITES; ++i) {
        const _versionRegWrite* w = &t->version_reg_write[i];
        if (sensor_is_plain_write(w)) {
            fprintf(fp, "VERSION_REG_WRITE = %s, 0x%X, 0x%X\n", w->regName, w->mask, w->value[0]);
            continue;
        }
        fprintf(fp, "VERSION_REG_WAITFOR = %s, 0x%X, ", w->regName, w->mask);
        value_list(fp, w->value, w->numValues);
        fprintf(fp, " , %d\n", static_cast<int>(w->timeout));
    }
    for (ci_s32 i = 0; i < t->num_version_reg_read && i < CI_MAX_VERSION_REG_READS; ++i)
        reg_data(fp, "VERSION_REG_READ", &t->version_reg_read[i]);
    for (ci_s32 i = 0; i < t->num_serial_match && i < CI_MAX_SERIAL_MATCHES; ++i) {
        const _extraSerialMatch* m = &t->extra_serial_match[i];
        fprintf(fp, "EXTRA_SERIAL_REG = 0x%X, 0x%X:%u, 0x%X:%u, ", m->baseAddr, m->regAddr, m->addrSize, m->mask,
                m->dataSize);
        value_list(fp, m->value, m->numValues);
        fputc('\n', fp);
    }
}

void optional_sections(FILE* fp, const sensor_source* src) {
    const ci_sensor_t* s = src->sensor;
    const _common_context_t* c = src->ctx;
    fprintf(fp, "[OPTIONAL]\nREG_ADDR_SIZE = %u\nREG_DATA_SIZE = %u\nSDAT_VERSION = 2\nSENSOR_VERSION = %u\n",
            s->reg_addr_size, s->reg_data_size, s->sensorVersion);
    if (s->versionName[0]) fprintf(fp, "VERSION_NAME = \"%s\"\n", s->versionName);
    fprintf(fp, "FULL_WIDTH = %u\nFULL_HEIGHT = %u\n", s->fullWidth, s->fullHeight);
    for (ci_s32 i = 0; i < c->num_partNumbers && i < CI_MAX_PART_NUMBERS; ++i) part_number(fp, &c->partNumber[i]);
    ci_s32 terms = c->num_probe_term < 1 ? 1 : c->num_probe_term > CI_MAX_PROBE_TERMS ? CI_MAX_PROBE_TERMS
                                                                                         : c->num_probe_term;
    for (ci_s32 t = 0; t < terms; ++t) {
        if (t > 0) fputs("[OPTIONAL]\n", fp);
        probe_term(fp, &c->probe_term[t]);
        if (t + 1 < terms) fputs("OR_MATCH\n", fp);
        fputs("[END]\n\n", fp);
    }
}

// A far space's name holds its base and sizes; it is kept when it reads
// back as those numbers.
void space_name(FILE* fp, const ci_addr_space_val_t* v) {
    bool far = v->type >= CI_FAR1_REG_ADDR && v->type <= CI_FAR2_SFR_ADDR;
    ci_u32 base = 0, addrSize = 0, dataSize = 0;
    if (far) sdat_scan(v->name, "%i %i %i", &base, &addrSize, &dataSize);
    bool same = !far || (base == v->far_base && addrSize == v->far_addr_size && dataSize == v->far_data_size);
    if (same)
        fprintf(fp, "\"%s\"", v->name);
    else
        fprintf(fp, "\"0x%X %u %u\"", v->far_base, v->far_addr_size, v->far_data_size);
}

void address_spaces(FILE* fp, const ci_addr_space_t* table) {
    if (!table) return;
    fputs("[ADDR_SPACE]\n", fp);
    for (ci_s32 i = 0; i < table->num_vals; ++i) {
        const ci_addr_space_val_t* v = &table->addr_space_val[i];
        fprintf(fp, "%s = {%s, 0x%X, ", v->ID, sensor_space_keyword(v->type), v->val);
        space_name(fp, v);
        fputs("}\n", fp);
    }
    fputs("[END]\n\n", fp);
}

void registers(FILE* fp, const ci_sensor_t* s, ci_s32 from, ci_s32 to) {
    if (from >= to) return;
    fputs("[REGISTERS]\n", fp);
    for (ci_s32 i = from; i < to; ++i) {
        const ci_reg_data_t* r = &s->regs[i];
        fprintf(fp, "%s = {0x%X, %s, %u, 0x%X, %s, 0x%X, \"%s\", \"%s\"}\n", r->unique_desc, r->reg_addr,
                sensor_space_of(r), r->addr_span, r->bitmask, sensor_access_keyword(r->rw), r->default_val,
                r->reg_desc, r->detail);
        for (ci_s32 b = 0; b < r->num_bitfields; ++b) {
            const ci_bitfield_t* f = &r->bitfield[b];
            fprintf(fp, "    {%s, 0x%X, %s, \"%s\", \"%s\"}\n", f->id, f->bitmask, sensor_access_keyword(f->rw),
                    f->desc, f->detail);
        }
    }
    fputs("[END]\n\n", fp);
}

// What the line formats cannot carry: line ends anywhere, double quotes in
// quoted texts (and the closing brace in register texts), and in names
// anything that ends a field.
bool quotable(const char* text, bool inBraces) {
    return !strpbrk(text, inBraces ? "\"\r\n}" : "\"\r\n");
}

bool name_ok(const char* name) {
    if (!name[0]) return false;
    for (const char* p = name; *p; ++p)
        if (isspace(static_cast<unsigned char>(*p)) || strchr(",={}\"[]", *p)) return false;
    return true;
}

const char* register_unwritable(const ci_reg_data_t* r) {
    if (!name_ok(r->unique_desc)) return r->unique_desc;
    if (!quotable(r->reg_desc, true)) return r->reg_desc;
    if (!quotable(r->detail, true)) return r->detail;
    for (ci_s32 b = 0; b < r->num_bitfields; ++b) {
        const ci_bitfield_t* f = &r->bitfield[b];
        if (!name_ok(f->id)) return f->id;
        if (!quotable(f->desc, true)) return f->desc;
        if (!quotable(f->detail, true)) return f->detail;
    }
    return nullptr;
}

// The first text of the description the sectioned form cannot carry, or null.
const char* unwritable(const sensor_source* src) {
    const ci_sensor_t* s = src->sensor;
    if (!quotable(s->sensorName, false)) return s->sensorName;
    if (!quotable(s->versionName, false) || strchr(s->versionName, ' ')) return s->versionName;
    for (ci_s32 i = 0; i < src->ctx->num_partNumbers && i < CI_MAX_PART_NUMBERS; ++i)
        if (!quotable(src->ctx->partNumber[i].partNumber, false)) return src->ctx->partNumber[i].partNumber;
    for (ci_s32 i = 0; s->addr_space && i < s->addr_space->num_vals; ++i) {
        const ci_addr_space_val_t* v = &s->addr_space->addr_space_val[i];
        if (!name_ok(v->ID)) return v->ID;
        if (!quotable(v->name, true)) return v->name;
    }
    for (ci_s32 i = 0; i < s->num_regs; ++i) {
        const char* bad = register_unwritable(&s->regs[i]);
        if (bad) return bad;
    }
    return nullptr;
}

}  // namespace

ci_error_code sensor_write_text(FILE* fp, const sensor_source* src) {
    const char* bad = unwritable(src);
    if (bad) {
        char message[CI_STRING_LEN + 96];
        snprintf(message, sizeof message, "a text the sectioned form cannot carry: \"%.200s\"", bad);
        return CK_ERR(CI_CAMERA_ERROR, message);
    }
    fputs("; Sensor description written by camkit.\n\n", fp);
    descriptor(fp, src);
    optional_sections(fp, src);
    ci_s32 early = sensor_regs_before_spaces(src->sensor);
    registers(fp, src->sensor, 0, early);
    address_spaces(fp, src->sensor->addr_space);
    registers(fp, src->sensor, early, src->sensor->num_regs);
    return CI_CAMERA_SUCCESS;
}
