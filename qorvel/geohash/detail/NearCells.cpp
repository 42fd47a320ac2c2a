#include "qorvel/geohash/detail/NearCells.h"

#include "qorvel/base/bits.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"

#include <cmath>
#include <cstddef>

namespace qorvel_detail {

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

/// A step from a cell to one of its neighbours, in cells.
struct Step {
    int north;
    int east;
};

/// E, N, W, S, SE, NE, NW, SW.
constexpr std::array<Step, 8> kSteps = {
    {{0, 1}, {1, 0}, {0, -1}, {-1, 0}, {-1, 1}, {1, 1}, {1, -1}, {-1, -1}}};

/// Strictly, so a radius that ends at an edge does not reach the neighbour behind it.
bool reaches(double distance, const Step& step, const CellEdges& edges) {
    return (step.east <= 0 || distance > edges.east) &&
           (step.north <= 0 || distance > edges.north) &&
           (step.east >= 0 || distance > edges.west) && (step.north >= 0 || distance > edges.south);
}

/// The first code of the cell that lies `step` cells further on; steps wrap around.
std::uint64_t neighbourCode(std::uint64_t code, std::uint32_t shift, int step) {
    return shiftLeft(shiftRight(code, shift) + static_cast<std::uint64_t>(step), shift);
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

double cosineOfLatitude(double latitude) {
    return std::cos(latitude * kPi / 180.0);
}

double parallelRadius(double cosLatitude) {
    return defaultEllipsoid().semiMajorAxis * cosLatitude;
}

CellEdges cellEdges(PointCode code, double cosLatitude, std::uint32_t bits) {
    const std::uint32_t shift = kCodeBits - bits;
    const Interval parallels = cellBounds(code.latitude, shift);
    const Interval meridians = cellBounds(code.longitude, shift);
    const double radius = parallelRadius(cosLatitude);
    return {longitudeExtent(separation(meridians.high, code.longitude), radius),
            latitudeExtent(separation(parallels.high, code.latitude)),
            longitudeExtent(separation(meridians.low, code.longitude), radius),
            latitudeExtent(separation(parallels.low, code.latitude))};
}

void addNeighbours(PointCode code, double cosLatitude, std::uint32_t depth, double distance,
                   NearCells& near) {
    if (distance <= 0) {
        return;
    }
    const std::uint32_t bits = depth / 2;
    const CellEdges edges = cellEdges(code, cosLatitude, bits);
    if (!(distance >= edges.smallest())) {
        return;
    }
    const std::uint32_t shift = kCodeBits - bits;
    for (const Step& step : kSteps) {
        if (reaches(distance, step, edges)) {
            const PointCode corner{neighbourCode(code.latitude, shift, step.north),
                                   neighbourCode(code.longitude, shift, step.east)};
            near.cells[near.count++] = interleave(corner, 2 * bits);
        }
    }
}

} // namespace qorvel_detail
