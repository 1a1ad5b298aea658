// JPEG frames to B, G, R rows through libjpeg.
#include "frame_jpeg.h"

#ifdef CAMKIT_CLI_HAVE_JPEG
#include <jpeglib.h>

#include <csetjmp>
#include <cstdio>
#endif

namespace cli {

#ifdef CAMKIT_CLI_HAVE_JPEG
namespace {

struct JpegErrors {
    jpeg_error_mgr mgr;
    jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void on_error(j_common_ptr info) {
    auto* errors = reinterpret_cast<JpegErrors*>(info->err);
    info->err->format_message(info, errors->message);
    longjmp(errors->jump, 1);
}

// The decode proper: libjpeg reports errors by a long jump out of here, so
// nothing in this frame has a destructor to skip.
bool decode(jpeg_decompress_struct* info, const FrameView& jpeg, std::vector<ci_u8>* pixels, ci_u32* width,
            ci_u32* height) {
    if (setjmp(reinterpret_cast<JpegErrors*>(info->err)->jump)) return false;
    jpeg_create_decompress(info);
    jpeg_mem_src(info, jpeg.data, (unsigned long)jpeg.bytes);
    jpeg_read_header(info, TRUE);
    info->out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(info);
    *width = info->output_width;
    *height = info->output_height;
    pixels->resize((size_t)*width * *height * 3);
    while (info->output_scanline < info->output_height) {
        JSAMPROW row = pixels->data() + (size_t)info->output_scanline * *width * 3;
        jpeg_read_scanlines(info, &row, 1);
    }
    jpeg_finish_decompress(info);
    return true;
}

}  // namespace

bool decode_jpeg_frame(const FrameView& jpeg, std::vector<ci_u8>& pixels, FrameView& decoded, std::string& error) {
    jpeg_decompress_struct info{};
    JpegErrors errors{};
    info.err = jpeg_std_error(&errors.mgr);
    errors.mgr.error_exit = on_error;
    ci_u32 width = 0, height = 0;
    const bool ok = decode(&info, jpeg, &pixels, &width, &height);
    jpeg_destroy_decompress(&info);
    if (!ok) {
        error = std::string("the JPEG frame does not decode: ") + errors.message;
        return false;
    }
    decoded = FrameView{CI_RGB24, width, height, 24, 3, pixels.data(), pixels.size()};
    return true;
}

#else

bool decode_jpeg_frame(const FrameView&, std::vector<ci_u8>&, FrameView&, std::string& error) {
    error = "this build of camkit decodes no JPEG frames (libjpeg was not found); save them as .jpg";
    return false;
}

#endif

}  // namespace cli
