#ifndef QORVEL_BASE_INTERLEAVE_H
#define QORVEL_BASE_INTERLEAVE_H

#include <cstdint>

namespace qorvel_detail {

/// Bits of a cell: 64 of each coordinate, interleaved.
inline constexpr std::uint32_t kMaxDepth = 128;

/// The low 32 bits of a word, spread to the even positions of another.
constexpr std::uint64_t spreadBits(std::uint64_t word) {
    word &= 0x00000000FFFFFFFFU;
    word = (word | (word << 16)) & 0x0000FFFF0000FFFFU;
    word = (word | (word << 8)) & 0x00FF00FF00FF00FFU;
    word = (word | (word << 4)) & 0x0F0F0F0F0F0F0F0FU;
    word = (word | (word << 2)) & 0x3333333333333333U;
    return (word | (word << 1)) & 0x5555555555555555U;
}

/// The 32 bits at the even positions of a word, side by side.
constexpr std::uint64_t evenBits(std::uint64_t word) {
    word &= 0x5555555555555555U;
    word = (word | (word >> 1)) & 0x3333333333333333U;
    word = (word | (word >> 2)) & 0x0F0F0F0F0F0F0F0FU;
    word = (word | (word >> 4)) & 0x00FF00FF00FF00FFU;
    word = (word | (word >> 8)) & 0x0000FFFF0000FFFFU;
    return (word | (word >> 16)) & 0x00000000FFFFFFFFU;
}

} // namespace qorvel_detail

#endif
