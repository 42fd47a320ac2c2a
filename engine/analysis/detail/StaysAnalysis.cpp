#include "engine/analysis/detail/StaysAnalysis.h"

#include "engine/analysis/StayResult.h"
#include "engine/analysis/detail/FixQueue.h"
#include "engine/analysis/detail/StayDetector.h"
#include "engine/columns/Fault.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

namespace {

/// What is kept of an entity.
struct Entity {
    FixQueue held;
    StayDetector detector;

    bool isIdle() const { return held.isEmpty() && detector.isIdle(); }
};

StayResult resultOf(std::uint64_t eid, const Stay& stay) {
    constexpr std::int64_t kMinute = 60000;
    constexpr std::uint32_t kCellBits = 40;
    const auto [latitude, longitude] = toDegrees(stay.fixes.centre());
    return {eid,
            stay.from,
            stay.to,
            (stay.to - stay.from) / kMinute +
                ((stay.to - stay.from) % kMinute >= kMinute / 2 ? 1 : 0),
            latitude,
            longitude,
            stay.fixes.spread(),
            stay.fixes.farthest(),
            static_cast<std::int64_t>(stay.fixes.count()),
            SpaceBox(latitude, longitude, kCellBits)};
}

class StaysShard : public Shard {
public:
    explicit StaysShard(const StayOptions& options) : work_{options} {}

    void take(const Observation& observation, Found& found) override {
        const Event& event = observation.event;
        if (observation.isLate) {
            return; // what comes after it may have been taken already
        }
        Entity& entity = entities_[event.eid];
        entity.held.add({event.time, event.latitude, event.longitude, event.spaceTolerance});
        proceed(entity, observation.oldestToCome);
        for (const Stay& stay : work_.stays) {
            found.results().append(resultOf(event.eid, stay));
        }
        work_.stays.clear();
    }

    void collect(std::int64_t time, LastResults& results) override {
        for (auto entry = entities_.begin(); entry != entities_.end();) {
            auto& [eid, entity] = *entry;
            proceed(entity, time);
            gather(eid);
            entry = entity.isIdle() ? entities_.erase(entry) : std::next(entry);
        }
        handOver(results);
    }

    void finish(LastResults& results) override {
        for (auto& [eid, entity] : entities_) {
            while (!entity.held.isEmpty()) {
                entity.detector.take(entity.held.take(), work_);
            }
            entity.detector.finish(work_);
            gather(eid);
        }
        entities_.clear();
        handOver(results);
    }

private:
    /// No fix before this time will come.
    void proceed(Entity& entity, std::int64_t time) {
        while (!entity.held.isEmpty() && entity.held.oldest() < time) {
            entity.detector.take(entity.held.take(), work_);
        }
        entity.detector.advance(time, work_);
    }

    void gather(std::uint64_t eid) {
        for (const Stay& stay : work_.stays) {
            gathered_.emplace_back(eid, stay);
        }
        work_.stays.clear();
    }

    /// By the times from which they are final, whenever that was told. Those of an entity are found
    /// one after the other.
    void handOver(LastResults& results) {
        std::stable_sort(gathered_.begin(), gathered_.end(),
                         [](const auto& left, const auto& right) {
                             return std::tie(left.second.knownFrom, left.first) <
                                    std::tie(right.second.knownFrom, right.first);
                         });
        for (const auto& [eid, stay] : gathered_) {
            results.add({stay.knownFrom, eid}, resultOf(eid, stay));
        }
        gathered_.clear();
    }

    StayDetector::Work work_;
    std::unordered_map<std::uint64_t, Entity> entities_;   ///< by eid
    std::vector<std::pair<std::uint64_t, Stay>> gathered_; ///< kept for its memory
};

void expect(bool holds, const char* otherwise) {
    if (!holds) {
        throw Fault(FaultCode::badConfiguration, otherwise);
    }
}

} // namespace

StaysAnalysis::StaysAnalysis(const StayOptions& options) : options_(options) {
    expect(options.radius > 0.0 && options.radius <= 100000.0,
           "The radius of stays has to be above 0 and at most 100,000 metres.");
    expect(options.minStay >= 0, "The shortest stay has to be a time from 0 on.");
    expect(options.maxGap >= 0, "The longest gap has to be a time from 0 on.");
    expect(options.maxBridge >= options.maxGap,
           "The longest bridge has to be at least as long as the longest gap.");
    expect(options.maxAway >= 0, "The longest time away has to be a time from 0 on.");
    expect(options.maxAccuracy >= 0.0,
           "The worst accuracy has to be a number of metres from 0 on.");
}

ResultTable StaysAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return StayResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> StaysAnalysis::makeShard() const {
    return std::make_unique<StaysShard>(options_);
}

} // namespace qorvel_engine::detail
