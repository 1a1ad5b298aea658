// The registers section ("REGISTERS"): a counting pass sizes the register
// array, then each register line and the bitfield lines that follow it are
// read.  Errors are reported and reading goes on, but the section then fails
// with the last error's code.
//
// While the sensor search still has to match the chip version, the count
// stops after the register that may run that match (CHIP_VERSION_REG or
// ADDR_SPACE_SEL): a file refused there needs no more, and the reading
// counts the rest once it is past that register.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/regmap_arena.h"
#include "sensor/sdat_name_index.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_register_line.h"

namespace {

// Where the counting pass stands in the section.
struct count_state {
    size_t pos;  // the next line to count
    ci_s32 lineNo;
    bool afterRegister;  // bitfield lines are part of the register before them
    bool done;           // the section is counted to its end
};

bool may_run_version_match(const sdat_span& line) {
    const char* name = line.text;
    const char* end = static_cast<const char*>(memchr(name, '=', line.length));
    while (name < end && isspace(static_cast<unsigned char>(*name))) ++name;
    while (end > name && isspace(static_cast<unsigned char>(end[-1]))) --end;
    const size_t length = static_cast<size_t>(end - name);
    return (length == 16 && osal_strnicmp(name, "CHIP_VERSION_REG", 16) == 0) ||
           (length == 14 && osal_strnicmp(name, "ADDR_SPACE_SEL", 14) == 0);
}

// Counts register lines from where c stands, and in *bitfields the bitfield
// lines that follow them; reports the lines that are neither.  With
// stopAtMatch the count stops after a register that may run the chip
// version match.  The reading position (and line) are left as they were.
ci_s32 count_more(sdat_reader* r, count_state* c, size_t* bitfields, bool stopAtMatch) {
    const size_t pos = r->text.pos;
    const ci_s32 lineNo = r->lineNo;
    char held[sizeof r->line];
    memcpy(held, r->line, sizeof held);
    r->text.pos = c->pos;
    r->lineNo = c->lineNo;
    ci_s32 count = 0;
    *bitfields = 0;
    c->done = true;
    sdat_span line;
    while (sdat_next_view(r, SDAT_LINE_REGISTERS, &line) && !sdat_view_ends_section(&line)) {
        if (sdat_view_counts_as_register(&line, r->ctx->sdat_version)) {
            ++count;
            c->afterRegister = true;
            if (stopAtMatch && may_run_version_match(line)) {
                c->done = false;
                break;
            }
        } else if (c->afterRegister && sdat_view_is_bitfield_line(&line)) {
            ++*bitfields;
        } else {
            c->afterRegister = false;
            sdat_hold_view(r, &line);
            sdat_syntaxerror(r, CI_PARSE_REG_ERROR);
        }
    }
    c->pos = r->text.pos;
    c->lineNo = r->lineNo;
    r->text.pos = pos;
    r->lineNo = lineNo;
    memcpy(r->line, held, sizeof held);
    return count;
}

// Working state of one registers section.
struct register_pass {
    sdat_reader* r;
    ci_s32 capacity;        // registers the array can hold
    sdat_name_index names;  // every register stored so far
    ci_error_code result;
    count_state count;
};

ci_error_code fail(register_pass* p, ci_error_code code) { return p->result = sdat_syntaxerror(p->r, code); }

// Makes room for `count` more registers (and `bitfields` bitfields) and
// indexes the ones present.  A parse that asks for an arena gets one for a
// description that has no registers yet.
bool prepare(register_pass* p, ci_s32 count, size_t bitfields) {
    ci_sensor_t* sensor = p->r->sensor;
    if (count > INT32_MAX - p->capacity ||
        static_cast<size_t>(count) > SIZE_MAX / sizeof *sensor->regs - static_cast<size_t>(p->capacity))
        return false;
    p->capacity += count;
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
        memset(sensor->regs + sensor->num_regs, 0,
               static_cast<size_t>(p->capacity - sensor->num_regs) * sizeof *sensor->regs);
    sdat_name_index_free(&p->names);
    if (!sdat_name_index_init(&p->names, p->capacity)) return false;
    for (ci_s32 i = 0; i < sensor->num_regs; ++i)
        if (!sdat_name_index_add(&p->names, sensor->regs, i)) return false;
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
    sdat_span line;
    for (;;) {
        if (n < CI_MAX_BITFIELDS && sdat_take_bitfield(p->r, &table[n])) {
            ++n;
            continue;
        }
        if ((*more = sdat_next_view(p->r, SDAT_LINE_REGISTERS, &line)) == 0) break;
        ci_bitfield_t* bf = &table[n];
        if (n >= CI_MAX_BITFIELDS) {
            memset(&spare, 0, sizeof spare);
            bf = &spare;
        }
        if (!sdat_scan_bitfield_view(&line, bf)) {
            sdat_hold_view(p->r, &line);
            break;
        }
        if (n < CI_MAX_BITFIELDS) {
            ++n;
        } else if (!tooMany) {
            sdat_hold_view(p->r, &line);
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
    ci_reg_data_t* reg = regmap_arena_register(sensor->regs, static_cast<size_t>(sensor->num_regs));
    if (!reg) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
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
    if (!sdat_name_index_add(&p->names, sensor->regs, sensor->num_regs))
        return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
    sensor->num_regs++;
    sdat_note_page_select(sensor, reg, 0);
    return sdat_reject_chip_version(r, reg);
}

// Counts the rest of the section (up to the next register that may run the
// chip version match, while the search still asks for it) and makes room.
bool count_rest(register_pass* p) {
    size_t bitfields = 0;
    const ci_s32 more = count_more(p->r, &p->count, &bitfields, p->r->ctx->match_chip_version_reg != 0);
    return more == 0 || prepare(p, more, bitfields);
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
        bool counted = p->count.done || r->sensor->num_regs < p->capacity || count_rest(p);
        if (!counted) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
        if (r->sensor->num_regs == p->capacity) return fail(p, CI_PARSE_REG_ERROR);
        ci_error_code e = store_register(p, &l, &more);
        if (e != CI_CAMERA_SUCCESS) return e;
        // Past the register where the count stopped: count on.
        if (!p->count.done && r->text.pos > p->count.pos && !count_rest(p))
            return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
    }
    // The count still reports the bad lines it has not reached.
    if (!p->count.done && !count_rest(p)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
    return p->result;
}

}  // namespace

ci_s32 sdat_count_registers(sdat_reader* r, size_t* bitfields) {
    count_state c{r->text.pos, r->lineNo, false, false};
    return count_more(r, &c, bitfields, false);
}

ci_s32 get_num_regs(sdat_reader* r) {
    size_t bitfields = 0;
    return sdat_count_registers(r, &bitfields);
}

ci_error_code parse_registers(sdat_reader* r) {
    if (sdat_read_registers_once(r)) return CI_CAMERA_SUCCESS;
    count_state c{r->text.pos, r->lineNo, false, false};
    size_t bitfields = 0;
    ci_s32 count = count_more(r, &c, &bitfields, r->ctx->match_chip_version_reg != 0);
    if (count == 0) return CI_CAMERA_SUCCESS;
    register_pass p{r, r->sensor->num_regs, {}, CI_CAMERA_SUCCESS, c};
    ci_error_code result =
        prepare(&p, count, bitfields) ? read_section(&p) : CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate registers");
    release(&p);
    return result;
}
