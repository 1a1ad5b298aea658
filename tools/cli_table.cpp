#include "cli_table.h"

#include <algorithm>

namespace cli {

void Table::add_row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

void Table::print(std::FILE* out) const {
    std::vector<size_t> widths;
    for (const auto& row : rows_) {
        if (widths.size() < row.size()) widths.resize(row.size(), 0);
        for (size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    }
    for (const auto& row : rows_) {
        std::string line;
        for (size_t c = 0; c < row.size(); ++c) {
            line += row[c];
            if (c + 1 < row.size()) line += std::string(widths[c] - row[c].size() + 2, ' ');
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        std::fprintf(out, "%s\n", line.c_str());
    }
}

Json Table::as_object() const {
    Json object = Json::object();
    for (const auto& row : rows_) {
        if (row.size() < 2) continue;
        std::string key = row[0];
        for (char& c : key) c = c == ' ' ? '_' : c;
        object.set(key, row[1]);
    }
    return object;
}

}  // namespace cli
