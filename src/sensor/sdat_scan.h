// A small scanf for the sensor-data readers.
//
// The line formats of the sectioned sensor-data files are written as scanf
// formats ("%255[^=]= {%i, %39[^,], ...") and those formats define the
// accepted syntax.  sdat_scan() reads the same formats with the same rules
// as sscanf, with two differences that matter to us:
//  - %i stores the low 32 bits of the number into a 32-bit integer (signed or
//    unsigned), on every platform.  (With sscanf, "0xFFFFFFFF" clamps to
//    0x7FFFFFFF on a platform whose long is 32 bits.)
//  - it is several times faster, which matters for sensors with thousands of
//    registers.
// Supported conversions: %i, %Ns, %N[set], %N[^set] (a width is required for
// the text conversions), %n and %%.  A '*' after the '%' (as in "%*255[^,]")
// matches the same text but stores nothing and takes no argument; checks that
// only need to know whether a line has a form use it to avoid the copies.
// Blanks in the format skip any white space; any other character must match.
// The result is the number of conversions stored (%n and suppressed
// conversions not counted), or -1 when the text ends before the first
// conversion.
#pragma once

#include <stdint.h>

// White space as the "C" locale has it.  The readers test every character
// of a large file with this; the library's ctype calls cost a function call
// each.
inline bool sdat_is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

int sdat_scan(const char* text, const char* format, ...) __attribute__((format(scanf, 2, 3)));

// One "%i" at text (white space first) read as sdat_scan reads it: the low
// 32 bits go to *value.  Returns the text after the number, or nullptr when
// there is no number there.
const char* sdat_scan_int(const char* text, uint32_t* value);
