// Character data: the text of `detail` (bounded by its record's field) and
// of `long_desc` (any length).  The parser may hand over one text in several
// pieces (around entities, CDATA sections and its buffer boundaries); each
// piece is appended.
#define CK_SOURCE "xmlsdat"
#include <stdlib.h>
#include <string.h>

#include "sensor/xmlsdat_handler.h"

namespace {

const size_t kMaxPiece = CI_STRING_LEN - 1;

void append_bounded(char* dest, size_t size, const char* text, size_t length) {
    size_t used = strnlen(dest, size - 1);
    size_t room = size - 1 - used;
    if (length > room) length = room;
    memcpy(dest + used, text, length);
    dest[used + length] = '\0';
}

bool grow_long_descs(_SdatHandler* h) {
    ci_sensor_t* s = h->r.sensor;
    if (s->num_long_desc < h->longDescCapacity) return true;
    ci_s32 capacity = h->longDescCapacity > 0 ? h->longDescCapacity * 2 : 8;
    void* grown = realloc(s->long_desc, static_cast<size_t>(capacity) * sizeof *s->long_desc);
    if (!grown) return false;
    s->long_desc = static_cast<ci_long_desc_t*>(grown);
    h->longDescCapacity = capacity;
    return true;
}

char* heap_copy(const char* text) {
    size_t n = strlen(text) + 1;
    char* copy = static_cast<char*>(malloc(n));
    if (copy) memcpy(copy, text, n);
    return copy;
}

}  // namespace

void xml_detail_text(_SdatHandler* h, const char* text, int length) {
    if (length <= 0) return;
    size_t n = static_cast<size_t>(length) > kMaxPiece ? kMaxPiece : static_cast<size_t>(length);
    ci_bitfield_t* bf = xml_current_bitfield(h);
    if (bf) {
        append_bounded(bf->detail, sizeof bf->detail, text, n);
        return;
    }
    ci_reg_data_t* reg = xml_current_reg(h);
    if (reg) append_bounded(reg->detail, sizeof reg->detail, text, n);
}

// A long description names its register and bitfield with `reg` and
// `bitfield`; inside a `reg` (or `bitfield`) element they default to the
// current ones.
bool xml_long_desc_start(_SdatHandler* h, const char** atts) {
    const ci_reg_data_t* reg = xml_current_reg(h);
    const ci_bitfield_t* bf = xml_current_bitfield(h);
    char regName[CI_STRING_LEN];
    char fieldName[CI_STRING_LEN];
    xml_copy(regName, sizeof regName, reg ? reg->unique_desc : "");
    xml_copy(fieldName, sizeof fieldName, bf ? bf->id : "");
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it)) {
        if (xml_attr_is(&it, "reg")) xml_copy(regName, sizeof regName, it.value);
        if (xml_attr_is(&it, "bitfield")) xml_copy(fieldName, sizeof fieldName, it.value);
    }
    ci_sensor_t* s = h->r.sensor;
    if (!grow_long_descs(h)) {
        xml_fail(h, CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate long descriptions"));
        return false;
    }
    ci_long_desc_t* d = &s->long_desc[s->num_long_desc];
    d->regName = heap_copy(regName);
    d->bitfieldName = fieldName[0] ? heap_copy(fieldName) : nullptr;
    d->longDesc = heap_copy("");
    s->num_long_desc++;
    h->longDesc = d;
    h->longDescLength = 0;
    h->inLongDesc = true;
    if (!d->regName || !d->longDesc || (fieldName[0] && !d->bitfieldName)) {
        xml_fail(h, CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate long descriptions"));
        return false;
    }
    return xml_ok(h);
}

void xml_long_desc_text(_SdatHandler* h, const char* text, int length) {
    ci_long_desc_t* d = h->longDesc;
    if (!d || !d->longDesc || length <= 0) return;
    size_t n = static_cast<size_t>(length);
    char* grown = static_cast<char*>(realloc(d->longDesc, h->longDescLength + n + 1));
    if (!grown) {
        xml_fail(h, CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate long descriptions"));
        XML_StopParser(h->parser, XML_FALSE);
        return;
    }
    memcpy(grown + h->longDescLength, text, n);
    h->longDescLength += n;
    grown[h->longDescLength] = '\0';
    d->longDesc = grown;
}

void xml_long_desc_end(_SdatHandler* h) {
    h->inLongDesc = false;
    h->longDesc = nullptr;
}
