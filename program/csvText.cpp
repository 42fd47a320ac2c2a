#include "program/csvText.h"

#include "program/digits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <iterator>

namespace csv {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

/// Which characters a reader takes for more than themselves.
constexpr std::array<bool, 256> kSpecials = [] {
    std::array<bool, 256> specials{};
    for (const char c : {',', '"', '\r', '\n'}) {
        specials[static_cast<unsigned char>(c)] = true;
    }
    return specials;
}();

bool isSpecial(char c) {
    return kSpecials[static_cast<unsigned char>(c)];
}

bool needsQuotes(std::string_view text) {
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
    char digits[kMostNumber];
    out.append(digits, putInteger(digits, value));
}

void appendUnsigned(std::string& out, std::uint64_t value) {
    char digits[kMostNumber];
    out.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
}

void appendDecimal(std::string& out, std::int64_t units, std::uint32_t decimals) {
    char digits[kMostNumber];
    out.append(digits, putDecimal(digits, units, decimals));
}

char* putPlainField(char* at, std::string_view text) {
    if (!text.empty() && (isBlank(text.front()) || isBlank(text.back()))) {
        return nullptr;
    }
    for (const char c : text) {
        *at++ = c;
        if (isSpecial(c)) {
            return nullptr;
        }
    }
    return at;
}

char* putInteger(char* at, std::int64_t value) {
    return std::to_chars(at, at + kMostNumber, value).ptr;
}

char* putDecimal(char* at, std::int64_t units, std::uint32_t decimals) {
    const auto bits = static_cast<std::uint64_t>(units);
    std::uint64_t magnitude = units < 0 ? 0 - bits : bits;
    char digits[2 * kMostNumber] = {}; // what is copied begins in the first half
    char* const end = digits + kMostNumber;
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
    std::memcpy(at, begin, kMostNumber); // as many always: a few moves, where so many are a call
    return at + (end - begin);
}

} // namespace csv
