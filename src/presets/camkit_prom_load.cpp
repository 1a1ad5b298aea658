// Applying PROM records: register-settings records (sub-records of register,
// variable and general settings) and scratchpad records (copied into the
// sensor's memory by DMA).
#define CK_SOURCE "camkit_prom"
#include "presets/presets_internal.h"

namespace {

constexpr ci_u32 kSettingsStart = 12;  // 3-byte header + 9-byte label
constexpr ci_u32 kChunk = 4096;
constexpr int kDmaPolls = 1000;
constexpr ci_s32 kDmaPollMs = 5;

ci_u32 be16(const ci_u8* p) {
    return ((ci_u32)p[0] << 8) | p[1];
}

ci_u32 be32(const ci_u8* p) {
    return ((ci_u32)p[0] << 24) | ((ci_u32)p[1] << 16) | ((ci_u32)p[2] << 8) | p[3];
}

// Sub-record 3: address (or space and address on 8-bit-address sensors) and
// a 16-bit value, written as one word or, on 8-bit-data sensors, two.
void registerEntry(ci_camera_t* camera, const ci_u8* e) {
    const ci_sensor_t* sensor = camera->sensor;
    const bool addr8 = sensor->reg_addr_size == 8;
    const ci_u32 space = addr8 ? e[0] : 0;
    const ci_u32 address = addr8 ? e[1] : be16(e);
    const ci_u32 dataBits = sensor->reg_data_size ? sensor->reg_data_size : 16;
    ci_u32 words[2] = {e[2], e[3]};
    ci_u32 count = 16 / dataBits;
    if (count < 2) {
        words[0] = be16(e + 2);
        count = 1;
    }
    ci_writeSensorRegisters(camera, space, address, count, words);
}

// Sub-record 4: an MCU variable (bit 7 of byte 0: 8-bit; driver and offset
// packed in bytes 0 and 1) and its value.
void variableEntry(ci_camera_t* camera, const ci_u8* e) {
    const ci_s32 width = (e[0] & 0x80) ? 1 : 2;
    const ci_u32 driver = (ci_u32)(e[0] & 0x7F) >> 2;
    const ci_u32 offset = ((ci_u32)(e[0] & 3) << 8) | e[1];
    ci_WriteSensorRegAddr(camera, CI_MCU_ADDR, driver, offset, width, be16(e + 2));
}

// Sub-record 2: any location (address type, space, address, width) and a
// value under a mask; a zero mask writes the value whole.
void generalEntry(ci_camera_t* camera, const ci_u8* e) {
    const ci_addr_type type = (ci_addr_type)e[0];
    const ci_u32 space = be32(e + 1), address = be32(e + 5), mask = be32(e + 10), value = be32(e + 14);
    const ci_s32 width = e[9];
    if (mask == 0) {
        ci_WriteSensorRegAddr(camera, type, space, address, width, value);
        return;
    }
    ci_u32 old = 0;
    {
        ScopedMode cache(camera, CI_USE_REG_CACHE, camera->sensor->reg_addr_size == 8 ? 1u : 0u);
        ci_ReadSensorRegAddr(camera, type, space, address, width, &old);
    }
    ci_WriteSensorRegAddr(camera, type, space, address, width, _RegValue(value, mask) | (old & ~mask));
}

struct SubRecord {
    ci_u8 type;
    ci_u32 entryBytes;
    void (*apply)(ci_camera_t*, const ci_u8*);
};

constexpr SubRecord kSubRecords[] = {{3, 4, registerEntry}, {4, 4, variableEntry}, {2, 18, generalEntry}};

void applySubRecord(ci_camera_t* camera, ci_u8 type, const ci_u8* data, ci_u32 length) {
    for (const SubRecord& s : kSubRecords) {
        if (s.type != type) continue;
        for (ci_u32 at = 0; at + s.entryBytes <= length; at += s.entryBytes) s.apply(camera, data + at);
    }
}

bool dmaBusy(ci_camera_t* camera) {
    ScopedMode cache(camera, CI_USE_REG_CACHE, 0);
    ci_u32 ctrl = 0;
    ci_ReadSensorRegStr(camera, "DMA_CTRL", "", &ctrl);
    return (ctrl & 3u) != 0;
}

// Starts one DMA transfer and waits for it; CI_CAMERA_TIMEOUT when it stays
// busy for every poll.
ci_error_code dmaChunk(ci_camera_t* camera, ci_u32 source, ci_u32 destination, ci_u32 size) {
    ci_WriteSensorRegStr(camera, "DMA_SRC", "", source);
    ci_WriteSensorRegStr(camera, "DMA_DST", "", destination);
    ci_WriteSensorRegStr(camera, "DMA_SIZE", "", size);
    ci_WriteSensorRegStr(camera, "DMA_CTRL", "", 0x2132);
    for (int i = 0; i < kDmaPolls; ++i) {
        if (!dmaBusy(camera)) return CI_CAMERA_SUCCESS;
        osal_sleep(kDmaPollMs);
    }
    return CK_ERR(CI_CAMERA_TIMEOUT, "The scratchpad DMA transfer did not finish");
}

}  // namespace

ci_error_code _LoadPromRegs(ci_camera_t* camera, const ci_u8* record, ci_u32 recordBytes) {
    if (!camera->sensor) return CI_INI_SUCCESS;
    ci_u32 at = kSettingsStart;
    while (at + 3 <= recordBytes) {
        const ci_u8 type = record[at];
        const ci_u32 length = be16(record + at + 1);
        at += 3;
        if (length > recordBytes - at) break;
        applySubRecord(camera, type, record + at, length);
        at += length;
    }
    return CI_INI_SUCCESS;
}

ci_error_code _LoadPromScratchpad(ci_camera_t* camera, ci_u32 busAddr, ci_u32 tagAddr, ci_u32 src, ci_u32 length,
                                  ci_u32 destinationTag) {
    ci_u8 tagBytes[4];
    ci_error_code rc = _readBytes(camera, busAddr, tagAddr, 4, tagBytes);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    const ci_u32 tag = be32(tagBytes);
    if (tag != destinationTag) return CK_ERR(CI_INI_LOAD_ERROR, "The scratchpad record is for another destination");
    ci_u32 base = 0;
    // The scratchpad base: one 16-bit register (the natural width).
    rc = ci_ReadSensorRegAddr(camera, CI_REG_ADDR, 0, 0xF02C, 0, &base);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    ci_u32 destination = base + tag - 0xA000u;
    for (ci_u32 left = length; left > 0;) {
        const ci_u32 chunk = left < kChunk ? left : kChunk;
        rc = dmaChunk(camera, (busAddr << 16) | src | 0x3000000u, destination, chunk);
        if (rc != CI_CAMERA_SUCCESS) return rc;
        src += chunk;
        destination += chunk;
        left -= chunk;
    }
    return CI_INI_SUCCESS;
}
