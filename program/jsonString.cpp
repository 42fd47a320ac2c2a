#include "program/jsonString.h"

#include <algorithm>
#include <simdjson.h>

namespace program {

namespace {

bool isUtf8(std::string_view text) {
    return simdjson::validate_utf8(text.data(), text.size());
}

/// The length of the character at the front, 0 if there is none.
std::size_t characterLength(std::string_view text) {
    constexpr std::size_t kLongest = 4;
    for (std::size_t length = 1; length <= std::min(kLongest, text.size()); ++length) {
        if (isUtf8(text.substr(0, length))) {
            return length;
        }
    }
    return 0;
}

bool isPlain(char c) {
    return static_cast<unsigned char>(c) >= ' ' && c != '"' && c != '\\';
}

void appendEscaped(std::string& out, char c) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    if (c == '"' || c == '\\') {
        out += '\\';
        out += c;
    } else {
        const auto code = static_cast<unsigned char>(c);
        out += "\\u00";
        out += kDigits[code >> 4];
        out += kDigits[code & 15U];
    }
}

void appendUtf8(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        const auto special = std::find_if_not(text.begin(), text.end(), isPlain);
        out.append(text.begin(), special);
        text.remove_prefix(static_cast<std::size_t>(special - text.begin()));
        if (!text.empty()) {
            appendEscaped(out, text.front());
            text.remove_prefix(1);
        }
    }
    out += '"';
}

} // namespace

std::string asUtf8(std::string_view text) {
    std::string out;
    while (!isUtf8(text)) {
        const std::size_t length = characterLength(text);
        out += length > 0 ? text.substr(0, length) : "\xEF\xBF\xBD";
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out.append(text);
}

void appendJsonString(std::string& out, std::string_view text) {
    if (isUtf8(text)) {
        appendUtf8(out, text);
    } else {
        appendUtf8(out, asUtf8(text));
    }
}

} // namespace program
