// Built-in sensor-type table.  Each model has two spellings; the comments
// name the behaviour the library attaches to the code.  "CKS...SOC" models
// are systems-on-chip (sensors with an on-chip microcontroller).  Codes not
// commented have no special behaviour; they name models so that files can
// carry them.
#define CK_SOURCE "sensor_data"
#include "sensor/sensor_types.h"

// One model: its code and its two spellings, each a row of its own.
#define MODEL(code, name, otherName) {name, (ci_sensor_types)(code)}, {otherName, (ci_sensor_types)(code)}

const sensor_type_row g_sensorTypeRows[] = {
    MODEL(1, "CK0100", "CK-0100"),  // no pixel offset on the first board
    MODEL(2, "CK0200", "CK-0200"),
    MODEL(3, "CK0300", "CK-0300"),  // companion-board check
    MODEL(4, "CK0400", "CK-0400"),
    MODEL(5, "CKS0500SOC", "CKS0500"),   // SOC, page select ADDR_SPACE_SEL
    MODEL(6, "CKS0600SOC", "CKS0600"),   // SOC, page select ADDR_SPACE_SEL
    MODEL(7, "CK0700", "CK-0700"),       // board set-up
    MODEL(8, "CKS0800SOC", "CKS0800"),   // SOC, page select ADDR_SPACE_SEL
    MODEL(9, "CK0900", "CK-0900"),       // page select ADDR_SPACE_SEL
    MODEL(10, "CKS1000SOC", "CKS1000"),  // SOC
    MODEL(11, "CK1100", "CK-1100"),
    MODEL(12, "CK1200", "CK-1200"),      // page select by index registers
    MODEL(13, "CK1300", "CK-1300"),      // swizzled output
    MODEL(14, "CKS1400SOC", "CKS1400"),  // SOC
    MODEL(15, "CK1500", "CK-1500"),
    MODEL(16, "CKS1600SOC", "CKS1600"),  // SOC, MCU style 16
    MODEL(17, "CK1700", "CK-1700"),
    MODEL(18, "CK1800", "CK-1800"),
    MODEL(19, "CKY1900", "CKY-1900"),    // SOC when YCbCr; MCU style from its registers
    MODEL(20, "CKS2000SOC", "CKS2000"),  // SOC, page select ADDR_SPACE_SEL
    MODEL(21, "CK2100", "CK-2100"),
    MODEL(22, "CK2200", "CK-2200"),      // board set-up
    MODEL(23, "CKS2300SOC", "CKS2300"),  // SOC, MCU style 16
    MODEL(24, "CKS2400SOC", "CKS2400"),  // SOC, page select ADDR_SPACE_SEL
    MODEL(25, "CK2500", "CK-2500"),
    MODEL(26, "CKS2600SOC", "CKS2600"),  // SOC
    MODEL(27, "CK2700", "CK-2700"),
    MODEL(28, "CK2800", "CK-2800"),      // one register per request
    MODEL(29, "CKS2900SOC", "CKS2900"),  // SOC
    MODEL(30, "CK3000", "CK-3000"),
    MODEL(31, "CK3100", "CK-3100"),
    MODEL(32, "CK3200", "CK-3200"),
    MODEL(33, "CK3300", "CK-3300"),
    MODEL(34, "CK3400", "CK-3400"),
    MODEL(35, "CKS3500SOC", "CKS3500"),  // SOC, address step 2
    MODEL(36, "Bitmap", "AVI"),          // image and video file cameras
    MODEL(37, "CKS3700SOC", "CKS3700"),  // SOC, MCU style 16, address step 1
    MODEL(38, "CKS3800SOC", "CKS3800"),  // SOC, MCU style 16
    MODEL(39, "CKS3900SOC", "CKS3900"),  // SOC, MCU style 16
    MODEL(40, "CK4000", "CK-4000"),
    MODEL(41, "CK4100", "CK-4100"),
    MODEL(42, "CK4200", "CK-4200"),
    MODEL(43, "CK4300", "CK-4300"),
    MODEL(44, "CKS4400SOC", "CKS4400"),  // SOC, MCU style 44
    MODEL(45, "CKS4500SOC", "CKS4500"),  // SOC, MCU style 16, address step 1
    MODEL(46, "CKS4600SOC", "CKS4600"),  // SOC, MCU style 44
    MODEL(47, "CKS4700SOC", "CKS4700"),  // SOC, MCU style 16
    MODEL(48, "CK4800", "CK-4800"),
    MODEL(49, "CK4900", "CK-4900"),  // swizzled output
    MODEL(50, "CK5000", "CK-5000"),
    MODEL(51, "CK5100", "CK-5100"),
    MODEL(52, "CK5200", "CK-5200"),
    MODEL(53, "CK5300", "CK-5300"),      // one register per request
    MODEL(54, "CKS5400SOC", "CKS5400"),  // SOC, MCU style 54 (55 from version 2)
    MODEL(55, "CKS5500SOC", "CKS5500"),  // SOC, MCU style 55
    MODEL(56, "CKS5600SOC", "CKS5600"),  // SOC, MCU style 44
    MODEL(57, "CK5700", "CK-5700"),
    MODEL(58, "CK5800", "CK-5800"),
    MODEL(59, "CK5900", "CK-5900"),
    MODEL(60, "CK6000", "CK-6000"),
    MODEL(61, "CKS6100SOC", "CKS6100"),  // SOC, MCU style 55
    MODEL(62, "CKS6200SOC", "CKS6200"),  // SOC, MCU style 44
    MODEL(63, "CK6300", "CK-6300"),
    MODEL(64, "CK6400", "CK-6400"),
    MODEL(65, "CK6500", "CK-6500"),
    MODEL(66, "CKS6600SOC", "CKS6600"),  // SOC, MCU style 55
    MODEL(67, "CK6700", "CK-6700"),
    MODEL(68, "CKS6800SOC", "CKS6800"),  // SOC, MCU style 55
    MODEL(69, "CK6900", "CK-6900"),
    MODEL(70, "CK7000", "CK-7000"),
    MODEL(71, "CKS7100SOC", "CKS7100"),  // SOC, MCU style 71, far bus
    MODEL(72, "CKS7200SOC", "CKS7200"),  // SOC, MCU style 55
    MODEL(73, "CK7300", "CK-7300"),
    MODEL(74, "CKS7400SOC", "CKS7400"),  // SOC, MCU style 16
    MODEL(75, "CKS7500SOC", "CKS7500"),  // SOC, MCU style 55, pin 5
    MODEL(76, "CKS7600SOC", "CKS7600"),  // SOC, MCU style 55
    MODEL(77, "CK7700", "CK-7700"),
    MODEL(78, "CK7800", "CK-7800"),
    MODEL(79, "CKS7900SOC", "CKS7900"),  // SOC, MCU style 55
    MODEL(80, "CK8000", "CK-8000"),
    MODEL(81, "CK8100", "CK-8100"),
    MODEL(82, "CK8200", "CK-8200"),
    MODEL(83, "CK8300", "CK-8300"),
    MODEL(84, "CK8400", "CK-8400"),
    MODEL(85, "CK8500", "CK-8500"),
    MODEL(86, "CK8600", "CK-8600"),
    MODEL(87, "CK8700", "CK-8700"),
    MODEL(88, "CK8800", "CK-8800"),
    MODEL(89, "CK8900", "CK-8900"),
    MODEL(90, "CK9000", "CK-9000"),
    MODEL(91, "CK9100", "CK-9100"),
    MODEL(92, "CK9200", "CK-9200"),
    MODEL(93, "CK9300", "CK-9300"),
    MODEL(94, "CK9400", "CK-9400"),
    MODEL(95, "CKS9500SOC", "CKS9500"),  // SOC, MCU style 55, far batching, pins 3 and 7
    MODEL(96, "CK9600", "CK-9600"),
    MODEL(97, "CK9700", "CK-9700"),
    MODEL(98, "CK9800", "CK-9800"),
    MODEL(99, "CKS9900SOC", "CKS9900"),  // SOC, MCU style 55, far batching, pins 3 and 7
    MODEL(100, "CK10000", "CK-10000"),
    MODEL(101, "CK10100", "CK-10100"),
    MODEL(102, "CK10200", "CK-10200"),
    MODEL(103, "CKS10300SOC", "CKS10300"),  // SOC, MCU style 71, far bus
    MODEL(104, "CKS10400SOC", "CKS10400"),  // SOC, MCU style 55, pin 5
    MODEL(105, "CKA10500", "CKA-10500"),    // array imager
    MODEL(106, "CKS10600SOC", "CKS10600"),  // SOC, MCU style 16
    MODEL(107, "CK10700", "CK-10700"),
    MODEL(108, "CK10800", "CK-10800"),
    MODEL(109, "CK10900", "CK-10900"),
    MODEL(110, "CKS11000SOC", "CKS11000"),  // SOC, MCU style 71, far bus
    MODEL(111, "CKS11100SOC", "CKS11100"),  // SOC, MCU style 71, far bus
    MODEL(112, "CK11200", "CK-11200"),
    MODEL(113, "CK11300", "CK-11300"),
    MODEL(114, "CK11400", "CK-11400"),
    MODEL(115, "CKS11500SOC", "CKS11500"),  // SOC, MCU style 55, pin 5
};
#undef MODEL
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
