#include "cli_ini.h"

#include <strings.h>

#include <cctype>
#include <fstream>
#include <sstream>

namespace cli {

std::string trimmed(const std::string& text) {
    size_t a = 0, b = text.size();
    while (a < b && std::isspace((unsigned char)text[a])) a++;
    while (b > a && std::isspace((unsigned char)text[b - 1])) b--;
    return text.substr(a, b - a);
}

std::string upper(std::string text) {
    for (char& c : text) c = (char)std::toupper((unsigned char)c);
    return text;
}

std::vector<std::string> operands(const std::string& text) {
    std::vector<std::string> out;
    std::stringstream in(text);
    for (std::string item; std::getline(in, item, ',');) out.push_back(trimmed(item));
    return out;
}

bool read_ini(const std::string& path, IniFile& out) {
    std::ifstream in(path);
    if (!in) return false;
    std::string line, current;
    while (std::getline(in, line)) {
        for (const char* comment : {";", "//"}) {
            const size_t at = line.find(comment);
            if (at != std::string::npos) line.resize(at);
        }
        line = trimmed(line);
        if (!line.empty() && line[0] == '[' && line.find(']') != std::string::npos) {
            const std::string name = trimmed(line.substr(1, line.find(']') - 1));
            current = upper(name);
            if (out.sections.emplace(current, IniLines{}).second) out.names.push_back(name);
            continue;
        }
        const size_t eq = line.find('=');
        if (!current.empty() && eq != std::string::npos) {
            out.sections[current].emplace_back(upper(trimmed(line.substr(0, eq))), trimmed(line.substr(eq + 1)));
        }
    }
    return true;
}

const IniLines* find_section(const IniFile& ini, const std::string& name) {
    for (const char* prefix : {"", "HIDDEN:", "HIDDEN: "}) {
        auto it = ini.sections.find(std::string(prefix) + upper(name));
        if (it != ini.sections.end()) return &it->second;
    }
    return nullptr;
}

bool hidden_section(const std::string& name, std::string* shown) {
    if (strncasecmp(name.c_str(), "Hidden:", 7) != 0) {
        *shown = name;
        return false;
    }
    *shown = trimmed(name.substr(7));
    return true;
}

}  // namespace cli
