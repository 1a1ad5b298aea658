// Entry points of the XML readers.  This build has no XML reader: an XML
// sensor-data or long-description file is reported and not used.
#define CK_SOURCE "xmlsdat"
#include <stdio.h>

#include "core/camkit_private.h"

namespace {

ci_error_code unsupported(const char* fileName) {
    char message[CI_MAX_PATH + 80];
    snprintf(message, sizeof message, "XML sensor data files are not supported in this build: %s",
             fileName ? fileName : "");
    return CK_ERR(CI_SENSOR_FILE_PARSE_ERROR, message);
}

}  // namespace

ci_error_code _parseXmlSensorFile(ci_camera_t*, ci_sensor_t*, const char* fileName) { return unsupported(fileName); }

ci_error_code _parseXmlLongDescFile(ci_camera_t*, const char* fileName) { return unsupported(fileName); }
