// Preset (INI) files as the tool reads them: the sections in file order and
// their "KEY=VALUE" lines, comments removed.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cli {

using IniLines = std::vector<std::pair<std::string, std::string>>;  // KEY (upper case), value

struct IniFile {
    std::vector<std::string> names;         // section names as written, in file order
    std::map<std::string, IniLines> sections;  // upper-case name -> lines
};

bool read_ini(const std::string& path, IniFile& out);
// A section by name, also stored as "Hidden: NAME" (case is ignored).
const IniLines* find_section(const IniFile& ini, const std::string& name);
// A preset the applications hide: the name without its "Hidden:" prefix.
bool hidden_section(const std::string& name, std::string* shown);

std::string trimmed(const std::string& text);
std::string upper(std::string text);
std::vector<std::string> operands(const std::string& text);

}  // namespace cli
