// Boards whose sensor sits behind a companion processor: the processor needs
// a few fixed register writes before the sensor can be reached.  The sensor
// data file's name says which processor the board carries.
#define CK_SOURCE "transport/usb_bulk_companion"
#include <strings.h>

#include <cstring>
#include <iterator>

#include "transport/usb_private.h"

namespace {

constexpr ci_u32 kCompanionBase = 0x78;
constexpr ci_u32 kCompanionAddrBits = 16;
constexpr ci_u32 kCompanionDataBits = 32;

struct CompanionWrite {
    ci_u32 addr;
    ci_u32 value;
};

struct CompanionGroup {
    const char* const* names;
    size_t numNames;
    const CompanionWrite* writes;
    size_t numWrites;
};

constexpr const char* kFirstNames[] = {"CK_ISP1", "CK_ISP2"};
constexpr CompanionWrite kFirstWrites[] = {{0xF03C, 0x00082000}, {0xE004, 0x00000378}};
constexpr const char* kSecondNames[] = {"CK_ISP3"};
constexpr CompanionWrite kSecondWrites[] = {{0xF038, 0x00260000}, {0xE054, 0x00000001}};

constexpr CompanionGroup kGroups[] = {
    {kFirstNames, std::size(kFirstNames), kFirstWrites, std::size(kFirstWrites)},
    {kSecondNames, std::size(kSecondNames), kSecondWrites, std::size(kSecondWrites)},
};

// Case-insensitive: the name is part of a file name.
bool contains(const char* text, const char* part) {
    const size_t n = strlen(part);
    for (const char* at = text; *at != '\0'; at++) {
        if (strncasecmp(at, part, n) == 0) return true;
    }
    return false;
}

const CompanionGroup* groupOf(const char* sensorName) {
    for (const CompanionGroup& g : kGroups) {
        for (size_t i = 0; i < g.numNames; i++) {
            if (contains(sensorName, g.names[i])) return &g;
        }
    }
    return nullptr;
}

}  // namespace

ci_error_code _USB_Bulk_SetUpCompanion(ci_camera_t* camera, const char* sensorName) {
    if (sensorName == nullptr) return CI_CAMERA_SUCCESS;
    const CompanionGroup* group = groupOf(sensorName);
    if (group == nullptr) return CI_CAMERA_SUCCESS;
    _SetMode(camera, CI_REG_ADDR_SIZE, kCompanionAddrBits);
    _SetMode(camera, CI_REG_DATA_SIZE, kCompanionDataBits);
    ci_error_code first = CI_CAMERA_SUCCESS;
    for (size_t i = 0; i < group->numWrites; i++) {
        const ci_error_code rc =
            camera->writeRegister(camera, kCompanionBase, group->writes[i].addr, group->writes[i].value);
        if (first == CI_CAMERA_SUCCESS) first = rc;
    }
    _SetMode(camera, CI_REG_ADDR_SIZE, 8);
    _SetMode(camera, CI_REG_DATA_SIZE, 16);
    return first;
}
