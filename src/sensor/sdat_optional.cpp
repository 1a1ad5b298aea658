// The optional section ("OPTIONAL"): register sizes, the register-line form,
// version and size details, and the probe data that identify the sensor.
// Each optional section fills the probe term that is current when it begins;
// OR_MATCH opens another term for the next optional section.
#define CK_SOURCE "sensor_data"
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

enum optional_key {
    KEY_PART_NUMBER,
    KEY_EXTRA_DESC_REG,
    KEY_EXTRA_DESC_MASK,
    KEY_EXTRA_DESC_VAL,
    KEY_SENSOR_VERSION,
    KEY_VERSION_NAME,
    KEY_FULL_WIDTH,
    KEY_FULL_HEIGHT,
    KEY_VERSION_REG_WRITE,
    KEY_VERSION_REG_WAITFOR,
    KEY_VERSION_REG_READ,
    KEY_VERSION_REG_RESETIF,
    KEY_EXTRA_SERIAL_REG,
    KEY_OR_MATCH,
    KEY_REG_ADDR_SIZE,
    KEY_REG_DATA_SIZE,
    KEY_SDAT_VERSION
};

const field_desc_t kOptionalKeys[] = {
    {KEY_PART_NUMBER, "PART_NUMBER"},
    {KEY_EXTRA_DESC_REG, "EXTRA_DESC_REG"},
    {KEY_EXTRA_DESC_MASK, "EXTRA_DESC_MASK"},
    {KEY_EXTRA_DESC_VAL, "EXTRA_DESC_VAL"},
    {KEY_SENSOR_VERSION, "SENSOR_VERSION"},
    {KEY_VERSION_NAME, "VERSION_NAME"},
    {KEY_FULL_WIDTH, "FULL_WIDTH"},
    {KEY_FULL_HEIGHT, "FULL_HEIGHT"},
    {KEY_VERSION_REG_WRITE, "VERSION_REG_WRITE"},
    {KEY_VERSION_REG_WAITFOR, "VERSION_REG_WAITFOR"},
    {KEY_VERSION_REG_READ, "VERSION_REG_READ"},
    {KEY_VERSION_REG_RESETIF, "VERSION_REG_RESETIF"},
    {KEY_EXTRA_SERIAL_REG, "EXTRA_SERIAL_REG"},
    {KEY_OR_MATCH, "OR_MATCH"},
    {KEY_REG_ADDR_SIZE, "REG_ADDR_SIZE"},
    {KEY_REG_DATA_SIZE, "REG_DATA_SIZE"},
    {KEY_SDAT_VERSION, "SDAT_VERSION"},
};

bool valid_bus_width(ci_u32 bits) { return bits == 8 || bits == 16 || bits == 32; }

// REG_ADDR_SIZE / REG_DATA_SIZE: stored even when wrong, which is reported.
ci_error_code bus_width(const sdat_reader* r, ci_u32 bits, ci_u32* field, const char* complaint) {
    *field = bits;
    if (valid_bus_width(bits)) return CI_CAMERA_SUCCESS;
    sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    return CK_ERR(CI_CHIP_DESC_ERROR, complaint);
}

// Keys whose value is one number.
ci_error_code number_key(sdat_reader* r, _probe_term_t* term, int key, ci_u32 n) {
    switch (key) {
        case KEY_EXTRA_DESC_MASK:
            term->extra_desc_mask = n;
            break;
        case KEY_SENSOR_VERSION:
            r->sensor->sensorVersion = n;
            break;
        case KEY_FULL_WIDTH:
            r->sensor->fullWidth = n;
            break;
        case KEY_FULL_HEIGHT:
            r->sensor->fullHeight = n;
            break;
        case KEY_REG_ADDR_SIZE:
            return bus_width(r, n, &r->sensor->reg_addr_size, "register address size should be 8, 16 or 32");
        case KEY_REG_DATA_SIZE:
            return bus_width(r, n, &r->sensor->reg_data_size, "register data size should be 8, 16 or 32");
        default:  // KEY_SDAT_VERSION
            r->ctx->sdat_version = static_cast<ci_s32>(n);
            break;
    }
    return CI_CAMERA_SUCCESS;
}

ci_error_code version_read(sdat_reader* r, _probe_term_t* term) {
    if (term->num_version_reg_read >= CI_MAX_VERSION_REG_READS) return CI_CAMERA_SUCCESS;
    _regData* data = &term->version_reg_read[term->num_version_reg_read];
    ci_error_code result = sdat_reg_data(r, data);
    if (data->numValues > 0) term->num_version_reg_read++;
    return result;
}

void version_name(sdat_reader* r, const char* value) {
    char name[CI_STRING_LEN];
    if (sdat_scan(value, "\"%255[^\"]", name) == 1) memcpy(r->sensor->versionName, name, sizeof name);
}

// A file may offer at most four alternative probe terms; one more OR_MATCH is
// a syntax error of the file (the extra term's keys then fill the last term,
// and the file fails with the section's code).
ci_error_code or_match(sdat_reader* r) {
    if (r->ctx->num_probe_term >= CI_MAX_PROBE_TERMS) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    r->ctx->num_probe_term++;
    return CI_CAMERA_SUCCESS;
}

ci_error_code read_key(sdat_reader* r, _probe_term_t* term, int key, const char* value) {
    const char* rest = strchr(r->line, '=');
    rest = rest ? rest + 1 : "";
    switch (key) {
        case KEY_PART_NUMBER:
            return sdat_part_number(r, rest);
        case KEY_EXTRA_DESC_REG:
            extract_string(term->extra_desc_reg, sizeof term->extra_desc_reg, value);
            return CI_CAMERA_SUCCESS;
        case KEY_EXTRA_DESC_VAL:
            return sdat_value_list(r, rest, term->extra_desc_val, CI_MAX_VALUES, &term->num_extra_desc_val,
                                   LIST_OVERFLOW_IS_ERROR);
        case KEY_VERSION_NAME:
            version_name(r, value);
            return CI_CAMERA_SUCCESS;
        case KEY_VERSION_REG_WRITE:
            return sdat_version_write(r, term);
        case KEY_VERSION_REG_WAITFOR:
            return sdat_version_wait(r, term);
        case KEY_VERSION_REG_READ:
            return version_read(r, term);
        case KEY_VERSION_REG_RESETIF:
            return sdat_reg_data(r, &term->version_reg_resetif);
        case KEY_EXTRA_SERIAL_REG:
            return sdat_serial_match(r, term, rest);
        case KEY_OR_MATCH:
            return or_match(r);
        default: {
            ci_u32 n = 0;
            if (sdat_scan(value, "%i", &n) != 1) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
            return number_key(r, term, key, n);
        }
    }
}

}  // namespace

ci_error_code parse_optional(sdat_reader* r) {
    ci_error_code result = CI_CAMERA_SUCCESS;
    _probe_term_t* term = &r->ctx->probe_term[r->ctx->num_probe_term - 1];
    while (sdat_next_line(r, SDAT_LINE_OPTIONAL) && !end_section(r->line)) {
        char key[80];
        char value[120];
        value[0] = '\0';
        int items = sdat_scan(r->line, "%79s = %119s", key, value);
        int which = items >= 1 ? get_field(key, kOptionalKeys, sizeof kOptionalKeys / sizeof kOptionalKeys[0]) : -1;
        if (items < 2 && which != KEY_OR_MATCH) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
        if (which < 0) continue;  // keys of other tools are ignored
        ci_error_code e = read_key(r, term, which, value);
        if (e != CI_CAMERA_SUCCESS) result = e;
    }
    return result;
}
