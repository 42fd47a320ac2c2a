#include "qorvel/geohash/detail/NearCells.h"

#include "qorvel/base/bits.h"
#include "qorvel/base/wgs84.h"
#include "qorvel/geodesy/detail/angles.h"

#include <cmath>

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

/// Which edges of a cell a distance reaches beyond, a bit each.
enum Edge : unsigned { kEast = 1, kNorth = 2, kWest = 4, kSouth = 8, kAllEdges = 15 };

/// Those that a step crosses.
consteval unsigned crossedBy(const Step& step) {
    return (step.east > 0 ? kEast : 0U) | (step.north > 0 ? kNorth : 0U) |
           (step.east < 0 ? kWest : 0U) | (step.north < 0 ? kSouth : 0U);
}

struct Steps {
    std::array<Step, 8> steps{};
    std::uint32_t count = 0;
};

/// By the edges that are reached, the steps that cross no others.
consteval std::array<Steps, kAllEdges + 1> makeStepsBeyond() {
    std::array<Steps, kAllEdges + 1> table{};
    for (unsigned edges = 0; edges <= kAllEdges; ++edges) {
        for (const Step& step : kSteps) {
            if ((crossedBy(step) & ~edges) == 0) {
                table[edges].steps[table[edges].count++] = step;
            }
        }
    }
    return table;
}

constexpr std::array<Steps, kAllEdges + 1> kStepsBeyond = makeStepsBeyond();

/// Is a meridian nearer than the distance? Mostly bounds of the cosine tell.
bool reachesMeridian(double distance, std::uint64_t delta, const Parallel& parallel) {
    const auto isNearer = [&](double cosine) {
        return distance > longitudeExtent(delta, parallelRadius(cosine));
    };
    return isNearer(parallel.highCosine()) ||
           (isNearer(parallel.lowCosine()) && isNearer(parallel.cosine()));
}

/// Strictly, so a radius that ends at an edge does not reach the neighbour behind it.
unsigned edgesWithin(double distance, PointCode code, std::uint32_t shift,
                     const Parallel& parallel) {
    const Interval parallels = cellBounds(code.latitude, shift);
    const Interval meridians = cellBounds(code.longitude, shift);
    const bool isNorth = distance > latitudeExtent(separation(parallels.high, code.latitude));
    const bool isSouth = distance > latitudeExtent(separation(parallels.low, code.latitude));
    const bool isEast =
        reachesMeridian(distance, separation(meridians.high, code.longitude), parallel);
    const bool isWest =
        reachesMeridian(distance, separation(meridians.low, code.longitude), parallel);
    return (isEast ? kEast : 0U) | (isNorth ? kNorth : 0U) | (isWest ? kWest : 0U) |
           (isSouth ? kSouth : 0U);
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
    return static_cast<double>(delta) * kPi * kWgs84SemiMajorAxis / kCodes;
}

double longitudeExtent(std::uint64_t delta, double parallelRadius) {
    return static_cast<double>(2 * delta) * kPi * parallelRadius / kCodes;
}

double parallelRadius(double cosLatitude) {
    return kWgs84SemiMajorAxis * cosLatitude;
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

void addNeighbours(PointCode code, const Parallel& parallel, std::uint32_t depth, double distance,
                   NearCells& near) {
    // Nothing lies north of a latitude that is no number.
    if (distance <= 0 || std::isnan(parallel.latitude())) {
        return;
    }
    const std::uint32_t bits = depth / 2;
    const std::uint32_t shift = kCodeBits - bits;
    const unsigned edges = edgesWithin(distance, code, shift, parallel);
    const Steps& beyond = kStepsBeyond[edges];
    for (std::uint32_t at = 0; at < beyond.count; ++at) {
        const Step& step = beyond.steps[at];
        near.cells[near.count++] =
            interleave(spread(neighbourCode(code.latitude, shift, step.north)),
                       spread(neighbourCode(code.longitude, shift, step.east)), 2 * bits);
    }
}

} // namespace qorvel_detail
