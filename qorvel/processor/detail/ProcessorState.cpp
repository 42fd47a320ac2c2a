#include "qorvel/processor/detail/ProcessorState.h"

#include "qorvel/base/bits.h"
#include "qorvel/geohash/detail/boxCell.h"
#include "qorvel/hangout/detail/RecordList.h"
#include "qorvel/model/detail/tolerance.h"
#include "qorvel/processor/detail/BoxCollector.h"
#include "qorvel/processor/detail/FigureCollector.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

namespace qorvel_detail {

namespace {

/// A TimeBox without its class.
struct Interval {
    /// Never empty, as TimeBox has it.
    Interval(std::int64_t start, std::int64_t theEnd)
        : from(start), end(theEnd > start ? theEnd : wrappingAdd(start, 1)) {}

    bool operator==(const Interval&) const = default;

    std::int64_t from;
    std::int64_t end;
};

/// The one or two time boxes of an event.
struct TimeBoxes {
    std::array<Interval, 2> boxes;
    std::uint32_t count;
};

/// The box of time - margin, and the stretch from the start of the box of time to the end of the
/// box of time + margin. The second one starts at time, not at time + margin: so the event's own
/// box is always in it.
TimeBoxes timeBoxesOf(std::int64_t time, std::uint32_t margin, const TimeBoxSpec& spec,
                      TimeBoxMemo& memo) {
    if (margin == 0) {
        const Interval only(memo.start(spec, time), memo.end(spec, time));
        return {{only, only}, 1U};
    }
    const std::int64_t earliest = wrappingSubtract(time, margin);
    const std::int64_t latest = wrappingAdd(time, margin);
    const Interval first(memo.start(spec, earliest), memo.end(spec, earliest));
    const Interval second(memo.start(spec, time), memo.end(spec, latest));
    return {{first, second}, first == second ? 1U : 2U};
}

/// The boxes that a row gives an event: every near cell with every time box.
template <typename Insert>
void generateBoxes(const Event& event, const Position& position,
                   const Configuration::Row& configured, TimeBoxMemo& memo, const Insert& insert) {
    const STBAssignmentRow& row = configured.tests.row();
    const SpaceTimeBoxSpec& spec = configured.master->stbSpec;
    const TimeBoxes times = timeBoxesOf(
        event.time, scaledTimeTolerance(event.timeTolerance, row.timeToleranceFactor), spec, memo);
    NearCells near;
    position.findNear(spec.geoHashBitDepth, event.spaceTolerance * row.spaceToleranceFactor, near);
    for (std::uint32_t i = 0; i < near.count; ++i) {
        for (std::uint32_t j = 0; j < times.count; ++j) {
            insert(row, near.cells[i], times.boxes[j]);
        }
    }
}

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
    const Cell& ownCell = position.ownCell();
    const RowIndex& index = configuration_->rowIndex();
    index.forEachCandidate(event, ownCell, [&](std::uint32_t number) {
        const Configuration::Row& row = configuration_->row(number);
        const bool inArea = index.decidesArea() || row.tests.isInArea(ownCell);
        if (row.master != nullptr && row.tests.passWithKeys(event, position, inArea)) {
            visit(row);
        }
    });
}

template <typename Box, typename MakeBox>
void ProcessorState::generate(const Event& event, MakeBox makeBox, std::list<Box>& out) const {
    const Position position(event.latitude, event.longitude);
    BoxCollector<Box> boxes;
    forEachApplyingRow(event, position, [&](const Configuration::Row& configured) {
        TimeBoxMemo memo;
        generateBoxes(event, position, configured, memo,
                      [&](const STBAssignmentRow& row, const Cell& cell, const Interval& time) {
                          boxes.insert(makeBox(row, boxOf(cell), TimeBox(time.from, time.end)));
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

void ProcessorState::appendBoxes(const Event& event, std::vector<TimeBoxMemo>& timeBoxes,
                                 std::vector<qorvel_port::BoxFigures>& out) const {
    const Position position(event.latitude, event.longitude);
    FigureCollector boxes(out);
    forEachApplyingRow(event, position, [&](const Configuration::Row& configured) {
        generateBoxes(event, position, configured, timeBoxes[configured.masterNumber],
                      [&](const STBAssignmentRow&, const Cell& cell, const Interval& time) {
                          boxes.insert({cell.first, cell.second, cell.depth, time.from, time.end});
                      });
    });
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
