#include "program/commands/BatchReader.h"

#include "program/Interrupt.h"
#include "program/commands/Progress.h"
#include "program/commands/Rejects.h"
#include "program/input/FixBatch.h"
#include "program/input/FixFilter.h"
#include "program/input/FixSource.h"
#include "program/input/KeptFixes.h"

#include <limits>
#include <string>

namespace program {

namespace {

constexpr std::uint64_t kBatchRows = 4096;

constexpr std::int64_t kFarFuture = std::numeric_limits<std::int64_t>::max();

} // namespace

bool BatchReader::fill(FixBatch& batch) {
    isLive_ = false;
    if (sorter_) {
        return takeSorted(batch);
    }
    const std::uint64_t before = rows_;
    try {
        readRows(batch);
    } catch (const Failure& failure) {
        trouble_ = failure;
        hasEnded_ = true;
    }
    progress_.show(shareRead(), rows_);
    return rows_ > before;
}

void BatchReader::sort(std::uint64_t memory) {
    sorter_ = std::make_unique<FixSorter>(memory);
    for (; readGoodRow(); ++goodRows_) {
        sorter_->add(fix_);
        if (goodRows_ % kBatchRows == 0) {
            progress_.show(shareRead(), rows_);
        }
    }
    sorter_->sort();
}

void BatchReader::goOn(std::uint64_t rows) {
    rows_ = rows;
    try {
        expectFewRejects(); // or to start it again would be a way around that
    } catch (const Failure& failure) {
        trouble_ = failure;
        hasEnded_ = true;
    }
}

/// Sorted rows are told of by blocks, too: whoever sorts the file gets the same results in the same
/// order.
std::optional<std::int64_t> BatchReader::oldestToCome() const {
    if (sorter_) {
        return oldestSorted_;
    }
    return oldest_.isKnown() ? std::optional(oldest_.from(rows_)) : std::nullopt;
}

void BatchReader::readRows(FixBatch& batch) {
    const std::uint64_t end = rows_ + kBatchRows;
    const bool isWaitedFor = !source_.isRepeatable();
    while (!hasEnded_ && !isLive_ && rows_ < end) {
        if (interrupted() || !next()) {
            hasEnded_ = true;
            return;
        }
        if (readRow()) {
            append(batch);
        }
        isLive_ = source_.isDrained() && isWaitedFor;
    }
}

bool BatchReader::next() {
    return kept_.holdsAll() ? kept_.take(fix_) : source_.next();
}

/// False for a bad one.
bool BatchReader::readRow() {
    if (kept_.holdsAll()) {
        ++rows_;
        return true;
    }
    const std::string fault = source_.read(fix_);
    const std::uint64_t row = rows_++;
    if (fault.empty()) {
        if (fix_.time < oldest_.from(row)) {
            throw Failure(ExitCode::broken, "the input changed while it was read");
        }
        return true;
    }
    progress_.clear();
    rejects_.add(source_, fault);
    expectFewRejects();
    return false;
}

/// False at the end.
bool BatchReader::readGoodRow() {
    try {
        while (!interrupted() && source_.next()) {
            if (readRow()) {
                return true;
            }
        }
    } catch (const Failure& failure) {
        trouble_ = failure;
    }
    return false;
}

bool BatchReader::takeSorted(FixBatch& batch) {
    const std::uint64_t before = sortedRows_;
    const std::uint64_t end = before + kBatchRows;
    while (!interrupted() && !sorter_->isEmpty() && sortedRows_ < end) {
        sorter_->take(fix_);
        append(batch);
        if (++sortedRows_ % OldestTimes::kBlock == 0) {
            oldestSorted_ = sorter_->isEmpty() ? kFarFuture : sorter_->oldest();
        }
    }
    if (sortedRows_ == before) {
        return false;
    }
    progress_.show(static_cast<double>(sortedRows_) / static_cast<double>(goodRows_), sortedRows_);
    return true;
}

/// The current one, if it is asked for.
void BatchReader::append(FixBatch& batch) {
    if (filter_.takes(fix_)) {
        batch.append(fix_);
    }
}

/// As FixSource::shareRead().
std::optional<double> BatchReader::shareRead() const {
    return kept_.holdsAll() && kept_.count() > 0
               ? static_cast<double>(rows_) / static_cast<double>(kept_.count())
               : source_.shareRead();
}

void BatchReader::expectFewRejects() const {
    if (mostRejects_ && rejects_.count() > *mostRejects_) {
        throw Failure(ExitCode::broken, *mostRejects_ == 0
                                            ? "stopped at the first bad row (--strict)"
                                            : "stopped at bad row " +
                                                  std::to_string(rejects_.count()) +
                                                  ", more than --max-rejects allows");
    }
}

} // namespace program
