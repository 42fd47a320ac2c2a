#include "engine/analysis/StayResult.h"

namespace qorvel_engine {

const ResultLayout<StayResult>& StayResult::layout() {
    using Layout = ResultLayout<StayResult>;
    static const Layout layout(
        "stays", "an entity that stayed somewhere",
        {Layout::entity<&StayResult::entity>("entity", "who it is"),
         Layout::cells<&StayResult::cells>(),
         Layout::time<&StayResult::from>("from", "the time of the first fix"),
         Layout::time<&StayResult::to>("to", "the time of the last fix"),
         Layout::whole<&StayResult::minutes>("minutes", "min", "how long it stayed"),
         Layout::whole<&StayResult::fixes>("fixes", "", "the fixes of the stay"),
         Layout::whole<&StayResult::cellCount>("cells", "", "how many cells it touched")});
    return layout;
}

} // namespace qorvel_engine
