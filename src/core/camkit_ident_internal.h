// Helpers shared by the sensor-identification files.  Not part of the
// cross-module interface.
#pragma once

#include "core/camkit_private.h"

// The field of value under mask: (value & mask) shifted down to bit 0.  An
// empty mask selects no bits, so its field is 0.
ci_u32 _identField(ci_u32 value, ci_u32 mask);

// A count read from a sensor data file, limited to 0..capacity.
ci_s32 _identCount(ci_s32 count, ci_s32 capacity);

// Does a value read from the chip version register show the documented
// reset value (compared under the register's mask)?
bool _identChipVersionFits(const ci_reg_data_t* chipVersion, ci_u32 value);

// Is value among the first count entries of values (count clamped to the
// capacity of the identification records)?
bool _identInList(ci_u32 value, const ci_u32* values, ci_s32 count);

// Reads a sensor register by record, keeping the caller's address-space
// selection: the selection recorded before the read is put back afterwards.
ci_error_code _identReadReg(ci_camera_t* camera, ci_reg_data_t* reg, ci_u32* value);

// Reads one register of any device on the serial bus with the given address
// and data widths.  The two width modes are left at these values.
ci_error_code _identReadBus(ci_camera_t* camera, ci_u32 base, ci_u32 regAddr, ci_u32 addrSize, ci_u32 dataSize,
                            ci_u32* value);

// Pulses the sensor's reset line (asserted, then released).
void _identPulseReset(ci_camera_t* camera);

// Has another thread asked the running sensor search to stop?
bool _identCancelled(void);

// Is the camera's sensor refused because a companion board answers on the
// bus?  (Also arms the board when it asks for it.)
bool _is_companion_board(ci_camera_t* camera);
