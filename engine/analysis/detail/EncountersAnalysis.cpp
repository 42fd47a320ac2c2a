#include "engine/analysis/detail/EncountersAnalysis.h"

#include "engine/analysis/EncounterResult.h"
#include "engine/analysis/PairResult.h"
#include "engine/columns/Fault.h"

#include "qorvel/base/bits.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

namespace {

constexpr double kMostMetres = 100'000.0;
constexpr std::int64_t kOneDay = 86'400'000;
constexpr std::int64_t kMinute = 60'000;

/// 38 m by 19 m or less, as near as two are.
constexpr std::uint32_t kCellBits = 40;

EncounterOptions checked(const EncounterOptions& options) {
    const auto expect = [](bool holds, const char* otherwise) {
        if (!holds) {
            throw Fault(FaultCode::badConfiguration, otherwise);
        }
    };
    expect(options.within > 0.0 && options.within <= kMostMetres,
           "Two can be together within more than 0 and at most 100,000 metres.");
    expect(options.apart >= 1 && options.apart <= kOneDay,
           "The time between the fixes of two must be at least 1 ms and at most a day.");
    expect(options.minDuration >= 0, "The least time together cannot be negative.");
    return options;
}

/// Halves up; not negative.
std::int64_t minutesOf(std::int64_t ms) {
    return ms / kMinute + (ms % kMinute >= kMinute / 2 ? 1 : 0);
}

/// All that matters is who meets whom: a shard only passes fixes on.
class EncountersShard : public Shard {
public:
    void take(const Observation& observation, Found& found) override {
        const qorvel::Event& event = observation.event;
        found.add(SeenFix{event.eid, event.time, event.latitude, event.longitude});
    }

    void collect(std::int64_t, LastResults&) override {}
};

} // namespace

EncountersAnalysis::EncountersAnalysis(const EncounterOptions& options)
    : options_(checked(options)), encounters_(options) {}

ResultTable EncountersAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return options_.pairs ? PairResult::layout().makeTable(std::move(names))
                          : EncounterResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> EncountersAnalysis::makeShard() const {
    return std::make_unique<EncountersShard>();
}

void EncountersAnalysis::see(const SeenFix& fix) {
    encounters_.add(fix);
}

void EncountersAnalysis::collect(std::int64_t time, const EntityNames& names,
                                 LastResults& results) {
    encounters_.advance(time + lookBack(), NameOrder(names), sinkFor(results));
}

void EncountersAnalysis::finish(const EntityNames& names, LastResults& results) {
    const NameOrder isBefore(names);
    encounters_.finish(isBefore, sinkFor(results));
    if (options_.pairs) {
        addPairs(isBefore, results);
    }
}

/// They come in their order, which the places only number.
Encounters::Sink EncountersAnalysis::sinkFor(LastResults& results) {
    return [this, &results](const Encounter& encounter) {
        if (options_.pairs) {
            sum(encounter);
            return;
        }
        results.add(
            {0, results.places().size()},
            EncounterResult{encounter.a, encounter.b, encounter.from, encounter.to,
                            minutesOf(encounter.to - encounter.from),
                            std::sqrt(encounter.squaredDistance), encounter.fixes,
                            encounter.latitude, encounter.longitude,
                            qorvel::SpaceBox(encounter.latitude, encounter.longitude, kCellBits)});
    };
}

void EncountersAnalysis::sum(const Encounter& encounter) {
    Sum& sum = sums_.findOrAdd({encounter.a, encounter.b}).known;
    if (++sum.encounters == 1) {
        sum.first = encounter.from;
    }
    sum.duration = qorvel_detail::wrappingAdd(sum.duration, encounter.to - encounter.from);
    sum.last = encounter.to;
}

void EncountersAnalysis::addPairs(const NameOrder& isBefore, LastResults& results) const {
    std::vector<const PairSlot<Sum>*> all;
    all.reserve(sums_.size());
    sums_.forEach([&all](const PairSlot<Sum>& entry) { all.push_back(&entry); });
    std::sort(all.begin(), all.end(), [&](const PairSlot<Sum>* left, const PairSlot<Sum>* right) {
        const auto one = std::pair(~left->known.duration, left->known.first);
        const auto other = std::pair(~right->known.duration, right->known.first);
        if (one != other) {
            return one < other;
        }
        return left->pair.first != right->pair.first
                   ? isBefore(left->pair.first, right->pair.first)
                   : isBefore(left->pair.second, right->pair.second);
    });
    for (const PairSlot<Sum>* entry : all) {
        const auto& [pair, sum] = *entry;
        results.add({0, results.places().size()},
                    PairResult{pair.first, pair.second, sum.encounters, minutesOf(sum.duration),
                               sum.first, sum.last});
    }
}

void EncountersAnalysis::save(StateWriter& out) const {
    encounters_.save(out);
    std::map<Pair, Sum> sorted;
    sums_.forEach(
        [&sorted](const PairSlot<Sum>& entry) { sorted.emplace(entry.pair, entry.known); });
    out.u64(sorted.size());
    for (const auto& [pair, sum] : sorted) {
        savePair(pair, out);
        out.i64(sum.encounters);
        out.i64(sum.duration);
        out.i64(sum.first);
        out.i64(sum.last);
    }
}

void EncountersAnalysis::load(StateReader& in, std::uint64_t entities) {
    constexpr std::size_t kSumSize = 6 * 8;
    constexpr std::int64_t kMostEncounters = std::int64_t{1} << 62; // more can be counted
    Encounters encounters(options_);
    encounters.load(in, entities);
    Sums sums;
    for (std::uint64_t left = in.count(kSumSize); left > 0 && in.isGood(); --left) {
        const Pair pair = loadPair(in, entities);
        Sum sum;
        sum.encounters = in.time();
        sum.duration = in.time();
        sum.first = in.time();
        sum.last = in.time();
        in.expect(sum.encounters > 0 && sum.encounters < kMostEncounters &&
                  sums.find(pair) == nullptr);
        if (in.isGood()) {
            sums.findOrAdd(pair).known = sum;
        }
    }
    if (in.isDone()) {
        encounters_.takeState(encounters);
        sums_ = std::move(sums);
    }
}

std::vector<Remark> EncountersAnalysis::remarks() const {
    const std::uint64_t late = encounters_.lateFixes();
    if (late == 0) {
        return {};
    }
    return {{RemarkKind::metNobody, late,
             (late == 1 ? "1 row" : std::to_string(late) + " rows") +
                 " came after their time had been looked through, and met nobody"}};
}

} // namespace qorvel_engine::detail
