// Reading a whole sensor-data file into memory.  Both passes over a
// registers section then scan the same bytes, and the file is read once.
#define CK_SOURCE "sensor_data"
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"

namespace {

const size_t kFirstChunk = 64 * 1024;

// The bytes left in a regular file, or a first guess for other files.
size_t expected_size(FILE* fp) {
    struct stat st;
    long at = ftell(fp);
    if (fstat(fileno(fp), &st) != 0 || !S_ISREG(st.st_mode) || at < 0 || st.st_size <= at) return kFirstChunk;
    unsigned long long left = static_cast<unsigned long long>(st.st_size - at);
    return left < SIZE_MAX / 2 ? static_cast<size_t>(left) + 1 : kFirstChunk;  // + 1 sees the end at once
}

bool grow(sdat_text* text, size_t* capacity) {
    if (*capacity > SIZE_MAX / 2) return false;
    size_t bigger = *capacity * 2;
    void* data = realloc(text->data, bigger);
    if (!data) return false;
    text->data = static_cast<char*>(data);
    *capacity = bigger;
    return true;
}

}  // namespace

int sdat_text_read(FILE* fp, sdat_text* text) {
    size_t capacity = expected_size(fp);
    text->data = static_cast<char*>(malloc(capacity));
    text->size = 0;
    text->pos = 0;
    if (!text->data) return 0;
    for (;;) {
        if (text->size == capacity && !grow(text, &capacity)) {
            sdat_text_free(text);
            return 0;
        }
        size_t got = fread(text->data + text->size, 1, capacity - text->size, fp);
        text->size += got;
        if (got == 0) return 1;
    }
}

void sdat_text_free(sdat_text* text) {
    free(text->data);
    text->data = nullptr;
    text->size = 0;
    text->pos = 0;
}

int sdat_text_is_xml(sdat_text* text) {
    static const char kByteOrderMark[] = "\xEF\xBB\xBF";
    size_t skip = (text->size >= 3 && memcmp(text->data, kByteOrderMark, 3) == 0) ? 3 : 0;
    text->pos = skip;
    return text->size >= skip + 5 && memcmp(text->data + skip, "<?xml", 5) == 0;
}
