// Setting up the sensor record for a parse, and the values derived from the
// descriptor once it has been read.
#define CK_SOURCE "sensor_data"
#include <stdio.h>
#include <string.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"

namespace {

struct depth_type {
    ci_u32 bits;
    ci_image_types type;
};

// A plain Bayer image is named by its depth.
const depth_type kBayerByDepth[] = {
    {6, CI_BAYER_6}, {8, CI_BAYER_8}, {12, CI_BAYER_12}, {14, CI_BAYER_14}, {16, CI_BAYER_16}, {20, CI_BAYER_20},
};

// A high-dynamic-range Bayer image keeps its HDR type only at 12 and 14 bits.
const depth_type kHdrBayerByDepth[] = {
    {6, CI_BAYER_6},       {8, CI_BAYER_8},   {10, CI_BAYER_10}, {12, CI_BAYER_12_HDR},
    {14, CI_BAYER_14_HDR}, {16, CI_BAYER_16}, {20, CI_BAYER_20},
};

template <size_t N>
void refine(ci_sensor_t* sensor, const depth_type (&table)[N]) {
    for (const depth_type& row : table)
        if (row.bits == sensor->pixelBits) {
            sensor->imageType = row.type;
            return;
        }
}

}  // namespace

void sdat_reset_record(ci_sensor_t* sensor, _common_context_t* ctx, const char* fileName) {
    ci_DestructSensor(sensor);
    memset(sensor, 0, sizeof *sensor);
    sensor->sensorVersion = 1;
    sensor->reg_addr_size = 8;
    sensor->reg_data_size = 16;
    snprintf(sensor->sensorFileName, sizeof sensor->sensorFileName, "%s", fileName);

    ctx->sdat_version = 1;
    ctx->pixclk_polarity = 1;
    ctx->bitsPerClock = 8;
    ctx->clocksPerPixel = 1;
    ctx->num_shipAddrs = 0;
    memset(ctx->shipAddr, 0, sizeof ctx->shipAddr);
    ctx->num_partNumbers = 0;
    memset(ctx->partNumber, 0, sizeof ctx->partNumber);
    ctx->num_probe_term = 1;
    memset(ctx->probe_term, 0, sizeof ctx->probe_term);
    ctx->hidy = 0;
}

void sdat_finish_descriptor(ci_sensor_t* sensor, _common_context_t* ctx) {
    sensor->pixelBits = _pixelBitsFor(sensor->imageType, ctx->bitsPerClock, ctx->clocksPerPixel);
    sensor->pixelBytes = _pixelBytesFor(sensor->imageType, sensor->pixelBits, ctx->bitsPerClock, ctx->clocksPerPixel);
    sensor->bufferSize = sensor->width * sensor->height * sensor->pixelBytes;
    sensor->zoomFactor = 1;
    if (sensor->imageType == CI_BAYER_10) {
        refine(sensor, kBayerByDepth);
    } else if (sensor->imageType == CI_BAYER_12_HDR) {
        ctx->hidy = 1;
        refine(sensor, kHdrBayerByDepth);
    }
}
