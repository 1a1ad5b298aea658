// Attributes that registers and bitfields share.
#define CK_SOURCE "xmlsdat"
#include <ctype.h>

#include "sensor/sdat_scan.h"
#include "sensor/xmlsdat_handler.h"

namespace {

// Two words, each read under the current data type and mask; so `datatype`
// and `mask` must come before `range`.
void range(const char* value, const xml_field_view* f) {
    char low[62];
    char high[62];
    int n = sdat_scan(value, "%61s %61s", low, high);
    if (n >= 1) *f->minimum = ci_Str2Int(*f->datatype, low, *f->mask);
    if (n >= 2) *f->maximum = ci_Str2Int(*f->datatype, high, *f->mask);
}

ci_data_types datatype(const char* value) {
    ci_data_types type = ci_DataTypeFromString(value);
    return type == CI_UNKNOWN_DATA_TYPE ? CI_TYPE_UNSIGNED : type;
}

ci_u32 confidential(const char* value) {
    char c = static_cast<char>(toupper(static_cast<unsigned char>(value[0])));
    return c == 'Y' ? 1 : c == 'P' ? 2 : 0;
}

}  // namespace

bool xml_field_attr(const xml_attr_iter* it, const xml_field_view* f) {
    const char* v = it->value;
    if (xml_attr_is(it, "name"))
        xml_copy(f->name, CI_STRING_LEN, v);
    else if (xml_attr_is(it, "mask"))
        *f->mask = xml_number(v);
    else if (xml_attr_is(it, "rw"))
        *f->rw = xml_access(v);
    else if (xml_attr_is(it, "display_name"))
        xml_copy(f->desc, CI_STRING_LEN, v);
    else if (xml_attr_is(it, "datatype"))
        *f->datatype = datatype(v);
    else if (xml_attr_is(it, "range"))
        range(v, f);
    else if (xml_attr_is(it, "confidential"))
        *f->confidential = confidential(v);
    else
        return false;
    return true;
}
