#ifndef QORVEL_GEOHASH_DETAIL_CELL_H
#define QORVEL_GEOHASH_DETAIL_CELL_H

#include "qorvel/base/bits.h"
#include "qorvel/base/hashing.h"
#include "qorvel/base/interleave.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qorvel_detail {

/// Depth that marks a box whose text is no geohash.
inline constexpr std::uint32_t kUnparsableDepth = UINT32_MAX;

/// Depth of a text of so many characters, five bits each; capped, so that no text is so long that
/// its box becomes valid again.
constexpr std::uint32_t depthOfText(std::size_t length) {
    constexpr std::size_t longest = UINT32_MAX / 5;
    return 5 * static_cast<std::uint32_t>(std::min(length, longest));
}

/// A space box without its class: 128 interleaved bits, a longitude bit before a latitude bit, of
/// which `depth` count. The bits beyond the depth may be anything.
struct Cell {
    std::uint64_t first;
    std::uint64_t second;
    std::uint32_t depth;

    /// Of all bits, so for significant cells.
    friend bool operator==(const Cell&, const Cell&) = default;
};

/// The bits of a word without its lowest ones, whose number counts modulo 64.
constexpr std::uint64_t clearLow(std::uint64_t word, std::uint32_t count) {
    return shiftLeft(shiftRight(word, count), count);
}

/// The cell at `depth` with the bits beyond it cleared: the one rule by which space boxes are
/// compared and hashed. Depths above 128 have no meaning but an answer: how many bits of the second
/// word they clear, 128 - depth, counts modulo 64.
constexpr Cell significant(std::uint64_t first, std::uint64_t second, std::uint32_t depth) {
    if (depth == 0) {
        return {0, 0, 0};
    }
    if (depth <= 64) {
        return {clearLow(first, 64 - depth), 0, depth};
    }
    return {first, clearLow(second, 128U - depth), depth};
}

constexpr Cell significant(const Cell& cell) {
    return significant(cell.first, cell.second, cell.depth);
}

/// Of a significant cell.
constexpr std::uint64_t hashOf(const Cell& cell) {
    return mix(cell.first ^ mix(cell.second + cell.depth));
}

} // namespace qorvel_detail

#endif
