// Attribute values of the XML sensor-data reader: trimmed copies, numbers,
// number pairs and value lists.
#define CK_SOURCE "xmlsdat"
#include <ctype.h>
#include <string.h>

#include "sensor/sdat_scan.h"
#include "sensor/xmlsdat_handler.h"

void xml_copy(char* dest, size_t size, const char* source) {
    if (size == 0) return;
    size_t length = strlen(source);
    if (length >= size) length = size - 1;
    memcpy(dest, source, length);
    dest[length] = '\0';
}

void xml_attrs_begin(xml_attr_iter* it, const char** atts) {
    it->atts = atts;
    it->name = nullptr;
    it->value[0] = '\0';
}

bool xml_attrs_next(xml_attr_iter* it) {
    if (!it->atts || !it->atts[0]) return false;
    it->name = it->atts[0];
    const char* raw = it->atts[1];
    it->atts += 2;
    while (isspace(static_cast<unsigned char>(*raw))) ++raw;
    xml_copy(it->value, sizeof it->value, raw);
    size_t length = strlen(it->value);
    while (length > 0 && isspace(static_cast<unsigned char>(it->value[length - 1]))) it->value[--length] = '\0';
    return true;
}

bool xml_attr_is(const xml_attr_iter* it, const char* name) { return osal_stricmp(it->name, name) == 0; }

ci_u32 xml_number(const char* value) {
    ci_u32 n = 0;
    sdat_scan(value, "%i", &n);
    return n;
}

void xml_number_pair(const char* value, ci_u32* number, ci_u32* size) { sdat_scan(value, "%i : %i", number, size); }

ci_error_code xml_value_list(_SdatHandler* h, const char* what, const char* value, ci_u32* values, ci_s32 capacity,
                             ci_s32* count) {
    *count = 0;
    const char* p = value;
    ci_u32 n = 0;
    int used = 0;
    while (sdat_scan(p, "%i%n", &n, &used) == 1) {
        values[(*count)++] = n;
        p += used;
        if (*count == capacity) {
            xml_note_element(h, what, nullptr);
            return xml_report(h, CI_CHIP_DESC_ERROR);
        }
    }
    return CI_CAMERA_SUCCESS;
}

ci_u32 xml_access(const char* value) { return sdat_access(value); }
