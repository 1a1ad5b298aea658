// The preset runner's internal interface: the run state handed to every
// command, the keyword table, operand parsing and the shared register helpers.
#pragma once

#include <string>
#include <vector>

#include "core/camkit_private.h"

// Keyword numbers of the preset language, in table order.
enum ciTKey : ci_s32 {
    KEY_LOAD = 0,
    KEY_REG = 1,
    KEY_REG_BURST = 2,
    KEY_VAR = 3,
    KEY_VAR8 = 4,
    KEY_VAR32 = 5,
    KEY_SFR = 6,
    KEY_SFR8 = 7,
    KEY_MEM = 8,
    KEY_MEM8 = 9,
    KEY_MEM32 = 10,
    KEY_IND = 11,
    KEY_FIELD_WR = 12,
    KEY_BITFIELD = 13,
    KEY_STATE = 14,
    KEY_DELAY = 15,
    KEY_SERIAL_REG = 16,
    KEY_POLL_REG = 17,
    KEY_POLL_VAR = 18,
    KEY_IF_REG = 19,
    KEY_IMAGE = 20,
    KEY_IF_FIELD = 21,
    KEY_POLL_FIELD = 22,
    KEY_SENSOR_BASE = 23,
    KEY_FAR1 = 24,
    KEY_FAR1_VAR = 25,
    KEY_FAR1_VAR8 = 26,
    KEY_FAR1_SFR = 27,
    KEY_FAR1_SFR8 = 28,
    KEY_FAR2 = 29,
    KEY_FAR2_VAR = 30,
    KEY_FAR2_VAR8 = 31,
    KEY_FAR2_SFR = 32,
    KEY_FAR2_SFR8 = 33,
    KEY_LOAD_PROM = 34,
    KEY_ERROR_IF = 35,
    KEY_XMCLK = 36,
    KEY_SAVE_IMAGE = 37,
    KEY_SAVE_REGS = 38,
    KEY_DATATYPE = 39,
    KEY_IF_SERIAL = 40,
    KEY_EMPTY = 41,
    KEY_UNKNOWN = 42,
};

// What a command sees of the section it runs in.
struct PresetRun {
    ci_camera_t* camera;
    std::string file;       // the preset file being run
    std::string section;    // the section's name as asked for
    ci_s32 depth;
    ci_u32 space;           // current address space of REG and BITFIELD
    const char* line;       // the whole line, for messages
    ci_error_code firstFailure;  // first register failure of the line (reported, not returned)
};

using PresetCommand = ci_error_code (*)(PresetRun& run, ciTKey key, const std::string& value);

// Keyword table (camkit_ini_keys).
ciTKey _Str2Key(const char* key);
const char* _Key2Str(ciTKey key);
PresetCommand _keyHandler(ciTKey key);

// The recursive runner (camkit_ini).
ci_error_code _LoadSection(ci_camera_t* camera, const char* iniFileName, const char* sectionName, ci_s32 depth);

// Sections of preset files, each file parsed once and kept until it changes
// (camkit_ini_file).  Fills buffer with the section's cleaned lines, each
// ended by a NUL and the list by another, in a buffer that starts at 16384
// bytes and doubles while the section fills it.
bool _iniFileSection(const std::string& file, const std::string& section, std::vector<char>& buffer);
// The lookup with the "Hidden:" prefixes; CI_INI_SUCCESS, or logs and
// returns CI_INI_LOAD_ERROR.
ci_error_code _getSensorIniSection(const std::string& file, const char* section, std::vector<char>& buffer);
// How many times preset files were read from disk (for tests and benchmarks).
ci_u64 _iniFileReads(void);

// Text helpers (camkit_ini_text).
char* _StringTrim(char* text);
std::string _trimmed(const std::string& text);
// Next token of text from position, split at any of delimiters (quotes
// keep delimiters inside a token); returns the position after it, or -1
// when no token is left.
ci_s32 _StringTokenize(const std::string& text, std::string& out, const char* delimiters, ci_s32 position);
// Comma-separated operands, each trimmed.
std::vector<std::string> _operands(const std::string& value);
// "0x" hexadecimal or decimal; false for anything else.
bool _ValidValue(const std::string& text);
bool _Str2Int(const std::string& text, ci_u32* value);
// A condition "==", "!=", ">", "<", ">=", "<=" followed by a number.
enum ConditionOp : ci_s32 { COND_NONE = 0, COND_EQ, COND_NE, COND_GT, COND_LT, COND_GE, COND_LE };
bool _FindIntFromStr(const std::string& condition, ConditionOp* op, std::string* number);
bool _CheckCondition(ci_u32 value, ci_u32 number, ConditionOp op);
// Where the first comparison operator of text starts, or npos.
size_t _conditionStart(const std::string& text);
// "KEY=number" operands of the polling and conditional commands.
bool _namedOperand(const std::string& operand, const char* key, std::string* value);
ci_error_code ci_ini_error(const char* message, const char* line);
// The next numbered free file name for a base name (name0.ext, name1.ext...).
void _nextFileN(char* name, size_t size);

// Register helpers shared by the commands (camkit_ini_regs).
bool _parseSpace(ci_camera_t* camera, const std::string& text, ci_u32* space);
ci_error_code _SetBitfieldAddr(PresetRun& run, ci_addr_type type, ci_u32 space, ci_u32 address, ci_s32 is8,
                               ci_u32 mask, ci_u32 value);
ci_u32 _GetRegisterAdjustValue(ci_camera_t* camera, ci_addr_type type, ci_u32 space, ci_u32 address, ci_u32 mask);
// A register, or one of its bitfields, named by "REG" or "REG, FIELD"
// operands; false when it does not exist.
struct NamedTarget {
    ci_reg_data_t* reg = nullptr;
    ci_bitfield_t* field = nullptr;
    ci_u32 mask() const { return field ? field->bitmask : 0xFFFFFFFFu; }
    ci_data_types datatype() const { return field ? field->datatype : reg->datatype; }
};
bool _namedTarget(ci_camera_t* camera, const std::vector<std::string>& names, NamedTarget* target);
// Reads a named register or bitfield with the register cache off.
ci_error_code _readNamedUncached(ci_camera_t* camera, const NamedTarget& target, ci_u32* value);
// A value written in the target's data type, or a plain number.
bool _parseTargetValue(const NamedTarget& target, const std::string& text, ci_u32* value);
// Notes a register failure of the current line without stopping anything.
void _noteFailure(PresetRun& run, ci_error_code rc);

// The commands (camkit_ini_regs, _mcu, _flow, _frames, _save).
ci_error_code _CmdLoad(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdReg(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdRegBurst(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdVar(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdSfr(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdMem(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdInd(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdFieldWr(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdBitfield(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdDelay(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdSerialReg(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdPollReg(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdPollVar(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdIfReg(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdImage(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdIfField(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdPollField(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdSensorBase(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdFarReg(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdLoadProm(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdErrorIf(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdXmclk(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdSaveImage(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdSaveRegs(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdDataType(PresetRun& run, ciTKey key, const std::string& value);
ci_error_code _CmdIfSerial(PresetRun& run, ciTKey key, const std::string& value);

// Poll and branch plumbing shared by the conditional commands (camkit_ini_flow).
struct PollSpec {
    ConditionOp op = COND_NONE;
    ci_u32 number = 0;
    ci_u32 delayMs = 0;
    ci_u32 timeout = 0;
};
// Parses "condition, DELAY=ms, TIMEOUT=n" from operands[first..]; false on
// any malformed part.
bool _parsePoll(const std::vector<std::string>& operands, size_t first, PollSpec* spec);
// "DELAY=ms" and "TIMEOUT=n" operands.
bool _parsePollTiming(const std::string& delayOperand, const std::string& timeoutOperand, PollSpec* spec);
// Runs the LOAD= or ELSELOAD= branch named in operands[first..] for the
// outcome of a condition; false when the branch operands are malformed.
bool _runBranch(PresetRun& run, const std::vector<std::string>& operands, size_t first, bool condition);

// The line observer (camkit_ini_observer).
void _reportLine(const PresetRun& run, ci_ini_outcome outcome, ci_error_code result);
// The message of the last preset error logged on this thread.
const char* _lastIniMessage(void);
void _setLastIniMessage(const char* message);

// PROM loading (camkit_prom*).
ci_error_code _readBytes(ci_camera_t* camera, ci_u32 busAddr, ci_u32 promAddr, ci_u32 count, ci_u8* out);
ci_error_code _LoadProm(ci_camera_t* camera, ci_u32 busAddr, ci_u8 recordType, const char* label, ci_u32 tag);
ci_error_code _LoadPromRegs(ci_camera_t* camera, const ci_u8* record, ci_u32 recordBytes);
ci_error_code _LoadPromScratchpad(ci_camera_t* camera, ci_u32 busAddr, ci_u32 tagAddr, ci_u32 src, ci_u32 length,
                                  ci_u32 destinationTag);
