#include "program/commands/Explanation.h"

#include "qorvel/processor/detail/FigureProcessor.h"

#include <algorithm>
#include <iterator>

namespace program {

namespace {

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
             story.lineOf(record)});
    }
    return all;
}

} // namespace

Explanation explainEvent(const Event& event, const Tables& library, const Story& story) {
    Explanation explanation;
    explanation.event = event;
    SpaceBox cell;
    explanation.hasCell = UtilG2::pointToSpaceBox(event.latitude, event.longitude, cell);
    std::size_t boxes = 0;
    for (const STBAssignmentRow& row : library.assignments()) {
        explanation.assignments.push_back(judge(event, library, row));
        boxes += explanation.assignments.back().boxes.size();
    }
    std::size_t index = 0;
    for (const STBCompressionSpec& spec : library.specs()) {
        const EasyDetector& detector = story.detector(index++);
        explanation.specs.push_back(
            {detector.isReached(), seriesOf(library, spec, detector, story)});
    }
    explanation.results = library.kind() == ProcessorKind::boxes ? boxes : story.found().size();
    return explanation;
}

} // namespace program
