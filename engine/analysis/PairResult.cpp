#include "engine/analysis/PairResult.h"

namespace qorvel_engine {

const ResultLayout<PairResult>& PairResult::layout() {
    using Layout = ResultLayout<PairResult>;
    static const Layout layout(
        "pairs", "two entities, and how long they were together",
        {Layout::entity<&PairResult::entityA>("entity_a", "the one whose name comes first"),
         Layout::entity<&PairResult::entityB>("entity_b", "the other"),
         Layout::whole<&PairResult::encounters>("encounters", "", "how often they were together"),
         Layout::whole<&PairResult::minutes>("minutes", "min", "in all of these"),
         Layout::time<&PairResult::first>("first", "when the first of these began"),
         Layout::time<&PairResult::last>("last", "when the last of these ended")});
    return layout;
}

} // namespace qorvel_engine
