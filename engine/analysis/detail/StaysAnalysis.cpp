#include "engine/analysis/detail/StaysAnalysis.h"

#include "engine/analysis/StayResult.h"
#include "engine/analysis/StayRowResult.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace qorvel_engine::detail {

namespace {

StayResult resultOf(const StayFinder::FoundStay& found) {
    constexpr std::int64_t kMinute = 60000;
    constexpr std::uint32_t kCellBits = 40;
    const auto& [eid, stay] = found;
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

/// Gives a stay, or its rows.
template <class Give>
void give(const StayFinder::FoundStay& found, const StayOptions& options, const Give& give) {
    if (!options.label) {
        give(resultOf(found));
        return;
    }
    const auto& [eid, stay] = found;
    for (const std::uint64_t row : stay.rows) {
        give(StayRowResult{static_cast<std::int64_t>(row), eid, stay.from, stay.to});
    }
}

class StaysSnapshot : public ShardSnapshot {
public:
    explicit StaysSnapshot(const StayFinder& finder) : finder_(finder) {}

    bool save(std::uint64_t eid, StateWriter& out) const override { return finder_.save(eid, out); }

private:
    const StayFinder& finder_;
};

class StaysShard : public Shard {
public:
    explicit StaysShard(const StayOptions& options) : options_(options), finder_(options) {}

    void take(const Observation& observation, Found& found) override {
        finder_.take(observation);
        for (const StayFinder::FoundStay& stay : finder_.found()) {
            give(stay, options_, [&](const auto& result) { found.results().append(result); });
        }
        finder_.found().clear();
    }

    void fetch(std::uint64_t later, std::uint64_t sooner, std::uint64_t) const override {
        finder_.fetch(later, sooner);
    }

    void collect(std::int64_t time, LastResults& results) override {
        finder_.collect(time);
        handOver(results);
    }

    void finish(LastResults& results) override {
        finder_.finish();
        handOver(results);
    }

    std::unique_ptr<ShardSnapshot> snapshot() const override {
        return std::make_unique<StaysSnapshot>(finder_);
    }
    void load(std::uint64_t eid, StateReader& in) override { finder_.load(eid, in); }
    void forgetEntities(const std::vector<std::uint64_t>& eids) override {
        finder_.forgetEntities(eids);
    }

private:
    /// By the times from which they are final, whenever that was told. Those of an entity are found
    /// one after the other.
    void handOver(LastResults& results) {
        std::vector<StayFinder::FoundStay>& found = finder_.found();
        std::stable_sort(found.begin(), found.end(), [](const auto& left, const auto& right) {
            return std::tie(left.second.knownFrom, left.first) <
                   std::tie(right.second.knownFrom, right.first);
        });
        for (const StayFinder::FoundStay& stay : found) {
            give(stay, options_, [&](const auto& result) {
                results.add({stay.second.knownFrom, stay.first}, result);
            });
        }
        found.clear();
    }

    const StayOptions options_;
    StayFinder finder_;
};

} // namespace

StaysAnalysis::StaysAnalysis(const StayOptions& options) : options_(checked(options)) {}

ResultTable StaysAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return options_.label ? StayRowResult::layout().makeTable(std::move(names))
                          : StayResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> StaysAnalysis::makeShard() const {
    return std::make_unique<StaysShard>(options_);
}

} // namespace qorvel_engine::detail
