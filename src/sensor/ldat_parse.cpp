// Long-description files (.ldat).  In the sectioned text form each
// description is a section whose header names its register, or the register
// and a bitfield joined by '.'; the lines up to "[END]" are its text, kept as
// they are (inner blank lines too) and joined by line ends.  Lines outside
// sections are comments.  A file starting with "<?xml" (after an optional
// byte-order mark) is the XML form: `long_desc` elements.
#define CK_SOURCE "sensor_data"
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "core/camkit_private.h"
#include "sensor/sdat_reader.h"

namespace {

struct raw_line {
    const char* text;
    size_t length;
};

// The next physical line without its line end; false at the end.
bool next_raw_line(sdat_text* t, raw_line* line) {
    if (t->pos >= t->size) return false;
    const char* start = t->data + t->pos;
    const void* nl = memchr(start, '\n', t->size - t->pos);
    size_t length = nl ? static_cast<size_t>(static_cast<const char*>(nl) - start) : t->size - t->pos;
    t->pos += length + (nl ? 1 : 0);
    if (length > 0 && start[length - 1] == '\r') --length;
    line->text = start;
    line->length = length;
    return true;
}

bool is_end(const raw_line& l) { return l.length >= 5 && osal_strnicmp(l.text, "[END]", 5) == 0; }

bool is_header(const raw_line& l) { return l.length >= 2 && l.text[0] == '[' && memchr(l.text, ']', l.length); }

bool blank(const std::string& s) {
    for (char c : s)
        if (!isspace(static_cast<unsigned char>(c))) return false;
    return true;
}

char* heap_copy(const std::string& s) {
    char* copy = static_cast<char*>(malloc(s.size() + 1));
    if (copy) memcpy(copy, s.c_str(), s.size() + 1);
    return copy;
}

struct pending {
    std::string reg;
    std::string field;
    std::vector<std::string> lines;
};

struct ldat_reader {
    const char* fileName;
    ci_s32 lineNo = 0;
    std::vector<ci_long_desc_t> out;
    bool broke = false;  // out of memory
    ci_error_code result = CI_PARSE_SUCCESS;
};

// Leading and trailing blank lines are dropped.
void finish(ldat_reader* r, pending* p) {
    while (!p->lines.empty() && blank(p->lines.back())) p->lines.pop_back();
    size_t first = 0;
    while (first < p->lines.size() && blank(p->lines[first])) ++first;
    std::string text;
    for (size_t i = first; i < p->lines.size(); ++i) text += (i > first ? "\n" : "") + p->lines[i];
    ci_long_desc_t d{heap_copy(p->reg), p->field.empty() ? nullptr : heap_copy(p->field), heap_copy(text)};
    if (!d.regName || !d.longDesc || (!p->field.empty() && !d.bitfieldName)) r->broke = true;
    r->out.push_back(d);
}

// "[REG]" or "[REG.FIELD]"; false (reported) for a header without a name.
bool start(ldat_reader* r, const raw_line& l, pending* p) {
    const char* close = static_cast<const char*>(memchr(l.text, ']', l.length));
    std::string name(l.text + 1, static_cast<size_t>(close - l.text - 1));
    size_t dot = name.find('.');
    char reg[CI_STRING_LEN];
    char field[CI_STRING_LEN];
    snprintf(reg, sizeof reg, "%s", name.substr(0, dot).c_str());
    snprintf(field, sizeof field, "%s", dot == std::string::npos ? "" : name.substr(dot + 1).c_str());
    osal_trim(reg);
    osal_trim(field);
    if (!reg[0]) {
        ci_syntaxerror(CI_SENSOR_FILE_PARSE_ERROR, std::string(l.text, l.length).c_str(), r->fileName, r->lineNo);
        r->result = CI_SENSOR_FILE_PARSE_ERROR;
        return false;
    }
    p->reg = reg;
    p->field = field;
    p->lines.clear();
    return true;
}

void read_text(ldat_reader* r, sdat_text* t) {
    raw_line l;
    pending p;
    bool inside = false;
    while (next_raw_line(t, &l)) {
        ++r->lineNo;
        if (inside && is_end(l)) {
            finish(r, &p);
            inside = false;
        } else if (is_header(l) && !is_end(l)) {
            if (inside) finish(r, &p);
            inside = start(r, l, &p);
        } else if (inside) {
            p.lines.emplace_back(l.text, l.length);
        }
    }
    if (inside) finish(r, &p);
}

bool append(ci_sensor_t* sensor, const std::vector<ci_long_desc_t>& add) {
    if (add.empty()) return true;
    size_t total = static_cast<size_t>(sensor->num_long_desc) + add.size();
    void* grown = realloc(sensor->long_desc, total * sizeof(ci_long_desc_t));
    if (!grown) return false;
    sensor->long_desc = static_cast<ci_long_desc_t*>(grown);
    memcpy(sensor->long_desc + sensor->num_long_desc, add.data(), add.size() * sizeof(ci_long_desc_t));
    sensor->num_long_desc = static_cast<ci_s32>(total);
    return true;
}

void release(std::vector<ci_long_desc_t>& entries) {
    for (ci_long_desc_t& d : entries) {
        free(d.regName);
        free(d.bitfieldName);
        free(d.longDesc);
    }
}

}  // namespace

ci_error_code ci_ParseLongDescFile(ci_camera_t* camera, const char* fileName) {
    if (!camera || !camera->sensor || !fileName) return CI_CAMERA_ERROR;
    FILE* fp = fopen(fileName, "rb");
    if (!fp) {
        char message[CI_MAX_PATH + 32];
        snprintf(message, sizeof message, "unable to open file %s", fileName);
        return CK_ERR(CI_PARSE_FILE_ERROR, message);
    }
    sdat_text text{};
    int read = sdat_text_read(fp, &text);
    fclose(fp);
    if (!read) return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate memory for the file");
    if (sdat_text_is_xml(&text)) {
        sdat_text_free(&text);
        return _parseXmlLongDescFile(camera, fileName);
    }
    ldat_reader r;
    r.fileName = fileName;
    read_text(&r, &text);
    sdat_text_free(&text);
    if (r.broke || !append(camera->sensor, r.out)) {
        release(r.out);
        return CK_ERR(CI_CAMERA_ERROR, "Couldn't allocate long descriptions");
    }
    return r.result;
}
