#include "engine/analysis/detail/PlacesAnalysis.h"

#include "engine/analysis/PlaceResult.h"
#include "engine/analysis/detail/PlaceGatherer.h"
#include "engine/analysis/detail/state.h"

#include <cmath>
#include <unordered_map>
#include <utility>

namespace qorvel_engine::detail {

namespace {

constexpr std::int64_t kHour = 3'600'000;

double hoursOf(std::int64_t ms) {
    return static_cast<double>(ms) / static_cast<double>(kHour);
}

PlaceResult resultOf(std::uint64_t eid, const Place& place) {
    constexpr std::uint32_t kCellBits = 40;
    const auto [latitude, longitude] = toDegrees(place.centre);
    PlaceResult result;
    result.entity = eid;
    result.latitude = latitude;
    result.longitude = longitude;
    result.spread = std::sqrt(place.scatter / place.weight);
    result.visits = place.visits;
    result.hours = hoursOf(place.hours.total);
    result.nightHours = hoursOf(place.hours.night);
    result.workHours = hoursOf(place.hours.work);
    for (std::size_t day = 0; day < place.hours.weekdays.size(); ++day) {
        result.weekdayHours[day] = hoursOf(place.hours.weekdays[day]);
    }
    result.first = place.first;
    result.last = place.last;
    result.cell = qorvel::SpaceBox(latitude, longitude, kCellBits);
    return result;
}

/// The place with the most of something, if that is enough; the first of equal ones.
template <class MostOf>
PlaceResult* findMost(std::vector<PlaceResult>& places, double enough, const MostOf& hoursOf) {
    PlaceResult* found = nullptr;
    for (PlaceResult& place : places) {
        if (hoursOf(place) >= enough && (found == nullptr || hoursOf(place) > hoursOf(*found))) {
            found = &place;
        }
    }
    return found;
}

/// See PlaceOptions::labels.
void label(std::vector<PlaceResult>& places) {
    PlaceResult* const home =
        findMost(places, 1.0, [](const PlaceResult& place) { return place.nightHours; });
    if (home != nullptr) {
        home->label = "home";
    }
    PlaceResult* const work = findMost(places, 2.0, [home](const PlaceResult& place) {
        const bool isLong = place.hours >= static_cast<double>(place.visits);
        return &place != home && isLong ? place.workHours : 0.0;
    });
    if (work != nullptr) {
        work->label = "work";
    }
}

using Gatherers = std::unordered_map<std::uint64_t, PlaceGatherer>; ///< by eid

// What is kept of an entity.
constexpr std::uint8_t kHasFinder = 1;
constexpr std::uint8_t kHasPlaces = 2;

class PlacesSnapshot : public ShardSnapshot {
public:
    PlacesSnapshot(const StayFinder& finder, const Gatherers& gatherers)
        : finder_(finder), gatherers_(gatherers) {}

    bool save(std::uint64_t eid, StateWriter& out) const override {
        const auto found = gatherers_.find(eid);
        const bool hasPlaces = found != gatherers_.end();
        const std::size_t start = out.size();
        out.u8(hasPlaces ? kHasFinder | kHasPlaces : kHasFinder);
        if (!finder_.save(eid, out)) {
            out.truncate(start);
            if (!hasPlaces) {
                return false;
            }
            out.u8(kHasPlaces);
        }
        if (hasPlaces) {
            found->second.save(out);
        }
        return true;
    }

private:
    const StayFinder& finder_;
    const Gatherers& gatherers_;
};

class PlacesShard : public Shard {
public:
    PlacesShard(const StayOptions& stays, const PlaceOptions& places)
        : finder_(stays), radius_(stays.radius), options_(places) {}

    void take(const Observation& observation, Found&) override {
        finder_.take(observation);
        gather();
    }

    void fetch(std::uint64_t later, std::uint64_t sooner, std::uint64_t) const override {
        finder_.fetch(later, sooner);
    }

    void collect(std::int64_t time, LastResults&) override {
        finder_.collect(time);
        gather();
    }

    void finish(LastResults& results) override {
        finder_.finish();
        gather();
        for (const auto& [eid, gatherer] : entities_) {
            std::vector<PlaceResult> places;
            for (const Place& place : gatherer.gather()) {
                places.push_back(resultOf(eid, place));
                places.back().rank = static_cast<std::int64_t>(places.size());
            }
            if (options_.labels) {
                label(places);
            }
            for (const PlaceResult& place : places) {
                results.add({0, eid}, place);
            }
        }
        entities_.clear();
    }

    std::unique_ptr<ShardSnapshot> snapshot() const override {
        return std::make_unique<PlacesSnapshot>(finder_, entities_);
    }

    void load(std::uint64_t eid, StateReader& in) override {
        const std::uint8_t has = in.u8();
        in.expect(has > 0 && has <= (kHasFinder | kHasPlaces));
        if ((has & kHasFinder) != 0) {
            finder_.load(eid, in);
        }
        if ((has & kHasPlaces) != 0) {
            entities_.try_emplace(eid, radius_).first->second.load(in);
        }
    }

    void forgetEntities(const std::vector<std::uint64_t>& eids) override {
        finder_.forgetEntities(eids);
        for (const std::uint64_t eid : eids) {
            entities_.erase(eid);
        }
    }

private:
    void gather() {
        for (const auto& [eid, stay] : finder_.found()) {
            Place visit;
            visit.centre = stay.fixes.centre();
            visit.weight = static_cast<double>(stay.to - stay.from) + 1.0; // of a moment, too
            visit.visits = 1;
            visit.hours.add(stay.from, stay.to, options_.zone);
            visit.first = stay.from;
            visit.last = stay.to;
            entities_.try_emplace(eid, radius_).first->second.add(visit);
        }
        finder_.found().clear();
    }

    StayFinder finder_;
    double radius_;
    PlaceOptions options_;
    Gatherers entities_;
};

} // namespace

PlacesAnalysis::PlacesAnalysis(const StayOptions& stays, const PlaceOptions& places)
    : stays_(checked(stays)), places_(places) {}

ResultTable PlacesAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return PlaceResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> PlacesAnalysis::makeShard() const {
    return std::make_unique<PlacesShard>(stays_, places_);
}

} // namespace qorvel_engine::detail
