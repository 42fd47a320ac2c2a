#include "qorvel/processor/detail/ProcessorState.h"

#include "qorvel/geohash/detail/boxCell.h"
#include "qorvel/hangout/detail/RecordList.h"
#include "qorvel/processor/detail/BoxCollector.h"
#include "qorvel/processor/detail/RowBoxes.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace qorvel_detail {

namespace {

/// Declines what the final pass over the output would remove.
class NewRecordList : public RecordList {
public:
    NewRecordList(std::list<STBCompressedEvent>& records, const RecentHangouts& reported)
        : RecordList(records), reported_(reported) {}

    bool wants(const RecordKey& key) const override { return !reported_.contains(key); }
    bool remembersMuch() const override { return reported_.isLarge(); }
    void prefetch(const RecordKey& key) const override { reported_.prefetch(key); }

private:
    const RecentHangouts& reported_;
};

} // namespace

ProcessorState::ProcessorState() : ProcessorState(std::make_shared<const Configuration>()) {}

ProcessorState::ProcessorState(std::shared_ptr<const Configuration> configuration)
    : configuration_(std::move(configuration)), detectors_(configuration_->detectorCount()) {}

template <typename Visit>
void ProcessorState::forEachApplyingRow(const Event& event, const Position& position,
                                        Visit visit) const {
    const auto visitApplying = [&](std::uint32_t number) {
        const Configuration::Row& row = configuration_->row(number);
        if (configuration_->applies(row, event, position)) {
            visit(row);
        }
    };
    configuration_->rowIndex().forEachCandidate(event, position.ownCell(), visitApplying);
}

template <typename Box, typename MakeBox>
void ProcessorState::generate(const Event& event, MakeBox makeBox, std::list<Box>& out) const {
    const Position position(event.latitude, event.longitude);
    BoxCollector<Box> boxes;
    forEachApplyingRow(event, position, [&](const Configuration::Row& configured) {
        TimeBoxMemo memo;
        RowBoxes(event, position, configured, memo)
            .forEach([&](const Cell& cell, const Interval& time) {
                boxes.insert(
                    makeBox(configured.tests.row(), boxOf(cell), TimeBox(time.from, time.end)));
            });
    });
    boxes.moveInFrontOf(out);
}

void ProcessorState::getSTB(const Event& event, std::list<SpaceTimeBox>& out) const {
    const auto makeBox = [](const STBAssignmentRow&, const SpaceBox& space, const TimeBox& time) {
        return SpaceTimeBox(space, time);
    };
    generate(event, makeBox, out);
}

void ProcessorState::getExtendedSTB(const Event& event, std::list<ExtendedSTB>& out) const {
    const auto makeBox = [](const STBAssignmentRow& row, const SpaceBox& space,
                            const TimeBox& time) {
        return ExtendedSTB(static_cast<std::uint32_t>(row.masterId), space, time);
    };
    generate(event, makeBox, out);
}

void ProcessorState::fetch(std::uint64_t later, std::uint64_t sooner) const {
    for (const Detector& detector : detectors_) {
        if (detector) {
            detector->fetch(later, sooner);
        }
    }
}

void ProcessorState::fetchItems(std::uint64_t eid) const {
    for (const Detector& detector : detectors_) {
        if (detector) {
            detector->fetchItems(eid);
        }
    }
}

void ProcessorState::process(const Event& event, Operation operation,
                             std::list<STBCompressedEvent>& out) {
    NewRecordList sink(out, recentHangouts_);
    process(event, operation, false, sink);
    recentHangouts_.supressDuplicateHangouts(out);
}

void ProcessorState::process(const Event& event, Operation operation, bool takesAll,
                             RecordSink& sink) {
    const Position position(event.latitude, event.longitude);
    const auto visit = [&](const Configuration::Row& row) {
        for (const Configuration::SpecEntry& entry : *row.specs) {
            if (primaryKeyMatches(static_cast<std::int32_t>(entry.spec.primaryKeyId), event)) {
                const STBAssignmentRow& assignment = row.tests.row();
                const DetectionRule rule{assignment.timeToleranceFactor,
                                         assignment.spaceToleranceFactor, entry.spec,
                                         row.master->stbSpec, takesAll};
                (detectorOf(entry).*operation)(event, position, rule, sink);
            }
        }
    };
    forEachApplyingRow(event, position, visit);
}

DetectorState& ProcessorState::detectorOf(const Configuration::SpecEntry& entry) {
    return makeDetector(entry.detector == Configuration::kNoDetector ? detectorNumbers()
                                                                     : entry.detector);
}

DetectorState& ProcessorState::makeDetector(std::size_t number) {
    if (number == detectorNumbers()) {
        lostDetectors_.push_back(nullptr);
    }
    Detector& detector = number < detectors_.size() ? detectors_[number]
                                                    : lostDetectors_[number - detectors_.size()];
    if (!detector) {
        detector = std::make_shared<DetectorState>();
    }
    return *detector;
}

/// A record's box ends or begins at the boundary of the event that brings it, which lies in its own
/// box or, up to its end, in the next one. Boxes without a next one are kept.
void ProcessorState::forgetReportedBefore(std::int64_t time) {
    std::unordered_map<std::uint32_t, std::vector<const TimeBoxSpec*>> boxes;
    for (const STBCompressionSpec& spec : configuration_->specs()) {
        if (const STBMasterRow* master = configuration_->masterRow(spec.masterId)) {
            boxes[spec.primaryKeyId].push_back(&master->stbSpec);
        }
    }
    recentHangouts_.forget([&](const RecordKey& key) {
        const auto found = boxes.find(key.specPrimaryKeyId);
        const auto isPast = [&](const TimeBoxSpec* spec) {
            const std::int64_t nextEnd = spec->getTimeBoxEnd(key.end);
            return key.start < key.end && key.end < nextEnd && nextEnd <= time;
        };
        return found != boxes.end() &&
               std::all_of(found->second.begin(), found->second.end(), isPast);
    });
}

/// Equal specs lead to one detector; collecting it again would find nothing.
void ProcessorState::gc(std::int64_t time) {
    for (const Detector& detector : detectors_) {
        if (detector) {
            detector->gc(time);
        }
    }
}

std::uint64_t ProcessorState::detectorCount() const {
    const auto made = std::count_if(detectors_.begin(), detectors_.end(),
                                    [](const Detector& detector) { return detector != nullptr; });
    return static_cast<std::uint64_t>(made) + lostDetectors_.size();
}

std::uint64_t ProcessorState::sumOverDetectors(std::uint64_t (DetectorState::*count)()
                                                   const) const {
    std::uint64_t sum = 0;
    for (const Detector& detector : detectors_) {
        sum += detector ? ((*detector).*count)() : 0;
    }
    for (const Detector& detector : lostDetectors_) {
        sum += ((*detector).*count)();
    }
    return sum;
}

} // namespace qorvel_detail
