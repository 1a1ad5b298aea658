// Frame files: the format by extension, written to a temporary name beside
// the target and renamed into place, so a failed write leaves nothing.
#include "frame_writer.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <vector>

#include "frame_jpeg.h"
#include "frame_pixels.h"

#ifdef CAMKIT_CLI_HAVE_PNG
#include <png.h>
#endif
#ifdef CAMKIT_CLI_HAVE_TIFF
#include <tiffio.h>
#endif

namespace cli {
namespace {

std::string extension_of(const std::string& path) {
    const size_t dot = path.rfind('.');
    const size_t slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = path.substr(dot + 1);
    for (char& c : ext) c = (char)std::tolower((unsigned char)c);
    return ext;
}

bool write_bytes(const std::string& path, const ci_u8* data, size_t bytes, std::string& error) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) {
        error = "cannot create " + path + ": " + std::strerror(errno);
        return false;
    }
    const bool ok = std::fwrite(data, 1, bytes, f) == bytes;
    if (std::fclose(f) != 0 || !ok) {
        error = "cannot write " + path;
        return false;
    }
    return true;
}

#ifdef CAMKIT_CLI_HAVE_PNG
struct PngErrorSink {
    std::string message;
};

void png_error_to_text(png_structp png, png_const_charp text) {
    static_cast<PngErrorSink*>(png_get_error_ptr(png))->message = text;
    png_longjmp(png, 1);
}

void png_ignore_warning(png_structp, png_const_charp) {}

// libpng reports errors by longjmp: nothing with a destructor lives in here.
bool png_rows(FILE* f, const FrameView& frame, const SampleLayout& layout, std::vector<uint8_t>& rows,
              PngErrorSink& sink) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, png_error_to_text, png_ignore_warning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        sink.message = "out of memory";
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, f);
    png_set_IHDR(png, info, frame.width, frame.height, layout.bitDepth,
                 layout.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_color_8 sig{};
    sig.red = sig.green = sig.blue = sig.gray = (png_byte)layout.significant;
    png_set_sBIT(png, info, &sig);
    png_set_compression_level(png, 3);
    png_write_info(png, info);
    if (layout.bitDepth == 16) png_set_swap(png);  // our 16-bit samples are little-endian
    const size_t rowBytes = layout_row_bytes(frame, layout);
    for (ci_u32 y = 0; y < frame.height; y++) png_write_row(png, &rows[(size_t)y * rowBytes]);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}
#endif

std::vector<uint8_t> all_rows(const FrameView& frame, const SampleLayout& layout) {
    std::vector<uint8_t> rows, row;
    rows.reserve(layout_row_bytes(frame, layout) * frame.height);
    for (ci_u32 y = 0; y < frame.height; y++) {
        convert_row(frame, layout, y, row);
        rows.insert(rows.end(), row.begin(), row.end());
    }
    return rows;
}

bool write_png(const std::string& path, const FrameView& frame, const SampleLayout& layout, std::string& error) {
#ifdef CAMKIT_CLI_HAVE_PNG
    std::vector<uint8_t> rows = all_rows(frame, layout);
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) {
        error = "cannot create " + path + ": " + std::strerror(errno);
        return false;
    }
    PngErrorSink sink;
    const bool ok = png_rows(f, frame, layout, rows, sink);
    if (std::fclose(f) != 0 || !ok) {
        error = "PNG not written: " + (sink.message.empty() ? std::string("write error") : sink.message);
        return false;
    }
    return true;
#else
    (void)path, (void)frame, (void)layout;
    error = "this build of camkit writes no PNG files (libpng was not found)";
    return false;
#endif
}

bool write_tiff(const std::string& path, const FrameView& frame, const SampleLayout& layout, std::string& error) {
#ifdef CAMKIT_CLI_HAVE_TIFF
    TIFFSetWarningHandler(nullptr);
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (tif == nullptr) {
        error = "cannot create " + path;
        return false;
    }
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, frame.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, frame.height);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, layout.channels);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, layout.bitDepth);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, layout.channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
    std::vector<uint8_t> row;
    bool ok = true;
    for (ci_u32 y = 0; ok && y < frame.height; y++) {
        convert_row(frame, layout, y, row);
        ok = TIFFWriteScanline(tif, row.data(), y, 0) >= 0;
    }
    TIFFClose(tif);
    if (!ok) error = "TIFF not written: write error";
    return ok;
#else
    (void)path, (void)frame, (void)layout;
    error = "this build of camkit writes no TIFF files (libtiff was not found)";
    return false;
#endif
}

bool write_picture(const std::string& path, const std::string& ext, const FrameView& frame, std::string& error) {
    SampleLayout layout;
    if (!sample_layout(frame, layout, error)) return false;
    const size_t need = (size_t)frame.width * frame.height * frame.pixelBytes;
    if (frame.bytes < need) {
        error = "the frame holds " + std::to_string(frame.bytes) + " bytes, its " + std::to_string(frame.width) +
                " x " + std::to_string(frame.height) + " pixels need " + std::to_string(need);
        return false;
    }
    return ext == "png" ? write_png(path, frame, layout, error) : write_tiff(path, frame, layout, error);
}

}  // namespace

FrameView frame_view_of(const ci_camera_t* camera) {
    const ci_sensor_t* s = camera->sensor;
    return FrameView{s->imageType, s->width, s->height, s->pixelBits, s->pixelBytes, nullptr, 0};
}

bool write_frame(const std::string& path, const FrameView& frame, std::string& error) {
    const std::string ext = extension_of(path);
    const bool picture = ext == "png" || ext == "tif" || ext == "tiff";
    const bool bytes = ext == "raw" || ((ext == "jpg" || ext == "jpeg") && ci_IsJpegImageType(frame.type));
    if (!picture && !bytes) {
        error = "'" + path + "': name the file .png, .tif, .tiff or .raw" +
                (ci_IsJpegImageType(frame.type) ? std::string(" (or .jpg)") : std::string());
        return false;
    }
    const std::string temporary = path + ".part";
    std::vector<ci_u8> pixels;
    FrameView decoded = frame;
    if (picture && ci_IsJpegImageType(frame.type) && !decode_jpeg_frame(frame, pixels, decoded, error)) return false;
    const bool ok = picture ? write_picture(temporary, ext, decoded, error)
                            : write_bytes(temporary, frame.data, frame.bytes, error);
    if (ok && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
    if (ok) error = "cannot rename the file to " + path + ": " + std::strerror(errno);
    unlink(temporary.c_str());
    return false;
}

bool frame_file_name(const std::string& pattern, int n, int count, std::string& out) {
    size_t at = std::string::npos;
    for (size_t i = 0; i < pattern.size(); i++) {
        if (pattern[i] != '%') continue;
        if (i + 1 < pattern.size() && pattern[i + 1] == '%') {
            i++;
            continue;
        }
        size_t j = i + 1;
        if (j < pattern.size() && pattern[j] == '0') j++;
        while (j < pattern.size() && std::isdigit((unsigned char)pattern[j]) && j - i < 4) j++;
        if (j >= pattern.size() || pattern[j] != 'd' || at != std::string::npos) return false;
        at = i;
        i = j;
    }
    if (at == std::string::npos) {
        if (count <= 1) {
            out = pattern;
            return true;
        }
        const size_t dot = pattern.rfind('.');
        const size_t slash = pattern.rfind('/');
        const bool hasExt = dot != std::string::npos && (slash == std::string::npos || dot > slash);
        std::string escaped;
        for (char c : pattern) escaped += c == '%' ? std::string("%%") : std::string(1, c);
        const size_t edot = hasExt ? escaped.rfind('.') : escaped.size();
        return frame_file_name(escaped.substr(0, edot) + "_%d" + escaped.substr(edot), n, count, out);
    }
    char buffer[4096];
    if (std::snprintf(buffer, sizeof buffer, pattern.c_str(), n) >= (int)sizeof buffer) return false;
    out = buffer;
    return true;
}

}  // namespace cli
