// The keyword table of the preset language: 48 spellings in search order,
// several sharing a number, and the command that runs each number.
#define CK_SOURCE "camkit_ini"
#include "presets/presets_internal.h"

namespace {

struct KeyRow {
    ciTKey key;
    const char* text;
};

constexpr KeyRow ciKey[] = {
    {KEY_LOAD, "LOAD"},
    {KEY_REG, "REG"},
    {KEY_REG_BURST, "REG_BURST"},
    {KEY_VAR, "VAR"},
    {KEY_VAR8, "VAR8"},
    {KEY_VAR32, "VAR32"},
    {KEY_SFR, "SFR"},
    {KEY_SFR8, "SFR8"},
    {KEY_MEM, "MEM"},
    {KEY_MEM8, "MEM8"},
    {KEY_MEM32, "MEM32"},
    {KEY_IND, "IND"},
    {KEY_FIELD_WR, "FIELD_WR"},
    {KEY_BITFIELD, "BITFIELD"},
    {KEY_STATE, "STATE"},
    {KEY_DELAY, "DELAY"},
    {KEY_SERIAL_REG, "SERIAL_REG"},
    {KEY_SERIAL_REG, "I2C_REG"},
    {KEY_POLL_REG, "POLL_REG"},
    {KEY_POLL_REG, "POLLREG"},
    {KEY_POLL_VAR, "POLL_VAR"},
    {KEY_IF_REG, "IF_REG"},
    {KEY_IF_REG, "IFREG"},
    {KEY_IMAGE, "IMAGE"},
    {KEY_IF_FIELD, "IF_FIELD"},
    {KEY_POLL_FIELD, "POLL_FIELD"},
    {KEY_SENSOR_BASE, "SENSOR_BASE"},
    {KEY_FAR1, "FAR1"},
    {KEY_FAR1, "FAR1_REG"},
    {KEY_FAR1_VAR, "FAR1_VAR"},
    {KEY_FAR1_VAR8, "FAR1_VAR8"},
    {KEY_FAR1_SFR, "FAR1_SFR"},
    {KEY_FAR1_SFR8, "FAR1_SFR8"},
    {KEY_FAR2, "FAR2"},
    {KEY_FAR2, "FAR2_REG"},
    {KEY_FAR2_VAR, "FAR2_VAR"},
    {KEY_FAR2_VAR8, "FAR2_VAR8"},
    {KEY_FAR2_SFR, "FAR2_SFR"},
    {KEY_FAR2_SFR8, "FAR2_SFR8"},
    {KEY_LOAD_PROM, "LOAD_PROM"},
    {KEY_ERROR_IF, "ERROR_IF"},
    {KEY_XMCLK, "XMCLK"},
    {KEY_SAVE_IMAGE, "SAVE_IMAGE"},
    {KEY_SAVE_REGS, "SAVE_REGS"},
    {KEY_DATATYPE, "DATATYPE"},
    {KEY_IF_SERIAL, "IF_SERIAL"},
    {KEY_EMPTY, ""},
    {KEY_UNKNOWN, "UNKNOWN"},
};
static_assert(sizeof ciKey / sizeof ciKey[0] == 48, "the keyword table has 48 rows");

struct HandlerRow {
    ciTKey key;
    PresetCommand handler;
};

// Numbers without a row here (STATE, the far variable and SFR rows, the
// empty key and UNKNOWN) have no command.
constexpr HandlerRow kHandlers[] = {
    {KEY_LOAD, _CmdLoad},           {KEY_REG, _CmdReg},
    {KEY_REG_BURST, _CmdRegBurst},  {KEY_VAR, _CmdVar},
    {KEY_VAR8, _CmdVar},            {KEY_VAR32, _CmdVar},
    {KEY_SFR, _CmdSfr},             {KEY_SFR8, _CmdSfr},
    {KEY_MEM, _CmdMem},             {KEY_MEM8, _CmdMem},
    {KEY_MEM32, _CmdMem},           {KEY_IND, _CmdInd},
    {KEY_FIELD_WR, _CmdFieldWr},    {KEY_BITFIELD, _CmdBitfield},
    {KEY_DELAY, _CmdDelay},         {KEY_SERIAL_REG, _CmdSerialReg},
    {KEY_POLL_REG, _CmdPollReg},    {KEY_POLL_VAR, _CmdPollVar},
    {KEY_IF_REG, _CmdIfReg},        {KEY_IMAGE, _CmdImage},
    {KEY_IF_FIELD, _CmdIfField},    {KEY_POLL_FIELD, _CmdPollField},
    {KEY_SENSOR_BASE, _CmdSensorBase}, {KEY_FAR1, _CmdFarReg},
    {KEY_FAR2, _CmdFarReg},         {KEY_LOAD_PROM, _CmdLoadProm},
    {KEY_ERROR_IF, _CmdErrorIf},    {KEY_XMCLK, _CmdXmclk},
    {KEY_SAVE_IMAGE, _CmdSaveImage}, {KEY_SAVE_REGS, _CmdSaveRegs},
    {KEY_DATATYPE, _CmdDataType},   {KEY_IF_SERIAL, _CmdIfSerial},
};

}  // namespace

ciTKey _Str2Key(const char* key) {
    const char* k = key ? key : "";
    for (const KeyRow& row : ciKey) {
        if (row.key == KEY_UNKNOWN) break;
        if (osal_stricmp(k, row.text) == 0) return row.key;
    }
    return KEY_UNKNOWN;
}

const char* _Key2Str(ciTKey key) {
    for (const KeyRow& row : ciKey) {
        if (row.key == key) return row.text;
    }
    return "UNKNOWN";
}

PresetCommand _keyHandler(ciTKey key) {
    for (const HandlerRow& row : kHandlers) {
        if (row.key == key) return row.handler;
    }
    return nullptr;
}
