#include "qorvel/processor/detail/FigureProcessor.h"

#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geohash/detail/boxCell.h"
#include "qorvel/processor/detail/BoxFinder.h"
#include "qorvel/processor/detail/ProcessorSnapshot.h"
#include "qorvel/processor/detail/ProcessorState.h"
#include "qorvel/processor/detail/StateKeys.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qorvel_port {

using qorvel_detail::BoxFinder;
using qorvel_detail::Configuration;
using qorvel_detail::DetectorState;
using qorvel_detail::Position;
using qorvel_detail::ProcessorState;
using qorvel_detail::RecentHangouts;
using qorvel_detail::RecordKey;
using qorvel_detail::RecordSink;
using qorvel_detail::RecordView;
using qorvel_detail::RowTests;
using qorvel_detail::StateKeys;

namespace {

/// Hands on figures; each record once if there is a memory of what was reported.
class FigureAdapter : public RecordSink {
public:
    FigureAdapter(FigureSink& sink, RecentHangouts* reported) : sink_(sink), reported_(reported) {}

    bool wants(const RecordKey& key) const override {
        return reported_ == nullptr || !reported_->contains(key);
    }
    bool remembersMuch() const override { return reported_ != nullptr && reported_->isLarge(); }
    void prefetch(const RecordKey& key) const override { reported_->prefetch(key); }

    void take(const RecordView& view) override {
        if (reported_ != nullptr) {
            reported_->isDuplicateHangout(view.key()); // never is: it was wanted
        }
        const SpaceTimeBox stb(qorvel_detail::boxOf(view.cell), view.box);
        sink_.take({view.event.eid, view.spec, stb, view.totalCount(), view.tally.beforeCount,
                    view.tally.afterCount, view.firstTime(), view.endTime(), view.series.size(),
                    view.series.front().sequenceNumber, view.series.back().sequenceNumber});
    }

private:
    FigureSink& sink_;
    RecentHangouts* reported_;
};

} // namespace

bool passes(RowTest test, const STBAssignmentRow& row, const Event& event) {
    return RowTests(row).passes(test, event, Position(event.latitude, event.longitude));
}

bool applies(const STBAssignmentRow& row, const Event& event) {
    const RowTests tests(row);
    const Position position(event.latitude, event.longitude);
    return std::all_of(std::begin(kRowTests), std::end(kRowTests),
                       [&](RowTest test) { return tests.passes(test, event, position); });
}

bool leadsTo(const STBAssignmentRow& row, const STBCompressionSpec& spec, const Event& event) {
    return static_cast<std::uint32_t>(row.masterId) == spec.masterId &&
           passes(RowTest::primaryKey, row, event) && passes(RowTest::secondaryKey, row, event) &&
           qorvel_detail::primaryKeyMatches(static_cast<std::int32_t>(spec.primaryKeyId), event);
}

class QORVEL_NO_EXPORT FigureProcessor::State {
public:
    State(Kind kind, Wanted wanted, const std::shared_ptr<const Configuration>& configuration)
        : processor_(configuration), keys_(*configuration), kind_(kind),
          operation_(kind == Kind::presence ? &DetectorState::processPresenceUnlocked
                                            : &DetectorState::processDwellUnlocked),
          wanted_(wanted), boxFinder_(configuration) {}

    std::unique_ptr<State> another() const {
        return std::make_unique<State>(kind_, wanted_, processor_.sharedConfiguration());
    }

    BoxFinder& boxFinder() { return boxFinder_; }

    void process(const Event& event, FigureSink& sink) {
        FigureAdapter adapter(sink,
                              wanted_ == Wanted::first ? &processor_.recentHangouts() : nullptr);
        processor_.process(event, operation_, wanted_ == Wanted::unfinished, adapter);
    }

    /// Entities mostly come by their numbers, one step after the other.
    void load(std::uint64_t eid, qorvel_detail::StateReader& in) {
        constexpr std::uint64_t kAhead = 8;
        const std::uint64_t next = eid + kAhead * (eid - std::exchange(lastLoaded_, eid));
        processor_.fetch(next, next);
        // Nobody holds the process-wide lock here, so no name may be registered.
        qorvel_detail::loadEntity(processor_, keys_, eid, in, false);
    }

    ProcessorState& processor() { return processor_; }

private:
    ProcessorState processor_;
    StateKeys keys_;
    Kind kind_;
    ProcessorState::Operation operation_; ///< without the lock: no copies share the detectors
    Wanted wanted_;
    BoxFinder boxFinder_;
    std::uint64_t lastLoaded_ = 0;
};

FigureProcessor::FigureProcessor(Kind kind, Wanted wanted,
                                 const std::list<STBMasterRow>& masterRows,
                                 const std::list<STBAssignmentRow>& assignmentRows,
                                 const std::list<STBCompressionSpec>& compressionSpecs) {
    qorvel_detail::GeodesyContext::get(); // the one-time set-up of the metrics
    state_ = std::make_unique<State>(
        kind, wanted,
        std::make_shared<const Configuration>(masterRows, assignmentRows, compressionSpecs));
}

FigureProcessor::FigureProcessor(std::unique_ptr<State> state) : state_(std::move(state)) {}

FigureProcessor::~FigureProcessor() = default;

FigureProcessor FigureProcessor::another() const {
    return FigureProcessor(state_->another());
}

void FigureProcessor::boxes(const EventColumns& events, std::vector<BoxFigures>& out) {
    state_->boxFinder().find(events, out);
}

void FigureProcessor::process(const Event& event, FigureSink& sink) {
    state_->process(event, sink);
}

void FigureProcessor::fetch(std::uint64_t later, std::uint64_t sooner,
                            std::uint64_t soonest) const {
    state_->processor().fetch(later, sooner);
    state_->processor().fetchItems(soonest);
}

void FigureProcessor::gc(std::int64_t time) {
    state_->processor().gc(time);
}

void FigureProcessor::forgetReportedBefore(std::int64_t time) {
    state_->processor().forgetReportedBefore(time);
}

class QORVEL_NO_EXPORT FigureProcessor::Snapshot::State : public qorvel_detail::ProcessorSnapshot {
public:
    using ProcessorSnapshot::ProcessorSnapshot;
};

FigureProcessor::Snapshot::Snapshot(const FigureProcessor& processor)
    : state_(std::make_unique<State>(processor.state_->processor())) {}

FigureProcessor::Snapshot::~Snapshot() = default;

bool FigureProcessor::Snapshot::save(std::uint64_t eid, qorvel_detail::StateWriter& out) const {
    return state_->save(eid, out);
}

void FigureProcessor::load(std::uint64_t eid, qorvel_detail::StateReader& in) {
    state_->load(eid, in);
}

void FigureProcessor::forgetEntities(const std::vector<std::uint64_t>& eids) {
    const auto isOne = [&eids](std::uint64_t eid) {
        return std::binary_search(eids.begin(), eids.end(), eid);
    };
    ProcessorState& processor = state_->processor();
    for (std::size_t number = 0; number < processor.detectorNumbers(); ++number) {
        if (DetectorState* const detector = processor.detector(number)) {
            detector->forgetEntities(isOne);
        }
    }
    processor.recentHangouts().forget([&isOne](const RecordKey& key) { return isOne(key.eid); });
}

} // namespace qorvel_port
