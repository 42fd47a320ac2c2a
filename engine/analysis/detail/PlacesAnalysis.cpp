#include "engine/analysis/detail/PlacesAnalysis.h"

#include "engine/analysis/PlaceResult.h"
#include "engine/analysis/detail/PlaceGatherer.h"

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

class PlacesShard : public Shard {
public:
    PlacesShard(const StayOptions& stays, const PlaceOptions& places)
        : finder_(stays), radius_(stays.radius), options_(places) {}

    void take(const Observation& observation, Found&) override {
        finder_.take(observation);
        gather();
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
    std::unordered_map<std::uint64_t, PlaceGatherer> entities_; ///< by eid
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
