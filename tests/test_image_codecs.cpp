// PNG and TIFF files as libpng and libtiff write them, beyond the plain
// samples: interlaced, palette with transparency, low and high depths,
// grey with alpha; tiled, compressed, big-endian and planar TIFFs.  Each is
// written here, opened as a camera and its frame checked pixel by pixel.
#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>

#include <vector>

#include "image_camera.h"
#include "scratch_dir.h"

namespace {

using Bytes = std::vector<ci_u8>;

// Writes a PNG through libpng's row interface; `rows` hold the packed
// samples of each row (big-endian 16-bit samples as PNG stores them).
void write_png(const std::string& path, png_uint_32 w, png_uint_32 h, int depth, int colour, bool interlaced,
               const std::vector<Bytes>& rows, const std::vector<png_color>& palette = {}, const Bytes& alpha = {}) {
    FILE* f = fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, f);
    png_set_IHDR(png, info, w, h, depth, colour, interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!palette.empty()) png_set_PLTE(png, info, palette.data(), (int)palette.size());
    if (!alpha.empty()) png_set_tRNS(png, info, alpha.data(), (int)alpha.size(), nullptr);
    png_write_info(png, info);
    std::vector<png_bytep> pointers;
    for (const Bytes& row : rows) pointers.push_back(const_cast<png_bytep>(row.data()));
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    fclose(f);
}

struct TiffSpec {
    ci_u32 width, height;
    ci_u16 bits, samples, compression, planar;
    bool bigEndian, tiled;
};

// Writes a TIFF through libtiff from samples in native order (interleaved,
// or plane after plane for a planar file).
void write_tiff(const std::string& path, const TiffSpec& t, const std::vector<ci_u16>& samples) {
    TIFF* tif = TIFFOpen(path.c_str(), t.bigEndian ? "wb" : "wl");
    ASSERT_NE(tif, nullptr);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, t.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, t.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, t.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, t.samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, t.samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, t.compression);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, t.planar);
    const size_t bytes = t.bits / 8;
    std::vector<ci_u8> packed(samples.size() * bytes);
    for (size_t i = 0; i < samples.size(); i++) {
        if (bytes == 1)
            packed[i] = (ci_u8)samples[i];
        else
            memcpy(&packed[2 * i], &samples[i], 2);
    }
    const size_t perPixel = t.planar == PLANARCONFIG_CONTIG ? t.samples : 1;
    const size_t row = t.width * perPixel * bytes, plane = row * t.height;
    if (t.tiled) {
        const ci_u32 tw = 16, th = 16;
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, tw);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, th);
        std::vector<ci_u8> tile(tw * th * perPixel * bytes);
        for (ci_u32 y = 0; y < t.height; y += th)
            for (ci_u32 x = 0; x < t.width; x += tw) {
                std::fill(tile.begin(), tile.end(), 0);
                for (ci_u32 r = 0; r < th && y + r < t.height; r++)
                    for (ci_u32 c = 0; c < tw && x + c < t.width; c++)
                        memcpy(&tile[(r * tw + c) * perPixel * bytes],
                               &packed[(y + r) * row + (x + c) * perPixel * bytes], perPixel * bytes);
                TIFFWriteTile(tif, tile.data(), x, y, 0, 0);
            }
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 3);
        const ci_u16 planes = t.planar == PLANARCONFIG_CONTIG ? 1 : t.samples;
        for (ci_u16 p = 0; p < planes; p++)
            for (ci_u32 y = 0; y < t.height; y++) TIFFWriteScanline(tif, &packed[p * plane + y * row], y, p);
    }
    TIFFClose(tif);
}

Bytes le16(const std::vector<ci_u16>& values) {
    Bytes b;
    for (ci_u16 v : values) {
        b.push_back((ci_u8)v);
        b.push_back((ci_u8)(v >> 8));
    }
    return b;
}

class ImageCodecs : public ::testing::Test {
protected:
    ScratchDir dir;
};

}  // namespace

TEST_F(ImageCodecs, InterlacedAndLowDepthGreyPngs) {
    const png_uint_32 w = 13, h = 9;
    std::vector<Bytes> rows;
    Bytes expected;
    for (png_uint_32 y = 0; y < h; y++) {
        Bytes row;
        for (png_uint_32 x = 0; x < w; x++) row.push_back((ci_u8)(x * 19 + y * 7));
        expected.insert(expected.end(), row.begin(), row.end());
        rows.push_back(row);
    }
    write_png(dir.file("i.png"), w, h, 8, PNG_COLOR_TYPE_GRAY, true, rows);
    ImageCamera interlaced(dir.file("i.png"));
    ASSERT_NE(interlaced.get(), nullptr);
    EXPECT_EQ(interlaced->sensor->imageType, CI_BAYER_8);
    EXPECT_EQ(interlaced.grab(), expected);

    // One bit a pixel: 1 0 1 1 expands to full-scale bytes.
    write_png(dir.file("b.png"), 4, 1, 1, PNG_COLOR_TYPE_GRAY, false, {Bytes{0xB0}});
    ImageCamera bits(dir.file("b.png"));
    ASSERT_NE(bits.get(), nullptr);
    EXPECT_EQ(bits.grab(), (Bytes{255, 0, 255, 255}));

    // 16 bits: the top twelve, interlaced too.
    std::vector<Bytes> deep;
    std::vector<ci_u16> values;
    for (png_uint_32 y = 0; y < 3; y++) {
        Bytes row;
        for (png_uint_32 x = 0; x < 5; x++) {
            const ci_u16 v = (ci_u16)(0xFFF - 97 * x - 301 * y);
            values.push_back(v);
            row.push_back((ci_u8)(v >> 4));
            row.push_back((ci_u8)(v << 4));
        }
        deep.push_back(row);
    }
    write_png(dir.file("d.png"), 5, 3, 16, PNG_COLOR_TYPE_GRAY, true, deep);
    ImageCamera twelve(dir.file("d.png"));
    ASSERT_NE(twelve.get(), nullptr);
    EXPECT_EQ(twelve->sensor->imageType, CI_BAYER_12);
    EXPECT_EQ(twelve.grab(), le16(values));
}

TEST_F(ImageCodecs, ColourPngsBecomeBgraPixels) {
    const std::vector<png_color> palette = {{10, 20, 30}, {40, 50, 60}, {70, 80, 90}};
    write_png(dir.file("p.png"), 3, 1, 8, PNG_COLOR_TYPE_PALETTE, false, {Bytes{2, 0, 1}}, palette, Bytes{128});
    ImageCamera indexed(dir.file("p.png"));
    ASSERT_NE(indexed.get(), nullptr);
    EXPECT_EQ(indexed->sensor->imageType, CI_PNG);
    EXPECT_EQ(indexed->sensor->pixelBytes, 4u);
    EXPECT_EQ(indexed.grab(), (Bytes{90, 80, 70, 255, 30, 20, 10, 128, 60, 50, 40, 255}));

    // 16-bit RGBA keeps the high byte of each channel.
    write_png(dir.file("r.png"), 1, 1, 16, PNG_COLOR_TYPE_RGBA, false,
              {Bytes{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0}});
    ImageCamera rgba(dir.file("r.png"));
    ASSERT_NE(rgba.get(), nullptr);
    EXPECT_EQ(rgba.grab(), (Bytes{0x9A, 0x56, 0x12, 0xDE}));

    write_png(dir.file("g.png"), 2, 1, 8, PNG_COLOR_TYPE_GRAY_ALPHA, false, {Bytes{7, 200, 9, 100}});
    ImageCamera greyAlpha(dir.file("g.png"));
    ASSERT_NE(greyAlpha.get(), nullptr);
    EXPECT_EQ(greyAlpha.grab(), (Bytes{7, 7, 7, 200, 9, 9, 9, 100}));
}

TEST_F(ImageCodecs, TiledCompressedAndBigEndianGreyTiffs) {
    const ci_u32 w = 40, h = 20;  // partial tiles at the right and bottom
    for (ci_u16 compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
        for (bool tiled : {false, true}) {
            for (bool bigEndian : {false, true}) {
                SCOPED_TRACE(testing::Message() << "compression " << compression << (tiled ? " tiled" : " striped")
                                                << (bigEndian ? " MM" : " II"));
                std::vector<ci_u16> samples;
                for (ci_u32 i = 0; i < w * h; i++) samples.push_back((ci_u16)((i * 37) % 4000));
                const std::string path = dir.file("g.tif");
                write_tiff(path, TiffSpec{w, h, 16, 1, compression, PLANARCONFIG_CONTIG, bigEndian, tiled}, samples);
                ImageCamera cam(path);
                ASSERT_NE(cam.get(), nullptr);
                EXPECT_EQ(cam->sensor->imageType, CI_BAYER_12);
                EXPECT_EQ(cam.grab(), le16(samples));
            }
        }
    }
}

TEST_F(ImageCodecs, TiffDepthsAndColourLayouts) {
    // Samples above 14 bits keep their top 14.
    const std::vector<ci_u16> wide = {0xFFFF, 0x8000, 0x0004, 0x1234};
    write_tiff(dir.file("w.tif"), TiffSpec{2, 2, 16, 1, COMPRESSION_NONE, PLANARCONFIG_CONTIG, false, false}, wide);
    ImageCamera fourteen(dir.file("w.tif"));
    ASSERT_NE(fourteen.get(), nullptr);
    EXPECT_EQ(fourteen->sensor->imageType, CI_BAYER_14);
    EXPECT_EQ(fourteen.grab(), le16({0x3FFF, 0x2000, 0x0001, 0x048D}));

    // 16-bit RGB: B, G, R slots.
    write_tiff(dir.file("c.tif"), TiffSpec{1, 1, 16, 3, COMPRESSION_LZW, PLANARCONFIG_CONTIG, true, false},
               {0x1111, 0x2222, 0x3333});
    ImageCamera rgb48(dir.file("c.tif"));
    ASSERT_NE(rgb48.get(), nullptr);
    EXPECT_EQ(rgb48->sensor->imageType, CI_RGB48);
    EXPECT_EQ(rgb48.grab(), le16({0x3333, 0x2222, 0x1111}));

    // Planes stored apart go through libtiff's RGBA reader.
    write_tiff(dir.file("s.tif"), TiffSpec{2, 1, 8, 3, COMPRESSION_NONE, PLANARCONFIG_SEPARATE, false, false},
               {1, 2, 3, 4, 5, 6});
    ImageCamera planar(dir.file("s.tif"));
    ASSERT_NE(planar.get(), nullptr);
    EXPECT_EQ(planar->sensor->imageType, CI_RGB32);
    EXPECT_EQ(planar.grab(), (Bytes{5, 3, 1, 255, 6, 4, 2, 255}));
}
