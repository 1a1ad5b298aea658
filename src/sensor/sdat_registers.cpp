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
#include "sensor/regmap_arena.h"
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

// Makes room for `count` more registers (and `bitfields` bitfields) and
// indexes the ones present.  A parse that asks for an arena gets one for a
// description that has no registers yet.
bool prepare(register_pass* p, ci_s32 count, size_t bitfields) {
    ci_sensor_t* sensor = p->r->sensor;
    if (static_cast<size_t>(count) > SIZE_MAX / sizeof *sensor->regs - static_cast<size_t>(sensor->num_regs))
        return false;
    p->capacity = sensor->num_regs + count;
    const size_t total = static_cast<size_t>(p->capacity);
    // Room for one more register's worth of slots: a register reads its
    // bitfields into the arena before it knows how many it has.
    const size_t room = bitfields + CI_MAX_BITFIELDS;
    ci_reg_data_t* regs = nullptr;
    if (p->r->arena && !sensor->regs) regs = regmap_arena_new(total, room);
    if (!regs) regs = regmap_grow_registers(sensor->regs, static_cast<size_t>(sensor->num_regs), total, room);
    if (!regs) return false;
    sensor->regs = regs;
    if (!regmap_arena_owns(regs))
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
        ci_bitfield_t* bf = &table[n];
        if (n >= CI_MAX_BITFIELDS) {
            memset(&spare, 0, sizeof spare);
            bf = &spare;
        }
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

// The table a register reads its bitfields into (room for
// CI_MAX_BITFIELDS, zeroed): the next slots of the description's arena, or
// a heap table.
ci_bitfield_t* bitfield_table(const ci_sensor_t* sensor, bool* inArena) {
    ci_bitfield_t* slots = regmap_arena_slots(sensor->regs, CI_MAX_BITFIELDS);
    *inArena = slots != nullptr;
    if (slots) return slots;
    return static_cast<ci_bitfield_t*>(calloc(CI_MAX_BITFIELDS, sizeof(ci_bitfield_t)));
}

// Gives the register the n bitfields read into table; n < 0 (a register
// refused for too many) gives none.  Arena slots not kept are zeroed again
// for the next register; a heap table is cut to its n entries (shrinking in
// place avoids copying the records).
void attach_bitfields(const ci_sensor_t* sensor, ci_reg_data_t* reg, ci_bitfield_t* table, ci_s32 n, bool inArena) {
    if (inArena) {
        if (n < 0) memset(table, 0, CI_MAX_BITFIELDS * sizeof *table);
        if (n <= 0) return;
        regmap_arena_commit(sensor->regs, static_cast<size_t>(n));
        reg->bitfield = table;
        reg->num_bitfields = n;
        return;
    }
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
    bool inArena = false;
    ci_bitfield_t* table = bitfield_table(sensor, &inArena);
    if (!table) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate bitfields");
    ci_s32 n = read_bitfields(p, table, more);
    attach_bitfields(sensor, reg, table, n, inArena);
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

ci_s32 sdat_count_registers(sdat_reader* r, size_t* bitfields) {
    size_t start = r->text.pos;
    ci_s32 startLine = r->lineNo;
    ci_s32 count = 0;
    *bitfields = 0;
    bool afterRegister = false;
    while (sdat_next_line(r, SDAT_LINE_REGISTERS) && !end_section(r->line)) {
        if (sdat_counts_as_register(r->line, r->ctx->sdat_version)) {
            ++count;
            afterRegister = true;
        } else if (afterRegister && sdat_is_bitfield_line(r->line)) {
            ++*bitfields;
        } else {
            afterRegister = false;
            sdat_syntaxerror(r, CI_PARSE_REG_ERROR);
        }
    }
    r->text.pos = start;
    r->lineNo = startLine;
    return count;
}

ci_s32 get_num_regs(sdat_reader* r) {
    size_t bitfields = 0;
    return sdat_count_registers(r, &bitfields);
}

ci_error_code parse_registers(sdat_reader* r) {
    size_t bitfields = 0;
    ci_s32 count = sdat_count_registers(r, &bitfields);
    if (count == 0) return CI_CAMERA_SUCCESS;
    register_pass p{r, 0, {nullptr, 0}, CI_CAMERA_SUCCESS};
    ci_error_code result =
        prepare(&p, count, bitfields) ? read_section(&p) : CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
    release(&p);
    return result;
}
