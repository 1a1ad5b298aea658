// Built-in sensor-type table.  Each model has two spellings; the comments
// name the behaviour the library attaches to the code.  "CKS...SOC" models
// are systems-on-chip (sensors with an on-chip microcontroller).  Codes not
// commented have no special behaviour; they name models so that files can
// carry them.
#define CK_SOURCE "sensor_data"
#include "sensor/sensor_types.h"

const sensor_type_row g_sensorTypeRows[] = {
    {"CK0100", (ci_sensor_types)1},  // no pixel offset on the first board
    {"CK-0100", (ci_sensor_types)1},
    {"CK0200", (ci_sensor_types)2},
    {"CK-0200", (ci_sensor_types)2},
    {"CK0300", (ci_sensor_types)3},  // companion-board check
    {"CK-0300", (ci_sensor_types)3},
    {"CK0400", (ci_sensor_types)4},
    {"CK-0400", (ci_sensor_types)4},
    {"CKS0500SOC", (ci_sensor_types)5},  // SOC, page select ADDR_SPACE_SEL
    {"CKS0500", (ci_sensor_types)5},
    {"CKS0600SOC", (ci_sensor_types)6},  // SOC, page select ADDR_SPACE_SEL
    {"CKS0600", (ci_sensor_types)6},
    {"CK0700", (ci_sensor_types)7},  // board set-up
    {"CK-0700", (ci_sensor_types)7},
    {"CKS0800SOC", (ci_sensor_types)8},  // SOC, page select ADDR_SPACE_SEL
    {"CKS0800", (ci_sensor_types)8},
    {"CK0900", (ci_sensor_types)9},  // page select ADDR_SPACE_SEL
    {"CK-0900", (ci_sensor_types)9},
    {"CKS1000SOC", (ci_sensor_types)10},  // SOC
    {"CKS1000", (ci_sensor_types)10},
    {"CK1100", (ci_sensor_types)11},
    {"CK-1100", (ci_sensor_types)11},
    {"CK1200", (ci_sensor_types)12},  // page select by index registers
    {"CK-1200", (ci_sensor_types)12},
    {"CK1300", (ci_sensor_types)13},  // swizzled output
    {"CK-1300", (ci_sensor_types)13},
    {"CKS1400SOC", (ci_sensor_types)14},  // SOC
    {"CKS1400", (ci_sensor_types)14},
    {"CK1500", (ci_sensor_types)15},
    {"CK-1500", (ci_sensor_types)15},
    {"CKS1600SOC", (ci_sensor_types)16},  // SOC, MCU style 16
    {"CKS1600", (ci_sensor_types)16},
    {"CK1700", (ci_sensor_types)17},
    {"CK-1700", (ci_sensor_types)17},
    {"CK1800", (ci_sensor_types)18},
    {"CK-1800", (ci_sensor_types)18},
    {"CKY1900", (ci_sensor_types)19},  // SOC when YCbCr; MCU style from its registers
    {"CKY-1900", (ci_sensor_types)19},
    {"CKS2000SOC", (ci_sensor_types)20},  // SOC, page select ADDR_SPACE_SEL
    {"CKS2000", (ci_sensor_types)20},
    {"CK2100", (ci_sensor_types)21},
    {"CK-2100", (ci_sensor_types)21},
    {"CK2200", (ci_sensor_types)22},  // board set-up
    {"CK-2200", (ci_sensor_types)22},
    {"CKS2300SOC", (ci_sensor_types)23},  // SOC, MCU style 16
    {"CKS2300", (ci_sensor_types)23},
    {"CKS2400SOC", (ci_sensor_types)24},  // SOC, page select ADDR_SPACE_SEL
    {"CKS2400", (ci_sensor_types)24},
    {"CK2500", (ci_sensor_types)25},
    {"CK-2500", (ci_sensor_types)25},
    {"CKS2600SOC", (ci_sensor_types)26},  // SOC
    {"CKS2600", (ci_sensor_types)26},
    {"CK2700", (ci_sensor_types)27},
    {"CK-2700", (ci_sensor_types)27},
    {"CK2800", (ci_sensor_types)28},  // one register per request
    {"CK-2800", (ci_sensor_types)28},
    {"CKS2900SOC", (ci_sensor_types)29},  // SOC
    {"CKS2900", (ci_sensor_types)29},
    {"CK3000", (ci_sensor_types)30},
    {"CK-3000", (ci_sensor_types)30},
    {"CK3100", (ci_sensor_types)31},
    {"CK-3100", (ci_sensor_types)31},
    {"CK3200", (ci_sensor_types)32},
    {"CK-3200", (ci_sensor_types)32},
    {"CK3300", (ci_sensor_types)33},
    {"CK-3300", (ci_sensor_types)33},
    {"CK3400", (ci_sensor_types)34},
    {"CK-3400", (ci_sensor_types)34},
    {"CKS3500SOC", (ci_sensor_types)35},  // SOC, address step 2
    {"CKS3500", (ci_sensor_types)35},
    {"Bitmap", (ci_sensor_types)36},  // image and video file cameras
    {"AVI", (ci_sensor_types)36},
    {"CKS3700SOC", (ci_sensor_types)37},  // SOC, MCU style 16, address step 1
    {"CKS3700", (ci_sensor_types)37},
    {"CKS3800SOC", (ci_sensor_types)38},  // SOC, MCU style 16
    {"CKS3800", (ci_sensor_types)38},
    {"CKS3900SOC", (ci_sensor_types)39},  // SOC, MCU style 16
    {"CKS3900", (ci_sensor_types)39},
    {"CK4000", (ci_sensor_types)40},
    {"CK-4000", (ci_sensor_types)40},
    {"CK4100", (ci_sensor_types)41},
    {"CK-4100", (ci_sensor_types)41},
    {"CK4200", (ci_sensor_types)42},
    {"CK-4200", (ci_sensor_types)42},
    {"CK4300", (ci_sensor_types)43},
    {"CK-4300", (ci_sensor_types)43},
    {"CKS4400SOC", (ci_sensor_types)44},  // SOC, MCU style 44
    {"CKS4400", (ci_sensor_types)44},
    {"CKS4500SOC", (ci_sensor_types)45},  // SOC, MCU style 16, address step 1
    {"CKS4500", (ci_sensor_types)45},
    {"CKS4600SOC", (ci_sensor_types)46},  // SOC, MCU style 44
    {"CKS4600", (ci_sensor_types)46},
    {"CKS4700SOC", (ci_sensor_types)47},  // SOC, MCU style 16
    {"CKS4700", (ci_sensor_types)47},
    {"CK4800", (ci_sensor_types)48},
    {"CK-4800", (ci_sensor_types)48},
    {"CK4900", (ci_sensor_types)49},  // swizzled output
    {"CK-4900", (ci_sensor_types)49},
    {"CK5000", (ci_sensor_types)50},
    {"CK-5000", (ci_sensor_types)50},
    {"CK5100", (ci_sensor_types)51},
    {"CK-5100", (ci_sensor_types)51},
    {"CK5200", (ci_sensor_types)52},
    {"CK-5200", (ci_sensor_types)52},
    {"CK5300", (ci_sensor_types)53},  // one register per request
    {"CK-5300", (ci_sensor_types)53},
    {"CKS5400SOC", (ci_sensor_types)54},  // SOC, MCU style 54 (55 from version 2)
    {"CKS5400", (ci_sensor_types)54},
    {"CKS5500SOC", (ci_sensor_types)55},  // SOC, MCU style 55
    {"CKS5500", (ci_sensor_types)55},
    {"CKS5600SOC", (ci_sensor_types)56},  // SOC, MCU style 44
    {"CKS5600", (ci_sensor_types)56},
    {"CK5700", (ci_sensor_types)57},
    {"CK-5700", (ci_sensor_types)57},
    {"CK5800", (ci_sensor_types)58},
    {"CK-5800", (ci_sensor_types)58},
    {"CK5900", (ci_sensor_types)59},
    {"CK-5900", (ci_sensor_types)59},
    {"CK6000", (ci_sensor_types)60},
    {"CK-6000", (ci_sensor_types)60},
    {"CKS6100SOC", (ci_sensor_types)61},  // SOC, MCU style 55
    {"CKS6100", (ci_sensor_types)61},
    {"CKS6200SOC", (ci_sensor_types)62},  // SOC, MCU style 44
    {"CKS6200", (ci_sensor_types)62},
    {"CK6300", (ci_sensor_types)63},
    {"CK-6300", (ci_sensor_types)63},
    {"CK6400", (ci_sensor_types)64},
    {"CK-6400", (ci_sensor_types)64},
    {"CK6500", (ci_sensor_types)65},
    {"CK-6500", (ci_sensor_types)65},
    {"CKS6600SOC", (ci_sensor_types)66},  // SOC, MCU style 55
    {"CKS6600", (ci_sensor_types)66},
    {"CK6700", (ci_sensor_types)67},
    {"CK-6700", (ci_sensor_types)67},
    {"CKS6800SOC", (ci_sensor_types)68},  // SOC, MCU style 55
    {"CKS6800", (ci_sensor_types)68},
    {"CK6900", (ci_sensor_types)69},
    {"CK-6900", (ci_sensor_types)69},
    {"CK7000", (ci_sensor_types)70},
    {"CK-7000", (ci_sensor_types)70},
    {"CKS7100SOC", (ci_sensor_types)71},  // SOC, MCU style 71, far bus
    {"CKS7100", (ci_sensor_types)71},
    {"CKS7200SOC", (ci_sensor_types)72},  // SOC, MCU style 55
    {"CKS7200", (ci_sensor_types)72},
    {"CK7300", (ci_sensor_types)73},
    {"CK-7300", (ci_sensor_types)73},
    {"CKS7400SOC", (ci_sensor_types)74},  // SOC, MCU style 16
    {"CKS7400", (ci_sensor_types)74},
    {"CKS7500SOC", (ci_sensor_types)75},  // SOC, MCU style 55, pin 5
    {"CKS7500", (ci_sensor_types)75},
    {"CKS7600SOC", (ci_sensor_types)76},  // SOC, MCU style 55
    {"CKS7600", (ci_sensor_types)76},
    {"CK7700", (ci_sensor_types)77},
    {"CK-7700", (ci_sensor_types)77},
    {"CK7800", (ci_sensor_types)78},
    {"CK-7800", (ci_sensor_types)78},
    {"CKS7900SOC", (ci_sensor_types)79},  // SOC, MCU style 55
    {"CKS7900", (ci_sensor_types)79},
    {"CK8000", (ci_sensor_types)80},
    {"CK-8000", (ci_sensor_types)80},
    {"CK8100", (ci_sensor_types)81},
    {"CK-8100", (ci_sensor_types)81},
    {"CK8200", (ci_sensor_types)82},
    {"CK-8200", (ci_sensor_types)82},
    {"CK8300", (ci_sensor_types)83},
    {"CK-8300", (ci_sensor_types)83},
    {"CK8400", (ci_sensor_types)84},
    {"CK-8400", (ci_sensor_types)84},
    {"CK8500", (ci_sensor_types)85},
    {"CK-8500", (ci_sensor_types)85},
    {"CK8600", (ci_sensor_types)86},
    {"CK-8600", (ci_sensor_types)86},
    {"CK8700", (ci_sensor_types)87},
    {"CK-8700", (ci_sensor_types)87},
    {"CK8800", (ci_sensor_types)88},
    {"CK-8800", (ci_sensor_types)88},
    {"CK8900", (ci_sensor_types)89},
    {"CK-8900", (ci_sensor_types)89},
    {"CK9000", (ci_sensor_types)90},
    {"CK-9000", (ci_sensor_types)90},
    {"CK9100", (ci_sensor_types)91},
    {"CK-9100", (ci_sensor_types)91},
    {"CK9200", (ci_sensor_types)92},
    {"CK-9200", (ci_sensor_types)92},
    {"CK9300", (ci_sensor_types)93},
    {"CK-9300", (ci_sensor_types)93},
    {"CK9400", (ci_sensor_types)94},
    {"CK-9400", (ci_sensor_types)94},
    {"CKS9500SOC", (ci_sensor_types)95},  // SOC, MCU style 55, far batching, pins 3 and 7
    {"CKS9500", (ci_sensor_types)95},
    {"CK9600", (ci_sensor_types)96},
    {"CK-9600", (ci_sensor_types)96},
    {"CK9700", (ci_sensor_types)97},
    {"CK-9700", (ci_sensor_types)97},
    {"CK9800", (ci_sensor_types)98},
    {"CK-9800", (ci_sensor_types)98},
    {"CKS9900SOC", (ci_sensor_types)99},  // SOC, MCU style 55, far batching, pins 3 and 7
    {"CKS9900", (ci_sensor_types)99},
    {"CK10000", (ci_sensor_types)100},
    {"CK-10000", (ci_sensor_types)100},
    {"CK10100", (ci_sensor_types)101},
    {"CK-10100", (ci_sensor_types)101},
    {"CK10200", (ci_sensor_types)102},
    {"CK-10200", (ci_sensor_types)102},
    {"CKS10300SOC", (ci_sensor_types)103},  // SOC, MCU style 71, far bus
    {"CKS10300", (ci_sensor_types)103},
    {"CKS10400SOC", (ci_sensor_types)104},  // SOC, MCU style 55, pin 5
    {"CKS10400", (ci_sensor_types)104},
    {"CKA10500", (ci_sensor_types)105},  // array imager
    {"CKA-10500", (ci_sensor_types)105},
    {"CKS10600SOC", (ci_sensor_types)106},  // SOC, MCU style 16
    {"CKS10600", (ci_sensor_types)106},
    {"CK10700", (ci_sensor_types)107},
    {"CK-10700", (ci_sensor_types)107},
    {"CK10800", (ci_sensor_types)108},
    {"CK-10800", (ci_sensor_types)108},
    {"CK10900", (ci_sensor_types)109},
    {"CK-10900", (ci_sensor_types)109},
    {"CKS11000SOC", (ci_sensor_types)110},  // SOC, MCU style 71, far bus
    {"CKS11000", (ci_sensor_types)110},
    {"CKS11100SOC", (ci_sensor_types)111},  // SOC, MCU style 71, far bus
    {"CKS11100", (ci_sensor_types)111},
    {"CK11200", (ci_sensor_types)112},
    {"CK-11200", (ci_sensor_types)112},
    {"CK11300", (ci_sensor_types)113},
    {"CK-11300", (ci_sensor_types)113},
    {"CK11400", (ci_sensor_types)114},
    {"CK-11400", (ci_sensor_types)114},
    {"CKS11500SOC", (ci_sensor_types)115},  // SOC, MCU style 55, pin 5
    {"CKS11500", (ci_sensor_types)115},
};
const size_t g_numSensorTypeRows = sizeof g_sensorTypeRows / sizeof g_sensorTypeRows[0];

// Models that switch register pages through a selector register.
const page_select_row g_pageSelectRows[] = {
    {(ci_sensor_types)5, "ADDR_SPACE_SEL", "ADDR_SPACE_SEL"},
    {(ci_sensor_types)6, "ADDR_SPACE_SEL", "ADDR_SPACE_SEL"},
    {(ci_sensor_types)8, "ADDR_SPACE_SEL", "ADDR_SPACE_SEL"},
    {(ci_sensor_types)9, "ADDR_SPACE_SEL", "ADDR_SPACE_SEL"},
    {(ci_sensor_types)20, "ADDR_SPACE_SEL", "ADDR_SPACE_SEL"},
    {(ci_sensor_types)24, "ADDR_SPACE_SEL", "ADDR_SPACE_SEL"},
    {(ci_sensor_types)12, "2_WIRE_SERIAL_READ_INDEX", "2_WIRE_SERIAL_WRITE_INDEX"},
};
const size_t g_numPageSelectRows = sizeof g_pageSelectRows / sizeof g_pageSelectRows[0];
