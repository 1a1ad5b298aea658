// ITX text images.  With a header, the first line is "ITX[ITX]", then
// comment lines and one line "width height order type scale maximum", up to
// the next "ITX[ITX]" line; without one the first data line starts with the
// width and height.  Data values follow, separated by whitespace or commas:
// integers for the integer sample types, reals (rounded down) for "float"
// and "double".
//
// Pedestal: when the header gives a maximum sample value, it chooses the
// image type in place of the data's largest value, and the data pedestal
// register takes the smallest sample (the black level of the data) with
// the mask of that depth.
#define CK_SOURCE "transport/bmp_transport"
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "transport/bmp_transport.h"

namespace {

constexpr size_t kLineLength = 100;
const char kCommentStarts[] = "!/#%;*'";
const char kHeaderTag[] = "ITX[ITX]";

struct ItxHeader {
    bool present = false;
    ci_s32 width = 0, height = 0;
    std::string order = "GRBG";
    std::string sampleType = "int16";
    double maxValue = 0;
};

std::vector<std::string> _lines(const std::vector<ci_u8>& bytes) {
    std::vector<std::string> lines;
    std::string line;
    auto flush = [&] {
        size_t a = 0, b = line.size();
        while (a < b && isspace((unsigned char)line[a])) a++;
        while (b > a && isspace((unsigned char)line[b - 1])) b--;
        lines.push_back(line.substr(a, std::min(b - a, kLineLength)));
        line.clear();
    };
    for (ci_u8 c : bytes) {
        if (c == '\n')
            flush();
        else
            line.push_back((char)c);
    }
    if (!line.empty()) flush();
    return lines;
}

bool _is_comment(const std::string& line) { return !line.empty() && strchr(kCommentStarts, line[0]) != nullptr; }

// Reads the header from line 0; returns the first data line.
size_t _read_header(const std::vector<std::string>& lines, ItxHeader* header) {
    if (lines.empty() || lines[0] != kHeaderTag) return 0;
    header->present = true;
    size_t i = 1;
    while (i < lines.size() && _is_comment(lines[i])) i++;
    if (i < lines.size()) {
        char order[16] = {}, type[16] = {};
        double scale = 0, maximum = 0;
        const int n = sscanf(lines[i].c_str(), "%d %d %15s %15s %lf %lf", &header->width, &header->height, order, type,
                             &scale, &maximum);
        if (n >= 3) header->order = order;
        if (n >= 4) header->sampleType = type;
        if (n >= 6) header->maxValue = maximum;
        i++;
    }
    while (i < lines.size() && lines[i] != kHeaderTag) i++;
    return i < lines.size() ? i + 1 : i;
}

bool _is_real_type(const std::string& type) { return type == "float" || type == "double"; }

// The values of the data lines; false at a token that is not a number.
bool _read_values(const std::vector<std::string>& lines, size_t first, bool real, std::vector<double>* values) {
    for (size_t i = first; i < lines.size(); i++) {
        if (lines[i].empty() || _is_comment(lines[i])) continue;
        const char* p = lines[i].c_str();
        while (*p != '\0') {
            while (*p != '\0' && (isspace((unsigned char)*p) || *p == ',')) p++;
            if (*p == '\0') break;
            char* end = nullptr;
            const double v = real ? strtod(p, &end) : (double)strtol(p, &end, 10);
            if (end == p) return false;
            values->push_back(v);
            p = end;
        }
    }
    return true;
}

ci_s32 _pixel_order(const std::string& order) {
    static const char* const kOrders[] = {"GRBG", "RGGB", "BGGR", "GBRG"};
    for (ci_s32 i = 0; i < 4; i++)
        if (osal_stricmp(order.c_str(), kOrders[i]) == 0) return i;
    return -1;
}

// A width or height read as a number; 0 when out of range.
ci_s32 _side(double v) { return v >= 1 && v <= kBmpMaxSide ? (ci_s32)v : 0; }

}  // namespace

ci_error_code _BMP_load_itx(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    std::vector<ci_u8> bytes;
    if (!_BMP_read_file(bmp->fileName, &bytes)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open ITX file");
    const std::vector<std::string> lines = _lines(bytes);
    ItxHeader header;
    const size_t first = _read_header(lines, &header);
    std::vector<double> values;
    if (!_read_values(lines, first, _is_real_type(header.sampleType), &values))
        return CK_ERR(CI_CAMERA_ERROR, "Bad value in ITX file");
    size_t skip = 0;
    if (!header.present) {
        if (values.size() < 2) return CK_ERR(CI_CAMERA_ERROR, "ITX file has no image size");
        header.width = _side(values[0]);
        header.height = _side(values[1]);
        skip = 2;
    }
    std::vector<ci_u32> samples;
    ci_u32 maxValue = 0, minValue = 0xFFFFFFFFu;
    for (size_t i = skip; i < values.size(); i++) {
        const double v = std::floor(values[i]);
        const ci_u32 kept = v <= 0 || std::isnan(v) ? 0 : v >= 4294967295.0 ? 0xFFFFFFFFu : (ci_u32)v;
        samples.push_back(kept);
        maxValue = std::max(maxValue, kept);
        minValue = std::min(minValue, kept);
    }
    const bool headerMax = header.maxValue >= 1 && header.maxValue < 4294967295.0;
    const ci_u32 typeMax = headerMax ? (ci_u32)header.maxValue : maxValue;
    ci_s32 width = header.width;
    const BmpFormat format = _get_imagetype_from_maxm(typeMax, samples.size(), &width, header.height);
    const char* failure = _BMP_keep_text_image(camera, bmp, &samples, width, header.height, format, typeMax,
                                               "ITX file holds fewer values than its image size");
    if (failure != nullptr) return CK_ERR(CI_CAMERA_ERROR, failure);
    const ci_s32 order = _pixel_order(header.order);
    if (header.present && order >= 0) _BMP_set_pixel_order(bmp, (ci_u32)order);
    if (headerMax)
        _BMP_set_pedestal(camera, bmp, samples.empty() ? 0 : minValue, std::max<ci_u32>(format.pixelBits, 8));
    return CI_CAMERA_SUCCESS;
}
