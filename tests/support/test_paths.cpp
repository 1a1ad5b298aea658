// Where the tests find the repository's data files.
#include "test_paths.h"

const char* ck_test_data_dir() { return CAMKIT_DATA_DIR; }
const char* ck_test_source_dir() { return CAMKIT_SOURCE_DIR; }
