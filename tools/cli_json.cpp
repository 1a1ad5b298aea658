#include "cli_json.h"

#include <cmath>
#include <cstdio>

namespace cli {

Json& Json::set(const std::string& key, Json value) {
    for (auto& member : members_) {
        if (member.first == key) {
            member.second = std::move(value);
            return *this;
        }
    }
    members_.emplace_back(key, std::move(value));
    return *this;
}

Json& Json::push(Json value) {
    items_.push_back(std::move(value));
    return *this;
}

Json& Json::member(const std::string& key, Json initial) {
    for (auto& m : members_) {
        if (m.first == key) return m.second;
    }
    members_.emplace_back(key, std::move(initial));
    return members_.back().second;
}

const Json* Json::find(const std::string& key) const {
    for (const auto& member : members_) {
        if (member.first == key) return &member.second;
    }
    return nullptr;
}

std::string json_quote(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", c);
                    out += buf;
                } else {
                    out += (char)c;
                }
        }
    }
    return out + "\"";
}

namespace {

std::string number_text(double n) {
    if (!std::isfinite(n)) return "null";
    char buf[40];
    if (n == std::floor(n) && std::fabs(n) < 9.007199254740992e15) {
        std::snprintf(buf, sizeof buf, "%.0f", n);
    } else {
        std::snprintf(buf, sizeof buf, "%.17g", n);
    }
    return buf;
}

void newline(std::string& out, int indent, int depth) {
    if (indent <= 0) return;
    out += '\n';
    out.append((size_t)(indent * depth), ' ');
}

}  // namespace

void Json::dump_to(std::string& out, int indent, int depth) const {
    switch (kind_) {
        case Kind::Null: out += "null"; return;
        case Kind::Bool: out += bool_ ? "true" : "false"; return;
        case Kind::Number: out += number_text(number_); return;
        case Kind::String: out += json_quote(text_); return;
        case Kind::Array:
        case Kind::Object: break;
    }
    const bool isObject = kind_ == Kind::Object;
    out += isObject ? '{' : '[';
    const size_t n = size();
    for (size_t i = 0; i < n; i++) {
        if (i > 0) out += ',';
        newline(out, indent, depth + 1);
        if (isObject) {
            out += json_quote(members_[i].first);
            out += indent > 0 ? ": " : ":";
            members_[i].second.dump_to(out, indent, depth + 1);
        } else {
            items_[i].dump_to(out, indent, depth + 1);
        }
    }
    if (n > 0) newline(out, indent, depth);
    out += isObject ? '}' : ']';
}

std::string Json::dump(int indent) const {
    std::string out;
    dump_to(out, indent, 0);
    return out;
}

}  // namespace cli
