#include "src/CellList.h"

#include "engine/columns/Fault.h"
#include "src/Attention.h"
#include "src/faults.h"

#include "qorvel/base/interleave.h"
#include "qorvel/facade/QorvelMotionProcessorAPI.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/UtilG2.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>
#include <string>

namespace qorvel_python {

namespace {

constexpr double kPi = std::numbers::pi;

/// A cell's place in the grid of its size.
struct Place {
    std::uint32_t row;    ///< from the south
    std::uint32_t column; ///< from the west
};

std::uint32_t rowBits(std::uint32_t depth) {
    return depth / 2;
}
std::uint32_t columnBits(std::uint32_t depth) {
    return depth - depth / 2;
}

/// The upper half of the library's code of a fraction of at least kTiny: it cuts off toward the
/// middle, as a conversion does.
std::uint64_t upperCode(double fraction) {
    constexpr std::uint64_t kMiddle = std::uint64_t{1} << 63;
    return (kMiddle + static_cast<std::uint64_t>(static_cast<std::int64_t>(fraction * 0x1p63))) >>
           32;
}

/// Below it the library's codes have oddities of their own.
constexpr double kTiny = 0x1p-60;

Cell libraryCellAt(double latitude, double longitude, std::uint32_t length) {
    qorvel::SpaceBox box;
    qorvel::UtilG2::pointToSpaceBox(latitude, longitude, kBitsPerCharacter * length, box);
    return Cell{box.getFirst64Bits(), 64}.cutTo(kBitsPerCharacter * length);
}

Place placeOf(const Cell& cell) {
    const std::uint32_t depth = cell.depth;
    return {static_cast<std::uint32_t>(qorvel_detail::evenBits(cell.bits) >> (32 - rowBits(depth))),
            static_cast<std::uint32_t>(qorvel_detail::evenBits(cell.bits >> 1) >>
                                       (32 - columnBits(depth)))};
}

Cell cellIn(const Place& place, std::uint32_t depth) {
    const std::uint64_t rows = std::uint64_t{place.row} << (32 - rowBits(depth));
    const std::uint64_t columns = std::uint64_t{place.column} << (32 - columnBits(depth));
    return {qorvel_detail::spreadBits(columns) << 1 | qorvel_detail::spreadBits(rows), depth};
}

/// Counted from the middle, so that a side needs one rounding, by its place alone: neighbours have
/// the same double for the side between them.
double sideAt(std::int64_t place, std::uint32_t bits, double extent) {
    const auto fromMiddle =
        static_cast<double>(2 * place - (std::int64_t{1} << bits)) * std::ldexp(1.0, -int(bits));
    return fromMiddle * extent;
}

/// The point of a cell that is nearest to another one, whose longitude is so many degrees from the
/// cell's nearest side: on that side, where the great circle meets it at a right angle.
double nearestLatitude(const Bounds& bounds, double latitude, double degreesAside) {
    const double aside = degreesAside * kPi / 180.0;
    const double foot = degreesAside == 0.0
                            ? latitude
                            : std::atan2(std::sin(latitude * kPi / 180.0),
                                         std::cos(latitude * kPi / 180.0) * std::cos(aside)) *
                                  180.0 / kPi;
    return std::clamp(foot, bounds.south, bounds.north);
}

/// A circle, of which it is asked which cells it reaches.
class Circle {
public:
    Circle(double latitude, double longitude, double radius, const Cell& own)
        : latitude_(latitude), longitude_(longitude), radius_(radius), own_(own) {}

    /// The centre's own cell always: by the library's oddities near 0, the centre may lie a hair
    /// outside of it.
    bool reaches(const Cell& cell) const {
        if (cell.bits == own_.bits) {
            return true;
        }
        const Bounds bounds = boundsOf(cell);
        const double toWest = aside(bounds.west);
        const double toEast = aside(bounds.east);
        const bool isWithin = bounds.west <= longitude_ && longitude_ <= bounds.east;
        const double degreesAside = isWithin ? 0.0 : std::min(toWest, toEast);
        const double longitude = isWithin           ? longitude_
                                 : toWest <= toEast ? bounds.west
                                                    : bounds.east;
        return qorvel::UtilG2::nearFilter(latitude_, longitude_,
                                          nearestLatitude(bounds, latitude_, degreesAside),
                                          longitude, radius_);
    }

private:
    double aside(double longitude) const {
        const double way = std::fabs(longitude - longitude_);
        return std::min(way, 360.0 - way);
    }

    double latitude_;
    double longitude_;
    double radius_;
    Cell own_;
};

constexpr std::size_t kMostCells = 10000000;

[[noreturn]] void refuseTooMany() {
    throw qorvel_engine::Fault(qorvel_engine::FaultCode::tooLarge,
                               "The circle reaches more than ten million cells; want shorter "
                               "geohashes, or a smaller radius.");
}

/// Are there surely too many? As many cells as the circle's area takes are the least, if all of
/// them are as large as those at the equator. The unit is the earth's radius.
void refuseSurelyTooMany(double radius, std::uint32_t depth) {
    constexpr double kEarthRadius = 6.44e6; // metres: rather more than it is
    const double angle = std::min(radius / kEarthRadius, kPi);
    const double circle = 2.0 * kPi * (1.0 - std::cos(angle));
    const double cell = std::ldexp(2.0 * kPi * kPi, -static_cast<int>(depth));
    if (circle / cell > static_cast<double>(kMostCells)) {
        refuseTooMany();
    }
}

/// The cells of a row that a circle reaches: from the column of its centre to both sides, as far as
/// it does.
void appendRow(const Circle& circle, const Cell& middle, std::vector<Cell>& found,
               Attention& attention) {
    const std::size_t columns = std::size_t{1} << columnBits(middle.depth);
    const std::size_t begin = found.size();
    std::size_t west = 0;
    Cell cell = middle;
    while (west + 1 < columns && circle.reaches(neighbourOf(cell, 0, -1))) {
        cell = neighbourOf(cell, 0, -1);
        ++west;
        attention();
        if (west > kMostCells) {
            break;
        }
    }
    do {
        if (found.size() >= kMostCells) {
            refuseTooMany();
        }
        found.push_back(cell);
        cell = neighbourOf(cell, 0, 1);
        attention();
    } while (found.size() - begin < columns &&
             (found.size() - begin <= west || circle.reaches(cell)));
}

} // namespace

Cell cellAt(double latitude, double longitude, std::uint32_t length) {
    const double north = latitude / 90.0;
    const double east = longitude / 180.0;
    if (!(-1.0 <= north && north < 1.0 && -1.0 <= east && east < 1.0)) {
        return {};
    }
    if (std::fabs(north) < kTiny || std::fabs(east) < kTiny) {
        return libraryCellAt(latitude, longitude, length);
    }
    return Cell{qorvel_detail::spreadBits(upperCode(east)) << 1 |
                    qorvel_detail::spreadBits(upperCode(north)),
                64}
        .cutTo(kBitsPerCharacter * length);
}

Cell cellOf(std::string_view text) {
    if (text.empty() || text.size() > kMostCharacters ||
        text.find('\0') != std::string_view::npos) {
        return {};
    }
    qorvel::SpaceBox box;
    if (!qorvel::UtilG2::stringToSpaceBox(std::string(text), box)) {
        return {};
    }
    return {box.getFirst64Bits(), box.getGeoHashBitDepth()};
}

Bounds boundsOf(const Cell& cell) {
    const std::uint32_t depth = cell.depth;
    const Place place = placeOf(cell);
    const auto side = [](std::int64_t at, std::uint32_t bits, double extent) {
        return sideAt(at, bits, extent);
    };
    return {side(place.column, columnBits(depth), 180.0), side(place.row, rowBits(depth), 90.0),
            side(std::int64_t{place.column} + 1, columnBits(depth), 180.0),
            side(std::int64_t{place.row} + 1, rowBits(depth), 90.0)};
}

Point middleOf(const Cell& cell) {
    thread_local std::stringstream errors; // asked for by the library, never written
    Point middle{};
    qorvel::QorvelMotionProcessorAPI::getCentroid(
        qorvel::SpaceBox(cell.bits, std::uint64_t{0}, cell.depth), middle.latitude,
        middle.longitude, errors);
    return middle;
}

Cell neighbourOf(const Cell& cell, int north, int east) {
    const std::uint32_t depth = cell.depth;
    const Place place = placeOf(cell);
    const std::int64_t rows = std::int64_t{1} << rowBits(depth);
    const std::int64_t columns = std::int64_t{1} << columnBits(depth);
    const std::int64_t row = std::int64_t{place.row} + north;
    if (row < 0 || row >= rows) {
        return {};
    }
    const std::int64_t column = (std::int64_t{place.column} + east + columns) % columns;
    return cellIn({static_cast<std::uint32_t>(row), static_cast<std::uint32_t>(column)}, depth);
}

std::vector<Cell> cellsWithin(double latitude, double longitude, double radius,
                              std::uint32_t length) {
    const Cell own = cellAt(latitude, longitude, length);
    if (!own || !(radius >= 0.0)) {
        refuseCall("A circle has a centre from -90 to below 90 and from -180 to below 180 degrees, "
                   "and a radius of metres from 0 on.");
    }
    refuseSurelyTooMany(radius, own.depth);
    const Circle circle(latitude, longitude, radius, own);
    std::vector<Cell> found;
    Attention attention;
    Cell row = own;
    for (Cell south = neighbourOf(row, -1, 0); south && circle.reaches(south);
         south = neighbourOf(row, -1, 0)) {
        row = south;
        attention();
    }
    // A circle around a pole reaches rows beyond it in other columns only, which are rows passed
    // already.
    do {
        appendRow(circle, row, found, attention);
        row = neighbourOf(row, 1, 0);
    } while (row && circle.reaches(row));
    return found;
}

} // namespace qorvel_python
