#pragma once
#include <string>
#include <vector>

// Absolute path of the repository's data/ directory and of its root.
const char* ck_test_data_dir();
const char* ck_test_source_dir();
// The files of a directory (no dot files), full paths in name order.
std::vector<std::string> ck_files_in(const std::string& dir);
