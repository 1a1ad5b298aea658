// Registers of the camera's sensor: its ship address and sizes, its address
// space selected first, and runs broken up where the board or the sensor
// cannot take them in one transfer.
#define CK_SOURCE "transport/usb_regs"
#include "transport/usb_private.h"

namespace {

// Sensor types whose runs always go register by register.
constexpr ci_u32 kSingleAccessSensorA = 28;
constexpr ci_u32 kSingleAccessSensorB = 53;

// Puts the sensor's address and data sizes in the thread's view and
// restores the caller's at the end of the scope.
class SensorSizes {
public:
    explicit SensorSizes(ci_camera_t* camera) : tl_(_thread_local_context(camera)) {
        addr_ = tl_->reg_addr_size;
        data_ = tl_->reg_data_size;
        tl_->reg_addr_size = (ci_s32)camera->sensor->reg_addr_size;
        tl_->reg_data_size = (ci_s32)camera->sensor->reg_data_size;
    }
    ~SensorSizes() {
        tl_->reg_addr_size = addr_;
        tl_->reg_data_size = data_;
    }
    SensorSizes(const SensorSizes&) = delete;
    SensorSizes& operator=(const SensorSizes&) = delete;

private:
    _tl_context_t* tl_;
    ci_s32 addr_;
    ci_s32 data_;
};

ci_error_code readSensorRegister(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 addr, ci_u32* val) {
    const ci_sensor_t* sensor = camera->sensor;
    _updateAddrSpace(camera, addrSpace, 1);
    switch (sensor->reg_addr_size) {
        case 8:
            return USB_Bulk_ReadRegister(camera, sensor->shipAddr, addr, val);
        case 16:
            return USB_Bulk_ReadRegister16(camera, sensor->shipAddr, addr, val);
        default:
            return USB_Bulk_GenericRead(camera, sensor->shipAddr, sensor->reg_addr_size, addr, sensor->reg_data_size, 1,
                                        val);
    }
}

ci_error_code writeSensorRegister(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 addr, ci_u32 val) {
    const ci_sensor_t* sensor = camera->sensor;
    _updateAddrSpace(camera, addrSpace, 0);
    switch (sensor->reg_addr_size) {
        case 8:
            return USB_Bulk_WriteRegister(camera, sensor->shipAddr, addr, val);
        case 16:
            return USB_Bulk_WriteRegister16(camera, sensor->shipAddr, addr, val);
        default:
            return USB_Bulk_GenericWrite(camera, sensor->shipAddr, sensor->reg_addr_size, addr, sensor->reg_data_size,
                                         1, &val);
    }
}

}  // namespace

ci_s32 break_up_sensor_reg_requests(ci_camera_t* camera, ci_u32, ci_u32 numRegs) {
    if (numRegs == 1) return 1;
    const ci_u32 type = camera->sensor != nullptr ? (ci_u32)camera->sensor->sensorType : 0;
    if (type == kSingleAccessSensorA || type == kSingleAccessSensorB) return 1;
    return !_usb_is_new_board(camera) && _usb_fw(camera) <= 9;
}

ci_error_code USB_Bulk_ReadSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr, ci_u32 numRegs,
                                           ci_u32* vals) {
    if (camera == nullptr || camera->sensor == nullptr) return CI_SENSOR_NOT_INITIALIZED;
    if (vals == nullptr) return numRegs == 0 ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
    SensorSizes sizes(camera);
    if (!break_up_sensor_reg_requests(camera, startAddr, numRegs)) {
        _updateAddrSpace(camera, addrSpace, 1);
        return USB_Bulk_ReadRegisters(camera, camera->sensor->shipAddr, startAddr, numRegs, vals);
    }
    const ci_u32 increment = ci_GetAddrIncrement(camera, CI_REG_ADDR);
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 i = 0; i < numRegs; i++) rc = readSensorRegister(camera, addrSpace, startAddr + i * increment, &vals[i]);
    return rc;
}

ci_error_code USB_Bulk_WriteSensorRegisters(ci_camera_t* camera, ci_u32 addrSpace, ci_u32 startAddr, ci_u32 numRegs,
                                            ci_u32* vals) {
    if (camera == nullptr || camera->sensor == nullptr) return CI_SENSOR_NOT_INITIALIZED;
    if (vals == nullptr) return numRegs == 0 ? CI_CAMERA_SUCCESS : CI_CAMERA_ERROR;
    SensorSizes sizes(camera);
    if (!break_up_sensor_reg_requests(camera, startAddr, numRegs)) {
        _updateAddrSpace(camera, addrSpace, 0);
        return USB_Bulk_WriteRegisters(camera, camera->sensor->shipAddr, startAddr, numRegs, vals);
    }
    const ci_u32 increment = ci_GetAddrIncrement(camera, CI_REG_ADDR);
    ci_error_code rc = CI_CAMERA_SUCCESS;
    for (ci_u32 i = 0; i < numRegs; i++) rc = writeSensorRegister(camera, addrSpace, startAddr + i * increment, vals[i]);
    return rc;
}
