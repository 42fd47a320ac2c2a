#include "engine/analysis/EncounterResult.h"

namespace qorvel_engine {

namespace {

/// The text, and the row's shape.
void appendCell(const EncounterResult& encounter, RowAppender& to) {
    to.text(encounter.cell.toASCIIString());
    to.shape(encounter.cell);
}

} // namespace

const ResultLayout<EncounterResult>& EncounterResult::layout() {
    using Layout = ResultLayout<EncounterResult>;
    static const Layout layout(
        "encounters", "two entities that were together for some time",
        {Layout::entity<&EncounterResult::entityA>("entity_a", "the one whose name comes first"),
         Layout::entity<&EncounterResult::entityB>("entity_b", "the other"),
         Layout::time<&EncounterResult::from>("from", "when they were first near"),
         Layout::time<&EncounterResult::to>("to", "when they were last near"),
         Layout::whole<&EncounterResult::minutes>("minutes", "min", "between these"),
         Layout::metres<&EncounterResult::least>("least_m", "the least distance between them"),
         Layout::whole<&EncounterResult::fixes>("fixes", "",
                                                "the fixes of either with the other near"),
         Layout::degrees<&EncounterResult::latitude>("lat",
                                                     "the latitude of the fix where it was least"),
         Layout::degrees<&EncounterResult::longitude>("lon", "the longitude of that fix"),
         {{{"geohash", ResultKind::text, "", "the cell of that fix"}}, appendCell}});
    return layout;
}

} // namespace qorvel_engine
