#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAYSANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAYSANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/setup/Tables.h"

namespace qorvel_engine::detail {

/// What a person means by a stay: the hangout records of one stop as one row. Those of one entity
/// and master row belong together when
///
/// - they are of one cell, and in between the entity was not away: its fixes that are not near the
///   cell span less than the spec's window (so long it has to be elsewhere before the rule can say
///   that it stays there; a stray fix, or the way to the letter box, ends no stay), and it was not
///   silent for longer than series remember, a time box;
/// - or they share at least half of the fixes of the shorter one. So a stop on a line between cells
///   is one stay, while who moves slowly from cell to cell, and shares but a few fixes near each
///   line, does not stay for ever.
///
/// A stay is as long as its records together, from the first fix covered to the last; all reports
/// of a record count, not only the last. Its fixes are those covered, each once; its place is the
/// cell that has the most of them. A fix counts for each cell that its accuracy reaches, so times
/// are those of being near the place: somebody on foot is near a cell of 800 m some minutes before
/// and after. Stays are known when the input ends, and come in the order of their beginnings.
///
/// What is found of an entity hangs on its fixes alone, in their order: neither on others, nor on
/// when what is older is forgotten.
///
/// Memory: of a stay that nothing can change any more, some figures and the cells are kept; of
/// others also which fixes each cell has.
class StaysAnalysis : public Analysis {
public:
    /// The tables are for hangouts.
    explicit StaysAnalysis(const Tables& tables) : tables_(tables) {}

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return tables_.lookBack(); }

private:
    const Tables& tables_;
};

} // namespace qorvel_engine::detail

#endif
