// The traits table: one row per sensor-type code whose behaviour differs from
// the defaults.  Codes not listed are plain sensors: no MCU, no far bus,
// swizzled like any sensor, register steps from the sizes.
#define CK_SOURCE "sensor_data"
#include "sensor/sensor_traits.h"

#include <array>

namespace {

constexpr bool SOC = true, NOT_SOC = false;
constexpr ck_far_model NONE = CK_FAR_NONE;

// code, soc, generic, indirect, direct, direct from v2, far, swizzle, step, far batch
constexpr ck_sensor_traits kRows[] = {
    {0, NOT_SOC, true, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {5, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {6, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {8, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {10, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {14, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {16, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    // SOC only while it outputs YCbCr (ci_IsSOC); style by its registers.
    {19, NOT_SOC, true, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {20, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {23, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {24, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {26, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {29, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {35, SOC, false, CK_MCU_NONE, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 2, false},
    {37, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 1, false},
    {38, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {39, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {44, SOC, false, CK_MCU_44, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {45, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 1, false},
    {46, SOC, false, CK_MCU_44, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {47, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {54, SOC, false, CK_MCU_54, CK_MCU_55, true, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {55, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {56, SOC, false, CK_MCU_44, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {61, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {62, SOC, false, CK_MCU_44, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {66, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {68, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {71, SOC, false, CK_MCU_NONE, CK_MCU_71, false, CK_FAR_MASTER, CK_SWIZZLE_FAMILY, 0, false},
    {72, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {74, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {75, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {76, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {79, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {95, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, true},
    {99, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, true},
    {103, SOC, false, CK_MCU_NONE, CK_MCU_71, false, CK_FAR_WIDE, CK_SWIZZLE_IN_ORDER, 0, false},
    {104, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {106, SOC, false, CK_MCU_16, CK_MCU_NONE, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
    {110, SOC, false, CK_MCU_NONE, CK_MCU_71, false, CK_FAR_WIDE, CK_SWIZZLE_IN_ORDER, 0, false},
    {111, SOC, false, CK_MCU_NONE, CK_MCU_71, false, CK_FAR_WIDE, CK_SWIZZLE_IN_ORDER, 0, false},
    {115, SOC, false, CK_MCU_54, CK_MCU_55, false, NONE, CK_SWIZZLE_PLAIN, 0, false},
};

constexpr ci_u32 kCodes = 256;

constexpr std::array<ck_sensor_traits, kCodes> byCode() {
    std::array<ck_sensor_traits, kCodes> table{};
    for (ci_u32 c = 0; c < kCodes; ++c) {
        table[c] = {c, false, false, CK_MCU_NONE, CK_MCU_NONE, false, CK_FAR_NONE, CK_SWIZZLE_PLAIN, 0, false};
    }
    for (const ck_sensor_traits& row : kRows) table[row.code] = row;
    return table;
}

constexpr std::array<ck_sensor_traits, kCodes> kTable = byCode();
constexpr ck_sensor_traits kPlain{0, false, false, CK_MCU_NONE, CK_MCU_NONE, false, CK_FAR_NONE, CK_SWIZZLE_PLAIN, 0,
                                  false};

}  // namespace

const ck_sensor_traits& _sensorTraits(ci_u32 code) {
    return code < kCodes ? kTable[code] : kPlain;
}

const ck_mcu_port_regs* _mcuPortRegs(ci_s32 style) {
    static const ck_mcu_port_regs k16{"MCU_ADDRESS", nullptr, "MCU_DATA_0", nullptr, nullptr, nullptr};
    static const ck_mcu_port_regs k44{"MCU_ADDRESS", "PHYSICAL_ADDR_ACCESS", "MCU_DATA_0", nullptr, nullptr,
                                      "ACCESS_CTL_STAT"};
    // Style 55 keeps the port of 54 beside its mapped window.
    static const ck_mcu_port_regs k54{"LOGICAL_ADDRESS_ACCESS", "PHYSICAL_ADDRESS_ACCESS", "MCU_VARIABLE_DATA0",
                                      "LOGICAL_BYTE_ACCESS",    "PHYSICAL_BYTE_ACCESS",    "ACCESS_CTL_STAT"};
    switch (style) {
        case CK_MCU_16: return &k16;
        case CK_MCU_44: return &k44;
        case CK_MCU_54:
        case CK_MCU_55: return &k54;
        default: return nullptr;
    }
}
