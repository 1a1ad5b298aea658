// Internals of the XML sensor-data reader: the handler state that travels
// with the parser as its user data, and the element handlers of its source
// files.  Elements fill the records as they arrive; there is no tree.
#pragma once

#include <expat.h>
#include <stddef.h>

#include "core/camkit_private.h"
#include "sensor/sdat_name_index.h"
#include "sensor/sdat_reader.h"

// Attribute values are trimmed copies of at most this many characters.
enum { XML_ATTR_MAX = 1024 };

typedef struct _SdatHandler {
    XML_Parser parser;
    // Camera, sensor record, context and file name; `line` holds a short
    // text naming the element being read, for messages, and `lineNo` the
    // parser's current line.
    sdat_reader r;
    ci_s32 reg;       // index of the register being filled, -1 for none
    ci_s32 bitfield;  // index of its bitfield being filled, -1 for none
    ci_long_desc_t* longDesc;
    _probe_term_t* term;  // null once a fifth probe term was asked for
    ci_s32 regCapacity;
    ci_s32 bitfieldCapacity;
    ci_s32 spaceCapacity;
    ci_s32 longDescCapacity;
    size_t longDescLength;
    sdat_name_index names;  // registers stored so far, by name
    bool inReg, inBitfield, inDetail, inLongDesc;
    bool sensorSeen;
    bool longDescOnly;  // a long-description file: only `long_desc` counts
    ci_error_code m_retVal;
} _SdatHandler;

// ---- attributes (xmlsdat_attrs.cpp)
// Walks name/value pairs; the value handed out is trimmed.
typedef struct xml_attr_iter {
    const char** atts;
    const char* name;
    char value[XML_ATTR_MAX];
} xml_attr_iter;
void xml_attrs_begin(xml_attr_iter* it, const char** atts);
bool xml_attrs_next(xml_attr_iter* it);
// Case-insensitive test of the current attribute's name.
bool xml_attr_is(const xml_attr_iter* it, const char* name);
// Bounded copy into a ci_string-sized (or any) buffer.
void xml_copy(char* dest, size_t size, const char* source);
// "%i" of a value; 0 when it does not scan.
ci_u32 xml_number(const char* value);
// "%i : %i": a value and a size; a missing size leaves *size unchanged.
void xml_number_pair(const char* value, ci_u32* number, ci_u32* size);
// Blank-separated numbers read one by one with "%i%n".  The value that
// fills the list's last slot is stored, reported under `what` and ends the
// list.  Returns the error code reported, else CI_CAMERA_SUCCESS.
ci_error_code xml_value_list(_SdatHandler* h, const char* what, const char* value, ci_u32* values, ci_s32 capacity,
                             ci_s32* count);
// First two characters "RO" read-only, "WO" write-only, else read-write.
ci_u32 xml_access(const char* value);

// ---- messages and state (xmlsdat_handler.cpp)
// Notes the element being read (for messages) and the parser's line.
void xml_note_element(_SdatHandler* h, const char* element, const char* name);
// Reports the noted element with code through the syntax-error log and
// returns code.
ci_error_code xml_report(_SdatHandler* h, ci_error_code code);
// Records a failure of the parse (the first one is kept).
void xml_fail(_SdatHandler* h, ci_error_code code);
// Whether the parse may go on.
bool xml_ok(const _SdatHandler* h);
// The register and bitfield being filled, or null.
ci_reg_data_t* xml_current_reg(_SdatHandler* h);
ci_bitfield_t* xml_current_bitfield(_SdatHandler* h);

// ---- element handlers.  A start handler returns false to stop the parse.
bool xml_sensor_start(_SdatHandler* h, const char** atts);             // xmlsdat_sensor.cpp
bool xml_version_reg_start(_SdatHandler* h, const char* element, const char** atts);  // xmlsdat_probe.cpp
bool xml_extra_match_start(_SdatHandler* h, const char** atts);
bool xml_or_match_start(_SdatHandler* h, const char** atts);
bool xml_part_number_start(_SdatHandler* h, const char** atts);
bool xml_addr_spaces_start(_SdatHandler* h, const char** atts);  // xmlsdat_space.cpp
bool xml_space_start(_SdatHandler* h, const char** atts);
void xml_addr_spaces_end(_SdatHandler* h);
bool xml_reg_start(_SdatHandler* h, const char** atts);  // xmlsdat_register.cpp
void xml_reg_end(_SdatHandler* h);
void xml_registers_end(_SdatHandler* h);
bool xml_bitfield_start(_SdatHandler* h, const char** atts);  // xmlsdat_bitfield.cpp
void xml_bitfield_end(_SdatHandler* h);
// Cuts the register's bitfield array to its count.
void xml_bitfields_fit(_SdatHandler* h, ci_reg_data_t* reg);
void xml_detail_text(_SdatHandler* h, const char* text, int length);  // xmlsdat_text.cpp
bool xml_long_desc_start(_SdatHandler* h, const char** atts);
void xml_long_desc_text(_SdatHandler* h, const char* text, int length);
void xml_long_desc_end(_SdatHandler* h);
bool xml_far_sensor_start(_SdatHandler* h, const char** atts);  // xmlsdat_far.cpp

// ---- attributes shared by `reg` and `bitfield` (xmlsdat_fields.cpp)
typedef struct xml_field_view {
    char* name;  // a ci_string
    ci_u32* mask;
    ci_u32* rw;
    char* desc;  // a ci_string
    ci_data_types* datatype;
    ci_u32* minimum;
    ci_u32* maximum;
    ci_u32* confidential;
} xml_field_view;
// Reads the current attribute when it is one of name, mask, rw,
// display_name, datatype, range and confidential; returns false otherwise.
bool xml_field_attr(const xml_attr_iter* it, const xml_field_view* f);
