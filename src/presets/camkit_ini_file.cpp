// Preset files, each parsed into its sections once and kept while it is
// unchanged on disk (same size and modification time), so that nested LOADs
// and repeated runs do not read it again.
#define CK_SOURCE "camkit_ini"
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "presets/presets_internal.h"

namespace {

constexpr size_t kFirstBuffer = 16384;
constexpr size_t kMaxNameChars = 256;
constexpr size_t kMaxCachedFiles = 16;

struct FileStamp {
    off_t size = -1;
    time_t seconds = 0;
    long nanoseconds = 0;
    bool operator==(const FileStamp& o) const {
        return size == o.size && seconds == o.seconds && nanoseconds == o.nanoseconds;
    }
};

struct IniFile {
    FileStamp stamp;
    // Upper-cased section name to its cleaned lines, each ended by a NUL;
    // the first section of a name wins, as a scan from the top of the file
    // finds it.
    std::map<std::string, std::string> sections;
};

std::string upper(const std::string& text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return (char)toupper(c); });
    return out;
}

bool stampOf(const std::string& path, FileStamp* stamp) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    stamp->size = st.st_size;
    stamp->seconds = st.st_mtim.tv_sec;
    stamp->nanoseconds = st.st_mtim.tv_nsec;
    return true;
}

struct ParseState {
    IniFile* file;
    std::string* current;
};

void visitLine(void* user, const char* section, const char* line) {
    auto* state = static_cast<ParseState*>(user);
    if (section) {
        auto inserted = state->file->sections.emplace(upper(section), std::string{});
        // A repeated header's lines are read and dropped: the first one wins.
        state->current = inserted.second ? &inserted.first->second : nullptr;
        return;
    }
    if (state->current) state->current->append(line, strlen(line) + 1);
}

std::atomic<ci_u64> g_reads{0};

class IniFileCache {
public:
    std::shared_ptr<const IniFile> get(const std::string& path) {
        FileStamp stamp;
        if (!stampOf(path, &stamp)) return nullptr;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            auto it = files_.find(path);
            if (it != files_.end() && it->second->stamp == stamp) return it->second;
        }
        auto parsed = std::make_shared<IniFile>();
        parsed->stamp = stamp;
        ParseState state{parsed.get(), nullptr};
        ++g_reads;
        if (!osal_scan_sections(path.c_str(), visitLine, &state)) return nullptr;
        std::lock_guard<std::mutex> lock(mutex_);
        if (files_.size() >= kMaxCachedFiles && !files_.count(path)) files_.erase(files_.begin());
        files_[path] = parsed;
        return parsed;
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const IniFile>> files_;
};

IniFileCache& cache() {
    static IniFileCache instance;
    return instance;
}

// Copies the NUL-ended lines into a list ended by an extra NUL, in a buffer
// that starts at 16384 bytes and doubles until the list fits.
void fillBuffer(const std::string& lines, std::vector<char>& buffer) {
    size_t size = kFirstBuffer;
    while (lines.size() + 3 > size) size *= 2;
    buffer.assign(size, '\0');
    memcpy(buffer.data(), lines.data(), lines.size());
}

}  // namespace

bool _iniFileSection(const std::string& file, const std::string& section, std::vector<char>& buffer) {
    std::shared_ptr<const IniFile> ini = cache().get(file);
    if (!ini) return false;
    auto it = ini->sections.find(upper(_trimmed(section)));
    if (it == ini->sections.end()) return false;
    fillBuffer(it->second, buffer);
    return true;
}

ci_u64 _iniFileReads(void) {
    return g_reads.load();
}

ci_error_code _getSensorIniSection(const std::string& file, const char* section, std::vector<char>& buffer) {
    const std::string name(section ? section : "");
    const std::string wanted = upper(name.substr(0, kMaxNameChars));
    static const char* const kPrefixes[] = {"", "Hidden:", "Hidden: "};
    const size_t tries = wanted.find("HIDDEN:") != std::string::npos ? 1 : 3;
    for (size_t i = 0; i < tries; ++i) {
        if (_iniFileSection(file, std::string(kPrefixes[i]) + name, buffer)) return CI_INI_SUCCESS;
    }
    char message[CI_MAX_PATH + 300];
    snprintf(message, sizeof message, "Preset not found: %s (%s)", name.c_str(), file.c_str());
    _setLastIniMessage(message);
    return CK_ERR(CI_INI_LOAD_ERROR, message);
}
