// PNG files, decoded with libpng.  Grey images play back as Bayer data:
// up to 8 bits (lower depths expanded) as 8-bit Bayer, 16 bits as 12-bit
// Bayer (the top 12 bits).  Every other image (colour, palette, grey with
// alpha) becomes CI_PNG: B, G, R, A bytes a pixel, 8 bits a channel, alpha
// 255 where the image has none.  Interlaced images are accepted.
#define CK_SOURCE "transport/bmp_transport"
#include <png.h>

#include <csetjmp>
#include <cstdio>

#include "transport/bmp_transport.h"

namespace {

constexpr ci_u32 kGrey16Shift = 4;  // 16-bit grey to 12-bit samples

struct PngRead {
    FILE* file;
    png_structp png;
    png_infop info;
    char message[160];
};

void _png_error(png_structp png, png_const_charp text) {
    auto* read = static_cast<PngRead*>(png_get_error_ptr(png));
    snprintf(read->message, sizeof read->message, "Error reading PNG file: %s", text);
    png_longjmp(png, 1);
}

void _png_warning(png_structp, png_const_charp) {}

// Transformations to the layout we keep; true for a grey image.
bool _set_transforms(png_structp png, png_infop info) {
    const int colourType = png_get_color_type(png, info);
    const int depth = png_get_bit_depth(png, info);
    if (colourType == PNG_COLOR_TYPE_GRAY) {
        if (depth < 8) png_set_expand_gray_1_2_4_to_8(png);
        if (depth == 16) png_set_swap(png);
        return true;
    }
    if (colourType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
    if (colourType == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(png);
    if (depth == 16) png_set_strip_16(png);
    png_set_bgr(png);
    png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
    return false;
}

void _shift_row(ci_u16* row, png_uint_32 width) {
    for (png_uint_32 x = 0; x < width; x++) row[x] = (ci_u16)(row[x] >> kGrey16Shift);
}

// The decode proper; no object with a destructor lives here, since libpng
// reports errors by a long jump out of it.
bool _png_decode(PngRead* read, ci_camera_t* camera, BMP_Transport_Context* bmp) {
    if (setjmp(png_jmpbuf(read->png))) return false;
    png_init_io(read->png, read->file);
    png_set_user_limits(read->png, kBmpMaxSide, kBmpMaxSide);
    png_read_info(read->png, read->info);
    const png_uint_32 width = png_get_image_width(read->png, read->info);
    const png_uint_32 height = png_get_image_height(read->png, read->info);
    if ((ci_u64)width * height > kBmpMaxPixels) png_error(read->png, "image too large");
    const bool grey = _set_transforms(read->png, read->info);
    const bool deep = grey && png_get_bit_depth(read->png, read->info) == 16;
    const int passes = png_set_interlace_handling(read->png);
    png_read_update_info(read->png, read->info);
    const BmpFormat format = !grey ? BmpFormat{CI_PNG, 4, 32, 8, 4} : _BMP_bayer_format(nullptr, deep ? 12 : 8);
    const size_t stride = (size_t)format.pixelBytes * width;
    if (png_get_rowbytes(read->png, read->info) != stride) png_error(read->png, "unexpected row layout");
    _BMP_set_image(camera, bmp, (ci_s32)width, (ci_s32)height, format);
    const bool allocated =
        deep ? _BMP_alloc_u16(bmp, stride * height, false) : _BMP_alloc_u8(bmp, stride * height, false);
    if (!allocated) png_error(read->png, "out of memory");
    ci_u8* pixels = deep ? reinterpret_cast<ci_u8*>(bmp->buffer_u16) : bmp->buffer_u8;
    for (int pass = 0; pass < passes; pass++) {
        for (png_uint_32 y = 0; y < height; y++) {
            png_read_row(read->png, pixels + y * stride, nullptr);
            if (deep && passes == 1) _shift_row(bmp->buffer_u16 + (size_t)y * width, width);
        }
    }
    if (deep && passes > 1) _shift_row(bmp->buffer_u16, (png_uint_32)((size_t)width * height));
    png_read_end(read->png, nullptr);
    bmp->imageType = deep ? CI_UNKNOWN_IMAGE_TYPE : grey ? CI_BAYER_8 : CI_RGB32;
    bmp->imageStride = (ci_s32)stride;
    bmp->sampleBits = 12;
    bmp->sampleBytes = 2;
    return true;
}

}  // namespace

ci_error_code _BMP_load_png(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    PngRead read{};
    read.file = fopen(bmp->fileName, "rb");
    if (read.file == nullptr) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open PNG file");
    snprintf(read.message, sizeof read.message, "Error reading PNG file");
    read.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &read, _png_error, _png_warning);
    read.info = read.png != nullptr ? png_create_info_struct(read.png) : nullptr;
    const bool decoded = read.info != nullptr && _png_decode(&read, camera, bmp);
    png_destroy_read_struct(read.png != nullptr ? &read.png : nullptr, read.info != nullptr ? &read.info : nullptr,
                            nullptr);
    fclose(read.file);
    return decoded ? CI_CAMERA_SUCCESS : CK_ERR(CI_CAMERA_ERROR, read.message);
}
