#pragma once
// Sensor descriptions built in memory, laid out the way the sensor-data
// readers leave them (zeroed heap records the library frees), and test
// cameras that carry them:
//   TestCamera cam(SensorBuilder().selectors(0x3000, 0x3002).space("CORE", 0)
//                      .reg("GAIN", 0x3012).field("ANALOG", 0x007F));
// Registers of a sensor with an address-space table live in its first space
// unless placed with in() or detached with noSpace().
#include <functional>
#include <string>
#include <vector>

#include "sdat_camera.h"

class SensorBuilder {
public:
    // Sensor-wide settings.
    SensorBuilder& name(const char* sensorName) { return set(name_, std::string(sensorName)); }
    SensorBuilder& model(ci_u32 sensorType) { return set(model_, sensorType); }
    SensorBuilder& version(ci_u32 sensorVersion) { return set(version_, sensorVersion); }
    SensorBuilder& widths(ci_u32 addrBits, ci_u32 dataBits) {
        return set(addrBits_, addrBits).set(dataBits_, dataBits);
    }
    SensorBuilder& shipAddr(ci_u32 base) { return set(ship_, base); }

    // Address-space table: selector addresses (0 = none), then the values.
    SensorBuilder& selectors(ci_u32 readAddr, ci_u32 writeAddr) {
        return set(hasTable_, true).set(readSel_, readAddr).set(writeSel_, writeAddr);
    }
    SensorBuilder& space(const char* id, ci_u32 val, ci_addr_type type = CI_REG_ADDR, ci_u32 farBase = 0,
                         ci_u32 farAddrBits = 8, ci_u32 farDataBits = 8) {
        spaces_.push_back(Space{id, val, type, farBase, farAddrBits, farDataBits});
        return set(hasTable_, true);
    }

    // Registers, in file order; the modifiers apply to the last one added.
    SensorBuilder& reg(const char* regName, ci_u32 addr, ci_u32 mask = 0xFFFF) {
        target().push_back(Reg{regName, addr, mask, 1, 0, "", false, {}});
        return *this;
    }
    SensorBuilder& field(const char* fieldName, ci_u32 mask) {
        last().fields.push_back(Field{fieldName, mask});
        return *this;
    }
    SensorBuilder& in(const char* spaceId) { return set(last().space, std::string(spaceId)); }
    SensorBuilder& noSpace() { return set(last().noSpace, true); }
    SensorBuilder& span(ci_u32 words) { return set(last().span, words); }
    SensorBuilder& volatileReg() { return set(last().volat, 1u); }

    // A board chip; registers added after it belong to it.
    SensorBuilder& chip(const char* chipName, ci_u32 baseAddr = 0) {
        chips_.push_back(Chip{chipName, baseAddr, {}});
        return set(inChip_, true);
    }

    // Long descriptions (null texts stay absent).
    SensorBuilder& longDesc(const char* regName, const char* fieldName, const char* text) {
        longDescs_.push_back(LongDesc{regName, fieldName, text});
        return *this;
    }

    // The sensor record, heap-allocated; free with ci_DestructSensor + free.
    ci_sensor_t* build() const;
    // The chip array (count in *count), heap-allocated; free with freeChips.
    ci_chip_t* buildChips(ci_s32* count) const;
    static void freeChips(ci_chip_t* chips, ci_s32 count);

private:
    struct Field {
        std::string id;
        ci_u32 mask;
    };
    struct Space {
        std::string id;
        ci_u32 val;
        ci_addr_type type;
        ci_u32 farBase, farAddrBits, farDataBits;
    };
    struct Reg {
        std::string name;
        ci_u32 addr, mask, span = 1, volat = 0;
        std::string space;
        bool noSpace = false;
        std::vector<Field> fields;
    };
    struct Chip {
        std::string name;
        ci_u32 base;
        std::vector<Reg> regs;
    };
    struct LongDesc {
        const char *reg, *field, *text;
    };

    template <typename T>
    SensorBuilder& set(T& member, T value) {
        member = value;
        return *this;
    }
    std::vector<Reg>& target() { return inChip_ ? chips_.back().regs : regs_; }
    Reg& last();
    void fillReg(const Reg& from, ci_reg_data_t* to, ci_addr_space_t* table) const;

    std::string name_ = "TESTSENSOR";
    ci_u32 model_ = 0, version_ = 1, addrBits_ = 16, dataBits_ = 16, ship_ = 0x20;
    bool hasTable_ = false;
    ci_u32 readSel_ = 0, writeSel_ = 0;
    std::vector<Space> spaces_;
    std::vector<Reg> regs_;
    std::vector<Chip> chips_;
    bool inChip_ = false;
    std::vector<LongDesc> longDescs_;
};

// A camera record with the contexts and register lock of an opened camera,
// carrying the built sensor and its register cache; no transport attached.
class TestCamera {
public:
    // beforeCache runs before the register cache is set up (whose
    // invalidation already reads the MCU access registers).
    explicit TestCamera(const SensorBuilder& builder, const std::function<void(ci_camera_t*)>& beforeCache = {});
    ~TestCamera();
    TestCamera(const TestCamera&) = delete;
    TestCamera& operator=(const TestCamera&) = delete;

    ci_camera_t* get() const { return camera_; }
    operator ci_camera_t*() const { return camera_; }
    _common_context_t* context() const { return _ctx(camera_); }
    ci_sensor_t* sensor() const { return camera_->sensor; }
    ci_reg_data_t* reg(const char* name) const { return _registerLookup(camera_, -1, name); }
    // The register's cached value, or -1 when its entry is not valid.
    ci_s64 cached(const char* name) const {
        ci_u32 v = 0;
        return ci_GetRegCacheValueReg(camera_, reg(name), &v) == 0 ? (ci_s64)v : -1;
    }
    // The calling thread's cache setting (0 device, 1 cache, 2 cache only).
    void useCache(ci_u32 mode) { ci_setMode(camera_, CI_USE_REG_CACHE, mode); }

private:
    ci_camera_t* camera_;
};
