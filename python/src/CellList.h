#ifndef QORVEL_PYTHON_CELLLIST_H
#define QORVEL_PYTHON_CELLLIST_H

#include "qorvel/base/cellText.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qorvel_python {

/// The longest geohash here, in characters: its bits fit a word.
inline constexpr std::uint32_t kMostCharacters = 12;

using qorvel_detail::kBitsPerCharacter;

/// A cell of 1 to 60 bits, or none.
struct Cell {
    std::uint64_t bits = 0;  ///< of the geohash, the first at the top, zeros behind
    std::uint32_t depth = 0; ///< how many there are; 0: none

    explicit operator bool() const { return depth != 0; }

    /// Of its geohash, in characters.
    std::size_t length() const { return qorvel_detail::cellTextLength(depth); }

    /// The cell with the first bits only; none where there are fewer.
    Cell cutTo(std::uint32_t count) const {
        return count == 0 || depth < count ? Cell{}
                                           : Cell{bits & ~std::uint64_t{0} << (64 - count), count};
    }
};

/// The sides of a cell, degrees.
struct Bounds {
    double west;
    double south;
    double east;
    double north;
};

/// Degrees.
struct Point {
    double latitude;
    double longitude;
};

/// The cell that holds a point, by the library's rule; none where no cell does.
Cell cellAt(double latitude, double longitude, std::uint32_t length);

/// Of a geohash; none for a text that is none, or longer than 12 characters.
Cell cellOf(std::string_view text);

/// Writes as many characters as the cell has; of an odd number one more.
template <class Character>
void writeText(const Cell& cell, Character* out) {
    qorvel_detail::writeCharacters(cell.bits, cell.length(), out);
}

/// The sides, and the middle as the library has it in results: a last bit off that of the sides.
Bounds boundsOf(const Cell& cell);
Point middleOf(const Cell& cell);

/// The cell of the same size so many cells to the north and east, over the antimeridian too; none
/// beyond a pole.
Cell neighbourOf(const Cell& cell, int north, int east);

/// The cells of that length that a circle reaches, measured on the library's sphere, row by row.
/// Throws the Fault `tooLarge` for more than ten million, `misuse` for a centre without a cell.
std::vector<Cell> cellsWithin(double latitude, double longitude, double radius,
                              std::uint32_t length);

} // namespace qorvel_python

#endif
