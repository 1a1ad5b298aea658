// The subdevices section ("SUBDEVICES"): sensors on the far buses behind
// the sensor, one a line: ID = {FAR1|FAR2, base, "far sensor file"}.  Each
// far-sensor file is read and merged into the sensor's tables.
#define CK_SOURCE "sensor_data"
#include <stdio.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"
#include "sensor/sensor_far.h"

namespace {

ci_error_code load_far_sensor(sdat_reader* r) {
    char id[80];
    char bus[40];
    char rest[CI_STRING_LEN];
    ci_u32 base = 0;
    if (sdat_scan(r->line, "%79[^=]= {%39[^,], %i, %255[^}]", id, bus, &base, rest) != 4)
        return sdat_syntaxerror(r, CI_SENSOR_FILE_PARSE_ERROR);
    char file[CI_STRING_LEN];
    extract_string(file, sizeof file, rest);
    ci_s32 which = sensor_far_bus(osal_trim(bus));
    if (which == 0 || !osal_trim(id)[0]) return sdat_syntaxerror(r, CI_SENSOR_FILE_PARSE_ERROR);
    ci_error_code loaded = ci_ParseFarSensorFile(r->camera, r->sensor, id, which, base, file);
    if (loaded == CI_PARSE_SUCCESS || loaded == CI_SENSOR_NOT_SUPPORTED) return CI_CAMERA_SUCCESS;
    return sdat_syntaxerror(r, loaded);
}

}  // namespace

// A bad entry or far file is reported and the section goes on; the file
// then fails with the last such code.
ci_error_code parse_subdevices(sdat_reader* r) {
    if (!r->sensor->addr_space) {
        parse_unknown(r);
        return CI_CAMERA_SUCCESS;
    }
    ci_error_code result = CI_CAMERA_SUCCESS;
    while (sdat_next_line(r, SDAT_LINE_SUBDEVICES) && !end_section(r->line)) {
        ci_error_code e = load_far_sensor(r);
        if (e != CI_CAMERA_SUCCESS) result = e;
    }
    return result;
}
