// The XML writer of the sensor-data writers.  Attribute values escape the
// blanks that a parser would otherwise normalise (tab, line ends); text
// escapes the carriage return that line-end handling would drop.
#define CK_SOURCE "sensor_data"
#include "sensor/xml_out.h"

#include <string.h>

namespace {

void indent(xml_out* x) {
    fputc('\n', x->fp);
    for (int i = 0; i < x->depth; ++i) fputs("  ", x->fp);
}

void escaped(xml_out* x, const char* text, bool attribute) {
    if (!xml_out_storable(text) && !x->unwritable) {
        x->unwritable = 1;
        snprintf(x->what, sizeof x->what, "%s", text);
    }
    for (const char* p = text; *p; ++p) {
        switch (*p) {
            case '&': fputs("&amp;", x->fp); break;
            case '<': fputs("&lt;", x->fp); break;
            case '>': fputs("&gt;", x->fp); break;
            case '"': fputs(attribute ? "&quot;" : "\"", x->fp); break;
            case '\r': fputs("&#13;", x->fp); break;
            case '\n': fputs(attribute ? "&#10;" : "\n", x->fp); break;
            case '\t': fputs(attribute ? "&#9;" : "\t", x->fp); break;
            default: fputc(*p, x->fp); break;
        }
    }
}

void end_start_tag(xml_out* x) {
    if (!x->inStart) return;
    fputc('>', x->fp);
    x->inStart = 0;
}

// Length of the UTF-8 sequence led by c, 0 for a byte that cannot lead one.
int sequence_length(unsigned char c) {
    if (c < 0x80) return 1;
    if (c >= 0xC2 && c <= 0xDF) return 2;
    if (c >= 0xE0 && c <= 0xEF) return 3;
    if (c >= 0xF0 && c <= 0xF4) return 4;
    return 0;
}

}  // namespace

void xml_out_begin(xml_out* x, FILE* fp) {
    memset(x, 0, sizeof *x);
    x->fp = fp;
    fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", fp);
}

void xml_out_open(xml_out* x, const char* element) {
    end_start_tag(x);
    indent(x);
    fprintf(x->fp, "<%s", element);
    x->inStart = 1;
    x->depth++;
}

void xml_out_attr(xml_out* x, const char* name, const char* value) {
    fprintf(x->fp, " %s=\"", name);
    escaped(x, value, true);
    fputc('"', x->fp);
}

void xml_out_attr_u(xml_out* x, const char* name, ci_u32 value) { fprintf(x->fp, " %s=\"%u\"", name, value); }

void xml_out_attr_x(xml_out* x, const char* name, ci_u32 value) { fprintf(x->fp, " %s=\"0x%X\"", name, value); }

void xml_out_text(xml_out* x, const char* text) {
    end_start_tag(x);
    escaped(x, text, false);
}

void xml_out_text_element(xml_out* x, const char* element, const char* text) {
    xml_out_open(x, element);
    xml_out_text(x, text);
    x->depth--;
    fprintf(x->fp, "</%s>", element);
}

void xml_out_close(xml_out* x, const char* element) {
    x->depth--;
    if (x->inStart) {
        fputs("/>", x->fp);
        x->inStart = 0;
        return;
    }
    indent(x);
    fprintf(x->fp, "</%s>", element);
}

int xml_out_storable(const char* text) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
    while (*p) {
        if (*p < 0x20 && *p != '\t' && *p != '\n' && *p != '\r') return 0;
        int n = sequence_length(*p);
        if (n == 0) return 0;
        for (int i = 1; i < n; ++i)
            if ((p[i] & 0xC0) != 0x80) return 0;
        // Overlong or out-of-range forms and surrogates.
        if (n == 3 && ((p[0] == 0xE0 && p[1] < 0xA0) || (p[0] == 0xED && p[1] >= 0xA0))) return 0;
        if (n == 4 && ((p[0] == 0xF0 && p[1] < 0x90) || (p[0] == 0xF4 && p[1] >= 0x90))) return 0;
        // U+FFFE and U+FFFF are not characters.
        if (n == 3 && p[0] == 0xEF && p[1] == 0xBF && (p[2] == 0xBE || p[2] == 0xBF)) return 0;
        p += n;
    }
    return 1;
}
