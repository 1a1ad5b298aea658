// Image-file camera speed: opening a 12-megapixel (4000 x 3000) 16-bit grey
// PNG and TIFF as a camera and grabbing its first frame, against libpng's /
// libtiff's own decode of the same file into a buffer, in the same run.
//
// Each iteration of a "Ratio" benchmark times both, one after the other,
// and the "ratio" counter is camera time / library time (the figure to
// watch; at most 1.3 is the aim).  Both sides decode into a fresh buffer
// each time; the camera then also copies the frame into the caller's.  The TIFF is LZW-compressed in strips of
// 16 rows; the uncompressed TIFF is measured too, where the decode is
// little more than reading the file, so any copy of ours shows.
#include <benchmark/benchmark.h>
#include <png.h>
#include <tiffio.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "core/camkit_private.h"

namespace {

constexpr ci_u32 kWidth = 4000, kHeight = 3000, kRowsPerStrip = 16;

std::vector<ci_u16> grey12() {
    std::vector<ci_u16> pixels((size_t)kWidth * kHeight);
    std::mt19937 noise(7);
    for (ci_u32 y = 0; y < kHeight; y++)
        for (ci_u32 x = 0; x < kWidth; x++)
            pixels[(size_t)y * kWidth + x] = (ci_u16)((((x * 3 + y * 5) % 3000) + noise() % 64) << 4);
    return pixels;
}

std::string write_png() {
    const std::string path = "/tmp/camkit_bench_image16.png";
    const std::vector<ci_u16> pixels = grey12();
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = kWidth;
    image.height = kHeight;
    image.format = PNG_FORMAT_LINEAR_Y;
    return png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr) ? path : "";
}

std::string write_tiff(ci_u16 compression) {
    const std::string path = "/tmp/camkit_bench_image16_" + std::to_string(compression) + ".tif";
    const std::vector<ci_u16> pixels = grey12();
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (tif == nullptr) return "";
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, kRowsPerStrip);
    for (ci_u32 y = 0; y < kHeight; y++) TIFFWriteScanline(tif, const_cast<ci_u16*>(&pixels[(size_t)y * kWidth]), y, 0);
    TIFFClose(tif);
    return path;
}

const std::string& sample(int kind) {
    static std::string paths[3];
    if (paths[kind].empty())
        paths[kind] = kind == 0 ? write_png() : write_tiff(kind == 1 ? COMPRESSION_LZW : COMPRESSION_NONE);
    return paths[kind];
}

// libpng alone: 16-bit grey rows, little-endian, into one buffer.
bool decode_png(const std::string& path, std::vector<ci_u8>& out) {
    FILE* f = fopen(path.c_str(), "rb");
    if (f == nullptr) return false;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        fclose(f);
        return false;
    }
    png_init_io(png, f);
    png_read_info(png, info);
    png_set_swap(png);
    out = std::vector<ci_u8>();  // a fresh buffer, as the camera's
    png_read_update_info(png, info);
    const size_t stride = png_get_rowbytes(png, info);
    out.resize(stride * kHeight);
    for (ci_u32 y = 0; y < kHeight; y++) png_read_row(png, &out[y * stride], nullptr);
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(f);
    return true;
}

// libtiff alone: every strip into one buffer.
bool decode_tiff(const std::string& path, std::vector<ci_u8>& out) {
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (tif == nullptr) return false;
    const size_t stride = (size_t)kWidth * 2;
    out = std::vector<ci_u8>(stride * kHeight);  // a fresh buffer, as the camera's
    const tstrip_t strips = TIFFNumberOfStrips(tif);
    for (tstrip_t s = 0; s < strips; s++) TIFFReadEncodedStrip(tif, s, &out[(size_t)s * kRowsPerStrip * stride], -1);
    TIFFClose(tif);
    return true;
}

// The camera: open, first grab, close.
bool camera_grab(const std::string& path, std::vector<ci_u8>& frame) {
    ci_camera_t* cameras[1] = {};
    ci_s32 n = 0;
    BMP_Transport_OpenCameras(cameras, &n, path.c_str(), "");
    if (n != 1) return false;
    frame.resize(cameras[0]->sensor->bufferSize);
    const bool ok = cameras[0]->grabFrame(cameras[0], frame.data(), (ci_u32)frame.size()) == CI_CAMERA_SUCCESS;
    BMP_Transport_CloseCameras(n, cameras);
    return ok;
}

double seconds_of(bool (*run)(const std::string&, std::vector<ci_u8>&), const std::string& path,
                  std::vector<ci_u8>& out, bool* ok) {
    const auto start = std::chrono::steady_clock::now();
    *ok = run(path, out) && *ok;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Ratio(benchmark::State& state, int kind) {
    const std::string& path = sample(kind);
    auto* library = kind == 0 ? decode_png : decode_tiff;
    std::vector<ci_u8> decoded, frame;
    double libraryTime = 0, cameraTime = 0;
    bool ok = !path.empty();
    for (auto _ : state) {
        libraryTime += seconds_of(library, path, decoded, &ok);
        const double camera = seconds_of(camera_grab, path, frame, &ok);
        cameraTime += camera;
        state.SetIterationTime(camera);
    }
    if (!ok) state.SkipWithError("sample could not be written or read");
    state.counters["library_ms"] = 1000 * libraryTime / (double)state.iterations();
    state.counters["ratio"] = libraryTime > 0 ? cameraTime / libraryTime : 0;
}

BENCHMARK_CAPTURE(Ratio, png16_12mp, 0)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(3);
BENCHMARK_CAPTURE(Ratio, tiff16_lzw_12mp, 1)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(3);
BENCHMARK_CAPTURE(Ratio, tiff16_raw_12mp, 2)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace
