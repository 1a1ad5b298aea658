// Python binding of camkit: cameras, registers, modes and frames.
#include <memory>
#include <string>

#include "camkit_py.h"

namespace camkit_py {
namespace {

// ---------------------------------------------------------------- errors

py::object gErrorFor;  // camkit._errors._error_for: the class of a code

[[noreturn]] void raise_error(ci_error_code code, const std::string& detail) {
    py::object type = gErrorFor((int)code);
    py::object error = type(detail.empty() ? std::string(ci_getErrorMessage(code)) : detail);
    error.attr("symbol") = ci_getErrorSymbol(code);
    error.attr("code") = (int)code;
    error.attr("message") = ci_getErrorMessage(code);
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

void check(ci_error_code code, const std::string& what) {
    if (code != CI_CAMERA_SUCCESS && code != CI_PARSE_SUCCESS && code != CI_INI_SUCCESS) raise_error(code, what);
}

// ---------------------------------------------------------------- cameras

// The cameras of one open(); closing it ends every Camera taken from it.
struct CameraSet {
    std::vector<ci_camera_t*> cameras;
    bool open = false;
    void close() {
        if (!open) return;
        ci_CloseCameras2(cameras.data(), (ci_s32)cameras.size());
        open = false;
    }
    ~CameraSet() { close(); }
};

const std::pair<const char*, ci_u32> kTransports[] = {
    {"usb", CI_TRANSPORT_USB},       {"plugin", CI_TRANSPORT_PLUGIN}, {"image", CI_TRANSPORT_IMAGE_FILE},
    {"video", CI_TRANSPORT_VIDEO_FILE}, {"null", CI_TRANSPORT_NULL}, {"all", 0xFFFFu},
};

ci_u32 transport_mask(const py::object& transports) {
    if (py::isinstance<py::int_>(transports)) return transports.cast<ci_u32>();
    std::vector<std::string> names;
    if (py::isinstance<py::str>(transports)) {
        names.push_back(transports.cast<std::string>());
    } else {
        names = transports.cast<std::vector<std::string>>();
    }
    ci_u32 mask = 0;
    for (const std::string& name : names) {
        bool known = false;
        for (const auto& t : kTransports) {
            if (name == t.first) mask |= t.second, known = true;
        }
        if (!known) throw py::value_error("unknown transport '" + name + "'");
    }
    return mask;
}

class Camera {
public:
    Camera(std::shared_ptr<CameraSet> set, ci_camera_t* camera) : set_(std::move(set)), camera_(camera) {}
    ci_camera_t* get() const {
        if (!set_->open) raise_error(CI_CAMERA_ERROR, "the camera was closed");
        return camera_;
    }
    const ci_sensor_t& sensor() const {
        ci_camera_t* c = get();
        if (c->sensor == nullptr) raise_error(CI_SENSOR_NOT_INITIALIZED, "the camera has no sensor");
        return *c->sensor;
    }

private:
    std::shared_ptr<CameraSet> set_;
    ci_camera_t* camera_;
};

std::shared_ptr<CameraSet> open_cameras(const py::object& transports, const std::string& sensorData,
                                        const std::string& plugin) {
    auto set = std::make_shared<CameraSet>();
    set->cameras.assign(64, nullptr);
    ci_s32 n = 0;
    const ci_u32 mask = transport_mask(transports);
    ci_error_code code;
    {
        py::gil_scoped_release release;
        code = ci_OpenCameras2(set->cameras.data(), &n, sensorData.c_str(), mask, plugin.c_str());
    }
    set->cameras.resize((size_t)std::max(n, 0));
    set->open = n > 0;
    if (n <= 0) raise_error(code != CI_CAMERA_SUCCESS ? code : CI_CAMERA_ERROR, "no camera found");
    return set;
}

// ---------------------------------------------------------------- registers

// A register, bitfield or address named from Python.
struct RegKey {
    std::string reg, field;
    bool byAddress = false;
    ci_u32 address = 0;
};

RegKey key_of(const py::object& key) {
    RegKey k;
    if (py::isinstance<py::int_>(key)) {
        k.byAddress = true;
        k.address = key.cast<ci_u32>();
        return k;
    }
    const std::string text = key.cast<std::string>();
    const size_t dot = text.find('.');
    k.reg = text.substr(0, dot);
    if (dot != std::string::npos) k.field = text.substr(dot + 1);
    return k;
}

ci_data_types type_of(ci_camera_t* camera, const RegKey& k, ci_u32* mask) {
    if (!k.field.empty()) {
        ci_bitfield_t* f = ci_FindBitfield(camera, k.reg.c_str(), k.field.c_str());
        if (f == nullptr) raise_error(CI_CAMERA_ERROR, "no bitfield " + k.reg + "." + k.field);
        ci_u32 m = f->bitmask;
        while (m != 0 && !(m & 1)) m >>= 1;
        *mask = m;
        return f->datatype;
    }
    ci_reg_data_t* r = ci_FindRegister(camera, k.reg.c_str());
    if (r == nullptr) raise_error(CI_CAMERA_ERROR, "no register " + k.reg);
    *mask = r->bitmask != 0 ? r->bitmask : 0xFFFFFFFFu;
    return r->datatype;
}

ci_u32 read_raw(ci_camera_t* camera, const RegKey& k) {
    ci_u32 value = 0;
    ci_error_code code;
    if (k.byAddress) {
        ci_u32 space = 0, writeSpace = 0;
        ci_CurrentAddrSpace(camera, &space, &writeSpace);
        py::gil_scoped_release release;
        code = ci_ReadSensorRegAddr(camera, CI_REG_ADDR, space, k.address, 0, &value);
    } else {
        if (!ci_ExistsRegister(camera, k.reg.c_str())) raise_error(CI_CAMERA_ERROR, "no register " + k.reg);
        py::gil_scoped_release release;
        code = ci_ReadSensorRegStr(camera, k.reg.c_str(), k.field.c_str(), &value);
    }
    check(code, "reading a register");
    return value;
}

void write_raw(ci_camera_t* camera, const RegKey& k, ci_u32 value) {
    ci_error_code code;
    if (k.byAddress) {
        ci_u32 space = 0, readSpace = 0;
        ci_CurrentAddrSpace(camera, &readSpace, &space);
        py::gil_scoped_release release;
        code = ci_WriteSensorRegAddr(camera, CI_REG_ADDR, space, k.address, 0, value);
    } else {
        if (!ci_ExistsRegister(camera, k.reg.c_str())) raise_error(CI_CAMERA_ERROR, "no register " + k.reg);
        ci_u32 mask = 0;
        type_of(camera, k, &mask);
        if ((value & ~mask) != 0) throw py::value_error("the value does not fit " + k.reg + (k.field.empty() ? "" : "." + k.field));
        py::gil_scoped_release release;
        code = ci_WriteSensorRegStr(camera, k.reg.c_str(), k.field.c_str(), value);
    }
    check(code, "writing a register");
}

bool is_integral(ci_data_types t) { return t == CI_TYPE_HEX || t == CI_TYPE_UNSIGNED || t == CI_TYPE_SIGNED; }

// Registers by name, NAME.FIELD or address; values by data type (raw with .raw).
class Registers {
public:
    Registers(Camera camera, bool raw, ci_s32 type) : camera_(std::move(camera)), raw_(raw), type_(type) {}
    py::object get(const py::object& key) const {
        ci_camera_t* c = camera_.get();
        const RegKey k = key_of(key);
        const ci_u32 value = read_raw(c, k);
        if (raw_ || k.byAddress) return py::int_(value);
        ci_u32 mask = 0;
        const ci_data_types t = type_of(c, k, &mask);
        if (t == CI_TYPE_SIGNED) return py::int_((long long)ci_Int2Double(t, value, mask));
        if (is_integral(t)) return py::int_(value);
        return py::float_(ci_Int2Double(t, value, mask));
    }
    void set(const py::object& key, const py::object& value) const {
        ci_camera_t* c = camera_.get();
        const RegKey k = key_of(key);
        if (raw_ || k.byAddress || py::isinstance<py::int_>(value)) {
            const long long v = value.cast<long long>();
            ci_u32 mask = 0xFFFFFFFFu;
            if (!k.byAddress && !raw_) {
                const ci_data_types t = type_of(c, k, &mask);
                if (!is_integral(t) || (t == CI_TYPE_SIGNED && v < 0)) {
                    write_raw(c, k, ci_Double2Int(t, (double)v, mask));
                    return;
                }
            }
            if (v < 0 || v > 0xFFFFFFFFll) throw py::value_error("a raw register value is 0 to 2**32-1");
            write_raw(c, k, (ci_u32)v);
            return;
        }
        ci_u32 mask = 0;
        const ci_data_types t = type_of(c, k, &mask);
        write_raw(c, k, ci_Double2Int(t, value.cast<double>(), mask));
    }
    std::vector<std::string> find(const std::string& pattern) const {
        ci_camera_t* c = camera_.get();
        std::vector<std::string> names;
        ci_s32 position = 0;
        while (ci_reg_data_t* r = ci_FindRegisterWildcard(c, pattern.c_str(), &position)) {
            if (type_ < 0 || (r->addr_space != nullptr && (ci_s32)r->addr_space->type == type_)) names.push_back(r->unique_desc);
        }
        return names;
    }
    bool contains(const std::string& name) const { return ci_ExistsRegister(camera_.get(), name.c_str()) != 0; }
    Registers raw() const { return Registers(camera_, true, type_); }

private:
    Camera camera_;
    bool raw_;
    ci_s32 type_;
};

// ---------------------------------------------------------------- modes

const std::pair<const char*, ci_modes> kModes[] = {
    {"ERROR_CHECK_MODE", CI_ERROR_CHECK_MODE},
    {"REG_ADDR_SIZE", CI_REG_ADDR_SIZE},
    {"REG_DATA_SIZE", CI_REG_DATA_SIZE},
    {"USE_REG_CACHE", CI_USE_REG_CACHE},
    {"SW_UNSWIZZLE_MODE", CI_SW_UNSWIZZLE_MODE},
    {"UNSWIZZLE_MODE", CI_UNSWIZZLE_MODE},
    {"SW_UNSWIZZLE_DEFAULT", CI_SW_UNSWIZZLE_DEFAULT},
    {"DATA_IS_SWIZZLED", CI_DATA_IS_SWIZZLED},
    {"ERROR_LOG_TYPE", CI_ERROR_LOG_TYPE},
    {"SPOOF_SIZE", CI_SPOOF_SIZE},
    {"SPOOF_SUPPORTED", CI_SPOOF_SUPPORTED},
    {"HW_BUFFERING", CI_HW_BUFFERING},
    {"OUTPUT_CLOCK_FREQ", CI_OUTPUT_CLOCK_FREQ},
    {"ALLOW_FAR_ACCESS", CI_ALLOW_FAR_ACCESS},
    {"PIXCLK_POLARITY", CI_PIXCLK_POLARITY},
    {"SENSOR_POWER", CI_SENSOR_POWER},
    {"SENSOR_RESET", CI_SENSOR_RESET},
    {"SHIP_SPEED", CI_SHIP_SPEED},
    {"DIRECT_VAR_ACCESS", CI_DIRECT_VAR_ACCESS},
    {"XDMA_LOGICAL", CI_XDMA_LOGICAL},
    {"XDMA_PHY_A15", CI_XDMA_PHY_A15},
    {"XDMA_PHY_REGION", CI_XDMA_PHY_REGION},
    {"HW_FRAME_COUNT", CI_HW_FRAME_COUNT},
    {"HIDY", CI_HIDY},
    {"COMPRESSED_LENGTH", CI_COMPRESSED_LENGTH},
    {"SENSOR_SHUTDOWN", CI_SENSOR_SHUTDOWN},
    {"XDMA_ADV_BASE", CI_XDMA_ADV_BASE},
    {"PIXCLK_FREQ", CI_PIXCLK_FREQ},
    {"SIMUL_REG_FRAMEGRAB", CI_SIMUL_REG_FRAMEGRAB},
    {"DETECT_FRAME_SIZE", CI_DETECT_FRAME_SIZE},
    {"BITS_PER_CLOCK", CI_BITS_PER_CLOCK},
    {"CLOCKS_PER_PIXEL", CI_CLOCKS_PER_PIXEL},
    {"RX_TYPE", CI_RX_TYPE},
    {"RX_LANES", CI_RX_LANES},
    {"RX_BIT_DEPTH", CI_RX_BIT_DEPTH},
    {"RX_MODE", CI_RX_MODE},
    {"RX_CLASS", CI_RX_CLASS},
    {"RX_SYNC_CODE", CI_RX_SYNC_CODE},
    {"RX_EMBEDDED_DATA", CI_RX_EMBEDDED_DATA},
    {"RX_VIRTUAL_CHANNEL", CI_RX_VIRTUAL_CHANNEL},
    {"RX_MSB_FIRST", CI_RX_MSB_FIRST},
    {"HDMI_MODE", CI_HDMI_MODE},
    {"EIS", CI_EIS},
    {"MEM_CAPTURE", CI_MEM_CAPTURE},
    {"MEM_CAPTURE_PROGRESS", CI_MEM_CAPTURE_PROGRESS},
    {"MEM_CAPTURE_MB", CI_MEM_CAPTURE_MB},
    {"STEREO_MODE", CI_STEREO_MODE},
    {"HW_FRAME_COUNT_MASK", CI_HW_FRAME_COUNT_MASK},
    {"GRABFRAME_TIMEOUT", CI_GRABFRAME_TIMEOUT},
    {"HW_FRAME_TIME", CI_HW_FRAME_TIME},
    {"LSB_ALIGNED", CI_LSB_ALIGNED},
    {"NACK_RETRIES", CI_NACK_RETRIES},
    {"RX_CCIR656", CI_RX_CCIR656},
    {"RX_INTERLACED", CI_RX_INTERLACED},
    {"MEM_CAPTURE_CYCLE", CI_MEM_CAPTURE_CYCLE},
    {"TRIGGER_HIGH_WIDTH", CI_TRIGGER_HIGH_WIDTH},
    {"TRIGGER_LOW_WIDTH", CI_TRIGGER_LOW_WIDTH},
    {"TRIGGER", CI_TRIGGER},
    {"OUTPUT_PORT", CI_OUTPUT_PORT},
    {"PIXEL_PACK", CI_PIXEL_PACK},
    {"NUM_MODES", CI_NUM_MODES},
};

ci_modes mode_of(const std::string& name) {
    std::string upper = name;
    for (char& ch : upper) ch = (char)std::toupper((unsigned char)ch);
    for (const auto& m : kModes) {
        if (upper == m.first) return m.second;
    }
    throw py::key_error("no camera mode " + name);
}

class Modes {
public:
    explicit Modes(Camera camera) : camera_(std::move(camera)) {}
    ci_u32 get(const std::string& name) const {
        ci_u32 value = 0;
        check(ci_getMode(camera_.get(), mode_of(name), &value), "reading mode " + name);
        return value;
    }
    void set(const std::string& name, ci_u32 value) const {
        check(ci_setMode(camera_.get(), mode_of(name), value), "setting mode " + name);
    }
    std::vector<std::string> names() const {
        std::vector<std::string> out;
        for (const auto& m : kModes) out.push_back(m.first);
        return out;
    }

private:
    Camera camera_;
};

// ---------------------------------------------------------------- frames

// A JPEG frame is as long as the transport says it is (the buffer is sized
// for the worst case); the whole buffer when it keeps no frame data.
py::array jpeg_bytes(ci_camera_t* camera, const py::array& frame) {
    ci_frame_data_t d{};
    if (ci_getFrameData(camera, &d) != CI_CAMERA_SUCCESS || d.imageBytesReturned == 0 ||
        d.imageBytesReturned >= (ci_u32)frame.nbytes()) {
        return frame;
    }
    return frame[py::slice(0, (py::ssize_t)d.imageBytesReturned, 1)].cast<py::array>();  // a view, no copy
}

py::array grab(const Camera& camera) {
    ci_camera_t* c = camera.get();
    const ci_sensor_t& s = camera.sensor();
    py::array frame = make_frame_array(frame_shape(s.imageType, s.width, s.height, s.pixelBytes));
    void* data = frame.mutable_data();
    const ci_u32 bytes = (ci_u32)frame.nbytes();
    ci_error_code code;
    {
        py::gil_scoped_release release;
        code = ci_grabFrame(c, static_cast<ci_u8*>(data), bytes);
    }
    check(code, "grabbing a frame");
    return ci_IsJpegImageType(s.imageType) ? jpeg_bytes(c, frame) : frame;
}

py::object frame_info(const Camera& camera) {
    ci_frame_data_t d{};
    const ci_error_code code = ci_getFrameData(camera.get(), &d);
    if (code == CI_CAMERA_NOT_SUPPORTED) return py::none();  // the transport keeps none
    check(code, "reading the frame data");
    py::dict info;
    info["frame_number"] = d.frameNumber;
    info["bytes_requested"] = d.bytesRequested;
    info["bytes_returned"] = d.bytesReturned;
    info["image_bytes_returned"] = d.imageBytesReturned;
    info["frame_time"] = d.frameTime;
    info["lines"] = d.frameLines;
    info["line_size"] = d.lineSize;
    info["status"] = d.frameStatus;
    return info;
}

py::dict sensor_info(const Camera& camera) {
    const ci_sensor_t& s = camera.sensor();
    ci_string type = "";
    ci_GetImageTypeStr(s.imageType, type);
    py::dict info;
    info["name"] = std::string(s.sensorName);
    info["part_number"] = std::string(s.partNumber);
    info["version"] = s.sensorVersion;
    info["width"] = s.width;
    info["height"] = s.height;
    info["image_type"] = std::string(type);
    info["pixel_bits"] = s.pixelBits;
    info["pixel_bytes"] = s.pixelBytes;
    info["file"] = std::string(s.sensorFileName);
    std::vector<std::string> names;
    for (ci_s32 i = 0; i < s.num_regs; i++) names.push_back(s.regs[i].unique_desc);
    info["registers"] = names;
    return info;
}

// ---------------------------------------------------------------- presets

struct PresetLine {
    std::string section, line, outcome, error, message;
    int depth;
};

const char* outcome_name(ci_ini_outcome outcome) {
    switch (outcome) {
        case CI_INI_LINE_DONE: return "ok";
        case CI_INI_LINE_FAILED: return "error";
        case CI_INI_LINE_SKIPPED: return "skipped";
        default: return "not supported";
    }
}

void collect_line(void* user, ci_camera_t*, const char* section, ci_s32 depth, const char* line,
                  ci_ini_outcome outcome, ci_error_code result, const char* message) {
    const bool failed = outcome == CI_INI_LINE_FAILED;
    static_cast<std::vector<PresetLine>*>(user)->push_back(PresetLine{
        section, line, outcome_name(outcome), failed ? ci_getErrorSymbol(result) : "", failed ? message : "",
        (int)depth});
}

// Runs a preset with the GIL released (the observer only fills a vector) and
// returns each line as a dict.
py::list run_preset(const Camera& camera, const std::string& name, const py::object& file) {
    ci_camera_t* c = camera.get();
    const std::string path = file.is_none() ? std::string() : py::str(file).cast<std::string>();
    std::vector<PresetLine> lines;
    ci_error_code code;
    {
        py::gil_scoped_release release;
        ci_SetIniLineObserver(collect_line, &lines);
        code = ci_LoadINIPreset(c, path.empty() ? nullptr : path.c_str(), name.c_str());
        ci_SetIniLineObserver(nullptr, nullptr);
    }
    if (code != CI_INI_SUCCESS) raise_error(code, "cannot run the preset '" + name + "'");
    py::list out;
    for (const PresetLine& l : lines) {
        py::dict d;
        d["section"] = l.section;
        d["depth"] = l.depth;
        d["line"] = l.line;
        d["outcome"] = l.outcome;
        d["error"] = l.error;
        d["message"] = l.message;
        out.append(d);
    }
    return out;
}

}  // namespace
}  // namespace camkit_py

PYBIND11_MODULE(_camkit, m) {
    using namespace camkit_py;
    m.doc() = "camkit: cameras, sensor registers and frames";
    gErrorFor = py::module_::import("camkit._errors").attr("_error_for");

    py::class_<CameraSet, std::shared_ptr<CameraSet>>(m, "CameraSet")
        .def("__len__", [](const CameraSet& s) { return s.open ? s.cameras.size() : 0; })
        .def("__getitem__", [](std::shared_ptr<CameraSet> s, size_t i) {
            if (!s->open) raise_error(CI_CAMERA_ERROR, "the cameras were closed");
            if (i >= s->cameras.size()) throw py::index_error("no such camera");
            return Camera(s, s->cameras[i]);
        })
        .def("close", &CameraSet::close, "Closes every camera of the set.")
        .def_property_readonly("closed", [](const CameraSet& s) { return !s.open; });

    py::class_<Registers>(m, "Registers")
        .def("__getitem__", &Registers::get)
        .def("__setitem__", &Registers::set)
        .def("__contains__", &Registers::contains)
        .def("find", &Registers::find, py::arg("pattern"), "Names matching a wildcard pattern (* and ?).")
        .def_property_readonly("raw", &Registers::raw, "The same registers as raw integers.");

    py::class_<Modes>(m, "Modes")
        .def("__getitem__", &Modes::get)
        .def("__setitem__", &Modes::set)
        .def("names", &Modes::names);

    py::class_<Camera>(m, "Camera")
        .def_property_readonly("sensor", &sensor_info, "The sensor: name, part number, size, image type, registers.")
        .def_property_readonly("regs", [](const Camera& c) { c.get(); return Registers(c, false, -1); })
        .def_property_readonly("vars", [](const Camera& c) { c.get(); return Registers(c, false, CI_MCU_ADDR); })
        .def_property_readonly("sfrs", [](const Camera& c) { c.get(); return Registers(c, false, CI_SFR_ADDR); })
        .def_property_readonly("mode", [](const Camera& c) { c.get(); return Modes(c); })
        .def_property_readonly("transport", [](const Camera& c) { return std::string(c.get()->transportName); })
        .def_property_readonly("product", [](const Camera& c) { return std::string(c.get()->productName); })
        .def_property_readonly("_address", [](const Camera& c) { return reinterpret_cast<std::uintptr_t>(c.get()); },
                               "The camera record's address, for calling the C interface (ctypes) directly.")
        .def("start", [](const Camera& c) { check(ci_startTransport(c.get()), "starting the transport"); })
        .def("stop", [](const Camera& c) { check(ci_stopTransport(c.get()), "stopping the transport"); })
        .def("grab", &grab, "Grabs a frame into a new NumPy array shaped by the image type (a JPEG frame: its bytes).")
        .def("preset", &run_preset, py::arg("name"), py::arg("file") = py::none(),
             "Runs a preset (of file, or of the sensor's default preset file) and returns each line as a dict:\n"
             "section, depth, line, outcome ('ok', 'error', 'skipped', 'not supported'), error, message.")
        .def_property_readonly("frame_info", &frame_info, "Data of the last frame (None when the transport keeps none).");

    m.def("_open", &open_cameras, py::arg("transports"), py::arg("sensor_data"), py::arg("plugin"));
    m.def("_frame_from_bytes", &frame_from_bytes);
    m.def("set_log", [](const std::string& file, int level) { ci_OpenErrorLog(level, file.c_str()); },
          py::arg("file"), py::arg("level") = CI_LOG_SEVERE | CI_LOG_ERROR, "Writes the library's log to file.");
    m.def("close_log", &ci_CloseErrorLog);
    m.def("version", &ci_GetVersionString);
}
