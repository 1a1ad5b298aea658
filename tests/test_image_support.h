#pragma once
// Shared by the image-type and frame post-processing tests: a camera with a
// context and an empty sensor record whose clocking the test sets.
#include <gtest/gtest.h>

#include <cstdlib>

#include "bus_sim.h"
#include "core/camkit_private.h"

class ImageTest : public ::testing::Test {
protected:
    ImageTest() {
        camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        camera->sensor->zoomFactor = 1;
    }

    ci_sensor_t* sensor() { return camera->sensor; }
    _common_context_t* ctx() { return camera.ctx(); }

    // Clocking, image type and frame size of the sensor; pixel bits and
    // bytes follow from them.
    void configure(ci_image_types type, ci_u32 bitsPerClock, ci_u32 clocksPerPixel, ci_u32 width = 4,
                   ci_u32 height = 1) {
        sensor()->imageType = type;
        ctx()->bitsPerClock = bitsPerClock;
        ctx()->clocksPerPixel = clocksPerPixel;
        sensor()->width = width;
        sensor()->height = height;
        sensor()->pixelBits = _pixelBits(camera.get());
        sensor()->pixelBytes = _pixelBytes(camera.get());
        sensor()->bufferSize = width * height * sensor()->pixelBytes;
    }

    BusSim bus;
    SimCamera camera{bus};
};
