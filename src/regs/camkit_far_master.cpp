// One transaction of the sensor's two-wire bus master, the road to devices
// on the far bus when the transport cannot reach them itself.
//
// Registers used (all looked up by name in the sensor description):
//   "TXBUFFER_DATA_REGISTER_0"   first of a run of transmit registers; each
//                                holds reg_data_size / 8 bytes, the first
//                                byte in its most significant position;
//   "TXBUFFER_TOTAL_BYTE_COUNT"  number of bytes to transmit;
//   "I2C_MASTER_CONTROL"         start word:
//                                  bits 15..8  8-bit bus address (bit 8 = 0),
//                                  bits  6..4  number of bytes to read back,
//                                  bit   1     read (repeated start after the
//                                              transmit bytes),
//                                  bit   0     start;
//   "I2C_MASTER_STATUS"          bit 0 busy, bit 1 not acknowledged;
//   "RXBUFFER_DATA_REGISTER_1"   first of a run of receive registers, packed
//                                as the transmit registers.
// A transaction loads the transmit bytes, sets the count, writes the start
// word and polls the status (no delay, at most 50 polls) until the master is
// idle; a NACK gives CI_I2C_NACK_ERROR, a master that stays busy
// CI_I2C_TIMEOUT.  Received bytes are then read from the receive registers.
#define CK_SOURCE "camkit_reg"
#include "regs/camkit_mcu.h"

namespace {

const ci_u32 kMaxPolls = 50;
const ci_u32 kBusy = 0x1u;
const ci_u32 kNack = 0x2u;

struct Master {
    ci_reg_data_t* control;
    ci_reg_data_t* status;
    ci_reg_data_t* tx;
    ci_reg_data_t* count;
    ci_reg_data_t* rx;
    ci_u32 bytesPerWord;
};

bool findMaster(ci_camera_t* camera, Master* m) {
    m->control = _mcuReg(camera, "I2C_MASTER_CONTROL");
    m->status = _mcuReg(camera, "I2C_MASTER_STATUS");
    m->tx = _mcuReg(camera, "TXBUFFER_DATA_REGISTER_0");
    m->count = _mcuReg(camera, "TXBUFFER_TOTAL_BYTE_COUNT");
    m->rx = _mcuReg(camera, "RXBUFFER_DATA_REGISTER_1");
    const ci_u32 bits = camera->sensor->reg_data_size;
    m->bytesPerWord = (bits == 8u || bits == 32u) ? bits / 8u : 2u;
    return m->control && m->status && m->tx && m->count && m->rx;
}

ci_u32 pack(const ci_u8* bytes, ci_u32 n, ci_u32 perWord, ci_u32* words) {
    const ci_u32 nwords = (n + perWord - 1u) / perWord;
    for (ci_u32 w = 0; w < nwords; ++w) {
        ci_u32 word = 0;
        for (ci_u32 j = 0; j < perWord; ++j) {
            const ci_u32 i = w * perWord + j;
            word = (word << 8) | (i < n ? bytes[i] : 0u);
        }
        words[w] = word;
    }
    return nwords;
}

void unpack(const ci_u32* words, ci_u32 n, ci_u32 perWord, ci_u8* bytes) {
    for (ci_u32 i = 0; i < n; ++i) {
        const ci_u32 shift = 8u * (perWord - 1u - i % perWord);
        bytes[i] = (ci_u8)(words[i / perWord] >> shift);
    }
}

ci_error_code waitIdle(ci_camera_t* camera, const Master& m) {
    for (ci_u32 poll = 0; poll < kMaxPolls; ++poll) {
        ci_u32 status = 0;
        const ci_error_code rc = _readSensorRegsNocache(camera, m.status, 1, &status);
        if (rc != CI_CAMERA_SUCCESS) return rc;
        if (status & kNack) return CI_I2C_NACK_ERROR;
        if ((status & kBusy) == 0) return CI_CAMERA_SUCCESS;
    }
    return CI_I2C_TIMEOUT;
}

ci_error_code start(ci_camera_t* camera, const Master& m, ci_u32 base, const ci_u8* tx, ci_u32 txCount,
                    ci_u32 rxCount) {
    ci_u32 words[CK_FAR_MAX_TX] = {};
    const ci_u32 nwords = pack(tx, txCount, m.bytesPerWord, words);
    ci_error_code rc = _common_writeSensorRegistersNolock(camera, m.tx->reg_space, m.tx->reg_addr, nwords, words);
    if (rc == CI_CAMERA_SUCCESS) rc = _WriteSensorRegNolock(camera, m.count, txCount);
    if (rc != CI_CAMERA_SUCCESS) return rc;
    const ci_u32 control = ((base & 0xFEu) << 8) | ((rxCount & 7u) << 4) | (rxCount ? 0x2u : 0u) | 0x1u;
    return _WriteSensorRegNolock(camera, m.control, control);
}

}  // namespace

ci_error_code _farMasterTransfer(ci_camera_t* camera, ci_u32 base, const ci_u8* tx, ci_u32 txCount, ci_u8* rx,
                                 ci_u32 rxCount) {
    Master m;
    if (!findMaster(camera, &m)) return CK_ERR(CI_CAMERA_NOT_SUPPORTED, "sensor has no far bus master");
    if (txCount > CK_FAR_MAX_TX || rxCount > CK_FAR_MAX_RX) return CK_ERR(CI_CAMERA_ERROR, "far transfer too long");
    ci_error_code rc = start(camera, m, base, tx, txCount, rxCount);
    if (rc == CI_CAMERA_SUCCESS) rc = waitIdle(camera, m);
    if (rc != CI_CAMERA_SUCCESS || rxCount == 0) return rc;
    ci_u32 words[CK_FAR_MAX_RX] = {};
    const ci_u32 nwords = (rxCount + m.bytesPerWord - 1u) / m.bytesPerWord;
    rc = _common_readSensorRegistersNolock(camera, m.rx->reg_space, m.rx->reg_addr, nwords, words);
    if (rc == CI_CAMERA_SUCCESS) unpack(words, rxCount, m.bytesPerWord, rx);
    return rc;
}
