// Board configuration: the file CI_<product ID>.cfg lists the chip files of
// a board ("CHIP_FILE = name" lines); each chip file found is parsed into a
// chip record of the camera.
#define CK_SOURCE "camkit"
#include <dlfcn.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"
#include "sensor/sdat_scan.h"

namespace {

constexpr ci_s32 kConfigLine = 1024;

bool exists(const char* path) {
    char copy[CI_MAX_PATH * 2];
    snprintf(copy, sizeof copy, "%s", path);
    return osal_get_file_attributes(copy) != -1;
}

bool endsWith(const char* text, const char* suffix) {
    const size_t n = strlen(text), m = strlen(suffix);
    return n >= m && osal_stricmp(text + n - m, suffix) == 0;
}

// The directory of the sensor data argument: the argument itself, or the
// directory of a named sensor data file.
void sensorDirectory(const char* sensorDirOrFile, char* out, size_t size) {
    snprintf(out, size, "%s", sensorDirOrFile ? sensorDirOrFile : "");
    if (!endsWith(out, ".sdat") && !endsWith(out, ".xsdat")) return;
    char* slash = strrchr(out, '/');
    if (slash) {
        *slash = '\0';
    } else {
        snprintf(out, size, ".");
    }
}

void cutAtLastSlash(char* path) {
    char* slash = strrchr(path, '/');
    if (slash) *slash = '\0';
}

// The directory of this library file.
void libraryDirectory(char* out, size_t size) {
    Dl_info info{};
    out[0] = '\0';
    if (dladdr(reinterpret_cast<void*>(&_getConfigFile), &info) && info.dli_fname) {
        snprintf(out, size, "%s", info.dli_fname);
        cutAtLastSlash(out);
    }
}

void executableDirectory(char* out, size_t size) {
    const ssize_t n = readlink("/proc/self/exe", out, size - 1);
    out[n > 0 ? n : 0] = '\0';
    cutAtLastSlash(out);
}

// Copies a path into a CI_MAX_PATH buffer; false (nothing copied) when it
// does not fit.
bool copyPath(char* out, const char* path) {
    const size_t n = strlen(path);
    if (n >= CI_MAX_PATH) return false;
    memcpy(out, path, n + 1);
    return true;
}

bool tryName(char* configFileName, const char* candidate) {
    return exists(candidate) && copyPath(configFileName, candidate);
}

// Counts the chip files the configuration lists (chips == 0), or parses at
// most `chips` of them into the camera's chip records.
ci_s32 walkChipFiles(ci_camera_t* camera, FILE* config, const char* configFileName, ci_s32 chips) {
    char line[kConfigLine];
    ci_s32 n = 0;
    rewind(config);
    while (get_line(config, line, sizeof line) > 0 && (chips == 0 || n < chips)) {
        char name[260];
        if (sdat_scan(line, "CHIP_FILE = %259s", name) != 1) continue;
        char chipFile[CI_MAX_PATH];
        extract_string(chipFile, sizeof chipFile, strchr(line, '=') + 1);
        if (!get_chip_fileName(camera, configFileName, chipFile)) continue;
        if (chips > 0) ci_ParseChipFile(camera, chipFile, &camera->chip[n]);
        ++n;
    }
    return n;
}

bool opens(const char* path) {
    FILE* f = fopen(path, "rb");
    if (f) fclose(f);
    return f != nullptr;
}

// The first file of dir matching pattern whose chip answers as described.
bool matchingChipFile(ci_camera_t* camera, const char* dir, char* chipFileName) {
    char dirCopy[CI_MAX_PATH];
    snprintf(dirCopy, sizeof dirCopy, "%s", dir);
    char pattern[CI_MAX_PATH];
    snprintf(pattern, sizeof pattern, "%s", chipFileName);
    osal_findfile* search = osal_open_find_file(dirCopy);
    bool found = false;
    if (search && osal_find_first_file(search, pattern)) {
        do {
            char path[CI_MAX_PATH * 2];
            snprintf(path, sizeof path, "%s%c%s", dir, '/', search->cFileName);
            ci_chip_t scratch;
            if (ci_ParseChipFile(camera, path, &scratch) == CI_PARSE_SUCCESS && _checkChipMatch(camera, &scratch)) {
                found = copyPath(chipFileName, path);
            }
            for (ci_s32 k = 0; k < scratch.num_regs && scratch.regs; ++k) free(scratch.regs[k].bitfield);
            free(scratch.regs);
        } while (!found && osal_find_next_file(search));
    }
    osal_close_find_file(search);
    return found;
}

}  // namespace

void _getDirectoryName(const char* path, char* dir) {
    size_t n = strlen(path);
    while (n > 0 && path[n] != '/' && path[n - 1] != '/') --n;
    memcpy(dir, path, n);
    dir[n] = '\0';
}

// The places a board configuration file is looked for, in order: beside the
// library (and in its board_data), beside the executable, in the sensor data
// directory (and its sibling board_data), then in board_data of
// $CI_HOME_DEV and of $CI_HOME.
ci_s32 _getConfigFile(ci_camera_t* camera, const char* sensorDirOrFile, char* configFileName) {
    configFileName[0] = '\0';
    if (!camera) return 0;
    char sensorDir[CI_MAX_PATH], libDir[CI_MAX_PATH], exeDir[CI_MAX_PATH];
    sensorDirectory(sensorDirOrFile, sensorDir, sizeof sensorDir);
    libraryDirectory(libDir, sizeof libDir);
    executableDirectory(exeDir, sizeof exeDir);
    const char* dev = getenv("CI_HOME_DEV");
    const char* home = getenv("CI_HOME");
    const ci_u32 id = (ci_u32)camera->productID;
    struct Place {
        const char* dir;
        int form;  // 0: DIR/CI_P.cfg, 1: DIR/board_data/CI_P.cfg, 2: DIR/../board_data/CI_P.cfg
    };
    const Place places[] = {{libDir, 0}, {libDir, 1}, {exeDir, 0}, {sensorDir, 0}, {sensorDir, 2},
                            {dev, 1},    {home, 1}};
    for (const Place& p : places) {
        if (!p.dir || !p.dir[0]) continue;
        char candidate[CI_MAX_PATH * 2];
        if (p.form == 0) snprintf(candidate, sizeof candidate, "%s%cCI_%X.cfg", p.dir, '/', id);
        if (p.form == 1) snprintf(candidate, sizeof candidate, "%s%cboard_data%cCI_%X.cfg", p.dir, '/', '/', id);
        if (p.form == 2) {
            snprintf(candidate, sizeof candidate, "%s%c..%cboard_data%cCI_%X.cfg", p.dir, '/', '/', '/', id);
        }
        if (tryName(configFileName, candidate)) return 1;
    }
    return 0;
}

ci_s32 get_chip_fileName(ci_camera_t* camera, const char* configFileName, char* chipFileName) {
    if (opens(chipFileName)) return 1;
    char dir[CI_MAX_PATH];
    _getDirectoryName(configFileName, dir);
    char joined[CI_MAX_PATH * 2];
    snprintf(joined, sizeof joined, "%s%c%s", dir, '/', chipFileName);
    if (opens(joined)) return copyPath(chipFileName, joined) ? 1 : 0;
    return matchingChipFile(camera, dir, chipFileName) ? 1 : 0;
}

ci_s32 _checkChipMatch(ci_camera_t* camera, const ci_chip_t* chip) {
    const ci_s32 index = _regId(chip->regs, chip->num_regs, "CHIP_VERSION_REG");
    if (index < 0) return 0;
    const ci_reg_data_t& version = chip->regs[index];
    ci_u32 value = 0;
    ci_readRegister(camera, chip->baseAddr, version.reg_addr, &value);
    return value == version.default_val ? 1 : 0;
}

ci_error_code _parseBoardConfigFile(ci_camera_t* camera, const char* sensorDirOrFile) {
    char configFileName[CI_MAX_PATH];
    if (!_getConfigFile(camera, sensorDirOrFile, configFileName)) return 0;
    FILE* config = fopen(configFileName, "r");
    if (!config) {
        char message[CI_MAX_PATH + 64];
        snprintf(message, sizeof message, "Couldn't open the board configuration file %s", configFileName);
        return CK_ERR(CI_PARSE_FILE_ERROR, message);
    }
    _freeChips(camera);
    const ci_s32 count = walkChipFiles(camera, config, configFileName, 0);
    if (count > 0) {
        camera->chip = static_cast<ci_chip_t*>(calloc((size_t)count, sizeof(ci_chip_t)));
        if (camera->chip) {
            camera->num_chips = walkChipFiles(camera, config, configFileName, count);
        }
    }
    fclose(config);
    return CI_PARSE_SUCCESS;
}
