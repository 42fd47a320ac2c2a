#include "engine/analysis/detail/StaysAnalysis.h"

#include "engine/analysis/StayResult.h"
#include "engine/analysis/detail/FixNumbers.h"
#include "engine/analysis/detail/Track.h"
#include "engine/analysis/detail/processors.h"
#include "engine/analysis/detail/visitors.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

namespace {

using qorvel_port::FigureProcessor;
using qorvel_port::Figures;

/// A master row, and a processor that tells which cells a fix is near there.
struct Resolution {
    std::uint32_t masterId;
    FigureProcessor processor;
};

/// What is kept of an entity until its last fix is done with.
struct Entity {
    FixNumbers numbers;
    std::vector<Track> tracks; ///< by resolution
};

StayResult resultOf(Stay& stay) {
    constexpr std::int64_t kMinute = 60000;
    const auto cellCount = static_cast<std::int64_t>(stay.cells.size());
    return {stay.owner.eid,
            std::move(stay.cells),
            stay.from,
            stay.to,
            (stay.to - stay.from + kMinute / 2) / kMinute,
            static_cast<std::int64_t>(stay.fixes),
            cellCount};
}

class StaysShard : public Shard {
public:
    explicit StaysShard(const Tables& tables)
        : lookBack_(tables.lookBack()),
          processor_(makeProcessor(tables, FigureProcessor::Wanted::every)) {
        for (const STBMasterRow& master : tables.masters()) {
            resolutions_.push_back(
                {static_cast<std::uint32_t>(master.masterId), makeBoxProcessor(tables, {master})});
        }
    }

    void take(const Observation& observation, Found&) override {
        Event event = observation.event;
        Entity& entity = entities_[event.eid];
        entity.tracks.resize(resolutions_.size());
        if (addFix(event, entity)) { // then records tell which of the entity's fixes they cover
            event.sequenceNumber = entity.numbers.add(event.time);
        }
        FigureVisitor visitor([&](const Figures& record) {
            entity.tracks[resolutionOf(record.spec)].add(record, event, observation.row);
        });
        processor_.process(event, visitor);
    }

    void collect(std::int64_t time) override {
        processor_.gc(time);
        const std::int64_t last = time - 1; // a fix may end a millisecond after its time
        for (auto entry = entities_.begin(); entry != entities_.end();) {
            auto& [eid, entity] = *entry;
            entity.numbers.forget(last);
            const bool isDone = entity.numbers.areDone();
            for (std::size_t i = 0; i < resolutions_.size(); ++i) {
                if (isDone || entity.tracks[i].isCrowded()) {
                    entity.tracks[i].settle(last, entity.numbers.firstNeeded(),
                                            {eid, resolutions_[i].masterId}, stays_);
                }
            }
            entry = isDone ? entities_.erase(entry) : std::next(entry);
        }
    }

    void finish(LastResults& results) override {
        for (auto& [eid, entity] : entities_) {
            for (std::size_t i = 0; i < resolutions_.size(); ++i) {
                entity.tracks[i].settleAll({eid, resolutions_[i].masterId}, stays_);
            }
        }
        std::sort(stays_.begin(), stays_.end(), [](const Stay& left, const Stay& right) {
            return std::tie(left.from, left.row, left.owner, left.to, left.fixes) <
                   std::tie(right.from, right.row, right.owner, right.to, right.fixes);
        });
        for (Stay& stay : stays_) {
            results.add({stay.from, stay.row}, resultOf(stay));
        }
    }

private:
    /// Tells the tracks what the fix is near; false if it is near nothing at all.
    bool addFix(const Event& event, Entity& entity) {
        bool isTaken = false;
        for (std::size_t i = 0; i < resolutions_.size(); ++i) {
            near_.clear();
            BoxVisitor visitor([this](const SpaceTimeBox& box) { near_.push_back(box); });
            resolutions_[i].processor.boxes(event, visitor);
            if (!near_.empty()) {
                entity.tracks[i].addFix(event, near_, lookBack_);
                isTaken = true;
            }
        }
        return isTaken;
    }

    std::size_t resolutionOf(const STBCompressionSpec& spec) const {
        const auto known = std::find_if(
            resolutions_.begin(), resolutions_.end(),
            [&spec](const Resolution& resolution) { return resolution.masterId == spec.masterId; });
        return static_cast<std::size_t>(known - resolutions_.begin());
    }

    const std::int64_t lookBack_;
    FigureProcessor processor_;
    std::vector<Resolution> resolutions_;
    std::unordered_map<std::uint64_t, Entity> entities_; ///< by eid
    std::vector<Stay> stays_;
    std::vector<SpaceBox> near_; ///< kept for its memory
};

} // namespace

ResultTable StaysAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return StayResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> StaysAnalysis::makeShard() const {
    return std::make_unique<StaysShard>(tables_);
}

} // namespace qorvel_engine::detail
