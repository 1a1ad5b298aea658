// Probe data of the optional section: part numbers, version registers to
// write, wait for and read, and registers of other devices on the bus.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

const ci_s32 kDefaultWaitTimeout = 500;

// "KEY = name, mask," : the register name (trimmed), its mask and where the
// values begin.
bool scan_name_mask(const sdat_reader* r, char* name, ci_u32* mask, const char** values) {
    char key[80];
    int used = 0;
    if (sdat_scan(r->line, "%79s = %255[^,], %i ,%n", key, name, mask, &used) != 3 || used == 0) return false;
    osal_trim(name);
    *values = r->line + used;
    return true;
}

// The numbers after SERIAL (part numbers) or of EXTRA_SERIAL_REG:
// "base , reg : addrSize , mask : dataSize , values".
bool scan_serial(const char* text, ci_u32* base, ci_u32* reg, ci_u32* addrSize, ci_u32* mask, ci_u32* dataSize,
                 const char** values) {
    int used = 0;
    if (sdat_scan(text, "%i , %i : %i , %i : %i , %n", base, reg, addrSize, mask, dataSize, &used) != 5) return false;
    *values = used ? text + used : "";
    return true;
}

// The part after the quoted part number: SERIAL ..., SENSOR ... or nothing.
// Returns false when the entry is not to be added.
bool part_number_source(const sdat_reader* r, const char* p, _partNumberData* pn, ci_error_code* result) {
    char word[16];
    size_t n = 0;
    p = sdat_skip_separators(p);
    while (n + 1 < sizeof word && (isalnum(static_cast<unsigned char>(p[n])) || p[n] == '_')) {
        word[n] = p[n];
        ++n;
    }
    word[n] = '\0';
    p = sdat_skip_separators(p + n);
    if (n == 0) return true;  // the default part number
    const char* values = "";
    if (osal_stricmp(word, "SERIAL") == 0) {
        if (!scan_serial(p, &pn->baseAddr, &pn->regAddr, &pn->addrSize, &pn->mask, &pn->dataSize, &values))
            return false;
    } else if (osal_stricmp(word, "SENSOR") == 0) {
        int used = 0;
        if (sdat_scan(p, " %255[^,] , %i , %n", pn->regName, &pn->mask, &used) < 2) return false;
        osal_trim(pn->regName);
        values = used ? p + used : "";
    } else {
        return false;
    }
    *result = sdat_value_list(r, values, pn->value, CI_MAX_VALUES, &pn->numValues, LIST_FULL_IS_ERROR);
    return true;
}

void add_part_number(sdat_reader* r, const _partNumberData* pn) {
    if (r->ctx->num_partNumbers == 0) memcpy(r->sensor->partNumber, pn->partNumber, sizeof pn->partNumber);
    r->ctx->partNumber[r->ctx->num_partNumbers++] = *pn;
}

}  // namespace

ci_error_code sdat_part_number(sdat_reader* r, const char* rest) {
    if (r->ctx->num_partNumbers >= CI_MAX_PART_NUMBERS) return CI_CAMERA_SUCCESS;
    const char* p = sdat_skip_separators(rest);
    if (*p != '"') {
        CK_LOG(CI_LOG_DEBUG, "PART_NUMBER without a quoted part number is ignored");
        return CI_CAMERA_SUCCESS;
    }
    _partNumberData pn{};
    pn.addrSize = 8;
    pn.dataSize = 16;
    const char* close = strchr(p + 1, '"');
    size_t length = close ? static_cast<size_t>(close - p - 1) : strlen(p + 1);
    if (length >= sizeof pn.partNumber) length = sizeof pn.partNumber - 1;
    memcpy(pn.partNumber, p + 1, length);
    ci_error_code result = CI_CAMERA_SUCCESS;
    if (!part_number_source(r, close ? close + 1 : "", &pn, &result)) {
        CK_LOG(CI_LOG_DEBUG, "PART_NUMBER entry that does not scan is ignored");
        return CI_CAMERA_SUCCESS;
    }
    add_part_number(r, &pn);
    return result;
}

ci_error_code sdat_version_write(sdat_reader* r, _probe_term_t* term) {
    if (term->num_version_reg_write >= CI_MAX_VERSION_REG_WRITES) return CI_CAMERA_SUCCESS;
    _versionRegWrite* w = &term->version_reg_write[term->num_version_reg_write];
    char key[80];
    if (sdat_scan(r->line, "%79s = %255[^,], %i, %i", key, w->regName, &w->mask, &w->value[0]) != 4) {
        memset(w, 0, sizeof *w);
        return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    }
    osal_trim(w->regName);
    w->numValues = 1;
    w->timeout = -1;
    term->num_version_reg_write++;
    return CI_CAMERA_SUCCESS;
}

ci_error_code sdat_version_wait(sdat_reader* r, _probe_term_t* term) {
    if (term->num_version_reg_write >= CI_MAX_VERSION_REG_WRITES) return CI_CAMERA_SUCCESS;
    _versionRegWrite* w = &term->version_reg_write[term->num_version_reg_write];
    const char* values = nullptr;
    if (!scan_name_mask(r, w->regName, &w->mask, &values)) {
        memset(w, 0, sizeof *w);
        return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    }
    ci_error_code result = sdat_value_list(r, values, w->value, CI_MAX_VALUES, &w->numValues, LIST_OVERFLOW_IS_ERROR);
    if (w->numValues == 0) {
        memset(w, 0, sizeof *w);
        return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    }
    char key[80];
    char name[CI_STRING_LEN];
    char list[120];
    ci_u32 mask = 0;
    ci_u32 value = 0;
    ci_s32 timeout = kDefaultWaitTimeout;
    if (*sdat_skip_separators(values) == '(')
        sdat_scan(r->line, "%79s = %255[^,], %i, (%119[^)]) , %i", key, name, &mask, list, &timeout);
    else
        sdat_scan(r->line, "%79s = %255[^,], %i, %i , %i", key, name, &mask, &value, &timeout);
    w->timeout = timeout;
    term->num_version_reg_write++;
    return result;
}

ci_error_code sdat_reg_data(sdat_reader* r, _regData* data) {
    const char* values = nullptr;
    if (!scan_name_mask(r, data->regName, &data->mask, &values)) {
        memset(data, 0, sizeof *data);
        return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    }
    ci_error_code result =
        sdat_value_list(r, values, data->value, CI_MAX_VALUES, &data->numValues, LIST_OVERFLOW_IS_ERROR);
    if (data->numValues == 0) {
        memset(data, 0, sizeof *data);
        return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    }
    return result;
}

ci_error_code sdat_serial_match(sdat_reader* r, _probe_term_t* term, const char* rest) {
    if (term->num_serial_match >= CI_MAX_SERIAL_MATCHES) return CI_CAMERA_SUCCESS;
    _extraSerialMatch* m = &term->extra_serial_match[term->num_serial_match];
    m->addrSize = 16;
    m->dataSize = 8;
    const char* values = "";
    if (!scan_serial(rest, &m->baseAddr, &m->regAddr, &m->addrSize, &m->mask, &m->dataSize, &values)) {
        memset(m, 0, sizeof *m);
        return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    }
    term->num_serial_match++;
    return sdat_value_list(r, values, m->value, CI_MAX_VALUES, &m->numValues, LIST_FULL_IS_ERROR);
}
