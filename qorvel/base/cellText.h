#ifndef QORVEL_BASE_CELLTEXT_H
#define QORVEL_BASE_CELLTEXT_H

#include "qorvel/base/interleave.h"

#include <cstddef>
#include <cstdint>
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

/// Eight characters of 40 bits, the first one in the highest byte.
constexpr std::uint64_t eightCharacters(std::uint64_t bits) {
    // Five bits to a byte,
    bits = (bits & 0xFFFFFU) | (bits & 0xFFFFF00000U) << 12;
    bits = (bits & 0x000003FF000003FFU) | (bits & 0x000FFC00000FFC00U) << 6;
    bits = (bits & 0x001F001F001F001FU) | (bits & 0x03E003E003E003E0U) << 3;
    // and in each byte, all at once, the steps of the alphabet that its value is above: digits end
    // before 10, and of the letters a, i, l and o are left out.
    constexpr std::uint64_t kEach = 0x0101010101010101U;
    const auto isFrom = [bits](std::uint64_t least) {
        return (bits + (0x80U - least) * kEach) >> 7 & kEach;
    };
    return bits + '0' * kEach + isFrom(10) * ('b' - '0' - 10) + isFrom(17) + isFrom(19) +
           isFrom(21);
}

/// How many characters writeCellText writes: some of them behind the text.
inline constexpr std::size_t kCellTextRoom = 32;

/// Writes the text of the cell that has the first `depth` of these 128 bits, and something behind
/// it; the bits of its last character that do not count are 0.
constexpr void writeCellText(std::uint64_t first, std::uint64_t second, std::uint32_t depth,
                             char* to) {
    constexpr std::uint64_t ones = ~std::uint64_t{0};
    constexpr std::uint64_t kBlock = ones >> 24;
    constexpr std::uint32_t kBlockBits = 40;
    const auto write = [](std::uint64_t block, char* at) {
        const std::uint64_t characters = eightCharacters(block);
        for (std::uint32_t byte = 0; byte < 8; ++byte) {
            at[byte] = static_cast<char>(characters >> (56 - 8 * byte) & 0xFFU);
        }
    };
    if (depth <= kBlockBits) {
        write((first & ~(ones >> depth)) >> 24, to);
        return;
    }
    if (depth < 64) {
        first &= ~(ones >> depth);
        second = 0;
    } else if (depth < kMaxDepth) {
        second &= ~(ones >> (depth - 64));
    }
    const std::uint64_t blocks[] = {first >> 24, (first << 16 | second >> 48) & kBlock,
                                    second >> 8 & kBlock, second << 32 & kBlock};
    const std::size_t length = cellTextLength(depth);
    for (std::size_t block = 0; 8 * block < length; ++block) {
        write(blocks[block], to + 8 * block);
    }
}

} // namespace qorvel_detail

#endif
