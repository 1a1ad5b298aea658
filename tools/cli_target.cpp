#include "cli_target.h"

namespace cli {
namespace {

const ci_u32 kReadOnly = 0;
const ci_u32 kWriteOnly = 2;

// Splits NAME.FIELD at the first '.', unless the whole text names a register.
void split_name(ci_camera_t* camera, const std::string& text, std::string& reg, std::string& field) {
    const size_t dot = text.find('.');
    if (dot == std::string::npos || ci_ExistsRegister(camera, text.c_str())) {
        reg = text;
        field.clear();
    } else {
        reg = text.substr(0, dot);
        field = text.substr(dot + 1);
    }
}

}  // namespace

bool resolve_target(ci_camera_t* camera, const std::string& text, Target& target, std::string& error,
                    const BusSizes& sizes) {
    if (is_address_text(text)) return resolve_address(camera, text, sizes, target, error);
    std::string regName, fieldName;
    split_name(camera, text, regName, fieldName);
    if (regName.empty() || !ci_ExistsRegister(camera, regName.c_str())) {
        error = "no register " + regName;
        return false;
    }
    target = Target();
    target.reg = ci_FindRegister(camera, regName.c_str());
    target.label = target.reg->unique_desc;
    if (fieldName.empty()) {
        target.kind = register_kind(target.reg, camera->sensor);
        return true;
    }
    if (!ci_ExistsBitfield(camera, regName.c_str(), fieldName.c_str())) {
        error = "no bitfield " + target.label + "." + fieldName;
        return false;
    }
    target.field = ci_FindBitfield(camera, regName.c_str(), fieldName.c_str());
    target.label += std::string(".") + target.field->id;
    if (target.field->bitmask == 0) {
        error = "bitfield " + target.label + " has no bits";
        return false;
    }
    target.kind = bitfield_kind(target.field);
    return true;
}

bool target_readable(const Target& target) {
    if (target.form != TargetForm::Named) return true;  // raw access: the device decides
    return target.reg->rw != kWriteOnly && !(target.field && target.field->rw == kWriteOnly);
}

bool target_writable(const Target& target) {
    if (target.form != TargetForm::Named) return true;
    return target.reg->rw != kReadOnly && !(target.field && target.field->rw == kReadOnly);
}

ci_error_code read_target(ci_camera_t* camera, const Target& target, ci_u32& value) {
    if (target.form != TargetForm::Named) {
        ci_u32 raw = 0;
        const ci_error_code code = read_address(camera, target, raw);
        value = field_from_register(target.kind, raw);
        return code;
    }
    const char* field = target.field ? target.field->id : "";
    ci_u32 raw = 0;
    const ci_error_code code = ci_ReadSensorRegStr(camera, target.reg->unique_desc, field, &raw);
    // A bitfield comes back already shifted down to bit 0.
    value = target.field ? raw & target.kind.mask : field_from_register(target.kind, raw);
    return code;
}

ci_error_code write_target(ci_camera_t* camera, const Target& target, ci_u32 value) {
    if (target.form != TargetForm::Named) {
        ci_u32 raw = 0;
        if (target.mask != 0) {  // the other bits of the register stay as they are
            const ci_error_code code = read_address(camera, target, raw);
            if (code != CI_CAMERA_SUCCESS) return code;
            raw &= ~target.mask;
        }
        return write_address(camera, target, raw | field_to_register(target.kind, value));
    }
    if (target.field) {
        return ci_WriteSensorRegStr(camera, target.reg->unique_desc, target.field->id, value & target.kind.mask);
    }
    return ci_WriteSensorRegStr(camera, target.reg->unique_desc, "", field_to_register(target.kind, value));
}

}  // namespace cli
