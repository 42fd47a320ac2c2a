#include "engine/analysis/detail/StayFinder.h"

#include "engine/columns/Fault.h"

#include <iterator>
#include <utility>

namespace qorvel_engine::detail {

StayOptions checked(const StayOptions& options) {
    const auto expect = [](bool holds, const char* otherwise) {
        if (!holds) {
            throw Fault(FaultCode::badConfiguration, otherwise);
        }
    };
    expect(options.radius > 0.0 && options.radius <= 100000.0,
           "The radius of stays has to be above 0 and at most 100,000 metres.");
    expect(options.minStay >= 0, "The shortest stay has to be a time from 0 on.");
    expect(options.maxGap >= 0, "The longest gap has to be a time from 0 on.");
    expect(options.maxBridge >= options.maxGap,
           "The longest bridge has to be at least as long as the longest gap.");
    expect(options.maxAway >= 0, "The longest time away has to be a time from 0 on.");
    expect(options.maxAccuracy >= 0.0,
           "The worst accuracy has to be a number of metres from 0 on.");
    return options;
}

void StayFinder::take(const Observation& observation) {
    const qorvel::Event& event = observation.event;
    if (observation.isLate) {
        return;
    }
    Entity& entity = entities_[event.eid];
    entity.held.add(
        {event.time, event.latitude, event.longitude, event.spaceTolerance, observation.row});
    proceed(entity, observation.oldestToCome);
    gather(event.eid);
}

void StayFinder::collect(std::int64_t time) {
    for (auto entry = entities_.begin(); entry != entities_.end();) {
        auto& [eid, entity] = *entry;
        proceed(entity, time);
        gather(eid);
        entry = entity.isIdle() ? entities_.erase(entry) : std::next(entry);
    }
}

void StayFinder::finish() {
    for (auto& [eid, entity] : entities_) {
        while (!entity.held.isEmpty()) {
            entity.detector.take(entity.held.take(), work_);
        }
        entity.detector.finish(work_);
        gather(eid);
    }
    entities_.clear();
}

bool StayFinder::save(std::uint64_t eid, StateWriter& out) const {
    const auto found = entities_.find(eid);
    if (found == entities_.end()) {
        return false;
    }
    found->second.held.save(out);
    found->second.detector.save(out);
    return true;
}

void StayFinder::load(std::uint64_t eid, StateReader& in) {
    Entity& entity = entities_[eid];
    entity.held.load(in);
    entity.detector.load(in);
}

void StayFinder::forgetEntities(const std::vector<std::uint64_t>& eids) {
    for (const std::uint64_t eid : eids) {
        entities_.erase(eid);
    }
}

/// No fix before this time will come.
void StayFinder::proceed(Entity& entity, std::int64_t time) {
    while (!entity.held.isEmpty() && entity.held.oldest() < time) {
        entity.detector.take(entity.held.take(), work_);
    }
    entity.detector.advance(time, work_);
}

void StayFinder::gather(std::uint64_t eid) {
    for (Stay& stay : work_.stays) {
        found_.emplace_back(eid, std::move(stay));
    }
    work_.stays.clear();
}

} // namespace qorvel_engine::detail
