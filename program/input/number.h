#ifndef QORVEL_PROGRAM_INPUT_NUMBER_H
#define QORVEL_PROGRAM_INPUT_NUMBER_H

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cstddef>
#include <cstdint>
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
    if (!text.empty() && text.front() > ' ' && text.back() > ' ') {
        return withoutSign(text);
    }
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return withoutSign(text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin));
}

/// Takes digits from the front of a text that has at most 19 characters, and puts them behind those
/// of the value. Returns how many.
inline std::size_t takeDigits(std::string_view& text, std::uint64_t& value) {
    std::size_t count = 0;
    for (; count < text.size(); ++count) {
        const auto digit = static_cast<unsigned char>(text[count] - '0');
        if (digit > 9) {
            break;
        }
        value = value * 10 + digit;
    }
    text.remove_prefix(count);
    return count;
}

inline constexpr std::size_t kMostDigits = 18; ///< that 64 bits can hold, with a sign and a point

/// A number of few digits without an exponent. False for all others, whatever they are.
inline bool readShortNumber(std::string_view text, std::int64_t& value) {
    std::uint64_t digits = 0;
    if (text.empty() || text.size() > kMostDigits || takeDigits(text, digits) == 0 ||
        !text.empty()) {
        return false;
    }
    value = static_cast<std::int64_t>(digits);
    return true;
}

/// Both its digits and the power of ten below them are doubles without an error, so that one
/// division rounds as it must: it is the double that std::from_chars finds in four times as long.
inline bool readShortNumber(std::string_view text, double& value) {
    constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                  1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};
    constexpr std::uint64_t kMostExact = std::uint64_t{1} << 53U;
    constexpr bool kIsRoundedOnce = FLT_EVAL_METHOD == 0; // not so with 80 bits
    if (!kIsRoundedOnce || text.size() > kMostDigits) {
        return false;
    }
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative ? 1 : 0);
    std::uint64_t digits = 0;
    std::size_t decimals = 0;
    if (takeDigits(text, digits) == 0) {
        return false;
    }
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        decimals = takeDigits(text, digits);
    }
    if (!text.empty() || digits > kMostExact) {
        return false;
    }
    const double magnitude = static_cast<double>(digits) / kPowers[decimals];
    value = isNegative ? -magnitude : magnitude;
    return true;
}

/// Reads a number in the one form that needs no locale. False unless the whole text is one that the
/// type can hold.
template <typename Number>
bool readNumber(std::string_view text, Number& value) {
    if (readShortNumber(text, value)) {
        return true;
    }
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

} // namespace program

#endif
