// The Python binding's internals shared by its source files.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "camkit.h"

namespace py = pybind11;

namespace camkit_py {

struct FrameShape {
    std::vector<py::ssize_t> shape;
    int itemBytes = 1;
};

// The array layout of a frame: height x width for raw and Bayer data (8-,
// 16- or 32-bit elements by pixel bytes), height x width x channels for
// colour types, a flat byte array for JPEG.
FrameShape frame_shape(ci_image_types type, ci_u32 width, ci_u32 height, ci_u32 pixelBytes);
py::array make_frame_array(const FrameShape& shape);
// A frame array filled from bytes (the layout check without a camera).
py::array frame_from_bytes(py::bytes data, int type, ci_u32 width, ci_u32 height, ci_u32 pixelBytes);

}  // namespace camkit_py
