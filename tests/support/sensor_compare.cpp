#include "sensor_compare.h"

#include <string.h>

namespace {

class Diff {
public:
    explicit Diff(std::vector<std::string>* out) : out_(out) {}
    template <typename T>
    void num(const std::string& where, T a, T b) {
        if (a != b) out_->push_back(where + ": " + std::to_string(static_cast<long long>(a)) + " vs " +
                                    std::to_string(static_cast<long long>(b)));
    }
    void text(const std::string& where, const char* a, const char* b) {
        const char* x = a ? a : "(null)";
        const char* y = b ? b : "(null)";
        if (strcmp(x, y) != 0 || (a == nullptr) != (b == nullptr))
            out_->push_back(where + ": \"" + x + "\" vs \"" + y + "\"");
    }
    void values(const std::string& where, const ci_u32* a, ci_s32 na, const ci_u32* b, ci_s32 nb, ci_s32 cap) {
        num(where + ".count", na, nb);
        for (ci_s32 i = 0; i < na && i < nb && i < cap; ++i) num(where + "[" + std::to_string(i) + "]", a[i], b[i]);
    }

private:
    std::vector<std::string>* out_;
};

#define NUM(f) d.num(where + "." #f, a.f, b.f)
#define TEXT(f) d.text(where + "." #f, a.f, b.f)

// The device register a part-number or serial match reads, and its values.
template <typename Match>
void serialRead(Diff& d, const std::string& w, const Match& x, const Match& y) {
    d.num(w + ".baseAddr", x.baseAddr, y.baseAddr);
    d.num(w + ".regAddr", x.regAddr, y.regAddr);
    d.num(w + ".addrSize", x.addrSize, y.addrSize);
    d.num(w + ".dataSize", x.dataSize, y.dataSize);
    d.num(w + ".mask", x.mask, y.mask);
    d.values(w + ".value", x.value, x.numValues, y.value, y.numValues, CI_MAX_VALUES);
}

void reg_data(Diff& d, const std::string& where, const _regData& a, const _regData& b) {
    TEXT(regName);
    NUM(mask);
    d.values(where + ".value", a.value, a.numValues, b.value, b.numValues, CI_MAX_VALUES);
}

void term(Diff& d, const std::string& where, const _probe_term_t& a, const _probe_term_t& b) {
    TEXT(extra_desc_reg);
    NUM(extra_desc_mask);
    d.values(where + ".extra_desc_val", a.extra_desc_val, a.num_extra_desc_val, b.extra_desc_val,
             b.num_extra_desc_val, CI_MAX_VALUES);
    reg_data(d, where + ".version_reg_resetif", a.version_reg_resetif, b.version_reg_resetif);
    NUM(num_version_reg_write);
    for (ci_s32 i = 0; i < a.num_version_reg_write && i < b.num_version_reg_write && i < CI_MAX_VERSION_REG_WRITES;
         ++i) {
        const std::string w = where + ".version_reg_write[" + std::to_string(i) + "]";
        const _versionRegWrite& x = a.version_reg_write[i];
        const _versionRegWrite& y = b.version_reg_write[i];
        d.text(w + ".regName", x.regName, y.regName);
        d.num(w + ".mask", x.mask, y.mask);
        d.num(w + ".timeout", x.timeout, y.timeout);
        d.values(w + ".value", x.value, x.numValues, y.value, y.numValues, CI_MAX_VALUES);
    }
    NUM(num_version_reg_read);
    for (ci_s32 i = 0; i < a.num_version_reg_read && i < b.num_version_reg_read && i < CI_MAX_VERSION_REG_READS; ++i)
        reg_data(d, where + ".version_reg_read[" + std::to_string(i) + "]", a.version_reg_read[i],
                 b.version_reg_read[i]);
    NUM(num_serial_match);
    for (ci_s32 i = 0; i < a.num_serial_match && i < b.num_serial_match && i < CI_MAX_SERIAL_MATCHES; ++i) {
        const std::string w = where + ".extra_serial_match[" + std::to_string(i) + "]";
        const _extraSerialMatch& x = a.extra_serial_match[i];
        const _extraSerialMatch& y = b.extra_serial_match[i];
        serialRead(d, w, x, y);
    }
}

void context(Diff& d, const _common_context_t& a, const _common_context_t& b) {
    const std::string where = "ctx";
    NUM(bitsPerClock);
    NUM(rxBitDepth);
    NUM(clocksPerPixel);
    NUM(pixclk_polarity);
    NUM(hidy);
    d.values("ctx.shipAddr", a.shipAddr, a.num_shipAddrs, b.shipAddr, b.num_shipAddrs, CI_MAX_SHIP_ADDRS);
    NUM(num_partNumbers);
    for (ci_s32 i = 0; i < a.num_partNumbers && i < b.num_partNumbers && i < CI_MAX_PART_NUMBERS; ++i) {
        const std::string w = "ctx.partNumber[" + std::to_string(i) + "]";
        const _partNumberData& x = a.partNumber[i];
        const _partNumberData& y = b.partNumber[i];
        d.text(w + ".partNumber", x.partNumber, y.partNumber);
        d.text(w + ".regName", x.regName, y.regName);
        serialRead(d, w, x, y);
    }
    NUM(num_probe_term);
    for (ci_s32 t = 0; t < a.num_probe_term && t < b.num_probe_term && t < CI_MAX_PROBE_TERMS; ++t)
        term(d, "ctx.probe_term[" + std::to_string(t) + "]", a.probe_term[t], b.probe_term[t]);
}

void spaces(Diff& d, const ci_addr_space_t* ta, const ci_addr_space_t* tb) {
    d.num("addr_space present", ta != nullptr, tb != nullptr);
    if (!ta || !tb) return;
    const ci_addr_space_t& a = *ta;
    const ci_addr_space_t& b = *tb;
    const std::string where = "addr_space";
    NUM(reg_addr_read);
    NUM(reg_addr_write);
    NUM(far1_reg_addr);
    NUM(far2_reg_addr);
    NUM(num_vals);
    for (ci_s32 i = 0; i < a.num_vals && i < b.num_vals; ++i) {
        const std::string where = "addr_space[" + std::to_string(i) + "]";
        const ci_addr_space_val_t& x = ta->addr_space_val[i];
        const ci_addr_space_val_t& y = tb->addr_space_val[i];
        d.text(where + ".ID", x.ID, y.ID);
        d.text(where + ".name", x.name, y.name);
        d.num(where + ".val", x.val, y.val);
        d.num(where + ".type", x.type, y.type);
        d.num(where + ".far_base", x.far_base, y.far_base);
        d.num(where + ".far_addr_size", x.far_addr_size, y.far_addr_size);
        d.num(where + ".far_data_size", x.far_data_size, y.far_data_size);
    }
}

long space_index(const ci_sensor_t* s, const ci_addr_space_val_t* v) {
    if (!v || !s->addr_space) return -1;
    return static_cast<long>(v - s->addr_space->addr_space_val);
}

void bitfield(Diff& d, const std::string& where, const ci_bitfield_t& a, const ci_bitfield_t& b) {
    TEXT(id);
    NUM(bitmask);
    NUM(rw);
    TEXT(desc);
    TEXT(detail);
    NUM(datatype);
    NUM(minimum);
    NUM(maximum);
    NUM(confidential);
}

void reg(Diff& d, const std::string& where, SensorView va, SensorView vb, const ci_reg_data_t& a,
         const ci_reg_data_t& b) {
    TEXT(unique_desc);
    NUM(reg_addr);
    NUM(reg_space);
    NUM(bitmask);
    NUM(default_val);
    NUM(rw);
    TEXT(reg_desc);
    TEXT(detail);
    NUM(addr_span);
    d.num(where + ".addr_space", space_index(va.sensor, a.addr_space), space_index(vb.sensor, b.addr_space));
    NUM(datatype);
    NUM(minimum);
    NUM(maximum);
    NUM(volat);
    NUM(confidential);
    NUM(num_bitfields);
    for (ci_s32 i = 0; i < a.num_bitfields && i < b.num_bitfields; ++i)
        bitfield(d, where + ".bitfield[" + std::to_string(i) + "]", a.bitfield[i], b.bitfield[i]);
}

}  // namespace

std::vector<std::string> sensor_differences(SensorView va, SensorView vb) {
    std::vector<std::string> out;
    Diff d(&out);
    const ci_sensor_t& a = *va.sensor;
    const ci_sensor_t& b = *vb.sensor;
    const std::string where = "sensor";
    TEXT(sensorName);
    NUM(sensorType);
    NUM(fullWidth);
    NUM(fullHeight);
    NUM(width);
    NUM(height);
    NUM(zoomFactor);
    NUM(pixelBytes);
    NUM(pixelBits);
    NUM(bufferSize);
    NUM(imageType);
    NUM(shipAddr);
    NUM(reg_addr_size);
    NUM(reg_data_size);
    NUM(sensorVersion);
    TEXT(partNumber);
    TEXT(versionName);
    d.num("far1_sensor present", a.far1_sensor != nullptr, b.far1_sensor != nullptr);
    d.num("far2_sensor present", a.far2_sensor != nullptr, b.far2_sensor != nullptr);
    NUM(num_long_desc);
    for (ci_s32 i = 0; i < a.num_long_desc && i < b.num_long_desc; ++i) {
        const std::string w = "long_desc[" + std::to_string(i) + "]";
        d.text(w + ".regName", a.long_desc[i].regName, b.long_desc[i].regName);
        d.text(w + ".bitfieldName", a.long_desc[i].bitfieldName, b.long_desc[i].bitfieldName);
        d.text(w + ".longDesc", a.long_desc[i].longDesc, b.long_desc[i].longDesc);
    }
    spaces(d, a.addr_space, b.addr_space);
    NUM(num_regs);
    for (ci_s32 i = 0; i < a.num_regs && i < b.num_regs; ++i)
        reg(d, "regs[" + std::to_string(i) + "]", va, vb, a.regs[i], b.regs[i]);
    context(d, *va.ctx, *vb.ctx);
    return out;
}
