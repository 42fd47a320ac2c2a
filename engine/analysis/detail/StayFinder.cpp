#include "engine/analysis/detail/StayFinder.h"

#include "engine/columns/Fault.h"

#include <algorithm>
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
    Entity& entity = findOrAdd(event.eid);
    entity.held.add(
        {event.time, event.latitude, event.longitude, event.spaceTolerance, observation.row});
    proceed(entity, observation.oldestToCome);
    gather(event.eid);
}

/// With few entities all of them are in the caches, and to look for them costs more than it saves.
void StayFinder::fetch(std::uint64_t later, std::uint64_t sooner) const {
    constexpr std::uint32_t kFew = 64;
    constexpr std::size_t kLine = 64;
    if (entities_.size() <= kFew) {
        return;
    }
    if (const Entity* const entity = find(later)) {
        const char* const place = reinterpret_cast<const char*>(entity);
        for (std::size_t at = 0; at < sizeof(Entity); at += kLine) {
            __builtin_prefetch(place + at, 1);
        }
    }
    if (const Entity* const entity = find(sooner)) {
        entity->held.fetchEnds();
        entity->detector.fetchBeads();
    }
}

/// Null where nothing is kept of it.
StayFinder::Entity* StayFinder::find(std::uint64_t eid) const {
    Lately& lately = latelyOf(eid);
    if (lately.entity == nullptr || lately.eid != eid) {
        const Slot* const slot = entities_.find(eid);
        if (slot == nullptr) {
            return nullptr;
        }
        lately = {eid, slot->entity.get()};
    }
    return lately.entity;
}

StayFinder::Entity& StayFinder::findOrAdd(std::uint64_t eid) {
    if (Entity* const known = find(eid)) {
        return *known;
    }
    return *entities_.findOrAdd(eid).entity;
}

void StayFinder::collect(std::int64_t time) {
    entities_.forEach([&](const Slot& slot) {
        proceed(*slot.entity, time);
        gather(slot.eid);
    });
    lately_ = {};
    entities_.eraseIf([](const Slot& slot) { return slot.entity->isIdle(); });
}

void StayFinder::finish() {
    entities_.forEach([&](const Slot& slot) {
        while (!slot.entity->held.isEmpty()) {
            slot.entity->detector.take(slot.entity->held.take(), work_);
        }
        slot.entity->detector.finish(work_);
        gather(slot.eid);
    });
    lately_ = {};
    entities_ = {};
}

bool StayFinder::save(std::uint64_t eid, StateWriter& out) const {
    const Slot* const slot = entities_.find(eid);
    if (slot == nullptr) {
        return false;
    }
    slot->entity->held.save(work_.options.label, out);
    slot->entity->detector.save(work_.options.label, out);
    return true;
}

void StayFinder::load(std::uint64_t eid, StateReader& in) {
    Entity& entity = findOrAdd(eid);
    entity.held.load(work_.options.label, in);
    entity.detector.load(work_.options.label, in);
}

void StayFinder::forgetEntities(const std::vector<std::uint64_t>& eids) {
    lately_ = {};
    entities_.eraseIf(
        [&](const Slot& slot) { return std::binary_search(eids.begin(), eids.end(), slot.eid); });
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
