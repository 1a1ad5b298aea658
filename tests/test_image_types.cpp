// Image-type names and classes, pixel sizes, the Bayer type that follows
// the clocking, and who unswizzles on which board.
#include <cstring>
#include <set>

#include "test_image_support.h"

namespace {

std::set<int> membersOf(ci_s32 (*isMember)(ci_image_types)) {
    std::set<int> members;
    for (int type = 0; type < 64; type++) {  // every value the enumeration can hold
        if (isMember((ci_image_types)type)) members.insert(type);
    }
    return members;
}

TEST(ImageTypeNames, KnownTypesAndTheRestFitTheCallersThirteenCharacters) {
    char text[64];
    EXPECT_EQ(ci_GetImageTypeStr(CI_BAYER_S12, text), CI_CAMERA_SUCCESS);
    EXPECT_STREQ(text, "Bayer 12");
    EXPECT_EQ(ci_GetImageTypeStr(CI_RGB555M, text), CI_CAMERA_SUCCESS);
    EXPECT_STREQ(text, "555MRGB");
    for (int type = 0; type < 64; type++) {
        strcpy(text, "x");
        const bool known = ci_GetImageTypeStr((ci_image_types)type, text) == CI_CAMERA_SUCCESS;
        EXPECT_LT(strlen(text), 13u) << type;
        if (!known) {
            EXPECT_STREQ(text, "Unknown") << type;
        }
        if (type == 0 || type == 36 || type == 63) {
            EXPECT_FALSE(known) << type;
        }
    }
}

TEST(ImageTypeClasses, Members) {
    EXPECT_EQ(membersOf(ci_IsBayerImageType), (std::set<int>{1, 2, 3, 4, 12, 13, 14, 17, 21, 22, 23, 24, 27, 29, 31}));
    EXPECT_EQ(membersOf(ci_IsYcbcrImageType), (std::set<int>{5, 30}));
    EXPECT_EQ(membersOf(ci_IsJpegImageType), (std::set<int>{16, 28, 32}));
    EXPECT_EQ(ci_IsFarSpace(NULL), 0);
    std::set<int> far;
    for (int type = 0; type < 16; type++) {
        ci_addr_space_val_t space{};
        space.type = (ci_addr_type)type;
        if (ci_IsFarSpace(&space)) far.insert(type);
    }
    EXPECT_EQ(far, (std::set<int>{4, 5, 6, 7, 8, 9}));
}

using SensorClasses = ImageTest;

TEST_F(SensorClasses, SystemOnChipByTypeCodeAndOutput) {
    const std::set<int> expected = {5,  6,  8,  10, 14, 16, 20, 23, 24, 26,  29,  35,  37,  38,  39,  44,  45,  46,  47,  54,
                                    55, 56, 61, 62, 66, 68, 71, 72, 74, 75, 76, 79, 95, 99, 103, 104, 106, 110, 111, 115};
    std::set<int> soc;
    sensor()->imageType = CI_BAYER_10;
    for (int type = 0; type < 128; type++) {
        sensor()->sensorType = (ci_sensor_types)type;
        if (ci_IsSOC(camera.get())) soc.insert(type);
    }
    EXPECT_EQ(soc, expected);
    sensor()->sensorType = (ci_sensor_types)19;  // a system-on-chip only when it outputs YCbCr
    sensor()->imageType = CI_YCBCR;
    EXPECT_EQ(ci_IsSOC(camera.get()), 1);

    sensor()->sensorType = CI_ARRAY_IMAGER_SENSOR;
    sensor()->imageType = CI_BAYER_12;
    EXPECT_EQ(ci_IsArrayImager(camera.get()), 1);
    EXPECT_EQ(ci_IsBayer(camera.get()), 1);
    _freeSensor(camera.get());
    EXPECT_EQ(ci_IsArrayImager(camera.get()) + ci_IsBayer(camera.get()) + ci_IsSOC(camera.get()), 0);
}

struct PixelCase {
    ci_image_types type;
    ci_u32 bitsPerClock, clocksPerPixel;
    ci_u32 bits, bytes;
};

TEST(PixelSizes, FromTypeAndClocking) {
    const PixelCase cases[] = {
        {CI_BAYER_10, 10, 1, 10, 2},     {CI_BAYER_8, 8, 1, 8, 1},      {CI_BAYER_10, 8, 2, 16, 2},
        {CI_BAYER_20, 10, 2, 20, 4},     {CI_BAYER_STEREO, 16, 1, 8, 2}, {CI_YCBCR, 8, 2, 16, 2},
        {CI_YCBCR_10, 10, 2, 20, 4},     {CI_RGB24, 8, 3, 24, 3},       {CI_RGB32, 8, 4, 32, 4},
        {CI_RGB48, 16, 3, 48, 6},        {CI_RGB565, 8, 2, 16, 2},      {CI_JPEG, 8, 2, 16, 2},
        {CI_Y400, 8, 1, 8, 1},           {CI_BAYER_16, 16, 2, 32, 4},   {CI_UNKNOWN_IMAGE_TYPE, 12, 3, 36, 5},
    };
    for (const PixelCase& c : cases) {
        const ci_u32 bits = _pixelBitsFor(c.type, c.bitsPerClock, c.clocksPerPixel);
        EXPECT_EQ(bits, c.bits) << c.type;
        EXPECT_EQ(_pixelBytesFor(c.type, bits, c.bitsPerClock, c.clocksPerPixel), c.bytes) << c.type;
    }
}

struct TypeCase {
    ci_image_types start;
    ci_u32 zoom, pixelBits, bitsPerClock, clocksPerPixel, hidy;
    ci_image_types expected;
};

using ImageTypeUpdate = ImageTest;

TEST_F(ImageTypeUpdate, FollowsDepthZoomPackingAndHighDynamicRange) {
    const TypeCase cases[] = {
        {CI_BAYER_10, 2, 8, 8, 1, 0, CI_BAYER_8_ZOOM},   {CI_BAYER_10, 0, 10, 10, 1, 0, CI_BAYER_10_ZOOM},
        {CI_BAYER_8, 1, 6, 6, 1, 0, CI_BAYER_6},         {CI_BAYER_10, 1, 8, 8, 1, 0, CI_BAYER_8},
        {CI_BAYER_10, 1, 8, 16, 1, 0, CI_BAYER_STEREO},  {CI_BAYER_8, 1, 10, 10, 1, 1, CI_BAYER_10_IHDR},
        {CI_BAYER_10_IHDR, 1, 10, 10, 1, 0, CI_BAYER_10}, {CI_BAYER_10, 1, 12, 12, 1, 1, CI_BAYER_12_HDR},
        {CI_BAYER_10, 1, 12, 12, 1, 0, CI_BAYER_12},     {CI_BAYER_10, 1, 14, 14, 1, 1, CI_BAYER_14_HDR},
        {CI_BAYER_10, 1, 14, 14, 1, 0, CI_BAYER_14},     {CI_BAYER_10, 1, 16, 16, 1, 0, CI_BAYER_16},
        {CI_BAYER_10, 1, 16, 8, 2, 0, CI_BAYER_10},      {CI_BAYER_10, 1, 20, 10, 2, 0, CI_BAYER_20},
        {CI_BAYER_12, 1, 24, 12, 2, 0, CI_BAYER_12},     {CI_YCBCR, 1, 8, 8, 1, 0, CI_YCBCR},
        {CI_YCBCR, 2, 16, 8, 2, 1, CI_YCBCR},
    };
    for (const TypeCase& c : cases) {
        sensor()->imageType = c.start;
        sensor()->zoomFactor = c.zoom;
        sensor()->pixelBits = c.pixelBits;
        ctx()->bitsPerClock = c.bitsPerClock;
        ctx()->clocksPerPixel = c.clocksPerPixel;
        ctx()->hidy = c.hidy;
        _updateImageType(camera.get());
        EXPECT_EQ(sensor()->imageType, c.expected) << "from " << c.start << " at " << c.pixelBits << " bits";
    }

    // The shared high-dynamic-range setting wins over the camera's.
    _init_global_context(camera.get());
    ctx()->hidy = 0;
    ctx()->sg_context->hidy = 1;
    configure(CI_BAYER_12, 12, 1);
    sensor()->zoomFactor = 1;
    _updateImageType(camera.get());
    EXPECT_EQ(sensor()->imageType, CI_BAYER_12_HDR);
}

// ---------------------------------------------------------------- swizzle

struct BoardCase {
    ci_u32 product, version;
    int sensorType;
    ci_u32 sensorVersion, bitsPerClock, clocksPerPixel;
    swizzle_sit_t expected;
};

class Swizzle : public ImageTest {
protected:
    void board(const BoardCase& c) {
        camera->productID = (ci_product_ids)c.product;
        camera->productVersion = c.version;
        sensor()->sensorType = (ci_sensor_types)c.sensorType;
        sensor()->sensorVersion = c.sensorVersion;
        sensor()->imageType = CI_BAYER_10;
        ctx()->bitsPerClock = c.bitsPerClock;
        ctx()->clocksPerPixel = c.clocksPerPixel;
    }
};

TEST_F(Swizzle, SituationPerBoardRevisionAndSensor) {
    const int soc = 10;
    const int plain = 2;
    const BoardCase cases[] = {
        {0x1001, 0, plain, 1, 8, 2, SWIZSIT_UNNEEDED},   {0x100F, 0, plain, 1, 8, 2, SWIZSIT_UNNEEDED},
        {0x1002, 0, plain, 1, 10, 1, SWIZSIT_NEEDED},    {CI_KITE_1, 0, plain, 1, 10, 1, SWIZSIT_NEEDED},
        {CI_KITE_1A, 0, plain, 1, 10, 1, SWIZSIT_NEEDED}, {0x1009, 0, plain, 1, 10, 1, SWIZSIT_NEEDED},
        {0x100A, 0, plain, 1, 10, 1, SWIZSIT_NEEDED},    {0x1005, 0, plain, 1, 8, 2, SWIZSIT_UNNEEDED},
        {0x1008, 0, plain, 1, 8, 2, SWIZSIT_UNNEEDED},   {CI_KITE_2, 160, plain, 1, 10, 1, SWIZSIT_NEEDED},
        {CI_KITE_2, 161, soc, 1, 10, 1, SWIZSIT_NEEDED}, {CI_KITE_2, 175, plain, 1, 8, 2, SWIZSIT_HW_CAN},
        {CI_KITE_2, 176, plain, 1, 8, 2, SWIZSIT_NEEDED}, {CI_KITE_2, 176, soc, 1, 10, 1, SWIZSIT_HW_CAN},
        {CI_KESTR, 0, plain, 1, 8, 2, SWIZSIT_NEEDED},   {CI_KESTR_XL, 0, plain, 1, 8, 1, SWIZSIT_HW_CAN},
        {CI_KITE_2X, 0, plain, 1, 10, 2, SWIZSIT_HW_CAN}, {CI_KITE_3, 0, 49, 4, 8, 2, SWIZSIT_NEEDED},
        {CI_KITE_3, 0, 49, 3, 8, 2, SWIZSIT_UNNEEDED},   {CI_KITE_1, 0, 13, 9, 10, 1, SWIZSIT_UNNEEDED},
    };
    for (const BoardCase& c : cases) {
        board(c);
        EXPECT_EQ(_swizzle_situation(camera.get()), c.expected) << std::hex << c.product << " v" << std::dec
                                                                << c.version << " sensor " << c.sensorType;
        EXPECT_EQ(_swizzleDefault(camera.get()), c.expected == SWIZSIT_NEEDED ? 1u : 0u);
    }
}

TEST_F(Swizzle, LaterHeadsOfInOrderSensorsFollowTheBoard) {
    board({CI_KITE_3, 0, 49, 3, 8, 2, SWIZSIT_NEEDED});
    ctx()->rev3_head = 1;
    EXPECT_EQ(_swizzle_situation(camera.get()), SWIZSIT_NEEDED);
    ctx()->rev3_head = 0;
    ctx()->security_head = 1;
    board({CI_KITE_1, 0, 13, 1, 10, 1, SWIZSIT_NEEDED});
    EXPECT_EQ(_swizzle_situation(camera.get()), SWIZSIT_NEEDED);
}

int gHardwareUnswizzleCalls = 0;
ci_error_code countHardwareUnswizzle(ci_camera_t*) {
    gHardwareUnswizzleCalls++;
    return CI_I2C_TIMEOUT;
}

TEST_F(Swizzle, ModeDecidesWhoUnswizzles) {
    ctx()->setHardwareUnswizzle = countHardwareUnswizzle;
    gHardwareUnswizzleCalls = 0;
    // Software unswizzles in modes 2 and 3 where it must, in mode 2 where the
    // board could, never where the data is in order.
    const struct {
        BoardCase board;
        int software[4];
    } rows[] = {
        {{CI_KITE_1, 0, 2, 1, 10, 1, SWIZSIT_NEEDED}, {0, 0, 1, 1}},
        {{0x1001, 0, 2, 1, 10, 1, SWIZSIT_UNNEEDED}, {0, 0, 0, 0}},
        {{CI_KITE_3, 0, 2, 1, 10, 1, SWIZSIT_HW_CAN}, {0, 0, 1, 0}},
    };
    for (const auto& row : rows) {
        board(row.board);
        const ci_error_code answer = row.board.expected == SWIZSIT_HW_CAN ? CI_I2C_TIMEOUT : CI_CAMERA_SUCCESS;
        for (ci_u32 value = 0; value < 4; value++) {
            ctx()->do_sw_unswizzle = 7;
            EXPECT_EQ(_set_unswizzle_mode(camera.get(), value), answer) << "the board's answer, if it is asked";
            EXPECT_EQ(ctx()->do_sw_unswizzle, row.software[value]) << std::hex << row.board.product << " " << value;
            EXPECT_EQ(ctx()->unswizzle_mode, (ci_unswizzle_modes)value);
        }
    }
    EXPECT_EQ(gHardwareUnswizzleCalls, 4) << "only a board that can unswizzle is told";
    EXPECT_EQ(_set_unswizzle_mode(camera.get(), 4), CI_CAMERA_ERROR);
    EXPECT_EQ(ctx()->unswizzle_mode, (ci_unswizzle_modes)3) << "a bad value is not stored";
}

TEST_F(Swizzle, DataIsSwizzledBySensorType) {
    board({CI_KITE_1, 0, 2, 1, 10, 1, SWIZSIT_NEEDED});
    ctx()->unswizzle_mode = CI_HW_UNSWIZZLE;
    const std::pair<int, ci_u32> byType[] = {{103, 0}, {110, 0}, {111, 0}, {71, 2}, {5, 1}, {2, 1}};
    for (const auto& row : byType) {
        sensor()->sensorType = (ci_sensor_types)row.first;
        ci_u32 value = 99;
        EXPECT_EQ(ci_getMode(camera.get(), CI_DATA_IS_SWIZZLED, &value), CI_CAMERA_SUCCESS);
        EXPECT_EQ(value, row.second) << "sensor type " << row.first;
    }
    ctx()->unswizzle_mode = CI_SW_UNSWIZZLE;
    ci_u32 value = 99;
    ci_getMode(camera.get(), CI_DATA_IS_SWIZZLED, &value);
    EXPECT_EQ(value, 0u) << "software takes care of it";
}

}  // namespace
