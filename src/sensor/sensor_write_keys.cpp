// Keywords shared by the two sensor-description writers.
#define CK_SOURCE "sensor_data"
#include "sensor/sensor_write.h"

namespace {

const char kNoSpace[] = "-";

bool is_plain_bayer(ci_image_types t) {
    return t == CI_BAYER_6 || t == CI_BAYER_8 || t == CI_BAYER_10 || t == CI_BAYER_12 || t == CI_BAYER_14 ||
           t == CI_BAYER_16 || t == CI_BAYER_20;
}

}  // namespace

// BAYER and BAYER_HDR are refined by depth when read, so a refined type goes
// back to the keyword it came from (the high-dynamic-range flag tells them
// apart where both give the same type).
const char* sensor_image_keyword(const sensor_source* src) {
    ci_image_types t = src->sensor->imageType;
    if (src->ctx->hidy && (is_plain_bayer(t) || t == CI_BAYER_12_HDR || t == CI_BAYER_14_HDR)) return "BAYER_HDR";
    if (is_plain_bayer(t)) return "BAYER";
    switch (t) {
        case CI_BAYER_12_HDR:
        case CI_BAYER_14_HDR:
            return "BAYER_HDR";
        case CI_BAYER_STEREO:
            return "BAYER_STEREO";
        case CI_YCBCR:
            return "YCBCR";
        case CI_BAYER_10_IHDR:
            return "BAYER_IHDR";
        case CI_JPEG:
            return "JPEG";
        default:
            return nullptr;
    }
}

const char* sensor_access_keyword(ci_u32 rw) { return rw == 0 ? "RO" : rw == 2 ? "WO" : "RW"; }

const char* sensor_space_keyword(ci_addr_type type) {
    static const char* const kKeywords[] = {"REG",      "MCU",      "SFR",      "IND",      "FAR1_REG",
                                            "FAR1_MCU", "FAR1_SFR", "FAR2_REG", "FAR2_MCU", "FAR2_SFR"};
    int i = static_cast<int>(type);
    return (i >= 0 && i < static_cast<int>(sizeof kKeywords / sizeof kKeywords[0])) ? kKeywords[i] : "REG";
}

const char* sensor_space_of(const ci_reg_data_t* reg) {
    if (!reg->addr_space || reg->reg_space != reg->addr_space->val) return kNoSpace;
    return reg->addr_space->ID;
}

int sensor_is_plain_write(const _versionRegWrite* w) { return w->timeout == -1 && w->numValues == 1; }

int sensor_bits_per_clock_given(const _common_context_t* ctx) { return ctx->rxBitDepth == ctx->bitsPerClock; }

ci_s32 sensor_regs_before_spaces(const ci_sensor_t* sensor) {
    if (!sensor->addr_space) return 0;
    ci_s32 n = 0;
    while (n < sensor->num_regs && !sensor->regs[n].addr_space) ++n;
    return n;
}
