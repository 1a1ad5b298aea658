#include "cli_json_out.h"

#include <cstdio>
#include <vector>

namespace cli {
namespace {

bool gOn = false;
std::vector<Json> gResults;
bool gOpen = false;  // a result is being filled

Json& current() {
    if (!gOpen) json_begin("open");
    return gResults.back();
}

}  // namespace

bool json_mode() { return gOn; }

void set_json_mode(bool on) { gOn = on; }

void json_begin(const std::string& command) {
    Json result = Json::object();
    result.set("command", command);
    result.set("ok", true);
    gResults.push_back(std::move(result));
    gOpen = true;
}

Json& json_result() { return current(); }

void json_error(const std::string& where, ci_error_code code, const std::string& detail) {
    if (!gOn) return;
    Json& result = current();
    Json error = Json::object();
    error.set("where", where);
    error.set("symbol", ci_getErrorSymbol(code));
    error.set("code", (int)code);
    error.set("message", ci_getErrorMessage(code));
    error.set("detail", detail);
    result.member("errors", Json::array()).push(std::move(error));
    result.set("ok", false);
}

void json_end(int rc) {
    if (!gOpen) return;
    if (rc != 0) gResults.back().set("ok", false);
    gOpen = false;
}

void json_print() {
    if (!gOn || gResults.empty()) return;
    if (gResults.size() == 1) {
        std::printf("%s\n", gResults[0].dump().c_str());
        return;
    }
    Json all = Json::array();
    for (Json& r : gResults) all.push(std::move(r));
    std::printf("%s\n", all.dump().c_str());
}

}  // namespace cli
