// Which sensor data file describes the sensor on this camera?
//
// The search parses each sensor data file of the directory in turn and asks
// the hardware whether it behaves like the file says; the first file that
// passes wins.  It runs in three passes so that the cheapest and least
// ambiguous tests come first: sensors with 16-bit register addresses, then
// 8-bit sensors that are not systems-on-chip, then 8-bit systems-on-chip.
// Within a pass the files are taken in directory order.
//
// While a file is parsed, the parser is told what the pass is looking for
// (SOC or not, address size, chip-version check) so that it can give up as
// soon as the file cannot fit; bases that did not answer stay marked for the
// whole search so that no later file waits for them again.
#define CK_SOURCE "camkit"
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "core/camkit_ident_internal.h"

namespace {

constexpr int kDirectoryModeBit = 0x4000;
constexpr const char* kSocFilter = "SOC";

// What one pass of the search looks for.
struct PassFilter {
    const char* name;  // file-name filter text, or nullptr
    bool socRule;      // the "SOC" filter: decide by the sensor, not the name
    ci_s32 ignore;     // 1: skip names containing the filter / want no SOC
    ci_s32 addrSize;   // wanted register address size, 0 for any
};

bool containsIgnoringCase(const char* text, const char* part) {
    const size_t partLength = strlen(part);
    for (const char* p = text; *p != '\0'; p++) {
        if (osal_strnicmp(p, part, partLength) == 0) return true;
    }
    return partLength == 0;
}

// Is the file skipped by its name alone?
bool skippedByName(const PassFilter& pass, const char* fileName) {
    if (pass.name == nullptr || pass.socRule) return false;
    const bool contains = containsIgnoringCase(fileName, pass.name);
    return pass.ignore ? contains : !contains;
}

// Why a parsed file is not eligible for probing under the pass's SOC rule,
// or nullptr when it is.
const char* socRefusal(ci_camera_t* camera, const PassFilter& pass) {
    if (!pass.socRule) return nullptr;
    const bool wantSoc = pass.ignore == 0;
    const bool soc = ci_IsSOC(camera) != 0;
    if (wantSoc == soc) return nullptr;
    if (wantSoc) return "No match because want SOC and file is not SOC";
    if (pass.ignore == 1) return "No match because don't want SOC and file is SOC";
    return "No match because is/isnot SOC";
}

ci_error_code parseWithHints(ci_camera_t* camera, const char* path, const PassFilter& pass) {
    _common_context_t* ctx = _ctx(camera);
    ctx->match_no_soc = pass.socRule ? pass.ignore : 0;
    ctx->match_soc_only = pass.socRule ? !pass.ignore : 0;
    ctx->match_addr_size = pass.addrSize;
    ctx->match_chip_version_reg = 1;
    const ci_error_code result = ci_ParseSensorFile(camera, path, camera->sensor);
    ctx->match_no_soc = 0;
    ctx->match_soc_only = 0;
    ctx->match_addr_size = 0;
    ctx->match_chip_version_reg = 0;
    return result;
}

// Initialises the shared context for the file's settings and runs the full
// hardware test.  A refused file's settings must not outlive it, so a shared
// context created here is dropped again.
bool hardwareMatches(ci_camera_t* camera) {
    const bool created = _ctx(camera)->sg_context == nullptr;
    _init_global_context(camera);
    if (_checkSensorMatch(camera, 0)) return true;
    if (created) _free_global_context(camera);
    return false;
}

void acceptMatch(ci_camera_t* camera, const char* path) {
    if (ci_isInfoLogEnabled()) {
        char message[3 * CI_MAX_PATH];
        snprintf(message, sizeof message, "\n\nFound matching sdat: %s", path);
        CK_LOG(CI_LOG_INFO, message);
    }
    _resetBaseMap(camera);
    ci_DetectPartNumber(camera);
}

// What one search has learnt of each file, so that a later pass does not
// read again a file it would refuse: a file whose register addresses are 16
// bits wide only ever fits the first pass; an 8-bit file fits the second or
// the third pass by whether it is a system-on-chip.  Both are known once a
// parse got past the file's first sections (an earlier refusal, for want of
// an answering base or for bad syntax, refuses the file in every pass).
struct FileFacts {
    bool wide = false;  // 16-bit register addresses
    bool soc = false;
};

class SearchFacts {
public:
    // Active for the lifetime of the object (one search on this thread).
    SearchFacts() : previous_(active_) { active_ = this; }
    ~SearchFacts() { active_ = previous_; }
    SearchFacts(const SearchFacts&) = delete;
    SearchFacts& operator=(const SearchFacts&) = delete;

    static void learn(const char* fileName, ci_camera_t* camera) {
        if (!active_ || !camera->sensor) return;
        active_->facts_[fileName] = FileFacts{camera->sensor->reg_addr_size == 16, ci_IsSOC(camera) != 0};
    }
    // True when an earlier pass showed that the file cannot fit this one.
    static bool rules_out(const char* fileName, const PassFilter& pass) {
        if (!active_) return false;
        auto it = active_->facts_.find(fileName);
        if (it == active_->facts_.end()) return false;
        const FileFacts& f = it->second;
        if (pass.addrSize == 8 && f.wide) return true;
        return pass.socRule && pass.addrSize == 8 && f.soc == (pass.ignore != 0);
    }

private:
    static thread_local SearchFacts* active_;
    SearchFacts* previous_;
    std::map<std::string, FileFacts> facts_;
};

thread_local SearchFacts* SearchFacts::active_ = nullptr;

// Parses and tests one file: nullptr when it describes the sensor, otherwise
// why it does not (reason is scratch space for a formatted answer).
const char* refusalOf(ci_camera_t* camera, const char* path, const PassFilter& pass, char* reason, size_t size) {
    const ci_error_code parsed = parseWithHints(camera, path, pass);
    SearchFacts::learn(path, camera);
    if (parsed != CI_PARSE_SUCCESS) return "No match because parse failed";
    const char* soc = socRefusal(camera, pass);
    if (soc != nullptr) return soc;
    if (pass.addrSize != 0 && (ci_u32)pass.addrSize != camera->sensor->reg_addr_size) {
        snprintf(reason, size, "No match because want addr size %d and sensor is %d", (int)pass.addrSize,
                 (int)camera->sensor->reg_addr_size);
        return reason;
    }
    if (!hardwareMatches(camera)) return "No match because SHIP base addr/version reg/fuseID";
    return nullptr;
}

bool ruledOut(const char* dir, const char* fileName, const PassFilter& pass) {
    char path[2 * CI_MAX_PATH];
    snprintf(path, sizeof path, "%s%c%s", dir, '/', fileName);
    return SearchFacts::rules_out(path, pass);
}

// True when the file describes the sensor.
bool tryFile(ci_camera_t* camera, const char* dir, const char* fileName, const PassFilter& pass) {
    char path[2 * CI_MAX_PATH];
    snprintf(path, sizeof path, "%s%c%s", dir, '/', fileName);
    char reason[CI_STRING_LEN];
    const char* refusal = refusalOf(camera, path, pass, reason, sizeof reason);
    if (refusal == nullptr) {
        acceptMatch(camera, path);
        return true;
    }
    CK_LOG(CI_LOG_DEBUG, refusal);
    ci_DestructSensor(camera->sensor);  // keep the record for the next file
    return false;
}

// A single named file: parsed, not probed.
ci_error_code loadSensorFile(ci_camera_t* camera, const char* path) {
    if (ci_ParseSensorFile(camera, path, camera->sensor) != CI_PARSE_SUCCESS) {
        _freeSensor(camera);
        char message[CI_MAX_PATH + 64];
        snprintf(message, sizeof message, "Sensor data file does not parse: %s", path);
        return CK_ERR(CI_SENSOR_FILE_PARSE_ERROR, message);
    }
    _init_global_context(camera);
    ci_updateFrameSize(camera, camera->sensor->width, camera->sensor->height, 0, 0);
    return CI_CAMERA_SUCCESS;
}

// The three passes over a directory.
ci_error_code searchSensor(ci_camera_t* camera, const char* dir) {
    SearchFacts facts;
    _loadSensorTypeFile(dir);
    _resetBaseMap(camera);
    // Any sensor with 16-bit register addresses, then 8-bit sensors that are
    // not systems-on-chip, then 8-bit systems-on-chip.
    ci_error_code result = _findMatch(camera, dir, nullptr, 0, 16);
    if (result == CI_SENSOR_DOES_NOT_MATCH) result = _findMatch(camera, dir, kSocFilter, 1, 8);
    if (result == CI_SENSOR_DOES_NOT_MATCH) result = _findMatch(camera, dir, kSocFilter, 0, 8);
    if (result != CI_CAMERA_SUCCESS) _freeSensor(camera);
    return result;
}

}  // namespace

ci_error_code _findMatch(ci_camera_t* camera, const char* dir, const char* filter, ci_s32 ignore, ci_s32 addrSize) {
    if (_ctx(camera) == nullptr || camera->sensor == nullptr || dir == nullptr) return CI_CAMERA_ERROR;
    const PassFilter pass{filter, filter != nullptr && osal_stricmp(filter, kSocFilter) == 0, ignore, addrSize};
    char message[CI_MAX_PATH + 64];
    char dirName[CI_MAX_PATH];
    char pattern[] = "*.*sdat";
    snprintf(dirName, sizeof dirName, "%s", dir);
    osal_findfile* search = osal_open_find_file(dirName);
    if (search == nullptr || !osal_find_first_file(search, pattern)) {
        osal_close_find_file(search);
        snprintf(message, sizeof message, "No sdat files found in %s", dir);
        return CK_ERR(CI_SENSOR_DOES_NOT_MATCH, message);
    }
    do {
        if (_identCancelled()) {
            osal_close_find_file(search);
            return CK_ERR(CI_CAMERA_ERROR, "Sensor data file search cancelled before completing");
        }
        if (skippedByName(pass, search->cFileName)) continue;
        if (ruledOut(dir, search->cFileName, pass)) continue;
        if (tryFile(camera, dir, search->cFileName, pass)) {
            osal_close_find_file(search);
            return CI_CAMERA_SUCCESS;
        }
    } while (osal_find_next_file(search));
    osal_close_find_file(search);
    return CK_ERR(CI_SENSOR_DOES_NOT_MATCH, ignore ? "No matches found ignoring SOC" : "\n\nNo matches found");
}

ci_error_code _getSensor(ci_camera_t* camera, const char* sensorDirOrFile) {
    if (sensorDirOrFile == nullptr || sensorDirOrFile[0] == '\0') return CI_CAMERA_SUCCESS;
    if (camera->readSensorRegisters == nullptr || _ctx(camera) == nullptr) {
        return CK_ERR(CI_CAMERA_ERROR, "The camera has no sensor register access");
    }
    if (camera->sensor != nullptr) _freeSensor(camera);
    camera->sensor = (ci_sensor_t*)calloc(1, sizeof(ci_sensor_t));
    if (camera->sensor == nullptr) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate sensor structure");

    char checked[CI_MAX_PATH];
    snprintf(checked, sizeof checked, "%s", sensorDirOrFile);
    const int attributes = osal_get_file_attributes(checked);
    if (attributes == -1) {
        _freeSensor(camera);
        char message[CI_MAX_PATH + 64];
        snprintf(message, sizeof message, "No sdat files found in %s", sensorDirOrFile);
        return CK_ERR(CI_SENSOR_DOES_NOT_MATCH, message);
    }
    if ((attributes & kDirectoryModeBit) == 0) return loadSensorFile(camera, sensorDirOrFile);
    return searchSensor(camera, sensorDirOrFile);
}
