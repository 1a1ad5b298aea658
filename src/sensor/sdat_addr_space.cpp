// The address-space section ("ADDR_SPACE"): pages, MCU drivers, SFR spaces
// and far buses that registers refer to by ID.
#define CK_SOURCE "sensor_data"
#include <stdlib.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

const field_desc_t kAddrTypes[] = {
    {CI_REG_ADDR, "REG"},           {CI_MCU_ADDR, "MCU"},           {CI_SFR_ADDR, "SFR"},
    {CI_SFR_ADDR, "MEM"},           {CI_IND_ADDR, "IND"},           {CI_FAR1_REG_ADDR, "FAR1"},
    {CI_FAR1_REG_ADDR, "FAR1_REG"}, {CI_FAR1_MCU_ADDR, "FAR1_MCU"}, {CI_FAR1_SFR_ADDR, "FAR1_SFR"},
    {CI_FAR2_REG_ADDR, "FAR2"},     {CI_FAR2_REG_ADDR, "FAR2_REG"}, {CI_FAR2_MCU_ADDR, "FAR2_MCU"},
    {CI_FAR2_SFR_ADDR, "FAR2_SFR"},
};

const ci_s32 kFirstCapacity = 50;

// Entries of one section, grown by doubling.
struct space_list {
    ci_addr_space_val_t* vals = nullptr;
    ci_s32 count = 0;
    ci_s32 capacity = 0;
    ~space_list() { free(vals); }
};

ci_addr_space_val_t* next_entry(space_list* list) {
    if (list->count == list->capacity) {
        ci_s32 capacity = list->capacity ? list->capacity * 2 : kFirstCapacity;
        void* grown = realloc(list->vals, static_cast<size_t>(capacity) * sizeof *list->vals);
        if (!grown) return nullptr;
        list->vals = static_cast<ci_addr_space_val_t*>(grown);
        list->capacity = capacity;
    }
    ci_addr_space_val_t* entry = &list->vals[list->count];
    memset(entry, 0, sizeof *entry);
    return entry;
}

bool is_far(ci_addr_type type) { return type >= CI_FAR1_REG_ADDR && type <= CI_FAR2_SFR_ADDR; }

// "ID = {TYPE, value, "name"}" or, without the type, "ID = {value, "name"}".
bool read_entry(const sdat_reader* r, ci_addr_space_val_t* entry) {
    char id[CI_STRING_LEN];
    char type[CI_STRING_LEN];
    char rest[SDAT_LINE_ADDR_SPACE];
    int kind = CI_REG_ADDR;
    if (sdat_scan(r->line, "%255[^=]= {%255[^,], %i, %511[^}]", id, type, &entry->val, rest) == 4) {
        kind = sdat_addr_type(osal_trim(type));
    } else if (sdat_scan(r->line, "%255[^=]= {%i, %511[^}]", id, &entry->val, rest) != 3) {
        return false;
    }
    if (!StringCopyandCheckSpace(entry->ID, id)) return false;
    entry->type = static_cast<ci_addr_type>(kind);
    if (strlen(rest) >= 3 && strchr(rest, '"')) extract_string(entry->name, sizeof entry->name, rest);
    if (is_far(entry->type))
        sdat_scan(entry->name, "%i %i %i", &entry->far_base, &entry->far_addr_size, &entry->far_data_size);
    return true;
}

// Appends the section's entries to the sensor's table, stored exactly sized.
// Registers already read point into the old table and are moved along.
bool append_entries(ci_sensor_t* sensor, const space_list* list) {
    ci_addr_space_t* table = sensor->addr_space;
    if (!table) {
        table = static_cast<ci_addr_space_t*>(calloc(1, sizeof *table));
        if (!table) return false;
        sensor->addr_space = table;
    }
    if (list->count == 0) return true;
    ci_s32 total = table->num_vals + list->count;
    auto* vals = static_cast<ci_addr_space_val_t*>(malloc(static_cast<size_t>(total) * sizeof(ci_addr_space_val_t)));
    if (!vals) return false;
    ci_addr_space_val_t* old = table->addr_space_val;
    if (old) memcpy(vals, old, static_cast<size_t>(table->num_vals) * sizeof *vals);
    memcpy(vals + table->num_vals, list->vals, static_cast<size_t>(list->count) * sizeof *vals);
    for (ci_s32 i = 0; i < sensor->num_regs; ++i)
        if (sensor->regs[i].addr_space) sensor->regs[i].addr_space = vals + (sensor->regs[i].addr_space - old);
    free(old);
    table->addr_space_val = vals;
    table->num_vals = total;
    return true;
}

}  // namespace

ci_addr_type sdat_addr_type(const char* keyword) {
    int kind = get_field(keyword, kAddrTypes, sizeof kAddrTypes / sizeof kAddrTypes[0]);
    return kind < 0 ? CI_REG_ADDR : static_cast<ci_addr_type>(kind);
}

ci_error_code parse_addr_space(sdat_reader* r) {
    ci_error_code result = CI_CAMERA_SUCCESS;
    space_list list;
    while (sdat_next_line(r, SDAT_LINE_ADDR_SPACE) && !end_section(r->line)) {
        ci_addr_space_val_t* entry = next_entry(&list);
        if (!entry) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate address space table");
        if (read_entry(r, entry)) {
            list.count++;
        } else {
            result = sdat_syntaxerror(r, CI_PARSE_ADDR_SPACE_ERROR);
        }
    }
    if (!append_entries(r->sensor, &list)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate address space table");
    return result;
}
