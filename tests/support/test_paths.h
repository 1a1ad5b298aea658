#pragma once
// Absolute path of the repository's data/ directory and of its root.
const char* ck_test_data_dir();
const char* ck_test_source_dir();
