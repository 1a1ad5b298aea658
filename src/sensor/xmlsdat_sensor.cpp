// The `sensor` element: name, size, image type, pixel clocking, register
// widths and serial base addresses, followed by the early rejects.
#define CK_SOURCE "xmlsdat"
#include <string.h>

#include "sensor/sdat_scan.h"
#include "sensor/xmlsdat_handler.h"

namespace {

const field_desc_t kImageTypes[] = {
    {CI_BAYER_10, "BAYER"},          {CI_BAYER_STEREO, "BAYER_STEREO"}, {CI_YCBCR, "YCBCR"},
    {CI_BAYER_12_HDR, "BAYER_HDR"}, {CI_BAYER_10_IHDR, "BAYER_IHDR"},  {CI_JPEG, "JPEG"},
};


// The base addresses, blank-separated; the sixteenth is one too many.
ci_error_code ship_addresses(_SdatHandler* h, const char* value) {
    _common_context_t* ctx = h->r.ctx;
    ctx->num_shipAddrs = 0;
    const char* p = value;
    ci_u32 n = 0;
    int used = 0;
    while (sdat_scan(p, "%i%n", &n, &used) == 1) {
        ctx->shipAddr[ctx->num_shipAddrs++] = n;
        p += used;
        if (ctx->num_shipAddrs == CI_MAX_SHIP_ADDRS)
            return CK_ERR(CI_SENSOR_FILE_PARSE_ERROR, "Early reject: Too many alternate SHIP base addresses");
    }
    return CI_CAMERA_SUCCESS;
}

// REG_ADDR_SIZE / REG_DATA_SIZE: stored even when wrong, which is reported.
void bus_width(_SdatHandler* h, ci_u32 bits, ci_u32* field, const char* complaint) {
    *field = bits;
    if (bits == 8 || bits == 16 || bits == 32) return;
    xml_fail(h, xml_report(h, CI_CHIP_DESC_ERROR));
    CK_ERR(CI_CHIP_DESC_ERROR, complaint);
}

void image_type(ci_sensor_t* sensor, const char* value) {
    int type = get_field(value, kImageTypes, sizeof kImageTypes / sizeof kImageTypes[0]);
    if (type >= 0) sensor->imageType = static_cast<ci_image_types>(type);
}

// One attribute; returns an early-reject code or 0.
ci_error_code sensor_attr(_SdatHandler* h, const xml_attr_iter* it) {
    ci_sensor_t* s = h->r.sensor;
    _common_context_t* ctx = h->r.ctx;
    const char* v = it->value;
    if (xml_attr_is(it, "name")) {
        xml_copy(s->sensorName, sizeof s->sensorName, v);
        s->sensorType = _sensorTypeFromName(s->sensorName);
    } else if (xml_attr_is(it, "part_number")) {
        xml_copy(s->partNumber, sizeof s->partNumber, v);
    } else if (xml_attr_is(it, "version")) {
        s->sensorVersion = xml_number(v);
    } else if (xml_attr_is(it, "version_name")) {
        xml_copy(s->versionName, sizeof s->versionName, v);
    } else if (xml_attr_is(it, "width")) {
        s->width = xml_number(v);
        if (s->fullWidth == 0) s->fullWidth = s->width;
    } else if (xml_attr_is(it, "height")) {
        s->height = xml_number(v);
        if (s->fullHeight == 0) s->fullHeight = s->height;
    } else if (xml_attr_is(it, "full_width")) {
        s->fullWidth = xml_number(v);
    } else if (xml_attr_is(it, "full_height")) {
        s->fullHeight = xml_number(v);
    } else if (xml_attr_is(it, "image_type")) {
        image_type(s, v);
    } else if (xml_attr_is(it, "bits_per_clock")) {
        ctx->bitsPerClock = ctx->rxBitDepth = xml_number(v);
    } else if (xml_attr_is(it, "clocks_per_pixel")) {
        ctx->clocksPerPixel = xml_number(v);
    } else if (xml_attr_is(it, "pixel_clock_polarity")) {
        ctx->pixclk_polarity = static_cast<ci_s32>(xml_number(v));
    } else if (xml_attr_is(it, "reg_addr_size")) {
        bus_width(h, xml_number(v), &s->reg_addr_size, "register address size should be 8, 16 or 32");
    } else if (xml_attr_is(it, "reg_data_size")) {
        bus_width(h, xml_number(v), &s->reg_data_size, "register data size should be 8, 16 or 32");
    } else if (xml_attr_is(it, "ship_base_address")) {
        return ship_addresses(h, v);
    }
    return CI_CAMERA_SUCCESS;
}

}  // namespace

bool xml_sensor_start(_SdatHandler* h, const char** atts) {
    h->sensorSeen = true;
    xml_note_element(h, "sensor", nullptr);
    xml_attr_iter it;
    xml_attrs_begin(&it, atts);
    while (xml_attrs_next(&it)) {
        ci_error_code reject = sensor_attr(h, &it);
        if (reject != CI_CAMERA_SUCCESS) {
            h->m_retVal = reject;
            return false;
        }
    }
    h->r.sensor->shipAddr = h->r.ctx->num_shipAddrs > 0 ? h->r.ctx->shipAddr[0] : 0;
    sdat_finish_descriptor(h->r.sensor, h->r.ctx);
    ci_error_code reject = sdat_reject_after_descriptor(&h->r);
    if (reject == CI_CAMERA_SUCCESS) reject = sdat_reject_after_optional(&h->r);
    if (reject != CI_CAMERA_SUCCESS) {
        h->m_retVal = reject;
        return false;
    }
    return xml_ok(h);
}
