#include "engine/analysis/StayResult.h"

namespace qorvel_engine {

namespace {

/// The text, and the row's shape.
void appendCell(const StayResult& stay, RowAppender& to) {
    to.text(stay.cell.toASCIIString());
    to.shape(stay.cell);
}

} // namespace

const ResultLayout<StayResult>& StayResult::layout() {
    using Layout = ResultLayout<StayResult>;
    static const Layout layout(
        "stays", "an entity that stayed somewhere",
        {Layout::entity<&StayResult::entity>("entity", "who it is"),
         Layout::time<&StayResult::from>(
             "from", "when it began: halfway between the fix before its first one and that"),
         Layout::time<&StayResult::to>(
             "to", "when it ended: halfway between its last fix and the one after"),
         Layout::whole<&StayResult::minutes>("minutes", "min", "how long it stayed"),
         Layout::degrees<&StayResult::latitude>("lat", "the latitude of the fixes' mean"),
         Layout::degrees<&StayResult::longitude>("lon", "the longitude of the fixes' mean"),
         Layout::metres<&StayResult::spread>(
             "spread_m", "the root mean square of the fixes' distances to their mean"),
         Layout::metres<&StayResult::farthest>("farthest_m", "from their mean to the farthest fix"),
         Layout::whole<&StayResult::fixes>("fixes", "", "the fixes of the stay"),
         {{{"geohash", ResultKind::text, "", "the cell of their mean"}}, appendCell}});
    return layout;
}

} // namespace qorvel_engine
