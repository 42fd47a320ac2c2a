#include "program/shownName.h"

#include "program/fileName.h"

#include <algorithm>
#include <string_view>

namespace program {

namespace {

constexpr std::string_view kHidden = "***";

/// Where a value ends that begins there: quoted, or up to what stands between values.
std::size_t endOfValue(const std::string& text, std::size_t begin) {
    const bool isQuoted = begin < text.size() && text[begin] == '\'';
    std::size_t at = begin + (isQuoted ? 1 : 0);
    while (at < text.size()) {
        if (text[at] == '\\') {
            ++at;
        } else if (isQuoted && text[at] == '\'') {
            return at + 1;
        } else if (!isQuoted && std::string_view(" \t\n,;&").find(text[at]) != std::string::npos) {
            return at;
        }
        ++at;
    }
    return text.size();
}

/// "password = x", also within "sslpassword=x".
void hideValues(std::string& text, std::string_view word) {
    for (std::size_t at = lowered(text).find(word); at != std::string::npos;
         at = lowered(text).find(word, at)) {
        at += word.size();
        std::size_t value = text.find_first_not_of(" \t", at);
        if (value == std::string::npos || text[value] != '=') {
            continue;
        }
        value = std::min(text.find_first_not_of(" \t", value + 1), text.size());
        text.replace(value, endOfValue(text, value) - value, kHidden);
    }
}

/// "://user:x@".
void hideInAddress(std::string& text) {
    constexpr std::string_view kBegin = "://";
    for (std::size_t at = text.find(kBegin); at != std::string::npos;
         at = text.find(kBegin, at + 1)) {
        const std::size_t user = at + kBegin.size();
        const std::size_t end = std::min(text.find_first_of(" \t\n", user), text.size());
        const std::size_t host = std::string_view(text).substr(0, end).rfind('@');
        const std::size_t colon = text.find(':', user);
        if (host != std::string::npos && host > user && colon < host) {
            text.replace(colon + 1, host - colon - 1, kHidden);
        }
    }
}

} // namespace

std::string shownName(const std::string& text) {
    std::string shown = text;
    hideValues(shown, "password");
    hideValues(shown, "pwd");
    hideInAddress(shown);
    return shown;
}

bool isPostgres(const std::string& name) {
    const std::string small = lowered(name);
    return (small.starts_with("pg:") || small.starts_with("postgresql:")) && !isThere(name);
}

bool isAmbiguousAddress(const std::string& name) {
    const std::size_t user = name.find("://");
    const std::size_t host = name.rfind('@');
    return isPostgres(name) && user != std::string::npos && host != std::string::npos &&
           name.find_first_of("@/?#", user + 3) < host;
}

} // namespace program
