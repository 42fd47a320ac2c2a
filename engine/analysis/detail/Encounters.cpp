#include "engine/analysis/detail/Encounters.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace qorvel_engine::detail {

namespace {

/// In units of `apart`: a fix is kept for that long, and the shorter it is the more fixes stand
/// near the border of two slots, where both look at them.
constexpr std::int64_t kSlotLength = 2;

constexpr std::int64_t kEndOfTime = std::numeric_limits<std::int64_t>::max();

/// Times are not negative.
std::int64_t after(std::int64_t time, std::int64_t span) {
    return time > kEndOfTime - span ? kEndOfTime : time + span;
}

} // namespace

Encounters::Encounters(const EncounterOptions& options)
    : options_(options), slotLength_(kSlotLength * options.apart), finder_(options) {}

void Encounters::add(const SeenFix& fix) {
    const std::int64_t slot = fix.time / slotLength_;
    if (slot < nextSlot_) {
        ++lateFixes_;
    } else {
        slots_[slot].add(fix);
    }
}

void Encounters::advance(std::int64_t oldestToCome, const NameOrder& isBefore, const Sink& sink) {
    const std::int64_t complete = (oldestToCome - options_.apart) / slotLength_; // not itself
    lookThroughBefore(complete, isBefore, sink);
    nextSlot_ = std::max(nextSlot_, complete);
    close(complete);
    handOver(isBefore, sink);
}

void Encounters::finish(const NameOrder& isBefore, const Sink& sink) {
    lookThroughBefore(kEndOfTime, isBefore, sink);
    close(kEndOfTime);
    handOver(isBefore, sink);
}

void Encounters::lookThroughBefore(std::int64_t end, const NameOrder& isBefore, const Sink& sink) {
    for (auto slot = slots_.lower_bound(nextSlot_); slot != slots_.end() && slot->first < end;
         slot = slots_.lower_bound(nextSlot_)) {
        lookThrough(slot);
        slots_.erase(slots_.begin(), slot); // the next may look back at this one
        nextSlot_ = slot->first + 1;
        close(nextSlot_);
        handOver(isBefore, sink);
    }
}

void Encounters::lookThrough(Slots::iterator slot) {
    const std::int64_t begin = slot->first * slotLength_;
    const std::int64_t from = std::max(begin, options_.first);
    const std::int64_t to = std::min(after(begin, slotLength_ - 1), options_.last);
    if (from <= to) {
        finder_.take(fixesAround(slot));
        join(from, to);
    }
}

/// Moves each fix once, though it is asked for with the slots on both sides, too.
void Encounters::Slot::sort() {
    const auto next = fixes.begin() + static_cast<std::ptrdiff_t>(sorted);
    std::sort(next, fixes.end());
    std::inplace_merge(fixes.begin(), next, fixes.end());
    sorted = fixes.size();
}

std::vector<SeenFix> Encounters::fixesAround(Slots::iterator slot) {
    std::vector<SeenFix> fixes;
    const std::int64_t begin = slot->first * slotLength_;
    const auto earliest = begin - options_.apart;
    const auto latest = after(after(begin, slotLength_ - 1), options_.apart);
    for (std::int64_t number = slot->first - 1; number <= slot->first + 1; ++number) {
        const auto one = slots_.find(number);
        if (one != slots_.end()) {
            one->second.sort();
            const auto size = static_cast<std::ptrdiff_t>(fixes.size());
            std::copy_if(
                one->second.fixes.begin(), one->second.fixes.end(), std::back_inserter(fixes),
                [&](const SeenFix& fix) { return fix.time >= earliest && fix.time <= latest; });
            std::inplace_merge(fixes.begin(), fixes.begin() + size, fixes.end());
        }
    }
    fixes.erase(std::unique(fixes.begin(), fixes.end()), fixes.end());
    return fixes;
}

/// Half by half where the moments are too many: it is their order in time that matters.
void Encounters::join(std::int64_t from, std::int64_t to) {
    if (finder_.find(from, to, moments_)) {
        Encounter* last = nullptr; // moments of a pair follow each other
        for (const Moment& moment : moments_) {
            const bool isSame = last != nullptr && last->a == moment.a && last->b == moment.b;
            last = isSame ? last : &underWay_.findOrAdd({moment.a, moment.b}).known;
            join(moment, *last);
        }
    } else {
        const std::int64_t middle = from + (to - from) / 2;
        join(from, middle);
        join(middle + 1, to);
    }
}

/// With what is under way of its pair, if there is something.
void Encounters::join(const Moment& moment, Encounter& encounter) {
    const Encounter begun{moment.a,
                          moment.b,
                          moment.time,
                          moment.time,
                          moment.squaredDistance,
                          moment.latitude,
                          moment.longitude,
                          1};
    if (encounter.fixes == 0) {
        encounter = begun;
        return;
    }
    if (moment.time - encounter.to > options_.apart) {
        ended_.push_back(encounter);
        encounter = begun;
        return;
    }
    encounter.to = moment.time;
    ++encounter.fixes;
    // As distances, not as their squares: of pieces of an encounter nothing else is known.
    if (std::sqrt(moment.squaredDistance) < std::sqrt(encounter.squaredDistance)) {
        encounter.squaredDistance = moment.squaredDistance;
        encounter.latitude = moment.latitude;
        encounter.longitude = moment.longitude;
    }
}

/// The slot after which it is certain that an encounter has ended.
std::int64_t Encounters::lastSlotOf(const Encounter& encounter) const {
    return after(encounter.to, options_.apart) / slotLength_;
}

/// Those whose last slot is before this one.
void Encounters::close(std::int64_t slot) {
    const std::int64_t last = slot > kEndOfTime / slotLength_ ? kEndOfTime : slot * slotLength_ - 1;
    ended_.reserve(ended_.size() + underWay_.size()); // nothing may be thrown on the way
    underWay_.eraseIf([&](const PairSlot<Encounter>& entry) {
        const bool hasEnded = after(entry.known.to, options_.apart) <= last;
        if (hasEnded) {
            ended_.push_back(entry.known);
        }
        return hasEnded;
    });
}

/// Slot by slot, so that it does not matter how many slots were closed at once.
void Encounters::handOver(const NameOrder& isBefore, const Sink& sink) {
    struct Rank {
        std::int64_t slot;
        std::int64_t from;
        const Encounter* encounter;
    };
    std::vector<Rank> order;
    order.reserve(ended_.size());
    for (Encounter& encounter : ended_) {
        if (encounter.to - encounter.from >= options_.minDuration) {
            if (isBefore(encounter.b, encounter.a)) {
                std::swap(encounter.a, encounter.b);
            }
            order.push_back({lastSlotOf(encounter), encounter.from, &encounter});
        }
    }
    std::sort(order.begin(), order.end(), [&](const Rank& left, const Rank& right) {
        if (left.slot != right.slot || left.from != right.from) {
            return left.slot != right.slot ? left.slot < right.slot : left.from < right.from;
        }
        const Encounter& one = *left.encounter;
        const Encounter& other = *right.encounter;
        return one.a != other.a ? isBefore(one.a, other.a) : isBefore(one.b, other.b);
    });
    for (const Rank& rank : order) {
        sink(*rank.encounter);
    }
    ended_.clear();
}

void Encounters::save(StateWriter& out) const {
    out.i64(nextSlot_);
    out.u64(lateFixes_);
    std::uint64_t fixes = 0;
    for (const auto& [number, slot] : slots_) {
        fixes += slot.fixes.size();
    }
    out.u64(fixes);
    for (const auto& [number, slot] : slots_) {
        for (const SeenFix& fix : slot.fixes) {
            out.u64(fix.eid);
            out.i64(fix.time);
            out.f64(fix.latitude);
            out.f64(fix.longitude);
        }
    }
    std::map<Pair, Encounter> sorted;
    underWay_.forEach(
        [&sorted](const PairSlot<Encounter>& entry) { sorted.emplace(entry.pair, entry.known); });
    out.u64(sorted.size());
    for (const auto& [pair, encounter] : sorted) {
        savePair(pair, out);
        out.i64(encounter.from);
        out.i64(encounter.to);
        out.f64(encounter.squaredDistance);
        out.f64(encounter.latitude);
        out.f64(encounter.longitude);
        out.i64(encounter.fixes);
    }
}

void Encounters::load(StateReader& in, std::uint64_t entities) {
    constexpr std::size_t kFixSize = 4 * 8;
    constexpr std::size_t kEncounterSize = 8 * 8;
    constexpr std::int64_t kMostFixes = std::int64_t{1} << 62; // more can be counted
    nextSlot_ = in.time();
    lateFixes_ = in.u64();
    for (std::uint64_t left = in.count(kFixSize); left > 0 && in.isGood(); --left) {
        SeenFix fix{};
        fix.eid = in.u64();
        fix.time = in.time();
        fix.latitude = in.latitude();
        fix.longitude = in.longitude();
        in.expect(fix.eid < entities);
        slots_[fix.time / slotLength_].add(fix);
    }
    for (std::uint64_t left = in.count(kEncounterSize); left > 0 && in.isGood(); --left) {
        const Pair pair = loadPair(in, entities);
        Encounter encounter{};
        encounter.a = pair.first;
        encounter.b = pair.second;
        encounter.from = in.time();
        encounter.to = in.time();
        encounter.squaredDistance = in.within(std::numeric_limits<double>::max());
        encounter.latitude = in.latitude();
        encounter.longitude = in.longitude();
        encounter.fixes = in.time();
        in.expect(pair.first < pair.second && encounter.from <= encounter.to &&
                  encounter.fixes > 0 && encounter.fixes < kMostFixes &&
                  underWay_.find(pair) == nullptr);
        if (in.isGood()) {
            underWay_.findOrAdd(pair).known = encounter;
        }
    }
}

void Encounters::takeState(Encounters& other) noexcept {
    slots_.swap(other.slots_);
    underWay_ = std::move(other.underWay_);
    nextSlot_ = other.nextSlot_;
    lateFixes_ = other.lateFixes_;
}

} // namespace qorvel_engine::detail
