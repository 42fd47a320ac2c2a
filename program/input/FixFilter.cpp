#include "program/input/FixFilter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <string_view>

namespace program {

namespace {

constexpr std::uint64_t kEnoughStrays = 3;

// In checkpoints.
constexpr char kLeftOut[] = "filter";           ///< not asked for, too fast
constexpr char kEntities[] = "filter.entities"; ///< of ways, ascending
/// For each two places, as latitude, longitude and time, and three counts, as they stand in Way.
constexpr char kWays[] = "filter.ways";
constexpr std::size_t kWaySize = 9;

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

void FixFilter::save(qorvel_engine::Checkpoint& kept) const {
    kept.numbers[kLeftOut] = {notAskedFor_, tooFast_};
    std::map<std::string_view, const Way*> sorted;
    for (const auto& [entity, way] : ways_) {
        sorted.emplace(entity, &way);
    }
    std::vector<std::string>& entities = kept.texts[kEntities];
    std::vector<std::uint64_t>& numbers = kept.numbers[kWays];
    for (const auto& [entity, way] : sorted) {
        entities.emplace_back(entity);
        for (const Place& place : {way->last, way->stray}) {
            numbers.push_back(std::bit_cast<std::uint64_t>(place.latitude));
            numbers.push_back(std::bit_cast<std::uint64_t>(place.longitude));
            numbers.push_back(static_cast<std::uint64_t>(place.time));
        }
        numbers.insert(numbers.end(), {way->kept, way->strays, way->strayRow});
    }
}

bool FixFilter::load(const qorvel_engine::Checkpoint& kept) {
    const auto leftOut = kept.numbers.find(kLeftOut);
    const auto entities = kept.texts.find(kEntities);
    const auto ways = kept.numbers.find(kWays);
    if (leftOut == kept.numbers.end() || leftOut->second.size() != 2 ||
        entities == kept.texts.end() || ways == kept.numbers.end() ||
        ways->second.size() != entities->second.size() * kWaySize) {
        return false;
    }
    notAskedFor_ = leftOut->second[0];
    tooFast_ = leftOut->second[1];
    const std::uint64_t* next = ways->second.data();
    for (const std::string& entity : entities->second) {
        Way& way = ways_[entity];
        for (Place* const place : {&way.last, &way.stray}) {
            place->latitude = std::bit_cast<double>(*next++);
            place->longitude = std::bit_cast<double>(*next++);
            place->time = static_cast<std::int64_t>(*next++);
        }
        for (std::uint64_t* const count : {&way.kept, &way.strays, &way.strayRow}) {
            *count = *next++;
        }
    }
    return true;
}

bool FixFilter::isAskedFor(const Fix& fix) const {
    return fix.time >= options_.from && fix.time <= options_.to &&
           (!options_.area || holds(*options_.area, fix)) &&
           (options_.entities.empty() || options_.entities.count(fix.entity) > 0);
}

bool FixFilter::isReached(const Fix& fix) {
    const Place here{fix.latitude, fix.longitude, fix.time};
    Way& way = ways_[fix.entity];
    if (way.kept == 0 || isWithinReach(way.last, here)) {
        way.last = here;
        ++way.kept;
        way.strayRow = 0;
        return true;
    }
    const bool agrees = way.strays > 0 && isWithinReach(way.stray, here);
    way.stray = here;
    way.strays = agrees ? way.strays + 1 : 1;
    way.strayRow = agrees ? way.strayRow + 1 : 1;
    // One that comes again and again, from the first fix on, is never three in a row behind.
    const bool isThere =
        way.strayRow >= kEnoughStrays || (way.strays >= kEnoughStrays && way.strays > way.kept);
    if (isThere) {
        way = {here, way.strays, {}, 0, 0};
    }
    return isThere;
}

bool FixFilter::isWithinReach(const Place& one, const Place& other) const {
    const double seconds =
        std::fabs(static_cast<double>(other.time) - static_cast<double>(one.time)) / 1000.0;
    return metresBetween(one.latitude, one.longitude, other.latitude, other.longitude) <=
           *options_.maxSpeed * seconds;
}

} // namespace program
