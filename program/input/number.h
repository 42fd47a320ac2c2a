#ifndef QORVEL_PROGRAM_INPUT_NUMBER_H
#define QORVEL_PROGRAM_INPUT_NUMBER_H

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>

namespace program {

/// Without one plus sign that a number begins with.
inline std::string_view withoutSign(std::string_view text) {
    const bool isSigned = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
    return text.substr(isSigned ? 1 : 0);
}

/// Without blanks around it, and withoutSign.
inline std::string_view plainNumber(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return withoutSign(text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin));
}

/// Reads a number in the one form that needs no locale. False unless the whole text is one that the
/// type can hold.
template <typename Number>
bool readNumber(std::string_view text, Number& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

} // namespace program

#endif
