#include "engine/analysis/makeAnalysis.h"

#include "engine/analysis/BoxResult.h"
#include "engine/analysis/MeetingResult.h"
#include "engine/analysis/RecordResult.h"
#include "engine/analysis/StayResult.h"
#include "engine/analysis/detail/BoxesAnalysis.h"
#include "engine/analysis/detail/FirstRecordsAnalysis.h"
#include "engine/analysis/detail/LastRecordsAnalysis.h"
#include "engine/analysis/detail/MeetingsAnalysis.h"
#include "engine/analysis/detail/StaysAnalysis.h"
#include "engine/columns/Fault.h"

namespace qorvel_engine {

namespace {

template <class Result>
std::unique_ptr<Analysis> makeRecordsAnalysis(const Tables& tables, bool lastFigures) {
    if (lastFigures) {
        return std::make_unique<detail::LastRecordsAnalysis<Result>>(tables);
    }
    return std::make_unique<detail::FirstRecordsAnalysis<Result>>(tables);
}

void check(const AnalysisOptions& options, const Tables& tables) {
    if (tables.kind() != processorKindOf(options.question)) {
        throw Fault(FaultCode::misuse, "the tables are for another question");
    }
    if (options.maxEntitiesPerBox < 2) {
        throw Fault(FaultCode::misuse, "a box must have room for two entities at least");
    }
}

} // namespace

ProcessorKind processorKindOf(Question question) {
    switch (question) {
    case Question::presence:
        return ProcessorKind::presence;
    case Question::hangouts:
    case Question::stays:
        return ProcessorKind::hangouts;
    default:
        return ProcessorKind::boxes;
    }
}

const ResultSchema& schemaOf(Question question) {
    switch (question) {
    case Question::boxes:
        return BoxResult::layout().schema();
    case Question::presence:
        return PresenceResult::layout().schema();
    case Question::hangouts:
        return HangoutResult::layout().schema();
    case Question::stays:
        return StayResult::layout().schema();
    case Question::meetings:
        return MeetingResult::layout().schema();
    }
    throw Fault(FaultCode::misuse, "there is no such question");
}

std::unique_ptr<Analysis> makeAnalysis(const AnalysisOptions& options, const Tables& tables) {
    check(options, tables);
    switch (options.question) {
    case Question::boxes:
        return std::make_unique<detail::BoxesAnalysis>(tables);
    case Question::presence:
        return makeRecordsAnalysis<PresenceResult>(tables, options.lastFigures);
    case Question::hangouts:
        return makeRecordsAnalysis<HangoutResult>(tables, options.lastFigures);
    case Question::stays:
        return std::make_unique<detail::StaysAnalysis>(tables);
    case Question::meetings:
        return std::make_unique<detail::MeetingsAnalysis>(tables, options.maxEntitiesPerBox);
    }
    throw Fault(FaultCode::misuse, "there is no such question");
}

} // namespace qorvel_engine
