// The small lookups of the register map model that the readers and the
// register layer share: keyword tables, registers by name (linear; the
// register layer keeps its own index) and address spaces by ID.
#define CK_SOURCE "sensor_data"
#include "core/camkit_private.h"

int get_field(const char* field_str, const field_desc_t* fields, int num_fields) {
    if (!field_str || !fields) return -1;
    for (int i = 0; i < num_fields; ++i)
        if (fields[i].field_name && osal_stricmp(field_str, fields[i].field_name) == 0) return fields[i].field;
    return -1;
}

ci_s32 _regId(ci_reg_data_t* regs, ci_s32 num_regs, const char* uniq_desc) {
    if (!regs || !uniq_desc) return -1;
    for (ci_s32 i = 0; i < num_regs; ++i)
        if (osal_stricmp(regs[i].unique_desc, uniq_desc) == 0) return i;
    return -1;
}

ci_addr_space_val_t* _get_addr_space(ci_addr_space_t* addr_space, const char* ID) {
    if (!addr_space || !addr_space->addr_space_val || !ID) return nullptr;
    for (ci_s32 i = 0; i < addr_space->num_vals; ++i)
        if (osal_stricmp(addr_space->addr_space_val[i].ID, ID) == 0) return &addr_space->addr_space_val[i];
    return nullptr;
}
