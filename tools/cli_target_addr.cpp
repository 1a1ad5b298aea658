// Registers by address, as engineers type them: 0x3012 (the current address
// space), CORE:0x3012 (a named space), 0x20:0x3000 (serial address and
// register of a device no description names) and NAME&MASK for the bits of
// a mask.
#include <strings.h>

#include <cctype>

#include "cli_args.h"
#include "cli_target.h"

namespace cli {
namespace {

// Sets the thread's register sizes for one raw bus access and restores them.
class ScopedBusSizes {
public:
    ScopedBusSizes(ci_camera_t* camera, const BusSizes& sizes) : camera_(camera) {
        ci_getMode(camera, CI_REG_ADDR_SIZE, &addr_);
        ci_getMode(camera, CI_REG_DATA_SIZE, &data_);
        if (sizes.addrBits != 0) ci_setMode(camera, CI_REG_ADDR_SIZE, sizes.addrBits);
        if (sizes.dataBits != 0) ci_setMode(camera, CI_REG_DATA_SIZE, sizes.dataBits);
    }
    ~ScopedBusSizes() {
        ci_setMode(camera_, CI_REG_ADDR_SIZE, addr_);
        ci_setMode(camera_, CI_REG_DATA_SIZE, data_);
    }
    ScopedBusSizes(const ScopedBusSizes&) = delete;
    ScopedBusSizes& operator=(const ScopedBusSizes&) = delete;

private:
    ci_camera_t* camera_;
    ci_u32 addr_ = 0;
    ci_u32 data_ = 0;
};

const ci_addr_space_val_t* space_named(const ci_sensor_t* sensor, const std::string& name) {
    const ci_addr_space_t* table = sensor != nullptr ? sensor->addr_space : nullptr;
    for (ci_s32 i = 0; table != nullptr && i < table->num_vals; i++) {
        if (strcasecmp(table->addr_space_val[i].ID, name.c_str()) == 0) return &table->addr_space_val[i];
    }
    return nullptr;
}

ci_u32 data_bits(const ci_camera_t* camera, const Target& t) {
    if (t.form == TargetForm::BusAddress && t.sizes.dataBits != 0) return t.sizes.dataBits;
    return camera->sensor != nullptr && camera->sensor->reg_data_size != 0 ? camera->sensor->reg_data_size : 16;
}

// The value kind: the mask's bits shifted down, or the whole raw register.
ValueKind kind_of(const ci_camera_t* camera, const Target& t) {
    ValueKind kind;
    const ci_u32 bits = data_bits(camera, t);
    if (t.mask == 0) {
        kind.mask = bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
        return kind;
    }
    kind.type = CI_TYPE_UNSIGNED;
    while (!(t.mask & (1u << kind.shift))) kind.shift++;
    kind.mask = t.mask >> kind.shift;
    return kind;
}

bool split_mask(std::string& text, ci_u32& mask, std::string& error) {
    const size_t amp = text.find('&');
    if (amp == std::string::npos) return true;
    if (!parse_u32(text.substr(amp + 1), mask) || mask == 0) {
        error = "'" + text.substr(amp + 1) + "' is not a mask";
        return false;
    }
    text.resize(amp);
    return true;
}

// "SPACE" or "SHIP" before the colon.
bool resolve_prefix(ci_camera_t* camera, const std::string& prefix, Target& t, std::string& error) {
    if (parse_u32(prefix, t.ship)) {
        t.form = TargetForm::BusAddress;
        return true;
    }
    const ci_addr_space_val_t* space = space_named(camera->sensor, prefix);
    if (space == nullptr) {
        error = "no address space " + prefix;
        return false;
    }
    t.space = space->val;
    t.type = space->type;
    return true;
}

// The address space the sensor's page selector shows now; before the first
// access (nothing selected yet) its first space.
ci_u32 current_space(ci_camera_t* camera) {
    ci_u32 readSpace = 0, writeSpace = 0;
    ci_CurrentAddrSpace(camera, &readSpace, &writeSpace);
    const ci_addr_space_t* table = camera->sensor != nullptr ? camera->sensor->addr_space : nullptr;
    if (table == nullptr || table->num_vals == 0) return readSpace;
    for (ci_s32 i = 0; i < table->num_vals; i++) {
        if (table->addr_space_val[i].val == readSpace) return readSpace;
    }
    return table->addr_space_val[0].val;
}

}  // namespace

bool parse_bus_sizes(const std::string& text, BusSizes& sizes, std::string& error) {
    const size_t slash = text.find('/');
    const bool ok = slash != std::string::npos && parse_u32(text.substr(0, slash), sizes.addrBits) &&
                    parse_u32(text.substr(slash + 1), sizes.dataBits);
    auto valid = [](ci_u32 bits) { return bits == 8 || bits == 16 || bits == 32; };
    if (ok && valid(sizes.addrBits) && valid(sizes.dataBits)) return true;
    error = "--size takes ADDRESS/DATA bits, each 8, 16 or 32 (as in 8/16)";
    return false;
}

bool is_address_text(const std::string& text) {
    if (!text.empty() && std::isdigit((unsigned char)text[0])) return true;
    const size_t colon = text.find(':');
    return colon != std::string::npos && colon + 1 < text.size() && std::isdigit((unsigned char)text[colon + 1]);
}

bool resolve_address(ci_camera_t* camera, const std::string& text, const BusSizes& sizes, Target& target,
                     std::string& error) {
    target = Target();
    target.form = TargetForm::SpaceAddress;
    target.sizes = sizes;
    target.label = text;
    std::string rest = text;
    if (!split_mask(rest, target.mask, error)) return false;
    const size_t colon = rest.find(':');
    if (colon != std::string::npos) {
        if (!resolve_prefix(camera, rest.substr(0, colon), target, error)) return false;
        rest = rest.substr(colon + 1);
    } else {
        target.space = current_space(camera);
    }
    if (!parse_u32(rest, target.addr)) {
        error = "'" + rest + "' is not a register address";
        return false;
    }
    if (target.form == TargetForm::SpaceAddress && camera->sensor != nullptr) {
        target.reg = ci_FindRegisterAddr(camera, target.addr, target.space, target.type);
        if (target.reg != nullptr) target.label += std::string(" (") + target.reg->unique_desc + ")";
    }
    target.kind = kind_of(camera, target);
    return true;
}

ci_error_code read_address(ci_camera_t* camera, const Target& t, ci_u32& raw) {
    if (t.form == TargetForm::BusAddress) {
        ScopedBusSizes sizes(camera, t.sizes);
        return ci_readRegister(camera, t.ship, t.addr, &raw);
    }
    return ci_ReadSensorRegAddr(camera, t.type, t.space, t.addr, 0, &raw);
}

ci_error_code write_address(ci_camera_t* camera, const Target& t, ci_u32 raw) {
    if (t.form == TargetForm::BusAddress) {
        ScopedBusSizes sizes(camera, t.sizes);
        return ci_writeRegister(camera, t.ship, t.addr, raw);
    }
    return ci_WriteSensorRegAddr(camera, t.type, t.space, t.addr, 0, raw);
}

}  // namespace cli
