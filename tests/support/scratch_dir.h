#pragma once
// A temporary directory under /tmp, removed with everything in it when the
// object goes out of scope.
#include <string>

class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return path_; }
    // Absolute path of an entry of the directory.
    std::string file(const std::string& name) const;
    // Creates (or replaces) an entry with the given content, and the
    // directories on its way; returns its path.
    std::string write(const std::string& name, const std::string& content) const;

private:
    std::string path_;
};

// Whole content of a file ("" when it cannot be read).
std::string scratch_read_file(const std::string& path);
bool scratch_file_exists(const std::string& path);
// Sets a file's access and modification time to seconds since the epoch.
void scratch_set_mtime(const std::string& path, long seconds);
