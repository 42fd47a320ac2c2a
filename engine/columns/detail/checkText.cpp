#include "engine/columns/detail/checkText.h"

#include "engine/columns/Values.h"

#include <cstddef>
#include <cstring>

namespace qorvel_engine::detail {

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101U;
constexpr std::uint64_t kHighBits = 0x8080808080808080U;
constexpr std::size_t kWord = sizeof(std::uint64_t);

/// Are all eight characters ASCII, and none of them NUL? Subtracting 1 sets the high bit of a byte
/// below 0x80 only if it is 0, or if a borrow comes from one that is.
bool isPlain(std::uint64_t eight) {
    return ((eight | (eight - kOnes)) & kHighBits) == 0;
}

/// A text that is shorter than a word, with plain characters behind it.
std::uint64_t padded(std::string_view text) {
    std::uint64_t word = kOnes;
    std::memcpy(&word, text.data(), text.size());
    return word;
}

/// What may follow a lead byte: how many bytes, and the range of the first of them, which keeps out
/// overlong forms, surrogates and numbers that are too large.
struct Followers {
    std::size_t count = 0;
    std::uint8_t lowest = 0x80;
    std::uint8_t highest = 0xBF;
};

/// None for a byte that begins no character of several bytes.
Followers followersOf(std::uint8_t lead) {
    if (lead >= 0xC2 && lead <= 0xDF) {
        return {1};
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return {2, static_cast<std::uint8_t>(lead == 0xE0 ? 0xA0 : 0x80),
                static_cast<std::uint8_t>(lead == 0xED ? 0x9F : 0xBF)};
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return {3, static_cast<std::uint8_t>(lead == 0xF0 ? 0x90 : 0x80),
                static_cast<std::uint8_t>(lead == 0xF4 ? 0x8F : 0xBF)};
    }
    return {};
}

/// How many bytes the character that the text begins with has; 0 where there is none.
std::size_t lengthOfFirst(std::string_view text) {
    const auto byte = [text](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    if (byte(0) < 0x80) {
        return 1;
    }
    const Followers followers = followersOf(byte(0));
    if (followers.count == 0 || followers.count >= text.size() || byte(1) < followers.lowest ||
        byte(1) > followers.highest) {
        return 0;
    }
    for (std::size_t at = 2; at <= followers.count; ++at) {
        if (byte(at) < 0x80 || byte(at) > 0xBF) {
            return 0;
        }
    }
    return 1 + followers.count;
}

} // namespace

TextFault checkText(std::string_view text) noexcept {
    while (!text.empty()) {
        if (text.size() >= kWord && isPlain(loadAt<std::uint64_t>(text.data(), 0))) {
            text.remove_prefix(kWord);
            continue;
        }
        if (text.size() < kWord && isPlain(padded(text))) {
            break;
        }
        if (text.front() == '\0') {
            return TextFault::hasNul;
        }
        const std::size_t length = lengthOfFirst(text);
        if (length == 0) {
            return TextFault::notUtf8;
        }
        text.remove_prefix(length);
    }
    return TextFault::none;
}

/// Without a look at each word's outcome, so that the loop runs on several words at once.
bool isPlainText(std::string_view text) noexcept {
    std::uint64_t found = 0;
    const std::size_t whole = text.size() - text.size() % kWord;
    for (std::size_t at = 0; at < whole; at += kWord) {
        const auto eight = loadAt<std::uint64_t>(text.data() + at, 0);
        found |= eight | (eight - kOnes);
    }
    return (found & kHighBits) == 0 && isPlain(padded(text.substr(whole)));
}

} // namespace qorvel_engine::detail
