#include "tools/csvText.h"

#include <charconv>

namespace csv {

namespace {

template <typename Integer>
void appendNumber(std::string& out, Integer value) {
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
}

bool needsQuotes(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    return text.find_first_of(",\"\r\n") != std::string_view::npos ||
           (!text.empty() && (kBlanks.find(text.front()) != std::string_view::npos ||
                              kBlanks.find(text.back()) != std::string_view::npos));
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
    const std::uint64_t magnitude = units < 0 ? 0 - bits : bits;
    std::uint64_t scale = 1;
    for (std::uint32_t i = 0; i < decimals; ++i) {
        scale *= 10;
    }
    if (units < 0) {
        out += '-';
    }
    appendUnsigned(out, magnitude / scale);
    out += '.';
    // One more power of ten in front keeps the leading zeros of the fraction.
    const std::size_t dot = out.size() - 1;
    appendUnsigned(out, scale + magnitude % scale);
    out.erase(dot + 1, 1);
}

} // namespace csv
