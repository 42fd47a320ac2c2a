#ifndef QORVEL_PROGRAM_COMMANDS_BATCHREADER_H
#define QORVEL_PROGRAM_COMMANDS_BATCHREADER_H

#include "program/Failure.h"
#include "program/commands/OldestTimes.h"
#include "program/input/Fix.h"
#include "program/input/FixSorter.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace program {

class FixBatch;
class FixFilter;
class FixSource;
class KeptFixes;
class Progress;
class Rejects;

/// Reads the input batch by batch and sorts out bad rows, and those that are not asked for: what is
/// in a batch the engine takes.
class BatchReader {
public:
    /// All must outlive the reader.
    /// @param kept         if it holds all rows they are taken from there, and none is bad
    /// @param mostRejects  a bad row more ends the input; none: any number is skipped
    BatchReader(FixSource& source, KeptFixes& kept, const OldestTimes& oldest, FixFilter& filter,
                Rejects& rejects, Progress& progress, std::optional<std::uint64_t> mostRejects)
        : source_(source), kept_(kept), oldest_(oldest), filter_(filter), rejects_(rejects),
          progress_(progress), mostRejects_(mostRejects) {}

    /// Reads the next rows into a batch that is empty; false when there are none, also after a
    /// SIGINT. What ends the input early is kept for trouble(), so that the rows before it count.
    bool fill(FixBatch& batch);

    /// Before the first row, and if none are kept: reads all, telling the bad ones as they stand in
    /// the input, and puts them in the order of their times. What ends the input early is kept, as
    /// by fill(). Throws what FixSorter does.
    /// @param memory  see FixSorter
    void sort(std::uint64_t memory);

    /// Before the first row: so many were read by an earlier run.
    void goOn(std::uint64_t rows);

    /// After the last: there may be more, as after GrowingInput::takeUnended().
    void readOn() { hasEnded_ = trouble_.has_value(); }

    /// Would whoever reads the results wait for those of the last batch while the input waits, as
    /// at a pipe or a terminal?
    bool isLive() const { return isLive_; }

    /// No row to come has an earlier time, ms since 1970 UTC; none where that is not known.
    std::optional<std::int64_t> oldestToCome() const;

    const std::optional<Failure>& trouble() const { return trouble_; }

    std::uint64_t rowsRead() const { return rows_; }

private:
    void readRows(FixBatch& batch);
    bool next();
    bool readRow();
    bool readGoodRow();
    bool takeSorted(FixBatch& batch);
    void append(FixBatch& batch);
    void expectFewRejects() const;
    std::optional<double> shareRead() const;

    FixSource& source_;
    KeptFixes& kept_;
    const OldestTimes& oldest_;
    FixFilter& filter_;
    Rejects& rejects_;
    Progress& progress_;
    std::optional<std::uint64_t> mostRejects_;
    bool isLive_ = false;
    bool hasEnded_ = false;
    std::optional<Failure> trouble_;
    std::uint64_t rows_ = 0;
    std::unique_ptr<FixSorter> sorter_; ///< null: rows stay in their order
    std::uint64_t goodRows_ = 0;        ///< that went into it
    std::uint64_t sortedRows_ = 0;      ///< that came out
    std::int64_t oldestSorted_ = 0;     ///< see oldestToCome()
    Fix fix_;                           ///< the current one, kept for its memory
};

} // namespace program

#endif
