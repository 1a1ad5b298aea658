// `far_sensor`: a sensor reached through a far bus.
#define CK_SOURCE "xmlsdat"
#include <stdio.h>

#include "sensor/xmlsdat_handler.h"

bool xml_far_sensor_start(_SdatHandler* h, const char** atts) {
    char name[CI_STRING_LEN] = "";
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it))
        if (xml_attr_is(&it, "sdat")) xml_copy(name, sizeof name, it.value);
    char message[2 * CI_STRING_LEN];
    snprintf(message, sizeof message, "far-sensor files are not supported in this build: %s skipped, in %s:%d", name,
             h->r.fileName, static_cast<int>(XML_GetCurrentLineNumber(h->parser)));
    CK_ERR(CI_SENSOR_NOT_SUPPORTED, message);
    return xml_ok(h);
}
