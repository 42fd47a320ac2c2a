#include "program/csvText.h"

#include "program/digits.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>

namespace csv {

namespace {

constexpr std::size_t kMostDigits = 20; ///< of 64 bits

template <typename Integer>
void appendNumber(std::string& out, Integer value) {
    char digits[kMostDigits + 1]; // with a sign
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool needsQuotes(std::string_view text) {
    const auto isSpecial = [](char c) { return c == ',' || c == '"' || c == '\r' || c == '\n'; };
    return std::any_of(text.begin(), text.end(), isSpecial) ||
           (!text.empty() && (isBlank(text.front()) || isBlank(text.back())));
}

} // namespace

void appendField(std::string& out, std::string_view text) {
    if (!needsQuotes(text)) {
        out += text;
        return;
    }
    out += '"';
    for (const char c : text) {
        if (c == '"') {
            out += '"';
        }
        out += c;
    }
    out += '"';
}

void appendSafeField(std::string& out, std::string_view text) {
    constexpr std::string_view kRisky = "=+-@\t\r\n'";
    const bool isRisky = !text.empty() && kRisky.find(text.front()) != std::string_view::npos;
    appendField(out, (isRisky ? "'" : "") + std::string(text));
}

void appendInteger(std::string& out, std::int64_t value) {
    appendNumber(out, value);
}

void appendUnsigned(std::string& out, std::uint64_t value) {
    appendNumber(out, value);
}

void appendDecimal(std::string& out, std::int64_t units, std::uint32_t decimals) {
    const auto bits = static_cast<std::uint64_t>(units);
    std::uint64_t magnitude = units < 0 ? 0 - bits : bits;
    char digits[kMostDigits + 3]; // with a sign, a dot and a zero before it
    char* const end = std::end(digits);
    char* begin = end;
    const auto takeDigit = [&] {
        *--begin = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    };
    const auto takePair = [&] {
        begin -= 2;
        program::putPair(begin, magnitude % 100);
        magnitude /= 100;
    };
    for (std::uint32_t i = decimals; i > 1; i -= 2) {
        takePair();
    }
    if (decimals % 2 != 0) {
        takeDigit();
    }
    *--begin = '.';
    while (magnitude > 99) {
        takePair();
    }
    do {
        takeDigit();
    } while (magnitude > 0);
    if (units < 0) {
        *--begin = '-';
    }
    out.append(begin, end);
}

} // namespace csv
