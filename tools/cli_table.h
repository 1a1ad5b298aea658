// Column-aligned text output: cells separated by two blanks, the last
// column left unpadded so that free text (descriptions, paths) can follow.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "cli_json.h"

namespace cli {

class Table {
public:
    void add_row(std::vector<std::string> cells);
    bool empty() const { return rows_.empty(); }
    void print(std::FILE* out) const;
    // A two-column table as a JSON object: first cell the key (blanks become
    // underscores), second the text.
    Json as_object() const;

private:
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace cli
