// Chip files: the programmable parts of a camera board (FPGAs, deserialisers,
// clock chips) described in the sectioned text form of sensor data files.
//
//   [CHIP_DESCRIPTOR]
//   CHIPNAME = "MAIN_FPGA"       (SENSORNAME is read the same way)
//   BASE_ADDRESS = 0x64          (or SHIP_BASE_ADDRESS; the first value counts)
//   REG_ADDR_SIZE = 16           (bits; 8 when not given)
//   REG_DATA_SIZE = 16           (bits; 8 when not given)
//   [END]
//   [REGISTERS]
//   CHIP_VERSION_REG = {0x0000, CHIP, 0xFFFF, RO, 0x1234, "Version", ""}
//   ...
//   [END]
//
// Registers are read by the sensor-data register reader in its first form
// (address, space word, mask, access, default, texts: no span); a chip has
// no address-space table, so the space word only fills its column and the
// registers get no address space.  Any other section is skipped.
#define CK_SOURCE "sensor_data"
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

enum chip_key { CHIP_KEY_NAME, CHIP_KEY_BASE, CHIP_KEY_ADDR_SIZE, CHIP_KEY_DATA_SIZE };

const field_desc_t kChipKeys[] = {
    {CHIP_KEY_NAME, "CHIPNAME"},           {CHIP_KEY_NAME, "SENSORNAME"},
    {CHIP_KEY_BASE, "BASE_ADDRESS"},       {CHIP_KEY_BASE, "SHIP_BASE_ADDRESS"},
    {CHIP_KEY_ADDR_SIZE, "REG_ADDR_SIZE"}, {CHIP_KEY_DATA_SIZE, "REG_DATA_SIZE"},
};

enum chip_section { CHIP_SECTION_DESCRIPTOR, CHIP_SECTION_REGISTERS, CHIP_SECTION_EOF };

const field_desc_t kChipSections[] = {
    {CHIP_SECTION_DESCRIPTOR, "CHIP_DESCRIPTOR"},
    {CHIP_SECTION_REGISTERS, "REGISTERS"},
    {CHIP_SECTION_EOF, "EOF"},
};

bool validSize(ci_u32 bits) {
    return bits == 8 || bits == 16 || bits == 32;
}

ci_error_code chipBase(sdat_reader* r, ci_chip_t* chip, const char* value) {
    ci_u32 bases[CI_MAX_SHIP_ADDRS];
    ci_s32 count = 0;
    const ci_error_code rc = sdat_value_list(r, value, bases, CI_MAX_SHIP_ADDRS, &count, LIST_FULL_IS_ERROR);
    if (count == 0) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    chip->baseAddr = bases[0];
    return rc;
}

ci_error_code chipSize(sdat_reader* r, ci_u32* size, const char* value) {
    ci_u32 n = 0;
    if (sdat_scan(value, "%i", &n) != 1 || !validSize(n)) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    *size = n;
    return CI_CAMERA_SUCCESS;
}

ci_error_code chipKey(sdat_reader* r, ci_chip_t* chip, const char* key) {
    const char* value = strchr(r->line, '=') + 1;
    switch (get_field(key, kChipKeys, (int)(sizeof kChipKeys / sizeof kChipKeys[0]))) {
        case CHIP_KEY_NAME:
            extract_string(chip->chipName, sizeof chip->chipName, value);
            return chip->chipName[0] ? CI_CAMERA_SUCCESS : sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
        case CHIP_KEY_BASE:
            return chipBase(r, chip, value);
        case CHIP_KEY_ADDR_SIZE:
            return chipSize(r, &chip->serial_addr_size, value);
        case CHIP_KEY_DATA_SIZE:
            return chipSize(r, &chip->serial_data_size, value);
        default:
            return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    }
}

// The descriptor section into the chip record; the sizes also go to the
// scratch sensor record the register reader fills.
ci_error_code chipDescriptor(sdat_reader* r, ci_chip_t* chip) {
    ci_error_code result = CI_PARSE_SUCCESS;
    while (sdat_next_line(r, SDAT_LINE_DESCRIPTOR) && !end_section(r->line)) {
        char key[80];
        if (sdat_scan(r->line, "%79s =", key) != 1 || !strchr(r->line, '=')) {
            return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
        }
        char* eq = strchr(key, '=');
        if (eq) *eq = '\0';
        const ci_error_code e = chipKey(r, chip, key);
        if (e != CI_CAMERA_SUCCESS) result = e;
    }
    r->sensor->reg_addr_size = chip->serial_addr_size;
    r->sensor->reg_data_size = chip->serial_data_size;
    return result;
}

ci_error_code chipSections(sdat_reader* r, ci_chip_t* chip) {
    char name[CI_STRING_LEN];
    while (get_section(r, name, sizeof name)) {
        ci_error_code rc = CI_PARSE_SUCCESS;
        switch (get_field(name, kChipSections, (int)(sizeof kChipSections / sizeof kChipSections[0]))) {
            case CHIP_SECTION_DESCRIPTOR:
                rc = chipDescriptor(r, chip);
                break;
            case CHIP_SECTION_REGISTERS:
                rc = parse_registers(r);
                if (rc == CI_CAMERA_SUCCESS) rc = CI_PARSE_SUCCESS;
                break;
            case CHIP_SECTION_EOF:
                CK_LOG(CI_LOG_DEBUG, "EOF Section");
                break;
            default:
                parse_unknown(r);
                break;
        }
        if (rc != CI_PARSE_SUCCESS) return rc;
    }
    return CI_PARSE_SUCCESS;
}

void takeRegisters(ci_chip_t* chip, ci_sensor_t* scratch) {
    chip->regs = scratch->regs;
    chip->num_regs = scratch->num_regs;
    scratch->regs = nullptr;
    scratch->num_regs = 0;
}

}  // namespace

ci_error_code ci_ParseChipFile(ci_camera_t* camera, const char* fileName, ci_chip_t* chip) {
    _common_context_t* ctx = _ctx(camera);
    if (!ctx || !fileName || !chip) return CK_ERR(CI_CAMERA_ERROR, "No camera, file or chip record");
    char message[CI_MAX_PATH + 32];
    snprintf(message, sizeof message, "parsing file %s", fileName);
    CK_LOG(CI_LOG_DEBUG, message);
    FILE* fp = fopen(fileName, "rb");
    if (!fp) {
        snprintf(message, sizeof message, "unable to open file %s", fileName);
        return CK_ERR(CI_PARSE_FILE_ERROR, message);
    }
    sdat_text text{};
    const int read = sdat_text_read(fp, &text);
    fclose(fp);
    if (!read) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate memory for the file");
    memset(chip, 0, sizeof *chip);
    chip->serial_addr_size = 8;
    chip->serial_data_size = 8;
    ci_sensor_t scratch;
    memset(&scratch, 0, sizeof scratch);
    sdat_reader r{text, fileName, 0, camera, &scratch, ctx, {}, 0};
    const ci_error_code result = chipSections(&r, chip);
    sdat_text_free(&r.text);
    takeRegisters(chip, &scratch);
    _freeSensorRegs(&scratch);
    return result;
}

void _freeChips(ci_camera_t* camera) {
    if (!camera || !camera->chip) return;
    for (ci_s32 i = 0; i < camera->num_chips; ++i) {
        ci_chip_t& chip = camera->chip[i];
        for (ci_s32 k = 0; k < chip.num_regs && chip.regs; ++k) free(chip.regs[k].bitfield);
        free(chip.regs);
    }
    free(camera->chip);
    camera->chip = nullptr;
    camera->num_chips = 0;
}
