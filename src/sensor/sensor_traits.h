// What the library does differently by sensor model: one row of traits per
// sensor-type code, read by every place that asks (SOC or not, MCU access
// style, far bus, pixel order, register address step, grouped far reads).
#pragma once

#include "camkit.h"

// MCU access styles, named after the first model generation that used each:
// 16 and 44/54 drive an address and a data register, 55 maps variables and
// SFRs into the register space at bit 15, 71 maps SFRs into a 4 KiB window
// with a programmable base.
enum ck_mcu_style : ci_s32 {
    CK_MCU_NONE = 0,
    CK_MCU_16 = 16,
    CK_MCU_44 = 44,
    CK_MCU_54 = 54,
    CK_MCU_55 = 55,
    CK_MCU_71 = 71,
};

// How the far bus behind the sensor is probed.
enum ck_far_model : ci_u8 {
    CK_FAR_NONE,    // no far bus of its own: every far address counts as present
    CK_FAR_MASTER,  // probed through the sensor's bus master (model 71)
    CK_FAR_WIDE,    // probed through the wide master of models 103, 110, 111
};

// What CI_DATA_IS_SWIZZLED reports for frames that still need unswizzling.
enum ck_swizzle_class : ci_u8 {
    CK_SWIZZLE_IN_ORDER = 0,  // the sensor already delivers pixels in order
    CK_SWIZZLE_PLAIN = 1,
    CK_SWIZZLE_FAMILY = 2,    // the pixel packing of one sensor family
};

struct ck_sensor_traits {
    ci_u32 code;
    bool soc;                 // a system-on-chip (sensor with an MCU)
    bool generic;             // MCU style decided by the registers it has
    ck_mcu_style indirect;    // address/data port style
    ck_mcu_style direct;      // mapped style (55 or 71), before the camera's mode
    bool directFromVersion2;  // direct style 55 only from sensor version 2 on
    ck_far_model far;
    ck_swizzle_class swizzle;
    ci_u32 regAddrStep;       // register address step, 0: from the sizes
    bool farBatch;            // far registers read together through grouped registers
};

// The traits of a sensor-type code; a row of defaults for codes without one.
const ck_sensor_traits& _sensorTraits(ci_u32 code);

// The registers of an MCU access style's port (nullptr: the style has none):
// address registers for logical (variable) and physical (SFR) locations, the
// data register, the byte-access fields, and the access control register
// that selects the physical region.
struct ck_mcu_port_regs {
    const char* logicalAddr;
    const char* physicalAddr;
    const char* data;
    const char* logicalByte;
    const char* physicalByte;
    const char* control;
};

// The port registers of a style; nullptr for styles without a port (none, 71).
const ck_mcu_port_regs* _mcuPortRegs(ci_s32 style);
