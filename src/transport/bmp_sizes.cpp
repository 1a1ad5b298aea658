// Frame sizes the text and raw loaders recognise by sample count, and the
// image type a text image's value range implies.
#define CK_SOURCE "transport/bmp_transport"
#include "transport/bmp_transport.h"

namespace {

struct FrameSize {
    ci_s32 width;
    ci_s32 height;
};

// Common sensor and display frame sizes; no two share a pixel count.
const FrameSize kLikelySizes[] = {
    {88, 72},     {160, 120},   {160, 128},   {160, 130},   {176, 144},   {188, 120},   {200, 150},   {200, 152},
    {256, 192},   {256, 194},   {256, 256},   {258, 194},   {320, 180},   {320, 240},   {320, 256},   {320, 258},
    {320, 320},   {324, 243},   {324, 245},   {352, 288},   {376, 240},   {400, 300},   {400, 302},   {408, 306},
    {408, 308},   {436, 243},   {436, 245},   {436, 327},   {436, 329},   {458, 344},   {458, 346},   {480, 270},
    {480, 344},   {480, 346},   {512, 384},   {512, 386},   {516, 388},   {576, 324},   {640, 360},   {640, 480},
    {640, 488},   {640, 512},   {640, 514},   {648, 486},   {648, 488},   {648, 520},   {652, 490},   {720, 480},
    {720, 486},   {720, 487},   {720, 540},   {722, 487},   {752, 480},   {800, 600},   {800, 602},   {808, 608},
    {816, 612},   {816, 614},   {872, 486},   {872, 488},   {872, 654},   {872, 656},   {916, 688},   {916, 690},
    {960, 540},   {960, 688},   {960, 690},   {1000, 750},  {1000, 752},  {1024, 768},  {1024, 770},  {1032, 768},
    {1032, 776},  {1096, 822},  {1096, 824},  {1152, 648},  {1280, 720},  {1280, 800},  {1280, 960},  {1280, 962},
    {1280, 964},  {1280, 1024}, {1280, 1026}, {1288, 728},  {1288, 968},  {1288, 1032}, {1296, 972},  {1296, 974},
    {1296, 976},  {1304, 980},  {1308, 844},  {1344, 848},  {1440, 1080}, {1472, 1096}, {1600, 1200}, {1600, 1202},
    {1600, 1208}, {1608, 1208}, {1608, 1210}, {1632, 1224}, {1632, 1226}, {1744, 972},  {1744, 974},  {1744, 1308},
    {1744, 1310}, {1832, 1374}, {1832, 1376}, {1920, 1080}, {1920, 1374}, {1920, 1376}, {1928, 1088}, {2000, 1500},
    {2000, 1502}, {2048, 1536}, {2048, 1538}, {2048, 1552}, {2052, 1540}, {2056, 1544}, {2064, 1536}, {2064, 1538},
    {2064, 1544}, {2064, 1552}, {2080, 1552}, {2082, 1580}, {2192, 1644}, {2192, 1646}, {2304, 1296}, {2456, 1842},
    {2456, 1844}, {2592, 1944}, {2592, 1946}, {2592, 1952}, {2600, 1952}, {2604, 1942}, {2608, 1960}, {3264, 2448},
    {3264, 2450}, {3280, 2464}, {3488, 2616}, {3488, 2618}, {3664, 2748}, {3664, 2750}, {3840, 2748}, {3840, 2750},
    {4000, 3000}, {4000, 3002}, {4016, 3016}, {4096, 3072}, {4096, 3074}, {4208, 3120}, {4208, 3122}, {4384, 3288},
    {4384, 3290}, {4608, 3288}, {4608, 3290}, {4640, 3320}, {4912, 3684}, {4912, 3686}, {5024, 3332},
};

// Values from here up read as 16-bit YCbCr words.  The two values above
// 16384 still count as 14-bit Bayer data on purpose.
constexpr ci_u32 kYcbcrWordThreshold = 16386;

bool _half_count_matches(ci_u64 count, ci_s32 width, ci_s32 height) {
    ci_s32 w = 0, h = 0;
    return count % 2 == 0 && _likely_dimensions(count / 2, &w, &h) && 2 * w == width && h == height;
}

}  // namespace

bool _likely_dimensions(ci_u64 count, ci_s32* width, ci_s32* height) {
    for (const FrameSize& size : kLikelySizes) {
        if ((ci_u64)size.width * (ci_u64)size.height != count) continue;
        *width = size.width;
        *height = size.height;
        return true;
    }
    return false;
}

BmpFormat _get_imagetype_from_maxm(ci_u32 maxValue, ci_u64 count, ci_s32* width, ci_s32 height) {
    if (maxValue >= 0x10000) return BmpFormat{CI_BAYER_20, 4, 20, 10, 2};
    if (maxValue >= kYcbcrWordThreshold) return BmpFormat{CI_YCBCR, 2, 16, 8, 2};
    if (maxValue >= 4096) return BmpFormat{CI_BAYER_14, 2, 14, 14, 1};
    if (maxValue >= 1024) return BmpFormat{CI_BAYER_12, 2, 12, 12, 1};
    const bool pairs = _half_count_matches(count, *width, height);
    if (pairs) *width /= 2;
    if (maxValue >= 256) return pairs ? BmpFormat{CI_YCBCR_10, 4, 20, 10, 2} : BmpFormat{CI_BAYER_10, 2, 10, 10, 1};
    return pairs ? BmpFormat{CI_YCBCR, 2, 16, 8, 2} : BmpFormat{CI_BAYER_8, 1, 8, 8, 1};
}
