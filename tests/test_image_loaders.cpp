// The image-file loaders' faults worth catching: the bitmap's two-byte gap
// and row order and padding, CCR and DXR plane placement, the CSV reader's
// hexadecimal restart, footer match and type thresholds, the side file's
// pixel order, the colour-to-Bayer phase, and truncated files of every
// format failing with their loader's message.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "image_camera.h"
#include "log_capture.h"
#include "test_paths.h"

namespace {

using Bytes = std::vector<ci_u8>;

void put16(std::string& s, ci_u32 v) {
    s += (char)(v & 0xFF);
    s += (char)(v >> 8);
}

void put32(std::string& s, ci_u32 v) {
    put16(s, v & 0xFFFF);
    put16(s, v >> 16);
}

// A bitmap in the layout the camera reads: "BM", two unused bytes, size,
// reserved words, data offset, then the information header at 16.
std::string bitmap(ci_s32 width, ci_s32 height, ci_u32 bits, const std::string& data, const std::string& palette = "") {
    std::string s = "BM";
    s += std::string(2, '\0');
    const ci_u32 offset = 16 + 40 + (ci_u32)palette.size();
    put32(s, offset + (ci_u32)data.size());
    put16(s, 0);
    put16(s, 0);
    put32(s, offset);
    put32(s, 40);
    put32(s, (ci_u32)width);
    put32(s, (ci_u32)height);
    put16(s, 1);
    put16(s, bits);
    for (int i = 0; i < 6; i++) put32(s, 0);
    return s + palette + data;
}

std::string ccr(ci_u32 width, ci_u32 height, ci_u32 type, ci_u32 bits, const std::string& data,
                ci_u32 version = 0x0102) {
    std::string s;
    for (ci_u32 v : {0x0A524343u, version, width, height, type, bits}) put32(s, v);
    s += std::string(336 - s.size(), '\0');
    return s + data;
}

std::string dxr(const char* type, ci_u32 width, ci_u32 height, ci_u32 bits, ci_u32 channels, const std::string& data) {
    std::string s;
    put32(s, 0x20525844);
    std::string name(type);
    s += name + std::string(16 - name.size(), '\0');
    for (ci_u32 v : {width, height, bits, 0u, channels}) put32(s, v);
    s += std::string(64 - s.size(), '\0');
    return s + data;
}

Bytes bytes(std::initializer_list<int> values) {
    Bytes b;
    for (int v : values) b.push_back((ci_u8)v);
    return b;
}

Bytes le16(std::initializer_list<ci_u32> values) {
    Bytes b;
    for (ci_u32 v : values) {
        b.push_back((ci_u8)v);
        b.push_back((ci_u8)(v >> 8));
    }
    return b;
}

std::string drop_line(const std::string& text, int index) {
    size_t start = 0;
    for (int i = 0; i < index; i++) start = text.find('\n', start) + 1;
    return text.substr(0, start) + text.substr(text.find('\n', start) + 1);
}

// The sample sensor data files are the sensor-data directory of this run
// (the home is decided once, at the first use).
const bool kHomeSet = setenv("CI_HOME_DEV", ck_test_data_dir(), 1) == 0;

class ImageLoaders : public ::testing::Test {
protected:
    std::string file(const std::string& name, const std::string& content) { return dir.write(name, content); }
    ScratchDir dir;
};

}  // namespace

TEST_F(ImageLoaders, BitmapHeaderKeepsItsTwoByteGapAndRowsTheirOrder) {
    // Three rows of two 8-bit pixels (two bytes of padding each).
    const std::string stored = std::string("\x01\x02\0\0\x03\x04\0\0\x05\x06\0\0", 12);
    ImageCamera up(file("up.bmp", bitmap(2, 3, 8, stored)));
    ASSERT_NE(up.get(), nullptr) << "the information header sits at 16, after the gap";
    EXPECT_EQ(up->sensor->width, 2u);
    EXPECT_EQ(up->sensor->height, 3u);
    EXPECT_EQ(up.grab(), bytes({5, 6, 3, 4, 1, 2})) << "positive height: the last stored row is the top";
    ImageCamera down(file("down.bmp", bitmap(2, -3, 8, stored)));
    EXPECT_EQ(down.grab(), bytes({1, 2, 3, 4, 5, 6}));
    // The same image with the common 14-byte file header is not ours.
    std::string common = bitmap(2, 3, 8, stored);
    common.erase(2, 2);
    ImageCamera shifted(file("common.bmp", common));
    EXPECT_EQ(shifted.get(), nullptr);
}

TEST_F(ImageLoaders, BitmapRowPaddingForWidthsOneToFour) {
    for (ci_u32 bits : {8u, 24u, 32u}) {
        for (ci_s32 width = 1; width <= 4; width++) {
            SCOPED_TRACE(testing::Message() << bits << " bits, width " << width);
            const ci_u32 rowBytes = (ci_u32)width * bits / 8, pad = (4 - rowBytes % 4) % 4;
            std::string stored;
            Bytes expected;
            for (int y = 2; y >= 0; y--) {  // bottom-up: stored last row first
                for (ci_s32 x = 0; x < width; x++)
                    for (ci_u32 c = 0; c < bits / 8; c++) stored += (char)(16 * y + 4 * x + c + 1);
                stored += std::string(pad, '\xAA');
            }
            for (int y = 0; y < 3; y++)
                for (ci_s32 x = 0; x < width; x++) {
                    for (ci_u32 c = 0; c < bits / 8; c++) expected.push_back((ci_u8)(16 * y + 4 * x + c + 1));
                    if (bits == 24) expected.push_back(255);
                }
            ImageCamera cam(file("pad.bmp", bitmap(width, 3, bits, stored)));
            ASSERT_NE(cam.get(), nullptr);
            EXPECT_EQ(cam.grab(), expected);
        }
    }
}

TEST_F(ImageLoaders, BitmapPaletteWithoutAlphaGetsOpaque) {
    std::string palette;
    for (int i = 0; i < 2; i++) palette += std::string{(char)i, (char)(i + 1), (char)(i + 2), '\0'};
    const std::string stored = std::string("\x01\x00\0\0", 4);
    ImageCamera cam(file("pal.bmp", bitmap(2, 1, 8, stored, palette)));
    ASSERT_NE(cam.get(), nullptr);
    EXPECT_EQ(cam->sensor->imageType, CI_BAYER_8);
    EXPECT_EQ(cam.grab(), bytes({1, 0})) << "8-bit bitmaps deliver their indices";
}

TEST_F(ImageLoaders, CcrColourPlanesLandInTheirBytesMsbAligned) {
    std::string planes8;
    for (char plane : {'\x11', '\x22', '\x33'}) planes8 += std::string(2, plane);
    ImageCamera rgb8(file("c8.ccr", ccr(2, 1, 0, 8, planes8)));
    ASSERT_NE(rgb8.get(), nullptr);
    EXPECT_EQ(rgb8->sensor->imageType, CI_RGB32);
    EXPECT_EQ(rgb8.grab(), bytes({0x33, 0x22, 0x11, 255, 0x33, 0x22, 0x11, 255}));

    std::string planes10;
    for (ci_u32 v : {0x3FFu, 0x001u, 0x200u}) put16(planes10, v);
    ImageCamera rgb10(file("c10.ccr", ccr(1, 1, 0, 10, planes10)));
    ASSERT_NE(rgb10.get(), nullptr);
    EXPECT_EQ(rgb10->sensor->imageType, CI_RGB48);
    EXPECT_EQ(rgb10.grab(), le16({0x200 << 6, 0x001 << 6, 0x3FF << 6}));

    std::string bayer;
    for (ci_u32 v : {0x0FFu, 0xABCu}) put16(bayer, v);
    ImageCamera b12(file("b12.ccr", ccr(2, 1, 6, 12, bayer)));
    ASSERT_NE(b12.get(), nullptr);
    EXPECT_EQ(b12->sensor->imageType, CI_BAYER_12);
    EXPECT_EQ(b12.grab(), le16({0x0FF, 0xABC})) << "Bayer samples stay at their depth";
    EXPECT_EQ(b12.reg("PIXEL_ORDER"), 3u);
    ci_u32 mask = 0;
    for (ci_s32 i = 0; i < b12->sensor->num_regs; i++)
        if (strcmp(b12->sensor->regs[i].unique_desc, "DATA_PEDESTAL") == 0) mask = b12->sensor->regs[i].bitmask;
    EXPECT_EQ(mask, 0xFFFu);
}

TEST_F(ImageLoaders, CcrHeaderChecks) {
    ErrorLogCapture log;
    EXPECT_EQ(ImageCamera(file("v.ccr", ccr(1, 1, 1, 8, "x", 0x0101))).result(), 1);
    EXPECT_NE(log.text().find("Unsupported CCR file version"), std::string::npos);
    EXPECT_EQ(ImageCamera(file("t.ccr", ccr(1, 1, 8, 8, "x"))).result(), 1);
    EXPECT_NE(log.text().find("Unknown CCR file image type"), std::string::npos);
    std::string bad = ccr(1, 1, 1, 8, "x");
    bad[0] = 'X';
    EXPECT_EQ(ImageCamera(file("id.ccr", bad)).result(), 1);
    EXPECT_NE(log.text().find("Not a CCR file (bad ID)"), std::string::npos);
}

TEST_F(ImageLoaders, DxrPlanesInterleaveIntoTheirPhase) {
    std::string planes;
    for (ci_u8 v : {10, 20, 30, 40}) planes += std::string(1, (char)v);
    const char* types[] = {"Bayer0", "Bayer1", "Bayer2", "Bayer3"};
    for (ci_u32 i = 0; i < 4; i++) {
        ImageCamera cam(file("q.dxr", dxr(types[i], 1, 1, 8, 4, planes)));
        ASSERT_NE(cam.get(), nullptr);
        EXPECT_EQ(cam.grab(), bytes({10, 20, 30, 40})) << "plane p: row p >> 1, column p & 1";
        EXPECT_EQ(cam.reg("PIXEL_ORDER"), 3 - i) << types[i];
    }
    ImageCamera big(file("big.dxr", dxr("", 320, 240, 8, 4, std::string(4 * 320 * 240, '\x07'))));
    ASSERT_NE(big.get(), nullptr);
    EXPECT_EQ(big->sensor->width, 640u);
    EXPECT_EQ(big->sensor->height, 480u);
    ErrorLogCapture log;
    EXPECT_EQ(ImageCamera(file("rgb4.dxr", dxr("RGB", 1, 1, 8, 4, planes))).result(), 1);
    EXPECT_NE(log.text().find("Unknown DXR file image type"), std::string::npos);
}

TEST_F(ImageLoaders, CsvHexadecimalRetryReadsTheWholeFileAgain) {
    // 10 and 20 read as decimal too; only 1F forces hexadecimal.
    ImageCamera cam(file("hex.csv", "10 20 30 40\n1F 50 60 70\n"));
    ASSERT_NE(cam.get(), nullptr);
    EXPECT_EQ(cam->sensor->width, 4u);
    EXPECT_EQ(cam.grab(), bytes({0x10, 0x20, 0x30, 0x40, 0x1F, 0x50, 0x60, 0x70}));
}

TEST_F(ImageLoaders, CsvFooterNeedsItsWholeTag) {
    const std::string values = "1 2 3 4 5 6 7 8\n";
    ImageCamera full(file("f.csv", values + "[CSV_FOOTERS]\nwidth = 4\nheight = 2\n"));
    ASSERT_NE(full.get(), nullptr);
    EXPECT_EQ(full->sensor->width, 4u);
    EXPECT_EQ(full->sensor->height, 2u);
    ImageCamera cut(file("g.csv", values + "[CSV_FOOTERS\nwidth = 4\nheight = 2\n"));
    ASSERT_NE(cut.get(), nullptr);
    EXPECT_EQ(cut->sensor->width, 8u) << "a 12-character match is no footer: the first line gives the width";
    EXPECT_EQ(cut->sensor->height, 1u);
}

TEST_F(ImageLoaders, CsvTypeThresholds) {
    struct Row {
        ci_u32 maxValue;
        ci_image_types type;
        ci_u32 pixelBytes;
    } rows[] = {
        {255, CI_BAYER_8, 1},   {256, CI_BAYER_10, 2},  {1023, CI_BAYER_10, 2},  {1024, CI_BAYER_12, 2},
        {4095, CI_BAYER_12, 2}, {4096, CI_BAYER_14, 2}, {16384, CI_BAYER_14, 2}, {16385, CI_BAYER_14, 2},
        {16386, CI_YCBCR, 2},   {65535, CI_YCBCR, 2},   {65536, CI_BAYER_20, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.maxValue);
        ImageCamera cam(file("t.csv", "0 1 2 " + std::to_string(row.maxValue) + "\n0 0 0 0\n"));
        ASSERT_NE(cam.get(), nullptr);
        EXPECT_EQ(cam->sensor->imageType, row.type);
        EXPECT_EQ(cam->sensor->pixelBytes, row.pixelBytes);
        EXPECT_EQ(cam->sensor->width, 4u);
    }
    // Two samples a pixel when half the count has a plausible size twice as
    // narrow: 8-bit values become YCbCr pixels.
    std::string pairs;
    for (int i = 0; i < 2 * 320 * 240; i++) pairs += std::to_string(i % 200) + "\n";
    ImageCamera ycbcr(file("pairs.txt", pairs));
    ASSERT_NE(ycbcr.get(), nullptr);
    EXPECT_EQ(ycbcr->sensor->imageType, CI_YCBCR);
    EXPECT_EQ(ycbcr->sensor->width, 320u);
    EXPECT_EQ(ycbcr->sensor->height, 240u);
}

TEST_F(ImageLoaders, SideFilePixelOrderAndSize) {
    file("s_info.txt", "Sensor: x\nRGGB\n");
    ImageCamera rggb(file("s.csv", "1 2 3 4\n5 6 7 8\n"));
    ASSERT_NE(rggb.get(), nullptr);
    EXPECT_EQ(rggb.reg("PIXEL_ORDER"), 1u);
    file("r_info.txt", "Width = 2\nHeight = 3\nFormat : Bayer 12\noutput = 16\nFuseID: 7\nBGGR\n");
    std::string raw;
    for (ci_u32 v : {1u, 2u, 3u, 4u, 5u, 0xFFFu}) put16(raw, v);
    ImageCamera sized(file("r.raw", raw));
    ASSERT_NE(sized.get(), nullptr);
    EXPECT_EQ(sized->sensor->width, 2u);
    EXPECT_EQ(sized->sensor->height, 3u);
    EXPECT_EQ(sized->sensor->imageType, CI_BAYER_12);
    EXPECT_EQ(sized->sensor->pixelBits, 12u) << "16 output bits narrowed to the type's depth";
    EXPECT_EQ(sized.reg("PIXEL_ORDER"), 0u) << "words after FuseID: are not read";
}

TEST_F(ImageLoaders, SideFileNamesAFarSensor) {
    ASSERT_TRUE(kHomeSet);
    file("far_info.txt", "Sensor: /elsewhere/ck_bayer16.sdat\n");
    ImageCamera cam(file("far.csv", "1 2 3 4\n5 6 7 8\n"));
    ASSERT_NE(cam.get(), nullptr);
    const ci_sensor_t* far = cam->sensor->far1_sensor;
    ASSERT_NE(far, nullptr) << "the file's base name is looked up in the sensor-data directory";
    EXPECT_GT(far->num_regs, 0);
    EXPECT_STREQ(cam->sensor->sensorName, "Bitmap");
    file("none_info.txt", "Sensor: missing.sdat\n");
    ImageCamera none(file("none.csv", "1 2 3 4\n5 6 7 8\n"));
    ASSERT_NE(none.get(), nullptr);
    EXPECT_EQ(none->sensor->far1_sensor, nullptr);
}

TEST_F(ImageLoaders, ColourToBayerFollowsThePixelOrder) {
    // One 2 x 2 block, every pixel R = 1, G = 2, B = 3 (bitmap rows B, G, R).
    std::string rows;
    for (int i = 0; i < 4; i++) rows += std::string("\x03\x02\x01", 3);
    ImageCamera cam(file(
        "rgb.bmp", bitmap(2, 2, 24, rows.substr(0, 6) + std::string(2, '\0') + rows.substr(6) + std::string(2, '\0'))));
    ASSERT_NE(cam.get(), nullptr);
    cam->sensor->imageType = CI_BAYER_8;
    ASSERT_EQ(ci_updateFrameSize(cam.get(), 0, 0, 8, 1), CI_CAMERA_SUCCESS);
    ASSERT_EQ(cam->sensor->bufferSize, 4u);
    const Bytes expected[4] = {bytes({2, 1, 3, 2}), bytes({1, 2, 2, 3}), bytes({3, 2, 2, 1}), bytes({2, 3, 1, 2})};
    for (ci_u32 order = 0; order < 4; order++) {
        ASSERT_EQ(ci_WriteSensorRegStr(cam.get(), "PIXEL_ORDER", "", order), CI_CAMERA_SUCCESS);
        EXPECT_EQ(cam.grab(), expected[order]) << "order " << order;
    }
    cam->sensor->imageType = CI_RGB24;
    ASSERT_EQ(ci_updateFrameSize(cam.get(), 0, 0, 8, 3), CI_CAMERA_SUCCESS);
    EXPECT_EQ(cam.grab(), bytes({3, 2, 1, 3, 2, 1, 3, 2, 1, 3, 2, 1}));
}

TEST_F(ImageLoaders, DeepColourToBayerScalesToTheSensorDepth) {
    std::string planes;
    for (ci_u32 v : {0xFFFFu, 0x1000u, 0x0010u}) put16(planes, v);
    ImageCamera cam(file("c16.dxr", dxr("RGB", 1, 1, 16, 3, planes)));
    ASSERT_NE(cam.get(), nullptr);
    cam->sensor->imageType = CI_BAYER_12;
    ASSERT_EQ(ci_updateFrameSize(cam.get(), 0, 0, 12, 1), CI_CAMERA_SUCCESS);
    ci_WriteSensorRegStr(cam.get(), "PIXEL_ORDER", "", 1);  // RGGB: the top-left site is red
    EXPECT_EQ(cam.grab(), le16({0xFFF}));
    ci_WriteSensorRegStr(cam.get(), "PIXEL_ORDER", "", 2);  // BGGR: blue
    EXPECT_EQ(cam.grab(), le16({0x001}));
}

TEST_F(ImageLoaders, TruncatedFilesFailWithTheirLoadersMessage) {
    // Binary files lose their last byte (the TIFF, whose directory comes
    // last, its second half); text files a line of values.
    struct Row {
        const char* sample;
        const char* loader;
        const char* message;
        int droppedLine;  // -1: the last byte instead, -2: the second half
    } rows[] = {
        {"bmp24.bmp", "_BMP_load_bmp", "Error reading BMP data", -1},
        {"ccr12.ccr", "_BMP_load_ccr", "Error reading CCR data", -1},
        {"dxr_bayer12.dxr", "_BMP_load_dxr", "Error reading DXR data", -1},
        {"csv_footer.csv", "_BMP_load_csv", "CSV file holds fewer values than its image size", 2},
        {"itx_header.itx", "_BMP_load_itx", "ITX file holds fewer values than its image size", 5},
        {"raw_info.raw", "_BMP_load_raw", "Raw file shorter than its image size", -1},
        {"flat.jpg", "_BMP_load_jpeg", "JPEG file is truncated", -1},
        {"png_grey16.png", "_BMP_load_png", "Error reading PNG file", -1},
        {"tiff_rgb8.tif", "_BMP_load_tiff", "Couldn't open TIFF file", -2},
    };
    const std::string images = std::string(ck_test_data_dir()) + "/images/";
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sample);
        if (!image_format_built(row.sample)) continue;
        const std::string whole = scratch_read_file(images + row.sample);
        ASSERT_FALSE(whole.empty());
        const std::string name = row.sample;
        const std::string base = name.substr(0, name.rfind('.'));
        const std::string info = scratch_read_file(images + base + "_info.txt");
        if (!info.empty()) file(base + "_info.txt", info);
        ErrorLogCapture log;
        const size_t keep = row.droppedLine == -2 ? whole.size() / 2 : whole.size() - 1;
        ImageCamera cam(file(name, row.droppedLine < 0 ? whole.substr(0, keep) : drop_line(whole, row.droppedLine)));
        EXPECT_EQ(cam.result(), 1);
        EXPECT_EQ(cam.get(), nullptr);
        const std::string text = log.text();
        EXPECT_NE(text.find(row.loader), std::string::npos) << text;
        EXPECT_NE(text.find(row.message), std::string::npos) << text;
    }
}

TEST_F(ImageLoaders, OpeningChoosesByExtension) {
    ci_camera_t* cameras[2] = {};
    ci_s32 n = 5;
    EXPECT_EQ(ci_OpenCameras2(cameras, &n, "", CI_TRANSPORT_IMAGE_FILE, ""), CI_CAMERA_SUCCESS);
    EXPECT_EQ(n, 0);
    ci_CloseCameras();
    EXPECT_EQ(ImageCamera(file("x.sdat", "1 2 3 4\n")).get(), nullptr);
    EXPECT_EQ(ImageCamera(file("noext", "1 2 3 4\n")).get(), nullptr);
    EXPECT_EQ(ImageCamera(dir.file("missing.bmp")).get(), nullptr);
    // Unknown extensions: text-looking files are CSV, anything else raw.
    ImageCamera text(file("values.dat", "1,2,3,4\n5,6,7,8\n"));
    ASSERT_NE(text.get(), nullptr);
    EXPECT_EQ(text->sensor->width, 4u);
    ImageCamera raw(file("bytes.dat", std::string(160 * 120, 'Q')));
    ASSERT_NE(raw.get(), nullptr);
    EXPECT_EQ(raw->sensor->width, 160u);
}

TEST_F(ImageLoaders, JpegKeepsTheFileAndReportsItsLength) {
    const std::string jpeg = scratch_read_file(std::string(ck_test_data_dir()) + "/images/flat.jpg");
    ImageCamera cam(file("j.jpeg", jpeg));
    ASSERT_NE(cam.get(), nullptr);
    ci_u32 length = 0;
    ASSERT_EQ(ci_getMode(cam.get(), CI_COMPRESSED_LENGTH, &length), CI_CAMERA_SUCCESS);
    EXPECT_EQ(length, jpeg.size());
    EXPECT_EQ(cam->sensor->bufferSize, 2u * (16 * 16 + 0x200000));
    ASSERT_EQ(ci_updateFrameSize(cam.get(), 32, 8, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(cam->sensor->bufferSize, 2u * (32 * 8 + 0x200000));
    ErrorLogCapture log;
    EXPECT_EQ(ImageCamera(file("k.jpg", "\xFF\xD8\xFF\xD9")).get(), nullptr);
    EXPECT_NE(log.text().find("JPEG file has no frame header"), std::string::npos);
}

TEST_F(ImageLoaders, RowCopiesFollowTheSensorWindowAndTheCallersBuffer) {
    // 3 x 2 pixels of 32 bits, pixel (x, y) = {x, y, 7, 9}.
    std::string rows;
    for (int y = 1; y >= 0; y--)
        for (int x = 0; x < 3; x++) rows += std::string{(char)x, (char)y, '\x07', '\x09'};
    ImageCamera cam(file("w.bmp", bitmap(3, 2, 32, rows)));
    ASSERT_NE(cam.get(), nullptr);
    ASSERT_EQ(ci_updateFrameSize(cam.get(), 2, 1, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(cam.grab(), bytes({0, 0, 7, 9, 1, 0, 7, 9})) << "the window's corner of the image";
    ASSERT_EQ(ci_updateFrameSize(cam.get(), 4, 3, 0, 0), CI_CAMERA_SUCCESS);
    Bytes wide = cam.grab();
    ASSERT_EQ(wide.size(), 48u);
    EXPECT_EQ(Bytes(wide.begin(), wide.begin() + 12), bytes({0, 0, 7, 9, 1, 0, 7, 9, 2, 0, 7, 9}));
    EXPECT_EQ(Bytes(wide.begin() + 12, wide.begin() + 16), Bytes(4, 0xEE)) << "past the image's row";
    EXPECT_EQ(Bytes(wide.begin() + 32, wide.end()), Bytes(16, 0xEE)) << "past the image's last row";
    EXPECT_EQ(cam.grab(20), (Bytes{0, 0, 7, 9, 1, 0, 7, 9, 2, 0, 7, 9, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}))
        << "only whole rows fit in the caller's buffer";
}
