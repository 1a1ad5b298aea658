// The subdevices section ("SUBDEVICES"): sensors on the far buses behind
// the sensor.  Far-sensor files are not read in this build; each entry is
// reported and skipped, and the rest of the file is read as usual.
#define CK_SOURCE "sensor_data"
#include <stdio.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

void skip_far_sensor(const sdat_reader* r) {
    char id[80];
    char bus[40];
    char rest[CI_STRING_LEN];
    ci_u32 base = 0;
    if (sdat_scan(r->line, "%79[^=]= {%39[^,], %i, %255[^}]", id, bus, &base, rest) != 4) {
        sdat_syntaxerror(r, CI_SENSOR_FILE_PARSE_ERROR);
        return;
    }
    char file[CI_STRING_LEN];
    extract_string(file, sizeof file, rest);
    char message[3 * CI_STRING_LEN];
    snprintf(message, sizeof message,
             "far-sensor files are not supported in this build: %s (%s at 0x%X) skipped, in %s:%d", file,
             osal_trim(bus), static_cast<unsigned>(base), r->fileName, static_cast<int>(r->lineNo));
    CK_ERR(CI_SENSOR_NOT_SUPPORTED, message);
}

}  // namespace

ci_error_code parse_subdevices(sdat_reader* r) {
    if (!r->sensor->addr_space) {
        parse_unknown(r);
        return CI_CAMERA_SUCCESS;
    }
    while (sdat_next_line(r, SDAT_LINE_SUBDEVICES) && !end_section(r->line)) skip_far_sensor(r);
    return CI_CAMERA_SUCCESS;
}
