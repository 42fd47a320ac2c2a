#include "engine/analysis/makeAnalysis.h"

#include "engine/analysis/BoxResult.h"
#include "engine/analysis/EncounterResult.h"
#include "engine/analysis/PairResult.h"
#include "engine/analysis/PlaceResult.h"
#include "engine/analysis/RecordResult.h"
#include "engine/analysis/StayResult.h"
#include "engine/analysis/StayRowResult.h"
#include "engine/analysis/detail/BoxesAnalysis.h"
#include "engine/analysis/detail/EncountersAnalysis.h"
#include "engine/analysis/detail/FirstRecordsAnalysis.h"
#include "engine/analysis/detail/LastRecordsAnalysis.h"
#include "engine/analysis/detail/PlacesAnalysis.h"
#include "engine/analysis/detail/StaysAnalysis.h"
#include "engine/columns/Fault.h"

#include <string>

namespace qorvel_engine {

namespace {

struct QuestionName {
    std::string_view name;
    Question question;
};

/// The one list of them.
constexpr QuestionName kQuestions[] = {
    {"boxes", Question::boxes},           {"presence", Question::presence},
    {"hangouts", Question::hangouts},     {"stays", Question::stays},
    {"encounters", Question::encounters}, {"places", Question::places}};

template <class Result>
std::unique_ptr<Analysis> makeRecordsAnalysis(const Tables& tables, bool lastFigures) {
    if (lastFigures) {
        return std::make_unique<detail::LastRecordsAnalysis<Result>>(tables);
    }
    return std::make_unique<detail::FirstRecordsAnalysis<Result>>(tables);
}

const Tables& checked(const Tables* tables, Question question) {
    if (tables == nullptr || tables->kind() != processorKindOf(question)) {
        throw Fault(FaultCode::misuse, "the tables are for another question");
    }
    return *tables;
}

} // namespace

Question questionOf(std::string_view name) {
    std::string names;
    for (const QuestionName& row : kQuestions) {
        if (row.name == name) {
            return row.question;
        }
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    }
    throw Fault(FaultCode::badConfiguration,
                "There is no question \"" + std::string(name) + "\"; want one of " + names + ".");
}

ProcessorKind processorKindOf(Question question) {
    switch (question) {
    case Question::presence:
        return ProcessorKind::presence;
    case Question::hangouts:
        return ProcessorKind::hangouts;
    default:
        return ProcessorKind::boxes;
    }
}

const ResultSchema& schemaOf(const AnalysisOptions& options) {
    switch (options.question) {
    case Question::boxes:
        return BoxResult::layout().schema();
    case Question::presence:
        return PresenceResult::layout().schema();
    case Question::hangouts:
        return HangoutResult::layout().schema();
    case Question::stays:
        return options.stays.label ? StayRowResult::layout().schema()
                                   : StayResult::layout().schema();
    case Question::encounters:
        return options.encounters.pairs ? PairResult::layout().schema()
                                        : EncounterResult::layout().schema();
    case Question::places:
        return PlaceResult::layout().schema();
    }
    throw Fault(FaultCode::misuse, "there is no such question");
}

bool needsConfiguration(Question question) {
    return question == Question::boxes || question == Question::presence ||
           question == Question::hangouts;
}

std::unique_ptr<Analysis> makeAnalysis(const AnalysisOptions& options, const Tables* tables) {
    const auto configured = [&]() -> const Tables& { return checked(tables, options.question); };
    switch (options.question) {
    case Question::boxes:
        return std::make_unique<detail::BoxesAnalysis>(configured());
    case Question::presence:
        return makeRecordsAnalysis<PresenceResult>(configured(), options.lastFigures);
    case Question::hangouts:
        return makeRecordsAnalysis<HangoutResult>(configured(), options.lastFigures);
    case Question::stays:
        return std::make_unique<detail::StaysAnalysis>(options.stays);
    case Question::encounters:
        return std::make_unique<detail::EncountersAnalysis>(options.encounters);
    case Question::places:
        return std::make_unique<detail::PlacesAnalysis>(options.stays, options.places);
    }
    throw Fault(FaultCode::misuse, "there is no such question");
}

} // namespace qorvel_engine
