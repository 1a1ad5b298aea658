// A small XML writer: elements with attributes and text, escaped so that
// an XML parser hands back exactly the text written.
#pragma once

#include <stdio.h>

#include "core/camkit_private.h"

typedef struct xml_out {
    FILE* fp;
    int depth;      // open elements, for indentation
    int inStart;    // a start tag is open for attributes
    int unwritable; // a text XML cannot carry was met (see xml_out_storable)
    char what[CI_STRING_LEN];  // the first such text, for the message
} xml_out;

void xml_out_begin(xml_out* x, FILE* fp);
// Opens an element; attributes follow until its content or end.
void xml_out_open(xml_out* x, const char* element);
void xml_out_attr(xml_out* x, const char* name, const char* value);
void xml_out_attr_u(xml_out* x, const char* name, ci_u32 value);  // decimal
void xml_out_attr_x(xml_out* x, const char* name, ci_u32 value);  // 0x hexadecimal
// Text content of the open element (no indentation is added around it).
void xml_out_text(xml_out* x, const char* text);
// A child element holding only text: <element>text</element>.
void xml_out_text_element(xml_out* x, const char* element, const char* text);
// Closes the innermost element (as <e/> when it has no content).
void xml_out_close(xml_out* x, const char* element);

// Whether XML 1.0 can carry the text: valid UTF-8 without the control
// characters the format forbids.
int xml_out_storable(const char* text);
