// Sensor-type lookups: model name to type code, and type code to the
// page-select register names.  Rows added from sensor_types.txt files are
// kept for the life of the process and searched before the built-in table,
// newest first.
#define CK_SOURCE "sensor_data"
#include <deque>
#include <mutex>
#include <new>
#include <set>
#include <string>

#include "sensor/sensor_types.h"

namespace {

struct user_type_row {
    std::string name;
    ci_s32 code;
};

struct user_page_row {
    ci_s32 code;
    bool selects;  // false: the code selects no pages
    std::string readReg;
    std::string writeReg;
};

// Deques keep their elements in place, so names handed out stay valid.
struct user_rows {
    std::mutex lock;
    std::deque<user_type_row> types;
    std::deque<user_page_row> pages;
    std::set<std::string> dirs;
};

user_rows& rows() {
    static user_rows table;
    return table;
}

bool find_user_type(const char* name, ci_sensor_types* type) {
    auto& t = rows();
    for (auto it = t.types.rbegin(); it != t.types.rend(); ++it)
        if (osal_stricmp(it->name.c_str(), name) == 0) {
            *type = static_cast<ci_sensor_types>(it->code);
            return true;
        }
    return false;
}

bool find_user_pages(ci_s32 code, const char** readReg, const char** writeReg) {
    auto& t = rows();
    for (auto it = t.pages.rbegin(); it != t.pages.rend(); ++it)
        if (it->code == code) {
            *readReg = it->selects ? it->readReg.c_str() : "";
            *writeReg = it->selects ? it->writeReg.c_str() : "";
            return true;
        }
    return false;
}

}  // namespace

ci_sensor_types _sensorTypeFromName(const char* name) {
    if (!name) return CI_UNKNOWN_SENSOR;
    {
        std::lock_guard<std::mutex> guard(rows().lock);
        ci_sensor_types type = CI_UNKNOWN_SENSOR;
        if (find_user_type(name, &type)) return type;
    }
    for (size_t i = 0; i < g_numSensorTypeRows; ++i)
        if (osal_stricmp(g_sensorTypeRows[i].name, name) == 0) return g_sensorTypeRows[i].type;
    return CI_UNKNOWN_SENSOR;
}

void _pageSelectRegs(ci_sensor_types type, const char** readReg, const char** writeReg) {
    *readReg = *writeReg = "";
    {
        std::lock_guard<std::mutex> guard(rows().lock);
        if (find_user_pages(type, readReg, writeReg)) return;
    }
    for (size_t i = 0; i < g_numPageSelectRows; ++i)
        if (g_pageSelectRows[i].type == type) {
            *readReg = g_pageSelectRows[i].readReg;
            *writeReg = g_pageSelectRows[i].writeReg;
            return;
        }
}

namespace {
const char* camera_page_reg(ci_camera_t* camera, bool forWrite) {
    const char* readReg = "";
    const char* writeReg = "";
    if (camera && camera->sensor) _pageSelectRegs(camera->sensor->sensorType, &readReg, &writeReg);
    return forWrite ? writeReg : readReg;
}
}  // namespace

const char* _get_AddressSpaceReg_read(ci_camera_t* camera) { return camera_page_reg(camera, false); }

const char* _get_AddressSpaceReg_write(ci_camera_t* camera) { return camera_page_reg(camera, true); }

int _addSensorTypeRow(const char* name, ci_s32 code, sensor_page_rule rule, const char* readReg, const char* writeReg) {
    try {
        std::lock_guard<std::mutex> guard(rows().lock);
        rows().types.push_back(user_type_row{name, code});
        if (rule != PAGE_SELECT_UNCHANGED)
            rows().pages.push_back(
                user_page_row{code, rule == PAGE_SELECT_SET, readReg ? readReg : "", writeReg ? writeReg : ""});
        return 1;
    } catch (...) {
        return 0;
    }
}

int _markSensorTypeDir(const char* dir) {
    try {
        std::lock_guard<std::mutex> guard(rows().lock);
        return rows().dirs.insert(dir).second ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

void _resetSensorTypeRows(void) {
    std::lock_guard<std::mutex> guard(rows().lock);
    rows().types.clear();
    rows().pages.clear();
    rows().dirs.clear();
}
