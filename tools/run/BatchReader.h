#ifndef QORVEL_TOOLS_RUN_BATCHREADER_H
#define QORVEL_TOOLS_RUN_BATCHREADER_H

#include "tools/Failure.h"
#include "tools/run/Batch.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace host {

class FixSource;
class Horizon;
class Progress;
class Rejects;

/// Reads the input batch by batch, sorts out bad rows and says what may be forgotten when.
class BatchReader {
public:
    /// All must outlive the reader.
    /// @param horizon   null: nothing is ever collected
    /// @param lookBack  ms, how far before a row's time something may matter to it
    /// @param isStrict  a bad row ends the input
    BatchReader(FixSource& source, Horizon* horizon, std::int64_t lookBack, Rejects& rejects,
                Progress& progress, bool isStrict)
        : source_(source), horizon_(horizon), lookBack_(lookBack), rejects_(rejects),
          progress_(progress), isStrict_(isStrict) {}

    /// Reads the next rows into a batch that has its shards; false when there are none, also after
    /// a SIGINT. What ends the input early is kept for trouble(), so that the rows before it count.
    bool fill(Batch& batch);

    const std::optional<Failure>& trouble() const { return trouble_; }

    std::uint64_t rowsRead() const { return rows_; }
    std::uint64_t rowsProcessed() const { return processed_; }
    /// Rows that broke the promise of how late they may be. They were processed.
    std::uint64_t rowsLate() const { return late_; }
    /// At least so many rows had a time before that of an earlier row of their entity. Not counted
    /// without a horizon.
    std::uint64_t rowsOutOfOrder() const { return outOfOrder_; }

private:
    struct Newest {             ///< of an entity's rows so far
        std::size_t entity = 0; ///< the hash of its name
        std::int64_t time = 0;
    };
    static constexpr std::size_t kNewest = 4096; ///< fits into the caches

    void readRows(Batch& batch);
    void readRow(Batch& batch);
    void admit(Batch& batch, Batch::Entry& entry);
    void countDisorder(std::size_t hash, std::int64_t time);
    void collect(Batch& batch);

    FixSource& source_;
    Horizon* horizon_;
    std::int64_t lookBack_;
    Rejects& rejects_;
    Progress& progress_;
    bool isStrict_;
    bool hasEnded_ = false;
    std::optional<Failure> trouble_;
    std::uint64_t rows_ = 0;
    std::uint64_t processed_ = 0;
    std::uint64_t late_ = 0;
    std::uint64_t outOfOrder_ = 0;
    std::vector<Newest> newest_ = std::vector<Newest>(kNewest); ///< by the hash of the entity
    std::int64_t collected_ = 0; ///< what ended before it has been forgotten
};

} // namespace host

#endif
