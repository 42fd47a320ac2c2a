#include "engine/analysis/BoxResult.h"

namespace qorvel_engine {

const ResultLayout<BoxResult>& BoxResult::layout() {
    using Layout = ResultLayout<BoxResult>;
    static const Layout layout(
        "boxes", "a cell and time box that a fix lies in",
        {Layout::entity<&BoxResult::entity>("entity", "who it is"),
         Layout::cell<&BoxResult::cell>(),
         Layout::time<&BoxResult::boxStart>("box_start", "when the time box begins"),
         Layout::boxEnd<&BoxResult::boxEnd>("box_end", "when the time box ends"),
         Layout::time<&BoxResult::time>("time", "the time of the fix")});
    return layout;
}

} // namespace qorvel_engine
