// Value lists of the descriptor and optional sections: one number, or a
// parenthesised list of numbers.
#define CK_SOURCE "sensor_data"
#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"

ci_error_code sdat_value_list(const sdat_reader* r, const char* text, ci_u32* values, ci_s32 capacity, ci_s32* count,
                              sdat_list_rule rule) {
    *count = 0;
    const char* p = sdat_skip_separators(text);
    bool list = (*p == '(');
    if (list) ++p;
    ci_u32 value = 0;
    while (extract_val(&p, &value)) {
        if (rule == LIST_OVERFLOW_IS_ERROR && *count == capacity) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
        values[(*count)++] = value;
        if (rule == LIST_FULL_IS_ERROR && *count == capacity) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
        if (!list) break;
        p = sdat_skip_separators(p);
    }
    return CI_CAMERA_SUCCESS;
}
