#include "qorvel/geohash/detail/NearCells.h"

#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"
#include "qorvel/geodesy/detail/bits.h"

#include <cmath>
#include <cstddef>

QORVEL_BEGIN_NAMESPACE
namespace detail {

namespace {

constexpr double kCodes = 18446744073709551616.0; // 2^64
constexpr std::uint32_t kCodeBits = 64;

struct Interval {
    std::uint64_t low;
    std::uint64_t high;
};

/// The codes from one edge of a cell to the other; beyond the last cell `high` wraps to 0.
Interval cellBounds(std::uint64_t code, std::uint32_t shift) {
    const std::uint64_t index = shiftRight(code, shift);
    return {shiftLeft(index, shift), shiftLeft(index + 1, shift)};
}

/// |a - b| with the difference read as a signed number, which undoes the wrap of a high bound.
std::uint64_t separation(std::uint64_t a, std::uint64_t b) {
    return magnitude(static_cast<std::int64_t>(a - b));
}

/// Where a neighbour stands around a cell: rows from the south, columns from the west, the cell's
/// own are 1.
struct Place {
    std::size_t row;
    std::size_t column;
};

/// E, N, W, S, SE, NE, NW, SW.
constexpr std::array<Place, 8> kPlaces = {
    {{1, 2}, {2, 1}, {1, 0}, {0, 1}, {0, 2}, {2, 2}, {2, 0}, {0, 0}}};

/// Strictly, so a radius that ends at an edge does not reach the neighbour behind it.
bool reaches(double distance, const Place& place, const CellEdges& edges) {
    return (place.column != 2 || distance > edges.east) &&
           (place.row != 2 || distance > edges.north) &&
           (place.column != 0 || distance > edges.west) &&
           (place.row != 0 || distance > edges.south);
}

/// The first codes of a cell and of those before and after it in one coordinate, in ascending
/// order. Steps wrap around at the ends of the range.
using Neighbours = std::array<SpreadCode, 3>;

Neighbours neighboursOf(std::uint64_t code, std::uint32_t shift) {
    const std::uint64_t index = shiftRight(code, shift);
    return {spreadWhole(shiftLeft(index - 1, shift)), spreadWhole(shiftLeft(index, shift)),
            spreadWhole(shiftLeft(index + 1, shift))};
}

} // namespace

double CellEdges::smallest() const {
    double smallest = east;
    for (const double edge : {north, west, south}) {
        if (edge < smallest) {
            smallest = edge;
        }
    }
    return smallest;
}

double latitudeExtent(std::uint64_t delta) {
    return static_cast<double>(delta) * kPi * defaultEllipsoid().semiMajorAxis / kCodes;
}

double longitudeExtent(std::uint64_t delta, double parallelRadius) {
    return static_cast<double>(2 * delta) * kPi * parallelRadius / kCodes;
}

double parallelRadius(double latitude) {
    return defaultEllipsoid().semiMajorAxis * std::cos(latitude * kPi / 180.0);
}

CellEdges cellEdges(PointCode code, double latitude, std::uint32_t bits) {
    const std::uint32_t shift = kCodeBits - bits;
    const Interval parallels = cellBounds(code.latitude, shift);
    const Interval meridians = cellBounds(code.longitude, shift);
    const double radius = parallelRadius(latitude);
    return {longitudeExtent(separation(meridians.high, code.longitude), radius),
            latitudeExtent(separation(parallels.high, code.latitude)),
            longitudeExtent(separation(meridians.low, code.longitude), radius),
            latitudeExtent(separation(parallels.low, code.latitude))};
}

void findNearCells(PointCode code, double latitude, std::uint32_t depth, double distance,
                   NearCells& out) {
    out.cells[0] = interleave(code, depth);
    out.count = 1;
    if (distance <= 0) {
        return;
    }
    const std::uint32_t bits = depth / 2;
    const CellEdges edges = cellEdges(code, latitude, bits);
    if (!(distance >= edges.smallest())) {
        return;
    }
    const std::uint32_t shift = kCodeBits - bits;
    const Neighbours rows = neighboursOf(code.latitude, shift);
    const Neighbours columns = neighboursOf(code.longitude, shift);
    for (const Place& place : kPlaces) {
        if (reaches(distance, place, edges)) {
            out.cells[out.count++] = interleave(rows[place.row], columns[place.column], 2 * bits);
        }
    }
}

} // namespace detail
QORVEL_END_NAMESPACE
