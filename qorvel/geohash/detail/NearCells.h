#ifndef QORVEL_GEOHASH_DETAIL_NEARCELLS_H
#define QORVEL_GEOHASH_DETAIL_NEARCELLS_H

#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/geohash/detail/Parallel.h"
#include "qorvel/geohash/detail/PointCode.h"

#include <array>
#include <cstdint>

namespace qorvel_detail {

/// The distances from a point to the four edges of its cell, metres.
struct CellEdges {
    double east;
    double north;
    double west;
    double south;

    double smallest() const;
};

/// Metres between two parallels whose codes differ by `delta`.
double latitudeExtent(std::uint64_t delta);

/// Metres along a parallel of the given radius, in metres, between two meridians whose codes differ
/// by `delta`. Twice the difference wraps, so half a turn has the length 0; which cells are near
/// must not change.
double longitudeExtent(std::uint64_t delta, double parallelRadius);

/// The radius in metres of the parallel at a latitude with the given cosine.
double parallelRadius(double cosLatitude);

/// Edges of the cell that has `bits` bits of each coordinate; the shift 64 - bits counts modulo 64,
/// so 0 bits are as 64. The cosine must be that of the latitude that `code` was made from.
CellEdges cellEdges(PointCode code, double cosLatitude, std::uint32_t bits);

/// The first `count` cells are the result, the others are unwritten.
struct NearCells {
    std::array<Cell, 9> cells;
    std::uint32_t count = 0;
};

/// Adds those of the eight neighbours of a point's cell that a radius of `distance` metres reaches,
/// in the order E, N, W, S, SE, NE, NW, SW. `UtilG2::pointToSpaceBoxes` tells the rules.
void addNeighbours(PointCode code, const Parallel& parallel, std::uint32_t depth, double distance,
                   NearCells& near);

} // namespace qorvel_detail

#endif
