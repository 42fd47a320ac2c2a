#include "engine/run/Explainer.h"

#include "engine/columns/Fault.h"
#include "engine/run/detail/EventMaker.h"
#include "engine/run/detail/RegistryLock.h"
#include "engine/run/detail/Story.h"

#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/distanceByMetric.h"
#include "qorvel/geohash/UtilG2.h"
#include "qorvel/processor/detail/FigureProcessor.h"

#include <algorithm>
#include <iterator>

namespace qorvel_engine {

namespace {

using detail::EasyDetector;
using detail::Story;

constexpr bool areInOrder() {
    using Tests = qorvel_port::RowTest;
    constexpr Tests kOrder[] = {Tests::primaryKey,    Tests::secondaryKey, Tests::spaceTolerance,
                                Tests::timeTolerance, Tests::distance,     Tests::area};
    return std::equal(std::begin(kOrder), std::end(kOrder), std::begin(qorvel_port::kRowTests),
                      std::end(qorvel_port::kRowTests));
}
static_assert(areInOrder(), "RowTest names the library's tests in their order");
static_assert(std::size(qorvel_port::kRowTests) == Explanation::kTests);

Explanation::Judgement judge(const Event& event, const Tables& library,
                             const STBAssignmentRow& row) {
    constexpr std::int32_t kSpheroidalMetric = 2; // that of the test itself
    Explanation::Judgement judgement;
    for (std::size_t test = 0; test < Explanation::kTests; ++test) {
        judgement.passes[test] = passes(qorvel_port::kRowTests[test], row, event);
    }
    judgement.isTaken = qorvel_port::applies(row, event);
    judgement.distance =
        distanceByMetric(kSpheroidalMetric, PointGeodetic128(event.latitude, event.longitude),
                         PointGeodetic128(row.latitude, row.longitude));
    if (judgement.isTaken) {
        MotionProcessor(library.masters(), {row}, {}).getSTB(event, judgement.boxes);
    }
    return judgement;
}

/// A cell has a record for the box before the boundary, and then one for the box after it; either
/// may be missing.
std::vector<Explanation::Series> seriesOf(const Tables& library, const STBCompressionSpec& spec,
                                          const EasyDetector& detector, const Story& story) {
    std::vector<Explanation::Series> all;
    for (const STBCompressedEvent& record : detector.figures()) {
        const SpaceBox& cell = record.stb;
        const bool isSecond = !all.empty() && all.back().cell == cell;
        if (!isSecond) {
            // Of what arrives in disorder, the last may be older than the first.
            const std::int64_t covered =
                std::max<std::int64_t>(0, record.endTime - 1 - record.firstTime);
            all.push_back({cell, record.eventSequenceNumbers.size(), record.firstTime, covered});
        }
        all.back().boxes.push_back(
            {record.stb,
             isSecond || record.beforeCount == 0 ? record.afterCount : record.beforeCount,
             library.kind() == ProcessorKind::hangouts ? spec.minCount : record.totalCount,
             story.rowOf(record)});
    }
    return all;
}

Tables makeTables(const Config& config, ProcessorKind kind) {
    const detail::RegistryLock lock;
    return Tables(config, kind);
}

bool wasFound(const Explanation::Way& way) {
    return std::any_of(way.series.begin(), way.series.end(), [](const auto& series) {
        return std::any_of(series.boxes.begin(), series.boxes.end(),
                           [](const Explanation::Box& box) { return box.row.has_value(); });
    });
}

} // namespace

Verdict Explanation::verdict() const {
    const auto isTaken = [](const Judgement& by) { return by.isTaken; };
    const auto isReached = [](const Way& way) { return way.isReached; };
    return results > 0                                                     ? Verdict::found
           : std::none_of(assignments.begin(), assignments.end(), isTaken) ? Verdict::notTaken
           : !hasCell                                                      ? Verdict::noCell
           : std::none_of(specs.begin(), specs.end(), isReached)           ? Verdict::notAskedFor
           : std::any_of(specs.begin(), specs.end(), wasFound)             ? Verdict::foundBefore
                                                                           : Verdict::notEnough;
}

class Explainer::State {
public:
    State(const Config& config, ProcessorKind kind, const EventOptions& options)
        : library_(makeTables(config, kind)), maker_(config, options), story_(library_) {}

    void take(const Observations& observations, std::int64_t row, std::uint64_t number) {
        event_ = maker_.make(observations, row, number);
        hasEvent_ = true;
        story_.take(event_);
    }

    Explanation explain() const {
        if (!hasEvent_) {
            throw Fault(FaultCode::misuse, "There is no row to explain.");
        }
        Explanation explanation;
        explanation.event = event_;
        SpaceBox cell;
        explanation.hasCell = UtilG2::pointToSpaceBox(event_.latitude, event_.longitude, cell);
        std::size_t boxes = 0;
        for (const STBAssignmentRow& row : library_.assignments()) {
            explanation.assignments.push_back(judge(event_, library_, row));
            boxes += explanation.assignments.back().boxes.size();
        }
        std::size_t index = 0;
        for (const STBCompressionSpec& spec : library_.specs()) {
            const EasyDetector& detector = story_.detector(index++);
            explanation.specs.push_back(
                {detector.isReached(), seriesOf(library_, spec, detector, story_)});
        }
        explanation.results =
            library_.kind() == ProcessorKind::boxes ? boxes : story_.found().size();
        return explanation;
    }

private:
    const Tables library_;
    const detail::EventMaker maker_;
    Story story_;
    Event event_;
    bool hasEvent_ = false;
};

Explainer::Explainer(const Config& config, ProcessorKind kind, const EventOptions& options)
    : state_(std::make_unique<State>(config, kind, options)) {}

Explainer::~Explainer() = default;

void Explainer::take(const Observations& observations, std::int64_t row, std::uint64_t number) {
    state_->take(observations, row, number);
}

Explanation Explainer::explain() const {
    return state_->explain();
}

} // namespace qorvel_engine
