#ifndef QORVEL_TOOLS_COMMANDS_STAYSANALYSIS_H
#define QORVEL_TOOLS_COMMANDS_STAYSANALYSIS_H

#include "tools/run/Analysis.h"
#include "tools/setup/Library.h"

#include <cstdint>
#include <memory>

namespace host {

/// What a person means by a stay: the hangout records of one stop as one row. Those of one entity
/// and master row belong together when
///
/// - they are of one cell, and less than the spec's window lies between the times that they cover:
///   so long an entity has to be elsewhere before the rule can say that it stays there, and a
///   shorter absence (one stray fix, the way to the letter box) is none;
/// - or their cells are neighbours (their edges or corners touch, or one holds the other), and they
///   share at least half of the fixes of the shorter one. So a stop on a line between cells is one
///   stay, and who moves slowly from cell to cell, which shares but a few fixes near the line, does
///   not stay for ever.
///
/// A stay is as long as its records together, from the first fix covered to the last; its fixes are
/// those covered, each once; its place is the cell with the most of them. A fix counts for each
/// cell that its accuracy reaches, so times are those of being near the place: somebody on foot
/// is near a cell of 800 m some minutes before and after. Stays are known when the input ends, and
/// come in the order of their beginnings.
///
/// Memory: a stay that nothing can go on with is kept in some ten words and its cells.
class StaysAnalysis : public Analysis {
public:
    /// The library is for hangouts, and must outlive the analysis.
    explicit StaysAnalysis(const Library& library) : library_(library) {}

    const Schema& schema() const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return library_.lookBack(); }

private:
    const Library& library_;
};

} // namespace host

#endif
