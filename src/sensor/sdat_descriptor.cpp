// The descriptor section ("CHIP_DESCRIPTOR"): name, image size and type,
// pixel clocking and the serial base addresses of the sensor.
#define CK_SOURCE "sensor_data"
#include <stdio.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

enum descriptor_key {
    KEY_SENSORNAME,
    KEY_WIDTH,
    KEY_HEIGHT,
    KEY_IMAGE_TYPE,
    KEY_BITS_PER_CLOCK,
    KEY_CLOCKS_PER_PIXEL,
    KEY_PIXEL_CLOCK_POLARITY,
    KEY_SHIP_BASE_ADDRESS,
    KEY_IGNORED
};

const field_desc_t kDescriptorKeys[] = {
    {KEY_SENSORNAME, "SENSORNAME"},
    {KEY_WIDTH, "WIDTH"},
    {KEY_WIDTH, "RAW_WIDTH"},
    {KEY_HEIGHT, "HEIGHT"},
    {KEY_HEIGHT, "RAW_HEIGHT"},
    {KEY_IMAGE_TYPE, "IMAGE_TYPE"},
    {KEY_IMAGE_TYPE, "RAW_IMAGE_TYPE"},
    {KEY_BITS_PER_CLOCK, "BITS_PER_CLOCK"},
    {KEY_BITS_PER_CLOCK, "RAW_BITS_PER_CLOCK"},
    {KEY_CLOCKS_PER_PIXEL, "CLOCKS_PER_PIXEL"},
    {KEY_CLOCKS_PER_PIXEL, "RAW_CLOCKS_PER_PIXEL"},
    {KEY_PIXEL_CLOCK_POLARITY, "PIXEL_CLOCK_POLARITY"},
    {KEY_SHIP_BASE_ADDRESS, "SHIP_BASE_ADDRESS"},
    {KEY_SHIP_BASE_ADDRESS, "I2C_BASE_ADDRESS"},
    {KEY_IGNORED, "IMAGE_WIDTH"},
    {KEY_IGNORED, "IMAGE_HEIGHT"},
};

const field_desc_t kImageTypes[] = {
    {CI_BAYER_10, "BAYER"},           {CI_BAYER_STEREO, "BAYER_STEREO"}, {CI_YCBCR, "YCBCR"},
    {CI_BAYER_10_IHDR, "BAYER_IHDR"}, {CI_BAYER_12_HDR, "BAYER_HDR"},
};

template <size_t N>
int lookup(const char* key, const field_desc_t (&table)[N]) {
    return get_field(key, table, static_cast<int>(N));
}

ci_error_code read_name(sdat_reader* r) {
    char key[80];
    char name[CI_STRING_LEN];
    if (sdat_scan(r->line, "%79s = \"%255[^\"]", key, name) != 2) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    memcpy(r->sensor->sensorName, name, sizeof name);
    r->sensor->sensorType = _sensorTypeFromName(name);
    return CI_CAMERA_SUCCESS;
}

// An unknown keyword gives CI_IMAGE_TYPE_NOT_FOUND (-1), which no
// classification accepts; the line is noted in the log.
void read_image_type(sdat_reader* r, const char* value) {
    int type = lookup(value, kImageTypes);
    r->sensor->imageType = type < 0 ? CI_IMAGE_TYPE_NOT_FOUND : static_cast<ci_image_types>(type);
    if (type < 0) {
        char message[SDAT_LINE_DESCRIPTOR + CI_MAX_PATH + 48];
        snprintf(message, sizeof message, "unknown image type %s in %s:%d", value, r->fileName,
                 static_cast<int>(r->lineNo));
        CK_LOG(CI_LOG_INFO, message);
    }
}

// The base addresses: one number or a parenthesised list; each line starts
// the list afresh.
ci_error_code read_ship_addresses(sdat_reader* r) {
    _common_context_t* ctx = r->ctx;
    const char* values = strchr(r->line, '=') + 1;
    ci_error_code result =
        sdat_value_list(r, values, ctx->shipAddr, CI_MAX_SHIP_ADDRS, &ctx->num_shipAddrs, LIST_FULL_IS_ERROR);
    if (ctx->num_shipAddrs == 0) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    r->sensor->shipAddr = ctx->shipAddr[0];
    return result;
}

ci_error_code read_number_key(sdat_reader* r, int key, const char* value) {
    ci_u32 n = 0;
    if (sdat_scan(value, "%i", &n) != 1) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
    switch (key) {
        case KEY_WIDTH:
            r->sensor->fullWidth = r->sensor->width = n;
            break;
        case KEY_HEIGHT:
            r->sensor->fullHeight = r->sensor->height = n;
            break;
        case KEY_BITS_PER_CLOCK:
            r->ctx->bitsPerClock = r->ctx->rxBitDepth = n;
            break;
        case KEY_CLOCKS_PER_PIXEL:
            r->ctx->clocksPerPixel = n;
            break;
        default:  // KEY_PIXEL_CLOCK_POLARITY
            r->ctx->pixclk_polarity = static_cast<ci_s32>(n);
            break;
    }
    return CI_CAMERA_SUCCESS;
}

ci_error_code read_key(sdat_reader* r, const char* key, const char* value) {
    int which = lookup(key, kDescriptorKeys);
    switch (which) {
        case KEY_SENSORNAME:
            return read_name(r);
        case KEY_IMAGE_TYPE:
            read_image_type(r, value);
            return CI_CAMERA_SUCCESS;
        case KEY_SHIP_BASE_ADDRESS:
            return read_ship_addresses(r);
        case KEY_IGNORED:
            return CI_CAMERA_SUCCESS;
        case -1:
            return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
        default:
            return read_number_key(r, which, value);
    }
}

}  // namespace

// A line that does not hold a key and a value ends the section at once; other
// errors are reported and the section goes on.
ci_error_code parse_sensor_descriptor(sdat_reader* r) {
    ci_error_code result = CI_CAMERA_SUCCESS;
    while (sdat_next_line(r, SDAT_LINE_DESCRIPTOR) && !end_section(r->line)) {
        char key[80];
        char value[80];
        if (sdat_scan(r->line, "%79s = %79s", key, value) < 2) return sdat_syntaxerror(r, CI_CHIP_DESC_ERROR);
        ci_error_code e = read_key(r, key, value);
        if (e != CI_CAMERA_SUCCESS) result = e;
    }
    return result;
}
