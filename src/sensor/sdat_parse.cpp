// ci_ParseSensorFile: reads a sensor-data file into a sensor record and the
// identification data of the camera's common context.  Files in XML form go
// to the XML reader; this file drives the sectioned text form section by
// section, giving up as soon as a section fails or shows that the connected
// hardware cannot be this sensor.
#define CK_SOURCE "sensor_data"
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"

namespace {

enum section_kind { SECTION_DESCRIPTOR, SECTION_OPTIONAL, SECTION_ADDR_SPACE, SECTION_REGISTERS, SECTION_SUBDEVICES };

const field_desc_t kSections[] = {
    {SECTION_DESCRIPTOR, "CHIP_DESCRIPTOR"}, {SECTION_OPTIONAL, "OPTIONAL"},     {SECTION_ADDR_SPACE, "ADDR_SPACE"},
    {SECTION_REGISTERS, "REGISTERS"},        {SECTION_SUBDEVICES, "SUBDEVICES"},
};

bool has_sensor_data_extension(const char* fileName) {
    const char* dot = strrchr(fileName, '.');
    return dot && (osal_stricmp(dot, ".sdat") == 0 || osal_stricmp(dot, ".xsdat") == 0);
}

// The sensor-type additions of the file's directory.
void load_directory_types(const char* fileName) {
    char dir[CI_MAX_PATH];
    const char* slash = strrchr(fileName, '/');
    if (!slash) {
        snprintf(dir, sizeof dir, ".");
    } else {
        size_t len = static_cast<size_t>(slash - fileName);
        if (len == 0) len = 1;  // a file in "/"
        if (len >= sizeof dir) return;
        memcpy(dir, fileName, len);
        dir[len] = '\0';
    }
    _loadSensorTypeFile(dir);
}

ci_sensor_t* choose_record(ci_camera_t* camera, ci_sensor_t* given) {
    if (given) return given;
    if (!camera->sensor) camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    return camera->sensor;
}

ci_error_code run_section(sdat_reader* r, int kind) {
    ci_error_code result = CI_CAMERA_SUCCESS;
    switch (kind) {
        case SECTION_DESCRIPTOR:
            result = parse_sensor_descriptor(r);
            sdat_finish_descriptor(r->sensor, r->ctx);
            return result ? result : sdat_reject_after_descriptor(r);
        case SECTION_OPTIONAL:
            result = parse_optional(r);
            return result ? result : sdat_reject_after_optional(r);
        case SECTION_ADDR_SPACE:
            return parse_addr_space(r);
        case SECTION_REGISTERS:
            return parse_registers(r);
        case SECTION_SUBDEVICES:
            return parse_subdevices(r);
        default:
            sdat_syntaxerror(r, CI_UKNOWN_SECTION_ERROR);
            parse_unknown(r);
            return CI_CAMERA_SUCCESS;
    }
}

ci_s32 initial_modes(ci_camera_t* camera, ci_s32) {
    _initialRegModes(camera);
    return 0;
}

ci_error_code parse_text(sdat_reader* r) {
    char name[CI_STRING_LEN];
    bool descriptorSeen = false;
    while (get_section(r, name, sizeof name)) {
        int kind = get_field(name, kSections, sizeof kSections / sizeof kSections[0]);
        descriptorSeen = descriptorSeen || kind == SECTION_DESCRIPTOR;
        ci_error_code result = run_section(r, kind);
        if (result != CI_CAMERA_SUCCESS) return result;
    }
    if (!descriptorSeen) {
        char message[CI_MAX_PATH + 64];
        snprintf(message, sizeof message, "no CHIP_DESCRIPTOR section in %s", r->fileName);
        return CK_ERR(CI_CHIP_DESC_ERROR, message);
    }
    sdat_with_sensor(r, initial_modes, 0);
    return CI_PARSE_SUCCESS;
}

// The whole file into text.
ci_error_code read_file(const char* fileName, sdat_text* text) {
    FILE* fp = fopen(fileName, "rb");
    if (!fp) {
        char message[CI_MAX_PATH + 64];
        snprintf(message, sizeof message, "unable to open file %s", fileName);
        return CK_ERR(CI_PARSE_FILE_ERROR, message);
    }
    int read = sdat_text_read(fp, text);
    fclose(fp);
    return read ? CI_CAMERA_SUCCESS : CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate memory for the file");
}

void log_file(const char* format, const char* fileName) {
    char message[CI_MAX_PATH + 64];
    snprintf(message, sizeof message, format, fileName);
    CK_LOG(CI_LOG_DEBUG, message);
}

}  // namespace

ci_error_code ci_ParseSensorFile(ci_camera_t* camera, const char* fileName, ci_sensor_t* sensor) {
    if (!camera || !fileName || !has_sensor_data_extension(fileName)) return CI_CAMERA_ERROR;
    _common_context_t* ctx = _ctx(camera);
    if (!ctx) return CK_ERR(CI_CAMERA_ERROR, "Must have a valid pCamera->context");
    log_file("parsing file %s", fileName);

    sdat_text text{};
    ci_error_code opened = read_file(fileName, &text);
    if (opened != CI_CAMERA_SUCCESS) return opened;
    ci_sensor_t* record = choose_record(camera, sensor);
    if (!record) {
        sdat_text_free(&text);
        return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate sensor structure");
    }
    sdat_reset_record(record, ctx, fileName);
    load_directory_types(fileName);
    if (sdat_text_is_xml(&text)) {
        sdat_text_free(&text);
        return _parseXmlSensorFile(camera, record, fileName);
    }
    sdat_reader r{text, fileName, 0, camera, record, ctx, {}, 1};
    ci_error_code result = parse_text(&r);
    sdat_text_free(&r.text);
    return result;
}
