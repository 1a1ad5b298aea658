// `addr_spaces` and `space`: the sensor's address-space table, grown by
// doubling while entries arrive and stored exactly sized when it closes.
#define CK_SOURCE "xmlsdat"
#include <stdlib.h>
#include <string.h>

#include "sensor/xmlsdat_handler.h"

namespace {

const ci_s32 kFirstCapacity = 8;

// Moves the entries to an array of `capacity` and re-points the registers
// (they point into the table).
bool resize(_SdatHandler* h, ci_s32 capacity) {
    ci_sensor_t* sensor = h->r.sensor;
    ci_addr_space_t* table = sensor->addr_space;
    ci_addr_space_val_t* old = table->addr_space_val;
    auto* vals = static_cast<ci_addr_space_val_t*>(malloc(static_cast<size_t>(capacity) * sizeof *old));
    if (!vals) return false;
    if (old) memcpy(vals, old, static_cast<size_t>(table->num_vals) * sizeof *old);
    for (ci_s32 i = 0; i < sensor->num_regs; ++i)
        if (sensor->regs[i].addr_space) sensor->regs[i].addr_space = vals + (sensor->regs[i].addr_space - old);
    free(old);
    table->addr_space_val = vals;
    h->spaceCapacity = capacity;
    return true;
}

bool open_table(_SdatHandler* h) {
    ci_sensor_t* sensor = h->r.sensor;
    if (sensor->addr_space) return true;
    sensor->addr_space = static_cast<ci_addr_space_t*>(calloc(1, sizeof *sensor->addr_space));
    h->spaceCapacity = 0;
    return sensor->addr_space != nullptr;
}

ci_addr_space_val_t* next_entry(_SdatHandler* h) {
    ci_addr_space_t* table = h->r.sensor->addr_space;
    if (table->num_vals >= h->spaceCapacity) {
        ci_s32 capacity = h->spaceCapacity > 0 ? h->spaceCapacity * 2 : kFirstCapacity;
        if (capacity < table->num_vals + 1) capacity = table->num_vals + 1;
        if (!resize(h, capacity)) return nullptr;
    }
    ci_addr_space_val_t* entry = &table->addr_space_val[table->num_vals];
    memset(entry, 0, sizeof *entry);
    return entry;
}

void fill(ci_addr_space_val_t* entry, const char** atts) {
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it)) {
        if (xml_attr_is(&it, "name"))
            xml_copy(entry->ID, sizeof entry->ID, it.value);
        else if (xml_attr_is(&it, "type"))
            entry->type = sdat_addr_type(it.value);
        else if (xml_attr_is(&it, "value"))
            entry->val = xml_number(it.value);
        else if (xml_attr_is(&it, "desc"))
            xml_copy(entry->name, sizeof entry->name, it.value);
        else if (xml_attr_is(&it, "far_base"))
            entry->far_base = xml_number(it.value);
        else if (xml_attr_is(&it, "far_addr_size"))
            entry->far_addr_size = xml_number(it.value);
        else if (xml_attr_is(&it, "far_data_size"))
            entry->far_data_size = xml_number(it.value);
    }
}

bool out_of_memory(_SdatHandler* h) {
    xml_fail(h, CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate address space table"));
    return false;
}

}  // namespace

bool xml_addr_spaces_start(_SdatHandler* h, const char**) {
    if (!open_table(h)) return out_of_memory(h);
    return xml_ok(h);
}

bool xml_space_start(_SdatHandler* h, const char** atts) {
    if (!open_table(h)) return out_of_memory(h);
    ci_addr_space_val_t* entry = next_entry(h);
    if (!entry) return out_of_memory(h);
    fill(entry, atts);
    h->r.sensor->addr_space->num_vals++;
    return xml_ok(h);
}

void xml_addr_spaces_end(_SdatHandler* h) {
    ci_addr_space_t* table = h->r.sensor->addr_space;
    if (!table || table->num_vals == h->spaceCapacity) return;
    if (table->num_vals == 0) {
        free(table->addr_space_val);
        table->addr_space_val = nullptr;
        h->spaceCapacity = 0;
        return;
    }
    resize(h, table->num_vals);
}
