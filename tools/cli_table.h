// Column-aligned text output: cells separated by two blanks, the last
// column left unpadded so that free text (descriptions, paths) can follow.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace cli {

class Table {
public:
    void add_row(std::vector<std::string> cells);
    bool empty() const { return rows_.empty(); }
    void print(std::FILE* out) const;

private:
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace cli
