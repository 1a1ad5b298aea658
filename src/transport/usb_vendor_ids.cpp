// The known vendor IDs of the USB boards: configuration, never compiled in.
// CI_USB_VENDOR_IDS holds one or two hexadecimal IDs separated by a comma;
// it is read at every open.
#define CK_SOURCE "transport/usb_vendor_ids"
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "transport/usb_private.h"

namespace {

constexpr const char* kVariable = "CI_USB_VENDOR_IDS";

// Parses one ID from [begin, end): hexadecimal with or without 0x, 1..0xFFFF.
bool parseId(const char* begin, const char* end, ci_u32* id) {
    while (begin < end && (*begin == ' ' || *begin == '\t')) begin++;
    while (end > begin && (end[-1] == ' ' || end[-1] == '\t')) end--;
    if (begin == end || end - begin > 16) return false;
    char text[17];
    memcpy(text, begin, (size_t)(end - begin));
    text[end - begin] = '\0';
    char* stop = nullptr;
    errno = 0;
    const unsigned long value = strtoul(text, &stop, 16);
    if (errno != 0 || stop == text || *stop != '\0' || text[0] == '-' || text[0] == '+') return false;
    if (value == 0 || value > 0xFFFF) return false;
    *id = (ci_u32)value;
    return true;
}

int parseList(const char* text, ci_u32 ids[2]) {
    const char* comma = strchr(text, ',');
    if (comma == nullptr) return parseId(text, text + strlen(text), &ids[0]) ? 1 : 0;
    if (strchr(comma + 1, ',') != nullptr) return 0;
    if (!parseId(text, comma, &ids[0]) || !parseId(comma + 1, comma + strlen(comma), &ids[1])) return 0;
    return 2;
}

}  // namespace

int _usb_known_vendor_ids(ci_u32 ids[2]) {
    ids[0] = ids[1] = 0;
    const char* text = getenv(kVariable);
    if (text == nullptr || text[0] == '\0') {
        CK_LOG(CI_LOG_INFO, "No USB vendor ID is known: set CI_USB_VENDOR_IDS (e.g. 0xC0DE,0xC0DF) to find USB boards");
        return 0;
    }
    const int n = parseList(text, ids);
    if (n == 0) {
        ids[0] = ids[1] = 0;
        char message[CI_STRING_LEN];
        snprintf(message, sizeof message,
                 "CI_USB_VENDOR_IDS=\"%.100s\" is malformed: expected one or two hexadecimal IDs separated by a "
                 "comma, e.g. 0xC0DE,0xC0DF",
                 text);
        CK_ERR(CI_CAMERA_ERROR, message);
    }
    return n;
}

int _usb_vendor_rank(ci_u32 idVendor, const ci_u32 ids[2], int numIds) {
    for (int i = 0; i < numIds; i++) {
        if (ids[i] == idVendor) return i + 1;
    }
    return 0;
}
