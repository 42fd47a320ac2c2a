#ifndef QORVEL_PROGRAM_INPUT_NUMBER_H
#define QORVEL_PROGRAM_INPUT_NUMBER_H

#include <charconv>
#include <string_view>
#include <system_error>

namespace program {

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
