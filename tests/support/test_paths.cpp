// Where the tests find the repository's data files.
#include "test_paths.h"

#include <dirent.h>

#include <algorithm>

const char* ck_test_data_dir() { return CAMKIT_DATA_DIR; }
const char* ck_test_source_dir() { return CAMKIT_SOURCE_DIR; }

std::vector<std::string> ck_files_in(const std::string& dir) {
    std::vector<std::string> files;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            if (e->d_name[0] != '.') files.push_back(dir + "/" + e->d_name);
        }
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    return files;
}
