#include "engine/setup/numberText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace qorvel_engine {

namespace {

/// Room for the greatest number without an exponent.
using Buffer = std::array<char, 400>;

} // namespace

std::string numberText(double number) {
    Buffer text;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string roundedText(double number) {
    Buffer text;
    char* const end = text.data() + text.size();
    const bool isWhole = std::abs(number) >= 999.5;
    return {text.data(),
            isWhole ? std::to_chars(text.data(), end, number, std::chars_format::fixed, 0).ptr
                    : std::to_chars(text.data(), end, number, std::chars_format::general, 3).ptr};
}

} // namespace qorvel_engine
