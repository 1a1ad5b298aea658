// Frames as NumPy arrays: the shape and element type follow the image type.
#include "camkit_py.h"

namespace camkit_py {

FrameShape frame_shape(ci_image_types type, ci_u32 width, ci_u32 height, ci_u32 pixelBytes) {
    FrameShape s;
    const py::ssize_t h = height, w = width;
    switch (type) {
        case CI_RGB24: s.shape = {h, w, 3}; s.itemBytes = 1; return s;
        case CI_RGB32:
        case CI_PNG: s.shape = {h, w, 4}; s.itemBytes = 1; return s;
        case CI_RGB48: s.shape = {h, w, 3}; s.itemBytes = 2; return s;
        case CI_YCBCR: s.shape = {h, w, 2}; s.itemBytes = 1; return s;
        default: break;
    }
    if (ci_IsJpegImageType(type)) {
        s.shape = {h * w * (py::ssize_t)std::max<ci_u32>(pixelBytes, 1)};
        s.itemBytes = 1;
        return s;
    }
    s.itemBytes = pixelBytes <= 1 ? 1 : pixelBytes <= 2 ? 2 : 4;
    s.shape = {h, w};
    return s;
}

py::array make_frame_array(const FrameShape& shape) {
    switch (shape.itemBytes) {
        case 1: return py::array_t<uint8_t>(shape.shape);
        case 2: return py::array_t<uint16_t>(shape.shape);
        default: return py::array_t<uint32_t>(shape.shape);
    }
}

py::array frame_from_bytes(py::bytes data, int type, ci_u32 width, ci_u32 height, ci_u32 pixelBytes) {
    const std::string bytes = data;
    py::array out = make_frame_array(frame_shape((ci_image_types)type, width, height, pixelBytes));
    if ((size_t)out.nbytes() != bytes.size()) throw py::value_error("the bytes do not fill a frame of that layout");
    std::memcpy(out.mutable_data(), bytes.data(), bytes.size());
    return out;
}

}  // namespace camkit_py
