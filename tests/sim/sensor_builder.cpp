#include "sensor_builder.h"

#include "sim_device.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

template <typename T>
T* zeroed(size_t count) {
    return static_cast<T*>(calloc(count ? count : 1, sizeof(T)));
}

void copyText(char* to, const std::string& from) {
    snprintf(to, CI_STRING_LEN, "%s", from.c_str());
}

char* heapText(const char* text) {
    return text ? strdup(text) : nullptr;
}

}  // namespace

SensorBuilder::Reg& SensorBuilder::last() {
    if (target().empty()) {
        throw std::logic_error("SensorBuilder: add a register first");
    }
    return target().back();
}

void SensorBuilder::fillReg(const Reg& from, ci_reg_data_t* to, ci_addr_space_t* table) const {
    copyText(to->unique_desc, from.name);
    copyText(to->reg_desc, from.name);
    to->reg_addr = from.addr;
    to->bitmask = from.mask;
    to->rw = 1;
    to->addr_span = from.span;
    to->volat = from.volat;
    to->datatype = CI_TYPE_HEX;
    if (table && table->num_vals > 0 && !from.noSpace) {
        to->addr_space = &table->addr_space_val[0];
        for (ci_s32 i = 0; i < table->num_vals; ++i) {
            if (!from.space.empty() && osal_stricmp(table->addr_space_val[i].ID, from.space.c_str()) == 0) {
                to->addr_space = &table->addr_space_val[i];
                to->reg_space = table->addr_space_val[i].val;
            }
        }
    }
    to->num_bitfields = (ci_s32)from.fields.size();
    if (!from.fields.empty()) {
        to->bitfield = zeroed<ci_bitfield_t>(from.fields.size());
        for (size_t k = 0; k < from.fields.size(); ++k) {
            copyText(to->bitfield[k].id, from.fields[k].id);
            to->bitfield[k].bitmask = from.fields[k].mask;
            to->bitfield[k].rw = 1;
            to->bitfield[k].datatype = CI_TYPE_UNSIGNED;
        }
    }
}

ci_sensor_t* SensorBuilder::build() const {
    ci_sensor_t* s = zeroed<ci_sensor_t>(1);
    copyText(s->sensorName, name_);
    snprintf(s->sensorFileName, CI_STRING_LEN, "%s.sdat", name_.c_str());
    s->sensorType = (ci_sensor_types)model_;
    s->sensorVersion = version_;
    s->reg_addr_size = addrBits_;
    s->reg_data_size = dataBits_;
    s->shipAddr = ship_;
    s->zoomFactor = 1;
    if (hasTable_) {
        s->addr_space = zeroed<ci_addr_space_t>(1);
        s->addr_space->reg_addr_read = readSel_;
        s->addr_space->reg_addr_write = writeSel_;
        s->addr_space->num_vals = (ci_s32)spaces_.size();
        s->addr_space->addr_space_val = spaces_.empty() ? nullptr : zeroed<ci_addr_space_val_t>(spaces_.size());
        for (size_t i = 0; i < spaces_.size(); ++i) {
            ci_addr_space_val_t& v = s->addr_space->addr_space_val[i];
            copyText(v.ID, spaces_[i].id);
            copyText(v.name, spaces_[i].id);
            v.val = spaces_[i].val;
            v.type = spaces_[i].type;
            v.far_base = spaces_[i].farBase;
            v.far_addr_size = spaces_[i].farAddrBits;
            v.far_data_size = spaces_[i].farDataBits;
        }
    }
    s->num_regs = (ci_s32)regs_.size();
    s->regs = regs_.empty() ? nullptr : zeroed<ci_reg_data_t>(regs_.size());
    for (size_t i = 0; i < regs_.size(); ++i) {
        fillReg(regs_[i], &s->regs[i], s->addr_space);
    }
    if (!longDescs_.empty()) {
        s->num_long_desc = (ci_s32)longDescs_.size();
        s->long_desc = zeroed<ci_long_desc_t>(longDescs_.size());
        for (size_t i = 0; i < longDescs_.size(); ++i) {
            s->long_desc[i].regName = heapText(longDescs_[i].reg);
            s->long_desc[i].bitfieldName = heapText(longDescs_[i].field);
            s->long_desc[i].longDesc = heapText(longDescs_[i].text);
        }
    }
    return s;
}

ci_chip_t* SensorBuilder::buildChips(ci_s32* count) const {
    *count = (ci_s32)chips_.size();
    if (chips_.empty()) {
        return nullptr;
    }
    ci_chip_t* chips = zeroed<ci_chip_t>(chips_.size());
    for (size_t c = 0; c < chips_.size(); ++c) {
        copyText(chips[c].chipName, chips_[c].name);
        chips[c].baseAddr = chips_[c].base;
        chips[c].serial_addr_size = 8;
        chips[c].serial_data_size = 16;
        chips[c].num_regs = (ci_s32)chips_[c].regs.size();
        chips[c].regs = zeroed<ci_reg_data_t>(chips_[c].regs.size());
        for (size_t i = 0; i < chips_[c].regs.size(); ++i) {
            fillReg(chips_[c].regs[i], &chips[c].regs[i], nullptr);
        }
    }
    return chips;
}

void SensorBuilder::freeChips(ci_chip_t* chips, ci_s32 count) {
    for (ci_s32 c = 0; chips && c < count; ++c) {
        for (ci_s32 i = 0; i < chips[c].num_regs; ++i) {
            free(chips[c].regs[i].bitfield);
        }
        free(chips[c].regs);
    }
    free(chips);
}

TestCamera::TestCamera(const SensorBuilder& builder, const std::function<void(ci_camera_t*)>& beforeCache)
    : camera_(_transport_new_camera(&plain_camera_ops(), nullptr)) {
    camera_->sensor = builder.build();
    camera_->chip = builder.buildChips(&camera_->num_chips);
    _init_global_context(camera_);
    if (beforeCache) {
        beforeCache(camera_);
    }
    _init_reg_cache(camera_);
}

TestCamera::~TestCamera() {
    SimDevice::forgetCamera(camera_);
    SensorBuilder::freeChips(camera_->chip, camera_->num_chips);
    camera_->chip = nullptr;
    camera_->num_chips = 0;
    _transport_free_camera(&plain_camera_ops(), camera_);
}
