// Reading a whole sensor-data file into memory.  Both passes over a
// registers section then scan the same bytes, and the file is read once.
// The text of a large file goes to a bulk block; a new block is faulted in
// a huge page at a time, each just before the read fills it.
#define CK_SOURCE "sensor_data"
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <mutex>

#include "core/camkit_private.h"
#include "sensor/bulk_memory.h"
#include "sensor/sdat_reader.h"

namespace {

const size_t kFirstChunk = 64 * 1024;
const size_t kBulkText = 1024 * 1024;
const size_t kKeptText = 64u * 1024 * 1024;

// The last bulk block freed, kept for the next large file (its old bytes
// are overwritten by the read).
std::mutex g_spareLock;
void* g_spare = nullptr;
size_t g_spareSize = 0;

// A block of at least `bytes`: the spare (*fresh false: faulted in
// already), or a new reserved one.
void* take_bulk(size_t bytes, size_t* size, bool* fresh) {
    {
        std::lock_guard<std::mutex> hold(g_spareLock);
        if (g_spare && g_spareSize >= bytes) {
            void* block = g_spare;
            *size = g_spareSize;
            g_spare = nullptr;
            g_spareSize = 0;
            *fresh = false;
            return block;
        }
    }
    *fresh = true;
    return bulk_reserve(bytes, size);
}

void give_back_bulk(void* block, size_t size) {
    std::lock_guard<std::mutex> hold(g_spareLock);
    if (size <= kKeptText && size > g_spareSize) {
        bulk_unmap(g_spare, g_spareSize);
        g_spare = block;
        g_spareSize = size;
        return;
    }
    bulk_unmap(block, size);
}

// The bytes left in a regular file, or a first guess for other files.
size_t expected_size(FILE* fp) {
    struct stat st;
    long at = ftell(fp);
    if (fstat(fileno(fp), &st) != 0 || !S_ISREG(st.st_mode) || at < 0 || st.st_size <= at) return kFirstChunk;
    unsigned long long left = static_cast<unsigned long long>(st.st_size - at);
    return left < SIZE_MAX / 2 ? static_cast<size_t>(left) + 1 : kFirstChunk;  // + 1 sees the end at once
}

// Room for capacity bytes; *fresh tells a new bulk block, which is faulted
// in piece by piece as it is filled.
bool allocate(sdat_text* text, size_t capacity, bool* fresh) {
    text->mapped = 0;
    *fresh = false;
    if (capacity >= kBulkText) {
        text->data = static_cast<char*>(take_bulk(capacity, &text->mapped, fresh));
        if (text->data) return true;
    }
    text->data = static_cast<char*>(malloc(capacity));
    return text->data != nullptr;
}

bool grow(sdat_text* text, size_t* capacity, bool* fresh) {
    if (*capacity > SIZE_MAX / 2) return false;
    size_t bigger = *capacity * 2;
    if (text->mapped) {  // a file that grew while it was read
        sdat_text old = *text;
        if (!allocate(text, bigger, fresh)) {
            *text = old;
            return false;
        }
        if (*fresh) bulk_populate(text->data, old.size);
        memcpy(text->data, old.data, old.size);
        give_back_bulk(old.data, old.mapped);
    } else {
        void* data = realloc(text->data, bigger);
        if (!data) return false;
        text->data = static_cast<char*>(data);
    }
    *capacity = bigger;
    return true;
}

// Reads up to the capacity; a fresh block is faulted in a huge page ahead
// of the read, so that the bytes land in memory still in the cache.
size_t read_more(FILE* fp, sdat_text* text, size_t capacity, bool fresh) {
    size_t room = capacity - text->size;
    if (fresh) {
        if (room > BULK_STEP) room = BULK_STEP;
        bulk_populate(text->data + text->size, room);
    }
    return fread(text->data + text->size, 1, room, fp);
}

}  // namespace

int sdat_text_read(FILE* fp, sdat_text* text) {
    size_t capacity = expected_size(fp);
    text->size = 0;
    text->pos = 0;
    text->nulFree = -1;
    bool fresh = false;
    if (!allocate(text, capacity, &fresh)) return 0;
    for (;;) {
        if (text->size == capacity && !grow(text, &capacity, &fresh)) {
            sdat_text_free(text);
            return 0;
        }
        size_t got = read_more(fp, text, capacity, fresh);
        text->size += got;
        if (got == 0) return 1;
    }
}

void sdat_text_free(sdat_text* text) {
    if (text->mapped)
        give_back_bulk(text->data, text->mapped);
    else
        free(text->data);
    text->mapped = 0;
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
