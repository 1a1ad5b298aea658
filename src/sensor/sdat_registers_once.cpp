// A registers section read in one pass.
//
// The usual reading counts a section before it reads it: the count sizes
// the register table and reports every line that is neither a register nor
// a bitfield before any line is read.  For a section without such lines the
// count only costs time.  This pass sizes the table by upper bounds
// instead (the '=' and the lines left in the file; the part of the arena
// never reached is address space only) and reads each line once.  At the
// first line that the count would report or the reading would refuse, it
// gives back what it built and puts the reading position back; the section
// is then read the usual way, so that every message comes as it always
// does.
#define CK_SOURCE "sensor_data"
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/regmap_arena.h"
#include "sensor/sdat_marks.h"
#include "sensor/sdat_name_index.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_register_line.h"
#include "sensor/sensor_types.h"

namespace {

// Upper bounds for what the rest of a file can hold (every line ends in a
// line end, the last may not; every register line holds an '='), and the
// NUL in it.
struct text_bounds {
    size_t lines;
    size_t registers;
    size_t nuls;
};

typedef char bytes16 __attribute__((vector_size(16)));
typedef char bytes32 __attribute__((vector_size(32)));

// Counts line ends, '=' and NUL in the n bytes at p, a vector of bytes a
// step.
template <typename bytes>
__attribute__((always_inline)) inline text_bounds count_bounds_by(const char* p, size_t n) {
    const size_t width = sizeof(bytes);
    text_bounds b{1, 1, 0};
    size_t at = 0;
    while (n - at >= width) {
        // Up to 255 steps at a time, so that the per-lane sums cannot wrap.
        bytes ends = {};
        bytes equals = {};
        bytes nuls = {};
        const size_t steps = (n - at) / width < 255 ? (n - at) / width : 255;
        for (size_t s = 0; s < steps; ++s, at += width) {
            bytes chunk;
            memcpy(&chunk, p + at, sizeof chunk);
            ends -= (chunk == '\n');  // a match is -1 in its lane
            equals -= (chunk == '=');
            nuls -= (chunk == 0);
        }
        for (size_t lane = 0; lane < width; ++lane) {
            b.lines += static_cast<unsigned char>(ends[lane]);
            b.registers += static_cast<unsigned char>(equals[lane]);
            b.nuls += static_cast<unsigned char>(nuls[lane]);
        }
    }
    for (; at < n; ++at) {
        b.lines += p[at] == '\n';
        b.registers += p[at] == '=';
        b.nuls += p[at] == '\0';
    }
    return b;
}

#if defined(SDAT_WIDE_MARKS)
// Where the processor has them, 32-byte steps take a third of the time.
__attribute__((target("avx2"))) text_bounds count_bounds_wide(const char* p, size_t n) {
    return count_bounds_by<bytes32>(p, n);
}
#endif

text_bounds count_bounds(const char* p, size_t n) {
#if defined(SDAT_WIDE_MARKS)
    if (sdat_wide_marks()) return count_bounds_wide(p, n);
#endif
    return count_bounds_by<bytes16>(p, n);
}

struct once_pass {
    sdat_reader* r;
    regmap_arena* arena;
    sdat_name_index names;
    ci_u32 pageSelect[2];  // name hashes of the sensor type's page selectors
};

void hash_page_selectors(once_pass* p) {
    const char* readReg = "";
    const char* writeReg = "";
    _pageSelectRegs(p->r->sensor->sensorType, &readReg, &writeReg);
    p->pageSelect[0] = sdat_name_hash(readReg);
    p->pageSelect[1] = sdat_name_hash(writeReg);
}

// Reads the bitfield lines after a register into table (room for
// CI_MAX_BITFIELDS); the line after them is left in *line (*more is 0 at
// the end of the file).  Returns the number read, or -1 when the register
// has too many.
ci_s32 read_fields(sdat_reader* r, ci_bitfield_t* table, sdat_span* line, int* more) {
    ci_s32 n = 0;
    for (;;) {
        if (n < CI_MAX_BITFIELDS && sdat_take_bitfield(r, &table[n])) {
            ++n;
            continue;
        }
        if ((*more = sdat_next_view(r, SDAT_LINE_REGISTERS, line)) == 0) break;
        if (n == CI_MAX_BITFIELDS) {
            ci_bitfield_t spare;
            memset(&spare, 0, sizeof spare);
            return sdat_scan_bitfield_view(line, &spare) ? -1 : n;
        }
        if (!sdat_scan_bitfield_view(line, &table[n])) return n;
        ++n;
    }
    return n;
}

// Stores the register of the line and reads its bitfields; *line and
// *more as in read_fields.  False when the section must be read the usual
// way.
bool store(once_pass* p, const sdat_register_parts* parts, sdat_span* line, int* more) {
    ci_sensor_t* sensor = p->r->sensor;
    const ci_s32 i = sensor->num_regs;
    ci_reg_data_t* reg = regmap_arena_record(p->arena, static_cast<size_t>(i));
    ci_bitfield_t* table = reg ? regmap_arena_take(p->arena, CI_MAX_BITFIELDS) : nullptr;
    if (!table || !sdat_fill_register_parts(sensor, parts, reg)) return false;
    // The name's slot is fetched while the bitfields are read.  Its hash is
    // taken from the line: the record's copy was only just written.
    const sdat_span name = sdat_register_name(parts);
    const ci_u32 hash = sdat_name_hash_n(name.text, name.length);
    sdat_name_index_prefetch(&p->names, hash);
    const ci_s32 n = read_fields(p->r, table, line, more);
    if (n < 0 || sdat_name_index_lookup(&p->names, sensor->regs, reg->unique_desc, hash) >= 0 ||
        !sdat_name_index_insert(&p->names, i, hash))
        return false;
    if (n > 0) {
        regmap_arena_keep(p->arena, static_cast<size_t>(n));
        reg->bitfield = table;
        reg->num_bitfields = n;
    }
    sensor->num_regs++;
    // Only a name with a page selector's hash can be one.
    if (hash == p->pageSelect[0] || hash == p->pageSelect[1]) sdat_note_page_select(sensor, reg, 0);
    return true;
}

// The lines of the section; false at the first one the usual reading
// would report.
bool read_lines(once_pass* p) {
    sdat_reader* r = p->r;
    const ci_s32 version = r->ctx->sdat_version;
    sdat_register_parts parts;
    sdat_span line;
    int more = sdat_next_view(r, SDAT_LINE_REGISTERS, &line);
    while (more) {
        if (sdat_view_ends_section(&line)) {
            sdat_hold_view(r, &line);
            return true;
        }
        // A line that scans with its texts is one the count counts as a
        // register too (its form is the more lenient); a line without them
        // is not.
        if (!sdat_split_register_line(&line, version, &parts) || parts.rest.length == 0) return false;
        if (!store(p, &parts, &line, &more)) return false;
    }
    return true;
}

}  // namespace

int sdat_read_registers_once(sdat_reader* r) {
    ci_sensor_t* sensor = r->sensor;
    if (!r->arena || sensor->regs || r->ctx->match_chip_version_reg) return 0;
    const text_bounds bound = count_bounds(r->text.data + r->text.pos, r->text.size - r->text.pos);
    if (r->text.nulFree < 0) r->text.nulFree = bound.nuls == 0;
    sensor->regs = regmap_arena_new(bound.registers, bound.lines + CI_MAX_BITFIELDS);
    once_pass p{r, regmap_arena_of(sensor->regs), {}, {0, 0}};
    hash_page_selectors(&p);
    // The index grows when the guess is short.
    const ci_s32 guess = bound.registers < 1 << 20 ? static_cast<ci_s32>(bound.registers) : 1 << 20;
    if (!p.arena || !sdat_name_index_init(&p.names, guess)) {
        regmap_arena_free(sensor->regs, 0);
        sensor->regs = nullptr;
        return 0;
    }
    const size_t pos = r->text.pos;
    const ci_s32 lineNo = r->lineNo;
    char held[sizeof r->line];
    memcpy(held, r->line, sizeof held);
    const bool clean = read_lines(&p);
    sdat_name_index_free(&p.names);
    if (clean) return 1;
    regmap_arena_free(sensor->regs, sensor->num_regs);
    sensor->regs = nullptr;
    sensor->num_regs = 0;
    r->text.pos = pos;
    r->lineNo = lineNo;
    memcpy(r->line, held, sizeof held);
    return 0;
}
