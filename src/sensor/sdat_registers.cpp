// The registers section ("REGISTERS"): a counting pass sizes the register
// array, then each register line and the bitfield lines that follow it are
// read.  Errors are reported and reading goes on, but the section then fails
// with the last error's code.
#define CK_SOURCE "sensor_data"
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_name_index.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_register_line.h"

namespace {

// Working state of one registers section.
struct register_pass {
    sdat_reader* r;
    ci_s32 capacity;        // registers the array can hold
    sdat_name_index names;  // every register stored so far
    ci_error_code result;
};

ci_error_code fail(register_pass* p, ci_error_code code) { return p->result = sdat_syntaxerror(p->r, code); }

// Makes room for `count` more registers and indexes the ones present.
bool prepare(register_pass* p, ci_s32 count) {
    ci_sensor_t* sensor = p->r->sensor;
    if (static_cast<size_t>(count) > SIZE_MAX / sizeof *sensor->regs - static_cast<size_t>(sensor->num_regs))
        return false;
    p->capacity = sensor->num_regs + count;
    void* regs = realloc(sensor->regs, static_cast<size_t>(p->capacity) * sizeof *sensor->regs);
    if (!regs) return false;
    sensor->regs = static_cast<ci_reg_data_t*>(regs);
    memset(sensor->regs + sensor->num_regs, 0, static_cast<size_t>(count) * sizeof *sensor->regs);
    if (!sdat_name_index_init(&p->names, p->capacity)) return false;
    for (ci_s32 i = 0; i < sensor->num_regs; ++i) sdat_name_index_add(&p->names, sensor->regs, i);
    return true;
}

void release(register_pass* p) { sdat_name_index_free(&p->names); }

// Reads the bitfield lines after a register into table (room for
// CI_MAX_BITFIELDS).  The line that ends the list is left in r->line (*more
// is 0 at end of file).  Returns the number read, or -1 when the register
// has too many.
ci_s32 read_bitfields(register_pass* p, ci_bitfield_t* table, int* more) {
    ci_s32 n = 0;
    bool tooMany = false;
    ci_bitfield_t spare;
    while ((*more = sdat_next_line(p->r, SDAT_LINE_REGISTERS)) != 0) {
        ci_bitfield_t* bf = n < CI_MAX_BITFIELDS ? &table[n] : &spare;
        if (!sdat_scan_bitfield_line(p->r->line, bf)) break;
        if (n < CI_MAX_BITFIELDS) {
            ++n;
        } else if (!tooMany) {
            fail(p, CI_PARSE_REG_ERROR);
            tooMany = true;
        }
    }
    return tooMany ? -1 : n;
}

// Gives the register the table, cut to its n entries (shrinking in place
// avoids copying the records).
void attach_bitfields(ci_reg_data_t* reg, ci_bitfield_t* table, ci_s32 n) {
    if (n <= 0) {
        free(table);
        return;
    }
    void* exact = realloc(table, static_cast<size_t>(n) * sizeof *table);
    reg->bitfield = static_cast<ci_bitfield_t*>(exact ? exact : table);
    reg->num_bitfields = n;
}

// Whether a scanned register line may be stored; reports why not.
bool acceptable(register_pass* p, const sdat_register_line* l) {
    char name[CI_STRING_LEN];
    if (!StringCopyandCheckSpace(name, l->name)) {
        fail(p, CI_PARSE_REG_ERROR);
        return false;
    }
    if (sdat_name_index_find(&p->names, p->r->sensor->regs, name) >= 0) {
        fail(p, CI_DUPLICATE_DESC_ERROR);
        return false;
    }
    return true;
}

// Stores the register of the current line with its bitfields.  *more tells
// whether r->line holds the next line to read.  Returns an error code that
// ends the section, else 0.
ci_error_code store_register(register_pass* p, const sdat_register_line* l, int* more) {
    sdat_reader* r = p->r;
    ci_sensor_t* sensor = r->sensor;
    ci_reg_data_t* reg = &sensor->regs[sensor->num_regs];
    sdat_fill_register(sensor, l, reg);
    auto* table = static_cast<ci_bitfield_t*>(malloc(CI_MAX_BITFIELDS * sizeof(ci_bitfield_t)));
    if (!table) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate bitfields");
    ci_s32 n = read_bitfields(p, table, more);
    attach_bitfields(reg, table, n);
    if (n < 0) {
        memset(reg, 0, sizeof *reg);
        return CI_CAMERA_SUCCESS;
    }
    sdat_name_index_add(&p->names, sensor->regs, sensor->num_regs);
    sensor->num_regs++;
    sdat_note_page_select(sensor, reg, 0);
    return sdat_reject_chip_version(r, reg);
}

ci_error_code read_section(register_pass* p) {
    sdat_reader* r = p->r;
    sdat_register_line l;
    int more = sdat_next_line(r, SDAT_LINE_REGISTERS);
    while (more && !end_section(r->line)) {
        bool scanned = sdat_scan_register_line(r->line, r->ctx->sdat_version, &l);
        if (!scanned) fail(p, CI_PARSE_REG_ERROR);
        if (!scanned || !acceptable(p, &l)) {
            more = sdat_next_line(r, SDAT_LINE_REGISTERS);
            continue;
        }
        if (r->sensor->num_regs == p->capacity) return fail(p, CI_PARSE_REG_ERROR);
        ci_error_code e = store_register(p, &l, &more);
        if (e != CI_CAMERA_SUCCESS) return e;
    }
    return p->result;
}

}  // namespace

ci_s32 get_num_regs(sdat_reader* r) {
    size_t start = r->text.pos;
    ci_s32 startLine = r->lineNo;
    ci_s32 count = 0;
    bool afterRegister = false;
    while (sdat_next_line(r, SDAT_LINE_REGISTERS) && !end_section(r->line)) {
        if (sdat_counts_as_register(r->line, r->ctx->sdat_version)) {
            ++count;
            afterRegister = true;
        } else if (!afterRegister || !sdat_is_bitfield_line(r->line)) {
            afterRegister = false;
            sdat_syntaxerror(r, CI_PARSE_REG_ERROR);
        }
    }
    r->text.pos = start;
    r->lineNo = startLine;
    return count;
}

ci_error_code parse_registers(sdat_reader* r) {
    ci_s32 count = get_num_regs(r);
    if (count == 0) return CI_CAMERA_SUCCESS;
    register_pass p{r, 0, {nullptr, 0}, CI_CAMERA_SUCCESS};
    ci_error_code result =
        prepare(&p, count) ? read_section(&p) : CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
    release(&p);
    return result;
}
