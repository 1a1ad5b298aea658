// `far_sensor`: a sensor reached through a far bus, read from its own
// sensor-data file and merged into the sensor's tables at once.
#define CK_SOURCE "xmlsdat"
#include "sensor/sensor_far.h"
#include "sensor/xmlsdat_handler.h"

bool xml_far_sensor_start(_SdatHandler* h, const char** atts) {
    char name[CI_STRING_LEN] = "";
    char file[CI_STRING_LEN] = "";
    ci_s32 bus = 0;
    ci_u32 base = 0;
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it)) {
        if (xml_attr_is(&it, "name")) xml_copy(name, sizeof name, it.value);
        if (xml_attr_is(&it, "connection")) bus = sensor_far_bus(it.value);
        if (xml_attr_is(&it, "base")) base = xml_number(it.value);
        if (xml_attr_is(&it, "sdat")) xml_copy(file, sizeof file, it.value);
    }
    xml_note_element(h, "far_sensor", name);
    if (bus == 0 || !name[0] || !file[0]) {
        xml_fail(h, xml_report(h, CI_SENSOR_FILE_PARSE_ERROR));
        return xml_ok(h);
    }
    // Registers that follow go after the far sensor's: the arrays are
    // exactly sized now and the name index is rebuilt when they grow.
    xml_reg_end(h);
    ci_error_code loaded = ci_ParseFarSensorFile(h->r.camera, h->r.sensor, name, bus, base, file);
    h->regCapacity = h->r.sensor->num_regs;
    h->spaceCapacity = h->r.sensor->addr_space ? h->r.sensor->addr_space->num_vals : 0;
    sdat_name_index_free(&h->names);
    if (loaded != CI_PARSE_SUCCESS && loaded != CI_SENSOR_NOT_SUPPORTED) xml_fail(h, xml_report(h, loaded));
    return xml_ok(h);
}
