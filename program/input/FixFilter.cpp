#include "program/input/FixFilter.h"

#include <algorithm>
#include <cmath>

namespace program {

namespace {

constexpr std::uint32_t kEnoughStrays = 3;

/// Along a great circle of the mean earth.
double metresBetween(double latitude, double longitude, double otherLatitude,
                     double otherLongitude) {
    constexpr double kRadius = 6371008.8;
    constexpr double kRadian = 0.017453292519943295;
    const double up = std::sin((otherLatitude - latitude) * kRadian / 2.0);
    const double along = std::sin((otherLongitude - longitude) * kRadian / 2.0);
    const double squared =
        up * up + std::cos(latitude * kRadian) * std::cos(otherLatitude * kRadian) * along * along;
    return 2.0 * kRadius * std::asin(std::sqrt(std::min(squared, 1.0)));
}

bool holds(const Area& area, const Fix& fix) {
    const bool isEastOfWest = fix.longitude >= area.west;
    const bool isWestOfEast = fix.longitude <= area.east;
    const bool isBetween =
        area.west <= area.east ? isEastOfWest && isWestOfEast : isEastOfWest || isWestOfEast;
    return isBetween && fix.latitude >= area.south && fix.latitude <= area.north;
}

std::string counted(std::uint64_t rows, const char* why) {
    return std::to_string(rows) + (rows == 1 ? " row was" : " rows were") + " left out " + why;
}

} // namespace

bool FixFilter::takes(const Fix& fix) {
    if (!isAskedFor(fix)) {
        ++notAskedFor_;
        return false;
    }
    if (options_.maxSpeed && !isReached(fix)) {
        ++tooFast_;
        return false;
    }
    return true;
}

std::vector<std::string> FixFilter::remarks() const {
    std::vector<std::string> sentences;
    if (notAskedFor_ > 0) {
        sentences.push_back(
            counted(notAskedFor_, "by --entity, --entities, --bbox, --from or --to"));
    }
    if (tooFast_ > 0) {
        sentences.push_back(counted(tooFast_, "because they imply more than --max-speed"));
    }
    return sentences;
}

bool FixFilter::isAskedFor(const Fix& fix) const {
    return fix.time >= options_.from && fix.time <= options_.to &&
           (!options_.area || holds(*options_.area, fix)) &&
           (options_.entities.empty() || options_.entities.count(fix.entity) > 0);
}

bool FixFilter::isReached(const Fix& fix) {
    const Place here{fix.latitude, fix.longitude, fix.time};
    const auto [entry, isFirst] = ways_.try_emplace(fix.entity);
    Way& way = entry->second;
    bool isKept = isFirst || isWithinReach(way.last, here);
    if (!isKept) {
        way.strays = way.strays > 0 && isWithinReach(way.stray, here) ? way.strays + 1 : 1;
        way.stray = here;
        isKept = way.strays == kEnoughStrays;
    }
    if (isKept) {
        way.last = here;
        way.strays = 0;
    }
    return isKept;
}

bool FixFilter::isWithinReach(const Place& one, const Place& other) const {
    const double seconds =
        std::fabs(static_cast<double>(other.time) - static_cast<double>(one.time)) / 1000.0;
    return metresBetween(one.latitude, one.longitude, other.latitude, other.longitude) <=
           *options_.maxSpeed * seconds;
}

} // namespace program
