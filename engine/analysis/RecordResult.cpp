#include "engine/analysis/RecordResult.h"

#include <string>
#include <utility>

namespace qorvel_engine {

namespace {

template <class Result>
ResultLayout<Result> makeLayout(std::string name, std::string description) {
    using Layout = ResultLayout<Result>;
    return Layout(
        std::move(name), std::move(description),
        {Layout::template entity<&Result::entity>("entity", "who it is"),
         Layout::template cell<&Result::cell>(),
         Layout::template time<&Result::boxStart>("box_start", "when the time box begins"),
         Layout::template boxEnd<&Result::boxEnd>("box_end", "when the time box ends"),
         Layout::template whole<&Result::total>("total", "", "before and after together"),
         Layout::template whole<&Result::before>("before", "",
                                                 "fixes before the boundary of the time boxes"),
         Layout::template whole<&Result::after>("after", "", "fixes after it"),
         Layout::template time<&Result::firstTime>(
             "first_time", "the time of the covered fix that arrived first"),
         Layout::template time<&Result::lastTime>("last_time",
                                                  "the time of the one that arrived last"),
         Layout::template whole<&Result::events>("events", "", "covered fixes")});
}

} // namespace

const ResultLayout<PresenceResult>& PresenceResult::layout() {
    static const ResultLayout<PresenceResult> layout = makeLayout<PresenceResult>(
        "presence", "an entity that was seen often enough in a cell and time box");
    return layout;
}

const ResultLayout<HangoutResult>& HangoutResult::layout() {
    static const ResultLayout<HangoutResult> layout = makeLayout<HangoutResult>(
        "hangouts", "an entity that stayed without a break in a cell and time box");
    return layout;
}

} // namespace qorvel_engine
