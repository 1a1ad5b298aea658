// Entry point of the XML sensor-data reader.  This build has no XML reader:
// an XML sensor-data file is reported and not used.
#define CK_SOURCE "xmlsdat"
#include <stdio.h>

#include "core/camkit_private.h"

ci_error_code _parseXmlSensorFile(ci_camera_t* camera, ci_sensor_t* sensor, const char* fileName) {
    (void)camera;
    (void)sensor;
    char message[CI_MAX_PATH + 80];
    snprintf(message, sizeof message, "XML sensor data files are not supported in this build: %s",
             fileName ? fileName : "");
    return CK_ERR(CI_SENSOR_FILE_PARSE_ERROR, message);
}
