#include "engine/analysis/detail/PlaceGatherer.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace qorvel_engine::detail {

namespace {

bool isBefore(const Place& left, const Place& right) {
    return left.hours.total != right.hours.total ? left.hours.total > right.hours.total
                                                 : left.first < right.first;
}

} // namespace

void PlaceGatherer::add(const Place& stay) {
    const double reach = radius_ / kParts;
    const std::size_t none = spots_.size();
    std::pair<double, std::size_t> nearest(reach * reach, none);
    grid_.visitNear(stay.centre, [&](std::size_t spot) {
        nearest = std::min(nearest, {squaredDistance(stay.centre, spots_[spot].begun), spot});
    });
    if (nearest.second == none) {
        spots_.push_back({stay.centre, stay});
        grid_.add(stay.centre, none);
    } else {
        spots_[nearest.second].place.add(stay);
    }
}

void PlaceGatherer::save(StateWriter& out) const {
    out.u64(spots_.size());
    for (const auto& [begun, place] : spots_) {
        savePoint(begun, out);
        savePoint(place.centre, out);
        out.f64(place.weight);
        out.f64(place.scatter);
        out.i64(place.visits);
        for (const std::int64_t sum : {place.hours.total, place.hours.night, place.hours.work}) {
            out.i64(sum);
        }
        for (const std::int64_t sum : place.hours.weekdays) {
            out.i64(sum);
        }
        out.i64(place.first);
        out.i64(place.last);
    }
}

void PlaceGatherer::load(StateReader& in) {
    constexpr std::size_t kSpotSize = 21 * 8;
    constexpr double kMost = 1e100;                             // far from overflowing
    constexpr std::int64_t kMostVisits = std::int64_t{1} << 62; // more can be counted
    for (std::uint64_t left = in.count(kSpotSize); left > 0 && in.isGood(); --left) {
        Spot spot;
        Place& place = spot.place;
        spot.begun = loadPoint(in);
        place.centre = loadPoint(in);
        place.weight = in.within(kMost);
        place.scatter = in.within(kMost);
        place.visits = in.time();
        for (std::int64_t* const sum :
             {&place.hours.total, &place.hours.night, &place.hours.work}) {
            *sum = in.time();
        }
        for (std::int64_t& sum : place.hours.weekdays) {
            sum = in.time();
        }
        place.first = in.time();
        place.last = in.time();
        in.expect(place.weight > 0.0 && place.scatter >= 0.0 && place.visits < kMostVisits);
        grid_.add(spot.begun, spots_.size());
        spots_.push_back(spot);
    }
}

std::vector<Place> PlaceGatherer::gather() const {
    PointGrid grid(radius_);
    for (std::size_t spot = 0; spot < spots_.size(); ++spot) {
        grid.add(spots_[spot].place.centre, spot);
    }
    std::vector<bool> isTaken(spots_.size());
    std::vector<Place> places;
    for (const std::size_t most : byTime()) {
        if (isTaken[most]) {
            continue;
        }
        std::vector<std::size_t> taken;
        const EarthPoint centre = spots_[most].place.centre;
        grid.visitNear(centre, [&](std::size_t spot) {
            const EarthPoint& other = spots_[spot].place.centre;
            if (!isTaken[spot] && squaredDistance(centre, other) <= radius_ * radius_) {
                taken.push_back(spot);
                isTaken[spot] = true;
            }
        });
        std::sort(taken.begin(), taken.end()); // sums hang on their order
        Place& place = places.emplace_back();
        for (const std::size_t spot : taken) {
            place.add(spots_[spot].place);
        }
    }
    std::stable_sort(places.begin(), places.end(), isBefore);
    return places;
}

/// Spots stand in the order of their first stays.
std::vector<std::size_t> PlaceGatherer::byTime() const {
    std::vector<std::size_t> order(spots_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [this](std::size_t left, std::size_t right) {
        return isBefore(spots_[left].place, spots_[right].place);
    });
    return order;
}

} // namespace qorvel_engine::detail
