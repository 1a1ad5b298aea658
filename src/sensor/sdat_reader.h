// Internals of the sectioned sensor-data reader, shared by its source files
// (and by other readers of the same text format, such as chip files).
#pragma once

#include <stddef.h>
#include <stdio.h>

#include "core/camkit_private.h"

// Longest line each section reads, terminator included.  Longer lines are
// cut at the limit; the rest of such a line is discarded.
enum {
    SDAT_LINE_DESCRIPTOR = 250,
    SDAT_LINE_OPTIONAL = 250,
    SDAT_LINE_ADDR_SPACE = 512,
    SDAT_LINE_SUBDEVICES = 512,
    SDAT_LINE_REGISTERS = 1024,
    SDAT_LINE_MAX = 1024
};

// The whole text of a file, read once, and the reading position in it.  The
// text is not terminated; lines are copied out of it.
typedef struct sdat_text {
    char* data;
    size_t size;
    size_t pos;
    size_t mapped;  // size of the block when data is a bulk block, else 0
    int nulFree;    // no NUL from the first line read in place on (lines in
                    // place then need no check); -1 until known
} sdat_text;

// A run of characters in place (not terminated).
typedef struct sdat_span {
    const char* text;
    size_t length;
} sdat_span;

// Reading state of one file.
typedef struct sdat_reader {
    sdat_text text;
    const char* fileName;  // as given by the caller; used in every message
    ci_s32 lineNo;         // physical number of the line held in `line`
    ci_camera_t* camera;
    ci_sensor_t* sensor;     // the record being filled
    _common_context_t* ctx;  // the camera's common context
    char line[SDAT_LINE_MAX];
    int arena;  // registers and bitfields go to one arena (regmap_arena.h)
} sdat_reader;

// ---- whole-file text (sdat_text_file.cpp)
// Reads the open file from its current position to its end into text (which
// the caller releases with sdat_text_free).  A read error ends the text where
// it happened, as it would end a line-by-line read.  Returns 0 when out of
// memory.
int sdat_text_read(FILE* fp, sdat_text* text);
void sdat_text_free(sdat_text* text);
// Whether the text is XML: "<?xml" first, possibly after a UTF-8 byte-order
// mark.  Leaves the reading position after any byte-order mark.
int sdat_text_is_xml(sdat_text* text);

// ---- lines and sections (sdat_lines.cpp)
// Reads the next line that is neither blank nor a comment into buffer (cut to
// size - 1 characters, line end removed).  Returns the number of physical
// lines consumed, comment and blank lines included; 0 at end of file.
ci_s32 get_line(FILE* fp, char* buffer, ci_s32 size);
// The same from a text in memory, from text->pos on.
ci_s32 sdat_text_line(sdat_text* text, char* buffer, ci_s32 size);
// get_line into r->line, keeping r->lineNo.  Returns 0 at end of file.
int sdat_next_line(sdat_reader* r, ci_s32 limit);
// As sdat_next_line, but a line that is whole (it ends within the limit
// and holds no NUL) is left in the text: *view points at it there, line
// end removed, and r->line is not updated.  Any other line is read into
// r->line, which *view then shows.  Returns 0 at end of file.
int sdat_next_view(sdat_reader* r, ci_s32 limit, sdat_span* view);
// Copies the line of a view into r->line (for messages, and for the
// readers that go on from r->line).
void sdat_hold_view(sdat_reader* r, const sdat_span* view);
// True for a line that closes a section ("[END]" in the first column).
int end_section(const char* line);
int sdat_view_ends_section(const sdat_span* view);
// Reads up to the next section header; its name goes to name.  Returns 0 at
// end of file.  The header line stays in r->line.
int get_section(sdat_reader* r, char* name, size_t size);
// Skips the rest of the current section.
void parse_unknown(sdat_reader* r);
// Reports the reader's current line as a syntax error with the given code,
// and returns that code.
ci_error_code sdat_syntaxerror(const sdat_reader* r, ci_error_code code);

// ---- text helpers (sdat_text.cpp)
// Reads one "%i" number from the front of *text and advances past it.
int extract_val(const char** text, ci_u32* value);
// Copies the text between the first pair of double quotes of source (or the
// trimmed source when it has none) into dest.  Returns 1 when quotes were
// found.
int extract_string(char* dest, size_t size, const char* source);
// Copies the trimmed source into dest (a ci_string); fails (returns 0) when
// the result is empty or has inner blanks.
int StringCopyandCheckSpace(char* dest, const char* source);
// The first and second double-quoted texts of a register or bitfield line's
// remainder.
void sdat_descriptions(const char* remainder, char* desc, char* detail);
// The same from the first `size` characters of remainder (no NUL among them).
void sdat_descriptions_in(const char* remainder, size_t size, char* desc, char* detail);
// Access keyword: "RO" 0, "WO" 2, anything else 1 (first two characters).
ci_u32 sdat_access(const char* text);
// Case-insensitive prefix test; prefix is upper-case ASCII.
int sdat_has_prefix(const char* text, const char* prefix);
// Skips the blanks and commas that separate the items of a value list.
const char* sdat_skip_separators(const char* p);

// ---- sections
ci_error_code parse_sensor_descriptor(sdat_reader* r);
ci_error_code parse_optional(sdat_reader* r);
ci_error_code parse_addr_space(sdat_reader* r);
// Address-space type of a keyword (ignoring case); CI_REG_ADDR for any
// keyword not known.
ci_addr_type sdat_addr_type(const char* keyword);
ci_s32 get_num_regs(sdat_reader* r);
// The counting pass: the register lines of the section from the reading
// position, and in *bitfields the bitfield lines that follow them.  The
// position is left where it was.
ci_s32 sdat_count_registers(sdat_reader* r, size_t* bitfields);
ci_error_code parse_registers(sdat_reader* r);
// The first registers section of a description read into an arena in one
// pass (sdat_registers_once.cpp).  Returns 1 when it is read; 0, with the
// reader as it was, when the section holds a line to report (or the pass
// cannot be used), and the usual two passes must read it.
int sdat_read_registers_once(sdat_reader* r);
ci_error_code parse_subdevices(sdat_reader* r);

// ---- value lists (sdat_values.cpp)
// How a list treats its capacity: LIST_FULL_IS_ERROR stores the value that
// fills the last slot and reports it (so a ten-slot list accepts nine);
// LIST_OVERFLOW_IS_ERROR fills every slot and reports one value more.
typedef enum sdat_list_rule { LIST_FULL_IS_ERROR, LIST_OVERFLOW_IS_ERROR } sdat_list_rule;
// Reads one number, or a parenthesised list of numbers separated by blanks
// (or commas), from text into values.  *count receives the number stored.
// Returns 0, or CI_CHIP_DESC_ERROR after reporting the line when the list
// breaks its limit (the list then ends).
ci_error_code sdat_value_list(const sdat_reader* r, const char* text, ci_u32* values, ci_s32 capacity, ci_s32* count,
                              sdat_list_rule rule);

// ---- probe data of the optional section (sdat_probe.cpp)
// Each reads r->line; `rest` is the text after its equals sign.
ci_error_code sdat_part_number(sdat_reader* r, const char* rest);
ci_error_code sdat_version_write(sdat_reader* r, _probe_term_t* term);
ci_error_code sdat_version_wait(sdat_reader* r, _probe_term_t* term);
// VERSION_REG_READ / VERSION_REG_RESETIF: register name, mask and values.
ci_error_code sdat_reg_data(sdat_reader* r, _regData* data);
ci_error_code sdat_serial_match(sdat_reader* r, _probe_term_t* term, const char* rest);

// ---- early rejects (sdat_early_reject.cpp)
// Runs fn with r->sensor temporarily attached as the camera's sensor.
ci_s32 sdat_with_sensor(sdat_reader* r, ci_s32 (*fn)(ci_camera_t*, ci_s32), ci_s32 arg);
ci_error_code sdat_reject_after_descriptor(sdat_reader* r);
ci_error_code sdat_reject_after_optional(sdat_reader* r);
// Called after each register is stored; may run the chip-version match.
ci_error_code sdat_reject_chip_version(sdat_reader* r, const ci_reg_data_t* reg);

// ---- record set-up (sdat_record.cpp)
// Frees the record's tables, zeroes it and sets the parse defaults in the
// record and the context.
void sdat_reset_record(ci_sensor_t* sensor, _common_context_t* ctx, const char* fileName);
// pixelBits, pixelBytes, bufferSize, zoomFactor and the image-type refinement.
void sdat_finish_descriptor(ci_sensor_t* sensor, _common_context_t* ctx);
