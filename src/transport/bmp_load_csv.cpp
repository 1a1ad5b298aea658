// CSV text images (".csv", ".tab", ".txt" and text of unknown extension):
// integers separated by whitespace and commas, comment lines, an optional
// "[CSV_FOOTERS]" block with "width = ", "height = " and "bpp = " lines.
// A value that reads only as hexadecimal makes the whole file hexadecimal,
// read again from the start.  The size comes from the footer, the side
// file, the first line, or a plausible frame size for the count.
#define CK_SOURCE "transport/bmp_transport"
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "transport/bmp_transport.h"

namespace {

const char kCommentStarts[] = "!/#%;*'";
const char kFooterTag[] = "[CSV_FOOTERS]";
constexpr size_t kFooterTagLength = sizeof kFooterTag - 1;  // 13

struct CsvScan {
    std::vector<ci_u32> values;
    ci_u32 maxValue = 0;
    size_t firstLineCount = 0;
    size_t stop = std::string::npos;  // where the values ended before the end
    bool hexRetry = false;            // a value read only as hexadecimal
};

struct CsvFooter {
    ci_s32 width = 0, height = 0, bpp = 0;
};

bool _is_separator(char c) { return c == ',' || isspace((unsigned char)c); }

bool _is_comment(const std::string& text, size_t lineStart) {
    size_t i = lineStart;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) i++;
    return i < text.size() && text[i] != '\0' && strchr(kCommentStarts, text[i]) != nullptr;
}

// A whole token as a number in the given base (0: "%i" rules).
bool _parse(const std::string& token, int base, long long* value) {
    errno = 0;
    char* end = nullptr;
    *value = strtoll(token.c_str(), &end, base);
    return end != token.c_str() && *end == '\0' && errno == 0;
}

// One pass over the values; stops at the first token that is no number
// (or, in decimal, at one that is a hexadecimal number).
CsvScan _scan(const std::string& text, bool hex) {
    CsvScan scan;
    bool atLineStart = true, firstLine = true;
    size_t i = 0;
    while (i < text.size()) {
        if (atLineStart && _is_comment(text, i)) {
            while (i < text.size() && text[i] != '\n') i++;
            continue;
        }
        const char c = text[i];
        if (c == '\n') {
            if (firstLine && !scan.values.empty()) firstLine = false;
            atLineStart = true;
            i++;
            continue;
        }
        if (_is_separator(c)) {
            i++;
            continue;
        }
        atLineStart = false;
        size_t end = i;
        while (end < text.size() && !_is_separator(text[end])) end++;
        const std::string token = text.substr(i, end - i);
        long long value = 0;
        if (!_parse(token, hex ? 16 : 0, &value)) {
            scan.hexRetry = !hex && _parse(token, 16, &value);
            scan.stop = i;
            return scan;
        }
        const ci_u32 kept = (ci_u32)std::clamp<long long>(value, 0, 0xFFFFFFFFll);
        scan.values.push_back(kept);
        scan.maxValue = std::max(scan.maxValue, kept);
        if (firstLine) scan.firstLineCount++;
        i = end;
    }
    return scan;
}

// The footer block after the values, taken only when its tag matched whole.
CsvFooter _read_footer(const std::string& text, size_t at) {
    CsvFooter footer;
    size_t matched = 0;
    while (matched < kFooterTagLength && at + matched < text.size() && text[at + matched] == kFooterTag[matched])
        matched++;
    if (matched != kFooterTagLength) return footer;
    size_t i = at + matched;
    bool w = false, h = false, b = false;
    while (i < text.size() && !(w && h && b)) {
        size_t end = text.find('\n', i);
        if (end == std::string::npos) end = text.size();
        char key[64] = {};
        int value = 0;
        if (sscanf(text.substr(i, end - i).c_str(), "%63s = %d", key, &value) == 2) {
            if (osal_stricmp(key, "width") == 0) footer.width = value, w = true;
            if (osal_stricmp(key, "height") == 0) footer.height = value, h = true;
            if (osal_stricmp(key, "bpp") == 0) footer.bpp = value, b = true;
        }
        i = end + 1;
    }
    return footer;
}

struct CsvSize {
    ci_s32 width = 0, height = 0;
    BmpFormat format{};
};

bool _size_from_count(const CsvScan& scan, CsvSize* size) {
    const ci_u64 count = scan.values.size();
    if (scan.firstLineCount > 3 && count % scan.firstLineCount == 0) {
        size->width = (ci_s32)scan.firstLineCount;
        size->height = (ci_s32)(count / scan.firstLineCount);
    } else if (!_likely_dimensions(count, &size->width, &size->height)) {
        return false;
    }
    size->format = _get_imagetype_from_maxm(scan.maxValue, count, &size->width, size->height);
    return true;
}

bool _size_from_fractions(const CsvScan& scan, CsvSize* size) {
    const ci_u64 count = scan.values.size();
    if (count % 2 == 0 && _likely_dimensions(count / 2, &size->width, &size->height)) {
        size->format = scan.maxValue < 256 ? BmpFormat{CI_YCBCR, 2, 16, 8, 2} : BmpFormat{CI_YCBCR_10, 4, 20, 10, 2};
        return true;
    }
    if ((2 * count) % 3 == 0 && _likely_dimensions(2 * count / 3, &size->width, &size->height)) {
        size->format = BmpFormat{CI_YUV420, 2, 16, 8, 2};
        return true;
    }
    return false;
}

bool _settle_size(const BMP_Transport_Context* bmp, const CsvScan& scan, const CsvFooter& footer, CsvSize* size) {
    const ci_u64 count = scan.values.size();
    if (footer.width >= 1 && footer.height >= 1) {
        const bool bpp = footer.bpp >= 1 && footer.bpp <= 31;
        const ci_u32 maxValue = bpp ? (1u << footer.bpp) - 1 : scan.maxValue;
        size->width = footer.width;
        size->height = footer.height;
        size->format = _get_imagetype_from_maxm(maxValue, count, &size->width, size->height);
        return true;
    }
    if (bmp->infoImageWidth > 0 && bmp->infoImageHeight > 0) {
        size->width = bmp->infoImageWidth;
        size->height = bmp->infoImageHeight;
        size->format = _BMP_format_of_type(bmp->infoImageType, bmp->infoPixelBits, scan.maxValue, count, &size->width,
                                           size->height);
        return true;
    }
    return _size_from_count(scan, size) || _size_from_fractions(scan, size);
}

}  // namespace

ci_error_code _BMP_load_csv(ci_camera_t* camera, BMP_Transport_Context* bmp) {
    std::vector<ci_u8> bytes;
    if (!_BMP_read_file(bmp->fileName, &bytes)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't open CSV file");
    const std::string text(bytes.begin(), bytes.end());
    CsvScan scan = _scan(text, false);
    if (scan.hexRetry) scan = _scan(text, true);
    if (scan.values.empty()) return CK_ERR(CI_CAMERA_ERROR, "No values in CSV file");
    const CsvFooter footer = scan.stop != std::string::npos ? _read_footer(text, scan.stop) : CsvFooter{};
    CsvSize size;
    if (!_settle_size(bmp, scan, footer, &size)) return CK_ERR(CI_CAMERA_ERROR, "Couldn't find the CSV image size");
    const char* failure = _BMP_keep_text_image(camera, bmp, &scan.values, size.width, size.height, size.format,
                                               scan.maxValue, "CSV file holds fewer values than its image size");
    return failure == nullptr ? CI_CAMERA_SUCCESS : CK_ERR(CI_CAMERA_ERROR, failure);
}
