#ifndef QORVEL_BASE_CELLTEXT_H
#define QORVEL_BASE_CELLTEXT_H

#include "qorvel/base/interleave.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// The texts of cells: five bits a character.
namespace qorvel_detail {

inline constexpr std::string_view kCellAlphabet = "0123456789bcdefghjkmnpqrstuvwxyz";
inline constexpr std::uint32_t kBitsPerCharacter = 5;

/// How long the text of a cell of so many bits is; of more than 128, those count.
constexpr std::size_t cellTextLength(std::uint32_t depth) {
    const std::uint32_t bits = depth < kMaxDepth ? depth : kMaxDepth;
    return (bits + kBitsPerCharacter - 1) / kBitsPerCharacter;
}

/// The two characters of any ten bits: half as many looks as by characters.
template <class Character>
inline constexpr auto kCellPairs = [] {
    std::array<std::array<Character, 2>, 1U << 2 * kBitsPerCharacter> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits) {
        pairs[bits] = {Character(kCellAlphabet[bits / kCellAlphabet.size()]),
                       Character(kCellAlphabet[bits % kCellAlphabet.size()])};
    }
    return pairs;
}();

/// Writes so many characters, at most 12, of the first bits of a word; of an odd number one more.
template <class Character>
void writeCharacters(std::uint64_t bits, std::size_t length, Character* to) {
    for (std::size_t at = 0; at < length; at += 2) {
        std::memcpy(to + at, &kCellPairs<Character>[bits >> (64 - 2 * kBitsPerCharacter)],
                    2 * sizeof(Character));
        bits <<= 2 * kBitsPerCharacter;
    }
}

/// How many characters writeCellText writes at most: some of them behind the text.
inline constexpr std::size_t kCellTextRoom = 26;

/// Writes the text of the cell that has the first `depth` of these 128 bits, and something behind
/// it; the bits of its last character that do not count are 0.
inline void writeCellText(std::uint64_t first, std::uint64_t second, std::uint32_t depth,
                          char* to) {
    constexpr std::uint64_t ones = ~std::uint64_t{0};
    constexpr std::size_t kMost = 12; // characters that a word holds
    const std::size_t length = cellTextLength(depth);
    if (depth < 64) {
        first &= ~(ones >> depth);
        second = 0;
    } else if (depth < kMaxDepth) {
        second &= ~(ones >> (depth - 64));
    }
    writeCharacters(first, length < kMost ? length : kMost, to);
    if (length > kMost) {
        const std::size_t rest = length - kMost;
        writeCharacters(first << 60 | second >> 4, rest < kMost ? rest : kMost, to + kMost);
        if (rest > kMost) {
            writeCharacters(second << 56, rest - kMost, to + 2 * kMost);
        }
    }
}

} // namespace qorvel_detail

#endif
