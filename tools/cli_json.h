// A small JSON document builder for --json output.
//
// Commands add their results to the session's document instead of printing
// text: build a value with Json::object() / Json::array(), set keys and push
// elements, and hand it to emit_json() (cli_json_out.h).  Numbers stay
// numbers; strings are escaped as JSON requires.  Errors reported through
// report_error() are attached to the command's result as "errors".
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace cli {

class Json {
public:
    enum class Kind { Null, Bool, Number, String, Array, Object };

    Json() = default;
    Json(bool b) : kind_(Kind::Bool), bool_(b) {}
    Json(int n) : kind_(Kind::Number), number_((double)n) {}
    Json(unsigned n) : kind_(Kind::Number), number_((double)n) {}
    Json(long long n) : kind_(Kind::Number), number_((double)n) {}
    Json(double n) : kind_(Kind::Number), number_(n) {}
    Json(const char* s) : kind_(Kind::String), text_(s != nullptr ? s : "") {}
    Json(std::string s) : kind_(Kind::String), text_(std::move(s)) {}

    static Json object() { return Json(Kind::Object); }
    static Json array() { return Json(Kind::Array); }

    Kind kind() const { return kind_; }
    // Object: sets (or replaces) a key, keeping the order keys were first set.
    Json& set(const std::string& key, Json value);
    // Array: appends.
    Json& push(Json value);
    const Json* find(const std::string& key) const;
    // Object: the member `key`, inserted as `initial` when missing.
    Json& member(const std::string& key, Json initial);
    size_t size() const { return kind_ == Kind::Array ? items_.size() : members_.size(); }

    std::string dump(int indent = 2) const;

private:
    explicit Json(Kind kind) : kind_(kind) {}
    void dump_to(std::string& out, int indent, int depth) const;

    Kind kind_ = Kind::Null;
    bool bool_ = false;
    double number_ = 0;
    std::string text_;
    std::vector<Json> items_;
    std::vector<std::pair<std::string, Json>> members_;
};

// Text as a JSON string literal, quotes included.
std::string json_quote(const std::string& text);

}  // namespace cli
