// Temporary directories for tests that touch the file system.
#include "scratch_dir.h"

#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

int remove_one(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

}  // namespace

ScratchDir::ScratchDir() {
    char templ[] = "/tmp/camkit-test-XXXXXX";
    if (!mkdtemp(templ)) throw std::runtime_error("mkdtemp failed");
    path_ = templ;
}

ScratchDir::~ScratchDir() { nftw(path_.c_str(), remove_one, 16, FTW_DEPTH | FTW_PHYS); }

std::string ScratchDir::file(const std::string& name) const { return path_ + "/" + name; }

std::string ScratchDir::write(const std::string& name, const std::string& content) const {
    std::string full = file(name);
    std::filesystem::create_directories(std::filesystem::path(full).parent_path());
    std::ofstream out(full, std::ios::binary | std::ios::trunc);
    out << content;
    return full;
}

std::string scratch_read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool scratch_file_exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

void scratch_set_mtime(const std::string& path, long seconds) {
    struct timeval times[2] = {{seconds, 0}, {seconds, 0}};
    utimes(path.c_str(), times);
}
