// Register and bitfield lines of the registers section.
#pragma once

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"

// The fields of one register line as scanned.
typedef struct sdat_register_line {
    char name[CI_STRING_LEN];
    ci_u32 addr;
    char space[40];
    ci_u32 span;  // number of addresses (sdat_version 2 and above), else 1
    ci_u32 mask;
    char rw[5];
    ci_u32 def;
    char rest[761];  // the quoted description and detail
} sdat_register_line;

// The items of a register line, in place.
typedef struct sdat_register_parts {
    sdat_span name;  // untrimmed
    ci_u32 addr;
    sdat_span space;  // untrimmed
    ci_u32 span;
    ci_u32 mask;
    sdat_span rw;
    ci_u32 def;
    sdat_span rest;  // empty when the texts are missing
} sdat_register_parts;

// The items of a bitfield line.
typedef struct sdat_bitfield_parts {
    sdat_span name;
    ci_u32 mask;
    sdat_span rw;
    sdat_span rest;  // the quoted description and detail
} sdat_bitfield_parts;

// Finds the items of a bitfield line; returns 0 when the line is not one.
int sdat_split_bitfield_line(const sdat_span* line, sdat_bitfield_parts* parts);
// The same, leaving the remainder for the caller to walk: rest holds the
// 760 characters (fewer at the line end) the last item may take, the first
// of which is not '}'; the item ends before the first '}' among them.
int sdat_bitfield_items(const sdat_span* line, sdat_bitfield_parts* parts);
// The same, found from the marks of the line's characters where they settle
// the items, with the first word of the name in *word.
int sdat_find_bitfield_items(const sdat_span* line, sdat_bitfield_parts* parts, sdat_span* word);

// Scans a register line in the form of the file's sdat_version; returns 0
// when too few items scan.
int sdat_scan_register_line(const char* line, ci_s32 sdatVersion, sdat_register_line* l);
// The same, finding the items in place (the line holds no NUL).
int sdat_split_register_line(const sdat_span* line, ci_s32 sdatVersion, sdat_register_parts* parts);
// The more lenient test of the counting pass.
int sdat_counts_as_register(const char* line, ci_s32 sdatVersion);
int sdat_view_counts_as_register(const sdat_span* line, ci_s32 sdatVersion);
// Fills *reg, which must be zeroed (only the fields read are written), from
// a scanned line of the sensor's file.
void sdat_fill_register(const ci_sensor_t* sensor, const sdat_register_line* l, ci_reg_data_t* reg);
// The same from the items in place.  Returns whether the name is one a
// register may have: not empty once trimmed, and no white space inside.
int sdat_fill_register_parts(const ci_sensor_t* sensor, const sdat_register_parts* parts, ci_reg_data_t* reg);
// The name the register of the items gets: trimmed, and cut to fit.
sdat_span sdat_register_name(const sdat_register_parts* parts);
// Scans a bitfield line into *bf, which must be zeroed (only the fields
// read are written); returns 0, leaving *bf untouched, when the line is not
// one.
int sdat_scan_bitfield_line(const char* line, ci_bitfield_t* bf);
int sdat_scan_bitfield_view(const sdat_span* line, ci_bitfield_t* bf);
// The same for the text's next line, taken straight from the text when it
// is a bitfield line of the usual shape (whole within its first 128
// characters, none of them NUL): returns 1 with the line consumed, or 0
// with nothing read, when the line is anything else and must go the usual
// way (sdat_next_view, sdat_scan_bitfield_view).
int sdat_take_bitfield_line(sdat_text* text, ci_bitfield_t* bf);
// The same, with the 32-character steps only when wide is set (and the
// processor has them), so that both ways can be checked on one machine.
int sdat_take_bitfield_line_as(sdat_text* text, ci_bitfield_t* bf, int wide);
// sdat_take_bitfield_line for a reader, counting the line taken.
inline int sdat_take_bitfield(sdat_reader* r, ci_bitfield_t* bf) {
    if (!sdat_take_bitfield_line(&r->text, bf)) return 0;
    ++r->lineNo;
    return 1;
}
// Whether the line is a bitfield line (the counting pass).
int sdat_is_bitfield_line(const char* line);
int sdat_view_is_bitfield_line(const sdat_span* line);
// A page-select register records its address in the address-space table
// (the near page selectors only for 8-bit register addresses unless
// anyAddrSize is set).
void sdat_note_page_select(ci_sensor_t* sensor, const ci_reg_data_t* reg, int anyAddrSize);
