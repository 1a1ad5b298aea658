// Freeing a sensor description.  Registers point into the address-space
// table, so the table goes last.  Register tables read into an arena go
// back with it (regmap_arena.h).
#define CK_SOURCE "sensor_data"
#include <stdlib.h>

#include "core/camkit_private.h"
#include "sensor/regmap_arena.h"

namespace {

void free_long_descriptions(ci_sensor_t* sensor) {
    for (ci_s32 i = 0; i < sensor->num_long_desc && sensor->long_desc; ++i) {
        free(sensor->long_desc[i].regName);
        free(sensor->long_desc[i].bitfieldName);
        free(sensor->long_desc[i].longDesc);
    }
    free(sensor->long_desc);
    sensor->long_desc = nullptr;
    sensor->num_long_desc = 0;
}

void free_registers(ci_sensor_t* sensor) {
    if (regmap_arena_free(sensor->regs, sensor->num_regs)) {
        sensor->regs = nullptr;
        sensor->num_regs = 0;
        return;
    }
    for (ci_s32 i = 0; i < sensor->num_regs && sensor->regs; ++i) {
        free(sensor->regs[i].bitfield);
        sensor->regs[i].bitfield = nullptr;
    }
    free(sensor->regs);
    sensor->regs = nullptr;
    sensor->num_regs = 0;
}

void free_address_spaces(ci_sensor_t* sensor) {
    if (!sensor->addr_space) return;
    free(sensor->addr_space->addr_space_val);
    free(sensor->addr_space);
    sensor->addr_space = nullptr;
}

}  // namespace

void _freeSensorRegs(ci_sensor_t* sensor) {
    if (!sensor) return;
    _regIndexDrop(sensor);
    free_long_descriptions(sensor);
    free_registers(sensor);
    free_address_spaces(sensor);
}

void ci_DestructSensor(ci_sensor_t* sensor) {
    if (!sensor) return;
    _freeSensorRegs(sensor);
    free(sensor->far1_sensor);
    free(sensor->far2_sensor);
    sensor->far1_sensor = nullptr;
    sensor->far2_sensor = nullptr;
}

void _freeSensor(ci_camera_t* camera) {
    if (!camera) return;
    ci_DestructSensor(camera->sensor);
    free(camera->sensor);
    camera->sensor = nullptr;
    _free_reg_cache(camera);
}
