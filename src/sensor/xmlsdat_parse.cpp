// _parseXmlSensorFile: reads the XML form of a sensor-data file with expat.
// The file is streamed through a read callback into the parser's buffer;
// element start, element end and character-data callbacks fill the records
// through the handler state, and parser errors go to the error handler.
#define CK_SOURCE "xmlsdat"
#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include "sensor/xmlsdat_handler.h"

namespace {

const int kReadSize = 16384;

typedef bool (*start_fn)(_SdatHandler*, const char**);
typedef void (*end_fn)(_SdatHandler*);

struct element_row {
    const char* name;
    start_fn start;  // null: only continue while the parse is sound
    end_fn end;      // null: the end is not looked at
};

bool detail_start(_SdatHandler* h, const char**) {
    h->inDetail = true;
    return true;
}
void detail_end(_SdatHandler* h) { h->inDetail = false; }
void nothing_end(_SdatHandler*) {}

const element_row kElements[] = {
    {"sensor", xml_sensor_start, nothing_end},
    {"version_reg_write", [](_SdatHandler* h, const char** a) { return xml_version_reg_start(h, "version_reg_write", a); },
     nullptr},
    {"version_reg_waitfor",
     [](_SdatHandler* h, const char** a) { return xml_version_reg_start(h, "version_reg_waitfor", a); }, nullptr},
    {"version_reg_read", [](_SdatHandler* h, const char** a) { return xml_version_reg_start(h, "version_reg_read", a); },
     nullptr},
    {"version_reg_resetif",
     [](_SdatHandler* h, const char** a) { return xml_version_reg_start(h, "version_reg_resetif", a); }, nullptr},
    {"extra_match", xml_extra_match_start, nullptr},
    {"or_match", xml_or_match_start, nullptr},
    {"part_number", xml_part_number_start, nullptr},
    {"addr_spaces", xml_addr_spaces_start, xml_addr_spaces_end},
    {"space", xml_space_start, nullptr},
    {"registers", nullptr, xml_registers_end},
    {"reg", xml_reg_start, xml_reg_end},
    {"bitfield", xml_bitfield_start, xml_bitfield_end},
    {"detail", detail_start, detail_end},
    {"long_desc", xml_long_desc_start, xml_long_desc_end},
    {"far_sensor", xml_far_sensor_start, nullptr},
};

const element_row* find_element(const char* name) {
    const int first = tolower(static_cast<unsigned char>(name[0]));
    for (const element_row& row : kElements)
        if (row.name[0] == first && osal_stricmp(row.name, name) == 0) return &row;
    return nullptr;
}

_SdatHandler* handler_of(void* user) { return static_cast<_SdatHandler*>(user); }

void XMLCALL on_start(void* user, const XML_Char* name, const XML_Char** atts) {
    _SdatHandler* h = handler_of(user);
    const element_row* row = find_element(name);
    if (row && h->longDescOnly && row->start != xml_long_desc_start) row = nullptr;
    bool more = (row && row->start) ? row->start(h, atts) : xml_ok(h);
    if (!more) XML_StopParser(h->parser, XML_FALSE);
}

void XMLCALL on_end(void* user, const XML_Char* name) {
    _SdatHandler* h = handler_of(user);
    const element_row* row = find_element(name);
    if (row && h->longDescOnly && row->end != xml_long_desc_end) row = nullptr;
    if (!row || !row->end) return;
    row->end(h);
    if (!xml_ok(h)) XML_StopParser(h->parser, XML_FALSE);
}

void XMLCALL on_text(void* user, const XML_Char* text, int length) {
    _SdatHandler* h = handler_of(user);
    if (h->inDetail)
        xml_detail_text(h, text, length);
    else if (h->inLongDesc)
        xml_long_desc_text(h, text, length);
}

// The parser's error report.  A stop asked for by a callback (after a
// recorded failure or an early reject) is not an error of the file.
void on_error(_SdatHandler* h) {
    enum XML_Error code = XML_GetErrorCode(h->parser);
    if (code == XML_ERROR_ABORTED) return;
    char message[CI_STRING_LEN + 96];
    snprintf(message, sizeof message, "XML parsing error: \"%s\" Code: %d Line: %d Col: %d", XML_ErrorString(code),
             static_cast<int>(code), static_cast<int>(XML_GetCurrentLineNumber(h->parser)),
             static_cast<int>(XML_GetCurrentColumnNumber(h->parser)));
    ci_syntaxerror(CI_SENSOR_FILE_PARSE_ERROR, message, h->r.fileName,
                   static_cast<ci_s32>(XML_GetCurrentLineNumber(h->parser)));
    xml_fail(h, CI_SENSOR_FILE_PARSE_ERROR);
}

// The stream reader: fills buffer from the file and reports the end of the
// input when fewer bytes than asked were read.
int read_stream(FILE* fp, char* buffer, int size, bool* end) {
    size_t n = fread(buffer, 1, static_cast<size_t>(size), fp);
    *end = n < static_cast<size_t>(size);
    return static_cast<int>(n);
}

void parse_stream(_SdatHandler* h, FILE* fp) {
    bool end = false;
    while (!end) {
        void* buffer = XML_GetBuffer(h->parser, kReadSize);
        if (!buffer) {
            xml_fail(h, CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate the XML parser's buffer"));
            return;
        }
        int n = read_stream(fp, static_cast<char*>(buffer), kReadSize, &end);
        if (XML_ParseBuffer(h->parser, n, end) != XML_STATUS_OK) {
            on_error(h);
            return;
        }
    }
}

void init_handler(_SdatHandler* h, ci_camera_t* camera, ci_sensor_t* sensor, const char* fileName) {
    memset(h, 0, sizeof *h);
    h->r.fileName = fileName;
    h->r.camera = camera;
    h->r.sensor = sensor;
    h->r.ctx = _ctx(camera);
    h->reg = -1;
    h->bitfield = -1;
    h->term = &h->r.ctx->probe_term[h->r.ctx->num_probe_term - 1];
    h->regCapacity = sensor->num_regs;
    h->longDescCapacity = sensor->num_long_desc;
    h->m_retVal = CI_PARSE_SUCCESS;
}

ci_s32 initial_modes(ci_camera_t* camera, ci_s32) {
    _initialRegModes(camera);
    return 0;
}

ci_error_code finish(_SdatHandler* h) {
    sdat_name_index_free(&h->names);
    if (h->m_retVal != CI_PARSE_SUCCESS || h->longDescOnly) return h->m_retVal;
    if (!h->sensorSeen) {
        char message[CI_MAX_PATH + 64];
        snprintf(message, sizeof message, "no sensor element in %s", h->r.fileName);
        return CK_ERR(CI_CHIP_DESC_ERROR, message);
    }
    sdat_with_sensor(&h->r, initial_modes, 0);
    return CI_PARSE_SUCCESS;
}

// The driver shared by sensor-data and long-description files.
ci_error_code run(ci_camera_t* camera, ci_sensor_t* sensor, const char* fileName, bool longDescOnly) {
    char message[CI_MAX_PATH + 32];
    snprintf(message, sizeof message, "parsing file %s", fileName);
    CK_LOG(CI_LOG_DEBUG, message);
    FILE* fp = fopen(fileName, "rb");
    if (!fp) {
        snprintf(message, sizeof message, "unable to open file %s", fileName);
        return CK_ERR(CI_PARSE_FILE_ERROR, message);
    }
    _SdatHandler* h = new _SdatHandler;
    init_handler(h, camera, sensor, fileName);
    h->longDescOnly = longDescOnly;
    h->parser = XML_ParserCreate(nullptr);
    if (!h->parser) {
        fclose(fp);
        delete h;
        return CK_ERR(CI_PARSE_FILE_ERROR, "Couldn't create the XML parser");
    }
    XML_SetUserData(h->parser, h);
    XML_SetElementHandler(h->parser, on_start, on_end);
    XML_SetCharacterDataHandler(h->parser, on_text);
    parse_stream(h, fp);
    XML_ParserFree(h->parser);
    h->parser = nullptr;
    fclose(fp);
    ci_error_code result = finish(h);
    delete h;
    return result;
}

}  // namespace

ci_error_code _parseXmlSensorFile(ci_camera_t* camera, ci_sensor_t* sensor, const char* fileName) {
    if (!camera || !sensor || !fileName || !_ctx(camera)) return CI_CAMERA_ERROR;
    return run(camera, sensor, fileName, false);
}

ci_error_code _parseXmlLongDescFile(ci_camera_t* camera, const char* fileName) {
    if (!camera || !camera->sensor || !fileName || !_ctx(camera)) return CI_CAMERA_ERROR;
    return run(camera, camera->sensor, fileName, true);
}
