// Calibration records of a serial PROM: the "CIEE" image, the walk along its
// record chain to a record of the wanted type and label, and the public
// loaders.
//
// Image: "CIEE", a version byte, then records of a type byte, a big-endian
// 16-bit length (bytes after the 3-byte header) and the data, whose first 9
// bytes are a NUL-terminated label; type 255 ends the chain.
#define CK_SOURCE "camkit_prom"
#include <cstring>

#include "presets/presets_internal.h"

namespace {

constexpr ci_u8 kPgaRegsRecord = 8;
constexpr ci_u8 kCcmRegsRecord = 12;
constexpr ci_u8 kScratchpadRecord = 17;
constexpr ci_u8 kLastRecordType = 254;
constexpr ci_u32 kFirstRecord = 5;
constexpr ci_u32 kHeaderBytes = 3;
constexpr ci_u32 kLabelBytes = 9;
constexpr int kMaxRecords = 1000;

struct Header {
    ci_u32 offset;
    ci_u8 type;
    ci_u32 length;
};

ci_error_code readHeader(ci_camera_t* camera, ci_u32 busAddr, ci_u32 offset, Header* h) {
    ci_u8 b[kHeaderBytes];
    const ci_error_code rc = _readBytes(camera, busAddr, offset, kHeaderBytes, b);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    *h = Header{offset, b[0], ((ci_u32)b[1] << 8) | b[2]};
    return CI_CAMERA_SUCCESS;
}

// Is the record under h the one asked for?  *rc is set on a read error.
bool matches(ci_camera_t* camera, ci_u32 busAddr, const Header& h, ci_u8 type, const char* label, ci_error_code* rc) {
    if (h.type != type) return false;
    if (!label) return true;
    char text[kLabelBytes + 1] = {0};
    *rc = _readBytes(camera, busAddr, h.offset + kHeaderBytes, kLabelBytes, (ci_u8*)text);
    return *rc == CI_CAMERA_SUCCESS && osal_stricmp(text, label) == 0;
}

ci_error_code promError(const char* what, ci_u32 busAddr) {
    char message[128];
    snprintf(message, sizeof message, "%s (PROM at 0x%X)", what, busAddr);
    return CK_ERR(CI_INI_LOAD_ERROR, message);
}

ci_error_code applySettings(ci_camera_t* camera, ci_u32 busAddr, const Header& h) {
    std::vector<ci_u8> record(h.length + kHeaderBytes);
    const ci_error_code rc = _readBytes(camera, busAddr, h.offset, (ci_u32)record.size(), record.data());
    if (rc != CI_CAMERA_SUCCESS) return rc;
    return _LoadPromRegs(camera, record.data(), (ci_u32)record.size());
}

ci_error_code apply(ci_camera_t* camera, ci_u32 busAddr, const Header& h, ci_u32 tag) {
    if (h.type == kScratchpadRecord) {
        const ci_u32 payload = h.length >= 13 ? h.length - 13 : 0;
        return _LoadPromScratchpad(camera, busAddr, h.offset + 12, h.offset + 16, payload, tag);
    }
    if (h.type == kCcmRegsRecord || h.type == kPgaRegsRecord) return applySettings(camera, busAddr, h);
    return CI_INI_SUCCESS;
}

}  // namespace

ci_error_code _LoadProm(ci_camera_t* camera, ci_u32 busAddr, ci_u8 recordType, const char* label, ci_u32 tag) {
    if (!_ctx(camera)) return CK_ERR(CI_CAMERA_ERROR, "No camera");
    ci_u8 magic[kFirstRecord];
    ci_error_code rc = _readBytes(camera, busAddr, 0, kFirstRecord, magic);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    if (memcmp(magic, "CIEE", 4) != 0) return promError("No calibration data in the PROM", busAddr);
    Header h;
    rc = readHeader(camera, busAddr, kFirstRecord, &h);
    for (int i = 0; rc == CI_CAMERA_SUCCESS && i < kMaxRecords; ++i) {
        if (matches(camera, busAddr, h, recordType, label, &rc)) break;
        if (rc != CI_CAMERA_SUCCESS) break;
        if (h.type > kLastRecordType) return promError("PROM record not found", busAddr);
        rc = readHeader(camera, busAddr, h.offset + h.length + kHeaderBytes, &h);
    }
    if (rc != CI_CAMERA_SUCCESS) return rc;
    rc = apply(camera, busAddr, h, tag);
    return rc == CI_CAMERA_SUCCESS ? CI_INI_SUCCESS : rc;
}

ci_error_code ci_LoadPromLensCalibration(ci_camera_t* camera, ci_u32 promAddr, const char* label) {
    return _LoadProm(camera, promAddr, kPgaRegsRecord, label, 0);
}

ci_error_code ci_LoadPromColorCorrection(ci_camera_t* camera, ci_u32 promAddr, const char* label) {
    return _LoadProm(camera, promAddr, kCcmRegsRecord, label, 0);
}

ci_error_code ci_LoadPromScratchpad(ci_camera_t* camera, ci_u32 promAddr, const char* label, ci_u32 destinationTag) {
    return _LoadProm(camera, promAddr, kScratchpadRecord, label, destinationTag);
}
