#ifndef QORVEL_PROGRAM_OUTPUT_CELLBOUNDS_H
#define QORVEL_PROGRAM_OUTPUT_CELLBOUNDS_H

#include "qorvel/geohash/SpaceBox.h"

namespace program {

/// The sides of a cell in degrees, within -180 to 180 and -90 to 90. Neighbours have the same
/// double for the side between them. Beyond some 100 bits, cells are too small for doubles, and
/// opposite sides may be the same.
struct CellBounds {
    double west;
    double south;
    double east;
    double north;
};

/// From the bits of the cell, of which there may be any number; those above 128 are ignored.
CellBounds cellBounds(const SpaceBox& cell);

} // namespace program

#endif
