#ifndef QORVEL_PROGRAM_OUTPUT_CELLSHAPE_H
#define QORVEL_PROGRAM_OUTPUT_CELLSHAPE_H

#include "qorvel/geohash/SpaceBox.h"

#include <memory>
#include <vector>

class OGRMultiPolygon;
class OGRPolygon;

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

/// A closed ring, counter-clockwise.
std::unique_ptr<OGRPolygon> cellPolygon(const SpaceBox& cell);

/// The area that the cells cover together, outer rings counter-clockwise and holes clockwise: cells
/// that touch are one polygon, as GIS programs take polygons with a common side for an error. Cells
/// too small for that stay each by itself.
std::unique_ptr<OGRMultiPolygon> cellUnion(const std::vector<SpaceBox>& cells);

} // namespace program

#endif
